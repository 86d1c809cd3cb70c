// A topology in the form that simulation engines read: whole cross-terms, and a PSF file with all
// the sections that the format has.
#ifndef RAVELO_ENGINETOPOLOGY_H
#define RAVELO_ENGINETOPOLOGY_H

#include <cstddef>
#include <string>
#include <vector>

#include "MolecularMechanicsTopology.h"
#include "PDB.h"
#include "TermList.h"

namespace orvane {

/// Atoms and terms as an engine wants them. All indices are 0-based positions in `atoms`.
struct EngineTopology {
  std::vector<MolecularMechanicsTopology::Atom> atoms;
  TermList bonds{2};
  TermList angles{3};
  TermList dihedrals{4};
  TermList impropers{4};
  TermList cross_terms{8};  ///< Two dihedrals in a row, like phi and psi of one residue.

  /// Halves of cross-terms that were left out: they had no partner.
  std::size_t lone_halves = 0;

  /// Angles that were left out: their middle atom is a hydrogen bonded to another one.
  std::size_t hydrogen_angles = 0;

  /// Terms that were left out, by their kind: they had stood before.
  struct Repeats {
    std::size_t bonds = 0;
    std::size_t angles = 0;
    std::size_t dihedrals = 0;
    std::size_t impropers = 0;
    std::size_t cross_terms = 0;

    std::size_t Total() const { return bonds + angles + dihedrals + impropers + cross_terms; }
  };
  Repeats repeats;
};

/// Joins halves of cross-terms into whole terms, in their order; linear in their number. A half is
/// the four atoms of a dihedral, in either direction. Two halves in a row are one term if, with
/// each half turned around or not, the last three atoms of the first are the first three of the
/// second; the whole term has the halves in that direction. A half that fits neither neighbour is
/// left out and counted in `lone_halves`.
TermList JoinCrossTerms(const TermList& halves, std::size_t& lone_halves);

/// Takes a topology over: joins its cross-terms and leaves out terms that stand twice, in either
/// direction, since an engine would count their energy twice. (A mutation repeats bonds, impropers
/// and cross-terms of the backbone, and thereby angles and dihedrals.) The first of equal terms
/// stays. If a bond is left out, angles and dihedrals are made anew from the bonds that remain, in
/// the order of `MolecularMechanicsTopology::BuildAnglesAndDihedrals`. Angles around a hydrogen
/// that is bonded to another one are left out: such a bond keeps a water rigid, and the force field
/// knows no angle there. Ends the run if a term names an atom that is not there; `source` is the
/// file that the message names.
EngineTopology MakeEngineTopology(const MolecularMechanicsTopology& topology,
                                  const std::string& source);

/// Reads a PSF file that this program wrote. Ends the run where that fails, also for a PSF file
/// with a section of donors: the reader would take it for the cross-terms.
EngineTopology LoadEngineTopology(const std::string& path);

/// Gives each atom the chain of its partner in a molecule as its segment, and "X" where the chain
/// is blank. `pdb.atoms` is all that must be filled. Ends the run unless both have the same number
/// of atoms and the same names, atom by atom, in whatever case; the files are what messages name.
void TakeSegments(const PDB& pdb, const std::string& pdb_path, const std::string& psf_path,
                  EngineTopology& topology);

/// Number of residues (runs of atoms with one residue number and name) whose atoms are not all of
/// one segment: engines take these for several residues.
std::size_t CountSplitResidues(const EngineTopology& topology);

/// Number of atoms without a mass above zero.
std::size_t CountAtomsWithoutMass(const EngineTopology& topology);

/// Writes a PSF file in the extended X-PLOR form with cross-terms, as the CHARMM program documents
/// and writes it (format of its version 36 and later). There are no donors, acceptors, exclusions
/// and lone pairs; each residue is a group. Ends the run if a name or number does not fit its
/// columns or if the file cannot be written to its end.
void WriteEnginePSF(const EngineTopology& topology, const std::string& path);

}  // namespace orvane

#endif
