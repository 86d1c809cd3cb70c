// Building, merging and deriving the terms of a topology, against plain versions of the same.
#include "MolecularMechanicsTopology.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AsLists;
using testing_support::MessageOf;
using testing_support::RunInChild;
using testing_support::RunResult;
using testing_support::TemporaryFolder;
using testing_support::TermListOf;
using testing_support::Terms;

using Topology = MolecularMechanicsTopology;

std::vector<Topology::Atom> Atoms(std::size_t count, const std::string& name = "C") {
  std::vector<Topology::Atom> atoms(count);
  for (std::size_t i = 0; i < count; ++i) {
    atoms[i].name = name + std::to_string(i);
    atoms[i].residue_sn = 40 + static_cast<int>(i);
  }
  return atoms;
}

Topology TopologyOf(std::size_t atoms, const Terms& bonds, const Terms& impropers = {},
                    const Terms& cmaps = {}, const std::string& name = "C") {
  Topology topology;
  topology.Build(Atoms(atoms, name), TermListOf(2, bonds), TermListOf(4, impropers),
                 TermListOf(4, cmaps));
  return topology;
}

// The derived lists by the plain rules: lists of neighbours for each atom, angles from the bonds,
// dihedrals from the angles.
std::pair<Terms, Terms> PlainlyDerived(std::size_t atoms, const Terms& bonds) {
  std::vector<std::vector<int>> adjacency(atoms);
  for (const std::vector<int>& bond : bonds) {
    adjacency[bond[0]].push_back(bond[1]);
    adjacency[bond[1]].push_back(bond[0]);
  }
  Terms angles;
  for (const std::vector<int>& bond : bonds) {
    const int i = bond[0];
    const int j = bond[1];
    for (const int k : adjacency[i]) {
      if (k > j) angles.push_back({j, i, k});
    }
    for (const int k : adjacency[j]) {
      if (k > i) angles.push_back({i, j, k});
    }
  }
  Terms dihedrals;
  for (const std::vector<int>& angle : angles) {
    const int a = angle[0];
    const int b = angle[1];
    const int c = angle[2];
    for (const int k : adjacency[a]) {
      if (k != b && k < c) dihedrals.push_back({k, a, b, c});
    }
    for (const int k : adjacency[c]) {
      if (k != b && k < a) dihedrals.push_back({a, b, c, k});
    }
  }
  return {angles, dihedrals};
}

// Angles and dihedrals of a simple graph by their definition: its paths of three and of four atoms,
// each once, from the end with the lower index, in no order.
std::pair<Terms, Terms> PathsOf(int atoms, const Terms& bonds) {
  std::set<std::pair<int, int>> bonded;
  for (const std::vector<int>& bond : bonds) {
    bonded.emplace(bond[0], bond[1]);
    bonded.emplace(bond[1], bond[0]);
  }
  Terms angles;
  Terms dihedrals;
  for (int a = 0; a < atoms; ++a) {
    for (int b = 0; b < atoms; ++b) {
      if (!bonded.contains({a, b})) continue;
      for (int c = 0; c < atoms; ++c) {
        if (c == a || !bonded.contains({b, c})) continue;
        if (a < c) angles.push_back({a, b, c});
        for (int d = a + 1; d < atoms; ++d) {
          if (d != b && bonded.contains({c, d})) dihedrals.push_back({a, b, c, d});
        }
      }
    }
  }
  return {angles, dihedrals};
}

Terms InOneOrder(Terms terms) {
  for (std::vector<int>& term : terms) {
    if (term.front() > term.back()) std::ranges::reverse(term);
  }
  std::ranges::sort(terms);
  return terms;
}

void ExpectPlainlyDerived(const Topology& topology) {
  const auto [angles, dihedrals] =
      PlainlyDerived(topology.GetAtoms().size(), AsLists(topology.GetBonds()));
  ASSERT_EQ(AsLists(topology.GetAngles()), angles);
  ASSERT_EQ(AsLists(topology.GetDihedrals()), dihedrals);
}

