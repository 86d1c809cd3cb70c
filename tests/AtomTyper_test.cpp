// Typing atoms: the networks' shapes, their forward pass, and the choice of a name.
#include "AtomTyper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "AtomTyperWeights.h"
#include "TestSupport.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing_support::OutputOf;
using testing_support::RunInChild;
using testing_support::SourceFolder;

using Names = std::vector<std::string>;
using Probabilities = std::vector<std::vector<double>>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const std::array<int, 11> kElements = {1, 35, 5, 6, 7, 8, 9, 15, 16, 17, 53};

struct Molecule {
  std::string name;
  std::vector<int> elements;
  std::vector<int> ring_sizes;
  TermList bonds{2};
  Names types;                // The true ones, where known.
  std::set<int> unreachable;  // Atoms whose true type the ring rule forbids.
};

template <typename Value>
std::vector<Value> ListOf(const boost::property_tree::ptree& line, const char* key) {
  std::vector<Value> values;
  if (const auto list = line.get_child_optional(key)) {
    for (const auto& entry : *list) values.push_back(entry.second.template get_value<Value>());
  }
  return values;
}

// The molecules of a file with one JSON object a line.
std::vector<Molecule> ReadMolecules(const fs::path& path) {
  std::vector<Molecule> molecules;
  std::ifstream file(path);
  EXPECT_TRUE(file.good()) << path;
  for (std::string text; std::getline(file, text);) {
    std::istringstream stream(text);
    boost::property_tree::ptree line;
    boost::property_tree::read_json(stream, line);
    Molecule& molecule = molecules.emplace_back();
    molecule.name = line.get<std::string>("name");
    molecule.elements = ListOf<int>(line, "elements");
    molecule.ring_sizes = ListOf<int>(line, "ring");
    molecule.types = ListOf<std::string>(line, "types");
    const std::vector<int> unreachable = ListOf<int>(line, "unreachable");
    molecule.unreachable.insert(unreachable.begin(), unreachable.end());
    for (const auto& [index, pair] : line.get_child("bonds")) {
      molecule.bonds.push_back(
          {pair.front().second.get_value<int>(), pair.back().second.get_value<int>()});
    }
  }
  return molecules;
}

Molecule MoleculeOf(std::vector<int> elements, std::vector<int> bonds) {
  Molecule molecule;
  molecule.ring_sizes.assign(elements.size(), 0);
  molecule.elements = std::move(elements);
  molecule.bonds.assign_flat(std::move(bonds));
  return molecule;
}

const Molecule kMethane = MoleculeOf({6, 1, 1, 1, 1}, {0, 1, 0, 2, 0, 3, 0, 4});

Eigen::MatrixXd AdjacencyOf(const Molecule& molecule) {
  const auto size = static_cast<Eigen::Index>(molecule.elements.size());
  Eigen::MatrixXd adjacency = Eigen::MatrixXd::Zero(size, size);
  for (std::size_t bond = 0; bond < molecule.bonds.size(); ++bond) {
    const int i = molecule.bonds[bond][0];
    const int j = molecule.bonds[bond][1];
    adjacency(i, j) = adjacency(j, i) = 1.0;
  }
  return adjacency;
}

// The interface with bonds as a matrix.
Names DenseTypes(const AtomTyper& typer, const Molecule& molecule) {
  Names types = {"rubbish"};
  typer.Type(molecule.elements, molecule.ring_sizes, AdjacencyOf(molecule), types);
  return types;
}

Probabilities DenseProbabilities(const AtomTyper& typer, const Molecule& molecule) {
  Probabilities probabilities = {{0.5}};
  typer.CalcTAGCN(molecule.elements, AdjacencyOf(molecule), probabilities);
  return probabilities;
}

// The interface with bonds as a list.
Names SparseTypes(const AtomTyper& typer, const Molecule& molecule) {
  Names types = {"rubbish"};
  typer.Type(molecule.elements, molecule.ring_sizes, molecule.bonds, types);
  return types;
}

Probabilities SparseProbabilities(const AtomTyper& typer, const Molecule& molecule) {
  Probabilities probabilities = {{0.5}};
  typer.CalcTAGCN(molecule.elements, molecule.bonds, probabilities);
  return probabilities;
}

Names Assigned(const AtomTyper& typer, const std::vector<int>& elements,
               const std::vector<int>& ring_sizes, const Probabilities& probabilities) {
  Names types = {"rubbish"};
  typer.AssignTypes(elements, ring_sizes, probabilities, types);
  return types;
}

// The type of one atom.
std::string Assigned(const AtomTyper& typer, int element, int ring_size,
                     const std::vector<double>& probabilities) {
  return Assigned(typer, std::vector<int>{element}, {ring_size}, {probabilities}).front();
}

