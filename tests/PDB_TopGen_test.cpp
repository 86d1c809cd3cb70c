// Guessed topologies: bonds, rings and types of small molecules, and all of it against the plain
// way over all pairs, all cycles and full matrices.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "AtomTyper.h"
#include "BondRule.h"
#include "Elements.h"
#include "PDB.h"
#include "PlainPatching.h"
#include "RingClasses.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AsLists;
using testing_support::Describe;
using testing_support::MessageOf;
using testing_support::OutputOf;

using Lists = std::vector<std::vector<int>>;
using Strings = std::vector<std::string>;

struct Placed {
  std::string element;
  Vec3D coord;
};

// A molecule of one residue.
PDB MoleculeOf(const std::vector<Placed>& places) {
  PDB molecule;
  for (const Placed& place : places) {
    PDB::Atom& atom = molecule.atoms.emplace_back();
    atom.Name = place.element + std::to_string(molecule.atoms.size());
    atom.Element = place.element;
    atom.Coord = place.coord;
    atom.ResName = "LIG";
    atom.ChainID = "X";
    atom.ResSeq = 1;
  }
  molecule.Analyze();
  return molecule;
}

PDB GuessedFor(const std::vector<Placed>& places) {
  PDB molecule = MoleculeOf(places);
  molecule.GuessTopology();
  return molecule;
}

Strings TypesOf(const PDB& molecule) {
  Strings types;
  for (const MolecularMechanicsTopology::Atom& atom : molecule.tmpAtoms) types.push_back(atom.type);
  return types;
}

// A flat ring of these elements, each with a hydrogen outside.
std::vector<Placed> Ring(const Strings& elements, double bond) {
  const double pi = std::acos(-1.0);
  const auto size = static_cast<double>(elements.size());
  const double radius = 0.5 * bond / std::sin(pi / size);
  std::vector<Placed> places;
  for (const double distance : {radius, radius + 1.08}) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
      const double angle = 2.0 * pi * static_cast<double>(i) / size;
      places.push_back({distance == radius ? elements[i] : "H",
                        {distance * std::cos(angle), distance * std::sin(angle), 0.0}});
    }
  }
  return places;
}

std::vector<Placed> Methane(const std::string& centre = "C", const Vec3D& place = Vec3D(),
                            double bond = 1.09) {
  const double edge = bond / std::sqrt(3.0);
  return {{centre, place},
          {"H", place + Vec3D(edge, edge, edge)},
          {"H", place + Vec3D(edge, -edge, -edge)},
          {"H", place + Vec3D(-edge, edge, -edge)},
          {"H", place + Vec3D(-edge, -edge, edge)}};
}

// The smallest cycle that holds each atom, if it has 5 or 6 members.
std::vector<int> ListedRingSizes(const PDB& molecule) {
  std::vector<std::vector<int>> cycles;
  molecule.BuildCycles(cycles);
  std::vector<int> ring_sizes;
  for (int i = 0; i < molecule.numAtoms; ++i) {
    std::size_t smallest = 0;
    for (const std::vector<int>& cycle : cycles) {
      if (std::find(cycle.begin(), cycle.end(), i) == cycle.end()) continue;
      if (smallest == 0 || cycle.size() < smallest) smallest = cycle.size();
    }
    ring_sizes.push_back(smallest == 5 || smallest == 6 ? static_cast<int>(smallest) : 0);
  }
  return ring_sizes;
}

