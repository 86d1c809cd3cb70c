// Edits residues of a molecule, as many as wanted in one pass over it.
#include "ResidueEditor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <utility>

#include "Error.h"

namespace orvane {

namespace {

// A place in an edited molecule: residue first, so that places compare as positions do.
constexpr int kPositionBits = 32;

NamedAtoms::Place PlaceOf(int residue, int position) {
  return (static_cast<NamedAtoms::Place>(residue) << kPositionBits) | position;
}

int ResidueOf(NamedAtoms::Place place) {
  return static_cast<int>(place >> kPositionBits);
}

int PositionInResidue(NamedAtoms::Place place) {
  return static_cast<int>(place & ((NamedAtoms::Place{1} << kPositionBits) - 1));
}

// Puts items into a new order within their own storage. The numbers in `order` below `before` stand
// for the items there, which keep their order among themselves; the others stand for the new items.
template <typename Item>
void PutInOrder(const std::vector<int>& order, int before, std::deque<Item>& new_items,
                std::vector<Item>& items) {
  std::size_t kept = 0;
  for (const int number : order) {
    if (number >= before) continue;
    if (kept != static_cast<std::size_t>(number)) items[kept] = std::move(items[number]);
    ++kept;
  }
  items.resize(order.size());
  // From the end, no item is overwritten before it has moved.
  for (std::size_t i = order.size(); i-- > kept;) {
    if (order[i] >= before) {
      items[i] = std::move(new_items[order[i] - before]);
    } else {
      --kept;
      items[i] = std::move(items[kept]);
    }
  }
}

}  // namespace

NamedAtoms::Place ResidueEditor::EditedAtoms::Find(int residue, std::string_view name) const {
  const int position = editor_.PositionOf(residue, name);
  return position < 0 ? kNowhere : PlaceOf(residue, position);
}

int ResidueEditor::EditedAtoms::IndexAt(Place place) const {
  return editor_.AtomInResidue(ResidueOf(place), PositionInResidue(place));
}

const Vec3D& ResidueEditor::EditedAtoms::CoordAt(Place place) const {
  return editor_.AtomAt(IndexAt(place)).Coord;
}

ResidueEditor::ResidueEditor(PDB& molecule, const std::map<std::string, double>& masses,
                             bool with_topology)
    : molecule_(molecule),
      masses_(masses),
      with_topology_(with_topology),
      atoms_before_(molecule.numAtoms),
      edit_of_residue_(static_cast<std::size_t>(molecule.numResidues), -1) {}

const std::string& ResidueEditor::NameOf(int atom) const {
  return IsNew(atom) ? new_atoms_[atom - atoms_before_].Name : molecule_.atomNames[atom];
}

PDB::Atom& ResidueEditor::AtomAt(int atom) {
  return IsNew(atom) ? new_atoms_[atom - atoms_before_] : molecule_.atoms[atom];
}

const PDB::Atom& ResidueEditor::AtomAt(int atom) const {
  return IsNew(atom) ? new_atoms_[atom - atoms_before_] : molecule_.atoms[atom];
}

MolecularMechanicsTopology::Atom& ResidueEditor::TopologyAtomAt(int atom) {
  return IsNew(atom) ? new_topology_atoms_[atom - atoms_before_] : molecule_.tmpAtoms[atom];
}

int ResidueEditor::SizeOf(int residue) const {
  const int edit = edit_of_residue_[residue];
  if (edit >= 0) return static_cast<int>(edited_residues_[edit].size());
  return molecule_.residueLastAtoms[residue] - molecule_.residueFirstAtoms[residue] + 1;
}

int ResidueEditor::AtomInResidue(int residue, int position) const {
  const int edit = edit_of_residue_[residue];
  return edit >= 0 ? edited_residues_[edit][position]
                   : molecule_.residueFirstAtoms[residue] + position;
}

int ResidueEditor::PositionOf(int residue, std::string_view name) const {
  if (residue < 0 || residue >= molecule_.numResidues) return -1;
  const int edit = edit_of_residue_[residue];
  if (edit < 0) {
    const int atom = molecule_.GetAtomIndex(residue, name);
    return atom < 0 ? -1 : atom - molecule_.residueFirstAtoms[residue];
  }
  const std::vector<int>& atoms = edited_residues_[edit];
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (NameOf(atoms[i]) == name) return static_cast<int>(i);
  }
  return -1;
}

