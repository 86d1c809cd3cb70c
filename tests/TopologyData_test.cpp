// The topology files that ship with the program: what they hold, and that every atom which they can
// add comes out at a place that the force field would give it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <numbers>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "CHARMMTopology.h"
#include "ComputationalGeometry.h"
#include "PDB.h"
#include "TestSupport.h"
#include "TopologyLibrary.h"

namespace orvane {
namespace {

using testing_support::EquilibriumValues;
using testing_support::OutputOf;
using testing_support::SharedFolder;
using testing_support::SourceFolder;

using Names = std::vector<std::string>;
using Record = TopologyLibrary::Residue;
using Records = std::map<std::string, Record>;

constexpr double kDegree = std::numbers::pi / 180.0;

const Names kDataFiles = {"top_all36_prot.rtf",   "top_all36_na.rtf",
                          "extra/dna.rtf",        "extra/rna.rtf",
                          "extra/water_ions.rtf", "extra/phosphorylation.rtf"};

std::vector<std::string> LinesOf(const std::string& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

Names WordsOf(const std::string& text) {
  std::istringstream stream(text);
  Names words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string DataFile(const std::string& name) {
  return (SourceFolder() / "data" / name).string();
}

// Records and masses of some files of the data folder, later ones replacing earlier ones.
struct Library {
  Records records;
  std::map<std::string, double> masses;

  explicit Library(const Names& files) {
    for (const std::string& file : files) {
      CHARMMTopology::ReadTopologyFile(DataFile(file), records, masses);
    }
  }
};

const Library& Standard() {
  static const Library library({"top_all36_prot.rtf", "top_all36_na.rtf"});
  return library;
}

const Library& WithDna() {
  static const Library library({"top_all36_prot.rtf", "top_all36_na.rtf", "extra/dna.rtf"});
  return library;
}

const Library& WithRna() {
  static const Library library({"top_all36_prot.rtf", "top_all36_na.rtf", "extra/rna.rtf"});
  return library;
}

const Library& WithWater() {
  static const Library library({"top_all36_prot.rtf", "top_all36_na.rtf", "extra/water_ions.rtf"});
  return library;
}

bool Has(const Record& record, const std::string& atom) {
  return record.FindAtom(atom) >= 0;
}

// ---------------------------------------------------------------------------------------------
// The text of the files.

TEST(TopologyDataFiles, HoldTheWordsThatOpenABlockOnlyWhereOneBegins) {
  for (const std::string& name : kDataFiles) {
    for (const std::string& line : LinesOf(DataFile(name))) {
      const std::string upper = Upper(line);
      const Names words = WordsOf(upper);
      if (upper.find("RESI") != std::string::npos || upper.find("PRES") != std::string::npos) {
        EXPECT_TRUE(words.size() == 3 && (words[0] == "RESI" || words[0] == "PRES"))
            << name << ": " << line;
      }
      if (upper.find("MASS") != std::string::npos) {
        EXPECT_TRUE(words.size() == 4 && words[0] == "MASS") << name << ": " << line;
      }
    }
  }
}

TEST(TopologyDataFiles, LoseNoRecordToTheEndOfTheFileAndMakeNoneWithoutName) {
  for (const std::string& name : kDataFiles) {
    std::size_t headers = 0;
    for (const std::string& line : LinesOf(DataFile(name))) {
      const Names words = WordsOf(line);
      if (!words.empty() && (words[0] == "RESI" || words[0] == "PRES")) ++headers;
    }
    const Library library({name});
    EXPECT_EQ(library.records.size(), headers) << name;
    EXPECT_EQ(library.records.count(""), 0u) << name;
    EXPECT_EQ(LinesOf(DataFile(name)).back(), "END") << name;
  }
}

TEST(TopologyDataFiles, AreReadWithoutAWarning) {
  for (const std::string& name : kDataFiles) {
    EXPECT_EQ(OutputOf([&] { Library({name}); }), "") << name;
  }
}

TEST(TopologyDataFiles, GiveEveryTypeAMass) {
  for (const std::string& name : kDataFiles) {
    const Library library({name});
    for (const auto& [record_name, record] : library.records) {
      for (const std::string& type : record.atom_types) {
        EXPECT_EQ(library.masses.count(type), 1u) << name << " " << record_name << " " << type;
      }
    }
  }
}

TEST(TopologyDataFiles, DeclareTheChargeThatTheAtomsAddUpTo) {
  for (const std::string& name : kDataFiles) {
    for (const auto& [record_name, record] : Library({name}).records) {
      double sum = 0.0;
      for (const double charge : record.atom_charges) sum += charge;
      EXPECT_NEAR(record.charge, sum, 1e-9) << name << " " << record_name;
    }
  }
}

TEST(TopologyDataFiles, FillInEveryLengthAndAngle) {
  for (const std::string& name : kDataFiles) {
    for (const auto& [record_name, record] : Library({name}).records) {
      for (const TopologyLibrary::InternalCoord& term : record.ics) {
        for (const int value : {0, 1, 3, 4}) {
          EXPECT_GT(term.values[value], 0.5) << name << " " << record_name << " " << term.atoms[3];
        }
      }
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Against the published files, read here once more in the plainest way.

// Name, type and charge in millionths of an elementary charge: the program's own conversion of
// numbers may differ from the C library's in the last bit.
using PlainAtom = std::tuple<std::string, std::string, long>;

long Millionths(double charge) {
  return std::lround(charge * 1e6);
}

struct PublishedRecord {
  bool is_patch = false;
  double charge = 0.0;
  std::vector<PlainAtom> atoms;
  std::vector<Names> bonds, impropers, cmaps;
  std::multiset<std::string> deleted;
};

std::map<std::string, PublishedRecord> ReadPublished(const std::string& path) {
  std::map<std::string, PublishedRecord> records;
  PublishedRecord* record = nullptr;
  for (const std::string& line : LinesOf(path)) {
    const Names words = WordsOf(Upper(line.substr(0, line.find('!'))));
    if (words.empty()) continue;
    const std::string key = words[0].substr(0, 4);
    const auto in_groups_of = [&](std::size_t size, std::vector<Names>& list) {
      for (std::size_t i = 1; i + size <= words.size(); i += size) {
        list.emplace_back(words.begin() + static_cast<std::ptrdiff_t>(i),
                          words.begin() + static_cast<std::ptrdiff_t>(i + size));
      }
    };
    if (key == "RESI" || key == "PRES") {
      record = &records[words[1]];
      record->is_patch = key == "PRES";
      record->charge = std::stod(words[2]);
    } else if (record == nullptr) {
      continue;
    } else if (key == "ATOM") {
      record->atoms.emplace_back(words[1], words[2], Millionths(std::stod(words[3])));
    } else if (key == "BOND" || key == "DOUB" || key == "TRIP") {
      in_groups_of(2, record->bonds);
    } else if (key == "IMPR") {
      in_groups_of(4, record->impropers);
    } else if (key == "CMAP") {
      in_groups_of(4, record->cmaps);
    } else if (key == "DELE" && words[1] == "ATOM") {
      record->deleted.insert(words[2]);
    }
  }
  return records;
}

// Records whose patch deletes one atom more than the published one: the hydroxyl's hydrogen, which
// has the name of the hydrogen that the patch puts in its place.
const std::set<std::string> kPatchesThatAlsoDeleteH2 = {"DEO5", "DEOX"};

// Records in which CG stands further up than published, ahead of the ring atoms that hang on it.
const std::set<std::string> kRecordsInAnotherOrder = {"HSD", "HSE", "HSP"};

// Deletes the atoms of all bases at once, which ends the run with an error on any one of them.
const std::string kLeftOut = "DELB";

// Patches that the published files do not have: methylations, and those whose names end in DEL,
// which mutations need.
const std::set<std::string> kMethylations = {"MML", "DML", "TML", "MMA", "ADMA", "SDMA"};

bool IsOurOwn(const std::string& record) {
  return kMethylations.count(record) == 1 || record.ends_with("DEL");
}

TEST(TopologyDataFiles, HoldWhatThePublishedFilesHold) {
  const auto toppar = SharedFolder() / "toppar";
  if (SharedFolder().empty() || !std::filesystem::exists(toppar)) {
    GTEST_SKIP() << "the published files are not at hand";
  }
  for (const std::string name : {"top_all36_prot.rtf", "top_all36_na.rtf"}) {
    auto published = ReadPublished((toppar / name).string());
    published.erase(kLeftOut);
    const Library ours({name});
    const auto own = std::count_if(ours.records.begin(), ours.records.end(),
                                   [](const auto& entry) { return IsOurOwn(entry.first); });
    EXPECT_EQ(ours.records.size(), published.size() + static_cast<std::size_t>(own));
    for (const auto& [record_name, expected] : published) {
      SCOPED_TRACE(record_name);
      ASSERT_EQ(ours.records.count(record_name), 1u);
      const Record& record = ours.records.at(record_name);
      EXPECT_EQ(record.is_patch, expected.is_patch);
      EXPECT_NEAR(record.charge, expected.charge, 1e-9);
      std::vector<PlainAtom> atoms;
      for (std::size_t i = 0; i < record.atom_names.size(); ++i) {
        atoms.emplace_back(record.atom_names[i], record.atom_types[i],
                           Millionths(record.atom_charges[i]));
      }
      auto expected_atoms = expected.atoms;
      if (kRecordsInAnotherOrder.count(record_name) == 1) {
        std::sort(atoms.begin(), atoms.end());
        std::sort(expected_atoms.begin(), expected_atoms.end());
      }
      EXPECT_EQ(atoms, expected_atoms);
      EXPECT_EQ(record.bonds, expected.bonds);
      EXPECT_EQ(record.impropers, expected.impropers);
      EXPECT_EQ(record.cmaps, expected.cmaps);
      std::multiset<std::string> deleted;
      for (const auto& entry : record.deleted_atoms) {
        EXPECT_EQ(entry[0], "ATOM");
        deleted.insert(entry[1]);
      }
      auto expected_deleted = expected.deleted;
      if (kPatchesThatAlsoDeleteH2.count(record_name) == 1) expected_deleted.insert("H2'");
      EXPECT_EQ(deleted, expected_deleted);
    }
  }
}

TEST(TopologyDataFiles, HoldThePublishedMasses) {
  const auto toppar = SharedFolder() / "toppar";
  if (SharedFolder().empty() || !std::filesystem::exists(toppar)) {
    GTEST_SKIP() << "the published files are not at hand";
  }
  for (const std::string name : {"top_all36_prot.rtf", "top_all36_na.rtf"}) {
    std::map<std::string, double> expected;
    for (const std::string& line : LinesOf((toppar / name).string())) {
      const Names words = WordsOf(line);
      if (words.size() > 3 && words[0] == "MASS") expected[words[2]] = std::stod(words[3]);
    }
    const Library ours({name});
    ASSERT_EQ(ours.masses.size(), expected.size());
    for (const auto& [type, mass] : ours.masses) EXPECT_NEAR(mass, expected[type], 1e-9) << type;
  }
}

// ---------------------------------------------------------------------------------------------
// Places of added atoms.

// Length of two types or angle of three; NaN, which fails every comparison, for unknown ones.
double EquilibriumOf(const Names& types) {
  const auto found = EquilibriumValues().find(types);
  return found == EquilibriumValues().end() ? std::nan("") : found->second;
}

// How far places may be from equilibrium, in Angstrom and degrees.
struct Tolerance {
  double bond, angle;
};

// Published terms come from relaxed structures: CB of a branched residue lies 0.07 Angstrom further
// from CA than the equilibrium length says; the angles at the rings of TRP are off by 11 degrees,
// H-N-H of a pyramidal amine and O-P-O of a phosphate by 13.
constexpr Tolerance kStrict = {0.07, 14.0};
// An atom in the gap between others that have their places already.
constexpr Tolerance kGap = {0.2, 32.0};
constexpr double kPlaneTolerance = 0.13;  // Angstrom
constexpr double kClosestAtoms = 0.9;

// A molecule under construction: which atoms were there, and the types that records gave.
class Built {
 public:
  explicit Built(const Library& library) : library_(library) {}

  void Add(const std::string& residue, int number, const std::map<std::string, Vec3D>& atoms) {
    for (const auto& [name, place] : atoms) {
      PDB::Atom atom;
      atom.Name = name;
      atom.ResName = residue;
      atom.ResSeq = number;
      atom.ChainID = "A";
      atom.Coord = place;
      molecule_.atoms.push_back(atom);
    }
  }

  // Completes all residues from their templates; what it prints is kept.
  void Complete() {
    molecule_.Analyze();
    given_ = AllAtoms();
    printed += OutputOf([this] {
      for (int i = 0; i < molecule_.numResidues; ++i) {
        const Record& record = library_.records.at(molecule_.residueNames[i]);
        molecule_.PatchResidue(i, library_.masses, record, false);
      }
    });
    for (int i = 0; i < molecule_.numResidues; ++i) {
      Remember(i, library_.records.at(molecule_.residueNames[i]));
    }
  }

  void Patch(int residue, const std::string& name) {
    const Record& record = library_.records.at(name);
    printed += OutputOf([&] { molecule_.PatchResidue(residue, library_.masses, record, false); });
    Remember(residue, record);
  }

  // From here on only atoms that are added later count as new.
  void TakeAsGiven() { given_ = AllAtoms(); }

  int Find(int residue, const std::string& name) const {
    if (residue < 0 || residue >= molecule_.numResidues) return -1;
    return molecule_.GetAtomIndex(residue, name);
  }
  const Vec3D& At(int residue, const std::string& name) const {
    return molecule_.atoms.at(Find(residue, name)).Coord;
  }

  double Dihedral(int residue, const std::string& names) const {
    const Names words = WordsOf(names);
    return ComputationalGeometry::CalcDihedral(At(residue, words[0]), At(residue, words[1]),
                                               At(residue, words[2]), At(residue, words[3])) /
           kDegree;
  }

  // Compares bonds, angles and planes that hold a new atom with the force field's figures.
  void Check(const Tolerance& tolerance = kStrict) const {
    std::map<int, std::vector<int>> neighbours;
    for (const auto& [a, b] : Bonds()) {
      neighbours[a].push_back(b);
      neighbours[b].push_back(a);
      if (!IsNew(a) && !IsNew(b)) continue;
      EXPECT_NEAR(ComputationalGeometry::CalcLength(Place(a), Place(b)),
                  EquilibriumOf({Type(a), Type(b)}), tolerance.bond)
          << Label(a) << " " << Label(b);
    }
    for (const auto& [middle, ends] : neighbours) {
      for (std::size_t i = 0; i < ends.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
          if (!IsNew(ends[i]) && !IsNew(ends[k]) && !IsNew(middle)) continue;
          EXPECT_NEAR(
              ComputationalGeometry::CalcAngle(Place(ends[i]), Place(middle), Place(ends[k])) /
                  kDegree,
              EquilibriumOf({Type(ends[i]), Type(middle), Type(ends[k])}), tolerance.angle)
              << Label(ends[i]) << " " << Label(middle) << " " << Label(ends[k]);
        }
      }
    }
    CheckPlanes();
    for (int a = 0; a < molecule_.numAtoms; ++a) {
      for (int b = 0; b < a; ++b) {
        EXPECT_GT(ComputationalGeometry::CalcLength(Place(a), Place(b)), kClosestAtoms)
            << Label(a) << " " << Label(b);
      }
    }
  }

  PDB& molecule() { return molecule_; }

  std::string printed;

 private:
  using AtomName = std::pair<int, std::string>;

  std::set<AtomName> AllAtoms() const {
    std::set<AtomName> all;
    for (const PDB::Atom& atom : molecule_.atoms) all.insert({atom.ResSeq, atom.Name});
    return all;
  }

  void Remember(int residue, const Record& record) {
    for (std::size_t i = 0; i < record.atom_names.size(); ++i) {
      types_[{residue, record.atom_names[i]}] = record.atom_types[i];
    }
    for (const auto& bond : record.bonds) bonds_.push_back({residue, bond});
    for (const auto& improper : record.impropers) impropers_.push_back({residue, improper});
  }

  int Resolve(int residue, const std::string& name) const {
    if (name[0] == '+') return Find(residue + 1, name.substr(1));
    if (name[0] == '-') return Find(residue - 1, name.substr(1));
    return Find(residue, name);
  }

  std::set<std::pair<int, int>> Bonds() const {
    std::set<std::pair<int, int>> result;
    for (const auto& [residue, names] : bonds_) {
      const int a = Resolve(residue, names[0]), b = Resolve(residue, names[1]);
      if (a >= 0 && b >= 0) result.insert(std::minmax(a, b));
    }
    return result;
  }

  // The first atom of an improper lies in the plane of the others, all over this force field.
  void CheckPlanes() const {
    for (const auto& [residue, names] : impropers_) {
      std::vector<int> atoms;
      for (const std::string& name : names) atoms.push_back(Resolve(residue, name));
      if (std::count(atoms.begin(), atoms.end(), -1) > 0) continue;
      if (std::none_of(atoms.begin(), atoms.end(), [this](int i) { return IsNew(i); })) continue;
      const Vec3D normal =
          Cross(Place(atoms[2]) - Place(atoms[1]), Place(atoms[3]) - Place(atoms[1]));
      const double height = Dot(normal, Place(atoms[0]) - Place(atoms[1])) / Length(normal);
      EXPECT_NEAR(height, 0.0, kPlaneTolerance) << Label(atoms[0]);
    }
  }

  const Vec3D& Place(int atom) const { return molecule_.atoms[atom].Coord; }
  bool IsNew(int atom) const {
    return given_.count({molecule_.atoms[atom].ResSeq, molecule_.atoms[atom].Name}) == 0;
  }
  std::string Type(int atom) const {
    // Residues are numbered from 1.
    return types_.at({molecule_.atoms[atom].ResSeq - 1, molecule_.atoms[atom].Name});
  }
  std::string Label(int atom) const {
    return std::to_string(molecule_.atoms[atom].ResSeq) + ":" + molecule_.atoms[atom].Name;
  }

  const Library& library_;
  PDB molecule_;
  std::set<AtomName> given_;
  std::map<AtomName, std::string> types_;
  std::vector<std::pair<int, Names>> bonds_, impropers_;
};

Vec3D Placed(const Vec3D& a, const Vec3D& b, const Vec3D& c, double length, double angle,
             double dihedral) {
  Vec3D result;
  ComputationalGeometry::CalcCoord(a, b, c, length, angle * kDegree, dihedral * kDegree, result);
  return result;
}

// N, CA and C of three residues at ideal lengths and angles.
std::vector<std::map<std::string, Vec3D>> PeptideBackbone(double phi, double psi) {
  const double angle = 110.0 * kDegree;
  const Vec3D n(0.0, 0.0, 0.0), ca(1.45, 0.0, 0.0);
  const Vec3D c(1.45 - 1.52 * std::cos(angle), 1.52 * std::sin(angle), 0.0);
  std::vector<std::map<std::string, Vec3D>> chain = {{{"N", n}, {"CA", ca}, {"C", c}}};
  while (chain.size() < 3) {
    auto& last = chain.back();
    const Vec3D next_n = Placed(last["N"], last["CA"], last["C"], 1.345, 117.0, psi);
    const Vec3D next_ca = Placed(last["CA"], last["C"], next_n, 1.45, 122.0, 180.0);
    const Vec3D next_c = Placed(last["C"], next_n, next_ca, 1.52, 110.0, phi);
    chain.push_back({{"N", next_n}, {"CA", next_ca}, {"C", next_c}});
  }
  return chain;
}

Built Tripeptide(const std::string& residue, double phi = -65.0, double psi = 140.0) {
  Built built(Standard());
  int number = 0;
  for (const auto& atoms : PeptideBackbone(phi, psi)) built.Add(residue, ++number, atoms);
  built.Complete();
  return built;
}

Names AminoAcids() {
  Names names;
  for (const auto& [name, record] : Standard().records) {
    if (!record.is_patch && Has(record, "N") && Has(record, "CA") && Has(record, "C")) {
      names.push_back(name);
    }
  }
  return names;
}

std::string NTerminalPatch(const std::string& residue) {
  return residue == "GLY" ? "GLYP" : residue == "PRO" ? "PROP" : "NTER";
}

TEST(PlacesOfAtoms, OfAnAminoAcidAreGoodFromItsMainChainAlone) {
  EXPECT_EQ(AminoAcids().size(), 23u);
  for (const std::string& residue : AminoAcids()) {
    SCOPED_TRACE(residue);
    Built built = Tripeptide(residue);
    built.Patch(0, NTerminalPatch(residue));
    built.Patch(2, "CTER");
    built.Check();
  }
}

TEST(PlacesOfAtoms, InsideAChainNeedNoSecondTry) {
  for (const std::string& residue : AminoAcids()) {
    const Built built = Tripeptide(residue);
    // The ends lack a neighbour; the residue between them has all that its terms refer to.
    EXPECT_EQ(built.printed.find(residue + "2"), std::string::npos) << built.printed;
  }
}

TEST(PlacesOfAtoms, OfAnAminoAcidHaveTheHandOfNature) {
  for (const std::string& residue : AminoAcids()) {
    SCOPED_TRACE(residue);
    const Built built = Tripeptide(residue, -60.0, -45.0);
    const std::string h = residue == "GLY" ? "HA2" : "HA";
    EXPECT_NEAR(built.Dihedral(1, "N C CA " + h), -119.0, 6.0);
    EXPECT_NEAR(built.Dihedral(1, "N C CA " + std::string(residue == "GLY" ? "HA1" : "CB")), 120.0,
                8.0);
  }
  const Built ile = Tripeptide("ILE"), thr = Tripeptide("THR");
  EXPECT_NEAR(ile.Dihedral(1, "CG1 CA CB CG2"), -125.0, 8.0);
  EXPECT_NEAR(ile.Dihedral(1, "CG1 CA CB HB"), 118.0, 8.0);
  EXPECT_NEAR(thr.Dihedral(1, "OG1 CA CB CG2"), -125.0, 8.0);
  EXPECT_NEAR(thr.Dihedral(1, "OG1 CA CB HB"), 118.0, 8.0);
}

// Rings as walks of bonded atoms: every dihedral along them is that of a flat ring.
TEST(PlacesOfAtoms, OfRingsAndAmidesAreFlat) {
  const std::vector<std::pair<std::string, std::string>> walks = {
      {"PHE", "CB CG CD1 CE1 CZ CE2 CD2 CG CB"},
      {"PHE", "HD1 CD1 CE1 HE1"},
      {"PHE", "HE1 CE1 CZ HZ CZ CE2 HE2"},
      {"TYR", "CB CG CD1 CE1 CZ CE2 CD2 CG CB"},
      {"TYR", "CD1 CE1 CZ OH"},
      {"TRP", "CB CG CD1 NE1 CE2 CD2 CG CB"},
      {"TRP", "NE1 CE2 CZ2 CH2 CZ3 CE3 CD2 CG"},
      {"TRP", "HD1 CD1 NE1 HE1"},
      {"HSD", "CB CG ND1 CE1 NE2 CD2 CG CB"},
      {"HSE", "CB CG ND1 CE1 NE2 CD2 CG CB"},
      {"HSP", "CB CG ND1 CE1 NE2 CD2 CG CB"},
      {"ARG", "CD NE CZ NH1 HH11"},
      {"ARG", "HE NE CZ NH2 HH22"},
      {"ASN", "OD1 CG ND2 HD21"},
      {"ASN", "CB CG ND2 HD22"},
      {"GLN", "OE1 CD NE2 HE21"},
      {"ALA", "O C +N +HN"}};
  constexpr double kDegreesOffPlane = 15.0;
  for (const auto& [residue, walk] : walks) {
    const Built built = Tripeptide(residue);
    const Names atoms = WordsOf(walk);
    for (std::size_t i = 0; i + 3 < atoms.size(); ++i) {
      std::vector<Vec3D> at;
      for (std::size_t k = i; k < i + 4; ++k) {
        at.push_back(atoms[k][0] == '+' ? built.At(2, atoms[k].substr(1)) : built.At(1, atoms[k]));
      }
      if (atoms[i] == atoms[i + 2] || atoms[i + 1] == atoms[i + 3]) continue;
      const double dihedral = ComputationalGeometry::CalcDihedral(at[0], at[1], at[2], at[3]);
      EXPECT_LT(std::abs(std::sin(dihedral)), std::sin(kDegreesOffPlane * kDegree))
          << residue << " " << atoms[i] << " " << atoms[i + 1] << " " << atoms[i + 2] << " "
          << atoms[i + 3];
    }
  }
}

// Takes heavy atoms away from the middle residue of a complete peptide and completes it again.
void CheckCompletionWithout(const Built& complete, const std::string& residue,
                            const std::set<std::string>& missing) {
  Built built(Standard());
  for (int i = 0; i < 3; ++i) {
    std::map<std::string, Vec3D> atoms;
    for (const std::string& name : Standard().records.at(residue).atom_names) {
      const bool is_missing = i == 1 && missing.count(name) == 1;
      if (name[0] != 'H' && !is_missing) atoms[name] = complete.At(i, name);
    }
    built.Add(residue, i + 1, atoms);
  }
  built.Complete();
  built.Check(kGap);
}

TEST(PlacesOfAtoms, OfAMissingHeavyAtomCloseTheGap) {
  for (const std::string& residue : AminoAcids()) {
    const Built complete = Tripeptide(residue);
    for (const std::string& name : Standard().records.at(residue).atom_names) {
      // Glycine has nothing beside its main chain to say where the next atom of that belongs.
      if (name[0] == 'H' || (residue == "GLY" && name != "O")) continue;
      SCOPED_TRACE(residue + " without " + name);
      CheckCompletionWithout(complete, residue, {name});
    }
  }
}

TEST(PlacesOfAtoms, OfASideChainThatEndsTooEarlyAreGood) {
  // Deposited side chains end behind some atom; their torsions are not those of the template.
  for (const std::string& residue : AminoAcids()) {
    const Record& record = Standard().records.at(residue);
    Built complete = Tripeptide(residue);
    std::set<std::string> missing;
    for (auto name = record.atom_names.rbegin(); name != record.atom_names.rend(); ++name) {
      const bool is_side_chain =
          (*name)[0] != 'H' && *name != "N" && *name != "CA" && *name != "C" && *name != "O";
      if (!is_side_chain) continue;
      missing.insert(*name);
      SCOPED_TRACE(residue + " up to " + *name);
      CheckCompletionWithout(complete, residue, missing);
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Nucleotides.

// A sugar of ideal shape (C2' endo) with O5' and C5'.
std::map<std::string, Vec3D> Sugar() {
  std::map<std::string, Vec3D> at;
  at["C4'"] = {0.0, 0.0, 0.0};
  at["C3'"] = {1.527, 0.0, 0.0};
  const double angle = 101.7 * kDegree;
  at["C2'"] = at["C3'"] + Vec3D(-1.526 * std::cos(angle), 1.526 * std::sin(angle), 0.0);
  at["C1'"] = Placed(at["C4'"], at["C3'"], at["C2'"], 1.527, 102.2, -33.0);
  at["O4'"] = Placed(at["C3'"], at["C2'"], at["C1'"], 1.42, 105.0, 33.5);
  at["C5'"] = Placed(at["O4'"], at["C3'"], at["C4'"], 1.51, 116.0, -119.0);
  at["O5'"] = Placed(at["C3'"], at["C4'"], at["C5'"], 1.44, 110.0, 55.0);
  return at;
}

struct Nucleotide {
  const Library* library;
  std::string name;
};

std::vector<Nucleotide> Nucleotides() {
  std::vector<Nucleotide> result;
  for (const std::string name : {"ADE", "CYT", "GUA", "THY", "URA"}) {
    result.push_back({&Standard(), name});
  }
  for (const std::string name : {"ADE", "CYT", "GUA", "THY"}) result.push_back({&WithDna(), name});
  for (const std::string name : {"A", "C", "G", "U"}) result.push_back({&WithRna(), name});
  return result;
}

Built CompleteNucleotide(const Nucleotide& nucleotide) {
  Built built(*nucleotide.library);
  built.Add(nucleotide.name, 1, Sugar());
  built.Complete();
  return built;
}

TEST(PlacesOfAtoms, OfANucleotideAreGoodFromItsSugarAlone) {
  for (const Nucleotide& nucleotide : Nucleotides()) {
    SCOPED_TRACE(nucleotide.name);
    const Built built = CompleteNucleotide(nucleotide);
    built.Check();
    // The hand of D-ribose.
    const std::string base_end = built.Find(0, "N9") >= 0 ? "N9" : "N1";
    EXPECT_NEAR(built.Dihedral(0, "O4' C2' C1' " + base_end), 119.0, 6.0);
    EXPECT_NEAR(built.Dihedral(0, "C2' C4' C3' O3'"), -119.0, 6.0);
    EXPECT_NEAR(built.Dihedral(0, "O4' C3' C4' C5'"), -119.0, 6.0);
    const std::string on_c2 = built.Find(0, "O2'") >= 0 ? "O2'" : "H2'";
    EXPECT_NEAR(built.Dihedral(0, "C1' C3' C2' " + on_c2), -115.0, 6.0);
  }
}

TEST(PlacesOfAtoms, OfBasesAreFlat) {
  for (const Nucleotide& nucleotide : Nucleotides()) {
    const Built built = CompleteNucleotide(nucleotide);
    const Record& record = nucleotide.library->records.at(nucleotide.name);
    const std::string first = built.Find(0, "N9") >= 0 ? "N9" : "N1";
    const Vec3D origin = built.At(0, first);
    const Vec3D normal = Cross(built.At(0, "C2") - origin, built.At(0, "C6") - origin);
    for (const std::string& name : record.atom_names) {
      const bool is_methyl_hydrogen = name == "H51" || name == "H52" || name == "H53";
      const bool is_base =
          name.find('\'') == std::string::npos && name.find('P') == std::string::npos;
      if (!is_base || is_methyl_hydrogen) continue;
      EXPECT_NEAR(Dot(normal, built.At(0, name) - origin) / Length(normal), 0.0, 0.02)
          << nucleotide.name << " " << name;
    }
  }
}

TEST(PlacesOfAtoms, OfOneNucleotidesHeavyAtomsCloseTheGap) {
  for (const Nucleotide& nucleotide : Nucleotides()) {
    const Built complete = CompleteNucleotide(nucleotide);
    const Names& names = nucleotide.library->records.at(nucleotide.name).atom_names;
    for (const std::string& missing : names) {
      if (missing[0] == 'H') continue;
      // Without the residue before it, which the first phosphate oxygen refers to, its torsion is
      // open, and with it the angle to the oxygen that stayed.
      if (missing == "O1P" || missing == "OP1") continue;
      // The published uridine has another pucker than the sugar here.
      const bool is_of_the_ring = Sugar().count(missing) == 1 && missing[1] != '5';
      if (is_of_the_ring && (nucleotide.name == "URA" || nucleotide.name == "U")) continue;
      SCOPED_TRACE(nucleotide.name + " without " + missing);
      Built built(*nucleotide.library);
      std::map<std::string, Vec3D> atoms;
      for (const std::string& name : names) {
        if (name[0] != 'H' && name != missing) atoms[name] = complete.At(0, name);
      }
      built.Add(nucleotide.name, 1, atoms);
      built.Complete();
      built.Check(kGap);
    }
  }
}

TEST(PlacesOfAtoms, OfTwoNucleotidesJoinThem) {
  // The second phosphate is given; its oxygens are placed from the residue before.
  for (const Nucleotide& nucleotide : Nucleotides()) {
    SCOPED_TRACE(nucleotide.name);
    const Built one = CompleteNucleotide(nucleotide);
    std::map<std::string, Vec3D> first = Sugar(), second;
    const Vec3D p =
        Placed(one.At(0, "C4'"), one.At(0, "C3'"), one.At(0, "O3'"), 1.6, 119.0, -155.0);
    const Vec3D o5 = Placed(one.At(0, "C3'"), one.At(0, "O3'"), p, 1.6, 101.45, -95.2);
    const Vec3D c5 = Placed(one.At(0, "O3'"), p, o5, 1.44, 119.0, -46.9);
    first["O3'"] = one.At(0, "O3'");
    second["P"] = p;
    second["O5'"] = o5;
    second["C5'"] = c5;
    // The rest of the sugar goes along as a rigid body.
    const std::map<std::string, Vec3D> sugar = Sugar();
    const auto carried = [&](const std::string& name, const Vec3D& a, const Vec3D& b,
                             const Vec3D& c, double dihedral) {
      return Placed(
          a, b, c, ComputationalGeometry::CalcLength(sugar.at("C5'"), sugar.at(name)),
          ComputationalGeometry::CalcAngle(sugar.at("O5'"), sugar.at("C5'"), sugar.at(name)) /
              kDegree,
          dihedral);
    };
    for (const std::string name : {"C4'", "C3'", "C2'", "C1'", "O4'"}) {
      const double turn =
          name == "C4'" ? 0.0
                        : ComputationalGeometry::CalcDihedral(sugar.at("C4'"), sugar.at("O5'"),
                                                              sugar.at("C5'"), sugar.at(name)) /
                              kDegree;
      second[name] = carried(name, p, o5, c5, 180.0 + turn);
    }
    Built built(*nucleotide.library);
    built.Add(nucleotide.name, 1, first);
    built.Add(nucleotide.name, 2, second);
    built.Complete();
    built.Check();
    EXPECT_EQ(built.printed.find(nucleotide.name + "2"), std::string::npos) << built.printed;
  }
}

// ---------------------------------------------------------------------------------------------
// Patches.

struct PatchCase {
  std::string patch, residue;
  int position;  // in a peptide of three
};

const std::vector<PatchCase> kPeptidePatches = {
    {"NTER", "ALA", 0}, {"GLYP", "GLY", 0}, {"PROP", "PRO", 0}, {"ACE", "ALA", 0},
    {"ACED", "ALA", 0}, {"ACP", "PRO", 0},  {"ACPD", "PRO", 0}, {"NNEU", "ALA", 0},
    {"NGNE", "GLY", 0}, {"CTER", "ALA", 2}, {"CNEU", "ALA", 2}, {"CTP", "ALA", 2},
    {"CT1", "ALA", 2},  {"CT2", "ALA", 2},  {"CT3", "ALA", 2},  {"ASPP", "ASP", 1},
    {"GLUP", "GLU", 1}, {"LSN", "LYS", 1},  {"CYSD", "CYS", 1}, {"SERD", "SER", 1},
    {"HS2", "HSD", 1},  {"MML", "LYS", 1},  {"DML", "LYS", 1},  {"TML", "LYS", 1},
    {"MMA", "ARG", 1},  {"ADMA", "ARG", 1}, {"SDMA", "ARG", 1}};

// They join two residues, which this program cannot do with a patch.
const std::set<std::string> kPatchesOfTwoResidues = {"LINK", "DISU", "LIG1",
                                                     "LIG2", "LIG3", "LKNA"};

const Names kNucleotidePatches = {"5TER", "5MET", "5PHO", "5POM", "3TER", "3PHO",
                                  "3POM", "3PO3", "DEOX", "DEO5", "CY35"};

TEST(PlacesOfAtoms, OfPatchesOfAminoAcidsAreGood) {
  for (const PatchCase& patch : kPeptidePatches) {
    SCOPED_TRACE(patch.patch);
    Built built = Tripeptide(patch.residue);
    built.TakeAsGiven();
    built.printed.clear();
    built.Patch(patch.position, patch.patch);
    built.Check();
    EXPECT_EQ(built.printed, "");
  }
}

TEST(PlacesOfAtoms, OfPatchesOfNucleotidesAreGood) {
  for (const Nucleotide& nucleotide : Nucleotides()) {
    const bool is_deoxy = nucleotide.library == &WithDna();
    const bool is_one_letter = nucleotide.library == &WithRna();
    for (const std::string& name : kNucleotidePatches) {
      const bool is_for_ribose = name == "DEOX" || name == "DEO5" || name == "5MET";
      if (is_deoxy && is_for_ribose) continue;
      if (is_one_letter && (name.starts_with("DEO") || name == "CY35")) continue;
      const std::string patch = is_one_letter && name[0] == '5' ? "R" + name : name;
      SCOPED_TRACE(nucleotide.name + " " + patch);
      Built built = CompleteNucleotide(nucleotide);
      built.TakeAsGiven();
      built.printed.clear();
      built.Patch(0, patch);
      if (name != "CY35") built.Check();  // closes a ring that an open chain is too long for
      EXPECT_EQ(built.printed, "");
    }
  }
}

TEST(PlacesOfAtoms, AreTriedForEveryPatch) {
  std::set<std::string> tried(kNucleotidePatches.begin(), kNucleotidePatches.end());
  for (const PatchCase& patch : kPeptidePatches) tried.insert(patch.patch);
  tried.insert(kPatchesOfTwoResidues.begin(), kPatchesOfTwoResidues.end());
  for (const auto& [name, record] : Standard().records) {
    if (name.ends_with("DEL")) continue;  // see the tests of mutations
    EXPECT_TRUE(!record.is_patch || tried.count(name) == 1) << name;
  }
}

TEST(PlacesOfAtoms, OfHydrogensOnOneAtomAreApart) {
  Built lysine = Tripeptide("LYS");
  lysine.Patch(0, "NTER");
  EXPECT_NEAR(ComputationalGeometry::CalcLength(lysine.At(0, "HT1"), lysine.At(0, "HT2")), 1.70,
              0.05);
  EXPECT_NEAR(ComputationalGeometry::CalcLength(lysine.At(0, "HT2"), lysine.At(0, "HT3")), 1.70,
              0.05);
  EXPECT_NEAR(ComputationalGeometry::CalcLength(lysine.At(1, "HB1"), lysine.At(1, "HB2")), 1.78,
              0.08);
  EXPECT_NEAR(ComputationalGeometry::CalcLength(lysine.At(1, "HZ1"), lysine.At(1, "HZ3")), 1.70,
              0.08);
}

TEST(PlacesOfAtoms, OfDeoxyPatchesMoveTheHydrogenFromTheHydroxylToTheCarbon) {
  Built built = CompleteNucleotide({&Standard(), "GUA"});
  built.Patch(0, "DEOX");
  EXPECT_NEAR(ComputationalGeometry::CalcLength(built.At(0, "C2'"), built.At(0, "H2'")), 1.11,
              0.01);
  EXPECT_EQ(built.Find(0, "O2'"), -1);
}

TEST(PlacesOfAtoms, OfTheDipeptideInOneRecordAreGood) {
  // From N, CA and C of its middle, and from all of its heavy atoms.
  const auto backbone = PeptideBackbone(-65.0, 140.0);
  Built built(Standard());
  built.Add(
      "ALAD", 1,
      {{"NL", backbone[1].at("N")}, {"CA", backbone[1].at("CA")}, {"CRP", backbone[1].at("C")}});
  built.Complete();
  built.Check();
  EXPECT_NEAR(built.Dihedral(0, "NL CRP CA CB"), 120.0, 8.0);
}

// ---------------------------------------------------------------------------------------------
// Water and ions.

TEST(PlacesOfAtoms, OfWaterNeedOnlyTheOxygen) {
  for (const std::string name : {"HOH", "WAT", "TIP", "TIP3"}) {
    SCOPED_TRACE(name);
    const std::string oxygen = name.starts_with("TIP") ? "OH2" : "O";
    Built built(WithWater());
    const std::vector<Vec3D> places = {{1.0, 2.0, 3.0}, {4.0, 2.5, 3.0}, {99.0, 98.0, -7.0}};
    for (int i = 0; i < 3; ++i) built.Add(name, i + 1, {{oxygen, places[i]}});
    built.Complete();
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(ComputationalGeometry::CalcLength(built.At(i, oxygen), built.At(i, "H1")), 0.9572,
                  1e-4);
      EXPECT_NEAR(ComputationalGeometry::CalcLength(built.At(i, oxygen), built.At(i, "H2")), 0.9572,
                  1e-4);
      EXPECT_NEAR(ComputationalGeometry::CalcLength(built.At(i, "H1"), built.At(i, "H2")), 1.5139,
                  1e-3);
    }
  }
}

TEST(WaterAndIons, HaveTheNamesOfTheClassificationAndOfDepositedFiles) {
  for (const std::string name :
       {"HOH", "WAT", "TIP", "SOD", "CLA", "POT", "MG", "CAL", "NA", "CL", "K", "CA", "ZN"}) {
    EXPECT_EQ(WithWater().records.count(name), 1u) << name;
  }
}

}  // namespace
}  // namespace orvane
