// Patching a residue: deletions, new atoms and their places, and what becomes of the topology.
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
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

using Lists = testing_support::Terms;
using Names = std::vector<std::string>;

constexpr const char* kMasses = "MASS -1 NT 14.0\nMASS -1 CT 12.0\nMASS -1 HT 1.0\n";

const std::map<std::string, double> kMassTable = {{"NT", 14.0}, {"CT", 12.0}, {"HT", 1.0}};

// A patch of these lines.
TopologyLibrary::Residue Patch(const std::string& lines) {
  return LibraryOf("PRES PAT 0\n" + lines + "END\n").GetResidues().at("PAT");
}

constexpr const char* kTemplate =
    "RESI ALA 0\nATOM N NT -0.5\nATOM CA CT 0.25\nATOM C CT 0.5\nATOM O OT -0.25\n"
    "BOND N CA CA C C O C +N\nIMPR C CA +N O\nCMAP N CA C O C CA N O\n";

// Two residues with their topology.
PDB Peptide() {
  PDB molecule =
      MoleculeOf({{"ALA", "A", 4, {"N", "CA", "C", "O"}}, {"ALA", "A", 5, {"N", "CA", "C", "O"}}});
  molecule.BuildTopology(LibraryOf(std::string(kMasses) + kTemplate + "END\n"));
  return molecule;
}

// A line that places an atom behind O, C, CA.
std::string Placed(const std::string& name) {
  return "IC O C CA " + name + " 1 90 60 110 1.25\n";
}

TEST(PDB_Patch, DeletesAtomsWithAllTheirTermsAndKeepsTheMeaningOfTheOthers) {
  PDB molecule = Peptide();
  ASSERT_EQ(AsLists(molecule.tmpBonds),
            (Lists{{0, 1}, {1, 2}, {2, 3}, {2, 4}, {4, 5}, {5, 6}, {6, 7}}));
  ASSERT_EQ(AsLists(molecule.tmpImpropers), (Lists{{2, 1, 4, 3}}));
  EXPECT_EQ(OutputOf([&] {
              molecule.PatchResidue(0, kMassTable, {}, true);  // Changes nothing.
            }),
            "");
  molecule.PatchResidue(0, kMassTable, Patch("DELETE ATOM CA\n"), true);
  EXPECT_EQ(molecule.atomNames, (Names{"N", "C", "O", "N", "CA", "C", "O"}));
  EXPECT_EQ(molecule.numAtoms, 7);
  EXPECT_EQ(molecule.residueFirstAtoms, (std::vector<int>{0, 3}));
  EXPECT_EQ(molecule.residueLastAtoms, (std::vector<int>{2, 6}));
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{1, 2}, {1, 3}, {3, 4}, {4, 5}, {5, 6}}));
  EXPECT_TRUE(molecule.tmpImpropers.empty());
  EXPECT_EQ(AsLists(molecule.tmpCmaps), (Lists{{3, 4, 5, 6}, {5, 4, 3, 6}}));
  EXPECT_EQ(molecule.topology.GetBonds(), molecule.tmpBonds);
  EXPECT_EQ(molecule.topology.GetAtoms(), molecule.tmpAtoms);
  EXPECT_EQ(molecule.topology.GetAtoms().size(), 7u);
}

TEST(PDB_Patch, ADeletionOfAnythingOfOneWordDeletesAnAtom) {
  PDB molecule = Peptide();
  molecule.PatchResidue(1, kMassTable, Patch("DELETE ACCE O\nDELETE BOND N\n"), false);
  EXPECT_EQ(molecule.atomNames, (Names{"N", "CA", "C", "O", "CA", "C"}));
}

TEST(PDB_Patch, WithoutTopologyOnlyTheMoleculeIsTouched) {
  PDB molecule = Peptide();
  const std::string topology_before =
      Describe(molecule).substr(Describe(molecule).find("tmp atom"));
  molecule.PatchResidue(
      0, kMassTable, Patch("DELETE ATOM N\nATOM CA XX 9\nATOM X XX 9\nBOND CA X\n" + Placed("X")),
      false);
  EXPECT_EQ(molecule.atomNames, (Names{"CA", "X", "C", "O", "N", "CA", "C", "O"}));
  EXPECT_EQ(Describe(molecule).substr(Describe(molecule).find("tmp atom")), topology_before);
}

