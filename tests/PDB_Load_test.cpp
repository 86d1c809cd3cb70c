// Molecules as they come in: the PDB and XYZ readers and the normal form.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "PDB.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::RunInChild;
using testing_support::RunResult;
using testing_support::TemporaryFolder;

// A line of exactly 66 characters, the shortest that is read.
const std::string kLine = "ATOM      1  CA  ALA A   1       1.000   2.000   3.000  1.00  0.00";

// A line with a text put over it from a column on, columns counting from 1. The line grows to 80
// columns at least.
std::string With(std::string line, std::size_t column, const std::string& text) {
  line.resize(std::max(line.size(), std::size_t{80}), ' ');
  return line.replace(column - 1, text.size(), text);
}

PDB Read(const std::string& text) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.LoadPDBFile(folder.Write("in.pdb", text));
  return molecule;
}

// The only atom of a text of one line.
PDB::Atom ReadAtom(const std::string& line) {
  const PDB molecule = Read(line + "\n");
  EXPECT_EQ(molecule.atoms.size(), 1u) << line;
  return molecule.atoms.empty() ? PDB::Atom() : molecule.atoms[0];
}

// The message that ends the reading of a PDB file, with the file's path as "PATH".
std::string ReadingMessage(const std::string& text) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("in.pdb", text);
  std::string message = MessageOf([&] {
    PDB molecule;
    molecule.LoadPDBFile(path);
  });
  const std::size_t at = message.rfind(path);
  if (at != std::string::npos) message.replace(at, path.size(), "PATH");
  return message;
}

TEST(PDBLoad, ReadsTheFieldsOfALine) {
  const std::string line =
      "HETATM12345  HB2BCYS C-123D     -1.500  22.250 -33.125  0.50 99.75      SEG1XYZW";
  ASSERT_EQ(line.size(), 80u);
  const PDB::Atom atom = ReadAtom(line);
  EXPECT_TRUE(atom.IsHetero);
  EXPECT_EQ(atom.SN, 12345);
  EXPECT_EQ(atom.Name, "HB2B");
  EXPECT_EQ(atom.AltLoc, "B");
  EXPECT_EQ(atom.ResName, "CYS");
  EXPECT_EQ(atom.ChainID, "C");
  EXPECT_EQ(atom.ResSeq, -123);
  EXPECT_EQ(atom.ICode, "D");
  EXPECT_EQ(atom.Coord.x, -1.5);
  EXPECT_EQ(atom.Coord.y, 22.25);
  EXPECT_EQ(atom.Coord.z, -33.125);
  EXPECT_EQ(atom.Occupancy, 0.5);
  EXPECT_EQ(atom.TempFactor, 99.75);
  EXPECT_EQ(atom.Element, "SEG1");
  EXPECT_EQ(atom.Column77, "XY");
  EXPECT_EQ(atom.Column79, "ZW");
}

TEST(PDBLoad, TakesEachFieldFromItsColumnsOnly) {
  // Columns 12, 21, 28 to 30, 67 to 72 and those behind 80 are looked at by nobody.
  std::string line = With(kLine, 12, "?");
  line = With(line, 21, "?");
  line = With(line, 28, "???");
  line = With(line, 67, "??????");
  line = With(line, 81, "?????");
  const PDB::Atom atom = ReadAtom(line);
  EXPECT_FALSE(atom.IsHetero);
  EXPECT_EQ(atom.SN, 1);
  EXPECT_EQ(atom.Name, "CA");
  EXPECT_EQ(atom.AltLoc, "");
  EXPECT_EQ(atom.ResName, "ALA");
  EXPECT_EQ(atom.ChainID, "A");
  EXPECT_EQ(atom.ResSeq, 1);
  EXPECT_EQ(atom.ICode, "");
  EXPECT_EQ(atom.Coord.x, 1.0);
  EXPECT_EQ(atom.Coord.y, 2.0);
  EXPECT_EQ(atom.Coord.z, 3.0);
  EXPECT_EQ(atom.Occupancy, 1.0);
  EXPECT_EQ(atom.TempFactor, 0.0);
  EXPECT_EQ(atom.Element, "C");
  EXPECT_EQ(atom.Column77, "");
  EXPECT_EQ(atom.Column79, "");
}

TEST(PDBLoad, ReadsFieldsThatTouchEachOther) {
  const PDB::Atom atom =
      ReadAtom("ATOM  99999  HH11ARG A9999Z   -999.999-888.888-777.777100.00-10.50");
  EXPECT_EQ(atom.SN, 99999);
  EXPECT_EQ(atom.Name, "HH11");
  EXPECT_EQ(atom.ResName, "ARG");
  EXPECT_EQ(atom.ResSeq, 9999);
  EXPECT_EQ(atom.ICode, "Z");
  EXPECT_NEAR(atom.Coord.x, -999.999, 1e-10);
  EXPECT_NEAR(atom.Coord.y, -888.888, 1e-10);
  EXPECT_NEAR(atom.Coord.z, -777.777, 1e-10);
  EXPECT_EQ(atom.Occupancy, 100.0);
  EXPECT_EQ(atom.TempFactor, -10.5);
}

TEST(PDBLoad, MayHaveNegativeSerialAndSequenceNumbers) {
  const PDB::Atom atom = ReadAtom(With(With(kLine, 7, "  -12"), 23, "  -1"));
  EXPECT_EQ(atom.SN, -12);
  EXPECT_EQ(atom.ResSeq, -1);
}

TEST(PDBLoad, FoldsLinesToUpperCase) {
  const PDB::Atom atom =
      ReadAtom("atom      1  ca  ala a   1c      1.000   2.000   3.000  1.00  0.00      na  x y ");
  EXPECT_EQ(atom.Name, "CA");
  EXPECT_EQ(atom.ResName, "ALA");
  EXPECT_EQ(atom.ChainID, "A");
  EXPECT_EQ(atom.ICode, "C");
  EXPECT_EQ(atom.Element, "NA");
  EXPECT_EQ(atom.Column77, "X");
  EXPECT_EQ(atom.Column79, "Y");
  EXPECT_FALSE(atom.IsHetero);
  EXPECT_TRUE(ReadAtom(With(kLine, 1, "hetatm")).IsHetero);
}

TEST(PDBLoad, ReadsAtomLinesOfAllModelsAndSkipsEverythingElse) {
  const PDB molecule =
      Read("HEADER    ATOM\nREMARK\n\nMODEL        1\n" + kLine + "\nTER\nENDMDL\n" +
           "MODEL        2\n" + With(kLine, 13, " CB ") + "\n ATOM\nATO\nHETAT\n" + "ANISOU" +
           kLine.substr(6) + "\nENDMDL\nEND\n" + With(kLine, 1, "HETATM") + "\nCONECT\n");
  ASSERT_EQ(molecule.atoms.size(), 3u);
  EXPECT_EQ(molecule.atoms[0].Name, "CA");
  EXPECT_EQ(molecule.atoms[1].Name, "CB");
  EXPECT_TRUE(molecule.atoms[2].IsHetero);
  EXPECT_EQ(molecule.description, "Load from PDB file");
}

