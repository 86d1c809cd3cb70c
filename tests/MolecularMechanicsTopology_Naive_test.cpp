// Naive parameters: the values that atoms get by type, and the parameter file to the byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "CHARMMParameterFiles.h"
#include "ComputationalGeometry.h"
#include "MolecularMechanicsTopology.h"
#include "PDB.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::TemporaryFolder;

using Atom = MolecularMechanicsTopology::Atom;
using Geometry = ComputationalGeometry;
using Lines = std::vector<std::string>;
using Names = std::vector<std::string>;
using Params = CHARMMParameterFiles;

constexpr const char* kHead =
    "! Naive Force Field Parameters for a Molecule\n"
    "! Please cite:\n"
    "! Marrin, T. J. Mol. Tools 2021, 48, 100731\n"
    "\n"
    "ATOMS\n"
    "! Nothing to write.\n"
    "\n";

MolecularMechanicsTopology TopologyOf(const Names& types, const TermList& bonds) {
  std::vector<Atom> atoms;
  for (const std::string& type : types) {
    Atom& atom = atoms.emplace_back();
    atom.type = type;
    atom.charge = -1.0;
  }
  MolecularMechanicsTopology topology;
  topology.Build(atoms, bonds, TermList(4), TermList(4));
  return topology;
}

// Atoms in a row, each bonded to the next.
MolecularMechanicsTopology ChainOf(const Names& types) {
  TermList bonds(2);
  for (int i = 1; i < static_cast<int>(types.size()); ++i) bonds.push_back({i - 1, i});
  return TopologyOf(types, bonds);
}

std::string FileOf(const MolecularMechanicsTopology& topology, const std::vector<Vec3D>& coords) {
  const TemporaryFolder folder;
  EXPECT_EQ(OutputOf([&] { topology.WriteNaiveParams(coords, folder / "naive.prm"); }), "");
  return folder.Read("naive.prm");
}