// Probabilities that fall from one listed type to the next and are lower for all others.
std::vector<double> Ranked(const AtomTyper& typer, int element, const Names& names) {
  const auto size = static_cast<std::size_t>(typer.networks.at(element).back().bias.size());
  std::vector<double> probabilities(size, 0.001);
  double probability = 0.5;
  for (const std::string& name : names) {
    const char* const* const table = typer.type_tables.at(element);
    const auto place = std::find(table, table + size, name);
    EXPECT_NE(place, table + size) << name;
    probabilities[place - table] = probability;
    probability *= 0.5;
  }
  return probabilities;
}

void ExpectNear(const Probabilities& actual, const Probabilities& expected, double tolerance,
                const std::string& name) {
  ASSERT_EQ(actual.size(), expected.size()) << name;
  for (std::size_t i = 0; i < actual.size(); ++i) {
    ASSERT_EQ(actual[i].size(), expected[i].size()) << name << ", atom " << i;
    for (std::size_t j = 0; j < actual[i].size(); ++j) {
      if (std::isnan(expected[i][j])) {
        EXPECT_TRUE(std::isnan(actual[i][j])) << name << ", atom " << i << ", type " << j;
      } else {
        EXPECT_NEAR(actual[i][j], expected[i][j], tolerance)
            << name << ", atom " << i << ", type " << j;
      }
    }
  }
}

void SetAllWeights(AtomTyper& typer, double weight, double bias) {
  for (auto& [element, layers] : typer.networks) {
    for (AtomTyper::Layer& layer : layers) {
      for (Eigen::MatrixXd& matrix : layer.weights) matrix.setConstant(weight);
      layer.bias.setConstant(bias);
    }
  }
}

// Every bond between neighbours in number of a path, and a few more.
Molecule RandomMolecule(std::mt19937& random, bool with_unbonded_atoms) {
  constexpr std::array<int, 16> kPool = {1, 1, 1, 5, 6, 6, 6, 7, 8, 9, 14, 15, 16, 17, 35, 53};
  const auto up_to = [&](int highest) {
    return std::uniform_int_distribution<int>(0, highest)(random);
  };
  Molecule molecule;
  const int size = 2 + up_to(40);
  std::set<std::pair<int, int>> bonds;
  for (int i = 0; i < size; ++i) {
    molecule.elements.push_back(kPool[up_to(kPool.size() - 1)]);
    molecule.ring_sizes.push_back(std::array{0, 0, 5, 6}[up_to(3)]);
    // A few molecules in one list, each a tree of at least two atoms.
    if (i == 1) bonds.emplace(0, 1);
    if (i > 1 && !(with_unbonded_atoms && up_to(30) == 0)) bonds.emplace(up_to(i - 1), i);
  }
  for (int extra = up_to(8); extra > 0; --extra) {
    const int i = up_to(size - 1);
    const int j = up_to(size - 1);
    if (i != j) bonds.insert(std::minmax(i, j));
  }
  for (const auto& [i, j] : bonds) molecule.bonds.push_back({i, j});
  return molecule;
}

TEST(AtomTyper, HoldsElevenNetworksOfTheirShapes) {
  const AtomTyper typer;
  EXPECT_EQ(typer.num_hops, 2);
  const std::map<int, int> num_types = {{1, 25}, {5, 1},   {6, 58}, {7, 29}, {8, 19}, {9, 5},
                                        {15, 3}, {16, 10}, {17, 3}, {35, 4}, {53, 1}};
  ASSERT_EQ(typer.networks.size(), num_types.size());
  ASSERT_EQ(typer.type_tables.size(), num_types.size());
  Eigen::Index total = 0;
  for (const auto& [element, count] : num_types) {
    ASSERT_TRUE(typer.type_tables.contains(element)) << element;
    const std::vector<AtomTyper::Layer>& layers = typer.networks.at(element);
    ASSERT_EQ(layers.size(), 3u);
    const std::array<std::pair<int, int>, 3> shapes = {{{1, 16}, {16, 16}, {16, count}}};
    for (std::size_t l = 0; l < layers.size(); ++l) {
      EXPECT_EQ(layers[l].weights.size(), 3u);
      for (const Eigen::MatrixXd& matrix : layers[l].weights) {
        EXPECT_EQ(matrix.rows(), shapes[l].first) << element << " " << l;
        EXPECT_EQ(matrix.cols(), shapes[l].second) << element << " " << l;
        total += matrix.size();
      }
      EXPECT_EQ(layers[l].bias.size(), shapes[l].second) << element << " " << l;
      total += layers[l].bias.size();
    }
  }
  EXPECT_EQ(total, 17070);
  EXPECT_EQ(total, kNumAtomTyperWeights);
}

