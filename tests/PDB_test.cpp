// The molecule's accessors, its residue tables and its report.
#include "PDB.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::RunInChild;
using testing_support::RunResult;

PDB::Atom AtomOf(const std::string& name, const std::string& residue, int number,
                 const std::string& chain) {
  PDB::Atom atom;
  atom.Name = name;
  atom.ResName = residue;
  atom.ResSeq = number;
  atom.ChainID = chain;
  return atom;
}

PDB MoleculeOf(const std::vector<PDB::Atom>& atoms) {
  PDB molecule;
  molecule.atoms = atoms;
  molecule.Analyze();
  return molecule;
}

// ALA 12 A (two atoms), GLY 13 A, SOD 12 B, VAL 12 A.
PDB SmallMolecule() {
  return MoleculeOf({AtomOf("N", "ALA", 12, "A"), AtomOf("CA", "ALA", 12, "A"),
                     AtomOf("N", "GLY", 13, "A"), AtomOf("SOD", "SOD", 12, "B"),
                     AtomOf("C", "VAL", 12, "A")});
}

TEST(PDB, IsEmptyAtFirst) {
  const PDB molecule;
  EXPECT_EQ(molecule.filename, "");
  EXPECT_EQ(molecule.description, "");
  EXPECT_TRUE(molecule.atoms.empty());
  EXPECT_TRUE(molecule.atomNames.empty());
  EXPECT_TRUE(molecule.residueTypes.empty());
  EXPECT_TRUE(molecule.residueSeqs.empty());
  EXPECT_TRUE(molecule.residueChains.empty());
  EXPECT_TRUE(molecule.residueNames.empty());
  EXPECT_TRUE(molecule.residueFirstAtoms.empty());
  EXPECT_TRUE(molecule.residueLastAtoms.empty());
  EXPECT_TRUE(molecule.tmpAtoms.empty());
  EXPECT_TRUE(molecule.tmpBonds.empty());
  EXPECT_TRUE(molecule.tmpImpropers.empty());
  EXPECT_TRUE(molecule.tmpCmaps.empty());
  EXPECT_TRUE(molecule.topology.GetAtoms().empty());
}

TEST(PDB, IsCopiedWithEverythingInIt) {
  PDB molecule = SmallMolecule();
  molecule.filename = "a.pdb";
  molecule.tmpBonds.push_back({0, 1});
  PDB copy = molecule;
  copy.atoms[0].Name = "X";
  copy.residueNames[0] = "X";
  copy.tmpBonds.push_back({1, 2});
  EXPECT_EQ(molecule.atoms[0].Name, "N");
  EXPECT_EQ(molecule.residueNames[0], "ALA");
  EXPECT_EQ(molecule.tmpBonds.size(), 1u);
  EXPECT_EQ(copy.filename, "a.pdb");
  EXPECT_EQ(copy.residueSeqs, molecule.residueSeqs);
}

TEST(PDB, GivesItsFilenameAndItsTopologyByReference) {
  PDB molecule;
  molecule.filename = "some/file.pdb";
  EXPECT_EQ(&molecule.GetFilename(), &molecule.filename);
  EXPECT_EQ(&molecule.GetTopology(), &molecule.topology);
}

TEST(PDB, GivesTheNameOfAResidue) {
  const PDB molecule = SmallMolecule();
  EXPECT_EQ(molecule.GetResidueName(0), "ALA");
  EXPECT_EQ(molecule.GetResidueName(3), "VAL");
}

TEST(PDB, GivesTheCoordinatesOfAllAtomsInOrder) {
  PDB molecule = SmallMolecule();
  for (int i = 0; i < 5; ++i) molecule.atoms[i].Coord = Vec3D(i, 10 + i, 20 + i);
  std::vector<Vec3D> coords(3, Vec3D(9.0, 9.0, 9.0));
  molecule.GetCoords(coords);
  ASSERT_EQ(coords.size(), 5u);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(coords[i].x, i);
    EXPECT_EQ(coords[i].y, 10 + i);
    EXPECT_EQ(coords[i].z, 20 + i);
  }
}

TEST(PDB, GivesNoCoordinatesWithoutAtoms) {
  std::vector<Vec3D> coords(3);
  MoleculeOf({}).GetCoords(coords);
  EXPECT_TRUE(coords.empty());
}

TEST(PDB, NamesAResidueForMessages) {
  const PDB molecule = SmallMolecule();
  EXPECT_EQ(molecule.GetResidueString(0), "ALA12 at chain A");
  EXPECT_EQ(molecule.GetResidueString(2), "SOD12 at chain B");
  EXPECT_EQ(MoleculeOf({AtomOf("C", "LIG", -7, "AB")}).GetResidueString(0), "LIG-7 at chain AB");
}

