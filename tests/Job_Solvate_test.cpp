// The mode "solvate", run as the user runs it.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "CmdArgs.h"
#include "ComputationalGeometry.h"
#include "Job.h"
#include "JobTest.h"
#include "PDB.h"
#include "TestSupport.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing_support::JobTest;
using testing_support::LinkDataFolder;
using testing_support::OutputOf;
using testing_support::OutputOfMode;
using testing_support::PdbLine;
using testing_support::RunProgram;
using testing_support::RunRavelo;
using testing_support::RunResult;
using testing_support::SourceFolder;

using List = std::vector<std::string>;

constexpr const char* kReport =
    "Read: m.pdb\n"
    "Current molecule:\n"
    "Molecule:                 m.pdb\n"
    "Number of atoms:          2\n"
    "Number of residues:       1\n"
    " Number of amino acids:   0\n"
    " Number of nucleic acids: 0\n"
    " Number of waters:        0\n"
    " Number of ions:          0\n"
    " Number of ligands:       1\n";

class SolvateJob : public JobTest {
 protected:
  SolvateJob() : JobTest("solvate") {}

  void SetUp() override { WriteMolecule("-2.000000"); }

  // Two atoms around the origin, with this charge.
  void WriteMolecule(const std::string& charge) const {
    folder.Write("m.pdb", PdbLine("HETATM", 1, "C1", "LIG", "A", 1, -0.7, 0, 0) +
                              PdbLine("HETATM", 2, "C2", "LIG", "A", 1, 0.7, 0, 0));
    folder.Write("m.psf",
                 "PSF EXT\n\n       1 !NTITLE\n REMARKS\n\n       2 !NATOM\n"
                 "       1 A        1    LIG  C1   CT      " +
                     charge +
                     "       12.0110           0\n"
                     "       2 A        1    LIG  C2   CT      0.000000       12.0110           0\n"
                     "\n       1 !NBOND\n 1 2\n\n 0\n\n 0\n\n 0\n\n 0\n\n");
  }

  std::string RunOnMolecule(const List& options) const {
    List words{"-i", "m.pdb", "-t", "m.psf", "-o", "x"};
    words.insert(words.end(), options.begin(), options.end());
    return Run(words);
  }

  PDB MoleculeOf(const std::string& name) const {
    PDB molecule;
    molecule.Load(folder / name);
    return molecule;
  }
};

// The program beside templates of its own.
class OwnTemplates : public SolvateJob {
 protected:
  void SetUp() override {
    SolvateJob::SetUp();
    fs::create_directories(folder / "p/data");
    fs::copy_file(RAVELO_PROGRAM, folder / "p/ravelo");
    for (const char* name : {"tip3", "sod", "cla"}) {
      for (const char* kind : {".pdb", ".psf"}) {
        const std::string file = std::string(name) + kind;
        fs::copy_file(SourceFolder() / "data" / file, folder / ("p/data/" + file));
      }
    }
  }

  std::string RunBesideThem(const List& options = {"--box", "9 9 9"}) const {
    List words{"solvate", "-i", "m.pdb", "-t", "m.psf", "-o", "x"};
    words.insert(words.end(), options.begin(), options.end());
    return OutputOfMode(RunProgram(folder / "p/ravelo", words, folder.path()));
  }

  std::string PathOf(const std::string& file) const {
    return fs::canonical(folder.path()).string() + "/p/data/" + file;
  }
};

TEST_F(SolvateJob, NeedsAnInputFile) {
  EXPECT_EQ(Run({}), "Error occurs: An input file must be given with \"-i\".");
  EXPECT_EQ(Run({"-t", "m.psf", "--box", "9 9 9", "-o", "x"}),
            "Error occurs: An input file must be given with \"-i\".");
}

TEST_F(SolvateJob, NeedsATopologyFile) {
  EXPECT_EQ(Run({"-i", "m.pdb", "--box", "9 9 9"}),
            std::string(kReport) + "Error occurs: A topology file must be given with \"-t\".");
}

TEST_F(SolvateJob, NeedsABox) {
  EXPECT_EQ(RunOnMolecule({}), std::string(kReport) +
                                   "Read topology: m.psf\n"
                                   "Error occurs: Box size must be given with \"--box\".");
}