TEST(PDBLoad, TakesAnyRecordThatBeginsWithAtom) {
  const PDB::Atom atom = ReadAtom(With(kLine, 1, "ATOMS "));
  EXPECT_EQ(atom.Name, "CA");
  EXPECT_FALSE(atom.IsHetero);
  // Six letters are needed for the other one.
  EXPECT_TRUE(Read(With(kLine, 1, "HETATO") + "\n").atoms.empty());
}

TEST(PDBLoad, TakesALastLineWithoutALineFeed) {
  EXPECT_EQ(Read(kLine + "\n" + kLine).atoms.size(), 2u);
}

TEST(PDBLoad, GivesAnEmptyMoleculeForAFileWithoutAtomLines) {
  const TemporaryFolder folder;
  for (const char* text : {"", "\n\n", "HEADER\nEND\n"}) {
    const std::string path = folder.Write("in.pdb", text);
    PDB molecule;
    EXPECT_EQ(OutputOf([&] { molecule.Load(path); }), "");
    EXPECT_EQ(molecule.numAtoms, 0);
    EXPECT_EQ(molecule.numResidues, 0);
    EXPECT_EQ(molecule.filename, path);
    EXPECT_EQ(OutputOf([&] { molecule.Report(); }),
              "Molecule:                 " + path +
                  "\nNumber of atoms:          0\nNumber of residues:       0\n"
                  " Number of amino acids:   0\n Number of nucleic acids: 0\n"
                  " Number of waters:        0\n Number of ions:          0\n"
                  " Number of ligands:       0\n");
    molecule.WritePDB(folder / "out.pdb");
    EXPECT_EQ(folder.Read("out.pdb"), "REMARK Generated by ravelo\nEND\n");
  }
}

TEST(PDBLoad, ReadsALineOf66CharactersButNotOneOf65) {
  ASSERT_EQ(kLine.size(), 66u);
  const PDB::Atom atom = ReadAtom(kLine);
  EXPECT_EQ(atom.TempFactor, 0.0);
  EXPECT_EQ(atom.Element, "C");
  const std::string shorter = kLine.substr(0, 65);
  EXPECT_EQ(ReadingMessage(kLine + "\n" + shorter + "\n"),
            "Error occurs: The line \"" + shorter +
                "\" in \"PATH\" is too short. It should be at least longer than 66.");
  EXPECT_EQ(ReadingMessage("hetatm"),
            "Error occurs: The line \"HETATM\" in \"PATH\" is too short. It should be at least "
            "longer than 66.");
  EXPECT_EQ(
      ReadingMessage("ATOM\n"),
      "Error occurs: The line \"ATOM\" in \"PATH\" is too short. It should be at least longer "
      "than 66.");
}

TEST(PDBLoad, CountsACarriageReturnToTheLine) {
  // With it a line of 65 characters has 66, and one of 75 goes to column 76.
  EXPECT_EQ(ReadAtom(kLine.substr(0, 65) + "\r").TempFactor, 0.0);
  EXPECT_EQ(ReadingMessage(kLine.substr(0, 64) + "\r\n"),
            "Error occurs: The line \"" + kLine.substr(0, 64) +
                "\r\" in \"PATH\" is too short. It should be at least longer than 66.");
  const std::string to75 = kLine + "      FE7";
  ASSERT_EQ(to75.size(), 75u);
  EXPECT_EQ(ReadAtom(to75).Element, "C");
  EXPECT_EQ(ReadAtom(to75 + "\r").Element, "FE7");
  const std::string to77 = kLine + "       FE12";
  ASSERT_EQ(to77.size(), 77u);
  EXPECT_EQ(ReadAtom(to77).Column77, "");
  EXPECT_EQ(ReadAtom(to77 + "\r").Column77, "2");
  const std::string to79 = kLine + "       FE1234";
  ASSERT_EQ(to79.size(), 79u);
  EXPECT_EQ(ReadAtom(to79).Column79, "");
  EXPECT_EQ(ReadAtom(to79 + "\r").Column79, "4");
}

TEST(PDBLoad, NeedsAllColumnsOfTheLastFields) {
  const std::string full = kLine + "      ABCDEFGH";
  ASSERT_EQ(full.size(), 80u);
  const std::vector<std::array<std::string, 3>> expected{
      {"C", "", ""},        // 74 characters
      {"C", "", ""},        // 75
      {"ABCD", "", ""},     // 76
      {"ABCD", "", ""},     // 77
      {"ABCD", "EF", ""},   // 78
      {"ABCD", "EF", ""},   // 79
      {"ABCD", "EF", "GH"}  // 80
  };
  for (std::size_t size = 74; size <= 80; ++size) {
    const PDB::Atom atom = ReadAtom(full.substr(0, size));
    EXPECT_EQ(atom.Element, expected[size - 74][0]) << size;
    EXPECT_EQ(atom.Column77, expected[size - 74][1]) << size;
    EXPECT_EQ(atom.Column79, expected[size - 74][2]) << size;
  }
}

TEST(PDBLoad, DoesNotCheckTheElement) {
  EXPECT_EQ(ReadAtom(With(kLine, 73, "PROT")).Element, "PROT");
  EXPECT_EQ(ReadAtom(With(kLine, 73, " 7 ?")).Element, "7 ?");
}

TEST(PDBLoad, DoesNotTakeTheElementFromColumns77And78) {
  const PDB::Atom atom = ReadAtom(With(kLine, 77, " N"));
  EXPECT_EQ(atom.Element, "C");
  EXPECT_EQ(atom.Column77, "N");
}

TEST(PDBLoad, TakesAMissingElementFromTheName) {
  const auto element = [](const std::string& name) {
    return ReadAtom(With(kLine, 13, name)).Element;
  };
  EXPECT_EQ(element("LIT "), "Li");
  EXPECT_EQ(element("SOD "), "Na");
  EXPECT_EQ(element("MG  "), "Mg");
  EXPECT_EQ(element(" MG "), "Mg");
  EXPECT_EQ(element("POT "), "K");
  EXPECT_EQ(element("CAL "), "Ca");
  EXPECT_EQ(element("CLA "), "Cl");
  EXPECT_EQ(element("CAD "), "Cd");
  EXPECT_EQ(element("ZN  "), "Zn");
  EXPECT_EQ(element("BAR "), "Ba");
  EXPECT_EQ(element("NA  "), "N");
  EXPECT_EQ(element("CA  "), "C");
  EXPECT_EQ(element("CL1 "), "C");
  EXPECT_EQ(element("1HB "), "1");
  EXPECT_EQ(element("sod "), "Na");
  EXPECT_EQ(element("    "), "");
  // A name that only begins like one of the table.
  EXPECT_EQ(element("SODA"), "S");
  // The table does not ask for the residue, nor does it look at a given element.
  EXPECT_EQ(ReadAtom(With(With(kLine, 13, "CAL "), 73, "  FE")).Element, "FE");
}

