// Edits residues of a molecule, as many as wanted in one pass over it.
#ifndef RAVELO_RESIDUEEDITOR_H
#define RAVELO_RESIDUEEDITOR_H

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PDB.h"
#include "ResidueAtoms.h"
#include "TemplateTerms.h"

namespace orvane {

/// An open edit of a molecule. Each patch costs what its residue costs; `Commit` then brings the
/// molecule's tables, lists and topology up to date in one pass over it. The result, and what is
/// printed, are those of inserting and erasing atom by atom and rebuilding the topology after every
/// step.
///
/// Until `Commit`, the molecule must not be changed elsewhere and its tables show the state before
/// the edit (but the names, numbers and chains of its residues hold all along).
class ResidueEditor {
 public:
  /// With topology, the molecule's `tmp` lists are edited along with its atoms; `masses` gives
  /// those of new atoms, by type.
  ResidueEditor(PDB& molecule, const std::map<std::string, double>& masses, bool with_topology);

  /// See `PDB::PatchResidue` and `PDB::PatchResidueCore`.
  void PatchResidue(int residue, const TopologyLibrary::Residue& patch);
  void PatchResidueCore(int residue, const TopologyLibrary::Residue& patch,
                        std::vector<std::string>& to_place);

  /// See `PDB::AddBond`. The atoms are named by their positions before the edit, which must be one
  /// with topology; in 64 bits, since they can come from the user's numbers, less 1.
  void AddBond(long long atom1, long long atom2);

  /// See `PDB::RenameResidue`. The new name holds at once.
  void RenameResidue(int residue, const std::string& name);

  /// Carries the edit out. The editor can then begin another one on the molecule as this leaves it.
  void Commit();

 private:
  // Atoms are called by numbers that no edit changes: those that the molecule had before by their
  // position then, new ones by the numbers behind these.
  class EditedAtoms final : public NamedAtoms {
   public:
    explicit EditedAtoms(const ResidueEditor& editor)
        : NamedAtoms(editor.molecule_), editor_(editor) {}
    Place Find(int residue, std::string_view name) const override;
    bool ComesBefore(Place place, Place other) const override;
    int IndexAt(Place place) const override;
    const Vec3D& CoordAt(Place place) const override;

   private:
    const ResidueEditor& editor_;
  };

  bool IsNew(int atom) const { return atom >= atoms_before_; }
  PDB::Atom& AtomAt(int atom);
  const PDB::Atom& AtomAt(int atom) const;
  MolecularMechanicsTopology::Atom& TopologyAtomAt(int atom);

  const ResidueAtoms* EditOf(int residue) const;
  int SizeOf(int residue) const;
  int EntryOf(int residue, std::string_view name) const;
  int AtomAtEntry(int residue, int entry) const;
  template <typename Call>
  void ForEachAtom(int residue, const Call& call) const;
  ResidueAtoms& Open(int residue);

  void DeleteAtoms(int residue, const TopologyLibrary::Residue& patch);
  void UpdateAtom(int atom, const TopologyLibrary::Residue& patch, std::size_t entry);
  void AddAtom(int residue, const TopologyLibrary::Residue& patch, std::size_t entry,
               std::vector<std::string>& to_place);

  void CommitIfBondLeavesAtoms();

  std::vector<int> CommitAtoms();
  void CommitTerms(const std::vector<int>& new_positions, const TermList& added,
                   TermList& terms) const;
  void Clear();

  PDB& molecule_;
  const std::map<std::string, double>& masses_;
  const bool with_topology_;
  int atoms_before_;
  bool bonds_checked_ = false;
  bool atoms_changed_ = false;
  bool edited_ = false;

  // The atoms of each residue in which some have changed; `edit_of_residue_` is -1 for others.
  std::vector<int> edit_of_residue_;
  std::vector<ResidueAtoms> edited_residues_;
  std::optional<MoleculeAtoms> unedited_atoms_;  // anew for each edit
  std::deque<PDB::Atom> new_atoms_;
  std::deque<MolecularMechanicsTopology::Atom> new_topology_atoms_;
  TermList new_bonds_{2};
  TermList new_impropers_{4};
  TermList new_cmaps_{4};
};

}  // namespace orvane

#endif