TEST_F(SolvateJob, ABoxIsFilledAndNeutralised) {
  EXPECT_EQ(RunOnMolecule({"--box", "9 9 9"}),
            std::string(kReport) +
                "Read topology: m.psf\n"
                "Building water box: 9.000 x 9.000 x 9.000 Angstrom^3.\n"
                "Center moved by: 0.000, 0.000, 0.000 Angstrom.\n"
                "21 water molecules are added.\n"
                "Add ions:\n"
                " Target charge: 0\n"
                " Target ionic strength: 0.010 mol/L\n"
                "2 cations and 0 anions are added.\n"
                "Final ionic strength: 2.278 mol/L\n"
                "Write PDB: x.pdb\n"
                "Write PSF: x.psf\n"
                // What rounding leaves of the sum.
                "Total charge: -0.00000\n");
  EXPECT_EQ(Files(), (List{"m.pdb", "m.psf", "x.pdb", "x.psf"}));
}

TEST_F(SolvateJob, ThePrefixIsTheInputsNameAndTheMode) {
  const std::string out = Run({"-i", "m.pdb", "-t", "m.psf", "--box", "2 2 2"});
  EXPECT_NE(out.find("Write PDB: m-solvate.pdb\nWrite PSF: m-solvate.psf\n"), std::string::npos);
  EXPECT_TRUE(fs::exists(folder / "m-solvate.pdb"));
}

TEST_F(SolvateJob, TheOutputIsKnownForWhatItIsWhenReadBack) {
  // With one sodium in front of one chloride: both have the number 1.
  WriteMolecule("0.000000");
  const std::string out = RunOnMolecule({"--box", "12 12 12", "--ionic-strength", "1"});
  ASSERT_NE(out.find("\n61 water molecules are added.\n"), std::string::npos) << out;
  ASSERT_NE(out.find("\n1 cations and 1 anions are added.\n"), std::string::npos) << out;
  const RunResult check = RunRavelo({"check", "-i", "x.pdb", "-o", "y"}, folder.path());
  EXPECT_EQ(check.out,
            "Read: x.pdb\n"
            "Current molecule:\n"
            "Molecule:                 x.pdb\n"
            "Number of atoms:          187\n"
            "Number of residues:       64\n"
            " Number of amino acids:   0\n"
            " Number of nucleic acids: 0\n"
            " Number of waters:        61\n"
            " Number of ions:          2\n"
            " Number of ligands:       1\n"
            "Write PDB: y.pdb\n");
  EXPECT_EQ(folder.Read("y.pdb"), folder.Read("x.pdb"));
}

TEST_F(SolvateJob, BothFilesHaveTheSameNamesNumbersAndChains) {
  RunOnMolecule({"--box", "12 12 12", "--ionic-strength", "2"});
  PDB molecule = MoleculeOf("x.pdb");
  molecule.LoadPSFFile(folder / "x.psf");
  ASSERT_EQ(molecule.GetTopology().GetAtoms().size(), molecule.atoms.size());
  molecule.ApplyTopology();
  molecule.WritePDB(folder / "y.pdb");
  EXPECT_EQ(folder.Read("y.pdb"), folder.Read("x.pdb"));
}

TEST_F(SolvateJob, OneWaterKeepsTheTemplatesNumberWhichIsThatOfThePDBFile) {
  WriteMolecule("0.000000");
  const std::string out = RunOnMolecule({"--box", "5 5 5", "--move", "9 9 9", "--no-add-ions"});
  ASSERT_NE(out.find("\n1 water molecules are added.\n"), std::string::npos) << out;
  EXPECT_EQ(MoleculeOf("x.pdb").atoms.back().ResSeq, 1);
  MolecularMechanicsTopology topology;
  topology.LoadFromPSF(folder / "x.psf");
  EXPECT_EQ(topology.GetAtoms().back().residue_sn, 1);
}