TEST(PDBLoad, JoinsAFourLetterNameFromTheAlternateLocationColumn) {
  const auto atom = [](const std::string& columns_13_to_17) {
    return ReadAtom(With(kLine, 13, columns_13_to_17));
  };
  EXPECT_EQ(atom(" HH11").Name, "HH11");
  EXPECT_EQ(atom(" HH11").AltLoc, "1");
  // An alternate location behind a name of three letters is taken for its fourth.
  EXPECT_EQ(atom(" CD1A").Name, "CD1A");
  EXPECT_EQ(atom("CD1 A").Name, "CD1A");
  // Names of other lengths stay.
  EXPECT_EQ(atom(" CA A").Name, "CA");
  EXPECT_EQ(atom(" CA A").AltLoc, "A");
  EXPECT_EQ(atom("HH11A").Name, "HH11");
  EXPECT_EQ(atom(" HH1 ").Name, "HH1");
  EXPECT_EQ(atom("C A B").Name, "C AB");
}

TEST(PDBLoad, TakesTheElementFromTheNameBeforeItIsJoined) {
  const PDB::Atom atom = ReadAtom(With(kLine, 13, " SODA"));
  EXPECT_EQ(atom.Name, "SODA");
  EXPECT_EQ(atom.Element, "Na");
}

TEST(PDBLoad, KeepsDuplicatesAndAlternateLocations) {
  const PDB molecule = Read(With(kLine, 13, " CA A") + "\n" + With(kLine, 13, " CA B") + "\n" +
                            With(kLine, 13, " CA B") + "\n");
  ASSERT_EQ(molecule.atoms.size(), 3u);
  EXPECT_EQ(molecule.atoms[1].AltLoc, "B");
  EXPECT_EQ(molecule.atoms[2].SN, 1);
}

TEST(PDBLoad, ReplacesTheAtomsOfAnEarlierMolecule) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.LoadPDBFile(folder.Write("a.pdb", kLine + "\n" + kLine + "\n"));
  molecule.LoadPDBFile(folder.Write("b.pdb", With(kLine, 13, " N  ")));
  ASSERT_EQ(molecule.atoms.size(), 1u);
  EXPECT_EQ(molecule.atoms[0].Name, "N");
}

TEST(PDBLoad, TheReaderAloneFillsOnlyAtomsAndDescription) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.filename = "earlier.pdb";
  const std::string path =
      folder.Write("in.pdb", With(With(kLine, 22, " "), 18, "HIS") + "\n" + kLine + "\n");
  // No normal form, and no tables.
  EXPECT_EQ(OutputOf([&] { molecule.LoadPDBFile(path); }), "");
  ASSERT_EQ(molecule.atoms.size(), 2u);
  EXPECT_EQ(molecule.atoms[0].ResName, "HIS");
  EXPECT_EQ(molecule.atoms[0].ChainID, "");
  EXPECT_EQ(molecule.filename, "earlier.pdb");
  EXPECT_EQ(molecule.numAtoms, 0);
  EXPECT_TRUE(molecule.atomNames.empty());
  EXPECT_EQ(molecule.numResidues, 0);
  EXPECT_TRUE(molecule.residueNames.empty());
}

TEST(PDBLoad, EndsTheRunWhereAFileCannotBeOpened) {
  const TemporaryFolder folder;
  const std::string path = folder / "missing.pdb";
  const auto load = [&] { PDB().Load(path); };
  EXPECT_EQ(MessageOf(load), "Error occurs: Cannot open file \"" + path + "\".");
  EXPECT_EQ(MessageOf([&] { PDB().LoadPDBFile(folder.path().string()); }),
            "Error occurs: Cannot open file \"" + folder.path().string() + "\".");

  // The place follows, and no line feed.
  const RunResult result = RunInChild(load);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const std::string begin =
      "Error occurs: Cannot open file \"" + path + "\". (in src/PDB_Load.cpp at line ";
  ASSERT_EQ(result.out.substr(0, begin.size()), begin);
  const std::string rest = result.out.substr(begin.size());
  const std::size_t number_end = rest.find_first_not_of("0123456789");
  ASSERT_GT(number_end, 0u);
  EXPECT_EQ(rest.substr(number_end, 2), ", ");
  EXPECT_EQ(rest.substr(rest.size() - 2), "))");
  EXPECT_EQ(rest.find('\n'), std::string::npos);
}

TEST(PDBLoad, EndsTheRunForABadSerialNumber) {
  for (const char* field : {"*****", "A0000", "1.000", "1 2  "}) {
    const std::string line = With(kLine, 7, field);
    std::string trimmed = field;
    trimmed.erase(trimmed.find_last_not_of(' ') + 1);
    EXPECT_EQ(ReadingMessage(line + "\n"), "Error occurs: Atom serial number \"" + trimmed +
                                               "\" at the line of \"" + line +
                                               "\" in \"PATH\" is wrong: it should be an integer.");
  }
  const std::string blank = With(kLine, 7, "     ");
  EXPECT_EQ(ReadingMessage(blank), "Error occurs: Atom serial number \"\" at the line of \"" +
                                       blank + "\" in \"PATH\" is wrong: it should be an integer.");
}

TEST(PDBLoad, EndsTheRunForABadSequenceNumber) {
  for (const char* field : {"12A4", "****"}) {
    const std::string line = With(kLine, 23, field);
    EXPECT_EQ(ReadingMessage(line), "Error occurs: Residue sequence number \"" +
                                        std::string(field) + "\" at the line of \"" + line +
                                        "\" in \"PATH\" is wrong: it should be an integer.");
  }
  const std::string blank = With(kLine, 23, "    ");
  EXPECT_EQ(ReadingMessage(blank), "Error occurs: Residue sequence number \"\" at the line of \"" +
                                       blank + "\" in \"PATH\" is wrong: it should be an integer.");
}

TEST(PDBLoad, EndsTheRunForABadCoordinate) {
  const auto expect = [](const std::string& line, const std::string& fields) {
    EXPECT_EQ(ReadingMessage(line), "Error occurs: Coordinate \"" + fields +
                                        "\" at the line of \"" + line +
                                        "\" in \"PATH\" is wrong: they should be real numbers.");
  };
  expect(With(kLine, 31, "     NAN"), "NAN 2.000 3.000");
  expect(With(kLine, 39, "   1.2.3"), "1.000 1.2.3 3.000");
  expect(With(kLine, 47, "        "), "1.000 2.000 ");
  expect(With(kLine, 31, "                        "), "  ");
}

TEST(PDBLoad, EndsTheRunForABadOccupancy) {
  for (const char* field : {"      ", "  1.0X"}) {
    const std::string line = With(kLine, 55, field);
    std::string trimmed = field;
    trimmed.erase(0, trimmed.find_first_not_of(' '));
    EXPECT_EQ(ReadingMessage(line), "Error occurs: Occupancy \"" + trimmed +
                                        "\" at the line of \"" + line +
                                        "\" in \"PATH\" is wrong: it should be a real number.");
  }
}

