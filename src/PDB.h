// The molecule in memory: atoms in file order, residues as runs of them, and their topology.
#ifndef RAVELO_PDB_H
#define RAVELO_PDB_H

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "MolecularMechanicsTopology.h"
#include "Residue.h"
#include "TopologyLibrary.h"
#include "Vec3D.h"

namespace orvane {

/// A molecule. A residue has no object of its own: it is a row across six parallel tables, which
/// `Analyze` derives from the atoms and which editing operations keep true. The atoms of a residue
/// are a contiguous run, and the runs follow each other without gap.
///
/// The `tmp` lists and `topology` are two views of one thing. The lists hold what cannot be derived
/// (atoms, bonds, impropers, cross-terms) and are what editing changes; `topology` is rebuilt from
/// them whole.
class PDB {
 public:
  struct Atom {
    bool IsHetero = false;  ///< The record was HETATM.
    int SN = 0;             ///< Serial number, as read; renumbered on output.
    int ResSeq = 0;         ///< Residue sequence number.
    Vec3D Coord;            ///< In Angstrom.
    double Occupancy = 0.0;
    double TempFactor = 0.0;  ///< Temperature factor.
    std::string Name;
    std::string AltLoc;  ///< Alternate location; nothing after the reader looks at it.
    std::string ResName;
    std::string ChainID;  ///< Never empty after `Regularize`.
    std::string ICode;    ///< Insertion code.
    std::string Element;
    std::string Column77;  ///< Columns 77 and 78 of the line; carried along.
    std::string Column79;  ///< Columns 79 and 80 of the line; carried along.
  };

  std::string filename;     ///< Source file; empty until `Load` has read it.
  std::string description;  ///< Of the source: an XYZ file's comment line, a fixed text for PDB.
  std::vector<Atom> atoms;  ///< In file order.
  int numAtoms = 0;
  std::vector<std::string> atomNames;  ///< The `Name` of each atom, for look-ups.
  int numResidues = 0;
  std::vector<Residue::Type> residueTypes;
  std::vector<int> residueSeqs;
  std::vector<std::string> residueChains;
  std::vector<std::string> residueNames;
  std::vector<int> residueFirstAtoms;  ///< Position of each residue's first atom.
  std::vector<int> residueLastAtoms;   ///< Position of each residue's last atom, inclusive.
  std::vector<MolecularMechanicsTopology::Atom> tmpAtoms;  ///< Parallel to `atoms`, or empty.
  TermList tmpBonds{2};
  TermList tmpImpropers{4};
  TermList tmpCmaps{4};
  MolecularMechanicsTopology topology;

  // Accessors.

  const std::string& GetFilename() const { return filename; }
  const MolecularMechanicsTopology& GetTopology() const { return topology; }

  /// The name of a residue; the index must be in range.
  const std::string& GetResidueName(int residue) const;

  /// Fills `coords` with the coordinates of all atoms, in Angstrom.
  void GetCoords(std::vector<Vec3D>& coords) const;

  /// A residue as messages name it, like "ALA12 at chain A"; empty for an index out of range.
  std::string GetResidueString(int residue) const;

  /// Finds the first residue at a site, its number and one letter of chain like "12A" (in either
  /// case), and gives its index and name. `residue` is -1 if there is none and -2 for a malformed
  /// site; `name` stays then.
  void GetResidue(const std::string& site, int& residue, std::string& name) const;

  /// Position of the first atom of this name in a residue, or -1; also for a residue out of range.
  int GetAtomIndex(int residue, std::string_view name) const;

  // Reading, normal form, output.

  /// Reads a molecule by its extension (.pdb or .xyz), brings it to normal form and makes the
  /// residue tables. Ends the run with a message where the file cannot be read.
  void Load(const std::string& path);

  /// Reads the ATOM and HETATM lines of a PDB file, of all models alike, into `atoms`. The element
  /// is taken from columns 73 to 76.
  void LoadPDBFile(const std::string& path);

  /// Splits a PDB file at its ENDMDL lines: one text of upper-case atom lines for each model. A
  /// last model without ENDMDL is dropped.
  void LoadPDBFileExtractModels(const std::string& path, std::vector<std::string>& models) const;

  /// Reads an XYZ file into `atoms`: all of them in one residue UNK 1 of chain X.
  void LoadXYZFile(const std::string& path);

  /// Brings names to the conventions of the topology files and drops atoms that those do not know,
  /// with a warning for each change. Works on `atoms` alone.
  void Regularize();