// The lines of one section of the file.
Lines SectionOf(const std::string& text, const std::string& name) {
  Lines lines;
  std::size_t at = text.find("\n" + name + "\n");
  EXPECT_NE(at, std::string::npos) << name;
  at += name.size() + 2;
  while (true) {
    const std::size_t end = text.find('\n', at);
    if (end == at || end == std::string::npos) return lines;
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
}

// A zigzag in which no three atoms lie on a line.
std::vector<Vec3D> Zigzag(std::size_t size) {
  std::vector<Vec3D> coords;
  for (std::size_t i = 0; i < size; ++i) {
    const double x = static_cast<double>(i);
    coords.emplace_back(1.3 * x, i % 2 == 0 ? 0.0 : 0.8, 0.05 * x * x);
  }
  return coords;
}

// Values by type.

TEST(MolecularMechanicsTopology_Naive, AtomsGetChargeAndLennardJonesValuesByType) {
  MolecularMechanicsTopology topology = ChainOf({"CG331", "OG311"});
  topology.AssignParams();
  EXPECT_EQ(topology.GetAtoms()[0].charge, -0.37);
  EXPECT_EQ(topology.GetAtoms()[0].lj_epsilon, -4.184 * -0.078);
  EXPECT_EQ(topology.GetAtoms()[0].lj_sigma, 1.781797 * 2.05);
  EXPECT_EQ(topology.GetAtoms()[1].charge, -0.63);
  EXPECT_EQ(topology.GetAtoms()[1].lj_epsilon, -4.184 * -0.1921);
  EXPECT_EQ(topology.GetAtoms()[1].lj_sigma, 1.781797 * 1.765);
  EXPECT_EQ(topology.GetTotalCharge(), -0.37 + -0.63);
}

TEST(MolecularMechanicsTopology_Naive, AtomsOfUnknownTypesKeepWhatTheyHave) {
  MolecularMechanicsTopology topology = ChainOf({"X", "HGA1", "cg331", ""});
  topology.AssignParams();
  for (const std::size_t i : {0u, 2u, 3u}) {
    EXPECT_EQ(topology.GetAtoms()[i].charge, -1.0);
    EXPECT_EQ(topology.GetAtoms()[i].lj_epsilon, 0.0);
    EXPECT_EQ(topology.GetAtoms()[i].lj_sigma, 0.0);
  }
  EXPECT_EQ(topology.GetAtoms()[1].charge, 0.09);

  std::vector<MolecularMechanicsTopology::Atom> atoms(1);
  atoms[0].type = "X";
  atoms[0].lj_epsilon = 2.0;
  atoms[0].lj_sigma = 3.0;
  topology.Build(atoms, TermList(2), TermList(4), TermList(4));
  topology.AssignParams();
  EXPECT_EQ(topology.GetAtoms()[0].lj_epsilon, 2.0);
  EXPECT_EQ(topology.GetAtoms()[0].lj_sigma, 3.0);
}

TEST(MolecularMechanicsTopology_Naive, AssigningLeavesTheTermsAlone) {
  MolecularMechanicsTopology topology = ChainOf({"CG331", "CG331", "CG331"});
  topology.AssignParams();
  EXPECT_EQ(topology.GetBonds().size(), 2u);
  EXPECT_EQ(topology.GetAngles().size(), 1u);
}

// The file.

TEST(MolecularMechanicsTopology_Naive, TheFileOfAMoleculeWithoutBondsHasEmptySections) {
  MolecularMechanicsTopology topology = TopologyOf(Names(10, "HGA1"), TermList(2));
  topology.AssignParams();
  EXPECT_EQ(FileOf(topology, std::vector<Vec3D>(10)),
            std::string(kHead) +
                "BONDS\n\nANGLES\n\nDIHEDRALS\n\nNONBONDED\n"
                "   HGA1 0.0     -0.04500000      1.34000000\n"
                "\nEND\n\n");
}

TEST(MolecularMechanicsTopology_Naive, TheFileOfNoAtomsHasNothingButSections) {
  EXPECT_EQ(FileOf(MolecularMechanicsTopology(), {}),
            std::string(kHead) + "BONDS\n\nANGLES\n\nDIHEDRALS\n\nNONBONDED\n\nEND\n\n");
}

TEST(MolecularMechanicsTopology_Naive, KnownTermsComeFromTheTableAndEndInABlank) {
  MolecularMechanicsTopology topology = ChainOf({"HGA3", "CG331", "CG331", "HGA3"});
  topology.AssignParams();
  EXPECT_EQ(FileOf(topology, Zigzag(4)),
            std::string(kHead) +
                "BONDS\n"
                "   HGA3   CG331    322.00000000      1.11100000 \n"
                "  CG331    HGA3    322.00000000      1.11100000 \n"
                "  CG331   CG331    222.50000000      1.53000000 \n"
                "\n"
                "ANGLES\n"
                "   HGA3   CG331   CG331     37.50000000    110.10000000     22.53000000"
                "      2.17900000 \n"
                "  CG331   CG331    HGA3     37.50000000    110.10000000     22.53000000"
                "      2.17900000 \n"
                "\n"
                "DIHEDRALS\n"
                "   HGA3   CG331   CG331    HGA3      0.15500000    3      0.00000000 \n"
                "\n"
                "NONBONDED\n"
                "   HGA3 0.0     -0.02400000      1.34000000\n"
                "  CG331 0.0     -0.07800000      2.05000000\n"
                "\nEND\n\n");
}

TEST(MolecularMechanicsTopology_Naive, UnknownTermsAreGuessedFromTheGeometry) {
  const MolecularMechanicsTopology topology = ChainOf({"Q1", "Q2", "Q3", "Q4"});
  const std::vector<Vec3D> coords = {{1.5, 0, 0}, {0, 0, 0}, {0, 2, 0}, {0, 2, -1.25}};
  EXPECT_EQ(FileOf(topology, coords),
            std::string(kHead) +
                "BONDS\n"
                "     Q1      Q2    300.00000000      1.50000000 ! Guess\n"
                "     Q2      Q3    300.00000000      2.00000000 ! Guess\n"
                "     Q3      Q4    300.00000000      1.25000000 ! Guess\n"
                "\n"
                "ANGLES\n"
                "     Q1      Q2      Q3     50.00000000     90.00000000      0.00000000"
                "      0.00000000 ! Guess\n"
                "     Q2      Q3      Q4     50.00000000     90.00000000      0.00000000"
                "      0.00000000 ! Guess\n"
                "\n"
                "DIHEDRALS\n"
                "     Q1      Q2      Q3      Q4      1.00000000    2     90.00000000 ! Guess\n"
                "\n"
                "NONBONDED\n"
                "     Q1 0.0     -0.00000000      0.00000000\n"
                "     Q2 0.0     -0.00000000      0.00000000\n"
                "     Q3 0.0     -0.00000000      0.00000000\n"
                "     Q4 0.0     -0.00000000      0.00000000\n"
                "\nEND\n\n");
}

TEST(MolecularMechanicsTopology_Naive, AGuessedPhaseKeepsItsSign) {
  const std::vector<Vec3D> coords = {{1.5, 0, 0}, {0, 0, 0}, {0, 2, 0}, {0, 2, 1.25}};
  EXPECT_EQ(
      SectionOf(FileOf(ChainOf({"Q1", "Q2", "Q3", "Q4"}), coords), "DIHEDRALS"),
      (Lines{"     Q1      Q2      Q3      Q4      1.00000000    2    -90.00000000 ! Guess"}));
}

TEST(MolecularMechanicsTopology_Naive, GuessesOfTheSameTypesDifferByTheirGeometry) {
  TermList bonds(2);
  bonds.push_back({0, 1});
  bonds.push_back({2, 3});
  bonds.push_back({4, 5});
  const std::vector<Vec3D> coords = {{0, 0, 0}, {2, 0, 0},  {0, 0, 9},
                                     {1, 0, 9}, {0, 0, 18}, {0, 2, 18}};
  EXPECT_EQ(SectionOf(FileOf(TopologyOf(Names(6, "Q"), bonds), coords), "BONDS"),
            (Lines{"      Q       Q    300.00000000      1.00000000 ! Guess",
                   "      Q       Q    300.00000000      2.00000000 ! Guess"}));
}

TEST(MolecularMechanicsTopology_Naive, ADihedralOfThreeTermsGivesThreeLinesInSortedPosition) {
  const std::string text = FileOf(ChainOf({"CG2D1", "CG321", "OG311", "HGP1", "Q"}), Zigzag(5));
  const Lines lines = SectionOf(text, "DIHEDRALS");
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "  CG2D1   CG321   OG311    HGP1      0.14000000    3      0.00000000 ");
  EXPECT_EQ(lines[1], "  CG2D1   CG321   OG311    HGP1      0.70000000    2      0.00000000 ");
  EXPECT_EQ(lines[2], "  CG2D1   CG321   OG311    HGP1      1.30000000    1      0.00000000 ");
  EXPECT_TRUE(lines[3].ends_with("! Guess"));
}

