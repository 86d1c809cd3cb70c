// The molecule in a periodic cell: wrapping, new coordinates, blocks of cells.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "PDB.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;
using testing_support::OutputOf;

struct Place {
  int residue;
  Vec3D coord;
};

PDB MoleculeAt(const std::vector<Place>& places) {
  PDB molecule;
  for (const Place& place : places) {
    PDB::Atom& atom = molecule.atoms.emplace_back();
    atom.Name = "C" + std::to_string(molecule.atoms.size());
    atom.ResName = "LIG";
    atom.ChainID = "A";
    atom.Element = "C";
    atom.Occupancy = 1.0;
    atom.ResSeq = place.residue;
    atom.Coord = place.coord;
  }
  molecule.Analyze();
  return molecule;
}

std::vector<double> NumbersOf(const PDB& molecule) {
  std::vector<double> numbers;
  for (const PDB::Atom& atom : molecule.atoms) {
    numbers.insert(numbers.end(), {atom.Coord.x, atom.Coord.y, atom.Coord.z});
  }
  return numbers;
}

using Numbers = std::vector<double>;

TEST(PDB_WrapPBC, OneAtomInsideKeepsTheResidueInPlace) {
  std::vector<Place> places = {{1, {4.0, 0.0, 0.0}}, {1, {9.0, 0.0, 0.0}}, {1, {-27.0, 0.0, 0.0}}};
  // Wherever in the residue it stands.
  for (int turn = 0; turn < 3; ++turn) {
    std::rotate(places.begin(), places.begin() + 1, places.end());
    PDB molecule = MoleculeAt(places);
    const Numbers before = NumbersOf(molecule);
    molecule.WrapPBC(10.0, 10.0, 10.0);
    EXPECT_EQ(NumbersOf(molecule), before);
  }
}

TEST(PDB_WrapPBC, AResidueOutsideIsWrappedAtomByAtom) {
  // A residue wider than the box comes apart.
  PDB molecule = MoleculeAt({{1, {6.0, 1.0, 0.0}}, {1, {17.0, 1.0, 0.0}}, {1, {-23.5, 1.0, 0.0}}});
  molecule.WrapPBC(10.0, 10.0, 10.0);
  EXPECT_EQ(NumbersOf(molecule), (Numbers{-4.0, 1.0, 0.0, -3.0, 1.0, 0.0, -3.5, 1.0, 0.0}));
}

TEST(PDB_WrapPBC, AnAtomOnTheFaceIsOutside) {
  // Halves are rounded away from zero, to the other face.
  PDB molecule = MoleculeAt({{1, {5.0, -5.0, 0.0}}});
  molecule.WrapPBC(10.0, 10.0, 10.0);
  EXPECT_EQ(NumbersOf(molecule), (Numbers{-5.0, 5.0, 0.0}));
  // It does not keep another atom in place.
  PDB pair = MoleculeAt({{1, {5.0, 0.0, 0.0}}, {1, {6.0, 0.0, 0.0}}});
  pair.WrapPBC(10.0, 10.0, 10.0);
  EXPECT_EQ(NumbersOf(pair), (Numbers{-5.0, 0.0, 0.0, -4.0, 0.0, 0.0}));
}

TEST(PDB_WrapPBC, EachAxisGoesAloneWithItsOwnEdge) {
  PDB molecule = MoleculeAt({{1, {6.0, 6.0, 6.0}}, {1, {6.5, 11.0, 30.0}}});
  molecule.WrapPBC(10.0, 20.0, 5.0);
  EXPECT_EQ(NumbersOf(molecule), (Numbers{-4.0, 6.0, 1.0, -3.5, 11.0, 0.0}));
}

TEST(PDB_WrapPBC, EachResidueGoesAlone) {
  PDB molecule = MoleculeAt({{1, {0.0, 0.0, 0.0}}, {2, {12.0, 0.0, 0.0}}, {3, {-8.0, 0.0, 0.0}}});
  molecule.WrapPBC(10.0, 10.0, 10.0);
  EXPECT_EQ(NumbersOf(molecule), (Numbers{0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 2.0, 0.0, 0.0}));
}