TEST(PDBLoad, EndsTheRunForABadTemperatureFactor) {
  const std::string line = With(kLine, 61, " 1E   ");
  EXPECT_EQ(ReadingMessage(line), "Error occurs: Temperature factor \"1E\" at the line of \"" +
                                      line +
                                      "\" in \"PATH\" is wrong: it should be a real number.");
  const std::string blank = With(kLine, 61, "      ");
  EXPECT_EQ(ReadingMessage(blank), "Error occurs: Temperature factor \"\" at the line of \"" +
                                       blank +
                                       "\" in \"PATH\" is wrong: it should be a real number.");
}

TEST(PDBLoad, PrintsTheFoldedLineInMessages) {
  const std::string line = "atom      x  ca  ala a   1       1.000   2.000   3.000  1.00  0.00\r";
  EXPECT_EQ(
      ReadingMessage(line + "\n"),
      "Error occurs: Atom serial number \"X\" at the line of \"ATOM      X  CA  ALA A   1       "
      "1.000   2.000   3.000  1.00  0.00\r\" in \"PATH\" is wrong: it should be an integer.");
}

TEST(PDBLoad, EndsTheRunAtTheFirstBadFieldOfALine) {
  // Everything is bad; one field after the other is mended.
  std::string line = kLine;
  for (std::size_t i = 6; i < line.size(); ++i) line[i] = '?';
  const std::vector<std::pair<std::size_t, std::string>> mended{
      {7, "    1"},     {23, "   1"},   {31, "   1.000"}, {39, "   1.000"},
      {47, "   1.000"}, {55, "  1.00"}, {61, "  1.00"}};
  const std::vector<std::string> expected{
      "Error occurs: Atom serial ",  "Error occurs: Residue sequ",  "Error occurs: Coordinate \"",
      "Error occurs: Coordinate \"", "Error occurs: Coordinate \"", "Error occurs: Occupancy \"?",
      "Error occurs: Temperature "};
  for (std::size_t i = 0; i < mended.size(); ++i) {
    EXPECT_EQ(ReadingMessage(line).substr(0, 26), expected[i].substr(0, 26));
    line.replace(mended[i].first - 1, mended[i].second.size(), mended[i].second);
  }
  EXPECT_EQ(Read(line).atoms.size(), 1u);
}

TEST(PDBLoad, EndsTheRunForAnUnknownExtension) {
  EXPECT_EQ(MessageOf([] { PDB().Load("model"); }),
            "Error occurs: Unknown molecule file type: \"model\".");
  EXPECT_EQ(MessageOf([] { PDB().Load(""); }), "Error occurs: Unknown molecule file type: \"\".");
  EXPECT_EQ(MessageOf([] { PDB().Load("model.TXT"); }),
            "Error occurs: Unknown molecule file type: \".txt\".");
  EXPECT_EQ(MessageOf([] { PDB().Load("model.pdb.gz"); }),
            "Error occurs: Unknown molecule file type: \".gz\".");
  // The whole path is looked at, folders included.
  EXPECT_EQ(MessageOf([] { PDB().Load("A.B/C"); }),
            "Error occurs: Unknown molecule file type: \".b/c\".");
  EXPECT_EQ(MessageOf([] { PDB().Load("model."); }),
            "Error occurs: Unknown molecule file type: \".\".");
}

TEST(PDBLoad, ChoosesTheReaderByTheExtensionInEitherCase) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.Load(folder.Write("MODEL.PDB", kLine));
  EXPECT_EQ(molecule.description, "Load from PDB file");
  EXPECT_EQ(molecule.atoms[0].ResName, "ALA");
  EXPECT_EQ(molecule.filename, folder / "MODEL.PDB");
  EXPECT_EQ(molecule.numAtoms, 1);
  EXPECT_EQ(molecule.numResidues, 1);
  molecule.Load(folder.Write("b.Xyz", "1\nwords\nC 1 2 3\n"));
  EXPECT_EQ(molecule.description, "words");
  EXPECT_EQ(molecule.atoms[0].ResName, "UNK");
  EXPECT_EQ(molecule.filename, folder / "b.Xyz");
}

TEST(PDBLoad, LeavesTheTopologyAlone) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.tmpAtoms.resize(3);
  molecule.tmpBonds.push_back({0, 1});
  molecule.topology.Build(molecule.tmpAtoms, molecule.tmpBonds, TermList(4), TermList(4));
  molecule.Load(folder.Write("a.pdb", kLine));
  EXPECT_EQ(molecule.tmpAtoms.size(), 3u);
  EXPECT_EQ(molecule.tmpBonds.size(), 1u);
  EXPECT_EQ(molecule.topology.GetAtoms().size(), 3u);
}

TEST(PDBLoad, BringsTheMoleculeToItsNormalFormBeforeItMakesTheTables) {
  // The chain "X" of an atom without chain joins it to the atom that follows.
  const TemporaryFolder folder;
  const std::string path = folder.Write(
      "a.pdb", With(kLine, 22, " ") + "\n" + With(kLine, 22, "X") + "\n" + With(kLine, 22, "A") +
                   "\n" + With(With(kLine, 22, "A"), 13, " OXT") + "\n");
  PDB molecule;
  EXPECT_EQ(
      OutputOf([&] { molecule.Load(path); }),
      "Warning: The 1-th atom has no chain ID, so \"X\" is assigned.\n"
      "Warning: The atom name of the 4-th atom is \"OXT\". It is probably a non-standard atom "
      "in C-terminus and is deleted.\n");
  EXPECT_EQ(molecule.residueChains, (std::vector<std::string>{"X", "A"}));
  EXPECT_EQ(molecule.residueLastAtoms, (std::vector<int>{1, 2}));
  EXPECT_EQ(molecule.numAtoms, 3);
}

std::vector<std::string> ModelsOf(const std::string& text) {
  const TemporaryFolder folder;
  std::vector<std::string> models{"left over"};
  PDB().LoadPDBFileExtractModels(folder.Write("in.pdb", text), models);
  return models;
}

using Models = std::vector<std::string>;

TEST(PDBModels, EndAtTheirClosingLines) {
  EXPECT_EQ(
      ModelsOf("MODEL        1\nATOM a\nTER\nHETATM b\nENDMDL\nMODEL        2\natom c\nendmdl"),
      (Models{"ATOM A\nHETATM B\n", "ATOM C\n"}));
}

TEST(PDBModels, AreMissingFromAPlainFile) {
  EXPECT_EQ(ModelsOf("ATOM a\nTER\nEND\n"), Models{});
  EXPECT_EQ(ModelsOf(""), Models{});
}

TEST(PDBModels, AreOneWithOneClosingLine) {
  EXPECT_EQ(ModelsOf("ATOM a\nENDMDL\n"), Models{"ATOM A\n"});
}

TEST(PDBModels, LoseALastOneThatIsNotClosed) {
  EXPECT_EQ(ModelsOf("ATOM a\nENDMDL\nATOM b\nEND\n"), Models{"ATOM A\n"});
}

TEST(PDBModels, AreNotMadeOfNothing) {
  EXPECT_EQ(ModelsOf("ENDMDL\nENDMDL\nATOM a\nENDMDL\nHEADER\nENDMDL\n"), Models{"ATOM A\n"});
}

