// The mode "modify", run as the user runs it, over a library of a few small residues and over
// random ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "JobTest.h"
#include "PDB.h"
#include "PlainPatching.h"
#include "TestSupport.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing_support::InstallationTest;
using testing_support::LibraryOf;
using testing_support::OutputOf;
using testing_support::PdbLine;
using testing_support::PlainFailure;
using testing_support::PlainPatching;
using testing_support::RandomChemistry;
using testing_support::ReadWhole;
using testing_support::RunInChild;
using testing_support::RunResult;
using testing_support::WithoutPlace;

using List = std::vector<std::string>;

// All angles are right ones, so that new atoms have round coordinates.
constexpr const char* kLibrary =
    "MASS -1 NT 14.007\n"
    "MASS -1 HT 1.008\n"
    "MASS -1 CT 12.011\n"
    "MASS -1 NX 99.0\n"
    "RESI ALA 0.00\n"
    "ATOM N NT -0.25\n"
    "ATOM HN HT 0.25\n"
    "ATOM CA CT 0.00\n"
    "ATOM CB CT 0.00\n"
    "BOND N HN N CA CA CB CA +N\n"
    "IMPR N -CA CA HN\n"
    "CMAP -CA N CA CB N CA CB HN\n"
    "IC CB CA N HN 1.5 90.0 180.0 90.0 1.0\n"
    "IC -CA N CA CB 4.0 90.0 180.0 90.0 1.5\n"
    "RESI LYS 1.00\n"
    "ATOM N NT -0.25\n"
    "ATOM HN HT 0.25\n"
    "ATOM CA CT 0.00\n"
    "ATOM NZ NT 0.50\n"
    "ATOM HZ1 HT 0.25\n"
    "ATOM HZ2 HT 0.25\n"
    "BOND N HN N CA CA NZ NZ HZ1 NZ HZ2 CA +N\n"
    "IC NZ CA N HN 1.5 90.0 180.0 90.0 1.0\n"
    "IC N CA NZ HZ1 1.5 90.0 180.0 90.0 1.0\n"
    "IC N CA NZ HZ2 1.5 90.0 0.0 90.0 1.0\n"
    "RESI ARG 1.00\n"
    "ATOM N NT -0.25\n"
    "ATOM HN HT 0.25\n"
    "ATOM CA CC 0.00\n"
    "ATOM NH NT 1.00\n"
    "BOND N HN N CA CA NH CA +N\n"
    "IC NH CA N HN 1.5 90.0 180.0 90.0 1.0\n"
    "IC -CA N CA NH 4.0 90.0 180.0 90.0 1.5\n"
    "RESI PRO 0.00\n"
    "ATOM N NT 0.00\n"
    "ATOM CA CT 0.00\n"
    "ATOM CD CT 0.00\n"
    "BOND N CA CA CD N CD CA +N\n"
    "IC -CA CA N CD 1.5 90.0 180.0 90.0 1.5\n"
    "PRES MML 1.00\n"
    "ATOM NZ NX 0.50\n"
    "ATOM CM CT 0.25\n"
    "DELETE ATOM HZ2\n"
    "BOND NZ CM\n"
    "IC N CA NZ CM 1.5 90.0 0.0 90.0 1.5\n"
    "PRES DML 1.00\n"
    "ATOM NZ NT 1.00\n"
    "DELETE ATOM HZ1\n"
    "DELETE ATOM HZ2\n"
    "PRES TML 1.00\n"
    "ATOM NZ NT 2.00\n"
    "PRES MMA 1.00\n"
    "ATOM NH NT 3.00\n"
    "PRES ADMA 1.00\n"
    "ATOM NH NT 4.00\n"
    "PRES SDMA 1.00\n"
    "ATOM NH NT 5.00\n"
    "PRES LYSDEL 0.00\n"
    "DELETE ATOM NZ\n"
    "DELETE ATOM HZ1\n"
    "DELETE ATOM HZ2\n"
    "PRES ARGDEL 0.00\n"
    "DELETE ATOM NH\n"
    "PRES HNDEL 0.00\n"
    "DELETE ATOM HN\n"
    "PRES ANY 0.00\n"
    "ATOM CA CX 0.75\n"
    "END\n";

// An alanine, a lysine and an arginine, to be completed.
std::string Peptide() {
  const char* const residues[] = {"ALA", "LYS", "ARG"};
  const char* const tips[] = {"CB", "NZ", "NH"};
  std::string text;
  for (int r = 0; r < 3; ++r) {
    const double x = 10.0 + 4.0 * r;
    text += PdbLine("ATOM", 1, "N", residues[r], "A", 11 + r, x, 10.0, 10.0);
    text += PdbLine("ATOM", 2, "CA", residues[r], "A", 11 + r, x, 12.0, 10.0);
    text += PdbLine("ATOM", 3, tips[r], residues[r], "A", 11 + r, x + 2.0, 12.0, 10.0);
  }
  return text + "END\n";
}

// What the mode prints behind its library; everything if it did not come so far.
std::string AfterLibrary(const std::string& out) {
  static const std::string end = "Building topology library done.\n";
  const std::size_t place = out.find(end);
  return place == std::string::npos ? out : out.substr(place + end.size());
}

class ModifyJob : public InstallationTest {
 protected:
  ModifyJob() {
    WriteLibrary(kLibrary);
    WriteData("top_all36_na.rtf", "* nothing\n");
  }

  void WriteLibrary(const std::string& text) const { WriteData("top_all36_prot.rtf", text); }

  // Makes m.pdb and m.psf of the peptide.
  void MakePeptide() {
    Write("in.pdb", Peptide());
    EXPECT_THAT(Run({"topol", "-i", "in.pdb", "-o", "m", "--no-patching-terminus"}),
                Not(HasSubstr("Error")));
  }