std::vector<int>& ResidueEditor::Open(int residue) {
  int& edit = edit_of_residue_[residue];
  if (edit < 0) {
    const int first = molecule_.residueFirstAtoms[residue];
    const int size = SizeOf(residue);
    edit = static_cast<int>(edited_residues_.size());
    std::vector<int>& atoms = edited_residues_.emplace_back();
    for (int i = 0; i < size; ++i) atoms.push_back(first + i);
    atoms_changed_ = true;
  }
  return edited_residues_[edit];
}

void ResidueEditor::DeleteAtoms(int residue, const TopologyLibrary::Residue& patch) {
  for (const std::array<std::string, 2>& deletion : patch.deleted_atoms) {
    const int position = PositionOf(residue, deletion[1]);
    if (position < 0) {
      RAVELO_FAIL("Atom \"%s\" is missing in residue %s%d at chain %s and cannot be deleted.",
                  deletion[1], molecule_.residueNames[residue], molecule_.residueSeqs[residue],
                  molecule_.residueChains[residue]);
    }
    std::vector<int>& atoms = Open(residue);
    atoms.erase(atoms.begin() + position);
  }
}

void ResidueEditor::UpdateAtom(int atom, const TopologyLibrary::Residue& patch, std::size_t entry) {
  // The mass stays, although the type may be another: so it is meant.
  MolecularMechanicsTopology::Atom& topology_atom = TopologyAtomAt(atom);
  topology_atom.name = patch.atom_names[entry];
  topology_atom.type = patch.atom_types[entry];
  topology_atom.charge = patch.atom_charges[entry];
}

void ResidueEditor::AddAtom(int residue, const TopologyLibrary::Residue& patch, std::size_t entry,
                            std::vector<std::string>& to_place) {
  const std::string& name = patch.atom_names[entry];
  std::vector<int>& atoms = Open(residue);
  PDB::Atom atom = AtomAt(atoms.back());
  atom.Name = name;
  const bool placed = GuessCoordAmong(EditedAtoms(*this), residue, name, patch, atom.Coord);
  // A hydrogen is placed again when all atoms of the record are there.
  if (!placed || name.starts_with('H')) to_place.push_back(name);
  atom.Column77 = atom.Element = name.substr(0, 1);

  // Behind the nearest atom of the record in front of it, or else at the head of the residue.
  int place = 0;
  for (std::size_t earlier = entry; earlier-- > 0;) {
    const int position = PositionOf(residue, patch.atom_names[earlier]);
    if (position >= 0) {
      place = position + 1;
      break;
    }
  }
  if (with_topology_) {
    MolecularMechanicsTopology::Atom& topology_atom = new_topology_atoms_.emplace_back();
    topology_atom.name = name;
    topology_atom.type = patch.atom_types[entry];
    topology_atom.charge = patch.atom_charges[entry];
    const auto mass = masses_.find(topology_atom.type);
    topology_atom.mass = mass == masses_.end() ? -1.0 : mass->second;
    // The letter of the name, and not the chain, marks the atoms that patches have added.
    topology_atom.segment = atom.Column77;
    topology_atom.residue_name = atom.ResName;
    topology_atom.residue_sn = atom.ResSeq;
  }
  atoms.insert(atoms.begin() + place, atoms_before_ + static_cast<int>(new_atoms_.size()));
  new_atoms_.push_back(std::move(atom));
}

