// The mode "topol", run as the user runs it, over a library of a few small residues.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "JobTest.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing_support::NamesIn;
using testing_support::OutputOfMode;
using testing_support::RunProgram;
using testing_support::TemporaryFolder;

using List = std::vector<std::string>;

// All angles are right ones, so that new atoms have round coordinates.
constexpr const char* kProteinFile =
    "MASS -1 NT 14.007\n"
    "MASS -1 HT 1.008\n"
    "MASS -1 CT 12.011\n"
    "RESI ALA 0.00\n"
    "ATOM N NT -0.50\n"
    "ATOM HN HT 0.25\n"
    "ATOM CA CT 0.25\n"
    "ATOM C CT 0.50\n"
    "ATOM O OT -0.50\n"
    "BOND N HN N CA CA C C +N\n"
    "DOUBLE O C\n"
    "IMPR N -C CA HN C CA +N O\n"
    "CMAP -C N CA C N CA C +N\n"
    "IC C CA N HN 1.5 90.0 180.0 90.0 1.0\n"
    "RESI GLY 0.00\n"
    "ATOM N NT -0.25\n"
    "ATOM CA CT 0.25\n"
    "BOND N CA\n"
    "RESI PRO 0.00\n"
    "ATOM N NT -0.25\n"
    "ATOM CA CT 0.25\n"
    "BOND N CA\n"
    "RESI HOH 0.00\n"
    "ATOM O OT 0\n"
    "PRES NTER 1.00\n"
    "ATOM N N3 0.50\n"
    "ATOM HT1 HT 0.25\n"
    "ATOM CA CT 0.50\n"
    "DELETE ATOM HN\n"
    "BOND HT1 N\n"
    "IC C CA N HT1 1.5 90.0 180.0 90.0 1.0\n"
    "PRES GLYP 1.00\n"
    "ATOM N N3 0.75\n"
    "BOND N CA\n"
    "PRES CTER -1.00\n"
    "ATOM C CC 0.25\n"
    "ATOM OT1 OC -0.75\n"
    "ATOM OT2 OC -0.75\n"
    "DELETE ATOM O\n"
    "BOND C OT2\n"
    "DOUBLE C OT1\n"
    "IMPR C CA OT2 OT1\n"
    "IC N CA C OT1 1.5 90.0 180.0 90.0 1.25\n"
    "IC N CA *C OT2 1.5 90.0 0.0 90.0 1.25\n"
    "END\n";

constexpr const char* kNucleicFile =
    "RESI ADE 0.00\n"
    "ATOM P PT 1.50\n"
    "ATOM O1P OT -0.75\n"
    "BOND P O1P\n"
    "END\n";

// An installation of the program with a data folder of its own, in which it is run.
class TopolJob : public testing::Test {
 protected:
  TopolJob() {
    fs::create_directories(folder.path() / "bin/data");
    fs::copy_file(RAVELO_PROGRAM, folder.path() / "bin/ravelo");
    folder.Write("bin/data/top_all36_prot.rtf", kProteinFile);
    folder.Write("bin/data/top_all36_na.rtf", kNucleicFile);
    fs::create_directory(folder.path() / "work");
  }

  void Write(const std::string& name, const std::string& text) {
    folder.Write("work/" + name, text);
    inputs_.push_back(name);
  }
  std::string Read(const std::string& name) const { return folder.Read("work/" + name); }

  // Runs the mode, which must end with status 0 and print nothing on standard error. In what it
  // prints, the data folder is called "DATA/".
  std::string Run(const List& options) {
    List words{"topol"};
    words.insert(words.end(), options.begin(), options.end());
    std::string out =
        OutputOfMode(RunProgram(folder.path() / "bin/ravelo", words, folder.path() / "work"));
    const std::string data = fs::canonical(folder.path()).string() + "/bin/data/";
    for (std::size_t at; (at = out.find(data)) != std::string::npos;) {
      out.replace(at, data.size(), "DATA/");
    }
    return out;
  }