  // Modifies m.pdb and m.psf into out.pdb and out.psf, and gives what is printed behind the
  // library.
  std::string Modify(const List& options) {
    List words{"modify", "-i", "m.pdb", "-t", "m.psf", "-o", "out"};
    words.insert(words.end(), options.begin(), options.end());
    return AfterLibrary(Run(words));
  }
};

// What is printed at the end of a run that went through.
std::string Written(const std::string& charge) {
  return "Write PDB: out.pdb\nWrite PSF: out.psf\nTotal charge: " + charge + "\n";
}

constexpr const char* kReport =
    "Read: m.pdb\n"
    "Current molecule:\n"
    "Molecule:                 m.pdb\n"
    "Number of atoms:          14\n"
    "Number of residues:       3\n"
    " Number of amino acids:   3\n"
    " Number of nucleic acids: 0\n"
    " Number of waters:        0\n"
    " Number of ions:          0\n"
    " Number of ligands:       0\n";

TEST_F(ModifyJob, WithoutEditsWritesWhatItReads) {
  MakePeptide();
  Write("more.rtf", "RESI LIG 0\nATOM X CT 0\nEND\n");
  EXPECT_EQ(Run({"modify", "-i", "m.pdb", "-t", "m.psf", "--add-rtfs", "more.rtf"}),
            std::string(kReport) +
                "Read topology: m.psf\n"
                "Building topology library ...\n"
                " Load topology: DATA/top_all36_prot.rtf\n"
                " Load topology: DATA/top_all36_na.rtf\n"
                " Load additional topology: more.rtf\n"
                "Building topology library done.\n"
                "Write PDB: m-modify.pdb\n"
                "Write PSF: m-modify.psf\n"
                "Total charge: 2.00000\n");
  EXPECT_EQ(Read("m-modify.pdb"), Read("m.pdb"));
  EXPECT_EQ(Read("m-modify.psf"), Read("m.psf"));
}

TEST_F(ModifyJob, NeedsAnInputFileBeforeAllAndATopologyAfterTheReport) {
  EXPECT_EQ(Run({"modify", "-t", "m.psf"}),
            "Error occurs: An input file must be given with \"-i\".");
  MakePeptide();
  EXPECT_EQ(Run({"modify", "-i", "m.pdb"}),
            std::string(kReport) + "Error occurs: A topology file must be given with \"-t\".");
  EXPECT_EQ(Run({"modify", "-i", "m.pdb", "-t", "no.psf"}),
            std::string(kReport) +
                "Read topology: no.psf\n"
                "Error occurs: Cannot open PSF file \"no.psf\".");
  EXPECT_FALSE(Exists("m-modify.pdb"));
}

TEST_F(ModifyJob, APatchKeepsPDBAndPSFInStep) {
  MakePeptide();
  EXPECT_EQ(
      Modify({"--mml", "12A"}),
      "Apply Mono-Methyl-Lysine (MML) on residue LYS12 at chain A with patch MML ... done.\n" +
          Written("2.00000"));
  EXPECT_EQ(Read("out.pdb"),
            "REMARK Generated by ravelo\n"
            "ATOM      1  N   ALA A  11      10.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM      2  HN  ALA A  11       9.000  10.000  10.000  1.00  0.00         H H  \n"
            "ATOM      3  CA  ALA A  11      10.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM      4  CB  ALA A  11      12.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM      5  N   LYS A  12      14.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM      6  HN  LYS A  12      13.000  10.000  10.000  1.00  0.00         H H  \n"
            "ATOM      7  CA  LYS A  12      14.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM      8  NZ  LYS A  12      16.000  12.000  10.000  1.00  0.00         N    \n"
            "ATOM      9  CM  LYS A  12      16.000  10.500  10.000  1.00  0.00         C C  \n"
            "ATOM     10  HZ1 LYS A  12      16.000  13.000  10.000  1.00  0.00         H H  \n"
            "ATOM     11  N   ARG A  13      18.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM     12  HN  ARG A  13      17.000  10.000  10.000  1.00  0.00         H H  \n"
            "ATOM     13  CA  ARG A  13      18.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM     14  NH  ARG A  13      20.000  12.000  10.000  1.00  0.00         N    \n"
            "END\n");
  const std::string psf = Read("out.psf");
  EXPECT_THAT(
      psf, HasSubstr(
               // The type is the patch's, the mass still that of the residue's own type.
               "       8 A       12    LYS  NZ   NX        0.500000       14.0070           0\n"
               // An added atom has its first letter as segment.
               "       9 C       12    LYS  CM   CT        0.250000       12.0110           0\n"
               "      10 A       12    LYS  HZ1  HT        0.250000        1.0080           0\n"));
  EXPECT_THAT(psf, HasSubstr("      13 !NBOND: bonds\n"
                             "       1       2       1       3       3       4       3       5\n"
                             "       5       6       5       7       7       8       8      10\n"
                             "       7      11      11      12      11      13      13      14\n"
                             "       8       9\n"));
}

TEST_F(ModifyJob, AppliesTheModificationsInTheirOwnOrder) {
  MakePeptide();
  EXPECT_EQ(
      Modify({"--mutate", "11A ARG", "--my-mod", "ANY 11a", "--sdma", "13A", "--adma", "13A",
              "--mma", "13A", "--tml", "12A", "--dml", "12A", "--add-bonds", "1 4"}),
      "Add bond: 1 4\n"
      "Apply Di-Methyl-Lysine (DML) on residue LYS12 at chain A with patch DML ... done.\n"
      "Apply Tri-Methyl-Lysine (TML) on residue LYS12 at chain A with patch TML ... done.\n"
      "Apply Mono-Methyl-Arginine (MMA) on residue ARG13 at chain A with patch MMA ... done.\n"
      "Apply Asymmetric Di-Methyl-Arginine (ADMA) on residue ARG13 at chain A with patch ADMA ... "
      "done.\n"
      "Apply Symmetric Di-Methyl-Arginine (SDMA) on residue ARG13 at chain A with patch SDMA ... "
      "done.\n"
      "Apply User-defined modification on residue ALA11 at chain A with patch ANY ... done.\n"
      "Mutate ALA11 at chain A to ARG ...\n"
      "Error occurs: Patch ALADEL not found in topology library.");
  EXPECT_FALSE(Exists("out.pdb"));
  EXPECT_FALSE(Exists("out.psf"));
}

