// Puts molecules together again that the faces of a periodic cell have cut.
#ifndef RAVELO_PERIODICSTITCHING_H
#define RAVELO_PERIODICSTITCHING_H

#include <vector>

#include "BondRule.h"
#include "ImageContacts.h"
#include "Vec3D.h"

namespace orvane {

/// How sweeps over the atoms of a cell come to an end.
enum class StitchingEnd {
  NothingMoves,  ///< The last sweep moved no atom.
  MovesForEver,  ///< It is proved that every further sweep would move atoms.
  SweepsRunOut,  ///< Atoms still move after far more sweeps than any cell is known to need.
};

/// Sweeps over the atoms in their order, again and again as long as a sweep moves any. Each atom
/// tries the moves t1, t2, t3, -t1, -t2, -t3 one after the other, and makes each that takes it from
/// where it is then to a place that is bonded to another atom, whether it has been bonded before or
/// not. Coordinates and vectors are in Angstrom; `radii` has one entry per atom.
///
/// A sweep takes time in proportion to the number of atoms, and one that follows another in
/// proportion to the number of those whose surroundings have changed.
StitchingEnd StitchFragments(std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
                             const LatticeVectors& lattice);

}  // namespace orvane

#endif