TEST(AtomTyper, FillsTheNetworksInTheOrderOfTheList) {
  const AtomTyper typer;
  const double* next = kAtomTyperWeights;
  for (const int element : kElements) {
    for (const AtomTyper::Layer& layer : typer.networks.at(element)) {
      for (const Eigen::MatrixXd& matrix : layer.weights) {
        for (Eigen::Index row = 0; row < matrix.rows(); ++row) {
          for (Eigen::Index column = 0; column < matrix.cols(); ++column) {
            ASSERT_EQ(matrix(row, column), *next++) << element;
          }
        }
      }
      for (const double bias : layer.bias) ASSERT_EQ(bias, *next++) << element;
    }
  }
  EXPECT_EQ(next - kAtomTyperWeights, kNumAtomTyperWeights);
}

TEST(AtomTyper, TheTablesHaveTheirOrder) {
  const AtomTyper typer;
  const auto name = [&](int element, int index) {
    return std::string(typer.type_tables.at(element)[index]);
  };
  EXPECT_EQ(name(1, 0), "HGA1");
  EXPECT_EQ(name(1, 10), "HGP1");
  EXPECT_EQ(name(1, 24), "HGR71");
  EXPECT_EQ(name(5, 0), "BG201");
  EXPECT_EQ(name(6, 0), "CG1T1");
  EXPECT_EQ(name(6, 27), "CG2R61");
  EXPECT_EQ(name(6, 35), "CG2RC7");
  EXPECT_EQ(name(6, 57), "CG3RC1");
  EXPECT_EQ(name(7, 8), "NG2R43");
  EXPECT_EQ(name(7, 28), "NG3P3");
  EXPECT_EQ(name(8, 3), "OG2D4");
  EXPECT_EQ(name(8, 18), "OG2S1");
  EXPECT_EQ(name(9, 4), "FGR1");
  EXPECT_EQ(name(15, 2), "PG2");
  EXPECT_EQ(name(16, 1), "SG2R50");
  EXPECT_EQ(name(16, 9), "SG2P2");
  EXPECT_EQ(name(17, 2), "CLGR1");
  EXPECT_EQ(name(35, 3), "BRGR1");
  EXPECT_EQ(name(53, 0), "IGR1");
  EXPECT_STREQ(AtomTyper::UnknownType, "X");
}

TEST(AtomTyper, TheTablesHaveTheirNames) {
  const AtomTyper typer;
  std::string names;
  for (const int element : {1, 5, 6, 7, 8, 9, 15, 16, 17, 35, 53}) {
    const auto size = static_cast<int>(typer.networks.at(element).back().bias.size());
    for (int i = 0; i < size; ++i) {
      names += (names.empty() ? "" : " ") + std::string(typer.type_tables.at(element)[i]);
    }
  }
  EXPECT_EQ(std::count(names.begin(), names.end(), ' '), 157);
  // The 64-bit FNV-1a hash of all 158.
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (const char letter : names) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3u;
  }
  EXPECT_EQ(hash, 0x4642f9e81832a1cbu);
}

// The types that an element's atom of a ring class can get, found by rating each type highest.
Names TypesOfRingClass(const AtomTyper& typer, int element, int ring_size) {
  Names allowed;
  const auto size = static_cast<int>(typer.networks.at(element).back().bias.size());
  for (int j = 0; j < size; ++j) {
    const std::string name = typer.type_tables.at(element)[j];
    if (Assigned(typer, element, ring_size, Ranked(typer, element, {name})) == name) {
      allowed.push_back(name);
    }
  }
  return allowed;
}

TEST(AtomTyper, CarbonNitrogenAndOxygenGetTypesOfTheirRingClassOnly) {
  const AtomTyper typer;
  EXPECT_EQ(TypesOfRingClass(typer, 6, 5),
            (Names{"CG2R51", "CG2R52", "CG2R53", "CG2R57", "CG25C1", "CG25C2", "CG251O", "CG252O",
                   "CG3C50", "CG3C51", "CG3C52", "CG3C53", "CG3C54", "CG3RC1"}));
  EXPECT_EQ(TypesOfRingClass(typer, 6, 6), (Names{"CG2R61", "CG2R62", "CG2R63", "CG2R64", "CG2R66",
                                                  "CG2R67", "CG2RC0", "CG2R71"}));
  EXPECT_EQ(TypesOfRingClass(typer, 6, 0).size(), 58u - 14u - 8u);
  EXPECT_EQ(TypesOfRingClass(typer, 7, 5),
            (Names{"NG2R50", "NG2R51", "NG2R52", "NG2R53", "NG2R57", "NG3C51"}));
  EXPECT_EQ(TypesOfRingClass(typer, 7, 6),
            (Names{"NG2R60", "NG2R61", "NG2R62", "NG2R67", "NG2RC0"}));
  EXPECT_EQ(TypesOfRingClass(typer, 7, 0).size(), 29u - 6u - 5u);
  EXPECT_EQ(TypesOfRingClass(typer, 8, 5), (Names{"OG2R50", "OG3C51"}));
  EXPECT_EQ(TypesOfRingClass(typer, 8, 6), (Names{"OG2D4", "OG3R60", "OG3C61"}));
  EXPECT_EQ(TypesOfRingClass(typer, 8, 0).size(), 19u - 2u - 3u);
}