TEST(PDB_Patch, AsManyDeletionsAsAtomsEndTheRun) {
  PDB molecule = Peptide();
  const std::string message =
      "Error occurs: The number of deleted atoms is larger than the number of atoms in residue "
      "ALA5 at chain A. In this case, remove this residue before manipulating topology.";
  const auto message_of = [&](const std::string& lines) {
    const TopologyLibrary::Residue patch = Patch(lines);
    return MessageOf([&] { molecule.PatchResidue(1, kMassTable, patch, true); });
  };
  EXPECT_EQ(message_of("DELETE ATOM N\nDELETE ATOM CA\nDELETE ATOM C\nDELETE ATOM O\n"), message);
  // Lines are counted, whatever they name.
  EXPECT_EQ(message_of("DELETE A X\nDELETE A X\nDELETE A X\nDELETE A X\nDELETE A X\n"), message);
  EXPECT_EQ(message_of("DELETE ATOM N\nDELETE ATOM CA\nDELETE ATOM C\n"), "(the code returned)");
}

TEST(PDB_Patch, AResidueWithoutAtomsCannotBePatched) {
  PDB molecule = Peptide();
  molecule.residueFirstAtoms[1] = 8;  // As when all its atoms have been removed.
  const TopologyLibrary::Residue patch = Patch("");
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(1, kMassTable, patch, true); }),
            "Error occurs: The number of deleted atoms is larger than the number of atoms in "
            "residue ALA5 at chain A. In this case, remove this residue before manipulating "
            "topology.");
}

TEST(PDB_Patch, ATopologyThatIsNeededMustHaveBeenBuilt) {
  PDB molecule = MoleculeOf({{"ALA", "A", 4, {"N", "CA"}}});
  const TopologyLibrary::Residue patch = Patch("DELETE ATOM N\n");
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(0, kMassTable, patch, true); }),
            "Error occurs: Topology is not built. Please build topology first.");
  // Too many deletions come first.
  const TopologyLibrary::Residue many = Patch("DELETE ATOM N\nDELETE ATOM N\n");
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(0, kMassTable, many, true); }),
            "Error occurs: The number of deleted atoms is larger than the number of atoms in "
            "residue ALA4 at chain A. In this case, remove this residue before manipulating "
            "topology.");
  molecule.PatchResidue(0, kMassTable, patch, false);
  EXPECT_EQ(molecule.atomNames, Names{"CA"});
  // An atom that is not there comes after it.
  PDB no_topology = MoleculeOf({{"ALA", "A", 4, {"N", "CA"}}});
  const TopologyLibrary::Residue missing = Patch("DELETE ATOM HN\n");
  EXPECT_EQ(MessageOf([&] { no_topology.PatchResidue(0, kMassTable, missing, true); }),
            "Error occurs: Topology is not built. Please build topology first.");
  EXPECT_EQ(MessageOf([&] { no_topology.PatchResidue(0, kMassTable, missing, false); }),
            "Error occurs: Atom \"HN\" is missing in residue ALA4 at chain A and cannot be "
            "deleted.");
}

TEST(PDB_Patch, AnAtomToDeleteMustBeThere) {
  PDB molecule = Peptide();
  const TopologyLibrary::Residue patch = Patch("DELETE ATOM O\nDELETE ATOM HN\n");
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(1, kMassTable, patch, true); }),
            "Error occurs: Atom \"HN\" is missing in residue ALA5 at chain A and cannot be "
            "deleted.");
}

TEST(PDB_Patch, ASecondRunOfAPatchFailsAtItsFirstDeletion) {
  PDB molecule = Peptide();
  const TopologyLibrary::Residue patch = Patch("DELETE ATOM O\n");
  molecule.PatchResidue(1, kMassTable, patch, true);
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(1, kMassTable, patch, true); }),
            "Error occurs: Atom \"O\" is missing in residue ALA5 at chain A and cannot be "
            "deleted.");
}

