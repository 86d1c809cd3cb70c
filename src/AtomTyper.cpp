// The forward pass of the typing networks and the choice of a type name from their probabilities.
#include "AtomTyper.h"

#include <Eigen/SparseCore>
#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>

#include "AtomTyperWeights.h"

namespace orvane {

// The order of the names is that of the networks' output channels, sorted or not.

const char* const AtomTyper::HTypes[25] = {
    "HGA1",   "HGA2",  "HGA3",  "HGA4",  "HGA5",  "HGA6",  "HGA7",   "HGAAM0", "HGAAM1",
    "HGAAM2", "HGP1",  "HGP2",  "HGP3",  "HGP4",  "HGP5",  "HGPAM1", "HGPAM2", "HGPAM3",
    "HGR51",  "HGR52", "HGR53", "HGR61", "HGR62", "HGR63", "HGR71"};

const char* const AtomTyper::BTypes[1] = {"BG201"};

const char* const AtomTyper::CTypes[58] = {
    "CG1T1",  "CG1T2",  "CG1N1",  "CG2D1",  "CG2D2",  "CG2D1O", "CG2D2O", "CG2DC1", "CG2DC2",
    "CG2DC3", "CG2N1",  "CG2N2",  "CG2O1",  "CG2O2",  "CG2O3",  "CG2O4",  "CG2O5",  "CG2O6",
    "CG2O7",  "CG2R51", "CG2R52", "CG2R53", "CG2R57", "CG25C1", "CG25C2", "CG251O", "CG252O",
    "CG2R61", "CG2R62", "CG2R63", "CG2R64", "CG2R66", "CG2R67", "CG2RC0", "CG2R71", "CG2RC7",
    "CG301",  "CG302",  "CG311",  "CG312",  "CG314",  "CG321",  "CG322",  "CG323",  "CG324",
    "CG331",  "CG334",  "CG3AM0", "CG3AM1", "CG3AM2", "CG3C31", "CG3C41", "CG3C50", "CG3C51",
    "CG3C52", "CG3C53", "CG3C54", "CG3RC1"};

const char* const AtomTyper::NTypes[29] = {
    "NG1T1",  "NG2D1",  "NG2S0",  "NG2S1",  "NG2S2",  "NG2S3",  "NG2O1",  "NG2P1",
    "NG2R43", "NG2R50", "NG2R51", "NG2R52", "NG2R53", "NG2R57", "NG2R60", "NG2R61",
    "NG2R62", "NG2R67", "NG2RC0", "NG301",  "NG311",  "NG321",  "NG331",  "NG3C51",
    "NG3N1",  "NG3P0",  "NG3P1",  "NG3P2",  "NG3P3"};

const char* const AtomTyper::OTypes[19] = {
    "OG2D1", "OG2D2", "OG2D3", "OG2D4", "OG2D5", "OG2N1",  "OG2P1",  "OG2R50", "OG3R60", "OG301",
    "OG302", "OG303", "OG304", "OG311", "OG312", "OG3C31", "OG3C51", "OG3C61", "OG2S1"};

const char* const AtomTyper::FTypes[5] = {"FGA1", "FGA2", "FGA3", "FGP1", "FGR1"};
const char* const AtomTyper::PTypes[3] = {"PG0", "PG1", "PG2"};

const char* const AtomTyper::STypes[10] = {"SG2D1", "SG2R50", "SG311", "SG301", "SG302",
                                           "SG3O1", "SG3O2",  "SG3O3", "SG2P1", "SG2P2"};

const char* const AtomTyper::ClTypes[3] = {"CLGA1", "CLGA3", "CLGR1"};
const char* const AtomTyper::BrTypes[4] = {"BRGA1", "BRGA2", "BRGA3", "BRGR1"};
const char* const AtomTyper::ITypes[1] = {"IGR1"};

namespace {

// The ring class that an atom must have to get each type: 5 or 6 if the smallest ring that holds it
// has that many members, else 0.
constexpr int CTypeRingSizes[58] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5,
                                    5, 5, 5, 5, 5, 5, 5, 6, 6, 6, 6, 6, 6, 6, 6, 0, 0, 0, 0, 0,
                                    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 5, 5, 5, 5, 5};
constexpr int NTypeRingSizes[29] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 5, 5, 5, 5, 6,
                                    6, 6, 6, 6, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0};
