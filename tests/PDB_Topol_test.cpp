// The topology of a molecule from templates, bonds of the user, and what a PSF file says.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

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

constexpr const char* kLibrary =
    "MASS -1 NT 14.0\n"
    "MASS -1 CT 12.0\n"
    "RESI ALA 0\n"
    "ATOM N NT -0.5\n"
    "ATOM CA CT 0.25\n"
    "ATOM C CT 0.5\n"
    "ATOM O OT -0.25\n"
    "BOND N CA CA C C O C +N\n"
    "IMPR N -C CA O  C CA +N O\n"
    "CMAP -C N CA C N CA C +N\n"
    "RESI WAT 0\n"
    "ATOM O OW 0\n"
    "RESI NUL 0\n"
    "BOND\n"
    "END\n";

const std::vector<std::string> kAtoms = {"N", "CA", "C", "O"};

TEST(PDB_Topol, APeptideGetsItsBondsBetweenResiduesAndLosesThoseThatLeaveIt) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, kAtoms}, {"ALA", "A", 2, kAtoms}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(OutputOf([&] { molecule.BuildTopology(library); }), "");
  EXPECT_EQ(AsLists(molecule.tmpBonds),
            (Lists{{0, 1}, {1, 2}, {2, 3}, {2, 4}, {4, 5}, {5, 6}, {6, 7}}));
  // "N -C CA O" of the first residue is dropped, "C CA +N O" of the last one.
  EXPECT_EQ(AsLists(molecule.tmpImpropers), (Lists{{2, 1, 4, 3}, {4, 2, 5, 7}}));
  // Each half of a cross-term goes on its own.
  EXPECT_EQ(AsLists(molecule.tmpCmaps), (Lists{{0, 1, 2, 4}, {2, 4, 5, 6}}));
  EXPECT_EQ(molecule.topology.GetAtoms(), molecule.tmpAtoms);
  EXPECT_EQ(molecule.topology.GetBonds(), molecule.tmpBonds);
  EXPECT_EQ(molecule.topology.GetImpropers(), molecule.tmpImpropers);
  EXPECT_EQ(molecule.topology.GetCmaps(), molecule.tmpCmaps);
  EXPECT_EQ(AsLists(molecule.topology.GetAngles()).front(), (std::vector<int>{0, 1, 2}));
}

TEST(PDB_Topol, TwoChainsInARowAreBondedAcrossTheChainBreak) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, kAtoms}, {"ALA", "B", 90, kAtoms}});
  molecule.BuildTopology(LibraryOf(kLibrary));
  EXPECT_EQ(AsLists(molecule.tmpBonds)[3], (std::vector<int>{2, 4}));
}

TEST(PDB_Topol, ANeighbourWithoutTheAtomOfABondEndsTheRun) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, kAtoms}, {"WAT", "W", 5, {"O"}}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(MessageOf([&] { molecule.BuildTopology(library); }),
            "Error occurs: Cannot find atom \"N\" in residue WAT5 at chain W.");
}

TEST(PDB_Topol, AtomsComeInTheOrderOfTheMoleculeWithTheValuesOfTheirTemplate) {
  PDB molecule = MoleculeOf({{"ALA", "A", 7, {"O", "C", "CA", "N"}}});
  molecule.BuildTopology(LibraryOf(kLibrary));
  ASSERT_EQ(molecule.tmpAtoms.size(), 4u);
  const MolecularMechanicsTopology::Atom& oxygen = molecule.tmpAtoms[0];
  EXPECT_EQ(oxygen.name, "O");
  EXPECT_EQ(oxygen.type, "OT");
  EXPECT_EQ(oxygen.charge, -0.25);
  // The type has no mass.
  EXPECT_EQ(oxygen.mass, -1.0);
  EXPECT_EQ(oxygen.segment, "A");
  EXPECT_EQ(oxygen.residue_name, "ALA");
  EXPECT_EQ(oxygen.residue_sn, 7);
  EXPECT_EQ(oxygen.lj_epsilon, 0.0);
  EXPECT_EQ(oxygen.lj_sigma, 0.0);
  EXPECT_EQ(molecule.tmpAtoms[3].name, "N");
  EXPECT_EQ(molecule.tmpAtoms[3].mass, 14.0);
  EXPECT_EQ(molecule.tmpAtoms[3].charge, -0.5);
  // "CA C" is stored with its lower index first, as all bonds.
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{2, 3}, {1, 2}, {0, 1}}));
}

TEST(PDB_Topol, TheFirstOfTwoAtomsOfANameInATemplateCounts) {
  PDB molecule = MoleculeOf({{"DUP", "A", 1, {"X"}}});
  molecule.BuildTopology(LibraryOf("RESI DUP 0\nATOM X T1 1\nATOM X T2 2\nEND\n"));
  EXPECT_EQ(molecule.tmpAtoms[0].type, "T1");
  EXPECT_EQ(molecule.tmpAtoms[0].charge, 1.0);
}