TEST(PDB_WrapPBC, ResiduesOfOneAtomLandInTheBox) {
  std::mt19937 random(62);
  std::uniform_real_distribution<double> coordinate(-500.0, 500.0);
  std::vector<Place> places;
  for (int i = 0; i < 500; ++i) {
    places.push_back({i, {coordinate(random), coordinate(random), coordinate(random)}});
  }
  PDB molecule = MoleculeAt(places);
  molecule.WrapPBC(20.0, 30.0, 7.0);
  for (int i = 0; i < 500; ++i) {
    const Vec3D now = molecule.atoms[i].Coord;
    const Vec3D before = places[i].coord;
    const Vec3D moved = now - before;
    EXPECT_LE(std::abs(now.x), 10.0);
    EXPECT_LE(std::abs(now.y), 15.0);
    EXPECT_LE(std::abs(now.z), 3.5);
    EXPECT_EQ(now.x, before.x - std::round(before.x / 20.0) * 20.0);
    EXPECT_EQ(now.z, before.z - std::round(before.z / 7.0) * 7.0);
    EXPECT_NEAR(moved.x / 20.0, std::round(moved.x / 20.0), 1e-12);
    EXPECT_NEAR(moved.y / 30.0, std::round(moved.y / 30.0), 1e-12);
    EXPECT_NEAR(moved.z / 7.0, std::round(moved.z / 7.0), 1e-12);
  }
}

TEST(PDB_WrapPBC, SkipsAResidueWithoutAtomsAndAMoleculeWithoutResidues) {
  PDB molecule = MoleculeAt({{1, {12.0, 0.0, 0.0}}});
  molecule.residueLastAtoms[0] = -1;
  molecule.WrapPBC(10.0, 10.0, 10.0);
  EXPECT_EQ(NumbersOf(molecule), (Numbers{12.0, 0.0, 0.0}));
  PDB nothing;
  nothing.WrapPBC(10.0, 10.0, 10.0);
  EXPECT_TRUE(nothing.atoms.empty());
}

TEST(PDB_WrapPBC, WhatIsNoNumberStaysNoNumber) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  PDB molecule = MoleculeAt({{1, {kInfinity, std::nan(""), 1.0}}});
  molecule.WrapPBC(10.0, 10.0, 10.0);
  EXPECT_TRUE(std::isnan(molecule.atoms[0].Coord.x));
  EXPECT_TRUE(std::isnan(molecule.atoms[0].Coord.y));
  EXPECT_EQ(molecule.atoms[0].Coord.z, 1.0);
}

TEST(PDB_SetCoords, ReplacesTheCoordinatesAlone) {
  PDB molecule = MoleculeAt({{1, {1.0, 2.0, 3.0}}, {2, {4.0, 5.0, 6.0}}});
  molecule.SetCoords({{7.0, 8.0, 9.0}, {10.0, 11.0, 12.0}});
  EXPECT_EQ(NumbersOf(molecule), (Numbers{7.0, 8.0, 9.0, 10.0, 11.0, 12.0}));
  EXPECT_EQ(molecule.atoms[1].Name, "C2");
  EXPECT_EQ(molecule.numResidues, 2);
}

TEST(PDB_SetCoords, LeavesTheTopologyAlone) {
  PDB molecule = MoleculeAt({{1, {}}, {1, {1.0, 0.0, 0.0}}});
  molecule.tmpAtoms.resize(2);
  molecule.tmpBonds.push_back({0, 1});
  molecule.topology.Build(molecule.tmpAtoms, molecule.tmpBonds, molecule.tmpImpropers,
                          molecule.tmpCmaps);
  molecule.SetCoords({{50.0, 0.0, 0.0}, {-50.0, 0.0, 0.0}});
  EXPECT_EQ(molecule.topology.GetBonds().flat(), (std::vector<int>{0, 1}));
  EXPECT_EQ(molecule.tmpBonds.size(), 1u);
}

TEST(PDB_SetCoords, RefusesAnotherNumberOfCoordinates) {
  EXPECT_EQ(MessageOf([] {
              MoleculeAt({{1, {}}, {1, {}}}).SetCoords({{}});
            }),
            "Error occurs: Number of coordinates (1) does not match number of atoms (2).");
  EXPECT_EQ(MessageOf([] {
              MoleculeAt({}).SetCoords({{}, {}, {}});
            }),
            "Error occurs: Number of coordinates (3) does not match number of atoms (0).");
}

TEST(PDB_SetCoords, NoCoordinatesFitNoAtoms) {
  PDB nothing;
  nothing.SetCoords({});
  EXPECT_TRUE(nothing.atoms.empty());
}

const Vec3D kT1(10.0, 0.0, 0.0);
const Vec3D kT2(1.0, 20.0, 0.0);
const Vec3D kT3(2.0, 3.0, 30.0);