TEST_F(ModifyJob, AModificationOfAnotherResidueNamesThoseItKnows) {
  MakePeptide();
  const auto expect_refused = [&](const char* option, const char* label, const std::string& site,
                                  const std::string& residue, const char* supported) {
    EXPECT_EQ(Modify({option, site + "A"}),
              std::string("Apply ") + label + " on residue " + residue + site +
                  " at chain A\nError occurs: Residue " + residue + " is not supported for " +
                  label + ". Supported residues: " + supported + ".");
  };
  expect_refused("--mml", "Mono-Methyl-Lysine (MML)", "13", "ARG", "LYS");
  expect_refused("--dml", "Di-Methyl-Lysine (DML)", "13", "ARG", "LYS");
  expect_refused("--tml", "Tri-Methyl-Lysine (TML)", "13", "ARG", "LYS");
  expect_refused("--mma", "Mono-Methyl-Arginine (MMA)", "12", "LYS", "ARG");
  expect_refused("--adma", "Asymmetric Di-Methyl-Arginine (ADMA)", "12", "LYS", "ARG");
  expect_refused("--sdma", "Symmetric Di-Methyl-Arginine (SDMA)", "12", "LYS", "ARG");
}

TEST_F(ModifyJob, AModificationOfTheUserFitsAnyResidue) {
  MakePeptide();
  for (const char* const site : {"11A", "12A", "13A"}) {
    EXPECT_THAT(Modify({"--my-mod", std::string("ANY ") + site}),
                HasSubstr("with patch ANY ... done.\n" + Written("2.75000")));
  }
  // Names of patches are not folded.
  EXPECT_EQ(Modify({"--my-mod", "any 12A"}),
            "Apply User-defined modification on residue LYS12 at chain A with patch any ..."
            "Error occurs: Patch any not found in topology library.");
}

TEST_F(ModifyJob, AModificationOfTheUserFitsResiduesOfEveryKind) {
  // A nucleic acid, a water, an ion, and a ligand.
  for (const std::string name : {"ADE", "HOH", "SOD", "LIG"}) {
    SCOPED_TRACE(name);
    Write("m.pdb", PdbLine("ATOM", 1, "CA", name, "A", 11, 1.0, 2.0, 3.0));
    Write("m.psf", "PSF EXT\n\n0 !NTITLE\n\n1 !NATOM\n1 A 11 " + name +
                       " CA CT 0 12 0\n\n0\n\n0\n\n0\n\n0\n\n0\n\n");
    EXPECT_EQ(Modify({"--my-mod", "ANY 11A"}),
              "Apply User-defined modification on residue " + name +
                  "11 at chain A with patch ANY ... done.\n" + Written("0.75000"));
  }
}

TEST_F(ModifyJob, AMissingPatchOfTheProgramEndsTheRun) {
  MakePeptide();
  std::string text = kLibrary;
  text.replace(text.find("PRES MML"), 8, "PRES QQQ");
  WriteLibrary(text);
  EXPECT_EQ(Modify({"--mml", "12A"}),
            "Apply Mono-Methyl-Lysine (MML) on residue LYS12 at chain A with patch MML ..."
            "Error occurs: Patch MML not found in topology library.");
}

TEST_F(ModifyJob, ASiteThatIsNotThereOrMalformedEndsTheRunAfterTheEditsBeforeIt) {
  MakePeptide();
  const std::string applied =
      "Apply Mono-Methyl-Lysine (MML) on residue LYS12 at chain A with patch MML ... done.\n";
  const std::string malformed =
      "\" is invalid, it should be like \"22A\", meaning residue 22 at chain A.";
  EXPECT_EQ(Modify({"--mml", "12A 12B"}), applied + "Error occurs: Residue \"12B\" not found.");
  EXPECT_EQ(Modify({"--mml", "12A xx"}), applied + "Error occurs: \"xx" + malformed);
  EXPECT_EQ(Modify({"--mml", "A"}), "Error occurs: \"A" + malformed);
  EXPECT_EQ(Modify({"--my-mod", "ANY 1.5A"}), "Error occurs: \"1.5A" + malformed);
  EXPECT_EQ(Modify({"--mutate", "12A ALA 7A ALA"}),
            "Mutate LYS12 at chain A to ALA ... done.\nError occurs: Residue \"7A\" not found.");
  EXPECT_EQ(Modify({"--mutate", "A12 ALA"}), "Error occurs: \"A12" + malformed);
  EXPECT_FALSE(Exists("out.pdb"));
}

TEST_F(ModifyJob, ASecondPatchOnASiteFindsTheChangedResidue) {
  MakePeptide();
  EXPECT_EQ(Modify({"--dml", "12A", "--mml", "12A"}),
            "Apply Mono-Methyl-Lysine (MML) on residue LYS12 at chain A with patch MML ... done.\n"
            "Apply Di-Methyl-Lysine (DML) on residue LYS12 at chain A with patch DML ..."
            "Error occurs: Atom \"HZ2\" is missing in residue LYS12 at chain A and cannot be "
            "deleted.");
  EXPECT_FALSE(Exists("out.pdb"));
}

TEST_F(ModifyJob, PhosphorylationIsNotApplied) {
  MakePeptide();
  EXPECT_EQ(Modify({"--pho", "12A nonsense"}), Written("2.00000"));
  EXPECT_EQ(Read("out.pdb"), Read("m.pdb"));
  EXPECT_EQ(Read("out.psf"), Read("m.psf"));
}

