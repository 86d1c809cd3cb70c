// Patches that change one residue of a built molecule: the methylated and phosphorylated side
// chains of our own, and all those of the published set that can be applied to a single residue.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <numbers>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "CHARMMParameterFiles.h"
#include "ComputationalGeometry.h"
#include "PDB.h"
#include "TestSupport.h"
#include "TopologyLibrary.h"

namespace orvane {
namespace {

using testing_support::EquilibriumValues;
using testing_support::OutputOf;
using testing_support::ReadWhole;
using testing_support::SharedFolder;
using testing_support::SourceFolder;

using Names = std::vector<std::string>;
using Record = TopologyLibrary::Residue;

constexpr double kDegree = std::numbers::pi / 180.0;

std::filesystem::path DataFile(const std::string& name) {
  return SourceFolder() / "data" / name;
}

const TopologyLibrary& Library() {
  static const TopologyLibrary library = [] {
    TopologyLibrary loaded;
    OutputOf([&loaded] {
      for (const std::string name :
           {"top_all36_prot.rtf", "top_all36_na.rtf", "extra/phosphorylation.rtf"}) {
        loaded.Build(DataFile(name).string());
      }
    });
    return loaded;
  }();
  return library;
}

const Record& RecordOf(const std::string& name) {
  return Library().GetResidues().at(name);
}

Names Words(const std::string& text) {
  std::istringstream stream(text);
  Names words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// ---------------------------------------------------------------------------------------------
// What is applied to what.

struct Modification {
  std::string patch, residue;
  int position;        // in a peptide of three
  double charge;       // by which the patch changes the molecule's
  bool on_plain_ends;  // made for an end that has no terminal patch yet
};

constexpr int kFirst = 0, kMiddle = 1, kLast = 2;

const std::vector<Modification> kMethylations = {
    {"MML", "LYS", kMiddle, 0.0, false},  {"DML", "LYS", kMiddle, 0.0, false},
    {"TML", "LYS", kMiddle, 0.0, false},  {"MMA", "ARG", kMiddle, 0.0, false},
    {"ADMA", "ARG", kMiddle, 0.0, false}, {"SDMA", "ARG", kMiddle, 0.0, false}};

const std::vector<Modification> kPhosphorylations = {
    {"SP1", "SER", kMiddle, -1.0, false},  {"SP2", "SER", kMiddle, -2.0, false},
    {"THP1", "THR", kMiddle, -1.0, false}, {"THPB", "THR", kMiddle, -2.0, false},
    {"TP1", "TYR", kMiddle, -1.0, false},  {"TP2", "TYR", kMiddle, -2.0, false}};

const std::vector<Modification> kPublished = {
    {"ASPP", "ASP", kMiddle, 1.0, false},  {"GLUP", "GLU", kMiddle, 1.0, false},
    {"LSN", "LYS", kMiddle, -1.0, false},  {"CYSD", "CYS", kMiddle, -1.0, false},
    {"SERD", "SER", kMiddle, -1.0, false}, {"HS2", "HSD", kMiddle, 0.0, false},
    {"NTER", "ALA", kFirst, 1.0, true},    {"GLYP", "GLY", kFirst, 1.0, true},
    {"PROP", "PRO", kFirst, 1.0, true},    {"ACE", "ALA", kFirst, 0.0, true},
    {"ACE", "GLY", kFirst, 0.0, true},     {"ACP", "PRO", kFirst, 0.0, true},
    {"NNEU", "ALA", kFirst, 0.0, true},    {"NGNE", "GLY", kFirst, 0.0, true},
    {"CTER", "ALA", kLast, -1.0, true},    {"CNEU", "ALA", kLast, 0.0, true},
    {"CTP", "ALA", kLast, 0.0, true},      {"CT1", "ALA", kLast, 0.0, true},
    {"CT2", "ALA", kLast, 0.0, true},      {"CT2", "GLY", kLast, 0.0, true},
    {"CT3", "ALA", kLast, 0.0, true},      {"CT3", "GLY", kLast, 0.0, true},
    {"CTER", "GLY", kLast, -1.0, true},    {"CTER", "PRO", kLast, -1.0, true},
    {"CNEU", "GLY", kLast, 0.0, true},     {"CTP", "GLY", kLast, 0.0, true},
    {"CT2", "PRO", kLast, 0.0, true},      {"CT3", "PRO", kLast, 0.0, true}};

std::vector<Modification> OurOwn() {
  std::vector<Modification> own = kMethylations;
  own.insert(own.end(), kPhosphorylations.begin(), kPhosphorylations.end());
  return own;
}

std::vector<Modification> All() {
  std::vector<Modification> all = OurOwn();
  all.insert(all.end(), kPublished.begin(), kPublished.end());
  return all;
}

// ---------------------------------------------------------------------------------------------
// A peptide of three residues, built from its main chain.

void AppendAtom(PDB& molecule, const std::string& residue, int number, const std::string& name,
                const Vec3D& place) {
  PDB::Atom atom;
  atom.Name = name;
  atom.ResName = residue;
  atom.ResSeq = number;
  atom.ChainID = "A";
  atom.Coord = place;
  molecule.atoms.push_back(atom);
}

Vec3D Placed(const Vec3D& a, const Vec3D& b, const Vec3D& c, double length, double angle,
             double dihedral) {
  Vec3D result;
  ComputationalGeometry::CalcCoord(a, b, c, length, angle * kDegree, dihedral * kDegree, result);
  return result;
}

// Where an atom of a residue is; the test fails if there is none.
const Vec3D& At(const PDB& molecule, int residue, const std::string& name) {
  return molecule.atoms.at(molecule.GetAtomIndex(residue, name)).Coord;
}

double DihedralOf(const PDB& molecule, int residue, const std::string& atoms) {
  const Names names = Words(atoms);
  return ComputationalGeometry::CalcDihedral(
             At(molecule, residue, names[0]), At(molecule, residue, names[1]),
             At(molecule, residue, names[2]), At(molecule, residue, names[3])) /
         kDegree;
}

class Peptide {
 public:
  // Alanines, but for one residue.
  Peptide(const std::string& residue, int position, bool plain_ends) : position_(position) {
    Vec3D n(0.0, 0.0, 0.0), ca(1.45, 0.0, 0.0);
    Vec3D c = Placed({0.0, 1.0, 0.0}, n, ca, 1.52, 110.0, 0.0);
    for (int i = 0; i < 3; ++i) {
      const std::string name = i == position ? residue : "ALA";
      AppendAtom(molecule, name, i + 1, "N", n);
      AppendAtom(molecule, name, i + 1, "CA", ca);
      AppendAtom(molecule, name, i + 1, "C", c);
      const Vec3D next_n = Placed(n, ca, c, 1.345, 117.0, 140.0);
      const Vec3D next_ca = Placed(ca, c, next_n, 1.45, 122.0, 180.0);
      c = Placed(c, next_n, next_ca, 1.52, 110.0, -65.0);
      n = next_n;
      ca = next_ca;
    }
    molecule.Analyze();
    Complete(plain_ends);
  }

  // Adds what is missing, and makes the topology.
  void Complete(bool plain_ends) {
    const TopologyLibrary& library = Library();  // what reading it prints is caught there
    OutputOf([&] {
      molecule.AddMissingHydrogens(library);
      molecule.BuildTopology(library);
      if (!plain_ends) {
        Patch(kFirst, molecule.GetResidueName(kFirst) == "GLY" ? "GLYP" : "NTER");
        Patch(kLast, "CTER");
      }
    });
  }

  void Patch(int residue, const std::string& name) {
    molecule.PatchResidue(residue, Library().GetMasses(), RecordOf(name), true);
  }

  // Applies a patch to the residue that is not alanine; returns what that prints.
  std::string Modify(const std::string& name) {
    return OutputOf([&] { Patch(position_, name); });
  }

  double Charge() const { return molecule.GetTopology().GetTotalCharge(); }

  Names AtomsOfModifiedResidue() const {
    return {molecule.atomNames.begin() + molecule.residueFirstAtoms[position_],
            molecule.atomNames.begin() + molecule.residueLastAtoms[position_] + 1};
  }

  double Dihedral(const std::string& atoms) const { return DihedralOf(molecule, position_, atoms); }
  const Vec3D& Place(const std::string& name) const { return At(molecule, position_, name); }

  PDB molecule;

 private:
  int position_;
};

Peptide PeptideFor(const Modification& modification) {
  return {modification.residue, modification.position, modification.on_plain_ends};
}

std::string NameOf(const Modification& modification) {
  return modification.patch + " on " + modification.residue;
}

// ---------------------------------------------------------------------------------------------
// All of them.

TEST(Modifications, ChangeTheChargeByAWholeNumber) {
  for (const Modification& modification : All()) {
    SCOPED_TRACE(NameOf(modification));
    Peptide peptide = PeptideFor(modification);
    const double before = peptide.Charge();
    EXPECT_EQ(peptide.Modify(modification.patch), "");
    EXPECT_NEAR(peptide.Charge() - before, modification.charge, 1e-9);
  }
}

TEST(Modifications, DeleteOnlyWhatThePlainResidueHas) {
  for (const Modification& modification : All()) {
    const Record& residue = RecordOf(modification.residue);
    for (const auto& deleted : RecordOf(modification.patch).deleted_atoms) {
      EXPECT_GE(residue.FindAtom(deleted[1]), 0) << NameOf(modification) << " " << deleted[1];
    }
  }
}

TEST(Modifications, LeaveEachBondOnceAndEachAtomBonded) {
  for (const Modification& modification : All()) {
    SCOPED_TRACE(NameOf(modification));
    Peptide peptide = PeptideFor(modification);
    peptide.Modify(modification.patch);
    const MolecularMechanicsTopology& topology = peptide.molecule.GetTopology();
    std::set<std::pair<int, int>> bonds;
    std::vector<int> bonds_of(topology.GetAtoms().size());
    for (std::size_t i = 0; i < topology.GetBonds().size(); ++i) {
      const std::span<const int> bond = topology.GetBonds()[i];
      EXPECT_TRUE(bonds.insert(std::minmax(bond[0], bond[1])).second);
      ++bonds_of[bond[0]];
      ++bonds_of[bond[1]];
    }
    for (std::size_t i = 0; i < bonds_of.size(); ++i) {
      const std::string& name = topology.GetAtoms()[i].name;
      EXPECT_GE(bonds_of[i], 1) << name;
      if (name[0] == 'H') {
        EXPECT_EQ(bonds_of[i], 1) << name;
      }
      EXPECT_GT(topology.GetAtoms()[i].mass, 0.0) << name;
    }
  }
}

// The published parameters and ours, where they are at hand.
class Parameters : public testing::Test {
 protected:
  void SetUp() override {
    const auto toppar = SharedFolder() / "toppar";
    if (SharedFolder().empty() || !std::filesystem::exists(toppar)) {
      GTEST_SKIP() << "the published parameters are not at hand";
    }
    protein_.Parse(ReadWhole(toppar / "par_all36_prot.prm"));
    protein_and_nucleic_ = protein_;
    protein_and_nucleic_.Parse(ReadWhole(toppar / "par_all36_na.prm"));
    methylation_.Parse(ReadWhole(DataFile("extra/methylation.prm")));
    phosphorylation_.Parse(ReadWhole(DataFile("extra/phosphorylation.prm")));
  }

  // Terms of the modified peptide that the parameters lack.
  static std::set<std::string> Missing(const Modification& modification,
                                       const CHARMMParameterFiles& parameters) {
    Peptide peptide = PeptideFor(modification);
    peptide.Modify(modification.patch);
    const MolecularMechanicsTopology& topology = peptide.molecule.GetTopology();
    std::set<std::string> missing;
    const auto look_up = [&](const TermList& terms, const auto& finds) {
      for (std::size_t i = 0; i < terms.size(); ++i) {
        Names types;
        std::string text;
        for (const int atom : terms[i]) {
          types.push_back(topology.GetAtoms()[atom].type);
          text += types.back() + " ";
        }
        if (!finds(types)) missing.insert(text);
      }
    };
    look_up(topology.GetBonds(), [&](const Names& types) {
      CHARMMParameterFiles::BondParam found;
      return parameters.GetBondParam(types[0], types[1], found);
    });
    look_up(topology.GetAngles(), [&](const Names& types) {
      CHARMMParameterFiles::AngleParam found;
      return parameters.GetAngleParam(types[0], types[1], types[2], found);
    });
    look_up(topology.GetDihedrals(), [&](const Names& types) {
      std::vector<CHARMMParameterFiles::DihedralParam> found;
      return parameters.GetDihedralParam(types[0], types[1], types[2], types[3], found);
    });
    look_up(topology.GetImpropers(), [&](const Names& types) {
      CHARMMParameterFiles::ImproperParam found;
      return parameters.GetImproperParam(types[0], types[1], types[2], types[3], found);
    });
    for (const MolecularMechanicsTopology::Atom& atom : topology.GetAtoms()) {
      CHARMMParameterFiles::LennardJonesParam found;
      if (!parameters.GetLennardJonesParam(atom.type, found)) missing.insert(atom.type);
    }
    return missing;
  }

  // The same as one set of tables.
  static CHARMMParameterFiles Joined(const CHARMMParameterFiles& published,
                                     const std::string& own) {
    CHARMMParameterFiles joined = published;
    joined.Parse(ReadWhole(DataFile(own)));
    return joined;
  }

  // Fails where a file of ours tells again what the published ones tell.
  static void ExpectNothingPublished(const CHARMMParameterFiles& own,
                                     const CHARMMParameterFiles& published) {
    const auto expect_none = [](const auto& mine, const auto& theirs) {
      for (const auto& [types, values] : mine) {
        auto reversed = types;
        std::reverse(reversed.begin(), reversed.end());
        EXPECT_EQ(theirs.count(types) + theirs.count(reversed), 0u) << types[0] << " " << types[1];
        EXPECT_EQ(mine.count(reversed), types == reversed ? 1u : 0u) << types[0] << " " << types[1];
      }
    };
    expect_none(own.GetBondParams(), published.GetBondParams());
    expect_none(own.GetAngleParams(), published.GetAngleParams());
    expect_none(own.GetDihedralParams(), published.GetDihedralParams());
    EXPECT_TRUE(own.GetImproperParams().empty());
    EXPECT_TRUE(own.GetLennardJonesParams().empty());
  }

  CHARMMParameterFiles protein_, protein_and_nucleic_, methylation_, phosphorylation_;
};

TEST_F(Parameters, AreThereForEveryTermOfAMethylatedResidue) {
  const CHARMMParameterFiles parameters = Joined(protein_, "extra/methylation.prm");
  for (const Modification& modification : kMethylations) {
    EXPECT_EQ(Missing(modification, parameters), std::set<std::string>()) << NameOf(modification);
  }
}

TEST_F(Parameters, AreThereForEveryTermOfAPhosphorylatedResidue) {
  const CHARMMParameterFiles parameters = Joined(protein_and_nucleic_, "extra/phosphorylation.prm");
  for (const Modification& modification : kPhosphorylations) {
    EXPECT_EQ(Missing(modification, parameters), std::set<std::string>()) << NameOf(modification);
  }
}

TEST_F(Parameters, ArePublishedForEveryTermOfAPublishedPatch) {
  for (const Modification& modification : kPublished) {
    EXPECT_EQ(Missing(modification, protein_), std::set<std::string>()) << NameOf(modification);
  }
}

// The ends of a chain on all amino acids. The manual names the pairs that engines cannot take.
TEST_F(Parameters, ArePublishedForEveryEndOnEveryResidueButThese) {
  const std::map<std::string, std::set<std::string>> not_published = {
      {"NNEU", {"ASP", "GLU", "HSP"}},
      {"CNEU", {"ASP", "PRO"}},
      {"CTP", {"ASP", "PRO"}},
      {"CT1", {"ASP"}}};
  const std::map<std::string, std::set<std::string>> made_for = {
      {"GLYP", {"GLY"}}, {"NGNE", {"GLY"}}, {"PROP", {"PRO"}}, {"ACP", {"PRO"}}};
  const std::map<std::string, std::set<std::string>> not_made_for = {{"NTER", {"GLY", "PRO"}},
                                                                     {"NNEU", {"GLY", "PRO"}},
                                                                     {"ACE", {"PRO"}},
                                                                     {"CT1", {"GLY", "PRO"}}};
  const auto holds = [](const auto& lists, const std::string& patch, const std::string& residue) {
    const auto found = lists.find(patch);
    return found != lists.end() && found->second.count(residue) == 1;
  };
  int tried = 0;
  for (const auto& [residue, record] : Library().GetResidues()) {
    const bool is_amino_acid = !record.is_patch && record.FindAtom("CA") >= 0 &&
                               record.FindAtom("N") >= 0 && record.FindAtom("C") >= 0;
    if (!is_amino_acid) continue;
    for (const std::string patch : {"NTER", "GLYP", "PROP", "ACE", "ACP", "NNEU", "NGNE", "CTER",
                                    "CNEU", "CTP", "CT1", "CT2", "CT3"}) {
      if (holds(not_made_for, patch, residue)) continue;
      if (made_for.count(patch) == 1 && !holds(made_for, patch, residue)) continue;
      const int position = patch[0] == 'C' ? kLast : kFirst;
      const auto missing = Missing({patch, residue, position, 0.0, true}, protein_);
      EXPECT_EQ(missing.empty(), !holds(not_published, patch, residue))
          << patch << " on " << residue;
      ++tried;
    }
  }
  EXPECT_EQ(tried, 23 * 9 - 7 + 4);
}

TEST_F(Parameters, OfOursAreNeededAndNotPublished) {
  ExpectNothingPublished(methylation_, protein_);
  ExpectNothingPublished(phosphorylation_, protein_and_nucleic_);
  // Both have the groups of arginine's own NE on their nitrogens.
  const std::set<std::string> without_need = {"MMA", "SDMA"};
  for (const Modification& modification : OurOwn()) {
    EXPECT_EQ(Missing(modification, protein_and_nucleic_).empty(),
              without_need.count(modification.patch) == 1)
        << NameOf(modification);
  }
}

TEST(ModificationParameters, NameTheSourceOfEveryLine) {
  for (const std::string name : {"extra/methylation.prm", "extra/phosphorylation.prm"}) {
    std::istringstream lines(ReadWhole(DataFile(name)));
    int terms = 0;
    for (std::string line; std::getline(lines, line);) {
      const Names words = Words(line);
      const bool is_term = words.size() > 3 && words[0] != "*" && words[0] != "!";
      if (!is_term) continue;
      ++terms;
      const std::size_t comment = line.find("! ");
      ASSERT_NE(comment, std::string::npos) << line;
      EXPECT_NE(line.find(": ", comment), std::string::npos) << line;
      EXPECT_TRUE(line.ends_with(".prm") || line.ends_with(".str")) << line;
    }
    EXPECT_GT(terms, 10) << name;
  }
}

// One of each kind, on ubiquitin, as the manual tells it.
TEST(Modifications, OfAProteinWorkByTheProgram) {
  const testing_support::TemporaryFolder folder;
  const auto run = [&folder](const Names& arguments) {
    const testing_support::RunResult result = testing_support::RunRavelo(arguments, folder.path());
    EXPECT_EQ(result.out.find("Error occurs"), std::string::npos) << result.out;
    const bool is_edit = arguments[0] == "modify";
    EXPECT_TRUE(!is_edit || result.out.find("predicted") == std::string::npos) << result.out;
    const std::string label = "Total charge: ";
    const std::size_t at = result.out.rfind(label);
    return at == std::string::npos ? std::nan("") : std::stod(result.out.substr(at + label.size()));
  };
  const std::string ubiquitin = (SourceFolder() / "examples" / "1ubq.pdb").string();
  EXPECT_NEAR(run({"topol", "-i", ubiquitin, "-o", "built"}), 0.0, 1e-5);
  testing_support::RunRavelo({"topol", "-i", ubiquitin, "-o", "plain", "--no-patching-terminus"},
                             folder.path());
  const auto modify = [&run](const std::string& input, const Names& options) {
    Names arguments = {"modify", "-i", input + ".pdb", "-t", input + ".psf", "-o", "modified"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run(arguments);
  };
  EXPECT_NEAR(modify("built", {"--mml", "6A", "--dml", "11A", "--tml", "33A", "--mma", "42A",
                               "--adma", "54A", "--sdma", "72A"}),
              0.0, 1e-5);
  EXPECT_NEAR(modify("built", {"--my-mod", "ASPP 21A"}), 1.0, 1e-5);
  EXPECT_NEAR(modify("built", {"--my-mod", "LSN 48A"}), -1.0, 1e-5);
  EXPECT_NEAR(modify("built", {"--my-mod", "SP2 20A", "--add-rtfs",
                               DataFile("extra/phosphorylation.rtf").string()}),
              -2.0, 1e-5);
  EXPECT_NEAR(modify("plain", {"--my-mod", "ACE 1A"}), 0.0, 1e-5);
  EXPECT_NEAR(modify("modified", {"--my-mod", "CT3 76A"}), 0.0, 1e-5);
}

// ---------------------------------------------------------------------------------------------
// Methylated and phosphorylated residues.

Names Sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

TEST(OwnModifications, HaveTheseAtomsAtTheEndOfTheSideChain) {
  const std::map<std::string, std::string> ends = {
      {"MML", "NZ HZ2 HZ3 CM HM1 HM2 HM3"},
      {"DML", "NZ HZ3 CM1 HM11 HM12 HM13 CM2 HM21 HM22 HM23"},
      {"TML", "NZ CM1 HM11 HM12 HM13 CM2 HM21 HM22 HM23 CM3 HM31 HM32 HM33"},
      {"MMA", "NH1 HH11 HH12 NH2 HH22 CM HM1 HM2 HM3"},
      {"ADMA", "NH1 HH11 HH12 NH2 CM1 HM11 HM12 HM13 CM2 HM21 HM22 HM23"},
      {"SDMA", "NH1 HH12 CM1 HM11 HM12 HM13 NH2 HH21 CM2 HM21 HM22 HM23"},
      {"SP1", "OG P O1P O2P O3P HOP3"},
      {"SP2", "OG P O1P O2P O3P"},
      {"THP1", "OG1 P O1P O2P O3P HOP3"},
      {"THPB", "OG1 P O1P O2P O3P"},
      {"TP1", "OH P O1P O2P O3P HOP3"},
      {"TP2", "OH P O1P O2P O3P"}};
  const std::map<std::string, Names> replaced = {
      {"LYS", {"NZ", "HZ1", "HZ2", "HZ3"}},
      {"ARG", {"NH1", "HH11", "HH12", "NH2", "HH21", "HH22"}},
      {"SER", {"OG", "HG1"}},
      {"THR", {"OG1", "HG1"}},
      {"TYR", {"OH", "HH"}}};
  for (const Modification& modification : OurOwn()) {
    SCOPED_TRACE(NameOf(modification));
    Peptide peptide = PeptideFor(modification);
    Names expected = Words(ends.at(modification.patch));
    const Names& gone = replaced.at(modification.residue);
    for (const std::string& name : peptide.AtomsOfModifiedResidue()) {
      if (std::find(gone.begin(), gone.end(), name) == gone.end()) expected.push_back(name);
    }
    peptide.Modify(modification.patch);
    EXPECT_EQ(Sorted(peptide.AtomsOfModifiedResidue()), Sorted(expected));
  }
}

// Atoms that are at most three bonds from each other do not count as neighbours in space.
std::set<std::pair<int, int>> BondedPairs(const MolecularMechanicsTopology& topology) {
  std::set<std::pair<int, int>> pairs;
  const auto add_ends = [&pairs](const TermList& terms) {
    for (std::size_t i = 0; i < terms.size(); ++i) {
      pairs.insert(std::minmax(terms[i].front(), terms[i].back()));
    }
  };
  add_ends(topology.GetBonds());
  add_ends(topology.GetAngles());
  add_ends(topology.GetDihedrals());
  return pairs;
}

// The closest that atoms come which are more than three bonds apart and of which one is of the
// middle residue and in `names`.
struct Contacts {
  double heavy = 99.0, any = 99.0;
  std::string heavy_pair, any_pair;
};

Contacts ContactsOf(const PDB& molecule, const std::set<std::string>& names) {
  const std::set<std::pair<int, int>> bonded = BondedPairs(molecule.GetTopology());
  Contacts contacts;
  for (int a = 0; a < molecule.numAtoms; ++a) {
    for (int b = a + 1; b < molecule.numAtoms; ++b) {
      const PDB::Atom &first = molecule.atoms[a], &second = molecule.atoms[b];
      const auto is_looked_at = [&names](const PDB::Atom& atom) {
        return atom.ResSeq == kMiddle + 1 && names.count(atom.Name) == 1;
      };
      if (!is_looked_at(first) && !is_looked_at(second)) continue;
      if (bonded.count({a, b}) == 1) continue;
      const double distance = ComputationalGeometry::CalcLength(first.Coord, second.Coord);
      const bool heavy = first.Name[0] != 'H' && second.Name[0] != 'H';
      if (heavy && distance < contacts.heavy) {
        contacts.heavy = distance;
        contacts.heavy_pair = first.Name + " " + second.Name;
      }
      if (distance < contacts.any) {
        contacts.any = distance;
        contacts.any_pair = first.Name + " " + second.Name;
      }
    }
  }
  return contacts;
}

// The atoms that a patch places: those that the residue lacks, and those that are deleted first.
std::set<std::string> AtomsPlacedBy(const std::string& patch, const std::string& residue) {
  std::set<std::string> deleted, placed;
  for (const auto& entry : RecordOf(patch).deleted_atoms) deleted.insert(entry[1]);
  for (const std::string& name : RecordOf(patch).atom_names) {
    if (RecordOf(residue).FindAtom(name) < 0 || deleted.count(name) == 1) placed.insert(name);
  }
  return placed;
}

void ExpectGoodShape(const Peptide& peptide, const std::string& patch) {
  const PDB& molecule = peptide.molecule;
  const MolecularMechanicsTopology& topology = molecule.GetTopology();
  const std::set<std::string> placed = AtomsPlacedBy(patch, molecule.GetResidueName(kMiddle));
  const auto look = [&](std::span<const int> term, Names& types, std::string& label) {
    bool has_placed_atom = false;
    for (const int atom : term) {
      types.push_back(topology.GetAtoms()[atom].type);
      label += topology.GetAtoms()[atom].name + " ";
      has_placed_atom = has_placed_atom || (topology.GetAtoms()[atom].residue_sn == kMiddle + 1 &&
                                            placed.count(topology.GetAtoms()[atom].name) == 1);
    }
    return has_placed_atom;
  };
  const auto place = [&](int atom) -> const Vec3D& { return molecule.atoms[atom].Coord; };
  for (std::size_t i = 0; i < topology.GetBonds().size(); ++i) {
    const std::span<const int> bond = topology.GetBonds()[i];
    Names types;
    std::string label;
    if (!look(bond, types, label)) continue;
    EXPECT_NEAR(ComputationalGeometry::CalcLength(place(bond[0]), place(bond[1])),
                EquilibriumValues().at(types), 0.04)
        << label;
  }
  for (std::size_t i = 0; i < topology.GetAngles().size(); ++i) {
    const std::span<const int> angle = topology.GetAngles()[i];
    Names types;
    std::string label;
    if (!look(angle, types, label)) continue;
    EXPECT_NEAR(
        ComputationalGeometry::CalcAngle(place(angle[0]), place(angle[1]), place(angle[2])) /
            kDegree,
        EquilibriumValues().at(types), 10.0)
        << label;
  }
  const Contacts contacts = ContactsOf(molecule, placed);
  EXPECT_GT(contacts.heavy, 2.8) << contacts.heavy_pair;
  EXPECT_GT(contacts.any, 1.75) << contacts.any_pair;
}

TEST(OwnModifications, HaveEquilibriumLengthsAndAnglesAndNoAtomsTooNear) {
  for (const Modification& modification : OurOwn()) {
    SCOPED_TRACE(NameOf(modification));
    Peptide peptide = PeptideFor(modification);
    EXPECT_EQ(peptide.Modify(modification.patch), "");
    ExpectGoodShape(peptide, modification.patch);
  }
}

TEST(OwnModifications, MoveNoOtherAtomAndKeepTheHand) {
  for (const Modification& modification : OurOwn()) {
    SCOPED_TRACE(NameOf(modification));
    Peptide peptide = PeptideFor(modification);
    const PDB before = peptide.molecule;
    const double hand = peptide.Dihedral("N C CA CB");
    peptide.Modify(modification.patch);
    EXPECT_EQ(peptide.Dihedral("N C CA CB"), hand);
    EXPECT_GT(hand, 100.0);
    std::set<std::string> placed_anew;
    for (const auto& deleted : RecordOf(modification.patch).deleted_atoms) {
      placed_anew.insert(deleted[1]);
    }
    const PDB& after = peptide.molecule;
    int compared = 0;
    for (int i = 0; i < after.numAtoms; ++i) {
      const PDB::Atom& atom = after.atoms[i];
      const int was = before.GetAtomIndex(atom.ResSeq - 1, atom.Name);
      if (was < 0 || (atom.ResSeq - 1 == kMiddle && placed_anew.count(atom.Name) == 1)) continue;
      EXPECT_EQ(Length(atom.Coord - before.atoms[was].Coord), 0.0) << atom.Name;
      ++compared;
    }
    EXPECT_GT(compared, 20);
  }
}

TEST(OwnModifications, DoNotFitASecondTimeOrAnotherResidue) {
  using testing_support::MessageOf;
  EXPECT_EQ(MessageOf([] {
              Peptide peptide("LYS", kMiddle, false);
              peptide.Patch(kMiddle, "MML");
              peptide.Patch(kMiddle, "DML");
            }),
            "Error occurs: Atom \"HZ1\" is missing in residue LYS2 at chain A and cannot be "
            "deleted.");
  EXPECT_EQ(MessageOf([] {
              Peptide peptide("ALA", kMiddle, false);
              peptide.Patch(kMiddle, "SP2");
            }),
            "Error occurs: Atom \"HG1\" is missing in residue ALA2 at chain A and cannot be "
            "deleted.");
}

// Lysine.

// The peptide with the hydrogens of its ammonium group turned, as they come from other programs.
Peptide LysineWithTurnedAmmonium(double degrees) {
  Peptide peptide("LYS", kMiddle, false);
  PDB& molecule = peptide.molecule;
  const double turns[] = {180.0, 300.0, 60.0};
  for (int i = 0; i < 3; ++i) {
    const int hydrogen = molecule.GetAtomIndex(kMiddle, "HZ" + std::to_string(i + 1));
    molecule.atoms.at(hydrogen).Coord =
        Placed(peptide.Place("CD"), peptide.Place("CE"), peptide.Place("NZ"), 1.04, 109.5,
               turns[i] + degrees);
  }
  return peptide;
}

TEST(MethylatedLysine, HasItsMethylGroupsWhereHydrogensWere) {
  for (const double turn : {0.0, 25.0, 60.0, 130.0, -100.0}) {
    for (const auto& [patch, carbons] :
         std::map<std::string, std::string>{{"MML", "CM"}, {"DML", "CM1 CM2"}}) {
      SCOPED_TRACE(patch + " after " + std::to_string(turn));
      Peptide peptide = LysineWithTurnedAmmonium(turn);
      const Vec3D nitrogen = peptide.Place("NZ");
      std::set<std::string> left = {"HZ1", "HZ2", "HZ3"};
      std::map<std::string, Vec3D> hydrogens;
      for (const std::string& name : left) hydrogens[name] = peptide.Place(name);
      peptide.Modify(patch);
      for (const std::string& carbon : Words(carbons)) {
        const auto there = std::find_if(left.begin(), left.end(), [&](const std::string& name) {
          return ComputationalGeometry::CalcAngle(hydrogens[name], nitrogen,
                                                  peptide.Place(carbon)) < 3.0 * kDegree;
        });
        ASSERT_NE(there, left.end()) << carbon;
        EXPECT_EQ(peptide.molecule.GetAtomIndex(kMiddle, *there), -1);
        left.erase(there);
      }
    }
  }
}

TEST(MethylatedLysine, IsStaggered) {
  for (const std::string patch : {"MML", "DML", "TML"}) {
    SCOPED_TRACE(patch);
    Peptide peptide("LYS", kMiddle, false);
    peptide.Modify(patch);
    const std::string first = patch == "MML" ? "CM" : "CM1";
    EXPECT_NEAR(std::abs(peptide.Dihedral("CD CE NZ " + first)), 180.0, 1.0);
    for (const std::string& name : peptide.AtomsOfModifiedResidue()) {
      const bool is_carbon = name.starts_with("CM");
      if (!is_carbon && !name.starts_with("HZ")) continue;
      EXPECT_NEAR(std::cos(3.0 * kDegree * peptide.Dihedral("CD CE NZ " + name)), -1.0, 0.01)
          << name;
      if (!is_carbon) continue;
      for (const char hydrogen : {'1', '2', '3'}) {
        const std::string bonded = "HM" + name.substr(2) + hydrogen;
        EXPECT_NEAR(std::cos(3.0 * kDegree * peptide.Dihedral("CE NZ " + name + " " + bonded)),
                    -1.0, 0.01)
            << bonded;
      }
    }
  }
}

// Arginine.

double HeightOver(const Vec3D& a, const Vec3D& b, const Vec3D& c, const Vec3D& point) {
  const Vec3D normal = Cross(b - a, c - a);
  return Dot(normal, point - a) / Length(normal);
}

void ExchangeNames(PDB& molecule, int residue, const std::string& one, const std::string& other) {
  const int a = molecule.GetAtomIndex(residue, one), b = molecule.GetAtomIndex(residue, other);
  std::swap(molecule.atoms.at(a).Coord, molecule.atoms.at(b).Coord);
}

enum class Labels { kTemplate, kNitrogensExchanged, kHydrogensExchanged };

// Arginine with atoms named as in the template, or otherwise: deposited files have NH1 on the side
// of CD, the template opposite to it.
Peptide Arginine(Labels labels) {
  Peptide peptide("ARG", kMiddle, false);
  if (labels == Labels::kNitrogensExchanged) {
    ExchangeNames(peptide.molecule, kMiddle, "NH1", "NH2");
    ExchangeNames(peptide.molecule, kMiddle, "HH11", "HH21");
    ExchangeNames(peptide.molecule, kMiddle, "HH12", "HH22");
  }
  if (labels == Labels::kHydrogensExchanged) {
    ExchangeNames(peptide.molecule, kMiddle, "HH11", "HH12");
    ExchangeNames(peptide.molecule, kMiddle, "HH21", "HH22");
  }
  return peptide;
}

TEST(MethylatedArginine, IsGoodHoweverItsNitrogensAndHydrogensAreNamed) {
  for (const Labels labels :
       {Labels::kTemplate, Labels::kNitrogensExchanged, Labels::kHydrogensExchanged}) {
    for (const std::string patch : {"MMA", "ADMA", "SDMA"}) {
      SCOPED_TRACE(patch + " with names " + std::to_string(static_cast<int>(labels)));
      Peptide peptide = Arginine(labels);
      EXPECT_EQ(peptide.Modify(patch), "");
      ExpectGoodShape(peptide, patch);
    }
  }
}

TEST(MethylatedArginine, IsFlatUpToTheMethylCarbons) {
  for (const std::string patch : {"MMA", "ADMA", "SDMA"}) {
    SCOPED_TRACE(patch);
    Peptide peptide = Arginine(Labels::kTemplate);
    peptide.Modify(patch);
    int in_plane = 0;
    for (const std::string& name : peptide.AtomsOfModifiedResidue()) {
      const bool is_of_group = name.starts_with("NH") || name.starts_with("HH") ||
                               name.starts_with("CM") || name == "HE" || name == "CZ";
      if (!is_of_group) continue;
      EXPECT_NEAR(HeightOver(peptide.Place("CD"), peptide.Place("NE"), peptide.Place("CZ"),
                             peptide.Place(name)),
                  0.0, patch == "MMA" ? 0.15 : 0.01)
          << name;
      ++in_plane;
    }
    EXPECT_EQ(in_plane, 8);
  }
}

TEST(MethylatedArginine, HasItsMethylGroupsOnTheseSides) {
  const auto expect_dihedral = [](const Peptide& peptide, const std::string& atoms, double value) {
    EXPECT_NEAR(std::cos(kDegree * peptide.Dihedral(atoms)), std::cos(kDegree * value), 1e-4)
        << atoms;
  };
  Peptide mono = Arginine(Labels::kTemplate);
  mono.Modify("MMA");
  expect_dihedral(mono, "NE CZ NH2 CM", 180.0);
  expect_dihedral(mono, "NE CZ NH2 HH22", 0.0);
  Peptide asymmetric = Arginine(Labels::kTemplate);
  asymmetric.Modify("ADMA");
  expect_dihedral(asymmetric, "CD NE CZ NH1", 0.0);
  expect_dihedral(asymmetric, "CD NE CZ NH2", 180.0);
  expect_dihedral(asymmetric, "NE CZ NH2 CM1", 180.0);
  expect_dihedral(asymmetric, "NE CZ NH2 CM2", 0.0);
  // One carbon in each bay: CD beside NH1, CM1 beside NH2, CM2 beside NE.
  Peptide symmetric = Arginine(Labels::kTemplate);
  symmetric.Modify("SDMA");
  expect_dihedral(symmetric, "CD NE CZ NH1", 0.0);
  expect_dihedral(symmetric, "NE CZ NH1 CM1", 180.0);
  expect_dihedral(symmetric, "NE CZ NH2 CM2", 0.0);
}

TEST(MethylatedArginine, OfADepositedStructureKeepsItsNitrogensInPlace) {
  // Named as in deposited files, with NH1 on the side of CD.
  for (const std::string patch : {"MMA", "ADMA", "SDMA"}) {
    Peptide peptide = Arginine(Labels::kNitrogensExchanged);
    const Vec3D nh1 = peptide.Place("NH1"), nh2 = peptide.Place("NH2");
    peptide.Modify(patch);
    EXPECT_LT(Length(peptide.Place("NH1") - nh1), 0.1) << patch;
    EXPECT_LT(Length(peptide.Place("NH2") - nh2), 0.1) << patch;
  }
}

// Phosphates.

TEST(Phosphate, IsTetrahedralAndStaggered) {
  const std::map<std::string, std::string> bridges = {{"SP1", "CB OG"},   {"SP2", "CB OG"},
                                                      {"THP1", "CB OG1"}, {"THPB", "CB OG1"},
                                                      {"TP1", "CZ OH"},   {"TP2", "CZ OH"}};
  for (const Modification& modification : kPhosphorylations) {
    SCOPED_TRACE(modification.patch);
    Peptide peptide = PeptideFor(modification);
    peptide.Modify(modification.patch);
    for (const std::string oxygen : {"O1P", "O2P", "O3P"}) {
      const double turn = peptide.Dihedral(bridges.at(modification.patch) + " P " + oxygen);
      EXPECT_NEAR(std::cos(3.0 * kDegree * turn), -1.0, 0.01) << oxygen;
    }
    EXPECT_NEAR(ComputationalGeometry::CalcAngle(peptide.Place("O1P"), peptide.Place("P"),
                                                 peptide.Place("O2P")) /
                    kDegree,
                109.5, 9.0);
  }
}

TEST(Phosphate, OfThreonineIsBetweenTheCarbons) {
  for (const std::string patch : {"THP1", "THPB"}) {
    Peptide peptide("THR", kMiddle, false);
    peptide.Modify(patch);
    EXPECT_NEAR(peptide.Dihedral("HB CB OG1 P"), 0.0, 10.0) << patch;
    EXPECT_NEAR(peptide.Dihedral("CA CB OG1 P"), 120.0, 1.0) << patch;
    EXPECT_NEAR(peptide.Dihedral("CG2 CB OG1 P"), -120.0, 10.0) << patch;
  }
}

}  // namespace
}  // namespace orvane
