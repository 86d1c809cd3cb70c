// The mode "ligand", run as the user runs it. The molecules hold an unbonded atom, which leaves
// every atom with the first type of its element, whatever the networks were trained to.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "JobTest.h"
#include "MolecularMechanicsTopology.h"

namespace orvane {
namespace {

using testing_support::JobTest;
using testing_support::PdbLine;

using List = std::vector<std::string>;

// Two carbon atoms on both sides of a face of the cell below, and a chloride.
constexpr const char* kSplit = "3\nsplit\nC 0.5 0 0\nC 9.5 0 0\nCl 4 5 5\n";
constexpr const char* kCell = "10 0 0 0 20 0 0 0 20";

constexpr const char* kReport =
    "Current state:\n"
    "Molecule:                 m.xyz\n"
    "Number of atoms:          3\n"
    "Number of residues:       1\n"
    " Number of amino acids:   0\n"
    " Number of nucleic acids: 0\n"
    " Number of waters:        0\n"
    " Number of ions:          0\n"
    " Number of ligands:       1\n"
    "Guess topology and parameters ...\n";
constexpr const char* kGuessed =
    "Warning: Impropers cannot be generated automatically. You have to add them manually if "
    "necessary.\n"
    "Guess topology and parameters done.\n";
constexpr const char* kChargeWarning =
    "Warning: Please pay attention to the charges in PSF file. You may probably need to "
    "recalculate them.\n"
    "More information: https://orvane.example/ravelo/doc/tutorial-2.html\n";

class LigandJob : public JobTest {
 protected:
  LigandJob() : JobTest("ligand") {}

  // Columns 31 to 54 of the atom lines of a PDB file.
  List CoordsOf(const std::string& name) const {
    List coords;
    std::istringstream lines(folder.Read(name));
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("HETATM")) coords.push_back(line.substr(30, 24));
    }
    return coords;
  }

  MolecularMechanicsTopology TopologyOf(const std::string& name) const {
    MolecularMechanicsTopology topology;
    topology.LoadFromPSF(folder / name);
    return topology;
  }
};

TEST_F(LigandJob, NeedsAnInputFile) {
  EXPECT_EQ(Run({}), "Error occurs: An input file must be given with \"-i\".");
  EXPECT_EQ(Run({"-o", "x", "--pbc", kCell}),
            "Error occurs: An input file must be given with \"-i\".");
}

TEST_F(LigandJob, WithoutACellOnlyTheMoleculeIsWritten) {
  folder.Write("m.xyz", kSplit);
  // The numbers of super cells are of no use then, and nothing is said of them.
  EXPECT_EQ(Run({"-i", "m.xyz", "--super-cells", "1 2 3"}),
            std::string("Read: m.xyz\nNo PBC is applied.\n") + kReport + kGuessed +
                "Write PDB: m-ligand.pdb\n"
                "Write PSF: m-ligand.psf\n"
                "Write naive parameters: m-ligand-naive.prm\n"
                "Total charge: -0.20000\n" +
                kChargeWarning);
  EXPECT_EQ(Files(), (List{"m-ligand-naive.prm", "m-ligand.pdb", "m-ligand.psf", "m.xyz"}));
  EXPECT_EQ(CoordsOf("m-ligand.pdb"), (List{"   0.500   0.000   0.000", "   9.500   0.000   0.000",
                                            "   4.000   5.000   5.000"}));
  EXPECT_TRUE(TopologyOf("m-ligand.psf").GetBonds().empty());
}