TEST(MolecularMechanicsTopology_Naive, ADihedralCanMeetALineOfTheListOfImpropers) {
  EXPECT_EQ(SectionOf(FileOf(ChainOf({"HGA4", "NG2D1", "CG331", "CG2D1"}), Zigzag(4)), "DIHEDRALS"),
            (Lines{"   HGA4   NG2D1   CG331   CG2D1     25.00000000    0      0.00000000 "}));
}

TEST(MolecularMechanicsTopology_Naive, AStraightAngleIsThatOfTheGeometry) {
  const std::vector<Vec3D> coords = {{-1, 0, 0}, {0, 0, 0}, {1, 0, 0}};
  EXPECT_EQ(SectionOf(FileOf(ChainOf({"Q", "Q", "Q"}), coords), "ANGLES"),
            (Lines{"      Q       Q       Q     50.00000000    179.91897153      0.00000000"
                   "      0.00000000 ! Guess"}));
}

// Multiplying by a quotient would give ...319.
TEST(MolecularMechanicsTopology_Naive, RadiansAreMultipliedBeforeTheyAreDivided) {
  const std::vector<Vec3D> coords = {{-7.21, -4.62, 0.0}, {0.0, 0.0, 0.0}, {0.32, -2.45, 0.0}};
  EXPECT_EQ(SectionOf(FileOf(ChainOf({"Q", "Q", "Q"}), coords), "ANGLES"),
            (Lines{"      Q       Q       Q     50.00000000     64.79060320      0.00000000"
                   "      0.00000000 ! Guess"}));
}

