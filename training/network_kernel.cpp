// Loss and gradients of one typing network over a batch of atoms, in one pass without temporaries
// beyond the values of the hidden layers.
//
// A row stands for all atoms with the same surroundings. Each layer takes, for every row, the
// values of the atom itself (hop 0) and two weighted sums over its neighbours (hops 1 and 2), side
// by side, and multiplies them with one matrix. The inputs of the first layer come with their sums.
#include <Eigen/Dense>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#ifdef __SSE__
#include <xmmintrin.h>
#endif

namespace {

constexpr int kHidden = 16;  // channels of a hidden layer
constexpr int kInputs = 3;   // inputs of the first layer: one number, three hops
constexpr int kHops = 3;
constexpr int kGathered = kHops * kHidden;  // inputs of the other layers
constexpr int kBlock = 128;                 // rows worked on at a time: they stay in the cache
constexpr int kRowsAtOnce = 8;              // of a product: their sums stay in registers

// All channels of a hidden layer, or as many outputs: one register, or several smaller ones.
using Channels [[gnu::vector_size(kHidden * sizeof(float))]] = float;

using Numbers = Eigen::Array<float, Eigen::Dynamic, 1>;
// Aligned for the widest registers, so that no row of 16 needs more of them than it must.
using Rows = std::vector<float, Eigen::aligned_allocator<float>>;

size_t at(int row, int channels) {
  return static_cast<size_t>(row) * channels;
}

// By way of a copy, since numbers may lie anywhere.
Channels load(const float* place) {
  Channels values;
  std::memcpy(&values, place, sizeof values);
  return values;
}
void store(const Channels& values, float* place) {
  std::memcpy(place, &values, sizeof values);
}
void add(const Channels& values, float* place) {
  store(load(place) + values, place);
}

}  // namespace

// These records are filled by training/surroundings.py.
extern "C" {

// Row r of a sum has the terms first[r] up to first[r + 1]: weight times row `source`.
struct SparseRows {
  const int32_t* first;
  const int32_t* source;
  const float* weight;
};

struct HopLists {
  int32_t num_rows;
  const int32_t* own;  // hop 0
  SparseRows hop1;
  SparseRows hop2;
};

struct Batch {
  int32_t num_inputs;
  const float* inputs;  // num_inputs x 3
  HopLists layer2;
  HopLists layer3;
  // The rows of layer 3 are sorted into groups by ring class. The atoms of a group compete for the
  // channels that their ring class allows: group g has rows group_row[g] up to group_row[g + 1] and
  // the channels group_channel[g] up to group_channel[g + 1], a multiple of 16.
  int32_t num_groups;
  const int32_t* group_row;
  const int32_t* group_channel;
  int32_t num_channels;
  const int32_t* label;  // the right channel, counted from the group's first
  const float* weight;   // of the row in the loss
};

// Weights and biases; also their gradients.
struct Network {
  float* weights1;  // 3 x 16
  float* bias1;
  float* weights2;  // 48 x 16
  float* bias2;
  float* weights3;  // 48 x num_channels
  float* bias3;
};
}