TEST(PDB_Patch, AnAtomThatIsThereGetsTypeAndChargeButKeepsItsMass) {
  PDB molecule = Peptide();
  const PDB before = molecule;
  molecule.PatchResidue(1, kMassTable, Patch("ATOM CA HT 0.75\n"), true);
  EXPECT_EQ(molecule.tmpAtoms[5].name, "CA");
  EXPECT_EQ(molecule.tmpAtoms[5].type, "HT");
  EXPECT_EQ(molecule.tmpAtoms[5].charge, 0.75);
  EXPECT_EQ(molecule.tmpAtoms[5].mass, 12.0);
  EXPECT_EQ(molecule.topology.GetAtoms()[5], molecule.tmpAtoms[5]);
  // Nothing else has changed.
  molecule.tmpAtoms[5] = before.tmpAtoms[5];
  molecule.topology.Build(molecule.tmpAtoms, molecule.tmpBonds, molecule.tmpImpropers,
                          molecule.tmpCmaps);
  EXPECT_EQ(Describe(molecule), Describe(before));
}

TEST(PDB_Patch, AnAtomThatIsThereTakesTheNameOfTheMoleculeIntoItsTopology) {
  PDB molecule = Peptide();
  molecule.tmpAtoms[5].name = "OTHER";  // As a file that does not fit can have it.
  molecule.PatchResidue(1, kMassTable, Patch("ATOM CA HT 0.75\n"), true);
  EXPECT_EQ(molecule.tmpAtoms[5].name, "CA");
}

TEST(PDB_Patch, NewAtomsGoDirectlyAfterTheAtomBeforeThemInTheRecord) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA", "C", "O"}}});
  molecule.PatchResidue(0, kMassTable,
                        Patch("ATOM N NT 0\nATOM HT1 HT 0\nATOM HT2 HT 0\nATOM HT3 HT 0\n"
                              "ATOM CA CT 0\n" +
                              Placed("HT1") + Placed("HT2") + Placed("HT3")),
                        false);
  EXPECT_EQ(molecule.atomNames, (Names{"N", "HT1", "HT2", "HT3", "CA", "C", "O"}));
}

TEST(PDB_Patch, ANewAtomWithoutAnEarlierAtomOfTheRecordGoesToTheHeadOfItsResidue) {
  for (const bool with_topology : {false, true}) {
    PDB molecule = Peptide();
    // X stands first in the record and goes to the head; Y goes after O.
    molecule.PatchResidue(
        1, kMassTable, Patch("ATOM X HT 1\nATOM O OT 0\nATOM Y HT 2\n" + Placed("X") + Placed("Y")),
        with_topology);
    EXPECT_EQ(molecule.atomNames, (Names{"N", "CA", "C", "O", "X", "N", "CA", "C", "O", "Y"}));
    EXPECT_EQ(molecule.residueFirstAtoms, (std::vector<int>{0, 4}));
    EXPECT_EQ(molecule.residueLastAtoms, (std::vector<int>{3, 9}));
    if (!with_topology) continue;
    // The lists stay parallel to the atoms.
    ASSERT_EQ(molecule.tmpAtoms.size(), 10u);
    EXPECT_EQ(molecule.tmpAtoms[4].name, "X");
    EXPECT_EQ(molecule.tmpAtoms[5].name, "N");
    EXPECT_EQ(AsLists(molecule.tmpBonds),
              (Lists{{0, 1}, {1, 2}, {2, 3}, {2, 5}, {5, 6}, {6, 7}, {7, 8}}));
  }
}

