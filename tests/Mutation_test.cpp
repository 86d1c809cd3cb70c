// Mutations with the removal patches that ship with the program: whatever residue becomes whatever
// other one, the result is what a direct build of the new sequence gives.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <numbers>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "CHARMMTopology.h"
#include "ComputationalGeometry.h"
#include "EngineTopology.h"
#include "PDB.h"
#include "TestSupport.h"
#include "TopologyLibrary.h"

namespace orvane {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::RunProgram;
using testing_support::RunRavelo;
using testing_support::RunResult;
using testing_support::SourceFolder;
using testing_support::TemporaryFolder;

using Names = std::vector<std::string>;
using Record = TopologyLibrary::Residue;

constexpr double kDegree = std::numbers::pi / 180.0;

struct Library {
  std::map<std::string, Record> records;
  std::map<std::string, double> masses;
};

const Library& Standard() {
  static const Library library = [] {
    Library read;
    CHARMMTopology::ReadTopologyFile((SourceFolder() / "data" / "top_all36_prot.rtf").string(),
                                     read.records, read.masses);
    return read;
  }();
  return library;
}

// The twenty amino acids, with histidine in its three forms, and the thiolate of cysteine.
const Names kAminoAcids = {"ALA", "ARG", "ASN", "ASP", "CYM", "CYS", "GLN", "GLU",
                           "GLY", "HSD", "HSE", "HSP", "ILE", "LEU", "LYS", "MET",
                           "PHE", "PRO", "SER", "THR", "TRP", "TYR", "VAL"};

// Torsions of the main chain, in degrees.
struct Fold {
  double phi, psi;
};
constexpr Fold kStrand = {-75.0, 140.0};
constexpr Fold kHelix = {-62.0, -42.0};

Vec3D Placed(const Vec3D& a, const Vec3D& b, const Vec3D& c, double length, double angle,
             double dihedral) {
  Vec3D result;
  ComputationalGeometry::CalcCoord(a, b, c, length, angle * kDegree, dihedral * kDegree, result);
  return result;
}

// The main chain of a sequence, at ideal lengths and angles: N, CA, C and O of each residue.
PDB MainChain(const Names& sequence, Fold fold) {
  PDB molecule;
  Vec3D n(0.0, 0.0, 0.0), ca(1.45, 0.0, 0.0), c = Placed({0.0, 1.0, 0.0}, n, ca, 1.52, 110.0, 60.0);
  int number = 0;
  for (const std::string& residue : sequence) {
    ++number;
    const Vec3D next_n = Placed(n, ca, c, 1.345, 117.0, fold.psi);
    const Vec3D o = Placed(n, ca, c, 1.23, 121.0, fold.psi + 180.0);
    for (const auto& [name, place] : std::initializer_list<std::pair<const char*, Vec3D>>{
             {"N", n}, {"CA", ca}, {"C", c}, {"O", o}}) {
      PDB::Atom atom;
      atom.Name = name;
      atom.ResName = residue;
      atom.ResSeq = number;
      atom.ChainID = "A";
      atom.Coord = place;
      molecule.atoms.push_back(atom);
    }
    const Vec3D next_ca = Placed(ca, c, next_n, 1.45, 122.0, 180.0);
    const Vec3D next_c = Placed(c, next_n, next_ca, 1.52, 110.0, fold.phi);
    n = next_n;
    ca = next_ca;
    c = next_c;
  }
  return molecule;
}

// The library as an object of the program's own class, loaded as the program loads further files.
const TopologyLibrary& LibraryObject() {
  static const TopologyLibrary library = [] {
    TopologyLibrary read;
    const std::string path = (SourceFolder() / "data" / "top_all36_prot.rtf").string();
    OutputOf([&] { read.Build(path); });
    return read;
  }();
  return library;
}

void Patch(PDB& molecule, int residue, const std::string& patch) {
  molecule.PatchResidue(residue, Standard().masses, Standard().records.at(patch), true);
}

// Completes and builds. The residue at an open end lacks a neighbour, of which it is warned.
PDB Complete(PDB molecule) {
  const TopologyLibrary& library = LibraryObject();
  molecule.Analyze();
  OutputOf([&] { molecule.AddMissingHydrogens(library); });
  molecule.BuildTopology(library);
  return molecule;
}

PDB Peptide(const Names& sequence, Fold fold = kStrand) {
  return Complete(MainChain(sequence, fold));
}

// What the mode "modify" does for a mutation.
void ApplyMutation(PDB& molecule, int residue, const std::string& new_name) {
  Patch(molecule, residue, molecule.GetResidueName(residue) + "DEL");
  if (new_name == "PRO") Patch(molecule, residue, "HNDEL");
  Patch(molecule, residue, new_name);
  molecule.RenameResidue(residue, new_name);
}

// The same; gives what is printed meanwhile.
std::string Mutate(PDB& molecule, int residue, const std::string& new_name) {
  return OutputOf([&] { ApplyMutation(molecule, residue, new_name); });
}

const Vec3D& At(const PDB& molecule, int residue, const std::string& name) {
  return molecule.atoms.at(molecule.GetAtomIndex(residue, name)).Coord;
}

double Dihedral(const PDB& molecule, int residue, const Names& names) {
  return ComputationalGeometry::CalcDihedral(
             At(molecule, residue, names[0]), At(molecule, residue, names[1]),
             At(molecule, residue, names[2]), At(molecule, residue, names[3])) /
         kDegree;
}

double Distance(const PDB& molecule, int residue, const std::string& a, const std::string& b) {
  return ComputationalGeometry::CalcLength(At(molecule, residue, a), At(molecule, residue, b));
}

// The same atoms in the same order. Atoms that a patch adds carry the first letter of their name as
// their segment in place of the chain, so segments are left out.
void ExpectSameAtoms(const PDB& mutated, const PDB& direct) {
  ASSERT_EQ(mutated.numAtoms, direct.numAtoms);
  EXPECT_EQ(mutated.atomNames, direct.atomNames);
  EXPECT_EQ(mutated.residueNames, direct.residueNames);
  EXPECT_EQ(mutated.residueFirstAtoms, direct.residueFirstAtoms);
  EXPECT_EQ(mutated.residueLastAtoms, direct.residueLastAtoms);
  for (int i = 0; i < direct.numAtoms; ++i) {
    SCOPED_TRACE(direct.atoms[i].ResName + " " + direct.atoms[i].Name);
    const PDB::Atom& atom = mutated.atoms[i];
    EXPECT_EQ(atom.Name, direct.atoms[i].Name);
    EXPECT_EQ(atom.ResName, direct.atoms[i].ResName);
    EXPECT_EQ(atom.ResSeq, direct.atoms[i].ResSeq);
    EXPECT_EQ(atom.ChainID, direct.atoms[i].ChainID);
    const MolecularMechanicsTopology::Atom& is = mutated.topology.GetAtoms().at(i);
    const MolecularMechanicsTopology::Atom& wanted = direct.topology.GetAtoms().at(i);
    EXPECT_EQ(is.name, wanted.name);
    EXPECT_EQ(is.type, wanted.type);
    EXPECT_EQ(is.charge, wanted.charge);
    EXPECT_EQ(is.mass, wanted.mass);
    EXPECT_EQ(is.residue_name, wanted.residue_name);
    EXPECT_EQ(is.residue_sn, wanted.residue_sn);
  }
}

// All atoms are in the same places, but for those that a mutation leaves where they were: the main
// chain, whose hydrogen stands where the old residue had it. The force field's angles for it differ
// from one residue to another by 5 degrees at most.
void ExpectSamePlaces(const PDB& mutated, const PDB& direct, int residue) {
  ASSERT_EQ(mutated.numAtoms, direct.numAtoms);
  for (int i = 0; i < direct.numAtoms; ++i) {
    const bool is_kept_hydrogen = direct.atoms[i].Name == "HN" &&
                                  i >= direct.residueFirstAtoms[residue] &&
                                  i <= direct.residueLastAtoms[residue];
    EXPECT_LT(ComputationalGeometry::CalcLength(mutated.atoms[i].Coord, direct.atoms[i].Coord),
              is_kept_hydrogen ? 0.15 : 1e-9)
        << direct.atoms[i].ResName << " " << direct.atoms[i].Name;
  }
}

std::multiset<std::vector<int>> InOneDirection(const TermList& terms) {
  std::multiset<std::vector<int>> result;
  for (std::size_t i = 0; i < terms.size(); ++i) {
    const std::vector<int> forwards(terms[i].begin(), terms[i].end());
    const std::vector<int> backwards(forwards.rbegin(), forwards.rend());
    result.insert(std::min(forwards, backwards));
  }
  return result;
}

// An engine gets the same terms, each of them once.
void ExpectSameTerms(const EngineTopology& mutated, const EngineTopology& direct) {
  EXPECT_EQ(InOneDirection(mutated.bonds), InOneDirection(direct.bonds));
  EXPECT_EQ(InOneDirection(mutated.angles), InOneDirection(direct.angles));
  EXPECT_EQ(InOneDirection(mutated.dihedrals), InOneDirection(direct.dihedrals));
  EXPECT_EQ(InOneDirection(mutated.impropers), InOneDirection(direct.impropers));
  EXPECT_EQ(InOneDirection(mutated.cross_terms), InOneDirection(direct.cross_terms));
}

void ExpectSameTerms(const PDB& mutated, const PDB& direct) {
  ExpectSameTerms(MakeEngineTopology(mutated.topology, "mutated"),
                  MakeEngineTopology(direct.topology, "direct"));
}

// How near lengths (in Angstrom) and angles (in degrees) are to those of the template. Rings do not
// close at ideal angles, and the main chain of a deposited structure bends that of proline.
struct Tolerance {
  double bond, angle;
};
constexpr Tolerance kIdealChain = {0.05, 12.0};
constexpr Tolerance kDepositedChain = {0.2, 15.0};

// Lengths and angles of a residue's atoms are near to what its own template says.
void ExpectGeometryOfTemplate(const PDB& molecule, int residue, Tolerance tolerance) {
  const Record& record = Standard().records.at(molecule.GetResidueName(residue));
  int measured = 0;
  for (const TopologyLibrary::InternalCoord& term : record.ics) {
    std::vector<int> atoms;
    for (const std::string& name : term.atoms) {
      atoms.push_back(name[0] == '+'   ? molecule.GetAtomIndex(residue + 1, name.substr(1))
                      : name[0] == '-' ? molecule.GetAtomIndex(residue - 1, name.substr(1))
                                       : molecule.GetAtomIndex(residue, name));
    }
    // The main chain is where the peptide has it.
    static const std::set<std::string> main_chain = {"N", "CA", "C", "O", "+N", "+CA", "-C", "-CA"};
    if (std::count(atoms.begin(), atoms.end(), -1) > 0) continue;
    if (main_chain.count(term.atoms[3]) == 1) continue;
    // Terms from one ring atom to a distant one are no bonds: their figures are exact anyway.
    const auto place = [&](int k) {
      return molecule.atoms[atoms[static_cast<std::size_t>(k)]].Coord;
    };
    EXPECT_NEAR(ComputationalGeometry::CalcLength(place(2), place(3)), term.values[4],
                tolerance.bond)
        << record.name << " " << term.atoms[2] << " " << term.atoms[3];
    EXPECT_NEAR(ComputationalGeometry::CalcAngle(place(1), place(2), place(3)) / kDegree,
                term.values[3], tolerance.angle)
        << record.name << " " << term.atoms[1] << " " << term.atoms[2] << " " << term.atoms[3];
    ++measured;
  }
  EXPECT_GE(measured, record.name == "GLY" ? 3 : 6);
}

void ExpectHandOfNature(const PDB& molecule, int residue) {
  const std::string& name = molecule.GetResidueName(residue);
  const bool is_glycine = name == "GLY";
  EXPECT_NEAR(Dihedral(molecule, residue, {"N", "C", "CA", is_glycine ? "HA2" : "HA"}), -119.0,
              6.0);
  EXPECT_NEAR(Dihedral(molecule, residue, {"N", "C", "CA", is_glycine ? "HA1" : "CB"}), 120.0, 8.0);
  if (name == "ILE") {
    EXPECT_NEAR(Dihedral(molecule, residue, {"CG1", "CA", "CB", "CG2"}), -125.0, 8.0);
    EXPECT_NEAR(Dihedral(molecule, residue, {"CG1", "CA", "CB", "HB"}), 118.0, 8.0);
  }
  if (name == "THR") {
    EXPECT_NEAR(Dihedral(molecule, residue, {"OG1", "CA", "CB", "CG2"}), -125.0, 8.0);
    EXPECT_NEAR(Dihedral(molecule, residue, {"OG1", "CA", "CB", "HB"}), 118.0, 8.0);
  }
}

// The five-membered ring, once round.
void ExpectClosedProlineRing(const PDB& molecule, int residue) {
  for (const auto& [a, b, length] :
       std::initializer_list<std::tuple<const char*, const char*, double>>{{"N", "CA", 1.45},
                                                                           {"CA", "CB", 1.54},
                                                                           {"CB", "CG", 1.53},
                                                                           {"CG", "CD", 1.53},
                                                                           {"CD", "N", 1.46}}) {
    EXPECT_NEAR(Distance(molecule, residue, a, b), length, 0.06) << a << " " << b;
  }
}

double AngleFromPreviousResidueToRing(const PDB& molecule, int residue) {
  return ComputationalGeometry::CalcAngle(At(molecule, residue - 1, "C"),
                                          At(molecule, residue, "N"), At(molecule, residue, "CD")) /
         kDegree;
}

const Names kNeighbours = {"GLY", "LYS", "", "PRO", "ALA"};
constexpr int kMiddle = 2;

Names WithMiddle(const std::string& residue) {
  Names sequence = kNeighbours;
  sequence[kMiddle] = residue;
  return sequence;
}

TEST(Mutation, CoversEveryAminoAcidOfTheStandardFile) {
  Names found;
  const auto has_main_chain = [](const Record& record) {
    const Names main_chain = {"N", "CA", "C", "O"};
    return std::all_of(main_chain.begin(), main_chain.end(),
                       [&](const std::string& atom) { return record.FindAtom(atom) >= 0; });
  };
  for (const auto& [name, record] : Standard().records) {
    if (!record.is_patch && has_main_chain(record)) found.push_back(name);
  }
  EXPECT_EQ(found, kAminoAcids);
  for (const std::string& name : kAminoAcids) {
    EXPECT_EQ(Standard().records.count(name + "DEL"), 1u) << name;
  }
}

TEST(Mutation, OfAnyResidueToAnyOtherIsADirectBuild) {
  for (const Fold fold : {kStrand, kHelix}) {
    std::map<std::string, PDB> built;
    for (const std::string& name : kAminoAcids) built[name] = Peptide(WithMiddle(name), fold);
    for (const std::string& old_name : kAminoAcids) {
      for (const std::string& new_name : kAminoAcids) {
        SCOPED_TRACE(old_name + " to " + new_name);
        PDB mutated = built.at(old_name);
        EXPECT_EQ(Mutate(mutated, kMiddle, new_name), "");
        const PDB& direct = built.at(new_name);
        ExpectSameAtoms(mutated, direct);
        ExpectSamePlaces(mutated, direct, kMiddle);
        ExpectSameTerms(mutated, direct);
        ExpectGeometryOfTemplate(mutated, kMiddle, kIdealChain);
        ExpectHandOfNature(mutated, kMiddle);
        if (new_name == "PRO") {
          ExpectClosedProlineRing(mutated, kMiddle);
          EXPECT_NEAR(AngleFromPreviousResidueToRing(mutated, kMiddle), 125.0, 8.0);
        }
        if (HasFailure()) return;  // one pair tells enough
      }
    }
  }
}

TEST(Mutation, KeepsTheMainChainWhereItIs) {
  for (const std::string& old_name : kAminoAcids) {
    const PDB before = Peptide(WithMiddle(old_name));
    PDB after = before;
    Mutate(after, kMiddle, old_name == "ALA" ? "TRP" : "ALA");
    for (const char* name : {"N", "HN", "CA", "C", "O"}) {
      if (old_name == "PRO" && std::string(name) == "HN") continue;
      EXPECT_EQ(
          ComputationalGeometry::CalcLength(At(after, kMiddle, name), At(before, kMiddle, name)),
          0.0)
          << old_name << " " << name;
    }
  }
}

TEST(Mutation, NamesBondsOfTheMainChainTwiceAndOthersOnce) {
  PDB mutated = Peptide(WithMiddle("SER"));
  Mutate(mutated, kMiddle, "THR");
  const auto bonds = InOneDirection(mutated.topology.GetBonds());
  const auto times = [&](const std::string& a, int residue_of_b, const std::string& b) {
    const int i = mutated.GetAtomIndex(kMiddle, a), k = mutated.GetAtomIndex(residue_of_b, b);
    return bonds.count({std::min(i, k), std::max(i, k)});
  };
  EXPECT_EQ(times("N", kMiddle, "HN"), 2u);
  EXPECT_EQ(times("N", kMiddle, "CA"), 2u);
  EXPECT_EQ(times("CA", kMiddle, "C"), 2u);
  EXPECT_EQ(times("C", kMiddle, "O"), 2u);
  EXPECT_EQ(times("C", kMiddle + 1, "N"), 2u);
  EXPECT_EQ(times("N", kMiddle - 1, "C"), 1u);
  EXPECT_EQ(times("CA", kMiddle, "HA"), 1u);
  EXPECT_EQ(times("CA", kMiddle, "CB"), 1u);
  EXPECT_EQ(times("CB", kMiddle, "OG1"), 1u);
  EXPECT_EQ(MakeEngineTopology(mutated.topology, "").bonds.size() + 5,
            mutated.topology.GetBonds().size());
}

// The ring hangs on N, CA and C of its own residue. So it closes whatever phi is; where phi is not
// that of a proline, the bond in front of N is bent towards it.
TEST(Mutation, ToProlineClosesTheRingAtAnyFold) {
  for (double phi = -180.0; phi < 180.0; phi += 15.0) {
    SCOPED_TRACE(phi);
    PDB mutated = Peptide(WithMiddle("SER"), {phi, 140.0});
    Mutate(mutated, kMiddle, "PRO");
    ExpectClosedProlineRing(mutated, kMiddle);
    ExpectHandOfNature(mutated, kMiddle);
    if (phi >= -105.0 && phi <= -45.0) {
      EXPECT_NEAR(AngleFromPreviousResidueToRing(mutated, kMiddle), 122.0, 8.0);
    }
  }
}

// All residues of a chain one after the other, and each of them through all amino acids: terms that
// stand many times by then are still told apart.
TEST(Mutation, RepeatedGoesOnGivingADirectBuild) {
  PDB mutated = Peptide({"MET", "GLY", "PRO", "TRP", "ILE"});
  for (int residue = 1; residue < 4; ++residue) {
    for (const std::string& name : kAminoAcids) Mutate(mutated, residue, name);
  }
  const Names wanted = {"MET", "PRO", "GLY", "THR", "ILE"};
  for (int residue = 1; residue < 4; ++residue) Mutate(mutated, residue, wanted[residue]);
  const PDB direct = Peptide(wanted);
  ExpectSameAtoms(mutated, direct);
  ExpectSameTerms(mutated, direct);
}

// ---------------------------------------------------------------------------------------------
// Ends of a chain.

TEST(Mutation, OfAnEndWithoutAPatchIsADirectBuild) {
  for (const int residue : {0, 2}) {
    std::map<std::string, PDB> built;
    const auto sequence = [&](const std::string& name) {
      return residue == 0 ? Names{name, "GLY", "ALA"} : Names{"ALA", "GLY", name};
    };
    for (const std::string& name : kAminoAcids) built[name] = Peptide(sequence(name));
    for (const std::string& old_name : kAminoAcids) {
      for (const std::string& new_name : kAminoAcids) {
        SCOPED_TRACE(old_name + " to " + new_name + " at " + std::to_string(residue));
        PDB mutated = built.at(old_name);
        const std::string printed = Mutate(mutated, residue, new_name);
        // Without a residue in front of it nothing says where the hydrogen of N points to.
        if (residue == 2 || old_name != "PRO") {
          EXPECT_EQ(printed, "");
        }
        const PDB& direct = built.at(new_name);
        ExpectSameAtoms(mutated, direct);
        ExpectSamePlaces(mutated, direct, residue);
        ExpectSameTerms(mutated, direct);
        ExpectHandOfNature(mutated, residue);
        if (HasFailure()) return;
      }
    }
  }
}

std::string StartPatch(const std::string& residue) {
  return residue == "GLY" ? "GLYP" : residue == "PRO" ? "PROP" : "NTER";
}

// With its patch taken back first and applied again at the end.
TEST(Mutation, OfAPatchedEndIsADirectBuild) {
  std::map<std::string, PDB> first, last;
  for (const std::string& name : kAminoAcids) {
    first[name] = Peptide({name, "GLY", "ALA"});
    Patch(first[name], 0, StartPatch(name));
    last[name] = Peptide({"ALA", "GLY", name});
    Patch(last[name], 2, "CTER");
  }
  for (const std::string& old_name : kAminoAcids) {
    for (const std::string& new_name : kAminoAcids) {
      SCOPED_TRACE(old_name + " to " + new_name);
      PDB mutated = first.at(old_name);
      const std::string printed =
          OutputOf([&] { Patch(mutated, 0, StartPatch(old_name) + "DEL"); });
      EXPECT_EQ(printed, "");
      const std::string warned = Mutate(mutated, 0, new_name);
      if (old_name != "PRO") {
        EXPECT_EQ(warned, "");
      }
      Patch(mutated, 0, StartPatch(new_name));
      ExpectSameAtoms(mutated, first.at(new_name));
      ExpectSamePlaces(mutated, first.at(new_name), 0);
      ExpectSameTerms(mutated, first.at(new_name));

      mutated = last.at(old_name);
      Patch(mutated, 2, "CTERDEL");
      EXPECT_EQ(Mutate(mutated, 2, new_name), "");
      Patch(mutated, 2, "CTER");
      ExpectSameAtoms(mutated, last.at(new_name));
      ExpectSamePlaces(mutated, last.at(new_name), 2);
      ExpectSameTerms(mutated, last.at(new_name));
      if (HasFailure()) return;
    }
  }
}

// Acetyl at one end and N-methyl amide at the other leave HN and O in place.
TEST(Mutation, OfACappedEndIsADirectBuild) {
  std::map<std::string, PDB> first, last;
  for (const std::string& name : kAminoAcids) {
    if (name == "PRO") continue;  // its acetyl group has a patch of its own
    first[name] = Peptide({name, "GLY", "ALA"});
    Patch(first[name], 0, "ACE");
    last[name] = Peptide({"ALA", "GLY", name});
    Patch(last[name], 2, "CT3");
  }
  for (const auto& [old_name, old_first] : first) {
    for (const auto& [new_name, direct] : first) {
      SCOPED_TRACE(old_name + " to " + new_name);
      PDB mutated = old_first;
      EXPECT_EQ(Mutate(mutated, 0, new_name), "");
      ExpectSameAtoms(mutated, direct);
      ExpectSameTerms(mutated, direct);
      mutated = last.at(old_name);
      EXPECT_EQ(Mutate(mutated, 2, new_name), "");
      ExpectSameAtoms(mutated, last.at(new_name));
      ExpectSameTerms(mutated, last.at(new_name));
      if (HasFailure()) return;
    }
  }
}

// The new template would put HN on an ammonium group, and O on a carboxylate.
TEST(Mutation, OfAPatchedEndAsItStandsEndsWithAMessage) {
  for (const std::string& old_name : kAminoAcids) {
    if (old_name == "PRO") continue;  // NTER does not fit it
    PDB first = Peptide({old_name, "GLY"});
    Patch(first, 0, StartPatch(old_name));
    for (const std::string new_name : {"SER", "PRO"}) {
      EXPECT_EQ(MessageOf([&] { ApplyMutation(first, 0, new_name); }),
                "Error occurs: Cannot find atom \"HN\" in residue " + old_name + "1 at chain A.");
    }
    PDB last = Peptide({"GLY", old_name});
    Patch(last, 1, "CTER");
    EXPECT_EQ(MessageOf([&] { ApplyMutation(last, 1, "SER"); }),
              "Error occurs: Cannot find atom \"O\" in residue " + old_name + "2 at chain A.");
  }
}

// Also where another chain follows.
TEST(Mutation, OfAPatchedEndInsideAMoleculeEndsWithAMessage) {
  PDB molecule = Peptide({"ALA", "SER", "LEU", "ALA"});
  Patch(molecule, 1, "CTER");
  Patch(molecule, 2, "NTER");
  EXPECT_EQ(MessageOf([&] { ApplyMutation(molecule, 1, "VAL"); }),
            "Error occurs: Cannot find atom \"O\" in residue SER2 at chain A.");
  EXPECT_EQ(MessageOf([&] { ApplyMutation(molecule, 2, "VAL"); }),
            "Error occurs: Cannot find atom \"HN\" in residue LEU3 at chain A.");
}

// ---------------------------------------------------------------------------------------------
// Residues that a patch has changed.

TEST(Mutation, OfAChangedResidueWorksOnceThePatchIsTakenBack) {
  for (const auto& [patch, residue] : std::initializer_list<std::pair<std::string, std::string>>{
           {"ASPP", "ASP"}, {"GLUP", "GLU"}, {"LSN", "LYS"}}) {
    SCOPED_TRACE(patch);
    const PDB direct = Peptide(WithMiddle(residue));
    PDB changed = direct;
    Patch(changed, kMiddle, patch);
    EXPECT_NE(changed.numAtoms, direct.numAtoms);
    const std::string reverse = patch + "DEL";
    EXPECT_EQ(OutputOf([&] { Patch(changed, kMiddle, reverse); }), "");
    ExpectSameAtoms(changed, direct);
    ExpectSamePlaces(changed, direct, kMiddle);
    ExpectSameTerms(changed, direct);
    Mutate(changed, kMiddle, "PHE");
    ExpectSameAtoms(changed, Peptide(WithMiddle("PHE")));
  }
}

TEST(Mutation, OfAResidueThatLacksAnAtomOfItsTemplateEndsWithAMessage) {
  const auto message = [](const std::string& patch, const std::string& residue) {
    PDB molecule = Peptide(WithMiddle(residue));
    Patch(molecule, kMiddle, patch);
    return MessageOf([&] { ApplyMutation(molecule, kMiddle, "ALA"); });
  };
  EXPECT_EQ(message("LSN", "LYS"),
            "Error occurs: Atom \"HZ3\" is missing in residue LYS3 at chain A and cannot be "
            "deleted.");
  for (const auto& [patch, residue] :
       std::initializer_list<std::pair<std::string, std::string>>{{"MML", "LYS"},
                                                                  {"DML", "LYS"},
                                                                  {"TML", "LYS"},
                                                                  {"MMA", "ARG"},
                                                                  {"ADMA", "ARG"},
                                                                  {"SDMA", "ARG"},
                                                                  {"CYSD", "CYS"},
                                                                  {"SERD", "SER"},
                                                                  {"HS2", "HSD"}}) {
    EXPECT_THAT(message(patch, residue), HasSubstr("is missing in residue " + residue + "3"))
        << patch;
  }
}

TEST(Mutation, TakesPatchesOfEndsBackExactly) {
  for (const std::string& name : kAminoAcids) {
    SCOPED_TRACE(name);
    const PDB direct = Peptide({name, "GLY", name});
    PDB molecule = direct;
    Patch(molecule, 0, StartPatch(name));
    Patch(molecule, 2, "CTER");
    EXPECT_NE(molecule.numAtoms, direct.numAtoms);
    const std::string printed = OutputOf([&] {
      Patch(molecule, 0, StartPatch(name) + "DEL");
      Patch(molecule, 2, "CTERDEL");
    });
    EXPECT_EQ(printed, "");
    ExpectSameTerms(molecule, direct);
    // Charges and types of the changed residues are their templates' again, to the last digit.
    ExpectSameAtoms(molecule, direct);
    if (name != "PRO") {
      EXPECT_NEAR(Distance(molecule, 0, "N", "HN"), 1.0, 0.02);
      EXPECT_NEAR(Dihedral(molecule, 0, {"C", "CA", "N", "HN"}),
                  180.0 * (Dihedral(molecule, 0, {"C", "CA", "N", "HN"}) < 0 ? -1.0 : 1.0), 1e-3);
    }
    EXPECT_NEAR(Distance(molecule, 2, "C", "O"), 1.23, 0.02);
  }
}

// ---------------------------------------------------------------------------------------------
// A deposited structure, with main chain torsions of all kinds.

PDB Ubiquitin() {
  PDB molecule;
  OutputOf([&] { molecule.Load((SourceFolder() / "examples" / "1ubq.pdb").string()); });
  return molecule;
}

// What a direct build of the mutated sequence begins with: the deposited structure without the
// side chain of one residue, under its new name.
PDB WithoutSideChain(PDB molecule, int residue, const std::string& new_name) {
  std::vector<PDB::Atom> kept;
  for (int i = 0; i < molecule.numAtoms; ++i) {
    const bool is_here =
        i >= molecule.residueFirstAtoms[residue] && i <= molecule.residueLastAtoms[residue];
    PDB::Atom atom = molecule.atoms[i];
    static const std::set<std::string> main_chain = {"N", "CA", "C", "O"};
    if (is_here && main_chain.count(atom.Name) == 0) continue;
    if (is_here) atom.ResName = new_name;
    kept.push_back(atom);
  }
  molecule.atoms = kept;
  return molecule;
}

TEST(Mutation, OfADepositedStructureIsADirectBuild) {
  const PDB deposited = Ubiquitin();
  const PDB built = Complete(deposited);
  for (int residue = 1; residue + 1 < deposited.numResidues; ++residue) {
    // Each residue becomes another of the amino acids, and every fifth one a proline.
    const std::string& new_name =
        residue % 5 == 0 ? "PRO" : kAminoAcids[static_cast<std::size_t>(7 * residue) % 23];
    SCOPED_TRACE(deposited.residueNames[residue] + std::to_string(residue + 1) + " to " + new_name);
    PDB mutated = built;
    EXPECT_EQ(Mutate(mutated, residue, new_name), "");
    const PDB direct = Complete(WithoutSideChain(deposited, residue, new_name));
    ExpectSameAtoms(mutated, direct);
    ExpectSamePlaces(mutated, direct, residue);
    ExpectSameTerms(mutated, direct);
    ExpectHandOfNature(mutated, residue);
    ExpectGeometryOfTemplate(mutated, residue, kDepositedChain);
    if (HasFailure()) return;
  }
}

// ---------------------------------------------------------------------------------------------
// By the programs, in several runs over files.

class MutationByProgram : public testing::Test {
 protected:
  MutationByProgram() {
    PDB deposited = Ubiquitin();
    deposited.WritePDB(folder_ / "protein.pdb");
    Run({"topol", "-i", "protein.pdb", "-o", "built"});
  }

