// Placing the molecules of a cell: put together across its faces, moved close to the first one, and
// the line of fragment numbers.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "BondRule.h"
#include "Elements.h"
#include "ImageContacts.h"
#include "PDB.h"
#include "PlainFragments.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AreSameCoords;
using testing_support::MessageOf;
using testing_support::MoveFragmentsPlainly;
using testing_support::OutputOf;
using testing_support::SharedFolder;
using testing_support::StitchPlainly;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const Vec3D kT1(10, 0, 0);
const Vec3D kT2(0, 50, 0);
const Vec3D kT3(0, 0, 50);
const LatticeVectors kCell = {kT1, kT2, kT3};

struct Site {
  std::string element;
  Vec3D place;
};

PDB MoleculeAt(const std::vector<Site>& sites) {
  PDB molecule;
  for (const Site& site : sites) {
    PDB::Atom& atom = molecule.atoms.emplace_back();
    atom.Element = site.element;
    atom.Name = site.element;
    atom.ResName = "UNK";
    atom.ChainID = "X";
    atom.ResSeq = 1;
    atom.Coord = site.place;
  }
  molecule.Analyze();
  return molecule;
}

PDB CarbonsAt(const std::vector<double>& xs) {
  std::vector<Site> sites;
  for (const double x : xs) sites.push_back({"C", Vec3D(x, 0, 0)});
  return MoleculeAt(sites);
}

std::vector<double> XsOf(const PDB& molecule) {
  std::vector<double> xs;
  for (const PDB::Atom& atom : molecule.atoms) xs.push_back(atom.Coord.x);
  return xs;
}

std::vector<Vec3D> CoordsOf(const PDB& molecule) {
  std::vector<Vec3D> coords;
  molecule.GetCoords(coords);
  return coords;
}

std::string MoveClosest(PDB& molecule, const LatticeVectors& lattice) {
  return OutputOf(
      [&] { molecule.AdjustCoordsToMakeFragmentClosest(lattice[0], lattice[1], lattice[2]); });
}

TEST(PDB_Fragments, AMoleculeThatAFaceCutsIsPutTogether) {
  PDB molecule = CarbonsAt({0.5, 9.5});
  EXPECT_EQ(OutputOf([&] { molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3); }), "");
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{10.5, 9.5}));
  EXPECT_EQ(molecule.atoms[0].Coord.y, 0.0);
}

TEST(PDB_Fragments, AMoleculeThatIsWholeStays) {
  PDB molecule = MoleculeAt({{"C", Vec3D(5, 5, 5)},
                             {"O", Vec3D(6.2, 5, 5)},
                             {"H", Vec3D(4.4, 5.9, 5)},
                             {"H", Vec3D(4.4, 4.1, 5)}});
  const std::vector<Vec3D> before = CoordsOf(molecule);
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3);
  EXPECT_TRUE(AreSameCoords(CoordsOf(molecule), before));
}

TEST(PDB_Fragments, TheElementsDecideWhatIsJoined) {
  // At 1.2 Angstrom through the face: two carbons are joined, carbon and hydrogen are not.
  PDB molecule = MoleculeAt({{"H", Vec3D(0.4, 0, 0)}, {"C", Vec3D(9.2, 0, 0)}});
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3);
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{0.4, 9.2}));
  molecule.atoms[0].Element = "C";
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3);
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{10.4, 9.2}));
  // An element that is not known has no bonds.
  molecule = MoleculeAt({{"Qq", Vec3D(0.5, 0, 0)}, {"Qq", Vec3D(9.5, 0, 0)}});
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3);
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{0.5, 9.5}));
}

TEST(PDB_Fragments, TheBondsAndTheTopologyAreLeftAloneWhenMoleculesArePutTogether) {
  PDB molecule = CarbonsAt({0.5, 9.5});
  molecule.tmpBonds.push_back({0, 1});
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3);
  EXPECT_EQ(molecule.tmpBonds.size(), 1u);
  EXPECT_TRUE(molecule.topology.GetAtoms().empty());
}

TEST(PDB_Fragments, CellsThatBondsRunThroughEndTheRun) {
  PDB polymer = CarbonsAt({0.0, 1.4, 2.8});
  EXPECT_EQ(MessageOf([&] {
              polymer.AdjustCoordsToGetFewestFragmentsInCell(Vec3D(4.2, 0, 0), kT2, kT3);
            }),
            "Error occurs: Bonds run on through the faces of the cell without end, as in a polymer "
            "or a network solid: putting its molecules together would move atoms from image to "
            "image for ever.");
}