  // The files that runs have left.
  List Outputs() const {
    List names = NamesIn(folder.path() / "work");
    std::erase_if(names, [&](const std::string& name) {
      return std::find(inputs_.begin(), inputs_.end(), name) != inputs_.end();
    });
    return names;
  }

  TemporaryFolder folder;

 private:
  List inputs_;
};

// What the mode prints until it has its library.
std::string Begin(const std::string& input, const std::string& additional = "") {
  return "Read: " + input +
         "\nBuilding topology library ...\n"
         " Load topology: DATA/top_all36_prot.rtf\n"
         " Load topology: DATA/top_all36_na.rtf\n" +
         additional + "Building topology library done.\n";
}

constexpr const char* kCompletedAndBuilt =
    "Adding missing hydrogen atoms ...\n"
    "Adding missing hydrogen atoms done.\n"
    "Building topology ...\n"
    "Building topology done.\n";

std::string End(const std::string& prefix, const std::string& charge) {
  return "Write PDB: " + prefix + ".pdb\nWrite PSF: " + prefix + ".psf\nTotal charge: " + charge +
         "\n";
}

constexpr const char* kPeptide =
    "ATOM      1  N   ALA A   1      10.000  10.000  10.000  1.00  0.00\n"
    "ATOM      2  CA  ALA A   1      11.500  10.000  10.000  1.00  0.00\n"
    "ATOM      3  C   ALA A   1      11.500  11.500  10.000  1.00  0.00\n"
    "ATOM      4  O   ALA A   1      12.500  11.500  10.000  1.00  0.50\n"
    "ATOM      5  N   ALA A   2      11.500  13.000  10.000  1.00  0.00\n"
    "ATOM      6  CA  ALA A   2      13.000  13.000  10.000  1.00  0.00\n"
    "ATOM      7  C   ALA A   2      13.000  14.500  10.000  1.00  0.00\n"
    "ATOM      8  O   ALA A   2      14.000  14.500  10.000  1.00  0.25\n"
    "END\n";