TEST(PDB, HasNoNameForAResidueOutOfRange) {
  const PDB molecule = SmallMolecule();
  EXPECT_EQ(molecule.GetResidueString(-1), "");
  EXPECT_EQ(molecule.GetResidueString(molecule.numResidues), "");
  EXPECT_NE(molecule.GetResidueString(molecule.numResidues - 1), "");
  EXPECT_EQ(MoleculeOf({}).GetResidueString(0), "");
}

TEST(PDB, CutsTheNameOfAResidueToItsBuffer) {
  // A name of any length can come from a PSF file.
  const std::string name(300, 'N');
  EXPECT_EQ(MoleculeOf({AtomOf("C", name, 1, "A")}).GetResidueString(0), std::string(255, 'N'));
}

// What a look-up of a site left in an index of 77 and a name "left".
std::string Found(const PDB& molecule, const std::string& site) {
  int residue = 77;
  std::string name = "left";
  molecule.GetResidue(site, residue, name);
  return std::to_string(residue) + " " + name;
}

TEST(PDB, FindsTheFirstResidueAtASite) {
  const PDB molecule = SmallMolecule();
  EXPECT_EQ(Found(molecule, "12A"), "0 ALA");
  EXPECT_EQ(Found(molecule, "13A"), "1 GLY");
  EXPECT_EQ(Found(molecule, "12B"), "2 SOD");
}

TEST(PDB, FindsASiteInEitherCaseAndWithBlanksAroundTheNumber) {
  const PDB molecule = SmallMolecule();
  EXPECT_EQ(Found(molecule, "12a"), "0 ALA");
  EXPECT_EQ(Found(molecule, " 12 b"), "2 SOD");
  EXPECT_EQ(Found(molecule, "+13A"), "1 GLY");
}

TEST(PDB, TellsAMalformedSite) {
  const PDB molecule = SmallMolecule();
  for (const char* site : {"", "A", "AA", "A12", "1.5A", "12:A", "- 1A", "99999999999A"}) {
    EXPECT_EQ(Found(molecule, site), "-2 left") << site;
  }
}

TEST(PDB, TellsASiteThatIsNotInTheMolecule) {
  const PDB molecule = SmallMolecule();
  EXPECT_EQ(Found(molecule, "9999Z"), "-1 left");
  EXPECT_EQ(Found(molecule, "13B"), "-1 left");
  EXPECT_EQ(Found(molecule, "-12A"), "-1 left");
  EXPECT_EQ(Found(MoleculeOf({}), "12A"), "-1 left");
}

TEST(PDB, TakesTheLastCharacterOfASiteForItsChain) {
  // Of "12" alone that is chain 2, residue 1.
  EXPECT_EQ(Found(SmallMolecule(), "12"), "-1 left");
  EXPECT_EQ(Found(MoleculeOf({AtomOf("C", "LIG", 1, "2")}), "12"), "0 LIG");
}

TEST(PDB, FindsNoChainOfSeveralLettersOrOfLowerCase) {
  EXPECT_EQ(Found(MoleculeOf({AtomOf("C", "LIG", 1, "AB")}), "1B"), "-1 left");
  EXPECT_EQ(Found(MoleculeOf({AtomOf("C", "LIG", 1, "b")}), "1b"), "-1 left");
}

TEST(PDB, FindsTheFirstAtomOfANameInAResidue) {
  const PDB molecule = MoleculeOf({AtomOf("N", "ALA", 1, "A"), AtomOf("CA", "ALA", 1, "A"),
                                   AtomOf("C", "ALA", 2, "A"), AtomOf("N", "ALA", 2, "A"),
                                   AtomOf("CA", "ALA", 2, "A"), AtomOf("N", "ALA", 2, "A")});
  EXPECT_EQ(molecule.GetAtomIndex(0, "N"), 0);
  EXPECT_EQ(molecule.GetAtomIndex(0, "CA"), 1);
  EXPECT_EQ(molecule.GetAtomIndex(1, "N"), 3);
  for (const char* name : {"C", "N ", "n", ""}) EXPECT_EQ(molecule.GetAtomIndex(0, name), -1);
  for (const int residue : {-1, 2}) EXPECT_EQ(molecule.GetAtomIndex(residue, "N"), -1);
}