TEST(PDB_Fragments, AZeroVectorEndsTheRunWhereItWouldMoveAtoms) {
  PDB molecule = CarbonsAt({0.5, 9.5});
  EXPECT_EQ(MessageOf([&] { molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, Vec3D(), kT3); }),
            "Error occurs: A lattice vector of the cell is zero: putting its molecules together "
            "would move bonded atoms by nothing for ever.");
  molecule = CarbonsAt({0.5, 5.5});
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, Vec3D(), kT3);
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{0.5, 5.5}));
}

TEST(PDB_Fragments, AFlatCellWithoutEndEndsTheRun) {
  PDB molecule = CarbonsAt({0.0, 1.4, 2.8});
  EXPECT_EQ(MessageOf([&] {
              molecule.AdjustCoordsToGetFewestFragmentsInCell(Vec3D(4.2, 0, 0), kT2,
                                                              Vec3D(8.4, 50, 0));
            }),
            "Error occurs: Putting the molecules of the cell together does not come to an end. "
            "Please check its lattice vectors.");
}

TEST(PDB_Fragments, FragmentsThatAreCloseAlreadyStay) {
  PDB molecule = CarbonsAt({0.0, 1.4, 2.8, 6.0, 7.4, 8.8});
  EXPECT_EQ(MoveClosest(molecule, {Vec3D(20, 0, 0), kT2, kT3}), "0 0 0 1 1 1 \n");
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{0.0, 1.4, 2.8, 6.0, 7.4, 8.8}));
}

TEST(PDB_Fragments, AFragmentIsMovedToTheFirstOne) {
  PDB molecule = CarbonsAt({8.0, 1.0, 9.4, 2.4});
  EXPECT_EQ(MoveClosest(molecule, kCell), "0 1 0 1 \n");
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{8.0, 11.0, 9.4, 12.4}));
  EXPECT_EQ(molecule.tmpBonds.flat(), (std::vector<int>{0, 2, 1, 3}));
}

TEST(PDB_Fragments, AFragmentMovesByOneVectorAtMost) {
  PDB molecule = MoleculeAt({{"C", Vec3D(0, 0, 0)}, {"C", Vec3D(25, 50, 0)}});
  EXPECT_EQ(MoveClosest(molecule, kCell), "0 1 \n");
  // Of the moves by one vector, that along y brings it closest.
  EXPECT_EQ(molecule.atoms[1].Coord.x, 25.0);
  EXPECT_EQ(molecule.atoms[1].Coord.y, 0.0);
  MoveClosest(molecule, kCell);
  EXPECT_EQ(molecule.atoms[1].Coord.x, 15.0);
}

TEST(PDB_Fragments, OfEquallyGoodMovesTheEarlierOneIsMade) {
  // As far from the centre as the image on the other side: it stays.
  PDB molecule = CarbonsAt({0.0, 5.0});
  MoveClosest(molecule, kCell);
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{0.0, 5.0}));
  // Two vectors that lead equally close: the first counts.
  molecule = MoleculeAt({{"C", Vec3D()}, {"C", Vec3D(-10, -10, 0)}});
  MoveClosest(molecule, {Vec3D(0, 10, 0), Vec3D(10, 0, 0), kT3});
  EXPECT_EQ(molecule.atoms[1].Coord.x, -10.0);
  EXPECT_EQ(molecule.atoms[1].Coord.y, 0.0);
}

TEST(PDB_Fragments, AStructureOfOneFragmentStays) {
  PDB molecule = CarbonsAt({50.0, 51.4, 52.8});
  EXPECT_EQ(MoveClosest(molecule, kCell), "0 0 0 \n");
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{50.0, 51.4, 52.8}));
}

TEST(PDB_Fragments, ASingleAtom) {
  PDB molecule = CarbonsAt({0.5});
  EXPECT_EQ(
      OutputOf([&] { molecule.AdjustCoordsToGetFewestFragmentsInCell(Vec3D(1, 0, 0), kT2, kT3); }),
      "");
  EXPECT_EQ(MoveClosest(molecule, kCell), "0 \n");
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{0.5}));
}