TEST_F(TopolJob, CompletesAPeptideBuildsItsTopologyAndPatchesItsEnds) {
  Write("in.pdb", kPeptide);
  EXPECT_EQ(Run({"-i", "in.pdb"}), Begin("in.pdb") + kCompletedAndBuilt +
                                       "Patching N-terminus in residue ALA1 at chain A.\n"
                                       "Patching C-terminus in residue ALA2 at chain A.\n" +
                                       End("in-topol", "0.00000"));
  EXPECT_EQ(Outputs(), (List{"in-topol.pdb", "in-topol.psf"}));
  EXPECT_EQ(Read("in-topol.pdb"),
            "REMARK Generated by ravelo\n"
            "ATOM      1  N   ALA A   1      10.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM      2  HT1 ALA A   1      10.000   9.000  10.000  1.00  0.50         H H  \n"
            "ATOM      3  CA  ALA A   1      11.500  10.000  10.000  1.00  0.00         C    \n"
            "ATOM      4  C   ALA A   1      11.500  11.500  10.000  1.00  0.00         C    \n"
            "ATOM      5  O   ALA A   1      12.500  11.500  10.000  1.00  0.50         O    \n"
            "ATOM      6  N   ALA A   2      11.500  13.000  10.000  1.00  0.00         N    \n"
            "ATOM      7  HN  ALA A   2      11.500  12.000  10.000  1.00  0.25         H H  \n"
            "ATOM      8  CA  ALA A   2      13.000  13.000  10.000  1.00  0.00         C    \n"
            "ATOM      9  C   ALA A   2      13.000  14.500  10.000  1.00  0.00         C    \n"
            "ATOM     10  OT1 ALA A   2      14.250  14.500  10.000  1.00  0.00         O O  \n"
            "ATOM     11  OT2 ALA A   2      11.750  14.500  10.000  1.00  0.00         O O  \n"
            "END\n");
  EXPECT_EQ(
      Read("in-topol.psf"),
      "PSF EXT\n"
      "\n"
      "       1 !NTITLE\n"
      " REMARKS Generated by ravelo\n"
      "\n"
      "      11 !NATOM\n"
      "       1 A        1    ALA  N    N3        0.500000       14.0070           0\n"
      "       2 H        1    ALA  HT1  HT        0.250000        1.0080           0\n"
      "       3 A        1    ALA  CA   CT        0.500000       12.0110           0\n"
      "       4 A        1    ALA  C    CT        0.500000       12.0110           0\n"
      "       5 A        1    ALA  O    OT       -0.500000       -1.0000           0\n"
      "       6 A        2    ALA  N    NT       -0.500000       14.0070           0\n"
      "       7 A        2    ALA  HN   HT        0.250000        1.0080           0\n"
      "       8 A        2    ALA  CA   CT        0.250000       12.0110           0\n"
      "       9 A        2    ALA  C    CC        0.250000       12.0110           0\n"
      "      10 O        2    ALA  OT1  OC       -0.750000       -1.0000           0\n"
      "      11 O        2    ALA  OT2  OC       -0.750000       -1.0000           0\n"
      "\n"
      "      10 !NBOND: bonds\n"
      "       1       3       3       4       4       6       4       5\n"
      "       6       7       6       8       8       9       1       2\n"
      "       9      11       9      10\n"
      "\n"
      "      12 !NTHETA: angles\n"
      "         1         3         4         3         4         6         3         4         5\n"
      "         4         6         7         4         6         8         5         4         6\n"
      "         7         6         8         6         8         9         8         9        11\n"
      "         8         9        10         2         1         3        10         9        11\n"
      "\n"
      "      11 !NPHI: dihedrals\n"
      "         2         1         3         4         1         3         4         6\n"
      "         1         3         4         5         3         4         6         7\n"
      "         5         4         6         7         3         4         6         8\n"
      "         5         4         6         8         4         6         8         9\n"
      "         7         6         8         9         6         8         9        11\n"
      "         6         8         9        10\n"
      "\n"
      "       3 !NIMPHI: impropers\n"
      "         4         3         6         5         6         4         8         7\n"
      "         9         8        11        10\n"
      "\n"
      "       2 !NCRTERM: cross-terms\n"
      "         1         3         4         6         4         6         8         9\n"
      "\n");
}