TEST_F(ModifyJob, AMutationRepeatsTheBondsOfTheAtomsThatStayed) {
  MakePeptide();
  EXPECT_EQ(Modify({"--mutate", "12a Ala"}),
            "Mutate LYS12 at chain A to Ala ... done.\n" + Written("1.00000"));
  // The name is as typed, and the atoms that stayed keep their places.
  EXPECT_EQ(Read("out.pdb"),
            "REMARK Generated by ravelo\n"
            "ATOM      1  N   ALA A  11      10.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM      2  HN  ALA A  11       9.000  10.000  10.000  1.00  0.00         H H  \n"
            "ATOM      3  CA  ALA A  11      10.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM      4  CB  ALA A  11      12.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM      5  N   Ala A  12      14.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM      6  HN  Ala A  12      13.000  10.000  10.000  1.00  0.00         H H  \n"
            "ATOM      7  CA  Ala A  12      14.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM      8  CB  Ala A  12      15.500  12.000  10.000  1.00  0.00         C C  \n"
            "ATOM      9  N   ARG A  13      18.000  10.000  10.000  1.00  0.00         N    \n"
            "ATOM     10  HN  ARG A  13      17.000  10.000  10.000  1.00  0.00         H H  \n"
            "ATOM     11  CA  ARG A  13      18.000  12.000  10.000  1.00  0.00         C    \n"
            "ATOM     12  NH  ARG A  13      20.000  12.000  10.000  1.00  0.00         N    \n"
            "END\n");
  const std::string psf = Read("out.psf");
  EXPECT_THAT(psf, HasSubstr("       5 A       12    Ala  N    NT       -0.250000       14.0070"
                             "           0\n"
                             "       6 A       12    Ala  HN   HT        0.250000        1.0080"
                             "           0\n"
                             "       7 A       12    Ala  CA   CT        0.000000       12.0110"
                             "           0\n"
                             "       8 C       12    Ala  CB   CT        0.000000       12.0110"
                             "           0\n"
                             "       9 A       13    ARG  N "));
  EXPECT_THAT(psf, HasSubstr("      14 !NBOND: bonds\n"
                             "       1       2       1       3       3       4       3       5\n"
                             "       5       6       5       7       7       9       9      10\n"
                             "       9      11      11      12       5       6       5       7\n"
                             "       7       8       7       9\n"));
  EXPECT_THAT(psf, HasSubstr("\n       1 !NIMPHI: impropers\n"
                             "         5         3         7         6\n\n"
                             "       3 !NCRTERM: cross-terms\n"
                             "         1         3         4         2"
                             "         3         5         7         8\n"
                             "         5         7         8         6\n\n"));
}

TEST_F(ModifyJob, AMutatedResidueIsCalledAsTyped) {
  MakePeptide();
  EXPECT_EQ(Modify({"--mutate", "13A Lys 13A ALA"}),
            "Mutate ARG13 at chain A to Lys ... done.\n"
            "Mutate Lys13 at chain A to ALA ...\n"
            "Error occurs: Patch LysDEL not found in topology library.");
  EXPECT_EQ(Modify({"--mutate", "13A LYS 13A ALA"}),
            "Mutate ARG13 at chain A to LYS ... done.\n"
            "Mutate LYS13 at chain A to ALA ... done.\n" +
                Written("1.00000"));
}

TEST_F(ModifyJob, AMutationIntoTheUnknownEndsTheRun) {
  MakePeptide();
  EXPECT_EQ(Modify({"--mutate", "12A xyz"}),
            "Mutate LYS12 at chain A to xyz ...\n"
            "Error occurs: Patch xyz not found in topology library.");
  EXPECT_EQ(Modify({"--mutate", "11A LYS"}),
            "Mutate ALA11 at chain A to LYS ...\n"
            "Error occurs: Patch ALADEL not found in topology library.");
  EXPECT_FALSE(Exists("out.pdb"));
}

TEST_F(ModifyJob, AMutationToProlineTakesTheHydrogenOfItsNitrogen) {
  MakePeptide();
  EXPECT_EQ(Modify({"--mutate", "12A pro"}),
            "Mutate LYS12 at chain A to pro ... done.\n" + Written("1.00000"));
  EXPECT_THAT(Read("out.pdb"),
              HasSubstr("  N   pro A  12      14.000  10.000  10.000  1.00  0.00         N    \n"
                        "ATOM      6  CA  pro A  12      14.000  12.000  10.000  1.00  0.00"
                        "         C    \n"
                        "ATOM      7  CD  pro A  12      15.500  10.000  10.000  1.00  0.00"
                        "         C C  \n"
                        "ATOM      8  N   ARG A  13 "));
  // Any other mutation leaves the hydrogen alone, and needs no patch for it.
  std::string text = kLibrary;
  text.replace(text.find("PRES HNDEL"), 10, "PRES QQDEL");
  WriteLibrary(text);
  EXPECT_THAT(Modify({"--mutate", "12A ALA"}), HasSubstr(" ... done.\n"));
  EXPECT_EQ(Modify({"--mutate", "12A PRO"}),
            "Mutate LYS12 at chain A to PRO ...\n"
            "Error occurs: Patch HNDEL not found in topology library.");
}

TEST_F(ModifyJob, WarningsOfAPatchContinueItsLine) {
  MakePeptide();
  Write("x.rtf", "PRES QX 0\nATOM HQ HT 0\nIC -CA CA N HQ 1 90 0 90 1\nEND\n");
  EXPECT_EQ(Modify({"--add-rtfs", "x.rtf", "--my-mod", "QX 11A", "--mutate", "12A ALA"}),
            "Apply User-defined modification on residue ALA11 at chain A with patch QX ..."
            "Warning: The position of atom HQ in residue ALA11 at chain A cannot be well "
            "predicted.\n"
            " done.\n"
            "Mutate LYS12 at chain A to ALA ... done.\n" +
                Written("1.00000"));
}