  // Runs the program; gives what it prints, which must not be an error.
  std::string Run(const std::vector<std::string>& words) const {
    const RunResult result = RunRavelo(words, folder_.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, Not(HasSubstr("Error occurs")));
    return result.out;
  }

  std::string Modify(const std::string& from, const std::string& to,
                     std::vector<std::string> options) const {
    std::vector<std::string> words = {"modify", "-i", from + ".pdb", "-t", from + ".psf", "-o", to};
    words.insert(words.end(), options.begin(), options.end());
    return Run(words);
  }

  // The protein without the side chains of some residues, under their new names.
  void WriteMutatedSequence(const std::map<int, std::string>& new_names,
                            const std::string& file) const {
    PDB molecule = Ubiquitin();
    for (const auto& [number, name] : new_names) {
      molecule = WithoutSideChain(molecule, number - 1, name);
      molecule.Analyze();
    }
    molecule.WritePDB(folder_ / file);
  }

  // Atoms and terms that an engine gets from the files of two prefixes are the same.
  void ExpectSameExport(const std::string& mutated, const std::string& direct) const {
    const EngineTopology is = LoadEngineTopology(folder_ / (mutated + ".psf"));
    const EngineTopology wanted = LoadEngineTopology(folder_ / (direct + ".psf"));
    ASSERT_EQ(is.atoms.size(), wanted.atoms.size());
    for (std::size_t i = 0; i < is.atoms.size(); ++i) {
      SCOPED_TRACE(wanted.atoms[i].residue_name + " " + wanted.atoms[i].name);
      EXPECT_EQ(is.atoms[i].name, wanted.atoms[i].name);
      EXPECT_EQ(is.atoms[i].type, wanted.atoms[i].type);
      EXPECT_EQ(is.atoms[i].charge, wanted.atoms[i].charge);
      EXPECT_EQ(is.atoms[i].mass, wanted.atoms[i].mass);
      EXPECT_EQ(is.atoms[i].residue_name, wanted.atoms[i].residue_name);
      EXPECT_EQ(is.atoms[i].residue_sn, wanted.atoms[i].residue_sn);
    }
    ExpectSameTerms(is, wanted);
    const RunResult exported =
        RunProgram(RAVELO_EXPORT_PROGRAM,
                   {"-i", mutated + ".psf", "-p", mutated + ".pdb", "-o", mutated + "-engine.psf"},
                   folder_.path());
    EXPECT_EQ(exported.status, 0);
    EXPECT_THAT(exported.out, Not(HasSubstr("Error occurs")));
  }