TEST(PDB_BuildSuperCells, WithoutExtraCellsOnlyTheNormalFormIsMade) {
  PDB molecule = MoleculeAt({{7, {1.0, 2.0, 3.0}}, {8, {4.0, 5.0, 6.0}}});
  molecule.atoms[1].ChainID.clear();
  molecule.numAtoms = 0;
  EXPECT_EQ(OutputOf([&] { molecule.BuildSuperCells(kT1, kT2, kT3, 0, 0, 0); }),
            "Warning: The 2-th atom has no chain ID, so \"X\" is assigned.\n");
  EXPECT_EQ(NumbersOf(molecule), (Numbers{1.0, 2.0, 3.0, 4.0, 5.0, 6.0}));
  EXPECT_EQ(molecule.numAtoms, 2);
  EXPECT_EQ(molecule.residueSeqs, (std::vector<int>{7, 8}));
}

TEST(PDB_BuildSuperCells, CopiesCountOnFromTheFirstResidue) {
  PDB molecule = MoleculeAt({{7, {1.0, 2.0, 3.0}}, {9, {4.0, 5.0, 6.0}}});
  molecule.atoms[1].IsHetero = true;
  molecule.atoms[1].SN = 17;
  molecule.atoms[1].TempFactor = 0.5;
  molecule.BuildSuperCells(kT1, kT2, kT3, 1, 0, 0);
  EXPECT_EQ(molecule.numAtoms, 6);
  EXPECT_EQ(NumbersOf(molecule), (Numbers{1.0, 2.0, 3.0, 4.0, 5.0, 6.0, -9.0, 2.0, 3.0, -6.0, 5.0,
                                          6.0, 11.0, 2.0, 3.0, 14.0, 5.0, 6.0}));
  // All atoms of a copy have one number, whatever residues the cell has.
  EXPECT_EQ(molecule.residueSeqs, (std::vector<int>{7, 9, 8, 9}));
  EXPECT_EQ(molecule.residueLastAtoms, (std::vector<int>{0, 1, 3, 5}));
  EXPECT_EQ(molecule.atomNames, (std::vector<std::string>{"C1", "C2", "C1", "C2", "C1", "C2"}));
  EXPECT_EQ(molecule.atoms[5].Element, "C");
  EXPECT_EQ(molecule.atoms[5].SN, 17);
  EXPECT_EQ(molecule.atoms[5].TempFactor, 0.5);
  EXPECT_TRUE(molecule.atoms[5].IsHetero);
  EXPECT_FALSE(molecule.atoms[4].IsHetero);
}

TEST(PDB_BuildSuperCells, TheThirdVectorChangesFastest) {
  PDB molecule = MoleculeAt({{1, {0.5, 0.25, 0.125}}});
  molecule.BuildSuperCells(kT1, kT2, kT3, 1, 1, 1);
  ASSERT_EQ(molecule.numAtoms, 27);
  Numbers expected = {0.5, 0.25, 0.125};
  for (const int ix : {-1, 0, 1}) {
    for (const int iy : {-1, 0, 1}) {
      for (const int iz : {-1, 0, 1}) {
        if (ix == 0 && iy == 0 && iz == 0) continue;
        expected.push_back(0.5 + 10.0 * ix + 1.0 * iy + 2.0 * iz);
        expected.push_back(0.25 + 20.0 * iy + 3.0 * iz);
        expected.push_back(0.125 + 30.0 * iz);
      }
    }
  }
  EXPECT_EQ(NumbersOf(molecule), expected);
  EXPECT_EQ(molecule.atoms[1].Coord.z, 0.125 - 30.0);
  EXPECT_EQ(molecule.atoms[14].Coord.z, 0.125 + 30.0);
  EXPECT_EQ(molecule.atoms[14].Coord.x, 0.5 + 2.0);
  EXPECT_EQ(molecule.atoms[26].Coord.x, 0.5 + 13.0);
}

TEST(PDB_BuildSuperCells, TheShiftIsAddedUpBeforeItIsApplied) {
  // In a fixed order, which the last digits depend on.
  std::mt19937 random(63);
  std::uniform_real_distribution<double> number(-30.0, 30.0);
  const auto vector = [&] {
    const double x = number(random), y = number(random);
    return Vec3D(x, y, number(random));
  };
  for (int round = 0; round < 100; ++round) {
    const Vec3D start = vector(), t1 = vector(), t2 = vector(), t3 = vector();
    PDB molecule = MoleculeAt({{1, start}});
    molecule.BuildSuperCells(t1, t2, t3, 3, 3, 3);
    const Vec3D last = molecule.atoms.back().Coord;
    EXPECT_EQ(last.x, start.x + ((3 * t1.x + 3 * t2.x) + 3 * t3.x));
    EXPECT_EQ(last.y, start.y + ((3 * t1.y + 3 * t2.y) + 3 * t3.y));
    EXPECT_EQ(last.z, start.z + ((3 * t1.z + 3 * t2.z) + 3 * t3.z));
  }
}