constexpr int OTypeRingSizes[19] = {0, 0, 0, 6, 0, 0, 0, 5, 6, 0, 0, 0, 0, 0, 0, 0, 5, 6, 0};

// The ring classes of an element's types; none for an element whose types fit every atom.
std::span<const int> TypeRingSizes(int element) {
  switch (element) {
    case 6:
      return CTypeRingSizes;
    case 7:
      return NTypeRingSizes;
    case 8:
      return OTypeRingSizes;
    default:
      return {};
  }
}

// Which types of an element an atom of a ring class may get.
class AllowedTypes {
 public:
  AllowedTypes(int element, int ring_size)
      : type_ring_sizes_(TypeRingSizes(element)), ring_size_(ring_size) {}

  bool operator()(std::size_t type) const {
    return type_ring_sizes_.empty() || type_ring_sizes_[type] == ring_size_;
  }

 private:
  std::span<const int> type_ring_sizes_;
  int ring_size_;
};

struct NetworkShape {
  int element;
  const char* const* types;
  int num_types;
};

template <int N>
constexpr NetworkShape ShapeOf(int element, const char* const (&types)[N]) {
  return {element, types, N};
}

// In the order in which the weights are listed.
constexpr NetworkShape kNetworkShapes[] = {
    ShapeOf(1, AtomTyper::HTypes),  ShapeOf(35, AtomTyper::BrTypes),
    ShapeOf(5, AtomTyper::BTypes),  ShapeOf(6, AtomTyper::CTypes),
    ShapeOf(7, AtomTyper::NTypes),  ShapeOf(8, AtomTyper::OTypes),
    ShapeOf(9, AtomTyper::FTypes),  ShapeOf(15, AtomTyper::PTypes),
    ShapeOf(16, AtomTyper::STypes), ShapeOf(17, AtomTyper::ClTypes),
    ShapeOf(53, AtomTyper::ITypes),
};

constexpr int kHighestHop = 2;
constexpr int kHiddenChannels = 16;

// Takes the compiled weights one after the other.
class WeightReader {
 public:
  double Next() {
    assert(next_ < kNumAtomTyperWeights);
    return kAtomTyperWeights[next_++];
  }
  bool AtEnd() const { return next_ == kNumAtomTyperWeights; }

 private:
  int next_ = 0;
};

AtomTyper::Layer ReadLayer(int inputs, int outputs, WeightReader& reader) {
  AtomTyper::Layer layer;
  for (int hop = 0; hop <= kHighestHop; ++hop) {
    Eigen::MatrixXd& matrix = layer.weights.emplace_back(inputs, outputs);
    for (int row = 0; row < inputs; ++row) {
      for (int column = 0; column < outputs; ++column) matrix(row, column) = reader.Next();
    }
  }
  layer.bias.resize(outputs);
  for (int column = 0; column < outputs; ++column) layer.bias(column) = reader.Next();
  return layer;
}

// Not with a maximum, which would lose NaN.
template <typename Matrix>
void ClipAtZero(Matrix& values) {
  values = (0.0 > values.array()).select(0.0, values);
}

double ProbabilityOf(std::span<const double> outputs, std::size_t channel) {
  double sum = 0.0;
  for (const double output : outputs) sum += std::exp(output - outputs[channel]);
  return 1.0 / sum;
}

std::vector<double> Softmax(std::span<const double> outputs) {
  std::vector<double> probabilities(outputs.size());
  for (std::size_t c = 0; c < outputs.size(); ++c) probabilities[c] = ProbabilityOf(outputs, c);
  return probabilities;
}

// The first of the most probable types that are allowed; 0 if there is none to compare.
std::size_t MostProbableType(std::span<const double> probabilities,
                             const AllowedTypes& is_allowed) {
  double best = -1.0;
  std::size_t index = 0;
  for (std::size_t j = 0; j < probabilities.size(); ++j) {
    if (is_allowed(j) && probabilities[j] > best) {
      best = probabilities[j];
      index = j;
    }
  }
  return index;
}