TEST(AtomTyper, OtherElementsGetTheirTypesWhateverTheRing) {
  const AtomTyper typer;
  for (const int element : {1, 5, 9, 15, 16, 17, 35, 53}) {
    const auto size = static_cast<std::size_t>(typer.networks.at(element).back().bias.size());
    for (const int ring_size : {0, 5, 6, 7, -1}) {
      EXPECT_EQ(TypesOfRingClass(typer, element, ring_size).size(), size) << element;
    }
  }
}

TEST(AtomTyper, AForbiddenTypeIsPassedOverForTheNextAllowedOne) {
  const AtomTyper typer;
  EXPECT_EQ(Assigned(typer, 7, 5, Ranked(typer, 7, {"NG2S1", "NG2R60", "NG3C51", "NG2R50"})),
            "NG3C51");
  EXPECT_EQ(Assigned(typer, 8, 6, Ranked(typer, 8, {"OG2D1", "OG3C51", "OG3C61"})), "OG3C61");
  // Rings of three members have class 0.
  EXPECT_EQ(Assigned(typer, 6, 0, Ranked(typer, 6, {"CG3C31"})), "CG3C31");
  EXPECT_EQ(Assigned(typer, 6, 5, Ranked(typer, 6, {"CG3C31", "CG3C54"})), "CG3C54");
}

TEST(AtomTyper, OfEqualProbabilitiesTheFirstAllowedOneWins) {
  const AtomTyper typer;
  const auto type = [&](int element, int ring_size, double probability) {
    const auto size = static_cast<std::size_t>(typer.networks.at(element).back().bias.size());
    return Assigned(typer, element, ring_size, std::vector<double>(size, probability));
  };
  for (const double probability : {0.25, 0.0}) {
    EXPECT_EQ(type(6, 0, probability), "CG1T1");
    EXPECT_EQ(type(6, 5, probability), "CG2R51");
    EXPECT_EQ(type(6, 6, probability), "CG2R61");
    EXPECT_EQ(type(7, 5, probability), "NG2R50");
    EXPECT_EQ(type(7, 6, probability), "NG2R60");
    EXPECT_EQ(type(8, 0, probability), "OG2D1");
    EXPECT_EQ(type(8, 5, probability), "OG2R50");
    EXPECT_EQ(type(8, 6, probability), "OG2D4");
    EXPECT_EQ(type(1, 0, probability), "HGA1");
  }
  EXPECT_EQ(type(6, 6, kNaN), "CG1T1");
}

TEST(AtomTyper, WithNothingToCompareTheFirstTypeOfTheElementIsTaken) {
  const AtomTyper typer;
  const std::map<int, std::string> first = {
      {1, "HGA1"}, {5, "BG201"},  {6, "CG1T1"},  {7, "NG1T1"},  {8, "OG2D1"}, {9, "FGA1"},
      {15, "PG0"}, {16, "SG2D1"}, {17, "CLGA1"}, {35, "BRGA1"}, {53, "IGR1"}};
  for (const auto& [element, name] : first) {
    const auto size = static_cast<std::size_t>(typer.networks.at(element).back().bias.size());
    EXPECT_EQ(Assigned(typer, element, 5, std::vector<double>(size, kNaN)), name);
  }
  // A ring class that no type has.
  EXPECT_EQ(Assigned(typer, 6, 7, Ranked(typer, 6, {"CG331"})), "CG1T1");
  EXPECT_EQ(Assigned(typer, 7, -1, Ranked(typer, 7, {"NG321"})), "NG1T1");
}

TEST(AtomTyper, AnElementWithoutTypesIsUnknownWhateverTheRing) {
  const AtomTyper typer;
  for (const int ring_size : {0, 5, 6, 7}) {
    for (const int element : {14, 0, -1, 2, 118, 1000}) {
      EXPECT_EQ(Assigned(typer, element, ring_size, {1.0}), "X") << element;
    }
  }
}

TEST(AtomTyper, AnEmptyMoleculeHasNoTypes) {
  const AtomTyper typer;
  const Molecule nothing;
  EXPECT_TRUE(DenseTypes(typer, nothing).empty());
  EXPECT_TRUE(SparseTypes(typer, nothing).empty());
  EXPECT_TRUE(DenseProbabilities(typer, nothing).empty());
  EXPECT_TRUE(SparseProbabilities(typer, nothing).empty());
  EXPECT_TRUE(Assigned(typer, std::vector<int>(), {}, Probabilities()).empty());
}

