// All bonds among a set of atoms, from their distances.
#ifndef RAVELO_BONDSEARCH_H
#define RAVELO_BONDSEARCH_H

#include <vector>

#include "BondRule.h"
#include "TermList.h"
#include "Vec3D.h"

namespace orvane {

/// Finds every pair of atoms that `AreBonded` at the length of the difference of their coordinates
/// (in Angstrom), each once as {smaller index, larger index}, sorted by the first atom and then by
/// the second: what a loop over all pairs finds. `bonds` is emptied before. An atom with a
/// coordinate that is not a finite number has no bonds.
///
/// `radii` has one entry per atom, all finite and none negative. Takes time in proportion to the
/// number of atoms (apart from sorting them), wherever they lie and however unequal their radii
/// are, and to the number of bonds. Ends the run with a message where these are more than ten
/// million and a hundred per atom, which takes thousands of atoms on one spot.
void FindBonds(const std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
               TermList& bonds);

}  // namespace orvane

#endif