// The type that `MostProbableType` picks from the softmax of a network's outputs. The probabilities
// rise with the outputs, so only those of outputs next to the highest allowed one need comparing:
// they alone can be equal by rounding.
std::size_t MostProbableTypeOfOutputs(std::span<const double> outputs,
                                      const AllowedTypes& is_allowed) {
  constexpr double kRoundingCannotReach = 1e-6;
  constexpr double kExponentialIsFinite = 600.0;
  double highest = -std::numeric_limits<double>::infinity();
  double highest_allowed = highest;
  for (std::size_t j = 0; j < outputs.size(); ++j) {
    highest = std::max(highest, outputs[j]);
    if (is_allowed(j)) highest_allowed = std::max(highest_allowed, outputs[j]);
  }
  // Far below a forbidden type, several probabilities are zero alike.
  if (!(highest - highest_allowed < kExponentialIsFinite)) {
    return MostProbableType(Softmax(outputs), is_allowed);
  }
  double best = -1.0;
  std::size_t index = 0;
  for (std::size_t j = 0; j < outputs.size(); ++j) {
    if (!is_allowed(j) || outputs[j] < highest_allowed - kRoundingCannotReach) continue;
    const double probability = ProbabilityOf(outputs, j);
    if (probability > best) {
      best = probability;
      index = j;
    }
  }
  return index;
}

// Values of all atoms: one row for each atom, one column for each channel.
using AtomValues = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using SparseAdjacency = Eigen::SparseMatrix<double, Eigen::RowMajor, std::ptrdiff_t>;

bool HasUnbondedAtom(std::size_t atoms, const TermList& bonds) {
  std::vector<bool> is_bonded(atoms, false);
  for (const int atom : bonds.flat()) is_bonded[atom] = true;
  return std::find(is_bonded.begin(), is_bonded.end(), false) != is_bonded.end();
}

// The adjacency divided by the roots of both atoms' numbers of bonds. Every atom must have a bond.
SparseAdjacency NormalisedAdjacency(std::size_t atoms, const TermList& bonds) {
  const auto size = static_cast<std::ptrdiff_t>(atoms);
  std::vector<Eigen::Triplet<double, std::ptrdiff_t>> entries;
  entries.reserve(2 * bonds.size());
  for (std::size_t bond = 0; bond < bonds.size(); ++bond) {
    entries.emplace_back(bonds[bond][0], bonds[bond][1], 1.0);
    entries.emplace_back(bonds[bond][1], bonds[bond][0], 1.0);
  }
  SparseAdjacency adjacency(size, size);
  // A bond that is given twice becomes one entry. Its value does not matter: all are set below.
  adjacency.setFromTriplets(entries.begin(), entries.end());
  std::vector<double> scales(atoms);
  for (std::ptrdiff_t i = 0; i < size; ++i) {
    scales[i] = std::pow(static_cast<double>(adjacency.row(i).nonZeros()), -0.5);
  }
  for (std::ptrdiff_t i = 0; i < size; ++i) {
    for (SparseAdjacency::InnerIterator entry(adjacency, i); entry; ++entry) {
      entry.valueRef() = scales[i] * scales[entry.col()];
    }
  }
  return adjacency;
}

// The values themselves, those carried over one hop, over two, and so on. Two hops are carried as
// A(AH), which differs from (AA)H in the last bits only.
std::vector<AtomValues> CarryOverHops(const SparseAdjacency& adjacency, AtomValues values,
                                      std::size_t count) {
  std::vector<AtomValues> hops;
  hops.reserve(count);
  hops.push_back(std::move(values));
  while (hops.size() < count) hops.emplace_back(adjacency * hops.back());
  return hops;
}

AtomValues CalcLayer(const AtomTyper::Layer& layer, const std::vector<AtomValues>& hops) {
  AtomValues result = AtomValues::Zero(hops.front().rows(), layer.weights.front().cols());
  for (std::size_t k = 0; k < layer.weights.size(); ++k) {
    result.noalias() += hops[k] * layer.weights[k];
  }
  result.rowwise() += layer.bias;
  ClipAtZero(result);
  return result;
}

