// The patching, completing and building of molecules as one would write it first: atom by atom,
// with everything shifted at every step. Slow and simple, it is what the program's own ways are
// held against.
#ifndef RAVELO_TESTS_PLAINPATCHING_H
#define RAVELO_TESTS_PLAINPATCHING_H

#include <map>
#include <random>
#include <string>
#include <vector>

#include "PDB.h"
#include "TestSupport.h"
#include "TopologyLibrary.h"

namespace orvane::testing_support {

/// A copy of a molecule that is edited one atom at a time. What the program would print is
/// collected and a message that would end the run is thrown as a `PlainFailure`.
class PlainPatching {
 public:
  using Masses = std::map<std::string, double>;
  using Record = TopologyLibrary::Residue;

  explicit PlainPatching(const PDB& molecule);

  void PatchResidue(int residue, const Masses& masses, const Record& patch, bool with_topology);
  void PatchResidueCore(int residue, const Masses& masses, const Record& patch, bool with_topology,
                        std::vector<std::string>& to_place);
  void AddMissingHydrogens(const TopologyLibrary& library);
  void BuildTopology(const TopologyLibrary& library);

  void ModifyTmpTopolUponDeletingAtom(int atom);
  void ModifyTmpTopolUponAddingAtom(int atom);
  void BuildTopologyTerms(int residue, int degrees,
                          const std::vector<std::vector<std::string>>& terms,
                          Terms& resolved) const;
  bool GuessCoord(int residue, const std::string& name, const Record& record, Vec3D& coord) const;

  /// The molecule with its lists.
  PDB Result() const;
  const std::string& output() const { return output_; }

 private:
  int GetAtomIndex(int residue, const std::string& name) const;
  int Resolve(int residue, const std::string& name) const;
  std::string ResidueText(int residue) const;
  void BuildTopologyAtoms(const TopologyLibrary& library);
  void Rebuild();

  PDB molecule_;
  Terms bonds_;
  Terms impropers_;
  Terms cmaps_;
  std::string output_;
};

/// All members of a molecule as text, numbers to the last bit; all values that are not a number are
/// alike.
std::string Describe(const PDB& molecule);

/// A library read from the text of a topology file.
TopologyLibrary LibraryOf(const std::string& text);

/// A residue of a molecule to be made: its name, its chain and number, its atoms.
struct NamedResidue {
  std::string name;
  std::string chain;
  int number;
  std::vector<std::string> atoms;
};

/// A molecule of these residues, analysed. Its atoms lie apart from each other, and no three that
/// follow each other lie on a line.
PDB MoleculeOf(const std::vector<NamedResidue>& residues);

/// Random residues and molecules over few names, so that everything that can meet does.
class RandomChemistry {
 public:
  explicit RandomChemistry(unsigned seed) : engine_(seed) {}

  int Below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  bool Chance(int percent) { return Below(100) < percent; }
  template <typename List>
  const auto& OneOf(const List& list) {
    return list[static_cast<std::size_t>(Below(static_cast<int>(list.size())))];
  }

  /// The text of a topology file with the residues RA, RB, RC and the patches PA, PB, PC.
  std::string Library();

  /// A molecule of those residues, in which atoms are missing, and sometimes foreign or doubled.
  PDB Molecule(const TopologyLibrary& library);

  /// A molecule whose every residue has exactly the atoms of its template, in any order.
  PDB CompleteMolecule(const TopologyLibrary& library);

  /// Random atoms and terms for a molecule's topology; some impropers and cross-terms lie outside.
  void AddTopology(PDB& molecule);

 private:
  std::string RecordText(const std::string& name, bool is_patch);
  std::string TermName(const std::vector<std::string>& own);
  PDB::Atom Atom(const std::string& name, const std::string& residue, int number,
                 const std::string& chain);

  std::mt19937 engine_;
};

}  // namespace orvane::testing_support

#endif