TEST(PDB_Patch, ANewAtomIsACopyOfThePresentLastOneUnderItsOwnName) {
  PDB molecule = Peptide();
  PDB::Atom& last = molecule.atoms[3];
  last.IsHetero = true;
  last.SN = 77;
  last.Occupancy = 0.5;
  last.TempFactor = 12.5;
  last.AltLoc = "B";
  last.ICode = "I";
  last.Element = "O";
  last.Column77 = "77";
  last.Column79 = "79";
  molecule.atoms[2].TempFactor = 99.0;
  const PDB::Atom copied = last;
  molecule.PatchResidue(0, kMassTable, Patch("ATOM N NT 0\nATOM CL1 ZZ 0.25\n" + Placed("CL1")),
                        true);
  ASSERT_EQ(molecule.atomNames[1], "CL1");
  const PDB::Atom& added = molecule.atoms[1];
  EXPECT_EQ(added.Name, "CL1");
  EXPECT_TRUE(added.IsHetero);
  EXPECT_EQ(added.SN, 77);
  EXPECT_EQ(added.ResSeq, copied.ResSeq);
  EXPECT_EQ(added.Occupancy, 0.5);
  EXPECT_EQ(added.TempFactor, 12.5);
  EXPECT_EQ(added.AltLoc, "B");
  EXPECT_EQ(added.ResName, "ALA");
  EXPECT_EQ(added.ChainID, "A");
  EXPECT_EQ(added.ICode, "I");
  EXPECT_EQ(added.Column79, "79");
  // The first letter, also of an element of two.
  EXPECT_EQ(added.Element, "C");
  EXPECT_EQ(added.Column77, "C");
  const MolecularMechanicsTopology::Atom& entry = molecule.tmpAtoms[1];
  EXPECT_EQ(entry.name, "CL1");
  EXPECT_EQ(entry.type, "ZZ");
  EXPECT_EQ(entry.charge, 0.25);
  EXPECT_EQ(entry.mass, -1.0);
  EXPECT_EQ(entry.segment, "C");
  EXPECT_EQ(entry.residue_name, "ALA");
  EXPECT_EQ(entry.residue_sn, 4);
}

TEST(PDB_Patch, AnAtomAddedAtTheEndIsWhatTheNextOneCopies) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"CA", "C", "O"}}});
  molecule.atoms[2].Column79 = "O";
  molecule.PatchResidue(0, kMassTable, Patch("ATOM O OT 0\nATOM X1 HT 0\n" + Placed("X1")), false);
  molecule.atoms[3].Column79 = "X";
  molecule.PatchResidue(0, kMassTable, Patch("ATOM CA CT 0\nATOM X2 HT 0\n" + Placed("X2")), false);
  EXPECT_EQ(molecule.atomNames, (Names{"CA", "X2", "C", "O", "X1"}));
  EXPECT_EQ(molecule.atoms[1].Column79, "X");
}

TEST(PDB_Patch, TheMassOfANewAtomIsThatOfItsType) {
  PDB molecule = Peptide();
  molecule.PatchResidue(0, kMassTable, Patch("ATOM N NT 0\nATOM H HT 0.5\n" + Placed("H")), true);
  EXPECT_EQ(molecule.tmpAtoms[1].mass, 1.0);
}

TEST(PDB_Patch, TheSegmentOfANewAtomInThePsfFileIsItsFirstLetter) {
  const TemporaryFolder folder;
  PDB molecule = Peptide();
  molecule.PatchResidue(0, kMassTable, Patch("ATOM N NT 0\nATOM HT1 HT 0.5\n" + Placed("HT1")),
                        true);
  molecule.WritePSF(folder / "x.psf");
  const std::string text = folder.Read("x.psf");
  EXPECT_NE(
      text.find("       1 A        4    ALA  N    NT        0.000000       14.0000           0\n"
                "       2 H        4    ALA  HT1  HT        0.500000        1.0000           0\n"
                "       3 A        4    ALA  CA   CT  "),
      std::string::npos)
      << text;
}