TEST(PDBModels, AreClosedByTheFirstSixCharacters) {
  EXPECT_EQ(ModelsOf("ATOM a\nENDMDLS of any kind\nATOM b\n ENDMDL\nENDMD\n"), Models{"ATOM A\n"});
}

TEST(PDBModels, AreNotChecked) {
  // Neither the length nor the fields of a line matter, and a carriage return stays.
  EXPECT_EQ(ModelsOf("ATOMS\r\nHETATMX\r\nENDMDL\r\n"), Models{"ATOMS\r\nHETATMX\r\n"});
}

TEST(PDBModels, LeaveTheMoleculeAlone) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.Load(folder.Write("a.pdb", kLine));
  Models models;
  molecule.LoadPDBFileExtractModels(folder.Write("b.pdb", "ATOM b\nENDMDL\n"), models);
  EXPECT_EQ(molecule.atoms.size(), 1u);
  EXPECT_EQ(molecule.filename, folder / "a.pdb");
}

TEST(PDBModels, EndTheRunWhereTheFileCannotBeOpened) {
  const TemporaryFolder folder;
  EXPECT_EQ(MessageOf([&] {
              Models models;
              PDB().LoadPDBFileExtractModels(folder / "missing", models);
            }),
            "Error occurs: Cannot open file \"" + folder / "missing" + "\".");
}

// Reads an XYZ file as `LoadXYZFile` alone leaves it.
PDB ReadXYZ(const std::string& text) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.LoadXYZFile(folder.Write("in.xyz", text));
  return molecule;
}

// The message that ends the reading of an XYZ file by a molecule whose `filename` is given; the
// file's path is "PATH".
std::string XYZMessage(const std::string& text, const std::string& filename = "") {
  const TemporaryFolder folder;
  const std::string path = folder.Write("in.xyz", text);
  std::string message = MessageOf([&] {
    PDB molecule;
    molecule.filename = filename;
    molecule.Load(path);
  });
  const std::size_t at = message.rfind(path);
  if (at != std::string::npos) message.replace(at, path.size(), "PATH");
  return message;
}

TEST(XYZLoad, ReadsAtomsIntoOneResidue) {
  const PDB molecule = ReadXYZ("2\n a comment \nCl 1.5 -2 3e1\nh\t0.25\t.5\t-1.\n");
  EXPECT_EQ(molecule.description, " a comment ");
  EXPECT_EQ(molecule.numAtoms, 2);
  ASSERT_EQ(molecule.atoms.size(), 2u);
  for (int i = 0; i < 2; ++i) {
    const PDB::Atom& atom = molecule.atoms[i];
    EXPECT_TRUE(atom.IsHetero);
    EXPECT_EQ(atom.SN, i + 1);
    EXPECT_EQ(atom.ResSeq, 1);
    EXPECT_EQ(atom.Occupancy, 1.0);
    EXPECT_EQ(atom.TempFactor, 0.0);
    EXPECT_EQ(atom.AltLoc, "");
    EXPECT_EQ(atom.ResName, "UNK");
    EXPECT_EQ(atom.ChainID, "X");
    EXPECT_EQ(atom.ICode, "");
    EXPECT_EQ(atom.Column77, "");
    EXPECT_EQ(atom.Column79, "");
  }
  // Labels keep their case.
  EXPECT_EQ(molecule.atoms[0].Name, "Cl");
  EXPECT_EQ(molecule.atoms[0].Element, "Cl");
  EXPECT_EQ(molecule.atoms[0].Coord.x, 1.5);
  EXPECT_EQ(molecule.atoms[0].Coord.y, -2.0);
  EXPECT_EQ(molecule.atoms[0].Coord.z, 30.0);
  EXPECT_EQ(molecule.atoms[1].Name, "h");
  EXPECT_EQ(molecule.atoms[1].Element, "h");
  EXPECT_EQ(molecule.atoms[1].Coord.x, 0.25);
  EXPECT_EQ(molecule.atoms[1].Coord.y, 0.5);
  EXPECT_EQ(molecule.atoms[1].Coord.z, -1.0);
}

TEST(XYZLoad, BecomesOneLigand) {
  const TemporaryFolder folder;
  PDB molecule;
  EXPECT_EQ(OutputOf([&] {
              molecule.Load(folder.Write("in.xyz", "3\n\nC 0 0 0\nC 1 0 0\nALA 2 0 0\n"));
            }),
            "");
  EXPECT_EQ(molecule.numResidues, 1);
  EXPECT_EQ(molecule.residueSeqs, std::vector<int>{1});
  EXPECT_EQ(molecule.residueChains, std::vector<std::string>{"X"});
  EXPECT_EQ(molecule.residueNames, std::vector<std::string>{"UNK"});
  EXPECT_EQ(molecule.residueTypes, std::vector<Residue::Type>{Residue::Ligand});
  EXPECT_EQ(molecule.residueLastAtoms, std::vector<int>{2});
  EXPECT_EQ(molecule.description, "");
}

TEST(XYZLoad, MayHaveBlanksAroundTheNumberOfAtoms) {
  EXPECT_EQ(ReadXYZ("  3  \n\nC 0 0 0\nC 1 0 0\nC 2 0 0").numAtoms, 3);
  EXPECT_EQ(ReadXYZ("\t1\t\n\nC 0 0 0").numAtoms, 1);
}

TEST(XYZLoad, IgnoresWhatFollowsTheAtoms) {
  const PDB molecule = ReadXYZ("2\n\nC 1 0 0\nC 2 0 0\nC 3 0 0\nno atom\n\nC 4 0 0\n");
  EXPECT_EQ(molecule.numAtoms, 2);
  ASSERT_EQ(molecule.atoms.size(), 2u);
  EXPECT_EQ(molecule.atoms[1].Coord.x, 2.0);
}

TEST(XYZLoad, ReplacesTheAtomsOfAnEarlierMolecule) {
  const TemporaryFolder folder;
  PDB molecule;
  molecule.LoadXYZFile(folder.Write("a.xyz", "2\n\nC 0 0 0\nC 1 0 0\n"));
  molecule.LoadXYZFile(folder.Write("b.xyz", "1\n\nN 0 0 0\n"));
  ASSERT_EQ(molecule.atoms.size(), 1u);
  EXPECT_EQ(molecule.atoms[0].Name, "N");
}

TEST(XYZLoad, TheReaderAloneMakesNoTables) {
  const PDB molecule = ReadXYZ("2\n\nC 0 0 0\nOXT 1 0 0\n");
  EXPECT_EQ(molecule.atoms.size(), 2u);
  EXPECT_EQ(molecule.filename, "");
  EXPECT_TRUE(molecule.atomNames.empty());
  EXPECT_EQ(molecule.numResidues, 0);
  EXPECT_TRUE(molecule.residueNames.empty());
}

TEST(XYZLoad, LosesAtomsOfNamesThatTheNormalFormDrops) {
  const TemporaryFolder folder;
  PDB molecule;
  EXPECT_EQ(
      OutputOf(
          [&] { molecule.Load(folder.Write("in.xyz", "3\n\nOXT 0 0 0\nC 1 0 0\nH5T 2 0 0\n")); }),
      "Warning: The atom name of the 1-th atom is \"OXT\". It is probably a non-standard atom "
      "in C-terminus and is deleted.\n"
      "Warning: The atom name of the 2-th atom is \"H5T\". It is probably a non-standard atom "
      "in 5'-terminus DNA/RNA and is deleted.\n");
  EXPECT_EQ(molecule.atomNames, std::vector<std::string>{"C"});
  EXPECT_EQ(molecule.numAtoms, 1);
}