// What `GuessTopology` does, as one would write it first. Leaves out what takes for ever, and says
// so.
bool GuessPlainly(PDB& molecule) {
  const auto infos = FindElements(molecule.atoms);
  const auto radii = FindBondRadii(infos);
  molecule.tmpAtoms.clear();
  for (std::size_t i = 0; i < infos.size(); ++i) {
    const PDB::Atom& atom = molecule.atoms[i];
    MolecularMechanicsTopology::Atom guessed;
    guessed.name = atom.Name;
    guessed.type = AtomTyper::UnknownType;
    guessed.charge = -1.0;
    guessed.mass = infos[i].weight;
    guessed.segment = atom.ChainID;
    guessed.residue_name = atom.ResName;
    guessed.residue_sn = atom.ResSeq;
    molecule.tmpAtoms.push_back(guessed);
  }
  molecule.tmpBonds.clear();
  const int size = molecule.numAtoms;
  for (int i = 0; i + 1 < size; ++i) {
    for (int j = i + 1; j < size; ++j) {
      const double distance = Length(molecule.atoms[i].Coord - molecule.atoms[j].Coord);
      if (AreBonded(radii[i], radii[j], distance)) molecule.tmpBonds.push_back({i, j});
    }
  }
  if (molecule.tmpBonds.size() > molecule.atoms.size() + 5) return false;

  std::vector<int> elements;
  for (const auto& info : infos) elements.push_back(info.atomic_number);
  const std::vector<int> ring_sizes = ListedRingSizes(molecule);
  Eigen::MatrixXd adjacency = Eigen::MatrixXd::Zero(size, size);
  for (const std::vector<int>& bond : AsLists(molecule.tmpBonds)) {
    adjacency(bond[0], bond[1]) = adjacency(bond[1], bond[0]) = 1.0;
  }
  std::vector<std::string> types;
  AtomTyper().Type(elements, ring_sizes, adjacency, types);
  for (int i = 0; i < size; ++i) molecule.tmpAtoms[i].type = types[i];
  molecule.tmpImpropers.clear();
  molecule.tmpCmaps.clear();
  molecule.topology.Build(molecule.tmpAtoms, molecule.tmpBonds, molecule.tmpImpropers,
                          molecule.tmpCmaps);
  molecule.topology.AssignParams();
  return true;
}

TEST(PDB_TopGen, AnEmptyMoleculeGetsAnEmptyTopology) {
  PDB molecule = MoleculeOf({});
  molecule.tmpBonds.push_back({0, 1});
  molecule.tmpImpropers.push_back({0, 1, 2, 3});
  molecule.tmpCmaps.push_back({0, 1, 2, 3});
  molecule.tmpAtoms.resize(4);
  EXPECT_EQ(OutputOf([&] { molecule.GuessTopology(); }), "");
  EXPECT_TRUE(molecule.tmpAtoms.empty());
  EXPECT_TRUE(molecule.tmpBonds.empty());
  EXPECT_TRUE(molecule.tmpImpropers.empty());
  EXPECT_TRUE(molecule.tmpCmaps.empty());
  EXPECT_TRUE(molecule.topology.GetAtoms().empty());
}

TEST(PDB_TopGen, AMoleculeThatHasLostItsAtomsLosesItsTopology) {
  PDB molecule = GuessedFor(Methane());
  molecule.atoms.clear();
  molecule.Analyze();
  molecule.GuessTopology();
  EXPECT_TRUE(molecule.topology.GetAtoms().empty());
  EXPECT_TRUE(molecule.topology.GetBonds().empty());
}

TEST(PDB_TopGen, ALoneAtomGetsTheFirstTypeOfItsElement) {
  EXPECT_EQ(TypesOf(GuessedFor({{"C", {}}})), (Strings{"CG1T1"}));
  EXPECT_EQ(TypesOf(GuessedFor({{"N", {}}})), (Strings{"NG1T1"}));
}

TEST(PDB_TopGen, OneUnbondedAtomGivesAllAtomsTheFirstTypeOfTheirElement) {
  std::vector<Placed> places = Methane();
  places.push_back({"Si", {30.0, 0.0, 0.0}});
  EXPECT_EQ(TypesOf(GuessedFor(places)), (Strings{"CG1T1", "HGA1", "HGA1", "HGA1", "HGA1", "X"}));
}

TEST(PDB_TopGen, AnAtomTakesItsNamesFromTheMoleculeAndItsMassFromItsElement) {
  PDB molecule = MoleculeOf(Methane());
  molecule.atoms[1].ResName = "ABC";
  molecule.atoms[1].ResSeq = -7;
  molecule.atoms[1].ChainID = "Q";
  EXPECT_EQ(OutputOf([&] { molecule.GuessTopology(); }), "");
  const MolecularMechanicsTopology::Atom& atom = molecule.topology.GetAtoms()[1];
  EXPECT_EQ(atom.name, "H2");
  EXPECT_EQ(atom.mass, 1.00784);
  EXPECT_EQ(atom.segment, "Q");
  EXPECT_EQ(atom.residue_name, "ABC");
  EXPECT_EQ(atom.residue_sn, -7);
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), (Lists{{0, 1}, {0, 2}, {0, 3}, {0, 4}}));
  EXPECT_EQ(molecule.topology.GetAngles().size(), 6u);
  EXPECT_EQ(molecule.tmpBonds, molecule.topology.GetBonds());
}

