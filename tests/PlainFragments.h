// The placing of a cell's molecules as one would write it first: every atom is tested against every
// other one at each move, and each centre is a sum over all atoms. What the program's own way is
// held against.
#ifndef RAVELO_TESTS_PLAINFRAGMENTS_H
#define RAVELO_TESTS_PLAINFRAGMENTS_H

#include <optional>
#include <string>
#include <vector>

#include "BondRule.h"
#include "ImageContacts.h"
#include "PDB.h"

namespace orvane::testing_support {

/// Joins the atoms of a cell by lattice moves; the number of sweeps, or none if the last of the
/// allowed ones still moved an atom.
std::optional<int> StitchPlainly(std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
                                 const LatticeVectors& lattice, int most_sweeps);

/// Moves the fragments of a molecule close to the first one; the line to be printed.
std::string MoveFragmentsPlainly(PDB& molecule, const LatticeVectors& lattice);

/// Whether all coordinates are the same to the last bit.
bool AreSameCoords(const std::vector<Vec3D>& a, const std::vector<Vec3D>& b);

}  // namespace orvane::testing_support

#endif