TEST_F(ModifyJob, AddsBondsAsTheyAreToldBeforeItDeletesAnAtom) {
  MakePeptide();
  EXPECT_EQ(Modify({"--add-bonds", "14 3 2 7 7 7 7 2", "--del-atom", "2"}),
            "Add bond: 14 3\nAdd bond: 2 7\nAdd bond: 7 7\nAdd bond: 7 2\nDelete atom: 2\n" +
                Written("1.75000"));
  EXPECT_THAT(Read("out.psf"),
              HasSubstr("      14 !NBOND: bonds\n"
                        "       1       2       2       3       2       4       4       5\n"
                        "       4       6       6       7       7       8       7       9\n"
                        "       6      10      10      11      10      12      12      13\n"
                        "      13       2       6       6\n"));
}

TEST_F(ModifyJob, ABondOfAnAtomThatIsNotThereEndsTheRun) {
  MakePeptide();
  EXPECT_EQ(Modify({"--add-bonds", "1 14 14 15"}),
            "Add bond: 1 14\nAdd bond: 14 15\nError occurs: Invalid atom index: 14 15.");
  EXPECT_EQ(Modify({"--add-bonds", "0 1"}),
            "Add bond: 0 1\nError occurs: Invalid atom index: 0 1.");
  EXPECT_EQ(Modify({"--add-bonds", "-2147483648 2147483647"}),
            "Add bond: -2147483648 2147483647\n"
            "Error occurs: Invalid atom index: -2147483648 2147483647.");
  EXPECT_FALSE(Exists("out.pdb"));
}

TEST_F(ModifyJob, DeletesNoAtomUnlessItsNumberIsAboveZero) {
  MakePeptide();
  for (const char* const number : {"0", "-1", "-2147483648"}) {
    EXPECT_EQ(Modify({std::string("--del-atom=") + number}), Written("2.00000"));
    EXPECT_EQ(Read("out.pdb"), Read("m.pdb"));
    EXPECT_EQ(Read("out.psf"), Read("m.psf"));
  }
  EXPECT_EQ(Modify({"--del-atom", "15"}), "Delete atom: 15\nError occurs: Invalid atom index: 15.");
  EXPECT_EQ(Modify({"--del-atom", "2147483647"}),
            "Delete atom: 2147483647\nError occurs: Invalid atom index: 2147483647.");
}

TEST_F(ModifyJob, AResidueWithoutAtomsCannotBePatched) {
  MakePeptide();
  Write("m.pdb", PdbLine("ATOM", 1, "N", "LYS", "A", 12, 1, 2, 3) +
                     PdbLine("ATOM", 2, "N", "ARG", "A", 13, 4, 5, 6));
  Write("m.psf",
        "PSF EXT\n\n0 !NTITLE\n\n2 !NATOM\n1 A 12 LYS N NT 0 1 0\n2 A 13 ARG N NT 0 1 0\n\n"
        "0\n\n0\n\n0\n\n0\n\n0\n\n");
  EXPECT_EQ(Modify({"--del-atom", "1", "--mml", "12A"}),
            "Delete atom: 1\n"
            "Apply Mono-Methyl-Lysine (MML) on residue LYS12 at chain A with patch MML ..."
            "Error occurs: The number of deleted atoms is larger than the number of atoms in "
            "residue LYS12 at chain A. In this case, remove this residue before manipulating "
            "topology.");
  EXPECT_EQ(Modify({"--del-atom", "1", "--my-mod", "ANY 12A"}),
            "Delete atom: 1\n"
            "Apply User-defined modification on residue LYS12 at chain A with patch ANY ..."
            "Error occurs: The number of deleted atoms is larger than the number of atoms in "
            "residue LYS12 at chain A. In this case, remove this residue before manipulating "
            "topology.");
}

// A topology whose angles and dihedrals do not follow from its bonds.
constexpr const char* kOwnTerms =
    "PSF EXT\n\n0 !NTITLE\n\n3 !NATOM\n1 A 12 LYS N NT 0.5 14 0\n2 A 12 LYS CA CT 0 12 0\n"
    "3 A 12 LYS NZ NT 0 14 0\n\n1\n1 2 2 3\n\n1\n3 1 2\n\n1\n1 2 3 1\n\n0\n\n0\n\n";

TEST_F(ModifyJob, AnglesAndDihedralsOfTheFileStayUntilTheFirstEdit) {
  Write("m.pdb", PdbLine("ATOM", 1, "N", "LYS", "A", 12, 1, 2, 3) +
                     PdbLine("ATOM", 2, "CA", "LYS", "A", 12, 4, 2, 3) +
                     PdbLine("ATOM", 3, "NZ", "LYS", "A", 12, 4, 5, 3));
  Write("m.psf", kOwnTerms);
  const std::string own =
      "\n       1 !NTHETA: angles\n         3         1         2\n\n"
      "       1 !NPHI: dihedrals\n         1         2         3         1\n";
  EXPECT_EQ(Modify({}), Written("0.50000"));
  EXPECT_THAT(Read("out.psf"), HasSubstr(own));
  const std::string made =
      "\n       1 !NTHETA: angles\n         1         2         3\n\n"
      "       0 !NPHI: dihedrals\n\n";
  // A patch without any change is an edit, too.
  Write("x.rtf", "PRES NONE 0\n\nEND\n");
  EXPECT_THAT(Modify({"--add-rtfs", "x.rtf", "--my-mod", "NONE 12A"}), HasSubstr(" done.\n"));
  EXPECT_THAT(Read("out.psf"), HasSubstr(made));
  EXPECT_THAT(Modify({"--del-atom", "3"}), HasSubstr("Delete atom: 3\n"));
  EXPECT_THAT(Read("out.psf"), HasSubstr("\n       0 !NTHETA: angles\n\n"));
}

