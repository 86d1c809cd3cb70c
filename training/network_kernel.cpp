// Loss and gradients of one typing network over a batch of atoms, in one pass without temporaries
// beyond the values of the hidden layers.
//
// A row stands for all atoms with the same surroundings. Each layer takes, for every row, the
// values of the atom itself (hop 0) and two weighted sums over its neighbours (hops 1 and 2), side
// by side, and multiplies them with one matrix. The inputs of the first layer come with their sums.
#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#ifdef __SSE__
#include <xmmintrin.h>
#endif

namespace {

constexpr int kHidden = 16;            // channels of a hidden layer
constexpr int kInputs = 3;             // inputs of the first layer: one number, three hops
constexpr int kGathered = 3 * kHidden; // inputs of the other layers
constexpr int kBlock = 128;            // rows worked on at a time: they stay in the cache

using Matrix = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using Row = Eigen::Matrix<float, 1, Eigen::Dynamic, Eigen::RowMajor>;
using Channels = Eigen::Matrix<float, 1, kHidden>;
using MatrixMap = Eigen::Map<Matrix>;
using ConstMatrixMap = Eigen::Map<const Matrix>;
using ConstRowMap = Eigen::Map<const Row>;

size_t at(int row, int channels) { return static_cast<size_t>(row) * channels; }
Eigen::Map<Channels> channels(float* place) { return Eigen::Map<Channels>(place); }
Eigen::Map<const Channels> channels(const float* place) {
  return Eigen::Map<const Channels>(place);
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
  // the channels group_channel[g] up to group_channel[g + 1].
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

void gather_sum(const SparseRows& sum, int row, const float* values, float* result) {
  Channels total = Channels::Zero();
  for (int term = sum.first[row]; term < sum.first[row + 1]; ++term)
    total += sum.weight[term] * channels(values + at(sum.source[term], kHidden));
  channels(result) = total;
}

void gather(const HopLists& lists, int row, const float* values, float* result) {
  channels(result) = channels(values + at(lists.own[row], kHidden));
  gather_sum(lists.hop1, row, values, result + kHidden);
  gather_sum(lists.hop2, row, values, result + 2 * kHidden);
}

void scatter_sum(const SparseRows& sum, int row, const float* gradient, float* result) {
  const Channels share = channels(gradient);
  for (int term = sum.first[row]; term < sum.first[row + 1]; ++term)
    channels(result + at(sum.source[term], kHidden)) += sum.weight[term] * share;
}

// The transpose of `gather`: adds a row's gradient to the rows that it came from.
void scatter(const HopLists& lists, int row, const float* gradient, float* result) {
  channels(result + at(lists.own[row], kHidden)) += channels(gradient);
  scatter_sum(lists.hop1, row, gradient + kHidden, result);
  scatter_sum(lists.hop2, row, gradient + 2 * kHidden, result);
}

// Turns outputs into the gradient of the loss with respect to them. The loss of a row with the
// probability p of the right channel is -log p, or (1 - p^q) / q, which tends to the former as q
// goes to 0 and forgives rows that contradict the others.
double loss_of_row(Eigen::Ref<Row> outputs, int label, float weight, float q) {
  const float highest = outputs.maxCoeff();
  outputs.array() -= highest;
  const float right = outputs[label];
  outputs = outputs.array().exp();
  const float sum = outputs.sum();
  const float log_probability = right - std::log(sum);
  double loss = -static_cast<double>(weight) * log_probability;
  float slope = weight;
  if (q > 0.0f) {
    const float power = std::exp(q * log_probability);
    loss = static_cast<double>(weight) * (1.0 - power) / q;
    slope *= power;
  }
  outputs *= slope / sum;
  outputs[label] -= slope;
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

// Rows of the hidden layers and their gradients; kept between calls, since they are large.
struct Workspace {
  std::vector<float> hidden1, hidden2, gathered2, gradient1, gradient2;
  Matrix gathered{kBlock, kGathered}, gathered_gradient{kBlock, kGathered};

  void resize(int num_rows1, int num_rows2) {
    hidden1.resize(std::max(hidden1.size(), at(num_rows1, kHidden)));
    hidden2.resize(std::max(hidden2.size(), at(num_rows2, kHidden)));
    gathered2.resize(std::max(gathered2.size(), at(num_rows2, kGathered)));
    gradient1.resize(hidden1.size());
    gradient2.resize(hidden2.size());
    std::fill_n(gradient1.begin(), at(num_rows1, kHidden), 0.0f);
    std::fill_n(gradient2.begin(), at(num_rows2, kHidden), 0.0f);
  }
};

void run_hidden_layers(const Batch& batch, const Network& network, Workspace& work) {
  const ConstMatrixMap inputs(batch.inputs, batch.num_inputs, kInputs);
  const ConstMatrixMap weights1(network.weights1, kInputs, kHidden);
  MatrixMap hidden1(work.hidden1.data(), batch.num_inputs, kHidden);
  hidden1.noalias() = inputs * weights1;
  hidden1.rowwise() += channels(static_cast<const float*>(network.bias1));
  hidden1 = hidden1.cwiseMax(0.0f);

  const ConstMatrixMap weights2(network.weights2, kGathered, kHidden);
  for (int start = 0; start < batch.layer2.num_rows; start += kBlock) {
    const int size = std::min(kBlock, batch.layer2.num_rows - start);
    float* place = work.gathered2.data() + at(start, kGathered);
    for (int row = 0; row < size; ++row)
      gather(batch.layer2, start + row, work.hidden1.data(), place + at(row, kGathered));
    const MatrixMap gathered(place, size, kGathered);
    MatrixMap hidden2(work.hidden2.data() + at(start, kHidden), size, kHidden);
    hidden2.noalias() = gathered * weights2;
    hidden2.rowwise() += channels(static_cast<const float*>(network.bias2));
    hidden2 = hidden2.cwiseMax(0.0f);
  }
}

// The last layer and the loss of one group, and with a gradient its way back to the second layer.
double run_group(const Batch& batch, int group, const Network& network, const Network* gradient,
                 float q, int32_t* best, Workspace& work) {
  const int first_channel = batch.group_channel[group];
  const int num_channels = batch.group_channel[group + 1] - first_channel;
  const Matrix weights3 =
      ConstMatrixMap(network.weights3, kGathered, batch.num_channels)
          .middleCols(first_channel, num_channels);
  const Row bias3 =
      ConstRowMap(network.bias3, batch.num_channels).segment(first_channel, num_channels);
  Matrix weights3_gradient = Matrix::Zero(kGathered, num_channels);
  Row bias3_gradient = Row::Zero(num_channels);
  Matrix block(kBlock, num_channels);
  double loss = 0.0;
  const int end = batch.group_row[group + 1];
  for (int start = batch.group_row[group]; start < end; start += kBlock) {
    const int size = std::min(kBlock, end - start);
    for (int row = 0; row < size; ++row)
      gather(batch.layer3, start + row, work.hidden2.data(),
             work.gathered.data() + at(row, kGathered));
    const auto gathered = work.gathered.topRows(size);
    auto outputs = block.topRows(size);
    outputs.noalias() = gathered * weights3;
    outputs.rowwise() += bias3;
    for (int row = 0; row < size; ++row) {
      if (best != nullptr) {
        int highest = 0;
        outputs.row(row).maxCoeff(&highest);
        best[start + row] = highest;
      }
      loss += loss_of_row(outputs.row(row), batch.label[start + row], batch.weight[start + row], q);
    }
    if (gradient == nullptr) continue;
    weights3_gradient.noalias() += gathered.transpose() * outputs;
    bias3_gradient += outputs.colwise().sum();
    auto gathered_gradient = work.gathered_gradient.topRows(size);
    gathered_gradient.noalias() = outputs * weights3.transpose();
    for (int row = 0; row < size; ++row)
      scatter(batch.layer3, start + row, work.gathered_gradient.data() + at(row, kGathered),
              work.gradient2.data());
  }
  if (gradient != nullptr) {
    MatrixMap(gradient->weights3, kGathered, batch.num_channels)
        .middleCols(first_channel, num_channels) = weights3_gradient;
    Eigen::Map<Row>(gradient->bias3, batch.num_channels).segment(first_channel, num_channels) =
        bias3_gradient;
  }
  return loss;
}

void go_back_through_hidden_layers(const Batch& batch, const Network& network,
                                   const Network& gradient, Workspace& work) {
  const ConstMatrixMap weights2(network.weights2, kGathered, kHidden);
  Matrix weights2_gradient = Matrix::Zero(kGathered, kHidden);
  Channels bias2_gradient = Channels::Zero();
  for (int start = 0; start < batch.layer2.num_rows; start += kBlock) {
    const int size = std::min(kBlock, batch.layer2.num_rows - start);
    const MatrixMap gathered(work.gathered2.data() + at(start, kGathered), size, kGathered);
    const MatrixMap hidden2(work.hidden2.data() + at(start, kHidden), size, kHidden);
    MatrixMap gradient2(work.gradient2.data() + at(start, kHidden), size, kHidden);
    gradient2.array() *= (hidden2.array() > 0.0f).cast<float>();
    weights2_gradient.noalias() += gathered.transpose() * gradient2;
    bias2_gradient += gradient2.colwise().sum();
    auto gathered_gradient = work.gathered_gradient.topRows(size);
    gathered_gradient.noalias() = gradient2 * weights2.transpose();
    for (int row = 0; row < size; ++row)
      scatter(batch.layer2, start + row, work.gathered_gradient.data() + at(row, kGathered),
              work.gradient1.data());
  }
  MatrixMap(gradient.weights2, kGathered, kHidden) = weights2_gradient;
  channels(gradient.bias2) = bias2_gradient;

  const ConstMatrixMap inputs(batch.inputs, batch.num_inputs, kInputs);
  const MatrixMap hidden1(work.hidden1.data(), batch.num_inputs, kHidden);
  MatrixMap gradient1(work.gradient1.data(), batch.num_inputs, kHidden);
  gradient1.array() *= (hidden1.array() > 0.0f).cast<float>();
  MatrixMap(gradient.weights1, kInputs, kHidden).noalias() = inputs.transpose() * gradient1;
  channels(gradient.bias1) = gradient1.colwise().sum();
}

}  // namespace

// The weighted sum of the rows' losses. `gradient` may be null: then none is computed. `best` may
// be null; otherwise it gets, for each row, the highest channel, counted from its group's first.
extern "C" double loss_and_gradient(const Batch* batch, const Network* network,
                                    const Network* gradient, float q, int32_t* best) {
  [[maybe_unused]] const TinyNumbersAreZero mode;
  static thread_local Workspace work;
  work.resize(batch->num_inputs, batch->layer2.num_rows);
  run_hidden_layers(*batch, *network, work);
  double loss = 0.0;
  for (int group = 0; group < batch->num_groups; ++group)
    loss += run_group(*batch, group, *network, gradient, q, best, work);
  if (gradient != nullptr) go_back_through_hidden_layers(*batch, *network, *gradient, work);
  return loss;
}