TEST(PDB_TopGen, APairAtExactlyTheLimitIsNotBonded) {
  const double limit = 1.1 * (0.75 + 0.75);
  EXPECT_EQ(GuessedFor({{"C", {}}, {"C", {limit, 0.0, 0.0}}}).tmpBonds.size(), 0u);
  EXPECT_EQ(GuessedFor({{"C", {}}, {"C", {std::nextafter(limit, 0.0), 0.0, 0.0}}}).tmpBonds.size(),
            1u);
}

TEST(PDB_TopGen, ABenzeneRingHasSixAtomsOfClassSix) {
  const PDB molecule = GuessedFor(Ring(Strings(6, "C"), 1.39));
  EXPECT_EQ(molecule.tmpBonds.size(), 12u);
  const std::vector<int> classes = {6, 6, 6, 6, 6, 6, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(ListedRingSizes(molecule), classes);
  EXPECT_EQ(FindRingClasses(molecule.numAtoms, molecule.tmpBonds), classes);
  for (int i = 0; i < 6; ++i) {
    EXPECT_TRUE(molecule.tmpAtoms[i].type.starts_with("CG2R")) << molecule.tmpAtoms[i].type;
  }
}

TEST(PDB_TopGen, ARingOfThreeHasNoClass) {
  const PDB molecule = GuessedFor(Ring(Strings(3, "C"), 1.51));
  EXPECT_EQ(ListedRingSizes(molecule), std::vector<int>(6, 0));
  EXPECT_EQ(FindRingClasses(molecule.numAtoms, molecule.tmpBonds), std::vector<int>(6, 0));
  std::vector<std::vector<int>> cycles;
  molecule.BuildCycles(cycles);
  EXPECT_EQ(cycles, (Lists{{0, 1, 2}}));
}

// Ethanol with all bonds a little longer or shorter, and its hydroxyl hydrogen turned, in degrees
// from the place behind both carbons.
std::vector<Placed> Ethanol(double stretch, double turn) {
  const double angle = turn * std::acos(-1.0) / 180.0;
  std::vector<Placed> places = {{"C", {-1.17, -0.40, 0.0}},  {"C", {0.0, 0.56, 0.0}},
                                {"O", {1.19, -0.20, 0.0}},   {"H", {-2.12, 0.14, 0.0}},
                                {"H", {-1.13, -1.04, 0.89}}, {"H", {-1.13, -1.04, -0.89}},
                                {"H", {-0.05, 1.20, -0.89}}, {"H", {-0.05, 1.20, 0.89}}};
  // Around the bond from carbon to oxygen.
  const Vec3D axis = Unit(places[2].coord - places[1].coord);
  const Vec3D side(-axis.y, axis.x, 0.0);
  const Vec3D turned = side * std::cos(angle) + Vec3D(0.0, 0.0, std::sin(angle));
  places.push_back({"H", places[2].coord + axis * 0.3 + turned * 0.91});
  for (Placed& place : places) place.coord = place.coord * stretch;
  return places;
}

TEST(PDB_TopGen, ConformationsOfAMoleculeGetTheSameTypes) {
  const PDB molecule = GuessedFor(Ethanol(1.0, 0.0));
  EXPECT_EQ(AsLists(molecule.tmpBonds),
            (Lists{{0, 1}, {0, 3}, {0, 4}, {0, 5}, {1, 2}, {1, 6}, {1, 7}, {2, 8}}));
  for (const double turn : {60.0, 130.0, 275.0}) {
    for (const double stretch : {0.96, 1.03}) {
      const PDB other = GuessedFor(Ethanol(stretch, turn));
      EXPECT_EQ(other.tmpBonds, molecule.tmpBonds);
      EXPECT_EQ(TypesOf(other), TypesOf(molecule));
      EXPECT_GT(Length(other.atoms[8].Coord - molecule.atoms[8].Coord), 0.1);
    }
  }
}

TEST(PDB_TopGen, AnElementWithoutTypesStaysUnknown) {
  const PDB molecule = GuessedFor(Methane("Si", Vec3D(), 1.48));
  EXPECT_EQ(molecule.tmpBonds.size(), 4u);
  EXPECT_EQ(TypesOf(molecule)[0], "X");
  const MolecularMechanicsTopology::Atom& silicon = molecule.topology.GetAtoms()[0];
  EXPECT_EQ(silicon.charge, -1.0);
  EXPECT_EQ(silicon.mass, 28.084);
  EXPECT_EQ(silicon.lj_epsilon, 0.0);
  EXPECT_EQ(silicon.lj_sigma, 0.0);
  // It is still a neighbour of the others, which are not lone atoms.
  EXPECT_NE(TypesOf(molecule)[1], "X");
}

TEST(PDB_TopGen, AnElementThatNobodyKnowsGivesAnAtomWithoutMass) {
  std::vector<Placed> places = Methane();
  places.insert(places.begin(), {"Qq", {30.0, 0.0, 0.0}});
  PDB molecule = MoleculeOf(places);
  EXPECT_EQ(OutputOf([&] { molecule.GuessTopology(); }), "");
  EXPECT_EQ(molecule.topology.GetAtoms()[0].type, "X");
  EXPECT_EQ(molecule.topology.GetAtoms()[0].mass, 0.0);
  EXPECT_EQ(molecule.topology.GetAtoms()[0].charge, -1.0);
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{1, 2}, {1, 3}, {1, 4}, {1, 5}}));
}

