// The force-field view of a molecule: atoms with type, charge and mass, and the terms between them.
#ifndef RAVELO_MOLECULARMECHANICSTOPOLOGY_H
#define RAVELO_MOLECULARMECHANICSTOPOLOGY_H

#include <string>
#include <vector>

#include "TermList.h"

namespace orvane {

/// Atoms, bonds, angles, dihedrals, impropers and cross-terms of a molecule. All indices are
/// 0-based positions in `atoms`; they count from 1 in the PSF file only. Bonds, impropers and
/// cross-terms are given; angles and dihedrals always follow from the bonds (or, after
/// `LoadFromPSF`, stand as the file has them until the next `Build` or `Merge`).
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
  /// the implementation. Linear in the number of terms.
  void BuildAnglesAndDihedrals();

  /// Appends `copies` copies of `other`; with several, their residue numbers count the copies from
  /// 1 (and begin again behind 9999). Angles and dihedrals of the whole are made anew, also where
  /// `copies` is 0. Ends the run if a bond of either names an atom that is not there.
  void Merge(const MolecularMechanicsTopology& other, int copies);

  /// Sum of the charges, from the first atom to the last.
  double GetTotalCharge() const;

  const std::vector<Atom>& GetAtoms() const { return atoms; }
  const TermList& GetBonds() const { return bonds; }
  const TermList& GetAngles() const;
  const TermList& GetDihedrals() const;
  const TermList& GetImpropers() const { return impropers; }

  /// Cross-terms as halves of four atoms: one term of the force field is two entries in a row.
  const TermList& GetCmaps() const { return cmaps; }

  /// Writes a PSF file in the EXT form. Ends the run if it cannot be opened.
  void WritePSF(const std::string& filename) const;

  /// Replaces everything by what a PSF file holds. The sections are read by position, not by label:
  /// titles, atoms, bonds, angles, dihedrals, impropers, cross-terms; what follows is not read.
  /// Ends the run with a message where the file is malformed. Indices are not compared with the
  /// number of atoms.
  void LoadFromPSF(const std::string& filename);

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