TEST(PDBAnalyze, MakesARowForEachResidue) {
  const PDB molecule = SmallMolecule();
  EXPECT_EQ(molecule.numAtoms, 5);
  EXPECT_EQ(molecule.atomNames, (std::vector<std::string>{"N", "CA", "N", "SOD", "C"}));
  EXPECT_EQ(molecule.numResidues, 4);
  EXPECT_EQ(molecule.residueTypes,
            (std::vector<Residue::Type>{Residue::AminoAcid, Residue::AminoAcid, Residue::Ion,
                                        Residue::AminoAcid}));
  EXPECT_EQ(molecule.residueSeqs, (std::vector<int>{12, 13, 12, 12}));
  EXPECT_EQ(molecule.residueChains, (std::vector<std::string>{"A", "A", "B", "A"}));
  EXPECT_EQ(molecule.residueNames, (std::vector<std::string>{"ALA", "GLY", "SOD", "VAL"}));
  EXPECT_EQ(molecule.residueFirstAtoms, (std::vector<int>{0, 2, 3, 4}));
  EXPECT_EQ(molecule.residueLastAtoms, (std::vector<int>{1, 2, 3, 4}));
}

TEST(PDBAnalyze, LeavesZeroCountsWithoutAtoms) {
  PDB molecule = SmallMolecule();
  molecule.atoms.clear();
  molecule.Analyze();
  EXPECT_EQ(molecule.numAtoms, 0);
  EXPECT_EQ(molecule.numResidues, 0);
  EXPECT_TRUE(molecule.atomNames.empty());
  EXPECT_TRUE(molecule.residueTypes.empty());
  EXPECT_TRUE(molecule.residueSeqs.empty());
  EXPECT_TRUE(molecule.residueChains.empty());
  EXPECT_TRUE(molecule.residueNames.empty());
  EXPECT_TRUE(molecule.residueFirstAtoms.empty());
  EXPECT_TRUE(molecule.residueLastAtoms.empty());
}

TEST(PDBAnalyze, KeepsNeighboursOfOneNumberInDifferentChainsApart) {
  const PDB molecule = MoleculeOf({AtomOf("N", "ALA", 5, "A"), AtomOf("N", "ALA", 5, "B")});
  EXPECT_EQ(molecule.numResidues, 2);
}

TEST(PDBAnalyze, JoinsNeighboursThatDifferInNameInsertionCodeOrRecordOnly) {
  // Residues 52 and 52A of a chain are one, with the name and the kind of the first atom.
  std::vector<PDB::Atom> atoms{AtomOf("N", "HOH", 52, "A"), AtomOf("N", "ALA", 52, "A"),
                               AtomOf("N", "MG", 52, "A")};
  atoms[1].ICode = "A";
  atoms[2].IsHetero = true;
  const PDB molecule = MoleculeOf(atoms);
  EXPECT_EQ(molecule.numResidues, 1);
  EXPECT_EQ(molecule.residueNames, std::vector<std::string>{"HOH"});
  EXPECT_EQ(molecule.residueTypes, std::vector<Residue::Type>{Residue::Water});
  EXPECT_EQ(molecule.residueLastAtoms, std::vector<int>{2});
  EXPECT_EQ(molecule.atoms[1].ResName, "ALA");
}

TEST(PDBAnalyze, OpensAResidueForANumberOfMinusOneAtTheVeryFirstAtom) {
  const PDB molecule = MoleculeOf({AtomOf("C", "LIG", -1, "A"), AtomOf("O", "LIG", -1, "A")});
  EXPECT_EQ(molecule.numResidues, 1);
  EXPECT_EQ(molecule.residueSeqs, std::vector<int>{-1});
  EXPECT_EQ(molecule.residueFirstAtoms, std::vector<int>{0});
  EXPECT_EQ(molecule.residueLastAtoms, std::vector<int>{1});
}

TEST(PDBAnalyze, ReplacesTheTablesOfAnEarlierMolecule) {
  PDB molecule = SmallMolecule();
  molecule.atoms.erase(molecule.atoms.begin(), molecule.atoms.begin() + 3);
  molecule.Analyze();
  EXPECT_EQ(molecule.numAtoms, 2);
  EXPECT_EQ(molecule.residueNames, (std::vector<std::string>{"SOD", "VAL"}));
  EXPECT_EQ(molecule.residueFirstAtoms, (std::vector<int>{0, 1}));
}