TEST(Topology, IsEmptyAtFirst) {
  const Topology topology;
  EXPECT_TRUE(topology.GetAtoms().empty());
  EXPECT_TRUE(topology.GetBonds().empty());
  EXPECT_TRUE(topology.GetAngles().empty());
  EXPECT_TRUE(topology.GetDihedrals().empty());
  EXPECT_TRUE(topology.GetImpropers().empty());
  EXPECT_TRUE(topology.GetCmaps().empty());
  EXPECT_EQ(topology.GetBonds().degree(), 2);
  EXPECT_EQ(topology.GetAngles().degree(), 3);
  EXPECT_EQ(topology.GetDihedrals().degree(), 4);
  EXPECT_EQ(topology.GetImpropers().degree(), 4);
  EXPECT_EQ(topology.GetCmaps().degree(), 4);
  const Topology::Atom atom;
  EXPECT_EQ(atom.lj_epsilon, 0.0);
  EXPECT_EQ(atom.lj_sigma, 0.0);
}

TEST(Topology, TakesOverWhatItIsBuiltFrom) {
  const Topology topology =
      TopologyOf(5, {{1, 0}, {0, 2}}, {{3, 2, 1, 0}}, {{0, 1, 2, 3}, {1, 2, 3, 4}});
  EXPECT_EQ(topology.GetAtoms(), Atoms(5));
  EXPECT_EQ(AsLists(topology.GetBonds()), (Terms{{1, 0}, {0, 2}}));
  EXPECT_EQ(AsLists(topology.GetImpropers()), (Terms{{3, 2, 1, 0}}));
  EXPECT_EQ(AsLists(topology.GetCmaps()), (Terms{{0, 1, 2, 3}, {1, 2, 3, 4}}));
}

TEST(Topology, ForgetsWhatItHeldWhenItIsBuiltAnew) {
  Topology topology = TopologyOf(4, {{0, 1}, {1, 2}, {2, 3}}, {{0, 1, 2, 3}}, {{0, 1, 2, 3}});
  ASSERT_EQ(topology.GetDihedrals().size(), 1u);
  topology.Build(Atoms(2), TermListOf(2, {{0, 1}}), TermList(4), TermList(4));
  EXPECT_EQ(topology.GetAtoms().size(), 2u);
  EXPECT_EQ(topology.GetBonds().size(), 1u);
  EXPECT_TRUE(topology.GetAngles().empty());
  EXPECT_TRUE(topology.GetDihedrals().empty());
  EXPECT_TRUE(topology.GetImpropers().empty());
  EXPECT_TRUE(topology.GetCmaps().empty());
}

TEST(Topology, CanBeBuiltFromItsOwnLists) {
  Topology topology = TopologyOf(4, {{0, 1}, {1, 2}, {2, 3}}, {{0, 1, 2, 3}}, {{3, 2, 1, 0}});
  topology.Build(topology.GetAtoms(), topology.GetBonds(), topology.GetImpropers(),
                 topology.GetCmaps());
  EXPECT_EQ(topology.GetAtoms(), Atoms(4));
  EXPECT_EQ(AsLists(topology.GetDihedrals()), (Terms{{0, 1, 2, 3}}));
  EXPECT_EQ(AsLists(topology.GetCmaps()), (Terms{{3, 2, 1, 0}}));
}

TEST(TopologyTerms, OfAChainAreItsPaths) {
  const Topology topology = TopologyOf(4, {{0, 1}, {1, 2}, {2, 3}});
  EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{0, 1, 2}, {1, 2, 3}}));
  EXPECT_EQ(AsLists(topology.GetDihedrals()), (Terms{{0, 1, 2, 3}}));
}

TEST(TopologyTerms, FollowTheOrderOfTheBonds) {
  const Topology topology = TopologyOf(4, {{2, 3}, {1, 2}, {0, 1}});
  EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{1, 2, 3}, {0, 1, 2}}));
  EXPECT_EQ(AsLists(topology.GetDihedrals()), (Terms{{0, 1, 2, 3}}));
  // Neighbours are taken in the order of the bonds too, and are never sorted.
  EXPECT_EQ(AsLists(TopologyOf(4, {{0, 3}, {0, 1}, {0, 2}}).GetAngles()),
            (Terms{{1, 0, 3}, {1, 0, 2}, {2, 0, 3}}));
}

