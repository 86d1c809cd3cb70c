// Cutting residues and atoms out of a molecule, with its residue tables kept true.
#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "Error.h"
#include "PDB.h"

namespace orvane {

namespace {

// Drops the marked elements of a list, of which there may be more or fewer than marks.
template <typename Element>
void EraseMarked(const std::vector<bool>& marks, std::vector<Element>& list) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i < marks.size() && marks[i]) continue;
    if (kept != i) list[kept] = std::move(list[i]);
    ++kept;
  }
  list.resize(kept);
}

void EraseMarkedAtoms(const std::vector<bool>& marks, PDB& molecule) {
  EraseMarked(marks, molecule.atoms);
  EraseMarked(marks, molecule.atomNames);
}

// Whether the runs of atoms lie in the order of their residues and apart from each other, as they
// always do in the program: a user of the class can set up the tables otherwise. Residues without
// atoms do not count.
bool RunsAreInOrder(const PDB& molecule) {
  const std::vector<int>& firsts = molecule.residueFirstAtoms;
  const std::vector<int>& lasts = molecule.residueLastAtoms;
  bool is_behind_another = false;
  int last_before = 0;
  for (int residue = 0; residue < molecule.numResidues; ++residue) {
    if (lasts[residue] < firsts[residue]) continue;
    if (is_behind_another && firsts[residue] <= last_before) return false;
    is_behind_another = true;
    last_before = lasts[residue];
  }
  return true;
}

// Removes the marked residues with their atoms. What lies behind a removed run moves up by its
// length. The runs must be in order, or one residue alone be marked.
void EraseMarkedResidues(const std::vector<bool>& marks, PDB& molecule) {
  const int size = static_cast<int>(molecule.atoms.size());
  std::vector<bool> marked_atoms(molecule.atoms.size());
  int erased_atoms = 0;
  int erased_residues = 0;
  for (int residue = 0; residue < molecule.numResidues; ++residue) {
    int& first = molecule.residueFirstAtoms[residue];
    int& last = molecule.residueLastAtoms[residue];
    if (marks[residue]) {
      const int begin = std::max(first, 0);
      const int end = std::max(begin, std::min(last, size - 1) + 1);
      for (int i = begin; i < end; ++i) marked_atoms[i] = true;
      erased_atoms += end - begin;
      ++erased_residues;
    } else {
      first -= erased_atoms;
      last -= erased_atoms;
    }
  }
  if (erased_residues == 0) return;
  EraseMarkedAtoms(marked_atoms, molecule);
  EraseMarked(marks, molecule.residueTypes);
  EraseMarked(marks, molecule.residueSeqs);
  EraseMarked(marks, molecule.residueChains);
  EraseMarked(marks, molecule.residueNames);
  EraseMarked(marks, molecule.residueFirstAtoms);
  EraseMarked(marks, molecule.residueLastAtoms);
  molecule.numResidues -= erased_residues;
  molecule.numAtoms = static_cast<int>(molecule.atoms.size());
}

// Removes all residues of which `is_chosen` is true and returns their number. The result is that of
// removing one after the other, from the first on.
template <typename Predicate>
int RemoveResiduesIf(const Predicate& is_chosen, PDB& molecule) {
  std::vector<bool> marks(static_cast<std::size_t>(molecule.numResidues));
  int count = 0;
  for (int residue = 0; residue < molecule.numResidues; ++residue) {
    if (!is_chosen(residue)) continue;
    marks[residue] = true;
    ++count;
  }
  if (RunsAreInOrder(molecule)) {
    EraseMarkedResidues(marks, molecule);
  } else {
    // Each removal changes what the next one finds.
    int removed = 0;
    for (std::size_t i = 0; i < marks.size(); ++i) {
      if (marks[i]) molecule.RemoveResidue(static_cast<int>(i) - removed++);
    }
  }
  return count;
}

bool IsNamedLikeHydrogen(const PDB::Atom& atom) {
  return atom.Name.starts_with('H');
}

bool Holds(const PDB& molecule, int residue, int atom) {
  return molecule.residueFirstAtoms[residue] <= atom && atom <= molecule.residueLastAtoms[residue];
}

// Shortens the residue that holds an atom by one, and moves up all that follow it in the tables. An
// atom that no residue holds is taken from the first one.
void TakeFromResidue(int atom, PDB& molecule) {
  if (molecule.numResidues == 0) return;
  int owner = 0;
  while (owner < molecule.numResidues && !Holds(molecule, owner, atom)) ++owner;
  if (owner == molecule.numResidues) owner = 0;
  --molecule.residueLastAtoms[owner];
  for (int residue = owner + 1; residue < molecule.numResidues; ++residue) {
    --molecule.residueFirstAtoms[residue];
    --molecule.residueLastAtoms[residue];
  }
}