TEST_F(ModifyJob, ATopologyOfAnotherSizeIsWrittenAsItIsButTakesNoPatch) {
  MakePeptide();
  const std::string two_atoms = PdbLine("ATOM", 1, "N", "LYS", "A", 12, 1, 2, 3) +
                                PdbLine("ATOM", 2, "CA", "LYS", "A", 12, 4, 2, 3);
  // Shorter than the molecule, then longer.
  const struct {
    std::string pdb;
    std::string psf;
    std::string message;
  } cases[] = {{Read("m.pdb"), kOwnTerms,
                "Error occurs: The topology has 3 atoms, but the molecule has 14."},
               {two_atoms, Read("m.psf"),
                "Error occurs: The topology has 14 atoms, but the molecule has 2."}};
  for (const auto& unfit : cases) {
    Write("m.pdb", unfit.pdb);
    Write("m.psf", unfit.psf);
    EXPECT_THAT(Modify({}), HasSubstr("Total charge: "));
    const std::string unchanged = Read("out.psf");
    EXPECT_THAT(Modify({"--add-bonds", "1 3"}), HasSubstr("Add bond: 1 3\nWrite PDB"));
    EXPECT_NE(Read("out.psf"), unchanged);
    EXPECT_EQ(Modify({"--add-bonds", "1 3", "--my-mod", "ANY 12A"}),
              "Add bond: 1 3\n"
              "Apply User-defined modification on residue LYS12 at chain A with patch ANY ..." +
                  unfit.message);
    Write("none.rtf", "PRES LYSDEL 0\n\nEND\n");
    EXPECT_EQ(Modify({"--add-rtfs", "none.rtf", "--mutate", "12A ALA"}),
              "Mutate LYS12 at chain A to ALA ..." + unfit.message);
    EXPECT_EQ(Modify({"--del-atom", "2"}), "Delete atom: 2\n" + unfit.message);
  }
  // A topology without atoms counts as none.
  Write("m.psf", "PSF\n\n0\n\n0\n\n0\n\n0\n\n0\n\n0\n\n0\n\n");
  EXPECT_EQ(Modify({}), Written("0.00000"));
  EXPECT_EQ(Modify({"--add-bonds", "1 1"}),
            "Add bond: 1 1\nError occurs: Invalid atom index: 1 1.");
  EXPECT_EQ(Modify({"--my-mod", "ANY 12A"}),
            "Apply User-defined modification on residue LYS12 at chain A with patch ANY ..."
            "Error occurs: Topology is not built. Please build topology first.");
}

TEST_F(ModifyJob, ABondOfTheFileWithAnAtomThatIsNotThereEndsTheFirstEdit) {
  MakePeptide();
  std::string psf = Read("m.psf");
  psf.insert(psf.find("bonds\n") + 6, " 8 99\n");
  Write("m.psf", psf);
  EXPECT_EQ(Modify({}), Written("2.00000"));
  EXPECT_EQ(Modify({"--add-bonds", "1 4 2 3"}),
            "Add bond: 1 4\n"
            "Error occurs: The bond 8-99 is wrong: there are atoms from 1 to 14 only.");
  EXPECT_EQ(Modify({"--my-mod", "ANY 11A", "--mutate", "12A ALA"}),
            "Apply User-defined modification on residue ALA11 at chain A with patch ANY ..."
            "Error occurs: The bond 8-99 is wrong: there are atoms from 1 to 14 only.");
  // The atom that is there takes the bond away with it.
  EXPECT_EQ(Modify({"--mutate", "12A ALA 13A ALA"}),
            "Mutate LYS12 at chain A to ALA ... done.\nMutate ARG13 at chain A to ALA ... done.\n" +
                Written("0.00000"));
}

TEST_F(ModifyJob, AnOutputThatCannotBeWrittenEndsTheRun) {
  MakePeptide();
  EXPECT_EQ(AfterLibrary(Run({"modify", "-i", "m.pdb", "-t", "m.psf", "-o", "no/x"})),
            "Write PDB: no/x.pdb\n"
            "Error occurs: Cannot save the molecule to a PDB file \"no/x.pdb\".");
  fs::create_directory(folder.path() / "work/y.psf");
  EXPECT_EQ(AfterLibrary(Run({"modify", "-i", "m.pdb", "-t", "m.psf", "-o", "y"})),
            "Write PDB: y.pdb\nWrite PSF: y.psf\n"
            "Error occurs: Cannot write topology to a PSF file y.psf.\n");
}

// What the user asks for.
struct Edits {
  std::vector<std::pair<int, int>> bonds;
  int del_atom = -1;
  std::map<std::string, List> sites;  // by option
  List my_mod;
  std::vector<std::pair<std::string, std::string>> mutations;
};

// The mode as one would write it first: each step is carried out on the whole molecule, atom by
// atom, and the topology is rebuilt behind it. Works in the present folder.
class LiteralModify {
 public:
  explicit LiteralModify(const TopologyLibrary& library) : library_(library) {
    molecule_.Load("m.pdb");
    molecule_.LoadPSFFile("m.psf");
  }