  /// Makes the residue tables: a new residue wherever number or chain change from atom to atom.
  void Analyze();

  /// Numbers the atoms from 1 to 99999, and again from 1.
  void RefreshAtomSNs();

  /// Writes a PDB file; renumbers the atoms. Ends the run if that fails.
  void WritePDB(const std::string& path);

  /// Writes the PSF file of `topology`. Ends the run if that fails.
  void WritePSF(const std::string& path) const;

  /// Writes the parameters of `topology` to a file, with guesses from the coordinates for terms
  /// that the force field lacks. Ends the run if that fails.
  void WriteNaiveParams(const std::string& path) const;

  /// Prints the numbers of atoms and of residues of each kind.
  void Report() const;

  // Removal. Only `DeleteAtom` looks at the topology: the others are for a molecule without one.
  // Each costs a pass over the molecule. No atom and no residue is given a new number.

  /// Removes a residue with its atoms. Does nothing for an index out of range.
  void RemoveResidue(int residue);

  /// Removes the first residue of this number and chain. Ends the run if there is none.
  void RemoveResidue(const std::string& chain, int seq);

  /// Removes all residues of a chain, in this case of letters, and returns their number.
  int RemoveResiduesByChain(const std::string& chain);

  /// Removes all residues of a kind, puts their names (only those) into `names`, and returns the
  /// number of residues.
  int RemoveResiduesByType(Residue::Type type, std::set<std::string>& names);
  int RemoveIons(std::set<std::string>& names);
  int RemoveWaters(std::set<std::string>& names);
  int RemoveLigands(std::set<std::string>& names);

  /// Removes all atoms whose names begin with an H, and returns their number. A residue that loses
  /// all its atoms stays in the tables, with its last atom before its first.
  int RemoveHydrogens();

  /// Removes an atom from the molecule and, with all terms that hold it, from the topology, whose
  /// angles and dihedrals are made anew. Its residue stays, as above. Ends the run for a bad index,
  /// and if topology and molecule differ in size.
  void DeleteAtom(int atom);

  // Topology.

  /// Reads a PSF file into `topology` and the `tmp` lists. Whether it fits the atoms is not
  /// checked. Errors as `MolecularMechanicsTopology::LoadFromPSF`.
  void LoadPSFFile(const std::string& path);

  /// Builds the topology of a complete molecule from its templates, which are matched by names of
  /// residues and atoms. Ends the run where a residue, an atom or an atom of a term is unknown.
  void BuildTopology(const TopologyLibrary& library);

  /// The atoms of that topology, in the order of `atoms`. A type without a mass gets -1.0. Ends the
  /// run for an unknown residue or atom.
  void BuildTopologyAtoms(const TopologyLibrary& library,
                          std::vector<MolecularMechanicsTopology::Atom>& topology_atoms) const;

  /// The given terms of that topology, residue after residue; the lists are emptied before. A
  /// residue without a template is passed over with a warning; a missing atom of a term ends the
  /// run.
  void BuildTopologyTerms(const TopologyLibrary& library, TermList& bonds, TermList& impropers,
                          TermList& cmaps) const;

  /// Resolves a template's terms of `degrees` (2 or 4) atom names at a residue into `resolved`,
  /// which is emptied before. Terms that reach beyond the first or the last residue of the molecule
  /// are dropped; any other atom that is missing ends the run.
  void BuildTopologyTerms(int residue, int degrees,
                          const std::vector<std::vector<std::string>>& terms,
                          TermList& resolved) const;

  /// Builds the topology of any molecule from elements and coordinates alone: bonds by distances,
  /// over the whole molecule, types by `AtomTyper`, and charges by type (-1.0 for one that is not
  /// known); no impropers and no cross-terms. Prints nothing. Replaces `topology` and the `tmp`
  /// lists. The cost is linear in the numbers of atoms, bonds, angles and dihedrals. An element
  /// that the periodic table does not know gives an atom of type "X" and mass 0. Ends the run where
  /// `FindBonds` or `EndIfTooManyTerms` does.
  void GuessTopology();

  /// Makes a list of the cycles in the graph of `tmpBonds`, each from its smallest index on: all
  /// chordless ones, and some larger ones around fused rings. The time grows steeply with the
  /// number of fused rings. A bond that is listed twice, or of an atom with itself, makes no cycle.
  /// Ends the run if a bond names an atom that is not there.
  void BuildCycles(std::vector<std::vector<int>>& cycles) const;