TEST(PDB_TopGen, ResiduesAndChainsDoNotMatter) {
  const std::vector<Placed> places = Ring(Strings(5, "C"), 1.45);
  const PDB together = GuessedFor(places);
  PDB apart = MoleculeOf(places);
  for (std::size_t i = 0; i < apart.atoms.size(); ++i) {
    apart.atoms[i].ResSeq = static_cast<int>(i);
    apart.atoms[i].ChainID = std::string(1, static_cast<char>('A' + i));
  }
  apart.Analyze();
  apart.GuessTopology();
  EXPECT_EQ(apart.tmpBonds, together.tmpBonds);
  EXPECT_EQ(TypesOf(apart), TypesOf(together));
}

TEST(PDB_TopGen, GuessingAgainReplacesWhatWasThere) {
  PDB molecule = GuessedFor(Methane());
  const std::string once = Describe(molecule);
  molecule.AddBond(1, 2);
  molecule.tmpImpropers.push_back({0, 1, 2, 3});
  molecule.tmpCmaps.push_back({0, 1, 2, 3});
  molecule.GuessTopology();
  EXPECT_EQ(Describe(molecule), once);
}

TEST(PDB_TopGen, AtomsAtPlacesThatAreNoNumbersHaveNoBonds) {
  std::vector<Placed> places = Methane();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  places.push_back({"C", {nan, 0.0, 0.0}});
  places.push_back({"C", {1e300, -1e300, 1e300}});
  EXPECT_EQ(AsLists(GuessedFor(places).tmpBonds), (Lists{{0, 1}, {0, 2}, {0, 3}, {0, 4}}));
}

