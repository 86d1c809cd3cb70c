// Completing molecules from their templates, placing atoms, and merging molecules.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ComputationalGeometry.h"
#include "PDB.h"
#include "PlainPatching.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AsLists;
using testing_support::Describe;
using testing_support::LibraryOf;
using testing_support::MessageOf;
using testing_support::MoleculeOf;
using testing_support::OutputOf;
using testing_support::PlainPatching;
using testing_support::TemporaryFolder;
using testing_support::Terms;

using Names = std::vector<std::string>;

constexpr const char* kLibrary =
    "RESI ALA 0\n"
    "ATOM N NT 0\n"
    "ATOM HN HT 0\n"
    "ATOM CA CT 0\n"
    "ATOM C CT 0\n"
    "ATOM O OT 0\n"
    "IC -C CA *N HN 1.375 90.0 180.0 115.0 1.0\n"
    "IC O C CA N 1.25 120.0 180.0 110.0 1.5\n"
    "IC O C CA NEVER 1.25 120.0 180.0 110.0 1.5\n"
    "END\n";

double Distance(const PDB& molecule, int a, int b) {
  return ComputationalGeometry::CalcLength(molecule.atoms[a].Coord, molecule.atoms[b].Coord);
}

double Degrees(const PDB& molecule, int a, int b, int c) {
  const auto& atoms = molecule.atoms;
  return ComputationalGeometry::CalcAngle(atoms[a].Coord, atoms[b].Coord, atoms[c].Coord) /
         0.017453292519444445;
}

TEST(PDB_Add, ACompleteMoleculeIsLeftAsItIsWithoutAWord) {
  const TopologyLibrary library = LibraryOf(kLibrary);
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"O", "HN", "N", "CA", "C"}}});
  const std::string before = Describe(molecule);
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }), "");
  EXPECT_EQ(Describe(molecule), before);
}

TEST(PDB_Add, AnEmptyMoleculeStaysEmpty) {
  const TopologyLibrary library = LibraryOf(kLibrary);
  PDB molecule = MoleculeOf({});
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }), "");
  EXPECT_EQ(molecule.numAtoms, 0);
}

TEST(PDB_Add, EveryResidueIsCompletedAndKeepsAtomsThatItsTemplateDoesNotKnow) {
  const TopologyLibrary library = LibraryOf(kLibrary);
  PDB molecule =
      MoleculeOf({{"ALA", "A", 1, {"N", "CA", "C", "O", "QQ"}}, {"ALA", "A", 2, {"CA", "C", "O"}}});
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }),
            "Warning: The position of atom HN in residue ALA1 at chain A cannot be well "
            "predicted.\n");
  EXPECT_EQ(molecule.atomNames,
            (Names{"N", "HN", "CA", "C", "O", "QQ", "N", "HN", "CA", "C", "O"}));
  EXPECT_EQ(molecule.residueFirstAtoms, (std::vector<int>{0, 6}));
  EXPECT_EQ(molecule.residueLastAtoms, (std::vector<int>{5, 10}));
  EXPECT_EQ(molecule.numAtoms, 11);
  // A missing heavy atom is added just the same.
  EXPECT_NEAR(Distance(molecule, 6, 8), 1.5, 1e-12);
  EXPECT_NEAR(Distance(molecule, 7, 6), 1.0, 1e-12);
  EXPECT_TRUE(molecule.tmpAtoms.empty());
}

TEST(PDB_Add, ResiduesOfEveryKindAreCompleted) {
  const std::vector<std::pair<std::string, Residue::Type>> kinds = {{"ALA", Residue::AminoAcid},
                                                                    {"ADE", Residue::NucleicAcid},
                                                                    {"HOH", Residue::Water},
                                                                    {"SOD", Residue::Ion},
                                                                    {"LIG", Residue::Ligand}};
  for (const auto& [name, type] : kinds) {
    SCOPED_TRACE(name);
    const TopologyLibrary library = LibraryOf(
        "RESI " + name +
        " 0\nATOM X T 0\nATOM Y T 0\nATOM Z T 0\nATOM H T 0\nIC X Y Z H 1 90 60 90 1\nEND\n");
    PDB molecule = MoleculeOf({{name, "A", 1, {"X", "Y", "Z"}}});
    ASSERT_EQ(molecule.residueTypes[0], type);
    EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }), "");
    EXPECT_EQ(molecule.atomNames, (Names{"X", "Y", "Z", "H"}));
  }
}