// Runs a network over a molecule in which every atom has a bond, and calls `visit(atom, outputs)`
// with the last layer's outputs for each of some atoms. The last layer, which is the widest, is
// only computed for them.
template <typename Visit>
void ForEachOutput(const std::vector<AtomTyper::Layer>& network, const SparseAdjacency& adjacency,
                   const std::vector<int>& elements, const std::vector<int>& atoms, Visit visit) {
  AtomValues values(static_cast<std::ptrdiff_t>(elements.size()), 1);
  for (std::size_t i = 0; i < elements.size(); ++i) values(i, 0) = elements[i];
  for (std::size_t l = 0; l + 1 < network.size(); ++l) {
    const std::size_t count = network[l].weights.size();
    values = CalcLayer(network[l], CarryOverHops(adjacency, std::move(values), count));
  }

  const AtomTyper::Layer& last = network.back();
  const std::vector<AtomValues> hops =
      CarryOverHops(adjacency, std::move(values), last.weights.size());
  std::vector<AtomValues> block_hops(hops.size());
  constexpr std::size_t kBlock = 512;
  for (std::size_t begin = 0; begin < atoms.size(); begin += kBlock) {
    const std::size_t size = std::min(kBlock, atoms.size() - begin);
    const std::span<const int> block(atoms.data() + begin, size);
    for (std::size_t k = 0; k < hops.size(); ++k) block_hops[k] = hops[k](block, Eigen::all);
    const AtomValues outputs = CalcLayer(last, block_hops);
    for (std::size_t i = 0; i < size; ++i) {
      visit(block[i], std::span<const double>(&outputs(i, 0), outputs.cols()));
    }
  }
}

// The atoms of each element that has a network.
std::map<int, std::vector<int>> AtomsWithNetwork(const AtomTyper& typer,
                                                 const std::vector<int>& elements) {
  std::map<int, std::vector<int>> atoms;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (typer.networks.contains(elements[i])) atoms[elements[i]].push_back(static_cast<int>(i));
  }
  return atoms;
}

void AssertBondsFit(const std::vector<int>& elements, const TermList& bonds) {
  for (const int atom : bonds.flat()) {
    assert(atom >= 0 && static_cast<std::size_t>(atom) < elements.size());
  }
}

}  // namespace

AtomTyper::AtomTyper() : num_hops(kHighestHop) {
  WeightReader reader;
  for (const NetworkShape& shape : kNetworkShapes) {
    std::vector<Layer>& layers = networks[shape.element];
    layers.push_back(ReadLayer(1, kHiddenChannels, reader));
    layers.push_back(ReadLayer(kHiddenChannels, kHiddenChannels, reader));
    layers.push_back(ReadLayer(kHiddenChannels, shape.num_types, reader));
    type_tables[shape.element] = shape.types;
  }
  assert(reader.AtEnd());
}

void AtomTyper::Type(const std::vector<int>& elements, const std::vector<int>& ring_sizes,
                     const TermList& bonds, std::vector<std::string>& types) const {
  AssertBondsFit(elements, bonds);
  assert(ring_sizes.size() == elements.size());
  types.assign(elements.size(), UnknownType);
  const std::map<int, std::vector<int>> atoms_of = AtomsWithNetwork(*this, elements);
  for (const auto& [element, atoms] : atoms_of) {
    for (const int atom : atoms) types[atom] = type_tables.at(element)[0];
  }
  // Then nothing can be compared, and the first types stand.
  if (HasUnbondedAtom(elements.size(), bonds)) return;
  const SparseAdjacency adjacency = NormalisedAdjacency(elements.size(), bonds);
  for (const auto& [element, atoms] : atoms_of) {
    const char* const* const table = type_tables.at(element);
    ForEachOutput(networks.at(element), adjacency, elements, atoms,
                  [&, element = element](int atom, std::span<const double> outputs) {
                    const AllowedTypes is_allowed(element, ring_sizes[atom]);
                    types[atom] = table[MostProbableTypeOfOutputs(outputs, is_allowed)];
                  });
  }
}

void AtomTyper::Type(const std::vector<int>& elements, const std::vector<int>& ring_sizes,
                     const Eigen::MatrixXd& adjacency, std::vector<std::string>& types) const {
  std::vector<std::vector<double>> probabilities;
  CalcTAGCN(elements, adjacency, probabilities);
  AssignTypes(elements, ring_sizes, probabilities, types);
}