TEST(AtomTyper, ThereAreAsManyTypesAsRingClasses) {
  const AtomTyper typer;
  const Probabilities probabilities = {Ranked(typer, 6, {"CG331"}), Ranked(typer, 1, {"HGA3"})};
  EXPECT_EQ(Assigned(typer, std::vector<int>{6, 1}, {0}, probabilities), Names{"CG331"});
  EXPECT_TRUE(Assigned(typer, std::vector<int>{6, 1}, {}, probabilities).empty());
}

TEST(AtomTyper, AnAtomWithoutNetworkIsSeenByTheOthers) {
  const AtomTyper typer;
  const Molecule silane =
      MoleculeOf({14, 1, 1, 1, 6, 1, 1, 1}, {0, 1, 0, 2, 0, 3, 0, 4, 4, 5, 4, 6, 4, 7});
  Molecule germane = silane;
  germane.elements[0] = 32;
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    const Probabilities beside_silicon = calc(typer, silane);
    EXPECT_EQ(beside_silicon[0], std::vector<double>{1.0});
    EXPECT_EQ(beside_silicon[4].size(), 58u);
    EXPECT_NE(beside_silicon[4], calc(typer, germane)[4]);
  }
  EXPECT_EQ(DenseTypes(typer, silane)[0], "X");
  EXPECT_EQ(SparseTypes(typer, silane)[0], "X");
  // All atoms without a network.
  const Molecule disilicon = MoleculeOf({14, 14}, {0, 1});
  EXPECT_EQ(DenseTypes(typer, disilicon), (Names{"X", "X"}));
  EXPECT_EQ(SparseTypes(typer, disilicon), (Names{"X", "X"}));
}

TEST(AtomTyper, OneUnbondedAtomLeavesNothingToCompareForAll) {
  const AtomTyper typer;
  Molecule with_ion = kMethane;
  with_ion.elements.insert(with_ion.elements.end(), {17, 14, 53, 5});
  with_ion.ring_sizes.assign(9, 6);
  with_ion.bonds.push_back({6, 7});
  with_ion.bonds.push_back({7, 8});
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    const Probabilities probabilities = calc(typer, with_ion);
    EXPECT_EQ(probabilities[6], std::vector<double>{1.0});
    for (const int atom : {0, 1, 2, 3, 4, 5, 7, 8}) {
      for (const double probability : probabilities[atom]) EXPECT_TRUE(std::isnan(probability));
    }
  }
  const Names first = {"CG1T1", "HGA1", "HGA1", "HGA1", "HGA1", "CLGA1", "X", "IGR1", "BG201"};
  EXPECT_EQ(DenseTypes(typer, with_ion), first);
  EXPECT_EQ(SparseTypes(typer, with_ion), first);
}

TEST(AtomTyper, ALoneAtomGetsTheFirstTypeOfItsElement) {
  const AtomTyper typer;
  const std::map<int, std::string> first = {{6, "CG1T1"}, {53, "IGR1"}, {1, "HGA1"}, {14, "X"}};
  for (const auto& [element, name] : first) {
    const Molecule atom = MoleculeOf({element}, {});
    EXPECT_EQ(DenseTypes(typer, atom), Names{name});
    EXPECT_EQ(SparseTypes(typer, atom), Names{name});
    ExpectNear(SparseProbabilities(typer, atom), DenseProbabilities(typer, atom), 0.0, name);
  }
}

TEST(AtomTyper, OneTypeAloneIsCertain) {
  const AtomTyper typer;
  const Molecule molecule = MoleculeOf({5, 53, 53, 6, 1}, {0, 1, 0, 2, 0, 3, 3, 4});
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    const Probabilities probabilities = calc(typer, molecule);
    for (const int atom : {0, 1, 2}) EXPECT_EQ(probabilities[atom], std::vector<double>{1.0});
  }
}

TEST(AtomTyper, OutputsThatAreAllClippedGiveEqualProbabilities) {
  AtomTyper typer;
  SetAllWeights(typer, -0.25, -0.5);
  Molecule methane = kMethane;
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    const Probabilities probabilities = calc(typer, methane);
    EXPECT_EQ(probabilities[0], std::vector<double>(58, 1.0 / 58.0));
    EXPECT_EQ(probabilities[1], std::vector<double>(25, 1.0 / 25.0));
  }
  methane.ring_sizes[0] = 6;
  const Names types = {"CG2R61", "HGA1", "HGA1", "HGA1", "HGA1"};
  EXPECT_EQ(DenseTypes(typer, methane), types);
  EXPECT_EQ(SparseTypes(typer, methane), types);
}

