// The force-field view of a molecule: atoms with type, charge and mass, and the terms between them.
#ifndef RAVELO_MOLECULARMECHANICSTOPOLOGY_H
#define RAVELO_MOLECULARMECHANICSTOPOLOGY_H

#include <cstddef>
#include <string>
#include <vector>

#include "TermList.h"
#include "Vec3D.h"

namespace orvane {

/// Ends the run if a molecule with these guessed bonds could have more than 2^26 angles or
/// dihedrals: only a damaged file has so many, or atoms that lie on one spot. Linear in atoms and
/// bonds; makes no lists. The bonds must name atoms that are there.
void EndIfTooManyTerms(std::size_t num_atoms, const TermList& bonds);

/// Ends the run if a bond names an atom that is not there, as a bond from a PSF file can.
void EndIfBondLeavesAtoms(const TermList& bonds, std::size_t num_atoms);

/// Atoms, bonds, angles, dihedrals, impropers and cross-terms of a molecule. All indices are
/// 0-based positions in `atoms`; they count from 1 in the PSF file only. Bonds, impropers and
/// cross-terms are given; angles and dihedrals always follow from the bonds (or, after
/// `LoadFromPSF`, stand as the file has them until the next `Build`, `Merge` or
/// `BuildAnglesAndDihedrals`).
class MolecularMechanicsTopology {
 public:
  struct Atom {
    std::string name;
    std::string type;     ///< Force-field atom type.
    double charge = 0.0;  ///< Partial charge, in elementary charges.
    double mass = 0.0;    ///< In atomic mass units; -1.0 for a type without a known mass.
    std::string segment;  ///< PSF segment name; the chain of molecules built here.
    std::string residue_name;
    int residue_sn = 0;       ///< Residue number as the PSF has it.
    double lj_epsilon = 0.0;  ///< Lennard-Jones well depth in kJ/mol, positive.
    double lj_sigma = 0.0;    ///< Lennard-Jones sigma in Angstrom.

    friend bool operator==(const Atom&, const Atom&) = default;
  };

  /// Replaces atoms and given terms; angles and dihedrals are made anew from the bonds. Ends the
  /// run if a bond names an atom that is not there.
  void Build(const std::vector<Atom>& new_atoms, const TermList& new_bonds,
             const TermList& new_impropers, const TermList& new_cmaps);

  /// Makes angles and dihedrals from the bonds at once. Their order follows that of the bonds: see
  /// the implementation. Linear in the number of terms. Ends the run where there would be too many
  /// of them; so do all that read these two lists first.
  void BuildAnglesAndDihedrals();

  /// Appends `copies` copies of `other`; with several, their residue numbers count the copies from
  /// 1 (and begin again after 9999). Angles and dihedrals of the whole are made anew, also where
  /// `copies` is 0. Ends the run if a bond of either names an atom that is not there, or if there
  /// would be more atoms than an index can count.
  void Merge(const MolecularMechanicsTopology& other, int copies);

  /// Sets charge and Lennard-Jones values of each atom from its type. Atoms of unknown types keep
  /// what they have.
  void AssignParams();

  /// Sum of the charges, from the first atom to the last.
  double GetTotalCharge() const;

  const std::vector<Atom>& GetAtoms() const { return atoms; }
  const TermList& GetBonds() const { return bonds; }
  const TermList& GetAngles() const;
  const TermList& GetDihedrals() const;
  const TermList& GetImpropers() const { return impropers; }

  /// Cross-terms as halves of four atoms: one term of the force field is two entries in a row.
  const TermList& GetCmaps() const { return cmaps; }

  /// Writes a PSF file in the EXT form. Ends the run if that fails.
  void WritePSF(const std::string& filename) const;

  /// Replaces everything by what a PSF file holds. The sections are read by position, not by label:
  /// titles, atoms, bonds, angles, dihedrals, impropers, cross-terms; what follows is not read.
  /// Ends the run with a message where the file is malformed; a negative number of terms throws
  /// `std::length_error`, which nothing in the program catches. Indices are not compared with the
  /// number of atoms.
  void LoadFromPSF(const std::string& filename);

  /// Writes a CHARMM parameter file with the bonds, angles and dihedrals that the force field knows
  /// by their atom types, guesses for all others that make the given coordinates (in Angstrom, in
  /// atom order) their minimum, and the Lennard-Jones values of the atoms. The types in a line
  /// stand in the order of the term; each different line comes once. The work is linear in the
  /// number of terms, but for sorting the lines. Ends the run if the file cannot be opened or a
  /// term has an atom without coordinates.
  void WriteNaiveParams(const std::vector<Vec3D>& coords, const std::string& filename) const;

 private:
  void DeriveAnglesAndDihedrals() const;

  std::vector<Atom> atoms;
  TermList bonds{2};
  TermList impropers{4};
  TermList cmaps{4};

  // Many edits can follow each other before anybody reads these two lists, so they are made when
  // they are first read.
  mutable TermList angles{3};
  mutable TermList dihedrals{4};
  mutable bool derived_lists_stale = false;
};

}  // namespace orvane

#endif
