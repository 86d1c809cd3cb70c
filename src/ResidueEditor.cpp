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

// A place in an edited molecule: the residue, and the entry that calls the atom there.
constexpr int kEntryBits = 32;

NamedAtoms::Place PlaceOf(int residue, int entry) {
  return (static_cast<NamedAtoms::Place>(residue) << kEntryBits) | entry;
}

int ResidueOf(NamedAtoms::Place place) {
  return static_cast<int>(place >> kEntryBits);
}

int EntryIn(NamedAtoms::Place place) {
  return static_cast<int>(place & ((NamedAtoms::Place{1} << kEntryBits) - 1));
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
  const int entry = editor_.EntryOf(residue, name);
  return entry == ResidueAtoms::kNone ? kNowhere : PlaceOf(residue, entry);
}

bool ResidueEditor::EditedAtoms::ComesBefore(Place place, Place other) const {
  const int residue = ResidueOf(place);
  const ResidueAtoms* const edit = editor_.EditOf(residue);
  if (ResidueOf(other) != residue || edit == nullptr) return place < other;
  return edit->ComesBefore(EntryIn(place), EntryIn(other));
}

int ResidueEditor::EditedAtoms::IndexAt(Place place) const {
  return editor_.AtomAtEntry(ResidueOf(place), EntryIn(place));
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
      edit_of_residue_(static_cast<std::size_t>(molecule.numResidues), -1),
      unedited_atoms_(std::in_place, molecule) {}

PDB::Atom& ResidueEditor::AtomAt(int atom) {
  return IsNew(atom) ? new_atoms_[atom - atoms_before_] : molecule_.atoms[atom];
}

const PDB::Atom& ResidueEditor::AtomAt(int atom) const {
  return IsNew(atom) ? new_atoms_[atom - atoms_before_] : molecule_.atoms[atom];
}

MolecularMechanicsTopology::Atom& ResidueEditor::TopologyAtomAt(int atom) {
  return IsNew(atom) ? new_topology_atoms_[atom - atoms_before_] : molecule_.tmpAtoms[atom];
}

const ResidueAtoms* ResidueEditor::EditOf(int residue) const {
  const int edit = edit_of_residue_[residue];
  return edit < 0 ? nullptr : &edited_residues_[edit];
}

int ResidueEditor::SizeOf(int residue) const {
  if (const ResidueAtoms* const edit = EditOf(residue)) return edit->size();
  return molecule_.residueLastAtoms[residue] - molecule_.residueFirstAtoms[residue] + 1;
}

// Entries are positions where no atoms have changed, as they were where some have.
int ResidueEditor::EntryOf(int residue, std::string_view name) const {
  if (residue < 0 || residue >= molecule_.numResidues) return ResidueAtoms::kNone;
  if (const ResidueAtoms* const edit = EditOf(residue)) return edit->Find(name);
  const NamedAtoms::Place atom = unedited_atoms_->Find(residue, name);
  return atom == NamedAtoms::kNowhere
             ? ResidueAtoms::kNone
             : static_cast<int>(atom) - molecule_.residueFirstAtoms[residue];
}

int ResidueEditor::AtomAtEntry(int residue, int entry) const {
  if (const ResidueAtoms* const edit = EditOf(residue)) return edit->NumberOf(entry);
  return molecule_.residueFirstAtoms[residue] + entry;
}

template <typename Call>
void ResidueEditor::ForEachAtom(int residue, const Call& call) const {
  if (const ResidueAtoms* const edit = EditOf(residue)) {
    edit->ForEach(call);
    return;
  }
  const int end = molecule_.residueLastAtoms[residue] + 1;
  for (int atom = molecule_.residueFirstAtoms[residue]; atom < end; ++atom) call(atom);
}

ResidueAtoms& ResidueEditor::Open(int residue) {
  int& edit = edit_of_residue_[residue];
  if (edit < 0) {
    const int first = molecule_.residueFirstAtoms[residue];
    const std::span<const std::string> names(&molecule_.atomNames[first],
                                             static_cast<std::size_t>(SizeOf(residue)));
    edit = static_cast<int>(edited_residues_.size());
    edited_residues_.emplace_back(first, names);
    atoms_changed_ = true;
  }
  return edited_residues_[edit];
}

void ResidueEditor::DeleteAtoms(int residue, const TopologyLibrary::Residue& patch) {
  for (const std::array<std::string, 2>& deletion : patch.deleted_atoms) {
    const int entry = EntryOf(residue, deletion[1]);
    if (entry == ResidueAtoms::kNone) {
      RAVELO_FAIL("Atom \"%s\" is missing in residue %s%d at chain %s and cannot be deleted.",
                  deletion[1], molecule_.residueNames[residue], molecule_.residueSeqs[residue],
                  molecule_.residueChains[residue]);
    }
    Open(residue).TakeOut(entry);
  }
}

void ResidueEditor::UpdateAtom(int atom, const TopologyLibrary::Residue& patch, std::size_t entry) {
  // The mass stays, although the type may be another: this is intended.
  MolecularMechanicsTopology::Atom& topology_atom = TopologyAtomAt(atom);
  topology_atom.name = patch.atom_names[entry];
  topology_atom.type = patch.atom_types[entry];
  topology_atom.charge = patch.atom_charges[entry];
}

void ResidueEditor::AddAtom(int residue, const TopologyLibrary::Residue& patch, std::size_t entry,
                            std::vector<std::string>& to_place) {
  const std::string& name = patch.atom_names[entry];
  ResidueAtoms& atoms = Open(residue);
  PDB::Atom atom = AtomAt(atoms.NumberOf(atoms.Last()));
  atom.Name = name;
  const bool placed = GuessCoordAmong(EditedAtoms(*this), residue, name, patch, atom.Coord);
  // A hydrogen is placed again when all atoms of the record are there.
  if (!placed || name.starts_with('H')) to_place.push_back(name);
  atom.Column77 = atom.Element = name.substr(0, 1);

  // Directly after the record's atom before it, which is in the residue by now; the record's first
  // atom goes to the head of the residue.
  const int in_front = entry == 0 ? ResidueAtoms::kNone : atoms.Find(patch.atom_names[entry - 1]);
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
  const int number = atoms_before_ + static_cast<int>(new_atoms_.size());
  new_atoms_.push_back(std::move(atom));
  atoms.PutBehind(in_front, number, new_atoms_.back().Name);
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
  for (std::size_t i = 0; i < patch.atom_names.size(); ++i) {
    const int entry = EntryOf(residue, patch.atom_names[i]);
    if (entry == ResidueAtoms::kNone) {
      AddAtom(residue, patch, i, to_place);
    } else if (with_topology_) {
      UpdateAtom(AtomAtEntry(residue, entry), patch, i);
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
    Vec3D& coord = AtomAt(AtomAtEntry(residue, EntryOf(residue, name))).Coord;
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
  ForEachAtom(residue, [&](int atom) {
    AtomAt(atom).ResName = name;
    // The topology of another molecule can be shorter.
    const bool in_topology = IsNew(atom) || atom < static_cast<int>(molecule_.tmpAtoms.size());
    if (with_topology_ && in_topology) TopologyAtomAt(atom).residue_name = name;
  });
  CommitIfBondLeavesAtoms();
}

// A PSF file can name bonds of atoms that are not there. Rebuilding the topology after every step
// would end the run after the first one, before any other prints.
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
    const int first = static_cast<int>(order.size());
    ForEachAtom(residue, [&](int atom) { order.push_back(atom); });
    // The atoms of an unedited residue are read from these bounds, so they change after that.
    molecule_.residueFirstAtoms[residue] = first;
    molecule_.residueLastAtoms[residue] = static_cast<int>(order.size()) - 1;
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
  unedited_atoms_.emplace(molecule_);
  new_atoms_.clear();
  new_topology_atoms_.clear();
  new_bonds_.clear();
  new_impropers_.clear();
  new_cmaps_.clear();
}

}  // namespace orvane