  const TemporaryFolder folder_;
};

TEST_F(MutationByProgram, InsideTheChain) {
  // Neighbours, proline in both directions, glycine in both directions.
  const std::string printed =
      Modify("built", "mutated", {"--mutate", "47A TRP 48A PRO 49A GLY 19A ILE 68A HSD"});
  EXPECT_THAT(printed, HasSubstr("Mutate GLY47 at chain A to TRP ... done.\n"));
  EXPECT_THAT(printed, HasSubstr("Mutate PRO19 at chain A to ILE ... done.\n"));
  WriteMutatedSequence({{47, "TRP"}, {48, "PRO"}, {49, "GLY"}, {19, "ILE"}, {68, "HSD"}},
                       "sequence.pdb");
  Run({"topol", "-i", "sequence.pdb", "-o", "direct"});
  ExpectSameExport("mutated", "direct");
}

TEST_F(MutationByProgram, AtBothEnds) {
  Modify("built", "m1", {"--my-mod", "NTERDEL 1A", "--mutate", "1A GLY"});
  Modify("m1", "m2", {"--my-mod", "GLYP 1A"});
  Modify("m2", "m3", {"--my-mod", "CTERDEL 76A", "--mutate", "76A LEU"});
  Modify("m3", "mutated", {"--my-mod", "CTER 76A"});
  WriteMutatedSequence({{1, "GLY"}, {76, "LEU"}}, "sequence.pdb");
  Run({"topol", "-i", "sequence.pdb", "-o", "direct"});
  ExpectSameExport("mutated", "direct");
}

TEST_F(MutationByProgram, OfTheFirstResidueToProlineAndBack) {
  Modify("built", "m1", {"--my-mod", "NTERDEL 1A", "--mutate", "1A PRO"});
  Modify("m1", "proline", {"--my-mod", "PROP 1A"});
  WriteMutatedSequence({{1, "PRO"}}, "sequence.pdb");
  Run({"topol", "-i", "sequence.pdb", "-o", "d1", "--no-patching-terminus"});
  Modify("d1", "d2", {"--my-mod", "PROP 1A"});
  Modify("d2", "direct", {"--my-mod", "CTER 76A"});
  ExpectSameExport("proline", "direct");

  Modify("proline", "m2", {"--my-mod", "PROPDEL 1A", "--mutate", "1A MET"});
  Modify("m2", "methionine", {"--my-mod", "NTER 1A"});
  WriteMutatedSequence({{1, "MET"}}, "without-side-chain.pdb");
  Run({"topol", "-i", "without-side-chain.pdb", "-o", "built-methionine"});
  ExpectSameExport("methionine", "built-methionine");
}

TEST_F(MutationByProgram, OfAPatchedEndLeavesNoFiles) {
  for (const std::string mutation : {"1A PRO", "1A ALA", "76A ALA"}) {
    const RunResult result =
        RunRavelo({"modify", "-i", "built.pdb", "-t", "built.psf", "-o", "x", "--mutate", mutation},
                  folder_.path());
    EXPECT_THAT(result.out, HasSubstr(mutation[0] == '1'
                                          ? "Error occurs: Cannot find atom \"HN\" in residue MET1"
                                          : "Error occurs: Cannot find atom \"O\" in residue "
                                            "GLY76"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "x.psf"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "x.pdb"));
  }
}

}  // namespace
}  // namespace orvane