TEST_F(LigandJob, ACellMakesMoleculesWholeAndASuperCell) {
  folder.Write("m.xyz", kSplit);
  EXPECT_EQ(Run({"-i", "m.xyz", "-o", "x", "--pbc", kCell, "--super-cells", "1 0 0"}),
            std::string("Read: m.xyz\n"
                        "PBC is provided:\n"
                        "T1:     10.00000000      0.00000000      0.00000000\n"
                        "T2:      0.00000000     20.00000000      0.00000000\n"
                        "T3:      0.00000000      0.00000000     20.00000000\n"
                        "Super cells: 1 0 0\n"
                        "0 0 1 \n") +
                kReport + kGuessed +
                "Write PDB: x.pdb\n"
                "Write PSF: x.psf\n"
                "Write naive parameters: x-naive.prm\n"
                "Total charge: -0.20000\n" +
                kChargeWarning +
                "Write PDB: x-sc.pdb\n"
                "Write PSF: x-sc.psf\n");
  EXPECT_EQ(Files(), (List{"m.xyz", "x-naive.prm", "x-sc.pdb", "x-sc.psf", "x.pdb", "x.psf"}));
  // The first atom is moved to the second, and the chloride next to both.
  const List home = {"  10.500   0.000   0.000", "   9.500   0.000   0.000",
                     "  14.000   5.000   5.000"};
  EXPECT_EQ(CoordsOf("x.pdb"), home);
  List block = home;
  block.insert(block.end(), {"   0.500   0.000   0.000", "  -0.500   0.000   0.000",
                             "   4.000   5.000   5.000", "  20.500   0.000   0.000",
                             "  19.500   0.000   0.000", "  24.000   5.000   5.000"});
  EXPECT_EQ(CoordsOf("x-sc.pdb"), block);
}

TEST_F(LigandJob, NoBondOfTheSuperCellCrossesFromOneCellToTheNext) {
  // Each carbon is within a bond's length of its own image in the next cell.
  folder.Write("m.xyz", "2\nchain\nC 0 0 0\nCl 0 9 9\n");
  Run({"-i", "m.xyz", "-o", "x", "--pbc", "1.5 0 0 0 40 0 0 0 40", "--super-cells", "1 0 0"});
  EXPECT_EQ(CoordsOf("x-sc.pdb").size(), 6u);
  EXPECT_TRUE(TopologyOf("x-sc.psf").GetBonds().empty());
}

TEST_F(LigandJob, NineNumbersAreThreeVectorsAndTheBlockGoesAlongEachByItsOwnNumber) {
  folder.Write("m.xyz", "2\npair\nC 0 0 0\nCl 4 0 0\n");
  const std::string out =
      Run({"-i", "m.xyz", "-o", "x", "--pbc", "11 1 2 3 22 4 5 6 33", "--super-cells", "0 1 2"});
  EXPECT_TRUE(
      out.starts_with("Read: m.xyz\n"
                      "PBC is provided:\n"
                      "T1:     11.00000000      1.00000000      2.00000000\n"
                      "T2:      3.00000000     22.00000000      4.00000000\n"
                      "T3:      5.00000000      6.00000000     33.00000000\n"
                      "Super cells: 0 1 2\n"
                      "0 1 \n"))
      << out;
  const List coords = CoordsOf("x-sc.pdb");
  ASSERT_EQ(coords.size(), 2u * 15u);
  EXPECT_EQ(coords[0], "   0.000   0.000   0.000");
  EXPECT_EQ(coords[2], " -13.000 -34.000 -70.000");
  EXPECT_EQ(coords[4], "  -8.000 -28.000 -37.000");
  EXPECT_EQ(coords.back(), "  17.000  34.000  70.000");
  EXPECT_EQ(TopologyOf("x-sc.psf").GetAtoms().size(), 2u * 15u);
}