TEST_F(TopolJob, WithoutTerminalPatchesTheChainKeepsTheAtomsOfItsTemplates) {
  Write("in.pdb", kPeptide);
  EXPECT_EQ(Run({"-i", "in.pdb", "-o", "plain", "--no-patching-terminus"}),
            Begin("in.pdb") + kCompletedAndBuilt + End("plain", "0.00000"));
  EXPECT_EQ(Outputs(), (List{"plain.pdb", "plain.psf"}));
  EXPECT_EQ(Read("plain.pdb"),
            "REMARK Generated by ravelo\n"
            "ATOM      1  N   ALA A   1      10.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM      2  HN  ALA A   1      10.000   9.000  10.000  1.00  0.50         H H  \n"
            "ATOM      3  CA  ALA A   1      11.500  10.000  10.000  1.00  0.00         C    \n"
            "ATOM      4  C   ALA A   1      11.500  11.500  10.000  1.00  0.00         C    \n"
            "ATOM      5  O   ALA A   1      12.500  11.500  10.000  1.00  0.50         O    \n"
            "ATOM      6  N   ALA A   2      11.500  13.000  10.000  1.00  0.00         N    \n"
            "ATOM      7  HN  ALA A   2      11.500  12.000  10.000  1.00  0.25         H H  \n"
            "ATOM      8  CA  ALA A   2      13.000  13.000  10.000  1.00  0.00         C    \n"
            "ATOM      9  C   ALA A   2      13.000  14.500  10.000  1.00  0.00         C    \n"
            "ATOM     10  O   ALA A   2      14.000  14.500  10.000  1.00  0.25         O    \n"
            "END\n");
  // The terms of the first residue with "-C" are absent.
  EXPECT_EQ(
      Read("plain.psf"),
      "PSF EXT\n"
      "\n"
      "       1 !NTITLE\n"
      " REMARKS Generated by ravelo\n"
      "\n"
      "      10 !NATOM\n"
      "       1 A        1    ALA  N    NT       -0.500000       14.0070           0\n"
      "       2 A        1    ALA  HN   HT        0.250000        1.0080           0\n"
      "       3 A        1    ALA  CA   CT        0.250000       12.0110           0\n"
      "       4 A        1    ALA  C    CT        0.500000       12.0110           0\n"
      "       5 A        1    ALA  O    OT       -0.500000       -1.0000           0\n"
      "       6 A        2    ALA  N    NT       -0.500000       14.0070           0\n"
      "       7 A        2    ALA  HN   HT        0.250000        1.0080           0\n"
      "       8 A        2    ALA  CA   CT        0.250000       12.0110           0\n"
      "       9 A        2    ALA  C    CT        0.500000       12.0110           0\n"
      "      10 A        2    ALA  O    OT       -0.500000       -1.0000           0\n"
      "\n"
      "       9 !NBOND: bonds\n"
      "       1       2       1       3       3       4       4       6\n"
      "       4       5       6       7       6       8       8       9\n"
      "       9      10\n"
      "\n"
      "      10 !NTHETA: angles\n"
      "         2         1         3         1         3         4         3         4         6\n"
      "         3         4         5         4         6         7         4         6         8\n"
      "         5         4         6         7         6         8         6         8         9\n"
      "         8         9        10\n"
      "\n"
      "      10 !NPHI: dihedrals\n"
      "         2         1         3         4         1         3         4         6\n"
      "         1         3         4         5         3         4         6         7\n"
      "         5         4         6         7         3         4         6         8\n"
      "         5         4         6         8         4         6         8         9\n"
      "         7         6         8         9         6         8         9        10\n"
      "\n"
      "       2 !NIMPHI: impropers\n"
      "         4         3         6         5         6         4         8         7\n"
      "\n"
      "       2 !NCRTERM: cross-terms\n"
      "         1         3         4         6         4         6         8         9\n"
      "\n");
}

// An atom line as it is read.
std::string AtomLine(const std::string& name, const std::string& residue, const std::string& chain,
                     int number, double x = 1.0) {
  return testing_support::PdbLine("ATOM", 1, name, residue, chain, number, x, 0.0, 0.0);
}

TEST_F(TopolJob, FilesOfTheUserReplaceStandardResiduesAndPatchesTheLaterTheEarlier) {
  Write("in.pdb", AtomLine("N", "GLY", "A", 1) + AtomLine("CA", "GLY", "A", 1) +
                      AtomLine("N", "PRO", "A", 2) + AtomLine("CA", "PRO", "A", 2));
  Write("a.rtf", "RESI PRO 0\nATOM N NT 1\nATOM CA CT 1\nPRES CTER 0\nATOM N XX 8\nEND\n");
  Write("b.rtf", "PRES CTER 0\nATOM CA CC 2.5\nEND\n");
  EXPECT_EQ(
      Run({"-i", "in.pdb", "--add-rtfs", "a.rtf b.rtf"}),
      Begin("in.pdb", " Load additional topology: a.rtf\n Load additional topology: b.rtf\n") +
          kCompletedAndBuilt +
          "Patching N-terminus in residue GLY1 at chain A.\n"
          "Patching C-terminus in residue PRO2 at chain A.\n" +
          End("in-topol", "4.50000"));
  EXPECT_EQ(
      Read("in-topol.psf"),
      "PSF EXT\n\n       1 !NTITLE\n REMARKS Generated by ravelo\n\n       4 !NATOM\n"
      "       1 A        1    GLY  N    N3        0.750000       14.0070           0\n"
      "       2 A        1    GLY  CA   CT        0.250000       12.0110           0\n"
      "       3 A        2    PRO  N    NT        1.000000       14.0070           0\n"
      // The type is the patch's, the mass still that of the residue's own type.
      "       4 A        2    PRO  CA   CC        2.500000       12.0110           0\n"
      "\n       2 !NBOND: bonds\n"
      // The bond stands twice, since the template and the patch have it.
      "       1       2       1       2\n"
      "\n       0 !NTHETA: angles\n\n       0 !NPHI: dihedrals\n\n       0 !NIMPHI: impropers\n"
      "\n       0 !NCRTERM: cross-terms\n\n");
}