TEST(MolecularMechanicsTopology_Naive, APhaseOfAtomsInALineIsNoNumber) {
  const std::vector<Vec3D> coords = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}};
  const Lines lines = SectionOf(FileOf(ChainOf({"Q", "Q", "Q", "Q"}), coords), "DIHEDRALS");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(
      lines[0] == "      Q       Q       Q       Q      1.00000000    2             nan ! Guess" ||
      lines[0] == "      Q       Q       Q       Q      1.00000000    2            -nan ! Guess")
      << lines[0];
}

TEST(MolecularMechanicsTopology_Naive, HugeAndMissingCoordinatesAreWrittenAsTheyAre) {
  const double infinity = std::numeric_limits<double>::infinity();
  const Lines lines = SectionOf(
      FileOf(ChainOf({"Q1", "Q2", "Q3"}), {{0, 0, 0}, {1e150, 0, 0}, {infinity, 0, 0}}), "BONDS");
  ASSERT_EQ(lines.size(), 2u);
  char text[400];
  std::snprintf(text, sizeof text, "     Q1      Q2    300.00000000 %.8f ! Guess", 1e150);
  EXPECT_EQ(lines[0], text);
  EXPECT_EQ(lines[1], "     Q2      Q3    300.00000000             inf ! Guess");
}

TEST(MolecularMechanicsTopology_Naive, ALonePairHasANegativeZero) {
  MolecularMechanicsTopology topology = TopologyOf({"LPH", "X"}, TermList(2));
  topology.AssignParams();
  EXPECT_EQ(SectionOf(FileOf(topology, std::vector<Vec3D>(2)), "NONBONDED"),
            (Lines{"      X 0.0     -0.00000000      0.00000000",
                   "    LPH 0.0     -0.00000000      0.00000000"}));
}

TEST(MolecularMechanicsTopology_Naive, AtomsOfOneTypeWithSeveralValuesGiveSeveralLines) {
  std::vector<Atom> atoms(6);
  for (Atom& atom : atoms) atom.type = "Q";
  atoms[1].lj_epsilon = -0.0;
  atoms[3].lj_epsilon = 4.184;
  atoms[4].lj_sigma = -1.781797;
  MolecularMechanicsTopology topology;
  topology.Build(atoms, TermList(2), TermList(4), TermList(4));
  EXPECT_EQ(SectionOf(FileOf(topology, {}), "NONBONDED"),
            (Lines{"      Q 0.0      0.00000000      0.00000000",
                   "      Q 0.0     -0.00000000      0.00000000",
                   "      Q 0.0     -0.00000000     -1.00000000",
                   "      Q 0.0     -1.00000000      0.00000000"}));
}