TEST(PDB_Add, ATermThatReachesInFrontOfTheFirstResidueMeetsLengthAndAngle) {
  const TopologyLibrary library = LibraryOf(kLibrary);
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA", "C", "O"}}});
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }),
            "Warning: The position of atom HN in residue ALA1 at chain A cannot be well "
            "predicted.\n");
  EXPECT_NEAR(Distance(molecule, 0, 1), 1.0, 1e-12);
  EXPECT_NEAR(Degrees(molecule, 2, 0, 1), 115.0, 1e-9);
}

TEST(PDB_Add, ATermWhoseMiddleAtomsAreMissingPutsTheAtomFarAwayAndIsReported) {
  const TopologyLibrary library =
      LibraryOf("RESI ALA 0\nATOM N T 0\nATOM H T 0\nIC N Q N H 1 90 60 90 1\nEND\n");
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N"}}});
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }),
            "Warning: The position of atom H in residue ALA1 at chain A cannot be well "
            "predicted.\n");
  EXPECT_EQ(molecule.atoms[1].Coord.x, 99.0);
  EXPECT_EQ(molecule.atoms[1].Coord.y, 99.0);
  EXPECT_EQ(molecule.atoms[1].Coord.z, 99.0);
}

TEST(PDB_Add, AnAtomThatOnlyBeginsATermIsPlacedByItsReversedForm) {
  // The reader warns of the term, and yet it serves.
  const TopologyLibrary library =
      LibraryOf("RESI ALA 0\nATOM HA T 0\nIC HA CA C O 1.125 107.0 60.0 2 3\nEND\n");
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"CA", "C", "O"}}});
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }), "");
  ASSERT_EQ(molecule.atomNames[0], "HA");
  EXPECT_NEAR(Distance(molecule, 0, 1), 1.125, 1e-12);
  EXPECT_NEAR(Degrees(molecule, 0, 1, 2), 107.0, 1e-9);
  const auto& atoms = molecule.atoms;
  EXPECT_NEAR(ComputationalGeometry::CalcDihedral(atoms[3].Coord, atoms[2].Coord, atoms[1].Coord,
                                                  atoms[0].Coord) /
                  0.017453292519444445,
              60.0, 1e-9);
}

TEST(PDB_Add, AnAtomThatStandsInNoTermEndsTheRunEvenIfItIsAHydrogen) {
  const TopologyLibrary library = LibraryOf("RESI ALA 0\nATOM N T 0\nATOM H T 0\nEND\n");
  PDB molecule = MoleculeOf({{"ALA", "B", 1, {"N", "H"}}, {"ALA", "B", 12, {"N"}}});
  EXPECT_EQ(MessageOf([&] { molecule.AddMissingHydrogens(library); }),
            "Error occurs: Cannot find the internal coordinate for atom H in residue ALA12 at "
            "chain B.\n");
}

TEST(PDB_Add, OfTwoTermsTheEarlierWinsEvenIfItCannotBeResolved) {
  const TopologyLibrary library =
      LibraryOf("RESI ALA 0\nATOM H T 0\nIC O C Q H 1 90 60 90 1\nIC O C CA H 1 90 60 90 1\nEND\n");
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"CA", "C", "O"}}});
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }),
            "Warning: The position of atom H in residue ALA1 at chain A cannot be well "
            "predicted.\n");
  EXPECT_EQ(molecule.atoms[0].Coord.x, 99.0);
}