TEST(AtomTyper, TheOutputsAreClippedBeforeTheyBecomeProbabilities) {
  AtomTyper typer;
  SetAllWeights(typer, 0.0, 0.0);
  const Molecule phosphine = MoleculeOf({15, 1, 1, 1}, {0, 1, 0, 2, 0, 3});
  Eigen::RowVectorXd& bias = typer.networks.at(15).back().bias;
  bias << -1.0, 2.0, -3.0;
  const double sum = std::exp(2.0) + 2.0;
  const std::vector<double> expected = {1.0 / sum, std::exp(2.0) / sum, 1.0 / sum};
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    ExpectNear({calc(typer, phosphine)[0]}, {expected}, 1e-15, "one output is above zero");
  }
  // Of outputs that are all below zero the first wins, not the highest.
  bias << -3.0, -1.0, -2.0;
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    EXPECT_EQ(calc(typer, phosphine)[0], std::vector<double>(3, 1.0 / 3.0));
  }
  EXPECT_EQ(DenseTypes(typer, phosphine)[0], "PG0");
  EXPECT_EQ(SparseTypes(typer, phosphine)[0], "PG0");
}

TEST(AtomTyper, TheSumOfAProbabilityIsTakenInTheOrderOfTheTypes) {
  AtomTyper typer;
  SetAllWeights(typer, 0.0, 0.0);
  const Molecule phosphine = MoleculeOf({15, 1, 1, 1}, {0, 1, 0, 2, 0, 3});
  Eigen::RowVectorXd& bias = typer.networks.at(15).back().bias;
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    // One exponential of -36.8 behind the 1 is lost, two in front of it are not.
    bias << 36.8, 0.0, 0.0;
    EXPECT_EQ(calc(typer, phosphine)[0][0], 1.0);
    bias << 0.0, 0.0, 36.8;
    EXPECT_LT(calc(typer, phosphine)[0][2], 1.0);
  }
}

TEST(AtomTyper, ProbabilitiesThatAreLostBelowAForbiddenTypeAreEqual) {
  AtomTyper typer;
  SetAllWeights(typer, 0.0, 0.0);
  Eigen::RowVectorXd& bias = typer.networks.at(6).back().bias;
  bias(45) = 50.0;    // CG331
  bias(27) = 2000.0;  // CG2R61, which is forbidden outside rings of six.
  EXPECT_EQ(DenseTypes(typer, kMethane)[0], "CG1T1");
  EXPECT_EQ(SparseTypes(typer, kMethane)[0], "CG1T1");
  bias(27) = 500.0;
  EXPECT_EQ(DenseTypes(typer, kMethane)[0], "CG331");
  EXPECT_EQ(SparseTypes(typer, kMethane)[0], "CG331");
  // A difference that the sums of 58 exponentials cannot show.
  bias.setZero();
  bias(46) = 1e-300;
  EXPECT_EQ(DenseTypes(typer, kMethane)[0], "CG1T1");
  EXPECT_EQ(SparseTypes(typer, kMethane)[0], "CG1T1");
}

TEST(AtomTyper, ATypeIsPassedOverWithoutAWord) {
  AtomTyper typer;
  SetAllWeights(typer, 0.0, 0.0);
  Eigen::RowVectorXd& bias = typer.networks.at(6).back().bias;
  bias(45) = 1.0;  // CG331
  bias(27) = 2.0;  // CG2R61, which is forbidden outside rings of six.
  EXPECT_EQ(OutputOf([&] { EXPECT_EQ(SparseTypes(typer, kMethane)[0], "CG331"); }), "");
  EXPECT_EQ(OutputOf([&] { EXPECT_EQ(DenseTypes(typer, kMethane)[0], "CG331"); }), "");
}

TEST(AtomTyper, ASmallNetworkGivesWhatPaperSays) {
  AtomTyper typer;
  AtomTyper::Layer layer;
  layer.weights = {Eigen::MatrixXd::Constant(1, 3, 0.5), Eigen::MatrixXd::Constant(1, 3, 0.0),
                   Eigen::MatrixXd::Constant(1, 3, 0.0)};
  layer.weights[1] << 0.25, -1.0, 0.0;
  layer.weights[2] << 0.0, 0.0, 0.125;
  layer.bias = Eigen::RowVectorXd::Zero(3);
  layer.bias << 0.0, -1.0, -1.0;
  typer.networks[17] = {layer};
  // Cl-C-Cl: hop 1 brings sqrt(1/2) of carbon to chlorine, hop 2 a half of both chlorines.
  const Molecule molecule = MoleculeOf({17, 6, 17}, {0, 1, 1, 2});
  const double first = 8.5 + 0.25 * std::sqrt(0.5) * 6.0;
  const double second = 8.5 - std::sqrt(0.5) * 6.0 - 1.0;
  const double third = 8.5 + 0.125 * 17.0 - 1.0;
  const double sum = std::exp(first) + std::exp(second) + std::exp(third);
  const std::vector<double> expected = {std::exp(first) / sum, std::exp(second) / sum,
                                        std::exp(third) / sum};
  for (const auto& calc : {DenseProbabilities, SparseProbabilities}) {
    const Probabilities probabilities = calc(typer, molecule);
    ExpectNear({probabilities[0], probabilities[2]}, {expected, expected}, 1e-13, "Cl-C-Cl");
  }
}