  /// Adds a bond between two atoms and rebuilds the topology. Ends the run for a bad index.
  void AddBond(int atom1, int atom2);

  /// Takes names, numbers and segments of the topology over into the atoms, as far as both go:
  /// residue names cut to three letters, amino and nucleic acids as ATOM records. Makes the `tmp`
  /// lists and the residue tables anew.
  void ApplyTopology();

  // Patching and completion.

  /// Brings a residue in line with a template or a patch: deletes and adds atoms, places the new
  /// ones and, with topology, updates atoms and terms. Costs a pass over the molecule; many
  /// residues are patched in one pass by `ResidueEditor`.
  void PatchResidue(int residue, const std::map<std::string, double>& masses,
                    const TopologyLibrary::Residue& patch, bool with_topology);

  /// The same without the last placement of new hydrogens and of atoms that could not be placed at
  /// first, whose names are left in `to_place`.
  void PatchResidueCore(int residue, const std::map<std::string, double>& masses,
                        const TopologyLibrary::Residue& patch, bool with_topology,
                        std::vector<std::string>& to_place);

  /// Takes an atom out of the `tmp` lists, with all terms that hold it.
  void ModifyTmpTopolUponDeletingAtom(int atom);

  /// Makes room in the terms of the `tmp` lists for a new atom at a position.
  void ModifyTmpTopolUponAddingAtom(int atom);

  /// Gives a residue another name, in its atoms and in the topology, which is rebuilt and must have
  /// been built.
  void RenameResidue(int residue, const std::string& name);

  /// Finds the first and last residues of the runs of amino acids, by kind alone. A run that only
  /// the molecule's last residue forms has no end in `c_termini`; a residue of another kind at the
  /// very end of the molecule, right after a run, is in `c_termini` as well as the run's last one.
  void GetTerminus(std::vector<int>& n_termini, std::vector<int>& c_termini) const;

  /// Places an atom of a residue from the first term of a record that ends in it (or else,
  /// reversed, begins with it). False if a reference atom was missing: `coord` then meets only
  /// length and angle, or is (99, 99, 99). Ends the run if there is no term.
  bool GuessCoord(int residue, const std::string& name, const TopologyLibrary::Residue& record,
                  Vec3D& coord) const;

  /// Completes all residues from their templates, in one pass over the molecule.
  void AddMissingHydrogens(const TopologyLibrary& library);

  // Periodic cells.

  /// Puts residues back into a box of these edges (in Angstrom) that is centred on the origin. Each
  /// axis goes alone: a residue of which no atom lies inside is moved, each of its atoms by its own
  /// multiple of the edge.
  void WrapPBC(double a, double b, double c);

  /// Replaces the coordinates of all atoms. Ends the run if their number is not that of the atoms.
  void SetCoords(const std::vector<Vec3D>& coords);

  /// Appends copies of all atoms, moved by every combination of up to `nx`, `ny` and `nz` lattice
  /// vectors (in Angstrom) in both directions; each copy is one residue number of its own. Then
  /// brings the molecule to normal form. The topology goes on describing one cell. Ends the run if
  /// there would be more atoms than an index can count.
  void BuildSuperCells(const Vec3D& t1, const Vec3D& t2, const Vec3D& t3, int nx, int ny, int nz);

  /// Puts together molecules that the faces of a cell with these lattice vectors (in Angstrom) have
  /// cut: moves atoms by lattice vectors to places that are bonded to other atoms, until none can
  /// be moved so. Ends the run where that has no end, as in a polymer or a network solid.
  void AdjustCoordsToGetFewestFragmentsInCell(const Vec3D& t1, const Vec3D& t2, const Vec3D& t3);

  /// Moves each fragment (atoms that are bonded, directly or through others) by at most one lattice
  /// vector (in Angstrom), to bring its centre as close as possible to that of the first. Puts the
  /// bonds into `tmpBonds` and prints the number of each atom's fragment, all on one line.
  void AdjustCoordsToMakeFragmentClosest(const Vec3D& t1, const Vec3D& t2, const Vec3D& t3);

  // Merging.

  /// Appends the atoms of another molecule, and its topology if wanted. The residue tables are left
  /// as they are.
  void MergePDB(const PDB& other, bool with_topology);

  /// Completes a merge of copies whose atoms are the last ones: numbers their residues and merges
  /// their topology. This many copies must have been appended.
  void MergePSF(const PDB& other, int copies);

 private:
  void CopyTopologyToTmp();
  void WarnOfUnknownResidue(int residue) const;
};

}  // namespace orvane

#endif