TEST(TopologyTerms, OfARingOfThreeHaveNoDihedral) {
  const Topology topology = TopologyOf(3, {{0, 1}, {1, 2}, {2, 0}});
  EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{1, 0, 2}, {0, 1, 2}, {0, 2, 1}}));
  EXPECT_TRUE(topology.GetDihedrals().empty());
}

TEST(TopologyTerms, OfARingOfFourHaveEachPathOnce) {
  const Topology topology = TopologyOf(4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}});
  EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{1, 0, 3}, {0, 1, 2}, {1, 2, 3}, {0, 3, 2}}));
  const Terms dihedrals = AsLists(topology.GetDihedrals());
  EXPECT_EQ(dihedrals.size(), 4u);
  EXPECT_EQ(dihedrals, PlainlyDerived(4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}).second);
  // Their middle bonds are the four bonds.
  std::vector<std::pair<int, int>> middles;
  for (const std::vector<int>& dihedral : dihedrals) {
    middles.push_back(std::minmax(dihedral[1], dihedral[2]));
  }
  std::sort(middles.begin(), middles.end());
  EXPECT_EQ(middles, (std::vector<std::pair<int, int>>{{0, 1}, {0, 3}, {1, 2}, {2, 3}}));
}

TEST(TopologyTerms, ComeTwiceForABondThatIsListedTwice) {
  const Topology topology = TopologyOf(3, {{0, 1}, {1, 2}, {1, 2}});
  EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{0, 1, 2}, {0, 1, 2}}));
  ExpectPlainlyDerived(topology);
}

TEST(TopologyTerms, OfABondOfAnAtomWithItselfFollowTheSameRules) {
  // The atom is then its own neighbour, twice.
  ExpectPlainlyDerived(TopologyOf(1, {{0, 0}}));
  EXPECT_TRUE(TopologyOf(1, {{0, 0}}).GetAngles().empty());
  const Topology topology = TopologyOf(2, {{0, 0}, {0, 1}});
  EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{0, 0, 1}, {0, 0, 1}}));
  ExpectPlainlyDerived(topology);
}

TEST(TopologyTerms, OfAStarAreAllPairsOfItsRays) {
  Terms bonds;
  for (int i = 1; i <= 50; ++i) bonds.push_back({0, i});
  const Topology topology = TopologyOf(51, bonds);
  EXPECT_EQ(topology.GetAngles().size(), 50u * 49u / 2u);
  EXPECT_TRUE(topology.GetDihedrals().empty());
  ExpectPlainlyDerived(topology);
}

TEST(TopologyTerms, OfARingAreAsManyAsItsAtoms) {
  for (int size = 4; size <= 40; ++size) {
    Terms bonds;
    for (int i = 0; i < size; ++i) bonds.push_back({i, (i + 1) % size});
    const Topology topology = TopologyOf(static_cast<std::size_t>(size), bonds);
    EXPECT_EQ(topology.GetAngles().size(), static_cast<std::size_t>(size));
    EXPECT_EQ(topology.GetDihedrals().size(), static_cast<std::size_t>(size));
    ExpectPlainlyDerived(topology);
  }
}

TEST(TopologyTerms, OfASimpleGraphAreItsPathsOfThreeAndFourAtomsEachOnce) {
  std::mt19937 random(3);
  for (int round = 0; round < 2000; ++round) {
    SCOPED_TRACE(round);
    const int atoms = 2 + static_cast<int>(random() % 8);
    Terms bonds;
    for (int i = 0; i < atoms; ++i) {
      for (int j = i + 1; j < atoms; ++j) {
        if (random() % 3 == 0)
          bonds.push_back(random() % 2 == 0 ? std::vector{i, j} : std::vector{j, i});
      }
    }
    std::ranges::shuffle(bonds, random);
    const Topology topology = TopologyOf(static_cast<std::size_t>(atoms), bonds);
    const auto [angles, dihedrals] = PathsOf(atoms, bonds);
    ASSERT_EQ(InOneOrder(AsLists(topology.GetAngles())), InOneOrder(angles));
    ASSERT_EQ(InOneOrder(AsLists(topology.GetDihedrals())), InOneOrder(dihedrals));
  }
}

