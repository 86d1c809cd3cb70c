// The patching, completing and building of molecules as one would write it first.
#include "PlainPatching.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "ComputationalGeometry.h"
#include "ResidueAtoms.h"
#include "TestSupport.h"

namespace orvane::testing_support {

namespace {

constexpr double kRadians = 0.017453292519444445;

int PositionOf(const std::vector<std::string>& names, const std::string& name) {
  const auto found = std::find(names.begin(), names.end(), name);
  return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

}  // namespace

PlainPatching::PlainPatching(const PDB& molecule)
    : molecule_(molecule),
      bonds_(AsLists(molecule.tmpBonds)),
      impropers_(AsLists(molecule.tmpImpropers)),
      cmaps_(AsLists(molecule.tmpCmaps)) {}

PDB PlainPatching::Result() const {
  PDB result = molecule_;
  result.tmpBonds = TermListOf(2, bonds_);
  result.tmpImpropers = TermListOf(4, impropers_);
  result.tmpCmaps = TermListOf(4, cmaps_);
  return result;
}

void PlainPatching::Rebuild() {
  molecule_.topology.Build(molecule_.tmpAtoms, TermListOf(2, bonds_), TermListOf(4, impropers_),
                           TermListOf(4, cmaps_));
}

std::string PlainPatching::ResidueText(int residue) const {
  return molecule_.residueNames[residue] + std::to_string(molecule_.residueSeqs[residue]) +
         " at chain " + molecule_.residueChains[residue];
}

int PlainPatching::GetAtomIndex(int residue, const std::string& name) const {
  if (residue < 0 || residue >= molecule_.numResidues) return -1;
  for (int i = molecule_.residueFirstAtoms[residue]; i <= molecule_.residueLastAtoms[residue];
       ++i) {
    if (molecule_.atomNames[i] == name) return i;
  }
  return -1;
}

int PlainPatching::Resolve(int residue, const std::string& name) const {
  if (name.rfind('+', 0) == 0) {
    return molecule_.numResidues - 1 <= residue ? -1 : GetAtomIndex(residue + 1, name.substr(1));
  }
  if (name.rfind('-', 0) == 0) {
    return residue < 1 ? -1 : GetAtomIndex(residue - 1, name.substr(1));
  }
  return GetAtomIndex(residue, name);
}

bool PlainPatching::GuessCoord(int residue, const std::string& name, const Record& record,
                               Vec3D& coord) const {
  const TopologyLibrary::InternalCoord* found = nullptr;
  std::vector<std::string> names;
  std::vector<double> values;
  for (const auto& term : record.ics) {
    if (term.atoms[3] != name) continue;
    found = &term;
    names.assign(term.atoms.begin(), term.atoms.end());
    values.assign(term.values.begin(), term.values.end());
    break;
  }
  if (!found) {
    for (const auto& term : record.ics) {
      if (term.atoms[0] != name) continue;
      found = &term;
      names.assign(term.atoms.rbegin(), term.atoms.rend());
      values.assign(term.values.rbegin(), term.values.rend());
      break;
    }
  }
  if (!found) {
    throw PlainFailure{"Error occurs: Cannot find the internal coordinate for atom " + name +
                       " in residue " + ResidueText(residue) + ".\n"};
  }
  const int i0 = Resolve(residue, names[0]);
  const int i1 = Resolve(residue, names[1]);
  const int i2 = Resolve(residue, names[2]);
  if (i1 == -1 || i2 == -1) {
    coord = Vec3D(99.0, 99.0, 99.0);
    return false;
  }
  const double r = values[4];
  const double theta = values[3] * kRadians;
  const std::vector<PDB::Atom>& atoms = molecule_.atoms;
  Vec3D placed;
  if (i0 == -1) {
    ComputationalGeometry::CalcCoord(atoms[i1].Coord, atoms[i2].Coord, r, theta, placed);
    coord = placed;
    return false;
  }
  const double phi = values[2] * kRadians;
  ComputationalGeometry::CalcCoord(atoms[i0].Coord, atoms[i1].Coord, atoms[i2].Coord, r, theta, phi,
                                   placed);
  coord = placed;
  return true;
}

void PlainPatching::BuildTopologyTerms(int residue, int degrees,
                                       const std::vector<std::vector<std::string>>& terms,
                                       Terms& resolved) const {
  if (degrees != 2 && degrees != 4) {
    throw PlainFailure{"Error occurs: The number of degrees of freedom must be 2 or 4."};
  }
  resolved.clear();
  for (const std::vector<std::string>& term : terms) {
    std::vector<int> indices;
    bool dropped = false;
    for (int i = 0; i < degrees; ++i) {
      std::string name = term[i];
      int searched = residue;
      if (!name.empty() && name[0] == '+') {
        if (molecule_.numResidues - 1 <= residue) {
          dropped = true;
          break;
        }
        searched = residue + 1;
        name = name.substr(1);
      } else if (!name.empty() && name[0] == '-') {
        if (residue < 1) {
          dropped = true;
          break;
        }
        searched = residue - 1;
        name = name.substr(1);
      }
      const int index = GetAtomIndex(searched, name);
      if (index == -1) {
        throw PlainFailure{"Error occurs: Cannot find atom " + Quoted(name) + " in residue " +
                           ResidueText(searched) + "."};
      }
      indices.push_back(index);
    }
    if (dropped) continue;
    if (degrees == 2) {
      if (indices[1] < indices[0]) std::swap(indices[0], indices[1]);
    } else if (indices[0] >= indices[3]) {
      std::reverse(indices.begin(), indices.end());
    }
    resolved.push_back(indices);
  }
}

void PlainPatching::BuildTopologyAtoms(const TopologyLibrary& library) {
  molecule_.tmpAtoms.clear();
  std::string current;
  const Record* record = nullptr;
  for (int i = 0; i < molecule_.numAtoms; ++i) {
    const PDB::Atom& atom = molecule_.atoms[i];
    if (record == nullptr || atom.ResName != current) {
      current = atom.ResName;
      const auto found = library.GetResidues().find(current);
      if (found == library.GetResidues().end()) {
        // Beyond the residue tables, the atom's own values stand in for theirs.
        const std::string who =
            i < molecule_.numResidues
                ? ResidueText(i)
                : atom.ResName + std::to_string(atom.ResSeq) + " at chain " + atom.ChainID;
        throw PlainFailure{"Error occurs: Residue " + Quoted(current) +
                           " is not found in topology library. " + who + " cannot be treated.\n"};
      }
      record = &found->second;
    }
    const int entry = PositionOf(record->atom_names, atom.Name);
    if (entry == -1) {
      throw PlainFailure{"Error occurs: Atom " + Quoted(atom.Name) +
                         " is not found in topology library for residue " + atom.ResName +
                         ". The topology of " + atom.ResName + std::to_string(atom.ResSeq) +
                         " at chain " + atom.ChainID + " cannot be built.\n"};
    }
    MolecularMechanicsTopology::Atom made;
    made.name = atom.Name;
    made.type = record->atom_types[entry];
    made.charge = record->atom_charges[entry];
    made.mass = library.GetMasses().count(made.type) ? library.GetMasses().at(made.type) : -1.0;
    made.segment = atom.ChainID;
    made.residue_name = atom.ResName;
    made.residue_sn = atom.ResSeq;
    molecule_.tmpAtoms.push_back(made);
  }
}

void PlainPatching::BuildTopology(const TopologyLibrary& library) {
  BuildTopologyAtoms(library);
  bonds_.clear();
  impropers_.clear();
  cmaps_.clear();
  for (int r = 0; r < molecule_.numResidues; ++r) {
    const auto found = library.GetResidues().find(molecule_.residueNames[r]);
    if (found == library.GetResidues().end()) {
      output_ += "Warning: Residue " + Quoted(molecule_.residueNames[r]) +
                 " is not found in topology library. " + ResidueText(r) + " is untouched.\n";
      continue;
    }
    Terms terms;
    BuildTopologyTerms(r, 2, found->second.bonds, terms);
    bonds_.insert(bonds_.end(), terms.begin(), terms.end());
    BuildTopologyTerms(r, 4, found->second.impropers, terms);
    impropers_.insert(impropers_.end(), terms.begin(), terms.end());
    BuildTopologyTerms(r, 4, found->second.cmaps, terms);
    cmaps_.insert(cmaps_.end(), terms.begin(), terms.end());
  }
  Rebuild();
}

void PlainPatching::ModifyTmpTopolUponDeletingAtom(int atom) {
  if (molecule_.tmpAtoms.empty()) return;
  molecule_.tmpAtoms.erase(molecule_.tmpAtoms.begin() + atom);
  for (Terms* terms : {&bonds_, &impropers_, &cmaps_}) {
    for (std::size_t i = 0; i < terms->size();) {
      std::vector<int>& term = (*terms)[i];
      if (std::find(term.begin(), term.end(), atom) != term.end()) {
        terms->erase(terms->begin() + static_cast<std::ptrdiff_t>(i));
        continue;
      }
      for (int& index : term) {
        if (index > atom) --index;
      }
      ++i;
    }
  }
}

void PlainPatching::ModifyTmpTopolUponAddingAtom(int atom) {
  if (molecule_.tmpAtoms.empty()) return;
  for (Terms* terms : {&bonds_, &impropers_, &cmaps_}) {
    for (std::vector<int>& term : *terms) {
      for (int& index : term) {
        if (index >= atom) ++index;
      }
    }
  }
}

void PlainPatching::PatchResidueCore(int residue, const Masses& masses, const Record& patch,
                                     bool with_topology, std::vector<std::string>& to_place) {
  std::vector<int>& first = molecule_.residueFirstAtoms;
  std::vector<int>& last = molecule_.residueLastAtoms;
  if (last[residue] - first[residue] + 1 <= static_cast<int>(patch.deleted_atoms.size())) {
    throw PlainFailure{
        "Error occurs: The number of deleted atoms is larger than the number of atoms in residue " +
        ResidueText(residue) + ". In this case, remove this residue before manipulating topology."};
  }
  if (with_topology && molecule_.tmpAtoms.empty()) {
    throw PlainFailure{"Error occurs: Topology is not built. Please build topology first."};
  }
  for (const auto& deletion : patch.deleted_atoms) {
    const int atom = GetAtomIndex(residue, deletion[1]);
    if (atom == -1) {
      throw PlainFailure{"Error occurs: Atom " + Quoted(deletion[1]) + " is missing in residue " +
                         ResidueText(residue) + " and cannot be deleted."};
    }
    molecule_.atomNames.erase(molecule_.atomNames.begin() + atom);
    molecule_.atoms.erase(molecule_.atoms.begin() + atom);
    --molecule_.numAtoms;
    for (int later = residue + 1; later < molecule_.numResidues; ++later) {
      --first[later];
      --last[later];
    }
    --last[residue];
    if (with_topology) ModifyTmpTopolUponDeletingAtom(atom);
  }
  to_place.clear();
  for (int k = 0; k < static_cast<int>(patch.atom_names.size()); ++k) {
    const std::string& name = patch.atom_names[k];
    const int present = GetAtomIndex(residue, name);
    if (present != -1) {
      if (with_topology) {
        molecule_.tmpAtoms[present].name = name;
        molecule_.tmpAtoms[present].type = patch.atom_types[k];
        molecule_.tmpAtoms[present].charge = patch.atom_charges[k];
      }
      continue;
    }
    PDB::Atom copy = molecule_.atoms[last[residue]];
    copy.Name = name;
    const bool placed = GuessCoord(residue, name, patch, copy.Coord);
    if (!placed || (!name.empty() && name[0] == 'H')) to_place.push_back(name);
    copy.Column77 = copy.Element = name.empty() ? "" : std::string(1, name[0]);
    int place = first[residue];
    for (int earlier = k - 1; earlier >= 0; --earlier) {
      const int found = GetAtomIndex(residue, patch.atom_names[earlier]);
      if (found != -1) {
        place = found + 1;
        break;
      }
    }
    molecule_.atomNames.insert(molecule_.atomNames.begin() + place, name);
    molecule_.atoms.insert(molecule_.atoms.begin() + place, copy);
    ++molecule_.numAtoms;
    if (with_topology) {
      MolecularMechanicsTopology::Atom made;
      made.name = name;
      made.type = patch.atom_types[k];
      made.charge = patch.atom_charges[k];
      made.mass = masses.count(made.type) ? masses.at(made.type) : -1.0;
      made.segment = copy.Column77;
      made.residue_name = copy.ResName;
      made.residue_sn = copy.ResSeq;
      molecule_.tmpAtoms.insert(molecule_.tmpAtoms.begin() + place, made);
    }
    for (int later = residue + 1; later < molecule_.numResidues; ++later) {
      ++first[later];
      ++last[later];
    }
    ++last[residue];
    if (with_topology) ModifyTmpTopolUponAddingAtom(place);
  }
  if (!with_topology) return;
  Terms terms;
  BuildTopologyTerms(residue, 2, patch.bonds, terms);
  bonds_.insert(bonds_.end(), terms.begin(), terms.end());
  BuildTopologyTerms(residue, 4, patch.impropers, terms);
  impropers_.insert(impropers_.end(), terms.begin(), terms.end());
  BuildTopologyTerms(residue, 4, patch.cmaps, terms);
  cmaps_.insert(cmaps_.end(), terms.begin(), terms.end());
  Rebuild();
}

void PlainPatching::PatchResidue(int residue, const Masses& masses, const Record& patch,
                                 bool with_topology) {
  std::vector<std::string> to_place;
  PatchResidueCore(residue, masses, patch, with_topology, to_place);
  for (const std::string& name : to_place) {
    const int atom = GetAtomIndex(residue, name);
    if (!GuessCoord(residue, name, patch, molecule_.atoms[atom].Coord)) {
      output_ += "Warning: The position of atom " + name + " in residue " + ResidueText(residue) +
                 " cannot be well predicted.\n";
    }
  }
}

void PlainPatching::AddMissingHydrogens(const TopologyLibrary& library) {
  for (int i = 0; i < molecule_.numResidues; ++i) {
    const auto found = library.GetResidues().find(molecule_.residueNames[i]);
    if (found == library.GetResidues().end()) {
      output_ += "Warning: Residue " + Quoted(molecule_.residueNames[i]) +
                 " is not found in topology library. " + ResidueText(i) + " is untouched.\n";
    } else {
      PatchResidue(i, library.GetMasses(), found->second, false);
    }
  }
}

namespace {

// Collects a description, one member a line.
class Description {
 public:
  void Line(const char* label) { (text_ += label) += ':'; }
  void Text(const std::string& text) { ((text_ += " '") += text) += '\''; }
  void Number(long long number) { (text_ += ' ') += std::to_string(number); }
  void Real(double real) {
    char digits[64];
    std::snprintf(digits, sizeof digits, " %a", real);
    text_ += std::isnan(real) ? " nan" : digits;
  }
  void End() { text_ += '\n'; }