TEST_F(SolvateJob, ADropletIsReportedByItsRadii) {
  const std::string out = RunOnMolecule({"--droplet", "--box", "40 60 80", "--no-add-ions"});
  EXPECT_NE(out.find("\nBuilding water droplet with radii: 20.000 x 30.000 x 40.000 Angstrom^3.\n"
                     "Center moved by: 0.000, 0.000, 0.000 Angstrom.\n"),
            std::string::npos)
      << out;
  // All places lie inside; of the grid's 13 x 20 x 27 a little more than a half.
  const PDB molecule = MoleculeOf("x.pdb");
  EXPECT_NEAR(molecule.numAtoms / 3.0, 13 * 20 * 27 * 0.52, 400.0);
  for (int i = 2; i < molecule.numAtoms; ++i) {
    const Vec3D& place = molecule.atoms[i].Coord;
    const Vec3D scaled(place.x / 21.0, place.y / 31.0, place.z / 41.0);
    EXPECT_LT(Length(scaled), 1.0);
  }
}

TEST_F(SolvateJob, AMoveShiftsTheWaterAndNothingElse) {
  const std::string out = RunOnMolecule({"--box", "9 9 9", "--move", "100 -2.5 1e1"});
  EXPECT_NE(out.find("\nCenter moved by: 100.000, -2.500, 10.000 Angstrom.\n"
                     "27 water molecules are added.\n"),
            std::string::npos)
      << out;
  const PDB molecule = MoleculeOf("x.pdb");
  ASSERT_EQ(molecule.numAtoms, 2 + 27 * 3 + 2);
  EXPECT_NEAR(molecule.atoms[0].Coord.x, -0.7, 1e-9);
  EXPECT_GT(molecule.atoms[2].Coord.x, 90.0);
  // The ions lie around the centre of everything, on the way from the molecule to the water.
  const double center = 100.0 * 81 / 83;
  EXPECT_NEAR(molecule.atoms.back().Coord.x, center, 6.0);
}

TEST_F(SolvateJob, ACallerWithoutAMoveMovesNothing) {
  // The command line always gives three numbers; the options of a caller can be empty.
  LinkDataFolder();
  CmdArgs args;
  args.inFilename = folder / "m.pdb";
  args.topFilename = folder / "m.psf";
  args.outPrefix = folder / "x";
  args.box = {2.0, 9.0, 9.0};
  args.move.clear();
  args.noAddIons = true;
  const std::string out = OutputOf([&] { Job::DoSolvate(args); });
  EXPECT_NE(out.find("\nCenter moved by: 0.000, 0.000, 0.000 Angstrom.\n"
                     "0 water molecules are added.\n"),
            std::string::npos)
      << out;
}

TEST_F(SolvateJob, ACornerOfTheBoxIsTheFirstWatersPlace) {
  RunOnMolecule({"--box", "30 31 32"});
  const PDB molecule = MoleculeOf("x.pdb");
  const Vec3D coords[] = {molecule.atoms[2].Coord, molecule.atoms[3].Coord,
                          molecule.atoms[4].Coord};
  const Vec3D center = ComputationalGeometry::CalcCenter(3, coords, nullptr);
  EXPECT_NEAR(center.x, -15.0, 0.001);
  EXPECT_NEAR(center.y, -15.5, 0.001);
  EXPECT_NEAR(center.z, -16.0, 0.001);
}

TEST_F(SolvateJob, ABoxNarrowerThanTheGridGetsIonsOnly) {
  const std::string out = RunOnMolecule({"--box", "2 90 90"});
  EXPECT_NE(out.find("\n0 water molecules are added.\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\n2 cations and 0 anions are added.\n"), std::string::npos) << out;
}

TEST_F(SolvateJob, AChargeThatIsNoWholeNumberEndsTheRunBeforeAFileIsWritten) {
  WriteMolecule("0.500000");
  const std::string out = RunOnMolecule({"--box", "9 9 9"});
  EXPECT_TRUE(out.ends_with(
      "\n21 water molecules are added.\n"
      "Add ions:\n"
      " Target charge: 0\n"
      " Target ionic strength: 0.010 mol/L\n"
      "Error occurs: The total charge is not an integer: 0.50000 (delta = 5.00000E-01)\n"))
      << out;
  EXPECT_EQ(Files(), (List{"m.pdb", "m.psf"}));
}

TEST_F(SolvateJob, WithoutIonsAnyChargeGetsThrough) {
  WriteMolecule("0.500000");
  const std::string out = RunOnMolecule({"--box", "9 9 9", "--no-add-ions", "--charge", "7"});
  EXPECT_TRUE(
      out.ends_with("\n21 water molecules are added.\n"
                    "No ions are added.\n"
                    "Write PDB: x.pdb\n"
                    "Write PSF: x.psf\n"
                    "Total charge: 0.50000\n"))
      << out;
}