TEST(XYZLoad, EndsTheRunForABadFirstLine) {
  // The message has path and line the wrong way round, which is wanted.
  for (const char* line : {"0", "-1", "3 atoms", "", "1.0", "C 0 0 0", "2147483648", "1\r"}) {
    EXPECT_EQ(XYZMessage(std::string(line) + "\ncomment\nC 0 0 0\n"),
              "Error occurs: Incorrect XYZ format at \"PATH\" in \"" + std::string(line) +
                  "\": A positive integer is needed.");
  }
  EXPECT_EQ(
      XYZMessage(""),
      "Error occurs: Incorrect XYZ format at \"PATH\" in \"\": A positive integer is needed.");
}

TEST(XYZLoad, EndsTheRunWithTooFewLines) {
  const auto message = [](const std::string& numbers) {
    return "Error occurs: Incorrect XYZ format in \"PATH\": " + numbers;
  };
  // The comment is no atom line.
  EXPECT_EQ(XYZMessage("3\ncomment\nC 0 0 0\nC 1 0 0\n"),
            message("3 lines are expected but only 2 lines are read."));
  EXPECT_EQ(XYZMessage("1\ncomment\n"), message("1 lines are expected but only 0 lines are read."));
  EXPECT_EQ(XYZMessage("2147483647"),
            message("2147483647 lines are expected but only 0 lines are read."));
}

TEST(XYZLoad, EndsTheRunForALineThatHasNotFourWords) {
  // The name in the message is that of the file read before, or none.
  for (const char* line : {"C 0 0", "C 0 0 0 -0.5", "", " \t"}) {
    const std::string text = "2\n\nC 0 0 0\n" + std::string(line) + "\nC 0 0 0\n";
    EXPECT_EQ(XYZMessage(text), "Error occurs: Incorrect XYZ format in \"\" at \"" +
                                    std::string(line) + "\": 4 words are expected.");
    EXPECT_EQ(XYZMessage(text, "earlier.pdb"),
              "Error occurs: Incorrect XYZ format in \"earlier.pdb\" at \"" + std::string(line) +
                  "\": 4 words are expected.");
  }
}

TEST(XYZLoad, EndsTheRunForABadNumber) {
  for (const char* line : {"C x 0 0", "C 0 1e 0", "C 0 0 nan", "1 C 0 0"}) {
    EXPECT_EQ(XYZMessage("1\n\n" + std::string(line)),
              "Error occurs: Incorrect XYZ format in \"\" at \"" + std::string(line) +
                  "\": 3 real numbers are expected.");
  }
  EXPECT_EQ(
      XYZMessage("1\n\nC 0 0 nan", "earlier.pdb"),
      "Error occurs: Incorrect XYZ format in \"earlier.pdb\" at \"C 0 0 nan\": 3 real numbers "
      "are expected.");
}

TEST(XYZLoad, TakesACarriageReturnBehindAnAtomForWhiteSpace) {
  EXPECT_EQ(ReadXYZ("1\ncomment\r\nC 0 0 7\r\n").atoms[0].Coord.z, 7.0);
  EXPECT_EQ(ReadXYZ("1\ncomment\r\nC 0 0 7\r\n").description, "comment\r");
}

TEST(XYZLoad, EndsTheRunWhereTheFileCannotBeOpened) {
  const TemporaryFolder folder;
  const std::string path = folder / "missing.xyz";
  EXPECT_EQ(MessageOf([&] { PDB().Load(path); }),
            "Error occurs: Cannot open file \"" + path + "\".");
}

PDB::Atom AtomOf(const std::string& name, const std::string& residue, int number = 1,
                 const std::string& chain = "A", double occupancy = 1.0) {
  PDB::Atom atom;
  atom.Name = name;
  atom.ResName = residue;
  atom.ResSeq = number;
  atom.ChainID = chain;
  atom.Occupancy = occupancy;
  return atom;
}

// Brings atoms to the normal form and returns what that printed.
std::string Regularized(std::vector<PDB::Atom>& atoms) {
  PDB molecule;
  molecule.atoms = atoms;
  const std::string printed = OutputOf([&] { molecule.Regularize(); });
  atoms = molecule.atoms;
  return printed;
}

std::vector<std::string> NamesOf(const std::vector<PDB::Atom>& atoms) {
  std::vector<std::string> names;
  for (const PDB::Atom& atom : atoms) names.push_back(atom.ResName + "/" + atom.Name);
  return names;
}

using Names = std::vector<std::string>;

TEST(Regularize, PrintsNothingForAnEmptyMolecule) {
  std::vector<PDB::Atom> atoms;
  EXPECT_EQ(Regularized(atoms), "");
  EXPECT_TRUE(atoms.empty());
}

TEST(Regularize, PrintsNothingForAMoleculeInNormalForm) {
  std::vector<PDB::Atom> atoms{AtomOf("CA", "ALA"), AtomOf("CD1", "LEU"), AtomOf("OP1", "THY")};
  EXPECT_EQ(Regularized(atoms), "");
  EXPECT_EQ(NamesOf(atoms), (Names{"ALA/CA", "LEU/CD1", "THY/OP1"}));
}

TEST(Regularize, GivesAChainToAtomsWithout) {
  std::vector<PDB::Atom> atoms{AtomOf("C", "LIG", 1, "A"), AtomOf("C", "LIG", 1, ""),
                               AtomOf("C", "LIG", 1, " ")};
  EXPECT_EQ(Regularized(atoms), "Warning: The 2-th atom has no chain ID, so \"X\" is assigned.\n");
  EXPECT_EQ(atoms[0].ChainID, "A");
  EXPECT_EQ(atoms[1].ChainID, "X");
  EXPECT_EQ(atoms[2].ChainID, " ");
}

TEST(Regularize, RenamesHistidineAtomByAtom) {
  std::vector<PDB::Atom> atoms{AtomOf("N", "HIS"), AtomOf("CA", "HIS"), AtomOf("N", "HSD", 2)};
  EXPECT_EQ(Regularized(atoms),
            "Warning: The residue name of the 1-th atom is changed from \"HIS\" to \"HSE\".\n"
            "Warning: The residue name of the 2-th atom is changed from \"HIS\" to \"HSE\".\n");
  EXPECT_EQ(NamesOf(atoms), (Names{"HSE/N", "HSE/CA", "HSD/N"}));
}

TEST(Regularize, RenamesTheEndOfIsoleucineOnly) {
  std::vector<PDB::Atom> atoms{AtomOf("CD1", "LEU"), AtomOf("CD1", "ILE", 2),
                               AtomOf("CD", "ILE", 3)};
  EXPECT_EQ(Regularized(atoms),
            "Warning: The atom name of the 2-th atom is changed from \"CD1\" to \"CD\".\n");
  EXPECT_EQ(NamesOf(atoms), (Names{"LEU/CD1", "ILE/CD", "ILE/CD"}));
}