TEST(AtomTyper, ABondThatIsListedTwiceIsOneBond) {
  const AtomTyper typer;
  Molecule twice = kMethane;
  twice.bonds.push_back({0, 1});
  twice.bonds.push_back({2, 0});
  ExpectNear(SparseProbabilities(typer, twice), SparseProbabilities(typer, kMethane), 0.0, "");
}

TEST(AtomTyper, BondsInAListGiveTheTypesOfBondsInAMatrix) {
  std::mt19937 random(51);
  const AtomTyper typer;
  for (int round = 0; round < 300; ++round) {
    const Molecule molecule = RandomMolecule(random, round % 3 == 0);
    const std::string name = "round " + std::to_string(round);
    EXPECT_EQ(SparseTypes(typer, molecule), DenseTypes(typer, molecule)) << name;
    ExpectNear(SparseProbabilities(typer, molecule), DenseProbabilities(typer, molecule), 1e-9,
               name);
  }
}

TEST(AtomTyper, BondsInAListGiveTheTypesOfBondsInAMatrixForNetworksFullOfTies) {
  std::mt19937 random(52);
  for (int round = 0; round < 60; ++round) {
    AtomTyper typer;
    // Few different numbers, most of them of the sign that is clipped.
    std::discrete_distribution<int> pick({4, 2, 1, 1});
    const auto number = [&](double) { return std::array{0.0, -0.5, 0.25, -1.0}[pick(random)]; };
    for (auto& [element, layers] : typer.networks) {
      for (AtomTyper::Layer& layer : layers) {
        for (Eigen::MatrixXd& matrix : layer.weights) matrix = matrix.unaryExpr(number).eval();
        layer.bias = layer.bias.unaryExpr(number).eval();
      }
    }
    const Molecule molecule = RandomMolecule(random, false);
    EXPECT_EQ(SparseTypes(typer, molecule), DenseTypes(typer, molecule)) << "round " << round;
  }
}

TEST(AtomTyper, TheOrderOfAtomsOnlyMovesTheTypes) {
  std::mt19937 random(53);
  const AtomTyper typer;
  for (int round = 0; round < 20; ++round) {
    const Molecule molecule = RandomMolecule(random, false);
    std::vector<int> new_place(molecule.elements.size());
    std::iota(new_place.begin(), new_place.end(), 0);
    std::shuffle(new_place.begin(), new_place.end(), random);
    Molecule moved = molecule;
    for (std::size_t i = 0; i < new_place.size(); ++i) {
      moved.elements[new_place[i]] = molecule.elements[i];
      moved.ring_sizes[new_place[i]] = molecule.ring_sizes[i];
    }
    moved.bonds.clear();
    for (std::size_t bond = molecule.bonds.size(); bond > 0; --bond) {
      moved.bonds.push_back(
          {new_place[molecule.bonds[bond - 1][1]], new_place[molecule.bonds[bond - 1][0]]});
    }
    const Probabilities expected = SparseProbabilities(typer, molecule);
    const Probabilities actual = SparseProbabilities(typer, moved);
    for (std::size_t i = 0; i < new_place.size(); ++i) {
      ExpectNear({actual[new_place[i]]}, {expected[i]}, 1e-9, "round " + std::to_string(round));
    }
  }
}

TEST(AtomTyper, ManyMoleculesInOneListAreTypedAsEachAlone) {
  const AtomTyper typer;
  std::mt19937 random(54);
  const Molecule one = RandomMolecule(random, false);
  constexpr int kCopies = 500;
  Molecule many;
  Names expected;
  const Names types_of_one = SparseTypes(typer, one);
  const int size = static_cast<int>(one.elements.size());
  for (int copy = 0; copy < kCopies; ++copy) {
    many.elements.insert(many.elements.end(), one.elements.begin(), one.elements.end());
    many.ring_sizes.insert(many.ring_sizes.end(), one.ring_sizes.begin(), one.ring_sizes.end());
    many.bonds.append_shifted(one.bonds, copy * size);
    expected.insert(expected.end(), types_of_one.begin(), types_of_one.end());
  }
  EXPECT_EQ(SparseTypes(typer, many), expected);
}