namespace {

Channels positive(const Channels& values) {
  return values > 0.0f ? values : Channels{};
}

void add_terms(const SparseRows& sum, int row, const float* values, int stride, Channels& total) {
  for (int term = sum.first[row]; term < sum.first[row + 1]; ++term)
    total += sum.weight[term] * load(values + at(sum.source[term], stride));
}

// The transpose of `add_terms`: adds a row's gradient to the rows that it came from.
void spread_terms(const SparseRows& sum, int row, const Channels& gradient, float* result,
                  int stride) {
  for (int term = sum.first[row]; term < sum.first[row + 1]; ++term)
    add(sum.weight[term] * gradient, result + at(sum.source[term], stride));
}

// result = start + a * b for 16 columns of b and of the result. The rows are filled up to a
// multiple of 8 with whatever lies there.
void multiply(const float* a, int rows, int inner, const float* b, int b_stride, Channels start,
              float* result, int result_stride) {
  for (int row = 0; row < rows; row += kRowsAtOnce) {
    Channels sums[kRowsAtOnce];
    std::fill_n(sums, kRowsAtOnce, start);
    for (int k = 0; k < inner; ++k) {
      const Channels factor = load(b + at(k, b_stride));
      for (int r = 0; r < kRowsAtOnce; ++r) sums[r] += a[at(row + r, inner) + k] * factor;
    }
    for (int r = 0; r < kRowsAtOnce; ++r) store(sums[r], result + at(row + r, result_stride));
  }
}

// result += (transpose of a) * b for 16 columns of b and of the result.
void add_transposed_product(const float* a, int rows, int a_columns, const float* b, int b_stride,
                            float* result, int result_stride) {
  for (int column = 0; column < a_columns; column += kRowsAtOnce) {
    Channels sums[kRowsAtOnce];
    for (int k = 0; k < kRowsAtOnce; ++k) sums[k] = load(result + at(column + k, result_stride));
    for (int row = 0; row < rows; ++row) {
      const Channels factor = load(b + at(row, b_stride));
      for (int k = 0; k < kRowsAtOnce; ++k) sums[k] += a[at(row, a_columns) + column + k] * factor;
    }
    for (int k = 0; k < kRowsAtOnce; ++k) store(sums[k], result + at(column + k, result_stride));
  }
}

// Turns outputs into the gradient of the loss with respect to them, and gives the loss. The loss of
// a row with the probability p of the right channel is -log p, or (1 - p^q) / q, which tends to the
// former as q goes to 0 and forgives rows that contradict the others.
double loss_of_rows(float* outputs, int rows, int num_channels, const int32_t* labels,
                    const float* weights, float q, int32_t* best, float* probability) {
  const Eigen::Map<const Numbers> weight(weights, rows);
  Numbers right(rows), sum(rows);
  for (int row = 0; row < rows; ++row) {
    Eigen::Map<Numbers> of_row(outputs + at(row, num_channels), num_channels);
    if (best != nullptr) of_row.maxCoeff(&best[row]);
    of_row -= of_row.maxCoeff();
    right[row] = of_row[labels[row]];
  }
  Eigen::Map<Numbers> all(outputs, rows * num_channels);
  all = all.exp();
  for (int row = 0; row < rows; ++row)
    sum[row] = Eigen::Map<Numbers>(outputs + at(row, num_channels), num_channels).sum();
  const Numbers log_probability = right - sum.log();
  if (probability != nullptr) {
    // Written straight there, the last digits would depend on where the caller's memory begins.
    const Numbers probabilities = log_probability.exp();
    Eigen::Map<Numbers>(probability, rows) = probabilities;
  }
  Numbers slope = weight;
  double loss = 0.0;
  if (q > 0.0f) {
    const Numbers exponents = q * log_probability;
    loss = -(exponents.expm1() * weight).cast<double>().sum() / q;
    slope *= exponents.exp();
  } else {
    loss = -(log_probability * weight).cast<double>().sum();
  }
  for (int row = 0; row < rows; ++row) {
    Eigen::Map<Numbers> of_row(outputs + at(row, num_channels), num_channels);
    of_row *= slope[row] / sum[row];
    of_row[labels[row]] -= slope[row];
  }
  return loss;
}

// As long as it lives, results too small for a normal number are zero. Probabilities of wrong types
// are often that small, and with such numbers a pass can take three times as long.
#ifdef __SSE__
class TinyNumbersAreZero {
 public:
  TinyNumbersAreZero() : old_mode_(_mm_getcsr()) {
    constexpr unsigned kFlushToZero = 0x8000, kDenormalsAreZero = 0x40;
    _mm_setcsr(old_mode_ | kFlushToZero | kDenormalsAreZero);
  }
  ~TinyNumbersAreZero() { _mm_setcsr(old_mode_); }
  TinyNumbersAreZero(const TinyNumbersAreZero&) = delete;
  TinyNumbersAreZero& operator=(const TinyNumbersAreZero&) = delete;

 private:
  unsigned old_mode_;
};
#else
struct TinyNumbersAreZero {};
#endif

// Rows of the layers, kept between calls since they are large, and a group's part of the third
// layer's weights, transposed. The second layer multiplies before it gathers: far more rows are
// gathered than there are to gather from.
struct Workspace {
  Rows hidden1, products, hidden2, product_gradients, gradient1, gradient2;
  Rows gathered, outputs, gathered_gradient, weights3_turned;

  static void grow(Rows& rows, int num_rows, int width) {
    rows.resize(std::max(rows.size(), at(num_rows + kRowsAtOnce, width)));
  }