TEST(PDB_Add, AnUnknownResidueIsReportedAndStaysAsItIs) {
  const TopologyLibrary library = LibraryOf(kLibrary);
  PDB molecule = MoleculeOf({{"QQQ", "A", -3, {"X"}}, {"", "B", 4, {"Y"}}});
  const std::string before = Describe(molecule);
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }),
            "Warning: Residue \"QQQ\" is not found in topology library. QQQ-3 at chain A is "
            "untouched.\n"
            "Warning: Residue \"\" is not found in topology library. 4 at chain B is untouched.\n");
  EXPECT_EQ(Describe(molecule), before);
}

TEST(PDB_Add, ATemplateWithDeletionsDeletesThemToo) {
  const TopologyLibrary library = LibraryOf("RESI ALA 0\nDELETE ATOM Q\nEND\n");
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "Q"}}});
  molecule.AddMissingHydrogens(library);
  EXPECT_EQ(molecule.atomNames, Names{"N"});
}

TEST(PDB_Add, ATermReachesThePreviousResidueCompleteAndTheNextOneAsItWas) {
  const TopologyLibrary library = LibraryOf(
      "RESI ALA 0\nATOM CA T 0\nATOM C T 0\nATOM X T 0\nATOM HB T 0\nATOM HF T 0\n"
      "IC HF C CA X 1 90 60 90 1.5\n"
      "IC C CA -X HB 1 90 60 90 1.0\n"
      "IC C CA +X HF 1 90 60 90 1.0\nEND\n");
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"CA", "C", "X", "HB", "HF"}},
                             {"ALA", "A", 2, {"CA", "C"}},
                             {"ALA", "A", 3, {"CA", "C"}},
                             {"ALA", "A", 4, {"CA", "C", "X", "HB", "HF"}}});
  EXPECT_EQ(OutputOf([&] { molecule.AddMissingHydrogens(library); }),
            // Residue 3 has no X yet when residue 2 is completed.
            "Warning: The position of atom HF in residue ALA2 at chain A cannot be well "
            "predicted.\n");
  // Residue 2 begins at atom 5: X there is atom 7, HB of residue 3 is atom 13.
  EXPECT_NEAR(Distance(molecule, 13, 7), 1.0, 1e-12);
}

TEST(PDB_Add, PlacesAnAtomOfAnyRecord) {
  const TopologyLibrary library = LibraryOf(kLibrary);
  const PDB molecule = MoleculeOf({{"XXX", "A", 1, {"N", "CA", "C", "O"}}});
  const TopologyLibrary::Residue& record = library.GetResidues().at("ALA");
  Vec3D coord;
  EXPECT_TRUE(molecule.GuessCoord(0, "NEVER", record, coord));
  EXPECT_NEAR(ComputationalGeometry::CalcLength(coord, molecule.atoms[1].Coord), 1.5, 1e-12);
  EXPECT_FALSE(molecule.GuessCoord(0, "HN", record, coord));
  EXPECT_NEAR(ComputationalGeometry::CalcLength(coord, molecule.atoms[0].Coord), 1.0, 1e-12);
  EXPECT_EQ(MessageOf([&] { molecule.GuessCoord(0, "C", record, coord); }),
            "Error occurs: Cannot find the internal coordinate for atom C in residue XXX1 at chain "
            "A.\n");
}

// A molecule of two bonded atoms with a topology.
PDB Pair(const std::string& name, int number) {
  PDB molecule = MoleculeOf({{name, "A", number, {"X", "Y"}}});
  molecule.BuildTopology(LibraryOf("RESI " + name + " 0\nATOM X T 1\nATOM Y T 2\nBOND X Y\nEND\n"));
  return molecule;
}