// Bonds between random atoms: doubled ones, bonds of an atom with itself, stars and rings among
// them.
Terms RandomBonds(std::mt19937& random, std::size_t atoms) {
  Terms bonds;
  if (atoms == 0) return bonds;
  const auto any = [&] { return static_cast<int>(random() % atoms); };
  for (std::size_t i = random() % 20; i > 0; --i) {
    const auto kind = random() % 10;
    if (kind == 0 && !bonds.empty()) {
      bonds.push_back(bonds[random() % bonds.size()]);
    } else if (kind == 1) {
      const int atom = any();
      bonds.push_back({atom, atom});
    } else if (kind == 2) {
      const int center = any();
      for (int ray = 0; ray < 4; ++ray) bonds.push_back({center, any()});
    } else if (kind == 3) {
      const int first = any();
      int last = first;
      for (int step = 0; step < 3; ++step) {
        const int next = any();
        bonds.push_back({last, next});
        last = next;
      }
      bonds.push_back({last, first});
    } else {
      bonds.push_back({any(), any()});
    }
  }
  return bonds;
}

TEST(TopologyTerms, AgreeWithThePlainRulesOnRandomBonds) {
  std::mt19937 random(1);
  for (int round = 0; round < 5000; ++round) {
    const std::size_t atoms = random() % 15;
    const Terms bonds = RandomBonds(random, atoms);
    ExpectPlainlyDerived(TopologyOf(atoms, bonds));
    if (HasFatalFailure()) FAIL() << testing::PrintToString(bonds);
  }
}

TEST(TopologyTerms, AreTheSameHoweverTheyAreAskedFor) {
  const Terms bonds{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {1, 4}};
  const auto [angles, dihedrals] = PlainlyDerived(5, bonds);
  Topology at_once = TopologyOf(5, bonds);
  at_once.BuildAnglesAndDihedrals();
  at_once.BuildAnglesAndDihedrals();
  EXPECT_EQ(AsLists(at_once.GetDihedrals()), dihedrals);
  EXPECT_EQ(AsLists(at_once.GetAngles()), angles);
  const Topology dihedrals_first = TopologyOf(5, bonds);
  EXPECT_EQ(AsLists(dihedrals_first.GetDihedrals()), dihedrals);
  // A copy taken before anybody asked.
  const Topology original = TopologyOf(5, bonds);
  const Topology copy = original;
  EXPECT_EQ(AsLists(copy.GetAngles()), angles);
  EXPECT_EQ(AsLists(original.GetAngles()), angles);
}

TEST(TopologyTerms, EndTheRunForABondToAnAtomThatIsNotThere) {
  const auto message = [](const Terms& bonds) { return MessageOf([&] { TopologyOf(3, bonds); }); };
  EXPECT_EQ(message({{0, 1}, {1, 3}}),
            "Error occurs: The bond 2-4 is wrong: there are atoms from 1 to 3 only.");
  EXPECT_EQ(message({{-1, 2}}),
            "Error occurs: The bond 0-3 is wrong: there are atoms from 1 to 3 only.");
  EXPECT_EQ(message({{2, -5}, {9, 9}}),
            "Error occurs: The bond 3--4 is wrong: there are atoms from 1 to 3 only.");
  EXPECT_EQ(message({{0, 1}, {1, 2}}), "(the code returned)");
}

TEST(TopologyTerms, NameThePlaceOfTheMessageAndEndWithoutALineFeed) {
  const RunResult result = RunInChild([] { TopologyOf(1, {{0, 1}}); });
  EXPECT_EQ(result.status, 0);
  const std::string begin =
      "Error occurs: The bond 1-2 is wrong: there are atoms from 1 to 1 only. (in "
      "src/MolecularMechanicsTopology.cpp at line ";
  EXPECT_EQ(result.out.substr(0, begin.size()), begin);
  EXPECT_EQ(result.out.back(), ')');
}