  void resize(const Batch& batch) {
    const int rows1 = batch.num_inputs, rows2 = batch.layer2.num_rows;
    for (Rows* rows : {&hidden1, &gradient1}) grow(*rows, rows1, kHidden);
    for (Rows* rows : {&products, &product_gradients}) grow(*rows, rows1, kGathered);
    for (Rows* rows : {&hidden2, &gradient2}) grow(*rows, rows2, kHidden);
    for (Rows* rows : {&gathered, &gathered_gradient}) grow(*rows, kBlock, kGathered);
    grow(outputs, kBlock, batch.num_channels);
    grow(weights3_turned, batch.num_channels, kGathered);
  }
};

void run_hidden_layers(const Batch& batch, const Network& network, Workspace& work) {
  const Channels bias1 = load(network.bias1);
  for (int row = 0; row < batch.num_inputs; ++row) {
    Channels sum = bias1;
    for (int k = 0; k < kInputs; ++k)
      sum += batch.inputs[at(row, kInputs) + k] * load(network.weights1 + at(k, kHidden));
    store(positive(sum), work.hidden1.data() + at(row, kHidden));
  }
  for (int hop = 0; hop < kHops; ++hop)
    multiply(work.hidden1.data(), batch.num_inputs, kHidden,
             network.weights2 + at(hop * kHidden, kHidden), kHidden, Channels{},
             work.products.data() + hop * kHidden, kGathered);

  const float* products = work.products.data();
  const Channels bias2 = load(network.bias2);
  for (int row = 0; row < batch.layer2.num_rows; ++row) {
    Channels sum = bias2 + load(products + at(batch.layer2.own[row], kGathered));
    add_terms(batch.layer2.hop1, row, products + kHidden, kGathered, sum);
    add_terms(batch.layer2.hop2, row, products + 2 * kHidden, kGathered, sum);
    store(positive(sum), work.hidden2.data() + at(row, kHidden));
  }
}

// The three hops side by side.
void gather(const HopLists& lists, int row, const float* values, float* result) {
  Channels hop1{}, hop2{};
  add_terms(lists.hop1, row, values, kHidden, hop1);
  add_terms(lists.hop2, row, values, kHidden, hop2);
  store(load(values + at(lists.own[row], kHidden)), result);
  store(hop1, result + kHidden);
  store(hop2, result + 2 * kHidden);
}

// The transpose of `gather`.
void spread(const HopLists& lists, int row, const float* gradient, float* result) {
  add(load(gradient), result + at(lists.own[row], kHidden));
  spread_terms(lists.hop1, row, load(gradient + kHidden), result, kHidden);
  spread_terms(lists.hop2, row, load(gradient + 2 * kHidden), result, kHidden);
}

// The last layer and the loss of one group, and with a gradient its way back to the second layer.
double run_group(const Batch& batch, int group, const Network& network, const Network* gradient,
                 float q, int32_t* best, float* probability, Workspace& work) {
  const int first_channel = batch.group_channel[group];
  const int num_channels = batch.group_channel[group + 1] - first_channel;
  const float* weights3 = network.weights3 + first_channel;
  for (int k = 0; k < kGathered; ++k)
    for (int channel = 0; channel < num_channels; ++channel)
      work.weights3_turned[at(channel, kGathered) + k] =
          weights3[at(k, batch.num_channels) + channel];

  double loss = 0.0;
  const int end = batch.group_row[group + 1];
  for (int start = batch.group_row[group]; start < end; start += kBlock) {
    const int size = std::min(kBlock, end - start);
    for (int row = 0; row < size; ++row)
      gather(batch.layer3, start + row, work.hidden2.data(),
             work.gathered.data() + at(row, kGathered));
    for (int channel = 0; channel < num_channels; channel += kHidden)
      multiply(work.gathered.data(), size, kGathered, weights3 + channel, batch.num_channels,
               load(network.bias3 + first_channel + channel), work.outputs.data() + channel,
               num_channels);
    loss += loss_of_rows(work.outputs.data(), size, num_channels, batch.label + start,
                         batch.weight + start, q, best == nullptr ? nullptr : best + start,
                         probability == nullptr ? nullptr : probability + start);
    if (gradient == nullptr) continue;
    for (int channel = 0; channel < num_channels; channel += kHidden) {
      const float* outputs = work.outputs.data() + channel;
      add_transposed_product(work.gathered.data(), size, kGathered, outputs, num_channels,
                             gradient->weights3 + first_channel + channel, batch.num_channels);
      Channels bias{};
      for (int row = 0; row < size; ++row) bias += load(outputs + at(row, num_channels));
      add(bias, gradient->bias3 + first_channel + channel);
    }
    for (int k = 0; k < kGathered; k += kHidden)
      multiply(work.outputs.data(), size, num_channels, work.weights3_turned.data() + k, kGathered,
               Channels{}, work.gathered_gradient.data() + k, kGathered);
    for (int row = 0; row < size; ++row)
      spread(batch.layer3, start + row, work.gathered_gradient.data() + at(row, kGathered),
             work.gradient2.data());
  }
  return loss;
}

void go_back_through_hidden_layers(const Batch& batch, const Network& network,
                                   const Network& gradient, Workspace& work) {
  float* products = work.product_gradients.data();
  Channels bias2{};
  for (int row = 0; row < batch.layer2.num_rows; ++row) {
    const Channels is_on = load(work.hidden2.data() + at(row, kHidden));
    const Channels share =
        is_on > 0.0f ? load(work.gradient2.data() + at(row, kHidden)) : Channels{};
    bias2 += share;
    add(share, products + at(batch.layer2.own[row], kGathered));
    spread_terms(batch.layer2.hop1, row, share, products + kHidden, kGathered);
    spread_terms(batch.layer2.hop2, row, share, products + 2 * kHidden, kGathered);
  }
  add(bias2, gradient.bias2);

  std::array<float, kGathered * kHidden> weights2_turned;
  for (int hop = 0; hop < kHops; ++hop) {
    add_transposed_product(work.hidden1.data(), batch.num_inputs, kHidden, products + hop * kHidden,
                           kGathered, gradient.weights2 + at(hop * kHidden, kHidden), kHidden);
    for (int k = 0; k < kHidden; ++k)
      for (int channel = 0; channel < kHidden; ++channel)
        weights2_turned[at(hop * kHidden + channel, kHidden) + k] =
            network.weights2[at(hop * kHidden + k, kHidden) + channel];
  }
  multiply(products, batch.num_inputs, kGathered, weights2_turned.data(), kHidden, Channels{},
           work.gradient1.data(), kHidden);

  for (int row = 0; row < batch.num_inputs; ++row) {
    const Channels is_on = load(work.hidden1.data() + at(row, kHidden));
    const Channels share =
        is_on > 0.0f ? load(work.gradient1.data() + at(row, kHidden)) : Channels{};
    add(share, gradient.bias1);
    for (int k = 0; k < kInputs; ++k)
      add(batch.inputs[at(row, kInputs) + k] * share, gradient.weights1 + at(k, kHidden));
  }
}

void set_to_zero(const Batch& batch, const Network& gradient, Workspace& work) {
  std::fill_n(work.product_gradients.begin(), at(batch.num_inputs, kGathered), 0.0f);
  std::fill_n(work.gradient2.begin(), at(batch.layer2.num_rows, kHidden), 0.0f);
  std::fill_n(gradient.weights1, kInputs * kHidden, 0.0f);
  std::fill_n(gradient.bias1, kHidden, 0.0f);
  std::fill_n(gradient.weights2, kGathered * kHidden, 0.0f);
  std::fill_n(gradient.bias2, kHidden, 0.0f);
  std::fill_n(gradient.weights3, at(batch.num_channels, kGathered), 0.0f);
  std::fill_n(gradient.bias3, batch.num_channels, 0.0f);
}

}  // namespace

// The weighted sum of the rows' losses. `gradient` may be null: then none is computed. `best` and
// `probability` may be null; otherwise they get, for each row, the highest channel, counted from its
// group's first, and the probability of the right one.
extern "C" double loss_and_gradient(const Batch* batch, const Network* network,
                                    const Network* gradient, float q, int32_t* best,
                                    float* probability) {
  [[maybe_unused]] const TinyNumbersAreZero mode;
  static thread_local Workspace work;
  work.resize(*batch);
  if (gradient != nullptr) set_to_zero(*batch, *gradient, work);
  run_hidden_layers(*batch, *network, work);
  double loss = 0.0;
  for (int group = 0; group < batch->num_groups; ++group)
    loss += run_group(*batch, group, *network, gradient, q, best, probability, work);
  if (gradient != nullptr) go_back_through_hidden_layers(*batch, *network, *gradient, work);
  return loss;
}