void AtomTyper::CalcTAGCN(const std::vector<int>& elements, const TermList& bonds,
                          std::vector<std::vector<double>>& probabilities) const {
  AssertBondsFit(elements, bonds);
  probabilities.assign(elements.size(), {1.0});
  const std::map<int, std::vector<int>> atoms_of = AtomsWithNetwork(*this, elements);
  if (HasUnbondedAtom(elements.size(), bonds)) {
    // The infinite scale of the unbonded atom meets a zero for every other one, and from this
    // atom's row and column of the adjacency the NaN spreads to all atoms.
    for (const auto& [element, atoms] : atoms_of) {
      const auto channels = static_cast<std::size_t>(networks.at(element).back().bias.size());
      for (const int atom : atoms) {
        probabilities[atom].assign(channels, std::numeric_limits<double>::quiet_NaN());
      }
    }
    return;
  }
  const SparseAdjacency adjacency = NormalisedAdjacency(elements.size(), bonds);
  for (const auto& [element, atoms] : atoms_of) {
    ForEachOutput(
        networks.at(element), adjacency, elements, atoms,
        [&](int atom, std::span<const double> outputs) { probabilities[atom] = Softmax(outputs); });
  }
}

void AtomTyper::CalcTAGCN(const std::vector<int>& elements, const Eigen::MatrixXd& adjacency,
                          std::vector<std::vector<double>>& probabilities) const {
  const auto size = static_cast<std::ptrdiff_t>(elements.size());
  std::vector<int> elements_present = elements;
  std::sort(elements_present.begin(), elements_present.end());
  elements_present.erase(std::unique(elements_present.begin(), elements_present.end()),
                         elements_present.end());

  Eigen::MatrixXd scales = Eigen::MatrixXd::Zero(size, size);
  Eigen::MatrixXd features = Eigen::MatrixXd::Zero(size, 1);
  for (std::ptrdiff_t i = 0; i < size; ++i) {
    scales(i, i) = std::pow(adjacency.col(i).sum(), -0.5);
    features(i, 0) = static_cast<double>(elements[i]);
  }
  // Not as a diagonal: the product of its zeros and an infinite scale is meant to be NaN.
  std::vector<Eigen::MatrixXd> powers = {Eigen::MatrixXd::Identity(size, size),
                                         (scales * adjacency) * scales};
  for (int k = 2; k <= num_hops; ++k) powers.push_back(powers.back() * powers[1]);

  probabilities.assign(elements.size(), {1.0});
  for (const int element : elements_present) {
    const auto network = networks.find(element);
    if (network == networks.end()) continue;
    Eigen::MatrixXd values = features;
    for (const Layer& layer : network->second) {
      Eigen::MatrixXd sum = Eigen::MatrixXd::Zero(size, layer.weights.front().cols());
      for (std::size_t k = 0; k < layer.weights.size(); ++k) {
        sum += (powers[k] * values) * layer.weights[k];
      }
      values = sum.rowwise() + layer.bias;
      ClipAtZero(values);
    }
    std::vector<double> outputs(static_cast<std::size_t>(values.cols()));
    for (std::ptrdiff_t i = 0; i < size; ++i) {
      if (elements[i] != element) continue;
      Eigen::RowVectorXd::Map(outputs.data(), values.cols()) = values.row(i);
      probabilities[i] = Softmax(outputs);
    }
  }
}

void AtomTyper::AssignTypes(const std::vector<int>& elements, const std::vector<int>& ring_sizes,
                            const std::vector<std::vector<double>>& probabilities,
                            std::vector<std::string>& types) const {
  types.clear();
  types.reserve(ring_sizes.size());
  for (std::size_t i = 0; i < ring_sizes.size(); ++i) {
    const auto table = type_tables.find(elements[i]);
    if (table == type_tables.end()) {
      types.emplace_back(UnknownType);
      continue;
    }
    const AllowedTypes is_allowed(elements[i], ring_sizes[i]);
    types.emplace_back(table->second[MostProbableType(probabilities[i], is_allowed)]);
  }
}

}  // namespace orvane