TEST(PDB_Topol, BuildingAgainStartsAnew) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, kAtoms}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  molecule.BuildTopology(library);
  const std::string once = Describe(molecule);
  molecule.BuildTopology(library);
  EXPECT_EQ(Describe(molecule), once);
}

TEST(PDB_Topol, AnEmptyMoleculeHasAnEmptyTopology) {
  PDB molecule = MoleculeOf({});
  const std::string before = Describe(molecule);
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(OutputOf([&] { molecule.BuildTopology(library); }), "");
  EXPECT_EQ(Describe(molecule), before);
}

TEST(PDB_Topol, AnUnknownResidueIsReportedWithTheResidueAtTheAtomsPlace) {
  const TopologyLibrary library = LibraryOf(kLibrary);
  // Atom 2 is the first one of the third residue; the third line of the residue table is that of
  // the residue itself.
  PDB own = MoleculeOf({{"WAT", "A", 1, {"O"}}, {"WAT", "B", 2, {"O"}}, {"QQQ", "C", 3, {"X"}}});
  EXPECT_EQ(MessageOf([&] { own.BuildTopology(library); }),
            "Error occurs: Residue \"QQQ\" is not found in topology library. QQQ3 at chain C "
            "cannot be treated.\n");
  // Atom 4 is the first one of the second residue; the message takes the fifth residue's values.
  PDB other = MoleculeOf({{"ALA", "A", 1, kAtoms},
                          {"QQQ", "B", 2, {"X"}},
                          {"WAT", "C", 3, {"O"}},
                          {"WAT", "D", 4, {"O"}},
                          {"WAT", "E", 5, {"O"}}});
  EXPECT_EQ(MessageOf([&] { other.BuildTopology(library); }),
            "Error occurs: Residue \"QQQ\" is not found in topology library. WAT5 at chain E "
            "cannot be treated.\n");
}

TEST(PDB_Topol, AnUnknownResidueBeyondTheResidueTablesIsReportedWithItsOwnValues) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, kAtoms}, {"QQQ", "B", -2, {"X"}}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(MessageOf([&] { molecule.BuildTopology(library); }),
            "Error occurs: Residue \"QQQ\" is not found in topology library. QQQ-2 at chain B "
            "cannot be treated.\n");
}