  void Run(const Edits& edits) {
    for (const auto& [a, b] : edits.bonds) {
      std::printf("Add bond: %d %d\n", a, b);
      molecule_.AddBond(a - 1, b - 1);
    }
    if (edits.del_atom > 0) {
      std::printf("Delete atom: %d\n", edits.del_atom);
      molecule_.DeleteAtom(edits.del_atom - 1);
    }
    const struct {
      const char* option;
      const char* label;
      const char* residue;
      const char* patch;
    } known[] = {{"mml", "Mono-Methyl-Lysine (MML)", "LYS", "MML"},
                 {"dml", "Di-Methyl-Lysine (DML)", "LYS", "DML"},
                 {"tml", "Tri-Methyl-Lysine (TML)", "LYS", "TML"},
                 {"mma", "Mono-Methyl-Arginine (MMA)", "ARG", "MMA"},
                 {"adma", "Asymmetric Di-Methyl-Arginine (ADMA)", "ARG", "ADMA"},
                 {"sdma", "Symmetric Di-Methyl-Arginine (SDMA)", "ARG", "SDMA"}};
    for (const auto& one : known) {
      const auto sites = edits.sites.find(one.option);
      if (sites == edits.sites.end()) continue;
      for (const std::string& site : sites->second) {
        Modify(site, one.label, one.residue, one.patch);
      }
    }
    if (!edits.my_mod.empty()) {
      Modify(edits.my_mod[1], "User-defined modification", "", edits.my_mod[0]);
    }
    for (const auto& [site, name] : edits.mutations) Mutate(site, name);
    std::printf("Write PDB: out.pdb\n");
    molecule_.WritePDB("out.pdb");
    std::printf("Write PSF: out.psf\n");
    molecule_.WritePSF("out.psf");
    std::printf("Total charge: %.5f\n", molecule_.topology.GetTotalCharge());
  }

 private:
  [[noreturn]] void End(const std::string& message) {
    std::printf("%s", message.c_str());
    std::exit(0);
  }

  int Find(const std::string& site, std::string& name) {
    int residue = 0;
    molecule_.GetResidue(site, residue, name);
    if (residue == -1) End("Error occurs: Residue \"" + site + "\" not found.");
    if (residue == -2) {
      End("Error occurs: \"" + site +
          "\" is invalid, it should be like \"22A\", meaning residue 22 at chain A.");
    }
    return residue;
  }

  bool Knows(const std::string& record) { return library_.GetResidues().count(record) > 0; }

  void Patch(int residue, const std::string& record) {
    PlainPatching plain(molecule_);
    try {
      plain.PatchResidue(residue, library_.GetMasses(), library_.GetResidues().at(record), true);
    } catch (const PlainFailure& failure) {
      End(plain.output() + failure.message);
    }
    std::printf("%s", plain.output().c_str());
    molecule_ = plain.Result();
  }

  void Modify(const std::string& site, const std::string& label, const std::string& supported,
              const std::string& patch) {
    std::string name;
    const int residue = Find(site, name);
    std::printf("Apply %s on residue %s", label.c_str(),
                molecule_.GetResidueString(residue).c_str());
    if (!supported.empty() && name != supported) {
      End("\nError occurs: Residue " + name + " is not supported for " + label +
          ". Supported residues: " + supported + ".");
    }
    std::printf(" with patch %s ...", patch.c_str());
    if (!Knows(patch)) End("Error occurs: Patch " + patch + " not found in topology library.");
    Patch(residue, patch);
    std::printf(" done.\n");
  }

  void Mutate(const std::string& site, const std::string& new_name) {
    std::string old_name;
    const int residue = Find(site, old_name);
    std::printf("Mutate %s to %s ...", molecule_.GetResidueString(residue).c_str(),
                new_name.c_str());
    if (!Knows(old_name + "DEL")) {
      End("\nError occurs: Patch " + old_name + "DEL not found in topology library.");
    }
    Patch(residue, old_name + "DEL");
    std::string upper = new_name;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (!Knows(upper)) {
      End("\nError occurs: Patch " + new_name + " not found in topology library.");
    }
    if (upper == "PRO") Patch(residue, "HNDEL");
    Patch(residue, upper);
    molecule_.RenameResidue(residue, new_name);
    std::printf(" done.\n");
  }

  const TopologyLibrary& library_;
  PDB molecule_;
};

std::string Replaced(std::string text,
                     const std::vector<std::pair<std::string, std::string>>& words) {
  for (const auto& [from, to] : words) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
      text.replace(at, from.size(), to);
    }
  }
  return text;
}

using Renaming = std::vector<std::pair<std::string, std::string>>;

const Renaming kRenamedResidues = {{"RA", "LYS"}, {"RB", "ARG"}, {"RC", "PRO"}};

// Three random libraries under the names that the mode looks for; of the named patches, TML and
// SDMA are missing, and of the removals that of GLY. The first library's own names are replaced in
// the molecule, too.
std::string RandomLibraryFor(const std::string& first, RandomChemistry& random) {
  const Renaming names[] = {{{"RESI RA", "RESI LYS"},
                             {"RESI RB", "RESI ARG"},
                             {"RESI RC", "RESI PRO"},
                             {"PRES PA", "PRES MML"},
                             {"PRES PB", "PRES LYSDEL"},
                             {"PRES PC", "PRES HNDEL"},
                             {"END\n", ""}},
                            {{"RESI RA", "RESI ALA"},
                             {"RESI RB", "RESI SER"},
                             {"RESI RC", "RESI GLY"},
                             {"PRES PA", "PRES DML"},
                             {"PRES PB", "PRES ARGDEL"},
                             {"PRES PC", "PRES ADMA"},
                             {"END\n", ""}},
                            {{"RESI RA", "RESI Q1"},
                             {"RESI RB", "RESI Q2"},
                             {"RESI RC", "PRES ALADEL"},
                             {"PRES PA", "PRES PRODEL"},
                             {"PRES PB", "PRES SerDEL"},
                             {"PRES PC", "PRES XYZ"}}};
  return Replaced(first, names[0]) + Replaced(random.Library(), names[1]) +
         Replaced(random.Library(), names[2]);
}