TEST_F(TopolJob, AFileOfTheUserThatIsNotThereEndsTheRun) {
  Write("in.pdb", "END\n");
  EXPECT_EQ(Run({"-i", "in.pdb", "--add-rtfs", "no.rtf"}),
            "Read: in.pdb\nBuilding topology library ...\n"
            " Load topology: DATA/top_all36_prot.rtf\n"
            " Load topology: DATA/top_all36_na.rtf\n"
            " Load additional topology: no.rtf\n"
            "Error occurs: Cannot open file \"no.rtf\".");
  EXPECT_EQ(Outputs(), List{});
}

TEST_F(TopolJob, AGlycineAtTheHeadOfAChainGetsItsOwnPatch) {
  Write("in.pdb", AtomLine("N", "GLY", "A", 1) + AtomLine("CA", "GLY", "A", 1) +
                      AtomLine("N", "GLY", "A", 2) + AtomLine("CA", "GLY", "A", 2));
  Write("c.rtf", "PRES CTER 0\nEND\nEND\n");
  EXPECT_EQ(Run({"-i", "in.pdb", "--add-rtfs", "c.rtf"}),
            Begin("in.pdb", " Load additional topology: c.rtf\n") + kCompletedAndBuilt +
                "Patching N-terminus in residue GLY1 at chain A.\n"
                "Patching C-terminus in residue GLY2 at chain A.\n" +
                End("in-topol", "1.00000"));
}

TEST_F(TopolJob, AProlineAtTheHeadOfAChainGetsThePatchOfAllOthers) {
  Write("in.pdb", AtomLine("N", "PRO", "A", 1) + AtomLine("CA", "PRO", "A", 1) +
                      AtomLine("N", "PRO", "A", 2) + AtomLine("CA", "PRO", "A", 2));
  // It deletes a hydrogen that a proline does not have.
  EXPECT_EQ(Run({"-i", "in.pdb"}),
            Begin("in.pdb") + kCompletedAndBuilt +
                "Patching N-terminus in residue PRO1 at chain A.\n"
                "Error occurs: Atom \"HN\" is missing in residue PRO1 at chain A and cannot be "
                "deleted.");
  EXPECT_EQ(Outputs(), List{});
}

TEST_F(TopolJob, NucleicAcidsHaveNoTerminalPatches) {
  Write("in.pdb", AtomLine("P", "DA", "A", 1, 0.0) + AtomLine("OP1", "DA", "A", 1, 1.5) +
                      AtomLine("P", "ADE", "A", 2, 3.0) + AtomLine("O1P", "ADE", "A", 2, 4.5));
  EXPECT_EQ(Run({"-i", "in.pdb", "-o", "dna"}),
            "Read: in.pdb\n"
            "Warning: The residue name of the 1-th atom is changed from \"DA\" to \"ADE\".\n"
            "Warning: The residue name of the 2-th atom is changed from \"DA\" to \"ADE\".\n"
            "Warning: The atom name of the 2-th atom is changed from \"OP1\" to \"O1P\".\n" +
                Begin("").substr(7) + kCompletedAndBuilt + End("dna", "1.50000"));
  EXPECT_EQ(Read("dna.pdb"),
            "REMARK Generated by ravelo\n"
            "ATOM      1  P   ADE A   1       0.000   0.000   0.000  1.00  0.00         P    \n"
            "ATOM      2  O1P ADE A   1       1.500   0.000   0.000  1.00  0.00         O    \n"
            "ATOM      3  P   ADE A   2       3.000   0.000   0.000  1.00  0.00         P    \n"
            "ATOM      4  O1P ADE A   2       4.500   0.000   0.000  1.00  0.00         O    \n"
            "END\n");
}