void ResidueEditor::PatchResidueCore(int residue, const TopologyLibrary::Residue& patch,
                                     std::vector<std::string>& to_place) {
  edited_ = true;
  if (SizeOf(residue) <= static_cast<int>(patch.deleted_atoms.size())) {
    RAVELO_FAIL(
        "The number of deleted atoms is larger than the number of atoms in residue %s%d at chain "
        "%s. In this case, remove this residue before manipulating topology.",
        molecule_.residueNames[residue], molecule_.residueSeqs[residue],
        molecule_.residueChains[residue]);
  }
  if (with_topology_ && molecule_.tmpAtoms.empty()) {
    RAVELO_FAIL("Topology is not built. Please build topology first.");
  }
  if (with_topology_ && molecule_.tmpAtoms.size() != molecule_.atoms.size()) {
    RAVELO_FAIL("The topology has %d atoms, but the molecule has %d.", molecule_.tmpAtoms.size(),
                molecule_.atoms.size());
  }
  DeleteAtoms(residue, patch);
  to_place.clear();
  for (std::size_t entry = 0; entry < patch.atom_names.size(); ++entry) {
    const int position = PositionOf(residue, patch.atom_names[entry]);
    if (position < 0) {
      AddAtom(residue, patch, entry, to_place);
    } else if (with_topology_) {
      UpdateAtom(AtomInResidue(residue, position), patch, entry);
    }
  }
  if (!with_topology_) return;
  const EditedAtoms atoms(*this);
  AppendResolvedTerms(atoms, residue, 2, patch.bonds, new_bonds_);
  AppendResolvedTerms(atoms, residue, 4, patch.impropers, new_impropers_);
  AppendResolvedTerms(atoms, residue, 4, patch.cmaps, new_cmaps_);
  CommitIfBondLeavesAtoms();
}

void ResidueEditor::PatchResidue(int residue, const TopologyLibrary::Residue& patch) {
  std::vector<std::string> to_place;
  PatchResidueCore(residue, patch, to_place);
  const EditedAtoms atoms(*this);
  for (const std::string& name : to_place) {
    Vec3D& coord = AtomAt(AtomInResidue(residue, PositionOf(residue, name))).Coord;
    if (!GuessCoordAmong(atoms, residue, name, patch, coord)) {
      std::printf(
          "Warning: The position of atom %s in residue %s%d at chain %s cannot be well "
          "predicted.\n",
          name.c_str(), molecule_.residueNames[residue].c_str(), molecule_.residueSeqs[residue],
          molecule_.residueChains[residue].c_str());
    }
  }
}

void ResidueEditor::AddBond(long long atom1, long long atom2) {
  edited_ = true;
  const auto size = static_cast<long long>(molecule_.tmpAtoms.size());
  if (atom1 < 0 || atom1 >= size || atom2 < 0 || atom2 >= size) {
    RAVELO_FAIL("Invalid atom index: %d %d.", atom1 + 1, atom2 + 1);
  }
  new_bonds_.push_back({static_cast<int>(atom1), static_cast<int>(atom2)});
  CommitIfBondLeavesAtoms();
}

void ResidueEditor::RenameResidue(int residue, const std::string& name) {
  edited_ = true;
  molecule_.residueNames[residue] = name;
  const int size = SizeOf(residue);
  for (int i = 0; i < size; ++i) {
    const int atom = AtomInResidue(residue, i);
    AtomAt(atom).ResName = name;
    // The topology of another molecule can be shorter.
    const bool in_topology = IsNew(atom) || atom < static_cast<int>(molecule_.tmpAtoms.size());
    if (with_topology_ && in_topology) TopologyAtomAt(atom).residue_name = name;
  }
  CommitIfBondLeavesAtoms();
}

// A PSF file can name bonds of atoms that are not there, which ends the run as soon as the topology
// is rebuilt. Where every step rebuilds it, that is behind the first step, before any other speaks.
void ResidueEditor::CommitIfBondLeavesAtoms() {
  if (!with_topology_ || bonds_checked_) return;
  bonds_checked_ = true;
  const int size = static_cast<int>(molecule_.tmpAtoms.size());
  const auto leaves_atoms = [&](int atom) { return atom < 0 || atom >= size; };
  if (std::ranges::any_of(molecule_.tmpBonds.flat(), leaves_atoms)) Commit();
}