TEST(TopologyTerms, EndTheRunWhereABondListIsThatOfNoMolecule) {
  // A damaged file can bond one atom to everything, and the work grows with the square of that.
  EXPECT_EQ(MessageOf([] {
              Terms star;
              for (int i = 1; i <= 263000; ++i) star.push_back({0, i});
              TopologyOf(263001, star).GetAngles();
            }),
            "Error occurs: The topology would have too many angles.");
  // Two bonds, each listed thousands of times.
  EXPECT_EQ(MessageOf([] {
              Terms bonds;
              for (int i = 0; i < 3300; ++i) {
                bonds.push_back({0, 1});
                bonds.push_back({1, 2});
              }
              TopologyOf(3, bonds).GetDihedrals();
            }),
            "Error occurs: The topology would have too many dihedrals.");
}

// Each atom is bonded to all the others.
Terms BondsOnOneSpot(int atoms) {
  Terms bonds;
  for (int i = 0; i < atoms; ++i) {
    for (int j = i + 1; j < atoms; ++j) bonds.push_back({i, j});
  }
  return bonds;
}

TEST(TopologyTerms, AreTooManyToGuessBeyondTheLimitOnly) {
  const auto message = [](int atoms, const Terms& bonds) {
    TermList list(2);
    for (const std::vector<int>& bond : bonds) list.push_back(bond);
    return MessageOf([&] { EndIfTooManyTerms(static_cast<std::size_t>(atoms), list); });
  };
  EXPECT_EQ(message(0, {}), "(the code returned)");
  EXPECT_EQ(message(2, {{0, 1}}), "(the code returned)");
  // One atom with 11585 bonds is the centre of 67,100,320 angles; one bond more makes 67,111,905.
  Terms star;
  for (int i = 1; i <= 11585; ++i) star.push_back({0, i});
  EXPECT_EQ(message(11587, star), "(the code returned)");
  star.push_back({11586, 0});
  EXPECT_EQ(message(11587, star), "Error occurs: The topology would have too many angles.");
  // 5778 bonds with 106 neighbours at each end, and 5886 bonds with 107.
  EXPECT_EQ(message(108, BondsOnOneSpot(108)), "(the code returned)");
  EXPECT_EQ(message(109, BondsOnOneSpot(109)),
            "Error occurs: The topology would have too many dihedrals.");
  EXPECT_EQ(message(1000, BondsOnOneSpot(1000)),
            "Error occurs: The topology would have too many angles.");
}

// A topology as plain lists, merged by the plain rules.
struct PlainTopology {
  std::vector<Topology::Atom> atoms;
  Terms bonds;
  Terms impropers;
  Terms cmaps;

  void Merge(const PlainTopology& other, int copies) {
    const int base = static_cast<int>(atoms.size());
    const int n = static_cast<int>(other.atoms.size());
    for (int c = 0; c < copies; ++c) {
      for (Topology::Atom atom : other.atoms) {
        if (copies != 1) atom.residue_sn = c % 9999 + 1;
        atoms.push_back(atom);
      }
    }
    const auto append = [&](const Terms& from, Terms& to) {
      for (int c = 0; c < copies; ++c) {
        for (std::vector<int> term : from) {
          for (int& index : term) index += base + c * n;
          to.push_back(term);
        }
      }
    };
    append(other.bonds, bonds);
    append(other.impropers, impropers);
    append(other.cmaps, cmaps);
  }

  Topology Built() const {
    Topology topology;
    topology.Build(atoms, TermListOf(2, bonds), TermListOf(4, impropers), TermListOf(4, cmaps));
    return topology;
  }
};

void ExpectSame(const Topology& topology, const PlainTopology& plain) {
  ASSERT_EQ(topology.GetAtoms(), plain.atoms);
  ASSERT_EQ(AsLists(topology.GetBonds()), plain.bonds);
  ASSERT_EQ(AsLists(topology.GetImpropers()), plain.impropers);
  ASSERT_EQ(AsLists(topology.GetCmaps()), plain.cmaps);
  ExpectPlainlyDerived(topology);
}