TEST(PDB_Topol, AnEmptyResidueNameIsLookedUpLikeAnyOther) {
  PDB molecule = MoleculeOf({{"", "A", 1, {"X"}}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(MessageOf([&] { molecule.BuildTopology(library); }),
            "Error occurs: Residue \"\" is not found in topology library. 1 at chain A cannot be "
            "treated.\n");
  // A text block without a header is found under this name.
  molecule.BuildTopology(LibraryOf("! RESI\nATOM X T 2\nEND\n"));
  EXPECT_EQ(molecule.tmpAtoms.at(0).charge, 2.0);
}

TEST(PDB_Topol, AnAtomThatItsTemplateDoesNotKnowEndsTheRun) {
  PDB molecule = MoleculeOf({{"WAT", "A", 1, {"O"}}, {"WAT", "B", 12, {"O", "HX"}}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(MessageOf([&] { molecule.BuildTopology(library); }),
            "Error occurs: Atom \"HX\" is not found in topology library for residue WAT. The "
            "topology of WAT12 at chain B cannot be built.\n");
}

TEST(PDB_Topol, ATemplateWithoutAtomsKnowsNone) {
  PDB molecule = MoleculeOf({{"NUL", "A", 1, {"O"}}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(MessageOf([&] { molecule.BuildTopology(library); }),
            "Error occurs: Atom \"O\" is not found in topology library for residue NUL. The "
            "topology of NUL1 at chain A cannot be built.\n");
}

TEST(PDB_Topol, AnAtomThatATermNamesMustBeThere) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA", "C"}}});
  const TopologyLibrary library = LibraryOf(kLibrary);
  EXPECT_EQ(MessageOf([&] { molecule.BuildTopology(library); }),
            "Error occurs: Cannot find atom \"O\" in residue ALA1 at chain A.");
}

TEST(PDB_Topol, AtomsAreMatchedByTheirOwnResidueNameAndTermsByThatOfTheResidue) {
  // Two names under one number are one residue, which is called as its first atom.
  PDB molecule = MoleculeOf({{"WAT", "A", 1, {"O"}}, {"ION", "A", 1, {"I"}}});
  ASSERT_EQ(molecule.numResidues, 1);
  molecule.BuildTopology(
      LibraryOf("RESI WAT 0\nATOM O OW 0\nBOND O I\n"
                "RESI ION 0\nATOM I IT 1\nBOND I NOBODY\nEND\n"));
  EXPECT_EQ(molecule.tmpAtoms[1].type, "IT");
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{0, 1}}));
}

TEST(PDB_Topol, TermsAloneWarnOfAnUnknownResidueAndGoOn) {
  const PDB molecule = MoleculeOf({{"QQQ", "A", 3, {"X"}}, {"ALA", "A", 4, kAtoms}});
  TermList bonds(2);
  TermList impropers(4);
  TermList cmaps(4);
  for (TermList* list : {&impropers, &cmaps}) list->assign_flat({1, 2, 3, 4});
  bonds.assign_flat({1, 2});
  const TopologyLibrary library = LibraryOf("RESI ALA 0\nBOND N CA\nEND\n");
  EXPECT_EQ(
      OutputOf([&] { molecule.BuildTopologyTerms(library, bonds, impropers, cmaps); }),
      "Warning: Residue \"QQQ\" is not found in topology library. QQQ3 at chain A is untouched.\n");
  // What the lists held before is gone.
  EXPECT_EQ(AsLists(bonds), (Lists{{1, 2}}));
  EXPECT_TRUE(impropers.empty());
  EXPECT_TRUE(cmaps.empty());
}

TEST(PDB_Topol, TermsOfOneResidueReplaceTheList) {
  const PDB molecule = MoleculeOf({{"ALA", "A", 1, kAtoms}});
  TermList resolved(2);
  resolved.assign_flat({8, 9});
  molecule.BuildTopologyTerms(0, 4, {{"O", "N", "CA", "C"}, {"O", "CA", "N", "O"}}, resolved);
  EXPECT_EQ(resolved.degree(), 4);
  EXPECT_EQ(AsLists(resolved), (Lists{{2, 1, 0, 3}, {3, 0, 1, 3}}));
  molecule.BuildTopologyTerms(0, 4, {{"N", "CA", "C", "O"}}, resolved);
  EXPECT_EQ(resolved.size(), 1u);
  EXPECT_EQ(MessageOf([&] { molecule.BuildTopologyTerms(0, 3, {}, resolved); }),
            "Error occurs: The number of degrees of freedom must be 2 or 4.");
}

// A molecule of six atoms with a topology.
PDB Six() {
  PDB molecule = MoleculeOf({{"SIX", "A", 1, {"A", "B", "C", "D", "E", "F"}}});
  molecule.BuildTopology(
      LibraryOf("RESI SIX 0\nATOM A T 0\nATOM B T 0\nATOM C T 0\nATOM D T 0\nATOM E T 0\n"
                "ATOM F T 0\nBOND A B\nEND\n"));
  return molecule;
}

TEST(PDB_Topol, ABondOfTheUserIsAppendedAsGiven) {
  PDB molecule = Six();
  molecule.AddBond(5, 2);
  molecule.AddBond(2, 5);
  // Nothing looks for a bond that is there already, or for one of an atom with itself.
  molecule.AddBond(0, 0);
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{0, 1}, {5, 2}, {2, 5}, {0, 0}}));
  EXPECT_EQ(molecule.topology.GetBonds(), molecule.tmpBonds);
}

TEST(PDB_Topol, ABondOfTheUserStartsFromTheTopologyAndNotFromTheLists) {
  PDB molecule = Six();
  molecule.tmpBonds.assign_flat({3, 4});
  molecule.tmpImpropers.assign_flat({0, 1, 2, 3});
  molecule.tmpAtoms.clear();
  molecule.AddBond(1, 2);
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{0, 1}, {1, 2}}));
  EXPECT_TRUE(molecule.tmpImpropers.empty());
  EXPECT_EQ(molecule.tmpAtoms.size(), 6u);
  EXPECT_EQ(AsLists(molecule.topology.GetAngles()), (Lists{{0, 1, 2}}));
}

TEST(PDB_Topol, ABondToAnAtomThatIsNotThereEndsTheRun) {
  const auto message = [](int atom1, int atom2) {
    return MessageOf([&] { Six().AddBond(atom1, atom2); });
  };
  EXPECT_EQ(message(0, 6), "Error occurs: Invalid atom index: 1 7.");
  EXPECT_EQ(message(6, 0), "Error occurs: Invalid atom index: 7 1.");
  EXPECT_EQ(message(-1, 0), "Error occurs: Invalid atom index: 0 1.");
  EXPECT_EQ(message(0, -1), "Error occurs: Invalid atom index: 1 0.");
  EXPECT_EQ(message(0, std::numeric_limits<int>::max()),
            "Error occurs: Invalid atom index: 1 2147483648.");
  EXPECT_EQ(message(5, 5), "(the code returned)");
}