// Does `TakeFromResidue` for all marked atoms, from the first on, when the runs are in order. While
// such a walk is at an atom, all that it has taken came from residues before the atom's own, from
// this one, or from the first: so the atom's residue is the one that held it before the walk.
void TakeMarkedInOrder(const std::vector<bool>& marks, PDB& molecule) {
  if (molecule.numResidues == 0) return;
  std::vector<int>& firsts = molecule.residueFirstAtoms;
  std::vector<int>& lasts = molecule.residueLastAtoms;
  std::vector<int> taken(static_cast<std::size_t>(molecule.numResidues));
  int reached = 0;
  for (std::size_t i = 0; i < marks.size(); ++i) {
    if (!marks[i]) continue;
    const int atom = static_cast<int>(i);
    while (reached < molecule.numResidues &&
           (lasts[reached] < atom || lasts[reached] < firsts[reached])) {
      ++reached;
    }
    const bool is_held = reached < molecule.numResidues && Holds(molecule, reached, atom);
    ++taken[is_held ? reached : 0];
  }
  int taken_before = 0;
  for (int residue = 0; residue < molecule.numResidues; ++residue) {
    firsts[residue] -= taken_before;
    taken_before += taken[residue];
    lasts[residue] -= taken_before;
  }
}

}  // namespace

void PDB::RemoveResidue(int residue) {
  if (residue < 0 || residue >= numResidues) return;
  std::vector<bool> marks(static_cast<std::size_t>(numResidues));
  marks[residue] = true;
  EraseMarkedResidues(marks, *this);
}

void PDB::RemoveResidue(const std::string& chain, int seq) {
  for (int residue = 0; residue < numResidues; ++residue) {
    if (residueSeqs[residue] == seq && residueChains[residue] == chain) {
      RemoveResidue(residue);
      return;
    }
  }
  RAVELO_FAIL("Cannot find the residue %d in chain %s.", seq, chain);
}

int PDB::RemoveResiduesByChain(const std::string& chain) {
  return RemoveResiduesIf([&](int residue) { return residueChains[residue] == chain; }, *this);
}

int PDB::RemoveResiduesByType(Residue::Type type, std::set<std::string>& names) {
  names.clear();
  const auto is_chosen = [&](int residue) {
    if (residueTypes[residue] != type) return false;
    names.insert(residueNames[residue]);
    return true;
  };
  return RemoveResiduesIf(is_chosen, *this);
}

int PDB::RemoveIons(std::set<std::string>& names) {
  return RemoveResiduesByType(Residue::Ion, names);
}

int PDB::RemoveWaters(std::set<std::string>& names) {
  return RemoveResiduesByType(Residue::Water, names);
}

int PDB::RemoveLigands(std::set<std::string>& names) {
  return RemoveResiduesByType(Residue::Ligand, names);
}

int PDB::RemoveHydrogens() {
  std::vector<bool> marks(atoms.size());
  std::transform(atoms.begin(), atoms.end(), marks.begin(), IsNamedLikeHydrogen);
  if (RunsAreInOrder(*this)) {
    TakeMarkedInOrder(marks, *this);
  } else {
    int position = 0;
    for (const bool is_hydrogen : marks) {
      if (is_hydrogen) {
        TakeFromResidue(position, *this);
      } else {
        ++position;
      }
    }
  }
  EraseMarkedAtoms(marks, *this);
  const int count = static_cast<int>(std::count(marks.begin(), marks.end(), true));
  numAtoms -= count;
  return count;
}

void PDB::DeleteAtom(int atom) {
  if (atom < 0 || atom >= static_cast<int>(atoms.size())) {
    // In 64 bits, since the number is as the user typed it, up to the largest of all.
    RAVELO_FAIL("Invalid atom index: %d.", static_cast<long long>(atom) + 1);
  }
  if (!tmpAtoms.empty() && tmpAtoms.size() != atoms.size()) {
    RAVELO_FAIL("The topology has %d atoms, but the molecule has %d.", tmpAtoms.size(),
                atoms.size());
  }
  TakeFromResidue(atom, *this);
  atoms.erase(atoms.begin() + atom);
  if (atom < static_cast<int>(atomNames.size())) atomNames.erase(atomNames.begin() + atom);
  --numAtoms;
  ModifyTmpTopolUponDeletingAtom(atom);
  topology.Build(tmpAtoms, tmpBonds, tmpImpropers, tmpCmaps);
}

}  // namespace orvane