TEST(PDB_Add, AMergeAppendsAtomsAndIfWantedTopology) {
  PDB molecule = Pair("ONE", 1);
  const PDB other = Pair("TWO", 8);
  molecule.MergePDB(other, false);
  EXPECT_EQ(molecule.numAtoms, 4);
  EXPECT_EQ(molecule.atoms[3].ResName, "TWO");
  EXPECT_EQ(molecule.atoms[3].ResSeq, 8);
  EXPECT_EQ(molecule.topology.GetAtoms().size(), 2u);
  molecule.MergePDB(other, true);
  EXPECT_EQ(molecule.numAtoms, 6);
  EXPECT_EQ(molecule.topology.GetAtoms().size(), 4u);
  EXPECT_EQ(molecule.topology.GetAtoms()[2].residue_sn, 8);
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), (Terms{{0, 1}, {2, 3}}));
  // The tables and lists are the caller's affair.
  EXPECT_EQ(molecule.atomNames.size(), 2u);
  EXPECT_EQ(molecule.numResidues, 1);
  EXPECT_EQ(molecule.tmpAtoms.size(), 2u);
}

TEST(PDB_Add, CopiesOfAMoleculeAreNumberedOneByOne) {
  PDB molecule = Pair("ONE", 77);
  const PDB other = Pair("TWO", 8);
  for (int i = 0; i < 3; ++i) molecule.MergePDB(other, false);
  molecule.MergePSF(other, 3);
  std::vector<int> numbers;
  for (const PDB::Atom& atom : molecule.atoms) numbers.push_back(atom.ResSeq);
  EXPECT_EQ(numbers, (std::vector<int>{77, 77, 1, 1, 2, 2, 3, 3}));
  numbers.clear();
  for (const auto& atom : molecule.topology.GetAtoms()) numbers.push_back(atom.residue_sn);
  EXPECT_EQ(numbers, (std::vector<int>{77, 77, 1, 1, 2, 2, 3, 3}));
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), (Terms{{0, 1}, {2, 3}, {4, 5}, {6, 7}}));
}

TEST(PDB_Add, OneCopyIsNumberedInTheMoleculeButNotInTheTopology) {
  PDB molecule = Pair("ONE", 77);
  const PDB other = Pair("TWO", 8);
  molecule.MergePDB(other, false);
  molecule.MergePSF(other, 1);
  EXPECT_EQ(molecule.atoms[2].ResSeq, 1);
  EXPECT_EQ(molecule.atoms[3].ResSeq, 1);
  EXPECT_EQ(molecule.topology.GetAtoms()[2].residue_sn, 8);
}

TEST(PDB_Add, NumbersOfCopiesBeginAgainAfter9999) {
  PDB molecule;
  const PDB other = MoleculeOf({{"ION", "A", 5, {"X"}}});
  for (int i = 0; i < 10000; ++i) molecule.MergePDB(other, false);
  molecule.MergePSF(other, 10000);
  EXPECT_EQ(molecule.atoms[9998].ResSeq, 9999);
  EXPECT_EQ(molecule.atoms[9999].ResSeq, 1);
}

TEST(PDB_Add, NoCopiesOnlyRenewAnglesAndDihedrals) {
  const TemporaryFolder folder;
  const PDB other = Pair("TWO", 8);
  for (const int copies : {0, -1}) {
    PDB molecule = MoleculeOf({{"ONE", "A", 77, {"X", "Y", "Z"}}});
    // The file has an angle of its own.
    molecule.LoadPSFFile(
        folder.Write("x.psf",
                     "PSF EXT\n\n0 !NTITLE\n\n3 !NATOM\n1 A 1 ONE X T 0 1 0\n2 A 1 ONE Y T 0 1 0\n"
                     "3 A 1 ONE Z T 0 1 0\n\n2\n1 2 2 3\n\n1\n2 1 3\n\n0\n\n0\n\n0\n\n"));
    ASSERT_EQ(AsLists(molecule.topology.GetAngles()), (Terms{{1, 0, 2}}));
    PDB expected = molecule;
    expected.topology.Build(expected.tmpAtoms, expected.tmpBonds, expected.tmpImpropers,
                            expected.tmpCmaps);
    ASSERT_EQ(AsLists(expected.topology.GetAngles()), (Terms{{0, 1, 2}}));
    molecule.MergePSF(other, copies);
    EXPECT_EQ(Describe(molecule), Describe(expected));
  }
}

}  // namespace
}  // namespace orvane