// Sites are mostly those of residues, and mostly of the kind that the option is for.
std::string RandomSite(const PDB& molecule, const std::string& kind, RandomChemistry& random) {
  if (random.Chance(2)) return random.Chance(50) ? "77A" : "xx";
  std::vector<int> candidates;
  for (int r = 0; r < molecule.numResidues; ++r) {
    if (kind.empty() || molecule.residueNames[r] == kind) candidates.push_back(r);
  }
  const int residue = candidates.empty() || random.Chance(3) ? random.Below(molecule.numResidues)
                                                             : random.OneOf(candidates);
  const std::string chain = random.Chance(20) ? "a" : molecule.residueChains[residue];
  return std::to_string(molecule.residueSeqs[residue]) + chain;
}

Edits RandomEdits(const PDB& molecule, RandomChemistry& random) {
  Edits edits;
  while (random.Chance(40)) {
    const auto atom = [&] { return 1 + random.Below(molecule.numAtoms + random.Chance(3)); };
    const int a = atom();
    edits.bonds.emplace_back(a, atom());
  }
  if (random.Chance(20)) edits.del_atom = random.Below(molecule.numAtoms + 2);
  for (const auto& [option, kind] : std::vector<std::pair<std::string, std::string>>{
           {"mml", "LYS"}, {"dml", "LYS"}, {"tml", "LYS"}, {"adma", "ARG"}}) {
    while (random.Chance(option == "tml" ? 1 : 20)) {
      edits.sites[option].push_back(RandomSite(molecule, kind, random));
    }
  }
  if (random.Chance(30)) {
    edits.my_mod = {random.Chance(95) ? "XYZ" : "xyz", RandomSite(molecule, "", random)};
  }
  static const List new_names = {"ALA", "SER", "Ser", "PRO", "pro", "LYS", "Arg", "GLY", "nope"};
  while (random.Chance(40)) {
    edits.mutations.emplace_back(RandomSite(molecule, "", random), random.OneOf(new_names));
  }
  return edits;
}

List OptionsFor(const Edits& edits) {
  const auto joined = [](const List& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
  };
  List options;
  List words;
  for (const auto& [a, b] : edits.bonds) {
    words.push_back(std::to_string(a));
    words.push_back(std::to_string(b));
  }
  if (!words.empty()) options.insert(options.end(), {"--add-bonds", joined(words)});
  if (edits.del_atom >= 0) {
    options.insert(options.end(), {"--del-atom", std::to_string(edits.del_atom)});
  }
  for (const auto& [option, sites] : edits.sites) {
    options.insert(options.end(), {"--" + option, joined(sites)});
  }
  if (!edits.my_mod.empty()) options.insert(options.end(), {"--my-mod", joined(edits.my_mod)});
  words.clear();
  for (const auto& [site, name] : edits.mutations) {
    words.push_back(site);
    words.push_back(name);
  }
  if (!words.empty()) options.insert(options.end(), {"--mutate", joined(words)});
  return options;
}

TEST_F(ModifyJob, ManyEditsInOnePassGiveWhatOneAfterTheOtherGives) {
  RandomChemistry random(29);
  const fs::path own = folder.path() / "work";
  const fs::path literal = folder.path() / "literal";
  fs::create_directory(literal);
  int good = 0;
  int good_with_patches = 0;
  int failed = 0;
  for (int round = 0; round < 250; ++round) {
    const std::string first = random.Library();
    PDB molecule = random.Molecule(LibraryOf(first));
    const std::string text = RandomLibraryFor(first, random);
    for (PDB::Atom& atom : molecule.atoms) {
      atom.ResName = Replaced(atom.ResName, kRenamedResidues);
      atom.ICode.clear();  // shifts the line, which could then not be read
    }
    WriteLibrary(text);
    molecule.WritePDB((own / "m.pdb").string());
    // As the program will read it, since reading can drop atoms.
    molecule = PDB();
    OutputOf([&] { molecule.Load((own / "m.pdb").string()); });
    random.AddTopology(molecule);
    molecule.WritePSF((own / "m.psf").string());
    if (random.Chance(4)) {
      std::string psf = Read("m.psf");
      psf.insert(psf.find("bonds\n") + 6,
                 " " + std::to_string(1 + random.Below(molecule.numAtoms)) + " 999\n");
      Write("m.psf", psf);
    }
    for (const char* const name : {"m.pdb", "m.psf"}) {
      fs::copy_file(own / name, literal / name, fs::copy_options::overwrite_existing);
    }
    for (const fs::path& place : {own, literal}) {
      fs::remove(place / "out.pdb");
      fs::remove(place / "out.psf");
    }

    const Edits edits = RandomEdits(molecule, random);
    const List options = OptionsFor(edits);
    SCOPED_TRACE(text + "\nround " + std::to_string(round) + " " + testing::PrintToString(options));
    const TopologyLibrary library = LibraryOf(text);
    const RunResult expected = RunInChild([&] {
      if (chdir(literal.c_str()) != 0) std::abort();
      LiteralModify modify(library);
      std::printf("Building topology library done.\n");
      modify.Run(edits);
    });
    ASSERT_TRUE(expected.status == 0 || expected.status == testing_support::kCodeReturned)
        << expected.status << expected.out << expected.err;
    ASSERT_EQ(Modify(options), AfterLibrary(WithoutPlace(expected.out)));
    if (expected.status == 0) {
      ++failed;
      ASSERT_FALSE(Exists("out.pdb"));
      continue;
    }
    ++good;
    if (expected.out.find(" done.\nWrite PDB") != std::string::npos) ++good_with_patches;
    ASSERT_EQ(Read("out.pdb"), ReadWhole(literal / "out.pdb"));
    ASSERT_EQ(Read("out.psf"), ReadWhole(literal / "out.psf"));
  }
  EXPECT_GT(good, 50);
  EXPECT_GT(good_with_patches, 30);
  EXPECT_GT(failed, 100);
}

}  // namespace
}  // namespace orvane