// Lines of a PSF file's atoms, without bonds.
std::string PsfOf(const std::vector<std::string>& atoms) {
  std::string text =
      "PSF EXT\n\n       1 !NTITLE\n REMARKS\n\n" + std::to_string(atoms.size()) + " !NATOM\n";
  for (const std::string& atom : atoms) text += "1 " + atom + " T 0 1 0\n";
  return text + "\n2 !NBOND\n1 2\n\n0\n\n0\n\n1\n1 2 1 2\n\n1\n2 1 2 1\n\n";
}

TEST(PDB_Topol, APsfFileFillsTheTopologyAndTheLists) {
  const TemporaryFolder folder;
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA"}}});
  molecule.LoadPSFFile(folder.Write("x.psf", PsfOf({"S 4 TIP3 OH2", "S 4 TIP3 H1"})));
  ASSERT_EQ(molecule.tmpAtoms.size(), 2u);
  EXPECT_EQ(molecule.tmpAtoms[1].name, "H1");
  EXPECT_EQ(molecule.tmpAtoms, molecule.topology.GetAtoms());
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{0, 1}}));
  EXPECT_EQ(AsLists(molecule.tmpImpropers), (Lists{{0, 1, 0, 1}}));
  EXPECT_EQ(AsLists(molecule.tmpCmaps), (Lists{{1, 0, 1, 0}}));
  // The atoms are not touched, whether they fit or not.
  EXPECT_EQ(molecule.atomNames, (std::vector<std::string>{"N", "CA"}));

  const std::string path = folder / "y.psf";
  molecule.WritePSF(path);
  MolecularMechanicsTopology read_back;
  read_back.LoadFromPSF(path);
  EXPECT_EQ(read_back.GetAtoms(), molecule.topology.GetAtoms());
  EXPECT_EQ(read_back.GetBonds(), molecule.topology.GetBonds());
}

TEST(PDB_Topol, TheAtomsTakeOverWhatTheTopologySays) {
  const TemporaryFolder folder;
  PDB molecule = MoleculeOf({{"UNK", "X", 1, {"A1", "A2", "A3", "A4", "A5"}}});
  for (PDB::Atom& atom : molecule.atoms) atom.IsHetero = true;
  molecule.LoadPSFFile(folder.Write(
      "x.psf", PsfOf({"AA 4 TIP3 OH2", "B 5 ALA N", "B 6 DA P", "B 6 MG MG", "B 6 ALAD CX"})));
  molecule.tmpAtoms.clear();  // Made anew from the topology.
  molecule.ApplyTopology();
  EXPECT_EQ(molecule.tmpAtoms.size(), 5u);
  const auto& atoms = molecule.atoms;
  EXPECT_EQ(molecule.atomNames, (std::vector<std::string>{"OH2", "N", "P", "MG", "CX"}));
  EXPECT_EQ(atoms[0].ResName, "TIP");
  EXPECT_EQ(atoms[0].ResSeq, 4);
  EXPECT_EQ(atoms[0].ChainID, "AA");
  EXPECT_EQ(atoms[3].ResName, "MG");
  EXPECT_EQ(atoms[4].ResName, "ALA");
  std::vector<bool> hetero;
  for (const PDB::Atom& atom : atoms) hetero.push_back(atom.IsHetero);
  // The whole name decides: "ALAD" is no amino acid, though "ALA" is written.
  EXPECT_EQ(hetero, (std::vector<bool>{true, false, false, true, true}));
  EXPECT_EQ(molecule.residueNames, (std::vector<std::string>{"TIP", "ALA", "DA"}));
  EXPECT_EQ(molecule.residueLastAtoms, (std::vector<int>{0, 1, 4}));

  for (PDB::Atom& atom : molecule.atoms) atom.IsHetero = false;
  molecule.ApplyTopology();
  for (const PDB::Atom& atom : atoms) EXPECT_FALSE(atom.IsHetero) << atom.Name;
}

TEST(PDB_Topol, ATopologyOfAnotherSizeIsTakenOverAsFarAsItGoes) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("x.psf", PsfOf({"S 4 TIP3 OH2", "S 4 TIP3 H1"}));
  PDB more = MoleculeOf({{"ALA", "A", 1, {"X", "Y", "Z"}}});
  more.LoadPSFFile(path);
  more.ApplyTopology();
  EXPECT_EQ(more.atomNames, (std::vector<std::string>{"OH2", "H1", "Z"}));
  EXPECT_EQ(more.residueNames, (std::vector<std::string>{"TIP", "ALA"}));
  PDB fewer = MoleculeOf({{"ALA", "A", 1, {"X"}}});
  fewer.LoadPSFFile(path);
  fewer.ApplyTopology();
  EXPECT_EQ(fewer.atomNames, std::vector<std::string>{"OH2"});
}

}  // namespace
}  // namespace orvane