TEST(PDB_Patch, TheTermsOfTheRecordAreAppendedWithoutLookingForThoseThatAreThere) {
  PDB molecule = Peptide();
  molecule.PatchResidue(
      0, kMassTable,
      Patch("ATOM H HT 0.5\nBOND N H CA N -C N\nIMPR N H CA C\nCMAP H N CA C N CA C +N\n" +
            Placed("H")),
      true);
  // H stands at the head, so that all indices have moved by one; "-C" leaves the molecule.
  EXPECT_EQ(AsLists(molecule.tmpBonds),
            (Lists{{1, 2}, {2, 3}, {3, 4}, {3, 5}, {5, 6}, {6, 7}, {7, 8}, {0, 1}, {1, 2}}));
  EXPECT_EQ(AsLists(molecule.tmpImpropers), (Lists{{3, 2, 5, 4}, {1, 0, 2, 3}}));
  EXPECT_EQ(
      AsLists(molecule.tmpCmaps),
      (Lists{{1, 2, 3, 4}, {3, 2, 1, 4}, {5, 6, 7, 8}, {7, 6, 5, 8}, {0, 1, 2, 3}, {1, 2, 3, 5}}));
  EXPECT_EQ(molecule.topology.GetBonds(), molecule.tmpBonds);
}

TEST(PDB_Patch, ATermOfTheRecordThatNamesAMissingAtomEndsTheRun) {
  PDB molecule = Peptide();
  const TopologyLibrary::Residue patch = Patch("BOND CA +HX\n");
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(0, kMassTable, patch, true); }),
            "Error occurs: Cannot find atom \"HX\" in residue ALA5 at chain A.");
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(0, kMassTable, patch, false); }),
            "(the code returned)");
}

TEST(PDB_Patch, ANewAtomWithoutATermOfItsOwnEndsTheRun) {
  PDB molecule = Peptide();
  const TopologyLibrary::Residue patch = Patch("ATOM HX HT 0\n");
  EXPECT_EQ(MessageOf([&] { molecule.PatchResidue(1, kMassTable, patch, true); }),
            "Error occurs: Cannot find the internal coordinate for atom HX in residue ALA5 at "
            "chain A.\n");
}

TEST(PDB_Patch, AHydrogenThatNeedsLaterAtomsGetsItsFinalPlaceInTheSecondPass) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA", "C"}}});
  const TopologyLibrary::Residue patch = Patch(
      "ATOM HX HT 0\nATOM X CT 0\nIC N CA X HX 1 90 60 110 1.0\n"
      "IC N C CA X 1 90 60 110 1.5\n");
  PDB core = molecule;
  Names to_place = {"left from before"};
  core.PatchResidueCore(0, kMassTable, patch, false, to_place);
  EXPECT_EQ(to_place, Names{"HX"});
  EXPECT_EQ(core.atoms[0].Coord.x, 99.0);
  EXPECT_EQ(OutputOf([&] { molecule.PatchResidue(0, kMassTable, patch, false); }), "");
  ASSERT_EQ(molecule.atomNames, (Names{"HX", "X", "N", "CA", "C"}));
  EXPECT_NEAR(ComputationalGeometry::CalcLength(molecule.atoms[0].Coord, molecule.atoms[1].Coord),
              1.0, 1e-12);
}

TEST(PDB_Patch, OnlyHydrogensAndAtomsThatCouldNotBePlacedAreToBePlacedAgain) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA", "C", "O"}}});
  Names to_place;
  molecule.PatchResidueCore(
      0, kMassTable,
      Patch("ATOM X1 CT 0\nATOM H1 HT 0\nATOM X2 CT 0\nATOM D1 HT 0\n" + Placed("X1") +
            Placed("H1") + "IC Q N CA X2 1 90 60 110 1\nIC Q Q Q D1 1 90 60 110 1\n"),
      false, to_place);
  EXPECT_EQ(to_place, (Names{"H1", "X2", "D1"}));
}