  template <typename Value>
  void Numbers(const char* label, const std::vector<Value>& numbers) {
    Line(label);
    for (const Value number : numbers) Number(number);
    End();
  }
  void Texts(const char* label, const std::vector<std::string>& texts) {
    Line(label);
    for (const std::string& one : texts) Text(one);
    End();
  }
  void Terms(const char* label, const TermList& terms) {
    Line(label);
    Number(terms.degree());
    for (std::size_t i = 0; i < terms.size(); ++i) {
      text_ += " (";
      for (const int index : terms[i]) Number(index);
      text_ += " )";
    }
    End();
  }
  void TopologyAtoms(const char* label,
                     const std::vector<MolecularMechanicsTopology::Atom>& atoms) {
    for (const auto& atom : atoms) {
      Line(label);
      for (const std::string* text : {&atom.name, &atom.type, &atom.segment, &atom.residue_name}) {
        Text(*text);
      }
      Number(atom.residue_sn);
      for (const double real : {atom.charge, atom.mass, atom.lj_epsilon, atom.lj_sigma}) Real(real);
      End();
    }
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace

std::string Describe(const PDB& molecule) {
  Description all;
  all.Texts("file", {molecule.filename, molecule.description});
  for (const PDB::Atom& atom : molecule.atoms) {
    all.Line("atom");
    for (const std::string* text : {&atom.Name, &atom.AltLoc, &atom.ResName, &atom.ChainID,
                                    &atom.ICode, &atom.Element, &atom.Column77, &atom.Column79}) {
      all.Text(*text);
    }
    for (const int number : {static_cast<int>(atom.IsHetero), atom.SN, atom.ResSeq}) {
      all.Number(number);
    }
    for (const double real :
         {atom.Coord.x, atom.Coord.y, atom.Coord.z, atom.Occupancy, atom.TempFactor}) {
      all.Real(real);
    }
    all.End();
  }
  all.Numbers<int>("counts", {molecule.numAtoms, molecule.numResidues});
  all.Texts("atom names", molecule.atomNames);
  all.Numbers("types", molecule.residueTypes);
  all.Numbers("numbers", molecule.residueSeqs);
  all.Texts("chains", molecule.residueChains);
  all.Texts("residues", molecule.residueNames);
  all.Numbers("first atoms", molecule.residueFirstAtoms);
  all.Numbers("last atoms", molecule.residueLastAtoms);
  all.TopologyAtoms("tmp atom", molecule.tmpAtoms);
  all.Terms("tmp bonds", molecule.tmpBonds);
  all.Terms("tmp impropers", molecule.tmpImpropers);
  all.Terms("tmp cross-terms", molecule.tmpCmaps);
  all.TopologyAtoms("topology atom", molecule.topology.GetAtoms());
  all.Terms("bonds", molecule.topology.GetBonds());
  all.Terms("angles", molecule.topology.GetAngles());
  all.Terms("dihedrals", molecule.topology.GetDihedrals());
  all.Terms("impropers", molecule.topology.GetImpropers());
  all.Terms("cross-terms", molecule.topology.GetCmaps());
  return all.text();
}

TopologyLibrary LibraryOf(const std::string& text) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("library.rtf", text);
  TopologyLibrary library;
  OutputOf([&] { library.Build(path); });
  return library;
}

PDB MoleculeOf(const std::vector<NamedResidue>& residues) {
  PDB molecule;
  for (const NamedResidue& residue : residues) {
    for (const std::string& name : residue.atoms) {
      const double i = static_cast<double>(molecule.atoms.size());
      PDB::Atom& atom = molecule.atoms.emplace_back();
      atom.Name = name;
      atom.ResName = residue.name;
      atom.ChainID = residue.chain;
      atom.ResSeq = residue.number;
      atom.Coord = Vec3D(i, std::fmod(i * i, 7.0) / 2.0, std::fmod(i * i * i, 5.0) / 2.0);
      atom.Occupancy = 1.0;
      atom.Element = name.substr(0, 1);
    }
  }
  molecule.Analyze();
  return molecule;
}

namespace {

const std::vector<std::string> kAtomNames = {"N",  "CA", "C", "O",   "CB",
                                             "HN", "HA", "H", "HB1", "CL1"};
const std::vector<std::string> kTypes = {"T1", "T2", "T3", "T4"};

}  // namespace

// Mostly an atom of the record, sometimes one that every residue has in a neighbour, or any.
std::string RandomChemistry::TermName(const std::vector<std::string>& own) {
  if (Chance(6)) return (Chance(50) ? "+" : "-") + std::string(Chance(70) ? "CA" : "C");
  if (own.empty() || Chance(2)) return OneOf(kAtomNames);
  return OneOf(own);
}

std::string RandomChemistry::RecordText(const std::string& name, bool is_patch) {
  static const std::vector<std::string> lengths = {"0.0", "1.01", "1.4532", "1.5"};
  static const std::vector<std::string> angles = {"0.0", "90.0", "109.5", "120.25", "180.0"};
  static const std::vector<std::string> dihedrals = {"-120.0", "0.0", "60.5", "180.0"};
  std::string text = (is_patch ? "PRES " : "RESI ") + name + " 0.5\n";
  std::vector<std::string> own;
  // Nearly all residues have CA and C, so that most terms with neighbours find their atoms.
  if (!is_patch) own = {"CA", "C"};
  const int atoms = Below(is_patch ? 5 : 7);
  for (int i = 0; i < atoms; ++i) {
    const std::string& atom = OneOf(kAtomNames);
    const bool known = std::find(own.begin(), own.end(), atom) != own.end();
    if (!known || Chance(10)) own.push_back(atom);
  }
  std::shuffle(own.begin(), own.end(), engine_);
  for (const std::string& atom : own) {
    text += "ATOM " + atom + " " + OneOf(kTypes) + " " + std::to_string(Below(200) - 100) + ".25\n";
  }
  const auto add_terms = [&](const char* keyword, int degree, int limit) {
    const int terms = Below(limit);
    for (int i = 0; i < terms; ++i) {
      text += keyword;
      for (int k = 0; k < degree; ++k) text += " " + TermName(own);
      text += "\n";
    }
  };
  add_terms("BOND", 2, is_patch ? 3 : 6);
  add_terms("IMPR", 4, 3);
  add_terms("CMAP", 8, 2);
  if (is_patch && Chance(60)) {
    const int deletions = 1 + Below(2);
    for (int i = 0; i < deletions; ++i) {
      text += std::string(Chance(80) ? "DELETE ATOM " : "DELETE BOND ") + OneOf(kAtomNames) + "\n";
    }
  }
  std::vector<std::string> placed = own;
  std::shuffle(placed.begin(), placed.end(), engine_);
  placed.push_back(OneOf(kAtomNames));
  for (const std::string& atom : placed) {
    if (Chance(2)) continue;
    std::string names[4] = {TermName(own), TermName(own), TermName(own), atom};
    if (Chance(20)) std::swap(names[0], names[3]);
    if (Chance(30)) names[2] = "*" + names[2];
    text += Chance(90) ? "IC" : "BILD";
    for (const std::string& word : names) text += " " + word;
    text += " " + OneOf(lengths) + " " + OneOf(angles) + " " + OneOf(dihedrals) + " " +
            OneOf(angles) + " " + OneOf(lengths) + "\n";
  }
  return text;
}

std::string RandomChemistry::Library() {
  // One type stays without a mass.
  std::string text = "MASS -1 T1 1.008\nMASS -1 T2 12.011\nMASS -1 T3 14.007\n";
  for (const char* name : {"RA", "RB", "RC"}) text += RecordText(name, false);
  for (const char* name : {"PA", "PB", "PC"}) text += RecordText(name, true);
  return text + "END\n";
}

PDB::Atom RandomChemistry::Atom(const std::string& name, const std::string& residue, int number,
                                const std::string& chain) {
  PDB::Atom atom;
  atom.IsHetero = Chance(20);
  atom.SN = Below(1000);
  atom.ResSeq = number;
  // Coarse, so that some atoms lie on each other or on a line.
  const auto coordinate = [&] { return Chance(10) ? Below(2) : Below(2000) / 100.0 - 10.0; };
  atom.Coord.x = coordinate();
  atom.Coord.y = coordinate();
  atom.Coord.z = coordinate();
  atom.Occupancy = Below(3) / 2.0;
  atom.TempFactor = Below(99) / 3.0;
  atom.Name = name;
  atom.AltLoc = Chance(20) ? "A" : "";
  atom.ResName = residue;
  atom.ChainID = chain;
  atom.ICode = Chance(20) ? "B" : "";
  atom.Element = name.substr(0, 1 + Below(2));
  atom.Column77 = Chance(20) ? "7" : "";
  atom.Column79 = Chance(20) ? "9" : "";
  return atom;
}

PDB RandomChemistry::Molecule(const TopologyLibrary& library) {
  PDB molecule;
  const int residues = 1 + Below(6);
  std::string chain = "A";
  for (int r = 0; r < residues; ++r) {
    const std::string name =
        Chance(4) ? "XX" : std::vector<std::string>{"RA", "RB", "RC"}[Below(3)];
    std::vector<std::string> names;
    const auto record = library.GetResidues().find(name);
    if (record != library.GetResidues().end()) {
      for (const std::string& atom : record->second.atom_names) {
        const bool common = atom == "CA" || atom == "C";
        if (Chance(common ? 95 : 60)) names.push_back(atom);
      }
    }
    if (names.empty() || Chance(10)) names.push_back(OneOf(kAtomNames));
    // Around the number of atoms from which on names are indexed.
    const int more = Chance(5) ? ResidueAtoms::kFewAtoms - 4 + Below(8) : 0;
    for (int i = 0; i < more; ++i) {
      names.push_back(Chance(10) ? OneOf(kAtomNames) : "X" + std::to_string(i));
    }
    if (Chance(30)) std::shuffle(names.begin(), names.end(), engine_);
    if (Chance(20)) chain = chain == "A" ? "B" : "A";
    for (const std::string& atom : names) {
      molecule.atoms.push_back(Atom(atom, name, 10 + r, chain));
    }
  }
  molecule.Analyze();
  return molecule;
}

PDB RandomChemistry::CompleteMolecule(const TopologyLibrary& library) {
  PDB molecule;
  const int residues = 1 + Below(5);
  for (int r = 0; r < residues; ++r) {
    const std::string name =
        Chance(2) ? "XX" : std::vector<std::string>{"RA", "RB", "RC"}[Below(3)];
    std::vector<std::string> names = {"CA"};
    const auto record = library.GetResidues().find(name);
    if (record != library.GetResidues().end()) names = record->second.atom_names;
    // More atoms of the same names.
    const int more = Chance(5) ? ResidueAtoms::kFewAtoms - 4 + Below(8) : 0;
    for (int i = 0; i < more; ++i) names.push_back(OneOf(names));
    if (Chance(50)) std::shuffle(names.begin(), names.end(), engine_);
    if (Chance(3)) names.push_back(OneOf(kAtomNames));
    for (const std::string& atom : names) molecule.atoms.push_back(Atom(atom, name, r, "A"));
  }
  molecule.Analyze();
  return molecule;
}

void RandomChemistry::AddTopology(PDB& molecule) {
  for (const PDB::Atom& from : molecule.atoms) {
    MolecularMechanicsTopology::Atom& atom = molecule.tmpAtoms.emplace_back();
    atom.name = Chance(90) ? from.Name : "ODD";
    atom.type = OneOf(kTypes);
    atom.charge = Below(100) / 7.0;
    atom.mass = Below(100) / 3.0;
    atom.segment = "S" + std::to_string(Below(2));
    atom.residue_name = from.ResName;
    atom.residue_sn = from.ResSeq;
    atom.lj_epsilon = Below(5);
    atom.lj_sigma = Below(5);
  }
  const auto inside = [&] { return Below(molecule.numAtoms); };
  for (int i = 0; i < molecule.numAtoms; ++i) {
    const int a = inside();
    const int b = inside();
    if (a != b) molecule.tmpBonds.push_back({a, b});
  }
  for (int i = 0; i < molecule.numAtoms / 2; ++i) {
    // As a file can have them: in front of the first atom, or behind the last one.
    const int odd = Chance(10)   ? -1 - Below(2)
                    : Chance(10) ? molecule.numAtoms + Below(3)
                                 : inside();
    molecule.tmpImpropers.push_back({odd, inside(), inside(), inside()});
    molecule.tmpCmaps.push_back({inside(), inside(), odd, inside()});
  }
  molecule.topology.Build(molecule.tmpAtoms, molecule.tmpBonds, molecule.tmpImpropers,
                          molecule.tmpCmaps);
}

}  // namespace orvane::testing_support