TEST(AtomTyper, ShapesThatDoNotFitStopTheProgram) {
  constexpr int kAborted = 128 + SIGABRT;
  EXPECT_EQ(RunInChild([] {
              Names types;
              AtomTyper().Type({6, 1}, {0, 0}, Eigen::MatrixXd::Zero(3, 3), types);
            }).status,
            kAborted);
  EXPECT_EQ(RunInChild([] {
              TermList bonds(2);
              bonds.push_back({0, 2});
              Names types;
              AtomTyper().Type({6, 1}, {0, 0}, bonds, types);
            }).status,
            kAborted);
}

// What a numpy program computed from the same weights: see training/evaluate_weights.py.
TEST(AtomTyper, GivesTheProbabilitiesOfAnIndependentProgram) {
  const AtomTyper typer;
  std::map<std::string, Names> types;
  std::map<std::string, Probabilities> probabilities;
  std::ifstream reference(SourceFolder() / "tests/data/typer_reference.tsv");
  std::string line;
  ASSERT_TRUE(std::getline(reference, line));
  while (std::getline(reference, line)) {
    std::istringstream fields(line);
    std::string name;
    std::string atom;
    std::string type;
    std::getline(fields, name, '\t');
    std::getline(fields, atom, '\t');
    std::getline(fields, type, '\t');
    ASSERT_EQ(atom, std::to_string(types[name].size()));
    types[name].push_back(type);
    std::vector<double>& numbers = probabilities[name].emplace_back();
    for (std::string word; fields >> word;) numbers.push_back(std::stod(word));
  }
  const std::vector<Molecule> molecules =
      ReadMolecules(SourceFolder() / "tests/data/typer_molecules.jsonl");
  EXPECT_EQ(molecules.size(), types.size());
  ASSERT_GE(molecules.size(), 10u);
  for (const Molecule& molecule : molecules) {
    const std::string& name = molecule.name;
    ExpectNear(SparseProbabilities(typer, molecule), probabilities[name], 1e-9, name);
    ExpectNear(DenseProbabilities(typer, molecule), probabilities[name], 1e-9, name);
    EXPECT_EQ(SparseTypes(typer, molecule), types[name]) << name;
    EXPECT_EQ(DenseTypes(typer, molecule), types[name]) << name;
  }
}

// With the trained networks.

TEST(AtomTyperTrained, TypesFourWellKnownMolecules) {
  const AtomTyper typer;
  int count = 0;
  for (const Molecule& molecule :
       ReadMolecules(SourceFolder() / "tests/data/typer_molecules.jsonl")) {
    if (molecule.types.empty()) continue;
    EXPECT_EQ(SparseTypes(typer, molecule), molecule.types) << molecule.name;
    EXPECT_EQ(DenseTypes(typer, molecule), molecule.types) << molecule.name;
    ++count;
  }
  EXPECT_EQ(count, 4);
}

// CF3, so many CF2 and CF3, in a chain.
Molecule Perfluoroalkane(int num_between) {
  std::vector<int> elements(num_between + 2, 6);
  std::vector<int> bonds;
  const int last = num_between + 1;
  for (int carbon = 0; carbon <= last; ++carbon) {
    if (carbon > 0) bonds.insert(bonds.end(), {carbon - 1, carbon});
    const int num_fluorines = carbon == 0 || carbon == last ? 3 : 2;
    for (int i = 0; i < num_fluorines; ++i) {
      bonds.insert(bonds.end(), {carbon, static_cast<int>(elements.size())});
      elements.push_back(9);
    }
  }
  return MoleculeOf(elements, bonds);
}

TEST(AtomTyperTrained, TellsTheCarbonsOfPerfluorinatedChainsApart) {
  const AtomTyper typer;
  for (int num_between = 0; num_between <= 10; ++num_between) {
    Names expected(num_between + 2, "CG312");
    expected.front() = expected.back() = "CG302";
    expected.insert(expected.end(), 3, "FGA3");
    expected.insert(expected.end(), 2 * num_between, "FGA2");
    expected.insert(expected.end(), 3, "FGA3");
    EXPECT_EQ(SparseTypes(typer, Perfluoroalkane(num_between)), expected) << num_between;
  }
}

// Molecules that the networks have learnt, too; how often they are right on others is told by the
// test typing_accuracy.
TEST(AtomTyperTrained, TypesPublishedMolecules) {
  const fs::path path = SourceFolder() / "tests/data/typing_validation.jsonl";
  if (!fs::exists(path)) GTEST_SKIP() << path << " is not there";
  const AtomTyper typer;
  int right = 0;
  int total = 0;
  for (const Molecule& molecule : ReadMolecules(path)) {
    const Names types = SparseTypes(typer, molecule);
    for (int i = 0; i < static_cast<int>(types.size()); ++i) {
      if (molecule.unreachable.contains(i)) continue;
      right += types[i] == molecule.types[i];
      ++total;
    }
  }
  EXPECT_GE(total, 1000);
  EXPECT_GE(right, 0.985 * total) << right << " of " << total;
}

}  // namespace
}  // namespace orvane