TEST_F(LigandJob, TheSuperCellRepeatsNamesAndTypesAndNumbersTheCells) {
  folder.Write("m.xyz", "3\nsplit\nC 0 0 0\nC 1.4 0 0\nCl 0 9 9\n");
  Run({"-i", "m.xyz", "-o", "x", "--pbc", "40 0 0 0 40 0 0 0 40", "--super-cells", "1 0 0"});
  const MolecularMechanicsTopology topology = TopologyOf("x-sc.psf");
  EXPECT_EQ(topology.GetBonds().flat(), (std::vector<int>{0, 1, 3, 4, 6, 7}));
  ASSERT_EQ(topology.GetAtoms().size(), 9u);
  const List names = {"C", "C", "Cl", "C", "C", "Cl", "C", "C", "Cl"};
  const List types = {"CG1T1", "CG1T1", "CLGA1", "CG1T1", "CG1T1",
                      "CLGA1", "CG1T1", "CG1T1", "CLGA1"};
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(topology.GetAtoms()[i].name, names[i]);
    EXPECT_EQ(topology.GetAtoms()[i].type, types[i]);
    EXPECT_EQ(topology.GetAtoms()[i].residue_sn, i / 3 + 1);
  }
}

TEST_F(LigandJob, WithoutSuperCellsTheBlockIsTheCell) {
  folder.Write("m.xyz", kSplit);
  const std::string out = Run({"-i", "m.xyz", "-o", "x", "--pbc", kCell});
  EXPECT_NE(out.find("\nSuper cells: 0 0 0\n0 0 1 \n"), std::string::npos);
  EXPECT_EQ(folder.Read("x-sc.pdb"), folder.Read("x.pdb"));
  EXPECT_EQ(folder.Read("x-sc.psf"), folder.Read("x.psf"));
}

TEST_F(LigandJob, CountsTheCellsOnBothSides) {
  folder.Write("m.xyz", kSplit);
  Run({"-i", "m.xyz", "-o", "x", "--pbc", kCell, "--super-cells", "1 1 1"});
  EXPECT_EQ(CoordsOf("x-sc.pdb").size(), 3u * 27u);
  EXPECT_EQ(TopologyOf("x-sc.psf").GetAtoms().size(), 3u * 27u);
  Run({"-i", "m.xyz", "-o", "x", "--pbc", kCell, "--super-cells", "2 0 0"});
  EXPECT_EQ(CoordsOf("x-sc.pdb").size(), 3u * 5u);
  EXPECT_EQ(TopologyOf("x-sc.psf").GetAtoms().size(), 3u * 5u);
}

TEST_F(LigandJob, SixNumbersAreLengthsAndAngles) {
  folder.Write("m.xyz", kSplit);
  const std::string out = Run({"-i", "m.xyz", "-o", "x", "--pbc", "8 9.5 10 85 80 100"});
  EXPECT_TRUE(
      out.starts_with("Read: m.xyz\n"
                      "PBC is provided:\n"
                      "A:          8.00000000 Angstrom\n"
                      "B:          9.50000000 Angstrom\n"
                      "C:         10.00000000 Angstrom\n"
                      "Alpha:     85.00000000 Degree\n"
                      "Beta:      80.00000000 Degree\n"
                      "Gamma:    100.00000000 Degree\n"
                      "T1:      8.00000000      0.00000000      0.00000000\n"
                      "T2:     -1.64965769      9.35567365      0.00000000\n"
                      "T3:      1.73648178      1.19119119      9.77577079\n"
                      "Super cells: 0 0 0\n"))
      << out;
}

TEST_F(LigandJob, RightAnglesLeaveNoNegativeZero) {
  folder.Write("m.xyz", kSplit);
  EXPECT_NE(Run({"-i", "m.xyz", "-o", "x", "--pbc", "20 20 20 90 90 90"})
                .find("T2:      0.00000000     20.00000000      0.00000000\n"
                      "T3:      0.00000000      0.00000000     20.00000000\n"),
            std::string::npos);
}

TEST_F(LigandJob, AnglesThatNoCellHasAreNotComplainedOf) {
  folder.Write("m.xyz", kSplit);
  const std::string out = Run({"-i", "m.xyz", "-o", "x", "--pbc", "10 10 10 150 30 30"});
  EXPECT_NE(out.find("nan\nSuper cells: 0 0 0\n"), std::string::npos) << out;
  EXPECT_TRUE(out.ends_with("Write PDB: x-sc.pdb\nWrite PSF: x-sc.psf\n")) << out;
  EXPECT_EQ(folder.Read("x-sc.pdb"), folder.Read("x.pdb"));
}