TEST(MolecularMechanicsTopology_Naive, LongTypesWidenTheirColumn) {
  const std::string longest(3000, 'L');
  const MolecularMechanicsTopology topology = ChainOf({"EIGHTCHA", longest});
  const std::string text = FileOf(topology, {{0, 0, 0}, {1, 0, 0}});
  EXPECT_EQ(SectionOf(text, "BONDS"),
            (Lines{"EIGHTCHA " + longest + "    300.00000000      1.00000000 ! Guess"}));
  EXPECT_EQ(SectionOf(text, "NONBONDED"),
            (Lines{"EIGHTCHA 0.0     -0.00000000      0.00000000",
                   longest + " 0.0     -0.00000000      0.00000000"}));
}

TEST(MolecularMechanicsTopology_Naive, ATypeIsWrittenUpToItsFirstNulByte) {
  const std::string type("Q1\0Z", 4);
  const std::string text = FileOf(ChainOf({type, "Q2"}), {{0, 0, 0}, {1, 0, 0}});
  EXPECT_EQ(text.find('\0'), std::string::npos);
  EXPECT_EQ(SectionOf(text, "BONDS"),
            (Lines{"     Q1      Q2    300.00000000      1.00000000 ! Guess"}));
  EXPECT_EQ(SectionOf(text, "NONBONDED"), (Lines{"     Q1 0.0     -0.00000000      0.00000000",
                                                 "     Q2 0.0     -0.00000000      0.00000000"}));
}

TEST(MolecularMechanicsTopology_Naive, AnOlderFileIsReplaced) {
  const TemporaryFolder folder;
  folder.Write("naive.prm", std::string(100000, 'z'));
  MolecularMechanicsTopology().WriteNaiveParams({}, folder / "naive.prm");
  EXPECT_EQ(folder.Read("naive.prm"),
            std::string(kHead) + "BONDS\n\nANGLES\n\nDIHEDRALS\n\nNONBONDED\n\nEND\n\n");
}

TEST(MolecularMechanicsTopology_Naive, AFileThatCannotBeOpenedEndsTheRun) {
  const TemporaryFolder folder;
  const std::string path = folder / "absent/naive.prm";
  EXPECT_EQ(MessageOf([&] {
              ChainOf({"Q", "Q"}).WriteNaiveParams(Zigzag(2), path);
            }),
            "Error occurs: Cannot open \"" + path + "\" to export parameter file.");
}