TEST(Regularize, ErasesTheTerminalAtomsOfAnyResidue) {
  std::vector<PDB::Atom> atoms{AtomOf("H5T", "LIG"), AtomOf("C", "LIG"), AtomOf("OXT", "HOH")};
  EXPECT_EQ(
      Regularized(atoms),
      "Warning: The atom name of the 3-th atom is \"OXT\". It is probably a non-standard atom "
      "in C-terminus and is deleted.\n"
      "Warning: The atom name of the 1-th atom is \"H5T\". It is probably a non-standard atom "
      "in 5'-terminus DNA/RNA and is deleted.\n");
  EXPECT_EQ(NamesOf(atoms), Names{"LIG/C"});
}

TEST(Regularize, MayLeaveAnEmptyMolecule) {
  // The later passes have nothing to walk over.
  std::vector<PDB::Atom> atoms{AtomOf("OXT", "DA", 1, "A", 0.5)};
  EXPECT_EQ(
      Regularized(atoms),
      "Warning: The atom name of the 1-th atom is \"OXT\". It is probably a non-standard atom "
      "in C-terminus and is deleted.\n");
  EXPECT_TRUE(atoms.empty());
}

TEST(Regularize, DoesNotLookAtTheAtomBehindAnErasedOne) {
  // Positions are those in the array as it stands: the third OXT is at place 2 by then.
  std::vector<PDB::Atom> atoms{AtomOf("OXT", "A1"), AtomOf("OXT", "A2"), AtomOf("OXT", "A3"),
                               AtomOf("OXT", "A4"), AtomOf("C", "A5")};
  EXPECT_EQ(
      Regularized(atoms),
      "Warning: The atom name of the 1-th atom is \"OXT\". It is probably a non-standard atom "
      "in C-terminus and is deleted.\n"
      "Warning: The atom name of the 2-th atom is \"OXT\". It is probably a non-standard atom "
      "in C-terminus and is deleted.\n");
  EXPECT_EQ(NamesOf(atoms), (Names{"A2/OXT", "A4/OXT", "A5/C"}));
}

TEST(Regularize, RenamesNucleotidesAndThenTheirAtoms) {
  std::vector<PDB::Atom> atoms{
      AtomOf("C7", "DT"),      AtomOf("OP1", "DT"),   AtomOf("OP2", "DT"),    AtomOf("C7", "DA", 2),
      AtomOf("OP1", "DC", 3),  AtomOf("P", "DG", 4),  AtomOf("OP2", "DU", 5), AtomOf("OP1", "A", 6),
      AtomOf("OP1", "ADE", 7), AtomOf("C7", "THY", 8)};
  EXPECT_EQ(Regularized(atoms),
            "Warning: The residue name of the 1-th atom is changed from \"DT\" to \"THY\".\n"
            "Warning: The atom name of the 1-th atom is changed from \"C7\" to \"C5M\".\n"
            "Warning: The residue name of the 2-th atom is changed from \"DT\" to \"THY\".\n"
            "Warning: The atom name of the 2-th atom is changed from \"OP1\" to \"O1P\".\n"
            "Warning: The residue name of the 3-th atom is changed from \"DT\" to \"THY\".\n"
            "Warning: The atom name of the 3-th atom is changed from \"OP2\" to \"O2P\".\n"
            "Warning: The residue name of the 4-th atom is changed from \"DA\" to \"ADE\".\n"
            "Warning: The residue name of the 5-th atom is changed from \"DC\" to \"CYT\".\n"
            "Warning: The atom name of the 5-th atom is changed from \"OP1\" to \"O1P\".\n"
            "Warning: The residue name of the 6-th atom is changed from \"DG\" to \"GUA\".\n"
            "Warning: The residue name of the 7-th atom is changed from \"DU\" to \"URA\".\n"
            "Warning: The atom name of the 7-th atom is changed from \"OP2\" to \"O2P\".\n");
  // What already has its standard residue name keeps its atom names.
  EXPECT_EQ(NamesOf(atoms), (Names{"THY/C5M", "THY/O1P", "THY/O2P", "ADE/C7", "CYT/O1P", "GUA/P",
                                   "URA/O2P", "A/OP1", "ADE/OP1", "THY/C7"}));
}

TEST(Regularize, WarnsOfOccupanciesBelowOne) {
  std::vector<PDB::Atom> atoms{
      AtomOf("CA", "ALA", 7, "A", 1.0),      AtomOf("CB", "ALA", 7, "A", 0.5),
      AtomOf("CG", "ALA", 7, "A", 0.999999), AtomOf("CD", "ALA", 7, "A", 0.9999989),
      AtomOf("CE", "ALA", 7, "A", -0.25),    AtomOf("CF", "ALA", 7, "A", 1.5)};
  EXPECT_EQ(Regularized(atoms),
            "Warning: The atom CB in residue ALA7 at chain A has an occupancy of 0.500.\n"
            "Warning: The atom CD in residue ALA7 at chain A has an occupancy of 1.000.\n"
            "Warning: The atom CE in residue ALA7 at chain A has an occupancy of -0.250.\n");
  EXPECT_EQ(atoms.size(), 6u);
}

TEST(Regularize, PointsOutAlternateConformations) {
  std::vector<PDB::Atom> atoms{AtomOf("CA", "ALA", 7, "A", 0.5), AtomOf("CA", "ALA", 7, "A", 0.5),
                               AtomOf("CB", "ALA", 7, "A", 0.5)};
  atoms[0].SN = 11;
  atoms[1].SN = 12;
  EXPECT_EQ(Regularized(atoms),
            "Warning: The atom CA in residue ALA7 at chain A has an occupancy of 0.500. Probably, "
            "only 1 of atom CA11 and CA12 can be kept!\n"
            "Warning: The atom CA in residue ALA7 at chain A has an occupancy of 0.500.\n"
            "Warning: The atom CB in residue ALA7 at chain A has an occupancy of 0.500.\n");
  EXPECT_EQ(atoms.size(), 3u);
}

TEST(Regularize, ComparesNeighboursByNameAndNumberOnly) {
  // Neither chain nor residue name nor the neighbour's own occupancy matters.
  std::vector<PDB::Atom> atoms{AtomOf("CA", "ALA", 7, "A", 0.5), AtomOf("CA", "GLY", 7, "B", 1.0),
                               AtomOf("CA", "GLY", 8, "B", 0.5), AtomOf("CA", "GLY", 9, "B", 1.0)};
  EXPECT_EQ(Regularized(atoms),
            "Warning: The atom CA in residue ALA7 at chain A has an occupancy of 0.500. Probably, "
            "only 1 of atom CA0 and CA0 can be kept!\n"
            "Warning: The atom CA in residue GLY8 at chain B has an occupancy of 0.500.\n");
}