TEST(PDB_Patch, AHeavyAtomKeepsItsFirstPlaceAlthoughItsReferenceMoves) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA", "C"}}});
  // H1 has no first place until X is there, but X is placed from it.
  const TopologyLibrary::Residue patch = Patch(
      "ATOM H1 HT 0\nATOM X CT 0\nIC C CA X H1 1 90 60 110 1.0\n"
      "IC C CA H1 X 1 90 60 110 1.5\n");
  Names to_place;
  PDB core = molecule;
  core.PatchResidueCore(0, kMassTable, patch, false, to_place);
  molecule.PatchResidue(0, kMassTable, patch, false);
  EXPECT_EQ(to_place, Names{"H1"});
  EXPECT_EQ(molecule.atoms[1].Coord.x, core.atoms[1].Coord.x);
  EXPECT_GT(molecule.atoms[1].Coord.x, 90.0);  // Near (99, 99, 99), where H1 was then.
  EXPECT_NE(molecule.atoms[0].Coord.x, 99.0);
}

TEST(PDB_Patch, AnAtomThatCannotBePlacedInTheSecondPassEitherIsReported) {
  PDB molecule = Peptide();
  const TopologyLibrary::Residue patch =
      Patch("ATOM H1 HT 0\nATOM X CT 0\nIC Q CA C H1 1 90 60 110 1\nIC CA C Q X 1 90 60 110 1\n");
  EXPECT_EQ(OutputOf([&] { molecule.PatchResidue(1, kMassTable, patch, true); }),
            "Warning: The position of atom H1 in residue ALA5 at chain A cannot be well "
            "predicted.\n"
            "Warning: The position of atom X in residue ALA5 at chain A cannot be well "
            "predicted.\n");
  ASSERT_EQ(molecule.atomNames[5], "X");
  EXPECT_EQ(molecule.atoms[5].Coord.x, 99.0);
  EXPECT_NEAR(ComputationalGeometry::CalcLength(molecule.atoms[4].Coord, molecule.atoms[8].Coord),
              1.0, 1e-12);
}

TEST(PDB_Patch, ADeletedAtomOfTheRecordIsMadeAnew) {
  PDB molecule = Peptide();
  molecule.PatchResidue(0, kMassTable,
                        Patch("DELETE ATOM CA\nATOM O OT 0\nATOM CA HT 0.5\nBOND CA C\n"
                              "IC N O C CA 1 90 60 110 1.5\n"),
                        true);
  EXPECT_EQ(molecule.atomNames, (Names{"N", "C", "O", "CA", "N", "CA", "C", "O"}));
  EXPECT_EQ(molecule.tmpAtoms[3].type, "HT");
  EXPECT_EQ(molecule.tmpAtoms[3].segment, "C");
  // Its old bonds are gone for good.
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{1, 2}, {1, 4}, {4, 5}, {5, 6}, {6, 7}, {1, 3}}));
}

TEST(PDB_Patch, TheListsAreEditedOneAtomAtATime) {
  PDB molecule = Peptide();
  molecule.ModifyTmpTopolUponAddingAtom(1);
  EXPECT_EQ(molecule.tmpAtoms.size(), 8u);  // Room is made in the terms alone.
  EXPECT_EQ(AsLists(molecule.tmpBonds),
            (Lists{{0, 2}, {2, 3}, {3, 4}, {3, 5}, {5, 6}, {6, 7}, {7, 8}}));
  EXPECT_EQ(AsLists(molecule.tmpImpropers), (Lists{{3, 2, 5, 4}}));
  molecule.ModifyTmpTopolUponDeletingAtom(3);
  EXPECT_EQ(molecule.tmpAtoms.size(), 7u);
  EXPECT_EQ(molecule.tmpAtoms[3].residue_sn, 5);
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{0, 2}, {4, 5}, {5, 6}, {6, 7}}));
  EXPECT_TRUE(molecule.tmpImpropers.empty());
  // The topology is the caller's affair.
  EXPECT_EQ(molecule.topology.GetBonds().size(), 7u);
}

TEST(PDB_Patch, IndicesThatNoMoleculeHasWrapAround) {
  PDB molecule = Peptide();
  molecule.tmpImpropers.assign_flat({0, 1, 2, std::numeric_limits<int>::max()});
  molecule.ModifyTmpTopolUponAddingAtom(1);
  EXPECT_EQ(AsLists(molecule.tmpImpropers), (Lists{{0, 2, 3, std::numeric_limits<int>::min()}}));
}