TEST(MolecularMechanicsTopology_Naive, ATermWithoutCoordinatesEndsTheRunBeforeTheFileIsMade) {
  const TemporaryFolder folder;
  const std::string path = folder / "naive.prm";
  EXPECT_EQ(
      MessageOf([&] {
        ChainOf({"Q", "Q", "Q"}).WriteNaiveParams(Zigzag(2), path);
      }),
      "Error occurs: A bond of the topology has atom 3: there are atoms with coordinates from "
      "1 to 2 only.");
  MolecularMechanicsTopology topology;
  topology.LoadFromPSF(folder.Write("in.psf",
                                    "PSF EXT\n\n 1 !NTITLE\n REMARKS\n\n"
                                    " 1 !NATOM\n 1 A 1 UNK C Q 0.0 12.0 0\n\n"
                                    " 0 !NBOND\n\n 0 !NTHETA\n\n"
                                    " 1 !NPHI\n 1 1 1 9\n\n 0 !NIMPHI\n\n 0 !NCRTERM\n\n"));
  EXPECT_EQ(MessageOf([&] { topology.WriteNaiveParams(Zigzag(9), path); }),
            "Error occurs: A dihedral of the topology has atom 9: there are atoms with coordinates "
            "from 1 to 1 only.");
  topology.LoadFromPSF(folder.Write("in.psf",
                                    "PSF EXT\n\n 1 !NTITLE\n REMARKS\n\n"
                                    " 1 !NATOM\n 1 A 1 UNK C Q 0.0 12.0 0\n\n"
                                    " 0 !NBOND\n\n 1 !NTHETA\n 1 7 1\n\n"
                                    " 0 !NPHI\n\n 0 !NIMPHI\n\n 0 !NCRTERM\n\n"));
  EXPECT_EQ(MessageOf([&] { topology.WriteNaiveParams(Zigzag(9), path); }),
            "Error occurs: An angle of the topology has atom 7: there are atoms with coordinates "
            "from 1 to 1 only.");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(MolecularMechanicsTopology_Naive, AMoleculeWritesTheFileOfItsTopologyAndCoordinates) {
  PDB molecule;
  molecule.topology = ChainOf({"Q1", "Q2"});
  molecule.atoms.resize(2);
  molecule.numAtoms = 2;
  molecule.atoms[1].Coord = {0.0, 0.0, 1.25};
  const TemporaryFolder folder;
  EXPECT_EQ(OutputOf([&] { molecule.WriteNaiveParams(folder / "naive.prm"); }), "");
  EXPECT_EQ(folder.Read("naive.prm"), FileOf(molecule.topology, {{0, 0, 0}, {0, 0, 1.25}}));
  EXPECT_NE(folder.Read("naive.prm").find("1.25000000 ! Guess\n"), std::string::npos);
}

// The file as one would write it first: every term is looked up and printed for itself, then the
// lines are sorted and each kept once.
class PlainFile {
 public:
  PlainFile(const MolecularMechanicsTopology& topology, const std::vector<Vec3D>& coords)
      : topology_(topology), coords_(coords) {
    params_.Initialize();
    text_ = kHead;
    for (std::size_t i = 0; i < topology.GetBonds().size(); ++i) AddBond(topology.GetBonds()[i]);
    EndSection("BONDS");
    for (std::size_t i = 0; i < topology.GetAngles().size(); ++i) AddAngle(topology.GetAngles()[i]);
    EndSection("ANGLES");
    for (std::size_t i = 0; i < topology.GetDihedrals().size(); ++i) {
      AddDihedral(topology.GetDihedrals()[i]);
    }
    EndSection("DIHEDRALS");
    for (const Atom& atom : topology.GetAtoms()) {
      Add("%7s 0.0 %15.8f %15.8f", atom.type.c_str(), atom.lj_epsilon / -4.184,
          atom.lj_sigma / 1.781797);
    }
    EndSection("NONBONDED");
    text_ += "END\n\n";
  }

  const std::string& text() const { return text_; }

 private:
  template <typename... Values>
  void Add(const char* format, Values... values) {
    char line[2048];
    std::snprintf(line, sizeof line, format, values...);
    lines_.emplace_back(line);
  }

  const std::string& Type(int atom) const { return topology_.GetAtoms()[atom].type; }

  void AddBond(std::span<const int> t) {
    Params::BondParam param;
    const char* comment = "";
    if (!params_.GetBondParam(Type(t[0]), Type(t[1]), param)) {
      param = {300.0, Geometry::CalcLength(coords_[t[0]], coords_[t[1]])};
      comment = "! Guess";
    }
    Add("%7s %7s %15.8f %15.8f %s", Type(t[0]).c_str(), Type(t[1]).c_str(), param.Kb, param.b0,
        comment);
  }

  void AddAngle(std::span<const int> t) {
    Params::AngleParam param;
    const char* comment = "";
    if (!params_.GetAngleParam(Type(t[0]), Type(t[1]), Type(t[2]), param)) {
      const double angle = Geometry::CalcAngle(coords_[t[0]], coords_[t[1]], coords_[t[2]]);
      param = {50.0, angle * 180.0 / 3.1415926535, 0.0, 0.0};
      comment = "! Guess";
    }
    Add("%7s %7s %7s %15.8f %15.8f %15.8f %15.8f %s", Type(t[0]).c_str(), Type(t[1]).c_str(),
        Type(t[2]).c_str(), param.Ktheta, param.theta0, param.Kub, param.S0, comment);
  }

  void AddDihedral(std::span<const int> t) {
    std::vector<Params::DihedralParam> terms;
    const char* comment = "";
    if (!params_.GetDihedralParam(Type(t[0]), Type(t[1]), Type(t[2]), Type(t[3]), terms)) {
      const double phase =
          Geometry::CalcDihedral(coords_[t[0]], coords_[t[1]], coords_[t[2]], coords_[t[3]]);
      terms.push_back({1.0, 2, phase * 180.0 / 3.1415926535});
      comment = "! Guess";
    }
    for (const Params::DihedralParam& param : terms) {
      Add("%7s %7s %7s %7s %15.8f %4d %15.8f %s", Type(t[0]).c_str(), Type(t[1]).c_str(),
          Type(t[2]).c_str(), Type(t[3]).c_str(), param.Kchi, param.n, param.delta, comment);
    }
  }

  void EndSection(const std::string& name) {
    std::sort(lines_.begin(), lines_.end());
    lines_.erase(std::unique(lines_.begin(), lines_.end()), lines_.end());
    text_ += name + "\n";
    for (const std::string& line : lines_) text_ += line + "\n";
    text_ += "\n";
    lines_.clear();
  }

  const MolecularMechanicsTopology& topology_;
  const std::vector<Vec3D>& coords_;
  Params params_;
  Lines lines_;
  std::string text_;
};

TEST(MolecularMechanicsTopology_Naive, RandomMoleculesGetTheFileOfAPlainWriter) {
  // Known, unknown, empty, long and odd types; "A" and " A" are alike once they are set right.
  const Names kTypes = {"CG331",       "CG321",    "HGA3",
                        "HGA2",        "OG311",    "HGP1",
                        "CG311",       "CG2D1",    "NG2D1",
                        "HGA4",        "CG2R61",   "HGR61",
                        "X",           "LPH",      "",
                        "A",           " A",       "cg331",
                        "Q%s",         "\xC3\xA4", "ALONGERTYPE1",
                        "ALONGERTYPE2"};
  std::mt19937 engine(11);
  const auto below = [&](std::size_t limit) { return static_cast<int>(engine() % limit); };
  std::size_t guesses = 0;
  std::size_t known = 0;
  for (int round = 0; round < 60; ++round) {
    const int size = 1 + below(60);
    const std::size_t type_count = 1 + static_cast<std::size_t>(below(kTypes.size()));
    std::vector<Atom> atoms;
    std::vector<Vec3D> coords;
    TermList bonds(2);
    for (int i = 0; i < size; ++i) {
      Atom& atom = atoms.emplace_back();
      atom.type = kTypes[static_cast<std::size_t>(below(type_count))];
      atom.lj_epsilon = (below(5) - 2) * 0.75;
      atom.lj_sigma = below(3) * 1.1;
      // On a small grid atoms meet, and stand in line; beside it everything is unlike.
      if (round % 2 == 0) {
        coords.emplace_back(below(3), below(3), below(3));
      } else {
        coords.emplace_back(below(100000) * 1e-4, below(100000) * 1e-4, below(100000) * 1e-4);
      }
      if (i > 0 && below(10) > 0) bonds.push_back({below(static_cast<std::size_t>(i)), i});
    }
    MolecularMechanicsTopology topology;
    topology.Build(atoms, bonds, TermList(4), TermList(4));
    if (round % 3 == 0) topology.AssignParams();
    const std::string text = FileOf(topology, coords);
    ASSERT_EQ(text, PlainFile(topology, coords).text()) << "round " << round;
    for (const char* section : {"BONDS", "ANGLES", "DIHEDRALS"}) {
      for (const std::string& line : SectionOf(text, section)) {
        ++(line.ends_with("! Guess") ? guesses : known);
      }
    }
  }
  EXPECT_GT(guesses, 1000u);
  EXPECT_GT(known, 200u);
}

}  // namespace
}  // namespace orvane