TEST_F(LigandJob, TheBlockIsLookedOverLikeAFileThatIsRead) {
  folder.Write("m.pdb", PdbLine("HETATM", 1, "CLA", "LIG", "A", 7, 1.0, 2.0, 3.0, 0.5) +
                            PdbLine("HETATM", 2, "C1", "LIG", "A", 8, 5.0, 6.0, 7.0));
  const std::string out = Run({"-i", "m.pdb", "-o", "x", "--pbc", kCell, "--super-cells", "0 1 0"});
  const auto warning = [](int residue) {
    return "Warning: The atom CLA in residue LIG" + std::to_string(residue) +
           " at chain A has an occupancy of 0.500.\n";
  };
  EXPECT_TRUE(out.starts_with("Read: m.pdb\n" + warning(7) + "PBC is provided:\n")) << out;
  EXPECT_TRUE(out.ends_with(kChargeWarning + warning(7) + warning(8) + warning(9) +
                            "Write PDB: x-sc.pdb\nWrite PSF: x-sc.psf\n"))
      << out;
  // The two files count the copies in their own ways.
  List residues;
  std::istringstream lines(folder.Read("x-sc.pdb"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("HETATM")) residues.push_back(line.substr(22, 4));
  }
  EXPECT_EQ(residues, (List{"   7", "   8", "   8", "   8", "   9", "   9"}));
  std::vector<int> numbers;
  const MolecularMechanicsTopology topology = TopologyOf("x-sc.psf");
  for (const auto& atom : topology.GetAtoms()) numbers.push_back(atom.residue_sn);
  EXPECT_EQ(numbers, (std::vector<int>{1, 1, 2, 2, 3, 3}));
}

TEST_F(LigandJob, AnAtomThatIsLeftOutOfTheBlockStaysInItsTopology) {
  // Of two such atoms in a row, one is taken away as the file is read and one with the block.
  folder.Write("m.pdb", PdbLine("HETATM", 1, "CLA", "LIG", "A", 1, 1.0, 2.0, 3.0) +
                            PdbLine("HETATM", 2, "OXT", "LIG", "A", 1, 5.0, 6.0, 7.0) +
                            PdbLine("HETATM", 3, "OXT", "LIG", "A", 1, 5.0, 6.0, 7.0));
  Run({"-i", "m.pdb", "-o", "x", "--pbc", kCell});
  EXPECT_EQ(CoordsOf("x.pdb").size(), 2u);
  EXPECT_EQ(CoordsOf("x-sc.pdb").size(), 1u);
  EXPECT_EQ(TopologyOf("x-sc.psf").GetAtoms().size(), 2u);
}

TEST_F(LigandJob, AnUnknownElementIsNamed) {
  folder.Write("m.xyz", "4\nunknown\nQq 0 0 0\nC 1 0 0\nZz 2 0 0\nQq 3 0 0\n");
  const std::string out = Run({"-i", "m.xyz", "-o", "x"});
  EXPECT_NE(out.find("Guess topology and parameters ...\n"
                     "Warning: Atoms of unknown elements have no known radius and type: \"Qq\", "
                     "\"Zz\".\n"
                     "Warning: Impropers cannot"),
            std::string::npos)
      << out;
  const MolecularMechanicsTopology topology = TopologyOf("x.psf");
  EXPECT_TRUE(topology.GetBonds().empty());
  EXPECT_EQ(topology.GetAtoms()[0].type, "X");
  EXPECT_EQ(topology.GetAtoms()[0].charge, -1.0);
  EXPECT_EQ(topology.GetAtoms()[1].type, "CG1T1");
}