TEST_F(TopolJob, TwoChainsInARowArePatchedAsOne) {
  std::string chain_b = kPeptide;
  for (std::size_t at; (at = chain_b.find("ALA A")) != std::string::npos;) chain_b[at + 4] = 'B';
  Write("in.pdb", kPeptide + chain_b);
  EXPECT_EQ(Run({"-i", "in.pdb"}), Begin("in.pdb") + kCompletedAndBuilt +
                                       "Patching N-terminus in residue ALA1 at chain A.\n"
                                       "Patching C-terminus in residue ALA2 at chain B.\n" +
                                       End("in-topol", "0.00000"));
}

TEST_F(TopolJob, EveryRunOfAminoAcidsIsPatchedFirstItsHeadAndThenItsEnd) {
  const std::string glycines = AtomLine("N", "GLY", "A", 1) + AtomLine("CA", "GLY", "A", 1) +
                               AtomLine("N", "GLY", "A", 2) + AtomLine("CA", "GLY", "A", 2);
  const std::string water = AtomLine("O", "HOH", "W", 3);
  Write("in.pdb", glycines + water + AtomLine("N", "GLY", "B", 4) + AtomLine("CA", "GLY", "B", 4) +
                      water + water);
  Write("c.rtf", "PRES CTER 0\n\nEND\n");
  EXPECT_EQ(Run({"-i", "in.pdb", "--add-rtfs", "c.rtf"}),
            Begin("in.pdb", " Load additional topology: c.rtf\n") + kCompletedAndBuilt +
                "Patching N-terminus in residue GLY1 at chain A.\n"
                "Patching C-terminus in residue GLY2 at chain A.\n"
                "Patching N-terminus in residue GLY4 at chain B.\n"
                "Patching C-terminus in residue GLY4 at chain B.\n" +
                End("in-topol", "2.00000"));
}

TEST_F(TopolJob, AnEndTooManyBehindTheLastRunIsLeftAlone) {
  // The water as very last residue counts as an end, too, but there is no head for it.
  Write("in.pdb", AtomLine("N", "GLY", "A", 1) + AtomLine("CA", "GLY", "A", 1) +
                      AtomLine("O", "HOH", "W", 3));
  Write("c.rtf", "PRES CTER 0\n\nEND\n");
  EXPECT_EQ(Run({"-i", "in.pdb", "--add-rtfs", "c.rtf"}),
            Begin("in.pdb", " Load additional topology: c.rtf\n") + kCompletedAndBuilt +
                "Patching N-terminus in residue GLY1 at chain A.\n"
                "Patching C-terminus in residue GLY1 at chain A.\n" +
                End("in-topol", "1.00000"));
}

TEST_F(TopolJob, ARunOfTheVeryLastResidueAloneHasNoEndToPatch) {
  Write("in.pdb", AtomLine("O", "HOH", "W", 3) + AtomLine("N", "GLY", "A", 1) +
                      AtomLine("CA", "GLY", "A", 1));
  EXPECT_EQ(Run({"-i", "in.pdb"}), Begin("in.pdb") + kCompletedAndBuilt +
                                       "Patching N-terminus in residue GLY1 at chain A.\n" +
                                       End("in-topol", "1.00000"));
  EXPECT_EQ(Outputs(), (List{"in-topol.pdb", "in-topol.psf"}));
}