// Puts the atoms in their new order and brings the residue tables up to date. Gives the new
// position of every atom number, -1 for deleted atoms.
std::vector<int> ResidueEditor::CommitAtoms() {
  std::vector<int> order;
  order.reserve(static_cast<std::size_t>(atoms_before_) + new_atoms_.size());
  for (int residue = 0; residue < molecule_.numResidues; ++residue) {
    const int size = SizeOf(residue);
    const int first = static_cast<int>(order.size());
    for (int i = 0; i < size; ++i) order.push_back(AtomInResidue(residue, i));
    // The size of an unedited residue is read from these bounds, so they change behind that.
    molecule_.residueFirstAtoms[residue] = first;
    molecule_.residueLastAtoms[residue] = first + size - 1;
  }
  std::vector<int> new_positions(static_cast<std::size_t>(atoms_before_) + new_atoms_.size(), -1);
  for (std::size_t i = 0; i < order.size(); ++i) new_positions[order[i]] = static_cast<int>(i);

  std::deque<std::string> new_names;
  for (const PDB::Atom& atom : new_atoms_) new_names.push_back(atom.Name);
  PutInOrder(order, atoms_before_, new_names, molecule_.atomNames);
  PutInOrder(order, atoms_before_, new_atoms_, molecule_.atoms);
  if (with_topology_) {
    PutInOrder(order, atoms_before_, new_topology_atoms_, molecule_.tmpAtoms);
  }
  molecule_.numAtoms = static_cast<int>(order.size());
  return new_positions;
}

// Brings the indices of a list up to date and appends the new terms; those with a deleted atom go.
void ResidueEditor::CommitTerms(const std::vector<int>& new_positions, const TermList& added,
                                TermList& terms) const {
  const int shift_behind_atoms = molecule_.numAtoms - atoms_before_;
  TermList result(terms.degree());
  result.reserve(terms.size() + added.size());
  const auto append = [&](const TermList& source, int numbers) {
    for (std::size_t i = 0; i < source.size(); ++i) {
      int indices[4];
      bool deleted = false;
      std::size_t count = 0;
      for (const int atom : source[i]) {
        if (atom >= 0 && atom < numbers) {
          indices[count] = new_positions[atom];
          deleted = deleted || indices[count] < 0;
        } else {
          // A PSF file can name atoms that are not there. They stay as far outside as they were.
          indices[count] = atom < 0 ? atom : ShiftedIndex(atom, shift_behind_atoms);
        }
        ++count;
      }
      if (!deleted) result.push_back(std::span<const int>(indices, count));
    }
  };
  append(terms, atoms_before_);
  append(added, static_cast<int>(new_positions.size()));
  terms = std::move(result);
}

void ResidueEditor::Commit() {
  if (!edited_) return;
  if (atoms_changed_) {
    const std::vector<int> new_positions = CommitAtoms();
    if (with_topology_) {
      CommitTerms(new_positions, new_bonds_, molecule_.tmpBonds);
      CommitTerms(new_positions, new_impropers_, molecule_.tmpImpropers);
      CommitTerms(new_positions, new_cmaps_, molecule_.tmpCmaps);
    }
  } else if (with_topology_) {
    molecule_.tmpBonds.append_shifted(new_bonds_, 0);
    molecule_.tmpImpropers.append_shifted(new_impropers_, 0);
    molecule_.tmpCmaps.append_shifted(new_cmaps_, 0);
  }
  if (with_topology_) {
    molecule_.topology.Build(molecule_.tmpAtoms, molecule_.tmpBonds, molecule_.tmpImpropers,
                             molecule_.tmpCmaps);
  }
  Clear();
}

void ResidueEditor::Clear() {
  atoms_before_ = molecule_.numAtoms;
  atoms_changed_ = edited_ = false;
  std::ranges::fill(edit_of_residue_, -1);
  edited_residues_.clear();
  new_atoms_.clear();
  new_topology_atoms_.clear();
  new_bonds_.clear();
  new_impropers_.clear();
  new_cmaps_.clear();
}

}  // namespace orvane