TEST_F(LigandJob, OfManyUnknownElementsAFewAreNamed) {
  std::string text = "11\nunknown\n";
  for (char letter = 'k'; letter >= 'a'; --letter) {
    text += std::string("Q") + letter + " " + std::to_string(letter) + " 0 0\n";
  }
  folder.Write("m.xyz", text);
  const std::string out = Run({"-i", "m.xyz", "-o", "x"});
  EXPECT_NE(out.find("type: \"Qa\", \"Qb\", \"Qc\", \"Qd\", \"Qe\", \"Qf\", \"Qg\", \"Qh\", "
                     "\"Qi\", \"Qj\" and 1 more.\n"),
            std::string::npos)
      << out;
}

TEST_F(LigandJob, AnAtomThatIsMeantToBeNoneIsNotWarnedOf) {
  folder.Write("m.xyz", "2\ndummy\nX 0 0 0\nSi 9 0 0\n");
  const std::string out = Run({"-i", "m.xyz", "-o", "x"});
  EXPECT_EQ(out.find("unknown"), std::string::npos) << out;
  EXPECT_NE(out.find("Total charge: -2.00000\n"), std::string::npos) << out;
}

TEST_F(LigandJob, AMoleculeWithoutAtomsIsWritten) {
  folder.Write("m.pdb", "END\n");
  const std::string out =
      Run({"-i", "m.pdb", "-o", "x", "--pbc", kCell, "--super-cells", "9 2147483647 9"});
  EXPECT_NE(out.find("\nSuper cells: 9 2147483647 9\n\nCurrent state:\n"), std::string::npos)
      << out;
  EXPECT_NE(out.find("\nTotal charge: 0.00000\n"), std::string::npos) << out;
  EXPECT_TRUE(CoordsOf("x-sc.pdb").empty());
  EXPECT_TRUE(TopologyOf("x-sc.psf").GetAtoms().empty());
}

TEST_F(LigandJob, ABlockThatIsTooLargeEndsTheRunBeforeTheWork) {
  folder.Write("m.xyz", kSplit);
  const std::string out = Run({"-i", "m.xyz", "--pbc", kCell, "--super-cells", "0 0 2147483647"});
  EXPECT_TRUE(
      out.ends_with("Super cells: 0 0 2147483647\n"
                    "Error occurs: The super cells 0 0 2147483647 are too many: there "
                    "would be more than 2147483647 atoms."))
      << out;
  EXPECT_EQ(Files(), List{"m.xyz"});
}

TEST_F(LigandJob, AtomsOnOneSpotEndTheRunBeforeAFileIsWritten) {
  const auto run = [&](int atoms) {
    std::string text = std::to_string(atoms) + "\nspot\n";
    for (int i = 0; i < atoms; ++i) text += "C 0 0 0\n";
    folder.Write("m.xyz", text);
    return Run({"-i", "m.xyz"});
  };
  EXPECT_TRUE(
      run(300).ends_with("Guess topology and parameters ...\n"
                         "Error occurs: The topology would have too many dihedrals."));
  EXPECT_TRUE(
      run(1000).ends_with("Guess topology and parameters ...\n"
                          "Error occurs: The topology would have too many angles."));
  EXPECT_EQ(Files(), List{"m.xyz"});
}

TEST_F(LigandJob, FilesThatCannotBeReadOrWrittenEndTheRun) {
  EXPECT_TRUE(Run({"-i", "no.xyz"}).starts_with("Read: no.xyz\nError occurs: "));
  folder.Write("m.xyz", kSplit);
  EXPECT_TRUE(Run({"-i", "m.xyz", "-o", "no/x"})
                  .ends_with("Write PDB: no/x.pdb\nError occurs: Cannot save the molecule to a PDB "
                             "file \"no/x.pdb\"."));
  EXPECT_EQ(Files(), List{"m.xyz"});
}

}  // namespace
}  // namespace orvane