TEST(TopologyMerge, OfOneCopyKeepsResidueNumbers) {
  Topology topology = TopologyOf(2, {{0, 1}}, {}, {}, "A");
  topology.Merge(TopologyOf(3, {{0, 1}, {1, 2}}, {{0, 1, 2, 0}}, {{2, 1, 0, 1}}, "B"), 1);
  ASSERT_EQ(topology.GetAtoms().size(), 5u);
  EXPECT_EQ(topology.GetAtoms()[1].residue_sn, 41);
  EXPECT_EQ(topology.GetAtoms()[2].name, "B0");
  EXPECT_EQ(topology.GetAtoms()[2].residue_sn, 40);
  EXPECT_EQ(topology.GetAtoms()[4].residue_sn, 42);
  EXPECT_EQ(AsLists(topology.GetBonds()), (Terms{{0, 1}, {2, 3}, {3, 4}}));
  EXPECT_EQ(AsLists(topology.GetImpropers()), (Terms{{2, 3, 4, 2}}));
  EXPECT_EQ(AsLists(topology.GetCmaps()), (Terms{{4, 3, 2, 3}}));
  EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{2, 3, 4}}));
}

TEST(TopologyMerge, OfSeveralCopiesNumbersTheCopies) {
  Topology topology = TopologyOf(1, {});
  topology.Merge(TopologyOf(2, {{1, 0}}), 3);
  std::vector<int> numbers;
  for (const Topology::Atom& atom : topology.GetAtoms()) numbers.push_back(atom.residue_sn);
  EXPECT_EQ(numbers, (std::vector<int>{40, 1, 1, 2, 2, 3, 3}));
  EXPECT_EQ(AsLists(topology.GetBonds()), (Terms{{2, 1}, {4, 3}, {6, 5}}));
}

TEST(TopologyMerge, BeginsAnewAfterNumber9999) {
  Topology topology;
  topology.Merge(TopologyOf(1, {}), 20000);
  const std::vector<Topology::Atom>& atoms = topology.GetAtoms();
  ASSERT_EQ(atoms.size(), 20000u);
  EXPECT_EQ(atoms[0].residue_sn, 1);
  EXPECT_EQ(atoms[9998].residue_sn, 9999);
  EXPECT_EQ(atoms[9999].residue_sn, 1);
  EXPECT_EQ(atoms[19997].residue_sn, 9999);
  EXPECT_EQ(atoms[19998].residue_sn, 1);
}

TEST(TopologyMerge, OfNoCopyChangesNothingButTheDerivedLists) {
  testing_support::TemporaryFolder folder;
  const Topology other = TopologyOf(2, {{0, 1}});
  for (const int copies : {0, -1}) {
    // Lists as a file has them, which the bonds do not give.
    Topology topology;
    topology.LoadFromPSF(folder.Write("in.psf",
                                      "PSF EXT\n\n 0 !NTITLE\n\n 3 !NATOM\n"
                                      "1 A 1 ALA N NH1 0.5 14.0 0\n2 A 1 ALA CA CT1 0.5 12.0 0\n"
                                      "3 A 1 ALA C C 0.5 12.0 0\n\n2\n1 2 2 3\n\n1\n3 2 1\n\n1\n"
                                      "1 2 3 1\n\n1\n1 2 3 3\n\n1\n3 3 2 1\n"));
    ASSERT_EQ(AsLists(topology.GetAngles()), (Terms{{2, 1, 0}}));
    const std::vector<Topology::Atom> atoms = topology.GetAtoms();
    topology.Merge(other, copies);
    EXPECT_EQ(topology.GetAtoms(), atoms);
    EXPECT_EQ(AsLists(topology.GetBonds()), (Terms{{0, 1}, {1, 2}}));
    EXPECT_EQ(AsLists(topology.GetImpropers()), (Terms{{0, 1, 2, 2}}));
    EXPECT_EQ(AsLists(topology.GetCmaps()), (Terms{{2, 2, 1, 0}}));
    EXPECT_EQ(AsLists(topology.GetAngles()), (Terms{{0, 1, 2}}));
    EXPECT_TRUE(topology.GetDihedrals().empty());
  }
}

TEST(TopologyMerge, LeavesTheOtherTopologyAlone) {
  const Topology other = TopologyOf(2, {{0, 1}});
  Topology topology = TopologyOf(1, {});
  topology.Merge(other, 2);
  EXPECT_EQ(other.GetAtoms(), Atoms(2));
  EXPECT_EQ(AsLists(other.GetBonds()), (Terms{{0, 1}}));
}