TEST(PDB_BuildSuperCells, TheNumberOfAtomsIsThatOfTheCells) {
  PDB molecule = MoleculeAt({{1, {}}, {1, {1.0, 1.0, 1.0}}, {2, {2.0, 2.0, 2.0}}});
  molecule.BuildSuperCells(kT1, kT2, kT3, 2, 0, 3);
  EXPECT_EQ(molecule.numAtoms, 3 * 5 * 1 * 7);
  EXPECT_EQ(molecule.residueSeqs.back(), 1 + 34);
}

TEST(PDB_BuildSuperCells, TheNormalFormIsMadeOfTheWholeBlock) {
  PDB molecule = MoleculeAt({{1, {1.0, 2.0, 3.0}}, {1, {4.0, 5.0, 6.0}}});
  molecule.atoms[1].Name = "OXT";
  const std::string deleted =
      "-th atom is \"OXT\". It is probably a non-standard atom in C-terminus and is deleted.\n";
  EXPECT_EQ(OutputOf([&] { molecule.BuildSuperCells(kT1, kT2, kT3, 1, 0, 0); }),
            "Warning: The atom name of the 2" + deleted + "Warning: The atom name of the 3" +
                deleted + "Warning: The atom name of the 4" + deleted);
  EXPECT_EQ(molecule.numAtoms, 3);
  EXPECT_EQ(molecule.atomNames, (std::vector<std::string>{"C1", "C1", "C1"}));
  EXPECT_EQ(NumbersOf(molecule), (Numbers{1.0, 2.0, 3.0, -9.0, 2.0, 3.0, 11.0, 2.0, 3.0}));
}

TEST(PDB_BuildSuperCells, TheTopologyGoesOnDescribingOneCell) {
  PDB molecule = MoleculeAt({{1, {}}, {1, {1.0, 0.0, 0.0}}});
  molecule.tmpAtoms.resize(2);
  molecule.tmpBonds.push_back({0, 1});
  molecule.topology.Build(molecule.tmpAtoms, molecule.tmpBonds, molecule.tmpImpropers,
                          molecule.tmpCmaps);
  molecule.tmpImpropers.push_back({0, 1, 0, 1});
  molecule.tmpCmaps.push_back({1, 0, 1, 0});
  molecule.BuildSuperCells(kT1, kT2, kT3, 1, 0, 0);
  EXPECT_EQ(molecule.numAtoms, 6);
  EXPECT_EQ(molecule.tmpAtoms.size(), 2u);
  EXPECT_EQ(molecule.tmpBonds.size(), 1u);
  EXPECT_EQ(molecule.tmpImpropers.size(), 1u);
  EXPECT_EQ(molecule.tmpCmaps.size(), 1u);
  EXPECT_EQ(molecule.topology.GetAtoms().size(), 2u);
}

TEST(PDB_BuildSuperCells, NoAtomsStayNoAtoms) {
  constexpr int kMost = std::numeric_limits<int>::max();
  PDB nothing;
  nothing.BuildSuperCells(kT1, kT2, kT3, kMost, kMost, kMost);
  EXPECT_TRUE(nothing.atoms.empty());
  EXPECT_EQ(nothing.numResidues, 0);
}

TEST(PDB_BuildSuperCells, RefusesMoreAtomsThanAnIndexCounts) {
  EXPECT_EQ(MessageOf([] {
              MoleculeAt({{1, {}}, {1, {}}}).BuildSuperCells(kT1, kT2, kT3, 999, 999, 999);
            }),
            "Error occurs: The super cells 999 999 999 are too many: there would be more than "
            "2147483647 atoms.");
}

TEST(PDB_BuildSuperCells, TheLargestResidueNumberIsFollowedByTheSmallest) {
  PDB molecule = MoleculeAt({{std::numeric_limits<int>::max(), {}}});
  molecule.BuildSuperCells(kT1, kT2, kT3, 1, 0, 0);
  EXPECT_EQ(molecule.atoms[1].ResSeq, std::numeric_limits<int>::min());
  EXPECT_EQ(molecule.atoms[2].ResSeq, std::numeric_limits<int>::min() + 1);
}

}  // namespace
}  // namespace orvane