TEST_F(TopolJob, AnEmptyMoleculeGivesEmptyFiles) {
  Write("in.pdb", "REMARK nothing\n");
  EXPECT_EQ(Run({"-i", "in.pdb"}),
            Begin("in.pdb") + kCompletedAndBuilt + End("in-topol", "0.00000"));
  EXPECT_EQ(Read("in-topol.pdb"), "REMARK Generated by ravelo\nEND\n");
}

TEST_F(TopolJob, WarningsOfThePlacementStandWhereTheyArise) {
  Write("in.pdb", AtomLine("N", "GLY", "A", 1) + AtomLine("CA", "GLY", "A", 1) +
                      AtomLine("N", "GLY", "A", 2));
  Write("x.rtf",
        "RESI GLY 0\nATOM N NT 0\nATOM CA CT 0\nIC HA C2 CA H 1 1 1 1 1\n"
        "IC -CA Q N CA 1 1 1 1 1\nPRES GLYP 0\nATOM H HT 0\nIC -CA CA N H 1 90 0 90 1\n"
        "PRES CTER 0\nATOM X CT 0\nIC Q Q Q X 0 0 0 0 0\nEND\n");
  EXPECT_EQ(Run({"-i", "in.pdb", "--add-rtfs", "x.rtf"}),
            Begin("in.pdb", " Load additional topology: x.rtf\n") +
                "Adding missing hydrogen atoms ...\n"
                "Warning: The position of atom CA in residue GLY2 at chain A cannot be well "
                "predicted.\n"
                "Adding missing hydrogen atoms done.\n"
                "Building topology ...\n"
                "Building topology done.\n"
                "Patching N-terminus in residue GLY1 at chain A.\n"
                "Warning: The position of atom H in residue GLY1 at chain A cannot be well "
                "predicted.\n"
                "Patching C-terminus in residue GLY2 at chain A.\n"
                "Warning: The position of atom X in residue GLY2 at chain A cannot be well "
                "predicted.\n" +
                End("in-topol", "0.00000"));
}

TEST_F(TopolJob, WithoutAnInputFileTheRunEnds) {
  EXPECT_EQ(Run({}), "Error occurs: An input file must be given with \"-i\".");
  EXPECT_EQ(Run({"-o", "x"}), "Error occurs: An input file must be given with \"-i\".");
  EXPECT_EQ(Outputs(), List{});
}

TEST_F(TopolJob, AnInputFileThatIsNotThereEndsTheRun) {
  EXPECT_EQ(Run({"-i", "no.pdb"}), "Read: no.pdb\nError occurs: Cannot open file \"no.pdb\".");
}

TEST_F(TopolJob, WithoutItsDataFolderTheProgramEnds) {
  Write("in.pdb", "END\n");
  fs::remove_all(folder.path() / "bin/data");
  EXPECT_EQ(Run({"-i", "in.pdb"}),
            "Read: in.pdb\nBuilding topology library ...\n"
            " Load topology: DATA/top_all36_prot.rtf\n"
            "Error occurs: Cannot open file \"DATA/top_all36_prot.rtf\".");
}

TEST_F(TopolJob, AnUnknownResidueIsWarnedOfAndThenEndsTheRun) {
  Write("in.pdb", AtomLine("O", "HOH", "A", 1) + AtomLine("X", "QQQ", "B", 2));
  EXPECT_EQ(Run({"-i", "in.pdb"}),
            Begin("in.pdb") +
                "Adding missing hydrogen atoms ...\n"
                "Warning: Residue \"QQQ\" is not found in topology library. QQQ2 at chain B is "
                "untouched.\n"
                "Adding missing hydrogen atoms done.\n"
                "Building topology ...\n"
                "Error occurs: Residue \"QQQ\" is not found in topology library. QQQ2 at chain B "
                "cannot be treated.\n");
  EXPECT_EQ(Outputs(), List{});
}