TEST(TopologyMerge, AgreesWithThePlainRulesOnRandomTopologies) {
  std::mt19937 random(2);
  const auto random_topology = [&] {
    PlainTopology plain;
    plain.atoms = Atoms(random() % 8);
    plain.bonds = RandomBonds(random, plain.atoms.size());
    for (Terms* terms : {&plain.impropers, &plain.cmaps}) {
      for (std::size_t i = plain.atoms.empty() ? 0 : random() % 4; i > 0; --i) {
        std::vector<int> term(4);
        for (int& index : term) index = static_cast<int>(random() % plain.atoms.size());
        terms->push_back(term);
      }
    }
    return plain;
  };
  for (int round = 0; round < 400; ++round) {
    PlainTopology plain = random_topology();
    Topology topology = plain.Built();
    for (int merge = 0; merge < 3; ++merge) {
      const PlainTopology other = random_topology();
      const int copies = static_cast<int>(random() % 5) - 1;
      // Sometimes somebody has read the derived lists in between.
      if (random() % 2 == 0) topology.BuildAnglesAndDihedrals();
      topology.Merge(other.Built(), copies);
      plain.Merge(other, copies);
      ExpectSame(topology, plain);
      if (HasFatalFailure()) FAIL() << "with " << copies << " copies";
    }
  }
}

TEST(TopologyMerge, OfATopologyWithItselfDoublesIt) {
  Topology topology = TopologyOf(3, {{0, 1}, {1, 2}}, {{0, 1, 2, 0}});
  Topology expected = topology;
  expected.Merge(topology, 2);
  topology.Merge(topology, 2);
  EXPECT_EQ(topology.GetAtoms(), expected.GetAtoms());
  EXPECT_EQ(AsLists(topology.GetBonds()), AsLists(expected.GetBonds()));
  EXPECT_EQ(AsLists(topology.GetImpropers()), AsLists(expected.GetImpropers()));
  EXPECT_EQ(topology.GetAtoms().size(), 9u);
}

// What is appended could bring the wrong index into range, and hide it.
TEST(TopologyMerge, EndsTheRunForABondOfTheLoadedReceiverToAnAtomThatIsNotThere) {
  const TemporaryFolder folder;
  const std::string path =
      folder.Write("a.psf",
                   "PSF EXT\n\n0 !NTITLE\n\n1 !NATOM\n1 A 1 X C C 0 1 0\n\n1 !NBOND\n1 2\n\n"
                   "0\n\n0\n\n0\n\n0\n\n");
  EXPECT_EQ(MessageOf([&] {
              Topology topology;
              topology.LoadFromPSF(path);
              topology.Merge(TopologyOf(2, {}), 1);
            }),
            "Error occurs: The bond 1-2 is wrong: there are atoms from 1 to 1 only.");
}

TEST(TopologyMerge, EndsTheRunWhenThereWouldBeTooManyAtoms) {
  EXPECT_EQ(MessageOf([] {
              Topology topology = TopologyOf(1, {});
              topology.Merge(TopologyOf(2, {}), std::numeric_limits<int>::max());
            }),
            "Error occurs: The topology would have too many atoms.");
}

TEST(TopologyCharge, IsTheSumOfTheChargesFromFirstToLast) {
  const auto total = [](const std::vector<double>& charges) {
    std::vector<Topology::Atom> atoms(charges.size());
    for (std::size_t i = 0; i < charges.size(); ++i) atoms[i].charge = charges[i];
    Topology topology;
    topology.Build(atoms, TermList(2), TermList(4), TermList(4));
    return topology.GetTotalCharge();
  };
  EXPECT_EQ(total({}), 0.0);
  EXPECT_EQ(total({-0.5, 0.25, 1.0}), 0.75);
  // The order shows: each of these sums is another number.
  EXPECT_EQ(total({1e16, 1.0, -1e16}), 0.0);
  EXPECT_EQ(total({1e16, -1e16, 1.0}), 1.0);
  EXPECT_EQ(total({0.1, 0.2, 0.3}), 0.6000000000000001);
  EXPECT_EQ(total({0.3, 0.2, 0.1}), 0.6);
  // The sum begins with a positive zero.
  EXPECT_FALSE(std::signbit(total({-0.0, -0.0})));
}

}  // namespace
}  // namespace orvane