TEST(PDBAnalyze, MakesRunsWithoutGapsOnRandomAtoms) {
  std::mt19937 random(1);
  const std::vector<std::string> names{"ALA", "DG", "TIP", "NA", "XYZ"};
  for (int round = 0; round < 500; ++round) {
    std::vector<PDB::Atom> atoms;
    for (std::size_t i = random() % 30; i > 0; --i) {
      atoms.push_back(AtomOf("C" + std::to_string(i), names[random() % names.size()],
                             static_cast<int>(random() % 3) - 1, random() % 3 == 0 ? "B" : "A"));
    }
    const PDB molecule = MoleculeOf(atoms);
    // A residue opens wherever number or chain differ from the atom before.
    std::vector<int> firsts;
    for (int i = 0; i < static_cast<int>(atoms.size()); ++i) {
      ASSERT_EQ(molecule.atomNames[i], atoms[i].Name);
      if (i == 0 || atoms[i].ResSeq != atoms[i - 1].ResSeq ||
          atoms[i].ChainID != atoms[i - 1].ChainID) {
        firsts.push_back(i);
      }
    }
    ASSERT_EQ(molecule.numAtoms, static_cast<int>(atoms.size()));
    ASSERT_EQ(molecule.numResidues, static_cast<int>(firsts.size()));
    ASSERT_EQ(molecule.residueFirstAtoms, firsts);
    ASSERT_EQ(molecule.residueLastAtoms.size(), firsts.size());
    ASSERT_EQ(molecule.residueTypes.size(), firsts.size());
    ASSERT_EQ(molecule.residueSeqs.size(), firsts.size());
    ASSERT_EQ(molecule.residueChains.size(), firsts.size());
    ASSERT_EQ(molecule.residueNames.size(), firsts.size());
    for (std::size_t r = 0; r < firsts.size(); ++r) {
      const int behind = r + 1 < firsts.size() ? firsts[r + 1] : molecule.numAtoms;
      const PDB::Atom& first = atoms[firsts[r]];
      ASSERT_EQ(molecule.residueLastAtoms[r], behind - 1);
      ASSERT_EQ(molecule.residueTypes[r], Residue::IdentifyType(first.ResName));
      ASSERT_EQ(molecule.residueSeqs[r], first.ResSeq);
      ASSERT_EQ(molecule.residueChains[r], first.ChainID);
      ASSERT_EQ(molecule.residueNames[r], first.ResName);
    }
  }
}

TEST(PDBReport, CountsResiduesByKind) {
  PDB molecule = MoleculeOf(
      {AtomOf("N", "ALA", 1, "A"), AtomOf("N", "GLY", 2, "A"), AtomOf("CA", "GLY", 2, "A"),
       AtomOf("P", "DG", 3, "A"), AtomOf("O", "HOH", 4, "A"), AtomOf("O", "HOH", 5, "A"),
       AtomOf("O", "WAT", 6, "A"), AtomOf("S", "SO4", 7, "A"), AtomOf("ZN", "ZN", 8, "A"),
       AtomOf("C", "HEM", 9, "A"), AtomOf("C", "HEM", 9, "A"), AtomOf("C", "UNK", 10, "A"),
       AtomOf("C", "UNK", 11, "A")});
  molecule.filename = "some/file.pdb";
  EXPECT_EQ(OutputOf([&] { molecule.Report(); }),
            "Molecule:                 some/file.pdb\n"
            "Number of atoms:          13\n"
            "Number of residues:       11\n"
            " Number of amino acids:   2\n"
            " Number of nucleic acids: 1\n"
            " Number of waters:        3\n"
            " Number of ions:          1\n"
            " Number of ligands:       4\n");
}

TEST(PDBReport, ShowsZerosForAnEmptyMolecule) {
  const PDB molecule = MoleculeOf({});
  EXPECT_EQ(OutputOf([&] { molecule.Report(); }),
            "Molecule:                 \n"
            "Number of atoms:          0\n"
            "Number of residues:       0\n"
            " Number of amino acids:   0\n"
            " Number of nucleic acids: 0\n"
            " Number of waters:        0\n"
            " Number of ions:          0\n"
            " Number of ligands:       0\n");
}

TEST(PDBReport, EndsTheRunForAnUnknownKindBeforeItPrintsALine) {
  PDB molecule = SmallMolecule();
  molecule.residueTypes.back() = static_cast<Residue::Type>(7);
  EXPECT_EQ(MessageOf([&] { molecule.Report(); }), "Error occurs: Unknown residue type: 7");
}

TEST(PDBReport, NamesThePlaceOfItsMessageAndEndsWithoutALineFeed) {
  PDB molecule = SmallMolecule();
  molecule.residueTypes.front() = static_cast<Residue::Type>(5);
  const RunResult result = RunInChild([&] { molecule.Report(); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const std::string begin = "Error occurs: Unknown residue type: 5 (in src/PDB.cpp at line ";
  ASSERT_EQ(result.out.substr(0, begin.size()), begin);
  const std::string rest = result.out.substr(begin.size());
  EXPECT_EQ(rest.substr(rest.find_first_not_of("0123456789")),
            ", void orvane::PDB::Report() const)");
}

}  // namespace
}  // namespace orvane