TEST(PDB_Patch, TheListsAreLeftAloneWhereThereIsNoTopology) {
  PDB molecule = Peptide();
  molecule.tmpAtoms.clear();
  const std::string before = Describe(molecule);
  molecule.ModifyTmpTopolUponAddingAtom(0);
  molecule.ModifyTmpTopolUponDeletingAtom(0);
  EXPECT_EQ(Describe(molecule), before);
}

TEST(PDB_Patch, ARenamedResidueIsCalledSoInAtomsAndTopology) {
  PDB molecule = Peptide();
  molecule.RenameResidue(1, "SerX");
  EXPECT_EQ(molecule.residueNames, (Names{"ALA", "SerX"}));
  // The kind stays what it was.
  EXPECT_EQ(molecule.residueTypes[1], Residue::AminoAcid);
  for (int i = 0; i < 8; ++i) {
    const std::string name = i < 4 ? "ALA" : "SerX";
    EXPECT_EQ(molecule.atoms[i].ResName, name);
    EXPECT_EQ(molecule.tmpAtoms[i].residue_name, name);
    EXPECT_EQ(molecule.topology.GetAtoms()[i].residue_name, name);
  }
}

struct Termini {
  std::vector<int> n;
  std::vector<int> c;
};

Termini TerminiOf(const Names& residues, const std::vector<std::string>& chains = {}) {
  std::vector<testing_support::NamedResidue> list;
  for (std::size_t i = 0; i < residues.size(); ++i) {
    list.push_back({residues[i], chains.empty() ? "A" : chains[i], static_cast<int>(i), {"X"}});
  }
  Termini termini{{-7}, {-7}};
  MoleculeOf(list).GetTerminus(termini.n, termini.c);
  return termini;
}

void ExpectTermini(const Names& residues, const std::vector<int>& n, const std::vector<int>& c) {
  const Termini termini = TerminiOf(residues);
  EXPECT_EQ(termini.n, n);
  EXPECT_EQ(termini.c, c);
}

TEST(PDB_Patch, FindsTheEndsOfRunsOfAminoAcids) {
  ExpectTermini({}, {}, {});
  ExpectTermini({"ALA", "GLY", "PRO"}, {0}, {2});
  ExpectTermini({"ALA", "GLY", "HOH", "GLY", "ALA", "HOH", "HOH"}, {0, 3}, {1, 4});
  ExpectTermini({"ALA", "HOH", "GLY", "ALA"}, {0, 2}, {0, 3});
  ExpectTermini({"ADE", "GUA", "THY"}, {}, {});
  ExpectTermini({"ADE", "ALA", "GLY", "GUA", "THY"}, {1}, {2});
}

TEST(PDB_Patch, ResiduesOfNoOtherKindMakeOrContinueARun) {
  // A nucleic acid, a water, an ion, and a ligand.
  for (const char* const other : {"ADE", "HOH", "SOD", "LIG"}) {
    SCOPED_TRACE(other);
    ExpectTermini({other, other}, {}, {});
    ExpectTermini({other, "ALA", "GLY", other, "ALA", "GLY"}, {1, 4}, {2, 5});
  }
}

TEST(PDB_Patch, TwoChainsInARowAreOneRun) {
  const Termini termini = TerminiOf({"ALA", "GLY", "ALA", "GLY"}, {"A", "A", "B", "B"});
  EXPECT_EQ(termini.n, std::vector<int>{0});
  EXPECT_EQ(termini.c, std::vector<int>{3});
}

TEST(PDB_Patch, TheLastResidueBehindARunCountsAsAnEndToo) {
  ExpectTermini({"ALA", "GLY", "HOH"}, {0}, {1, 2});
}

TEST(PDB_Patch, ALastResidueThatOpensARunHasNoEnd) {
  ExpectTermini({"HOH", "ALA"}, {1}, {});
  ExpectTermini({"ALA"}, {0}, {});
  ExpectTermini({"ALA", "HOH", "ALA"}, {0, 2}, {0});
}

}  // namespace
}  // namespace orvane