TEST_F(SolvateJob, TheTargetsAreMet) {
  const std::string out =
      RunOnMolecule({"--box", "30 30 30", "--charge", "-3", "--ionic-strength", "0.5"});
  EXPECT_NE(out.find("\n Target charge: -3\n"
                     " Target ionic strength: 0.500 mol/L\n"
                     "7 cations and 8 anions are added.\n"
                     "Final ionic strength: 0.461 mol/L\n"),
            std::string::npos)
      << out;
  EXPECT_TRUE(out.ends_with("\nTotal charge: -3.00000\n"));
}

TEST_F(SolvateJob, IonsGetTheBoxsEdgesAndStayInTheDroplet) {
  // 11.4 ions in the volume of the box; that of a cube or of two equal edges gives other numbers.
  WriteMolecule("0.000000");
  const std::string out =
      RunOnMolecule({"--box", "16 18 22", "--ionic-strength", "1.5", "--droplet"});
  EXPECT_NE(out.find("\n5 cations and 5 anions are added.\n"
                     "Final ionic strength: 1.310 mol/L\n"),
            std::string::npos)
      << out;
  const PDB molecule = MoleculeOf("x.pdb");
  Vec3D sum;
  const int others = molecule.numAtoms - 10;
  for (int i = 0; i < others; ++i) sum = sum + molecule.atoms[i].Coord;
  const Vec3D center = sum * (1.0 / others);
  for (int i = others; i < molecule.numAtoms; ++i) {
    const Vec3D r = molecule.atoms[i].Coord - center;
    // A little more, for the rounded coordinates.
    EXPECT_LT(Length(Vec3D(r.x / 8.01, r.y / 9.01, r.z / 11.01)), 1.0);
  }
}

TEST_F(SolvateJob, TheSameRunGivesTheSameFiles) {
  const List options = {"--box", "20 21 22", "--ionic-strength", "1", "--droplet"};
  const std::string out = RunOnMolecule(options);
  const std::string pdb = folder.Read("x.pdb");
  const std::string psf = folder.Read("x.psf");
  EXPECT_EQ(RunOnMolecule(options), out);
  EXPECT_EQ(folder.Read("x.pdb"), pdb);
  EXPECT_EQ(folder.Read("x.psf"), psf);
}

TEST_F(SolvateJob, ABoxThatIsTooLargeEndsTheRunBeforeAFileIsWritten) {
  for (const char* box : {"1e6 1e6 1e6", "1e400 1e5 1e5", "3 1e300 1e300"}) {
    const std::string out = RunOnMolecule({"--box", box});
    EXPECT_NE(out.find(" Angstrom.\n"
                       "Error occurs: The box is too large: there would be more than "),
              std::string::npos)
        << out;
  }
  const std::string out = RunOnMolecule({"--box", "9 9 9", "--ionic-strength", "1e300"});
  EXPECT_NE(out.find("Error occurs: The ions are too many: there would be more than "),
            std::string::npos)
      << out;
  EXPECT_EQ(Files(), (List{"m.pdb", "m.psf"}));
}

TEST_F(SolvateJob, AMoleculeWithoutAtomsIsWrittenWithWaterThatLiesNowhere) {
  folder.Write("m.pdb", "END\n");
  folder.Write("m.psf", "PSF EXT\n\n 0\n\n 0\n\n 0\n\n 0\n\n 0\n\n 0\n\n 0\n\n");
  const std::string out = RunOnMolecule({"--box", "6 6 6", "--droplet"});
  EXPECT_NE(out.find("\n8 water molecules are added.\n"), std::string::npos) << out;
  EXPECT_TRUE(out.ends_with("\nTotal charge: 0.00000\n")) << out;
}

TEST_F(SolvateJob, FilesThatCannotBeReadOrWrittenEndTheRun) {
  EXPECT_EQ(Run({"-i", "m.pdb", "-t", "no.psf", "--box", "9 9 9"}),
            std::string(kReport) +
                "Read topology: no.psf\nError occurs: Cannot open PSF file \"no.psf\".");
  EXPECT_TRUE(Run({"-i", "m.pdb", "-t", "m.psf", "--box", "9 9 9", "-o", "no/x"})
                  .ends_with("Write PDB: no/x.pdb\nError occurs: Cannot save the molecule to a PDB "
                             "file \"no/x.pdb\"."));
  EXPECT_EQ(Files(), (List{"m.pdb", "m.psf"}));
}