TEST(PDB_TopGen, RandomMoleculesGetTheTopologyOfThePlainWay) {
  std::mt19937 random(77);
  const Strings elements = {"C", "C",  "C", "C", "N",  "N", "O", "O", "H", "H",  "H",
                            "S", "CL", "D", "P", "Si", "X", "F", "B", "I", "Qq", "Og"};
  int compared = 0;
  int bonds = 0;
  int ring_atoms = 0;
  for (int round = 0; round < 1500; ++round) {
    const int size = 1 + static_cast<int>(random() % 16);
    std::vector<Placed> places;
    while (static_cast<int>(places.size()) < size) {
      // Most atoms are put beside one that is there.
      Vec3D place;
      for (double Vec3D::*axis : {&Vec3D::x, &Vec3D::y, &Vec3D::z}) {
        place.*axis = std::uniform_real_distribution<double>(-1.0, 1.0)(random);
      }
      place = Unit(place) * 1.45;
      if (!places.empty()) place = place + places[random() % places.size()].coord;
      const bool is_crowded = std::any_of(places.begin(), places.end(), [&](const Placed& other) {
        return Length(other.coord - place) < 1.1;
      });
      if (is_crowded && random() % 20 != 0) continue;
      places.push_back({elements[random() % (round % 2 == 0 ? 8 : elements.size())], place});
    }
    PDB plain = MoleculeOf(places);
    PDB molecule = plain;
    if (!GuessPlainly(plain)) continue;
    molecule.GuessTopology();
    ASSERT_EQ(Describe(molecule), Describe(plain)) << round;
    ++compared;
    bonds += static_cast<int>(plain.tmpBonds.size());
    const std::vector<int> ring_sizes = ListedRingSizes(plain);
    ring_atoms += static_cast<int>(std::count_if(ring_sizes.begin(), ring_sizes.end(),
                                                 [](int ring_size) { return ring_size > 0; }));
  }
  EXPECT_GT(compared, 1000);
  EXPECT_GT(bonds, 3000);
  EXPECT_GT(ring_atoms, 100);
}

TEST(PDB_TopGen, CyclesComeAsPositionsOfAtoms) {
  PDB molecule = MoleculeOf(std::vector<Placed>(5, Placed{"C", {}}));
  std::vector<std::vector<int>> cycles = {{1, 2, 3}};
  molecule.BuildCycles(cycles);
  EXPECT_EQ(cycles, Lists{});
  for (const std::vector<int>& bond : Lists{{0, 1}, {0, 2}, {1, 2}, {2, 3}, {3, 4}, {2, 4}}) {
    molecule.tmpBonds.push_back({bond[0], bond[1]});
  }
  molecule.BuildCycles(cycles);
  EXPECT_EQ(cycles, (Lists{{0, 1, 2}, {2, 3, 4}}));
}

TEST(PDB_TopGen, CyclesAreLookedForInTheOrderOfTheBonds) {
  // Naphthalene: the outer ring, whose chord is not seen, is only walked around where the bond 4-9
  // comes behind the others of atom 4.
  PDB molecule = MoleculeOf(std::vector<Placed>(10, Placed{"C", {}}));
  const std::vector<int> sorted = {0, 1, 0, 9, 1, 2, 2, 3, 3, 4, 4,
                                   5, 4, 9, 5, 6, 6, 7, 7, 8, 8, 9};
  std::vector<std::vector<int>> cycles;
  molecule.tmpBonds.assign_flat(std::vector<int>(sorted));
  molecule.BuildCycles(cycles);
  EXPECT_EQ(cycles,
            (Lists{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 1, 2, 3, 4, 9}, {4, 5, 6, 7, 8, 9}}));
  // The same bonds from the last to the first.
  molecule.tmpBonds.assign_flat(std::vector<int>(sorted.rbegin(), sorted.rend()));
  molecule.BuildCycles(cycles);
  EXPECT_EQ(cycles, (Lists{{0, 1, 2, 3, 4, 9}, {4, 5, 6, 7, 8, 9}}));
}

TEST(PDB_TopGen, BondsToldTwiceOrOfAnAtomWithItselfMakeNoCycle) {
  PDB molecule = MoleculeOf(std::vector<Placed>(3, Placed{"C", {}}));
  std::vector<std::vector<int>> cycles;
  molecule.tmpBonds.assign_flat({0, 1, 1, 0, 2, 2});
  molecule.BuildCycles(cycles);
  EXPECT_EQ(cycles, Lists{});
  molecule.tmpBonds.assign_flat({1, 0, 0, 0, 0, 2, 0, 1, 2, 1});
  molecule.BuildCycles(cycles);
  EXPECT_EQ(cycles, (Lists{{0, 1, 2}}));
}

TEST(PDB_TopGen, ABondToAnAtomThatIsNotThereEndsTheRun) {
  PDB molecule = MoleculeOf({{"C", {}}});
  molecule.tmpBonds.push_back({0, 1});
  std::vector<std::vector<int>> cycles;
  EXPECT_EQ(MessageOf([&] { molecule.BuildCycles(cycles); }),
            "Error occurs: The bond 1-2 is wrong: there are atoms from 1 to 1 only.");
}

}  // namespace
}  // namespace orvane