TEST(PDB_Fragments, NoAtoms) {
  PDB molecule = MoleculeAt({});
  molecule.tmpBonds.push_back({0, 1});
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3);
  EXPECT_EQ(MoveClosest(molecule, kCell), "\n");
  EXPECT_TRUE(molecule.tmpBonds.empty());
}

TEST(PDB_Fragments, AFragmentThatStaysIsMovedByZero) {
  // Which shows in the sign of a zero; the first fragment is not moved at all.
  PDB molecule = MoleculeAt({{"C", Vec3D(-0.0, -0.0, -0.0)}, {"C", Vec3D(3.0, -0.0, -0.0)}});
  MoveClosest(molecule, kCell);
  EXPECT_TRUE(std::signbit(molecule.atoms[0].Coord.y));
  EXPECT_FALSE(std::signbit(molecule.atoms[1].Coord.y));
}

TEST(PDB_Fragments, AtomsAtNoPlaceAreFragmentsThatDoNotMove) {
  PDB molecule = MoleculeAt({{"C", Vec3D(0, 0, 0)},
                             {"C", Vec3D(kNaN, 0, 0)},
                             {"C", Vec3D(9.5, 0, 0)},
                             {"C", Vec3D(1e300, 0, 0)}});
  molecule.AdjustCoordsToGetFewestFragmentsInCell(kT1, kT2, kT3);
  EXPECT_EQ(molecule.atoms[0].Coord.x, 10.0);
  EXPECT_EQ(MoveClosest(molecule, kCell), "0 1 0 2 \n");
  EXPECT_TRUE(std::isnan(molecule.atoms[1].Coord.x));
  EXPECT_EQ(molecule.atoms[3].Coord.x, 1e300);
  // If the first fragment has no place, none is closer to it than another.
  molecule = MoleculeAt({{"C", Vec3D(kNaN, 0, 0)}, {"C", Vec3D(30, 0, 0)}});
  EXPECT_EQ(MoveClosest(molecule, kCell), "0 1 \n");
  EXPECT_EQ(molecule.atoms[1].Coord.x, 30.0);
}

TEST(PDB_Fragments, AVectorThatIsNoNumberIsNotChosen) {
  PDB molecule = CarbonsAt({0.0, 8.0});
  MoveClosest(molecule, {Vec3D(kNaN, 0, 0), kT1, kT3});
  EXPECT_EQ(XsOf(molecule), (std::vector<double>{0.0, -2.0}));
}

void ExpectSameAsPlain(const PDB& molecule, const LatticeVectors& lattice) {
  PDB plain = molecule, fast = molecule;
  const std::string line = MoveFragmentsPlainly(plain, lattice);
  EXPECT_EQ(MoveClosest(fast, lattice), line);
  EXPECT_EQ(fast.tmpBonds, plain.tmpBonds);
  EXPECT_TRUE(AreSameCoords(CoordsOf(fast), CoordsOf(plain)));
}

TEST(PDB_Fragments, RandomFragmentsMoveAsPlainly) {
  std::mt19937 engine(7);
  const auto real = [&](double low, double high) {
    return low + (high - low) * (static_cast<double>(engine()) / 4294967296.0);
  };
  const std::array<std::string, 4> elements = {"C", "H", "O", "Cl"};
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    const double edge = real(3.0, 9.0);
    const LatticeVectors lattice = {Vec3D(edge, 0, 0), Vec3D(real(-3, 3), edge, 0),
                                    Vec3D(real(-3, 3), real(-3, 3), edge)};
    std::vector<Site> sites;
    const int atoms = static_cast<int>(engine() % 60);
    for (int i = 0; i < atoms; ++i) {
      const double x = real(-8, 8), y = real(-8, 8);
      sites.push_back({elements[engine() % 4], Vec3D(x, y, real(-8, 8))});
    }
    ExpectSameAsPlain(MoleculeAt(sites), lattice);
  }
}