TEST_F(OwnTemplates, AreReadInTheirOrderBeforeTheBoxIsLookedAt) {
  const std::string begin = std::string(kReport) + "Read topology: m.psf\n";
  // From the last one to the first, so that each time another one is missed first.
  for (const char* name : {"cla", "sod", "tip3"}) {
    fs::remove(folder / ("p/data/" + std::string(name) + ".psf"));
    EXPECT_EQ(RunBesideThem({}), begin + "Error occurs: Cannot open PSF file \"" +
                                     PathOf(std::string(name) + ".psf") + "\".");
    fs::remove(folder / ("p/data/" + std::string(name) + ".pdb"));
    EXPECT_EQ(RunBesideThem({}), begin + "Error occurs: Cannot open file \"" +
                                     PathOf(std::string(name) + ".pdb") + "\".");
  }
}

TEST_F(OwnTemplates, NameWhatIsAdded) {
  folder.Write("p/data/sod.pdb", PdbLine("ATOM", 9, "QQ", "QQQ", "K", 55, 1, 2, 3));
  folder.Write("p/data/sod.psf",
               "PSF EXT\n\n 0\n\n 1\n 1 SEG 55 LONG QQ TYPE 1.0 5.5 0\n\n 0\n\n 0\n\n 0\n\n "
               "0\n\n 0\n\n");
  RunBesideThem();
  const PDB molecule = MoleculeOf("x.pdb");
  EXPECT_EQ(molecule.atoms.back().Name, "QQ");
  EXPECT_EQ(molecule.atoms.back().ResName, "QQQ");
  EXPECT_EQ(molecule.atoms.back().ChainID, "K");
  EXPECT_EQ(molecule.atoms.back().ResSeq, 2);
  MolecularMechanicsTopology topology;
  topology.LoadFromPSF(folder / "x.psf");
  EXPECT_EQ(topology.GetAtoms().back().segment, "SEG");
  EXPECT_EQ(topology.GetAtoms().back().residue_name, "LONG");
  EXPECT_EQ(topology.GetAtoms().back().residue_sn, 2);
}

TEST_F(OwnTemplates, OfAnotherSizeEndTheRunBeforeAFileIsWritten) {
  const std::string water = folder.Read("p/data/tip3.pdb");
  const std::string water_psf = folder.Read("p/data/tip3.psf");
  folder.Write("p/data/tip3.pdb", PdbLine("ATOM", 1, "OH2", "TIP", "W", 1, 0, 0, 0));
  EXPECT_TRUE(
      RunBesideThem().ends_with("Error occurs: The template \"" + PathOf("tip3.pdb") +
                                "\" should hold a water molecule of 3 atoms, but it has 1."));
  folder.Write("p/data/tip3.pdb", water + PdbLine("ATOM", 4, "LP", "TIP", "W", 1, 0, 0, 0));
  EXPECT_TRUE(RunBesideThem().ends_with("should hold a water molecule of 3 atoms, but it has 4."));
  folder.Write("p/data/tip3.pdb", water);
  folder.Write("p/data/tip3.psf", folder.Read("p/data/sod.psf"));
  EXPECT_TRUE(RunBesideThem().ends_with("Error occurs: The template \"" + PathOf("tip3.pdb") +
                                        "\" has 3 atoms, but its topology has 1."));
  folder.Write("p/data/tip3.psf", water_psf);
  folder.Write("p/data/sod.pdb", water);
  EXPECT_TRUE(RunBesideThem().ends_with(
      "\nError occurs: Number of coordinates (1) does not match number of "
      "atoms (3)."));
  EXPECT_EQ(Files(), (List{"m.pdb", "m.psf", "p"}));
  // Where no sodium is wanted, its template does not matter.
  EXPECT_TRUE(
      RunBesideThem({"--box", "9 9 9", "--charge", "-2"}).ends_with("\nTotal charge: -2.00000\n"));
}

}  // namespace
}  // namespace orvane