TEST_F(TopolJob, AnUnknownAtomEndsTheRun) {
  Write("in.pdb", AtomLine("O", "HOH", "A", 1) + AtomLine("H1", "HOH", "A", 1));
  EXPECT_EQ(Run({"-i", "in.pdb"}),
            Begin("in.pdb") +
                "Adding missing hydrogen atoms ...\n"
                "Adding missing hydrogen atoms done.\n"
                "Building topology ...\n"
                "Error occurs: Atom \"H1\" is not found in topology library for residue HOH. The "
                "topology of HOH1 at chain A cannot be built.\n");
  EXPECT_EQ(Outputs(), List{});
}

TEST_F(TopolJob, AProteinInFrontOfAResidueWithoutItsAtomNEndsTheRun) {
  Write("in.pdb", kPeptide + AtomLine("O", "HOH", "W", 3));
  EXPECT_EQ(Run({"-i", "in.pdb"}),
            Begin("in.pdb") +
                "Adding missing hydrogen atoms ...\n"
                "Adding missing hydrogen atoms done.\n"
                "Building topology ...\n"
                "Error occurs: Cannot find atom \"N\" in residue HOH3 at chain W.");
  EXPECT_EQ(Outputs(), List{});
}

TEST_F(TopolJob, APatchThatTheLibraryLacksEndsTheRun) {
  folder.Write("bin/data/top_all36_prot.rtf",
               "RESI GLY 0\nATOM N NT 0\nRESI ALA 0\nATOM N NT 0\nPRES NTER 0\nEND\n");
  Write("g.pdb", AtomLine("N", "GLY", "A", 1) + AtomLine("N", "ALA", "A", 2));
  Write("a.pdb", AtomLine("N", "ALA", "A", 1) + AtomLine("N", "ALA", "A", 2));
  EXPECT_EQ(Run({"-i", "g.pdb"}),
            Begin("g.pdb") + kCompletedAndBuilt +
                "Patching N-terminus in residue GLY1 at chain A.\n"
                "Error occurs: The patch \"GLYP\" is not found in topology library.");
  EXPECT_EQ(Run({"-i", "a.pdb"}),
            Begin("a.pdb") + kCompletedAndBuilt +
                "Patching N-terminus in residue ALA1 at chain A.\n"
                "Patching C-terminus in residue ALA2 at chain A.\n"
                "Error occurs: The patch \"CTER\" is not found in topology library.");
  folder.Write("bin/data/top_all36_prot.rtf", "RESI ALA 0\nATOM N NT 0\nEND\n");
  EXPECT_EQ(Run({"-i", "a.pdb"}),
            Begin("a.pdb") + kCompletedAndBuilt +
                "Patching N-terminus in residue ALA1 at chain A.\n"
                "Error occurs: The patch \"NTER\" is not found in topology library.");
  // Where nothing is to be patched, nothing is missed.
  EXPECT_EQ(Run({"-i", "a.pdb", "--no-patching-terminus", "-o", "x"}),
            Begin("a.pdb") + kCompletedAndBuilt + End("x", "0.00000"));
  EXPECT_EQ(Outputs(), (List{"x.pdb", "x.psf"}));
}

TEST_F(TopolJob, AnOutputThatCannotBeWrittenEndsTheRun) {
  Write("in.pdb", "END\n");
  EXPECT_EQ(Run({"-i", "in.pdb", "-o", "no/x"}),
            Begin("in.pdb") + kCompletedAndBuilt +
                "Write PDB: no/x.pdb\n"
                "Error occurs: Cannot save the molecule to a PDB file \"no/x.pdb\".");
  fs::create_directory(folder.path() / "work/y.psf");
  EXPECT_EQ(Run({"-i", "in.pdb", "-o", "y"}),
            Begin("in.pdb") + kCompletedAndBuilt +
                "Write PDB: y.pdb\nWrite PSF: y.psf\n"
                "Error occurs: Cannot write topology to a PSF file y.psf.\n");
}

}  // namespace
}  // namespace orvane