TEST(PDB_Fragments, EquallyGoodMovesOfRandomFragmentsAreChosenAsPlainly) {
  // In cubic cells many moves lead equally close, or would but for rounding.
  std::mt19937 engine(8);
  const auto whole = [&](int low, int high) {
    return low + static_cast<int>(engine() % static_cast<unsigned>(high - low + 1));
  };
  for (int round = 0; round < 1000; ++round) {
    SCOPED_TRACE(round);
    const double grid = round % 2 == 0 ? 1.0 : 1.1;
    const double edge = grid * whole(3, 6);
    const LatticeVectors lattice = {Vec3D(edge, 0, 0), Vec3D(0, edge, 0), Vec3D(0, 0, edge)};
    std::vector<Site> sites;
    for (int i = whole(0, 8); i > 0; --i) {
      const double x = grid * whole(-4, 4), y = grid * whole(-4, 4), z = grid * whole(-4, 4);
      // One atom, or three on a diagonal.
      for (int k = 2 * whole(0, 1); k >= 0; --k) {
        sites.push_back({"C", Vec3D(x + 0.8 * k, y + 0.8 * k, z + 0.8 * k)});
      }
    }
    ExpectSameAsPlain(MoleculeAt(sites), lattice);
  }
}

struct Crystal {
  const char* name;
  int molecules;
  int fragments;
};

// The molecules of one cell, and the fragments that they are put together to. Parts of a molecule
// that an edge or a corner of the cell cuts off can stay alone: they lie two or three lattice
// vectors from where they belong, and no single one brings them to a place that is bonded to
// another atom.
constexpr Crystal kCrystals[] = {{"aspirin", 4, 4},
                                 {"benzene", 4, 6},
                                 {"benzene_whole", 4, 4},
                                 {"cod1544173", 2, 5},
                                 {"coumarin", 4, 5},
                                 {"ferrocene", 2, 4},
                                 {"glycine_dihydrate", 12, 12},
                                 {"ice_p1", 8, 8},
                                 {"iodine", 4, 5},
                                 {"naphthalene", 2, 3},
                                 {"resorcinol_epsilon", 8, 10},
                                 {"sulfur_s6", 3, 3},
                                 {"sulfur_s8_gamma", 4, 4},
                                 {"urea_deriv_ethyl98K", 2, 2},
                                 {"xxvi", 2, 2}};

// How many groups of atoms there are that are in contact through whatever images.
int CountMolecules(const PDB& molecule, const LatticeVectors& lattice) {
  const auto contacts =
      ImageContacts::Find(CoordsOf(molecule), FindBondRadii(FindElements(molecule.atoms)), lattice);
  std::vector<char> is_reached(molecule.atoms.size(), 0);
  int count = 0;
  for (int first = 0; first < molecule.numAtoms; ++first) {
    if (is_reached[first]) continue;
    ++count;
    std::vector<int> waiting = {first};
    while (!waiting.empty()) {
      const int i = waiting.back();
      waiting.pop_back();
      if (is_reached[i]) continue;
      is_reached[i] = 1;
      for (const ImageContact& contact : contacts->Of(i)) waiting.push_back(contact.atom);
    }
  }
  return count;
}

int HighestNumber(const std::string& line) {
  std::istringstream numbers(line);
  int highest = -1;
  for (int number = 0; numbers >> number;) highest = std::max(highest, number);
  return highest;
}

TEST(PDB_Fragments, CrystalsArePlacedAsPlainly) {
  if (SharedFolder().empty()) GTEST_SKIP() << "no shared material";
  for (const Crystal& crystal : kCrystals) {
    SCOPED_TRACE(crystal.name);
    const std::filesystem::path base = SharedFolder() / "corpus" / "crystal" / crystal.name;
    PDB molecule;
    molecule.Load(base.string() + ".xyz");
    ASSERT_GT(molecule.numAtoms, 0);
    std::ifstream cell(base.string() + ".cell");
    double skipped = 0.0;
    for (int k = 0; k < 6; ++k) cell >> skipped;
    LatticeVectors lattice;
    for (Vec3D& t : lattice) cell >> t.x >> t.y >> t.z;
    ASSERT_TRUE(cell);
    std::vector<Vec3D> plain = CoordsOf(molecule);
    const auto sweeps =
        StitchPlainly(plain, FindBondRadii(FindElements(molecule.atoms)), lattice, 100);
    ASSERT_TRUE(sweeps.has_value());
    molecule.AdjustCoordsToGetFewestFragmentsInCell(lattice[0], lattice[1], lattice[2]);
    EXPECT_TRUE(AreSameCoords(CoordsOf(molecule), plain));
    ExpectSameAsPlain(molecule, lattice);
    EXPECT_EQ(HighestNumber(MoveClosest(molecule, lattice)) + 1, crystal.fragments);
    EXPECT_EQ(CountMolecules(molecule, lattice), crystal.molecules);
  }
}

}  // namespace
}  // namespace orvane
