// Patching residues, and what editing a molecule does to its temporary topology.
#include <span>
#include <utility>

#include "PDB.h"
#include "ResidueEditor.h"

namespace orvane {

namespace {

// Drops the terms that hold an atom and closes the gap in the numbers of the others.
void TakeAtomOut(int atom, TermList& terms) {
  TermList result(terms.degree());
  result.reserve(terms.size());
  for (std::size_t i = 0; i < terms.size(); ++i) {
    int indices[4];
    std::size_t count = 0;
    bool holds_atom = false;
    for (const int index : terms[i]) {
      holds_atom = holds_atom || index == atom;
      indices[count++] = index > atom ? index - 1 : index;
    }
    if (!holds_atom) result.push_back(std::span<const int>(indices, count));
  }
  terms = std::move(result);
}

void MakeRoomForAtom(int atom, TermList& terms) {
  std::vector<int> indices = terms.flat();
  for (int& index : indices) {
    if (index >= atom) index = ShiftedIndex(index, 1);
  }
  terms.assign_flat(std::move(indices));
}

}  // namespace

void PDB::PatchResidue(int residue, const std::map<std::string, double>& masses,
                       const TopologyLibrary::Residue& patch, bool with_topology) {
  ResidueEditor editor(*this, masses, with_topology);
  editor.PatchResidue(residue, patch);
  editor.Commit();
}

void PDB::PatchResidueCore(int residue, const std::map<std::string, double>& masses,
                           const TopologyLibrary::Residue& patch, bool with_topology,
                           std::vector<std::string>& to_place) {
  ResidueEditor editor(*this, masses, with_topology);
  editor.PatchResidueCore(residue, patch, to_place);
  editor.Commit();
}

void PDB::ModifyTmpTopolUponDeletingAtom(int atom) {
  if (tmpAtoms.empty()) return;
  tmpAtoms.erase(tmpAtoms.begin() + atom);
  TakeAtomOut(atom, tmpBonds);
  TakeAtomOut(atom, tmpImpropers);
  TakeAtomOut(atom, tmpCmaps);
}

void PDB::ModifyTmpTopolUponAddingAtom(int atom) {
  if (tmpAtoms.empty()) return;
  MakeRoomForAtom(atom, tmpBonds);
  MakeRoomForAtom(atom, tmpImpropers);
  MakeRoomForAtom(atom, tmpCmaps);
}

void PDB::RenameResidue(int residue, const std::string& name) {
  const std::map<std::string, double> no_masses;  // No atom is new.
  ResidueEditor editor(*this, no_masses, /*with_topology=*/true);
  editor.RenameResidue(residue, name);
  editor.Commit();
}

void PDB::GetTerminus(std::vector<int>& n_termini, std::vector<int>& c_termini) const {
  n_termini.clear();
  c_termini.clear();
  bool in_run = false;
  for (int i = 0; i < numResidues; ++i) {
    const bool is_amino_acid = residueTypes[i] == Residue::AminoAcid;
    if (!in_run) {
      if (is_amino_acid) {
        n_termini.push_back(i);
        in_run = true;
      }
      continue;
    }
    if (!is_amino_acid) {
      c_termini.push_back(i - 1);
      in_run = false;
    }
    // Also after a run that has just ended: the molecule's last residue counts as an end.
    if (i == numResidues - 1) {
      c_termini.push_back(i);
      in_run = false;
    }
  }
}

}  // namespace orvane