TEST(Regularize, WarnsPassByPass) {
  std::vector<PDB::Atom> atoms{AtomOf("OP1", "DA", 1, "", 0.5), AtomOf("N", "HIS", 2, "", 1.0)};
  EXPECT_EQ(Regularized(atoms),
            "Warning: The 1-th atom has no chain ID, so \"X\" is assigned.\n"
            "Warning: The 2-th atom has no chain ID, so \"X\" is assigned.\n"
            "Warning: The residue name of the 2-th atom is changed from \"HIS\" to \"HSE\".\n"
            "Warning: The residue name of the 1-th atom is changed from \"DA\" to \"ADE\".\n"
            "Warning: The atom name of the 1-th atom is changed from \"OP1\" to \"O1P\".\n"
            "Warning: The atom O1P in residue ADE1 at chain X has an occupancy of 0.500.\n");
}

TEST(Regularize, LeavesTheTablesToTheAnalysis) {
  PDB molecule;
  molecule.atoms = {AtomOf("OXT", "HIS"), AtomOf("N", "HIS")};
  molecule.Analyze();
  OutputOf([&] { molecule.Regularize(); });
  EXPECT_EQ(molecule.atoms.size(), 1u);
  EXPECT_EQ(molecule.numAtoms, 2);
  EXPECT_EQ(molecule.atomNames, (Names{"OXT", "N"}));
  EXPECT_EQ(molecule.residueNames, Names{"HIS"});
}

TEST(Regularize, IsNotFinishedByOneRun) {
  // An OXT that was spared is erased by the next run, and occupancy warnings come again.
  std::vector<PDB::Atom> atoms{AtomOf("OXT", "ALA"), AtomOf("OXT", "ALA"),
                               AtomOf("C", "ALA", 1, "A", 0.5)};
  const std::string erased =
      "Warning: The atom name of the 1-th atom is \"OXT\". It is probably a non-standard atom in "
      "C-terminus and is deleted.\n";
  const std::string partial =
      "Warning: The atom C in residue ALA1 at chain A has an occupancy of 0.500.\n";
  EXPECT_EQ(Regularized(atoms), erased + partial);
  EXPECT_EQ(Regularized(atoms), erased + partial);
  EXPECT_EQ(Regularized(atoms), partial);
}

// The passes written down plainly: every deletion is an erase in the middle of the vector.
std::string PlainlyRegularized(std::vector<PDB::Atom>& atoms) {
  std::string out;
  const auto number = [](std::size_t i) { return std::to_string(i + 1); };
  const auto changed = [&](const char* what, std::size_t i, const std::string& from,
                           const std::string& to) {
    out += "Warning: The " + std::string(what) + " name of the " + number(i) +
           "-th atom is changed from \"" + from + "\" to \"" + to + "\".\n";
  };
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].ChainID.empty()) {
      atoms[i].ChainID = "X";
      out += "Warning: The " + number(i) + "-th atom has no chain ID, so \"X\" is assigned.\n";
    }
  }
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].ResName == "HIS") {
      atoms[i].ResName = "HSE";
      changed("residue", i, "HIS", "HSE");
    }
  }
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].ResName == "ILE" && atoms[i].Name == "CD1") {
      atoms[i].Name = "CD";
      changed("atom", i, "CD1", "CD");
    }
  }
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].Name == "OXT") {
      out += "Warning: The atom name of the " + number(i) +
             "-th atom is \"OXT\". It is probably a non-standard atom in C-terminus and is "
             "deleted.\n";
      atoms.erase(atoms.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].Name == "H5T") {
      out +=
          "Warning: The atom name of the " + number(i) +
          "-th atom is \"H5T\". It is probably a non-standard atom in 5'-terminus DNA/RNA and is "
          "deleted.\n";
      atoms.erase(atoms.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
  const std::map<std::string, std::string> nucleotides{
      {"DA", "ADE"}, {"DC", "CYT"}, {"DG", "GUA"}, {"DT", "THY"}, {"DU", "URA"}};
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    PDB::Atom& atom = atoms[i];
    const auto found = nucleotides.find(atom.ResName);
    if (found == nucleotides.end()) continue;
    changed("residue", i, found->first, found->second);
    atom.ResName = found->second;
    if (atom.Name == "OP1") {
      changed("atom", i, "OP1", "O1P");
      atom.Name = "O1P";
    }
    if (atom.Name == "OP2") {
      changed("atom", i, "OP2", "O2P");
      atom.Name = "O2P";
    }
    if (atom.Name == "C7" && atom.ResName == "THY") {
      changed("atom", i, "C7", "C5M");
      atom.Name = "C5M";
    }
  }
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    const PDB::Atom& atom = atoms[i];
    if (!(atom.Occupancy < 0.999999)) continue;
    char text[256];
    std::snprintf(text, sizeof text,
                  "Warning: The atom %s in residue %s%d at chain %s has an occupancy of %.3f.",
                  atom.Name.c_str(), atom.ResName.c_str(), atom.ResSeq, atom.ChainID.c_str(),
                  atom.Occupancy);
    out += text;
    if (i + 1 < atoms.size() && atoms[i + 1].Name == atom.Name &&
        atoms[i + 1].ResSeq == atom.ResSeq) {
      out += " Probably, only 1 of atom " + atom.Name + std::to_string(atom.SN) + " and " +
             atoms[i + 1].Name + std::to_string(atoms[i + 1].SN) + " can be kept!";
    }
    out += "\n";
  }
  return out;
}

TEST(Regularize, AgreesWithThePlainPassesOnRandomAtoms) {
  std::mt19937 random(1);
  const Names names{"OXT", "OXT", "H5T", "H5T", "CD1", "OP1", "OP2", "C7", "CA", "OXTA"};
  const Names residues{"HIS", "ILE", "DA", "DC", "DG", "DT", "DU", "THY", "ALA", "LIG"};
  const std::vector<double> occupancies{1.0,      1.0, 0.5,
                                        0.999999, 0.0, std::numeric_limits<double>::quiet_NaN()};
  for (int round = 0; round < 1000; ++round) {
    std::vector<PDB::Atom> atoms(random() % 25);
    for (std::size_t i = 0; i < atoms.size(); ++i) {
      // Few names in some rounds, so that runs of one name are long.
      atoms[i] = AtomOf(names[random() % (round % 2 == 0 ? 3 : names.size())],
                        residues[random() % residues.size()], static_cast<int>(random() % 2),
                        random() % 4 == 0 ? "" : "A", occupancies[random() % occupancies.size()]);
      atoms[i].SN = static_cast<int>(100 + i);
    }
    std::vector<PDB::Atom> expected = atoms;
    const std::string text = PlainlyRegularized(expected);
    ASSERT_EQ(Regularized(atoms), text);
    ASSERT_EQ(atoms.size(), expected.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
      ASSERT_EQ(atoms[i].SN, expected[i].SN);
      ASSERT_EQ(atoms[i].Name, expected[i].Name);
      ASSERT_EQ(atoms[i].ResName, expected[i].ResName);
      ASSERT_EQ(atoms[i].ResSeq, expected[i].ResSeq);
      ASSERT_EQ(atoms[i].ChainID, expected[i].ChainID);
    }
  }
}

}  // namespace
}  // namespace orvane
