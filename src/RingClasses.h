// Which atoms lie in rings of five or six.
#ifndef RAVELO_RINGCLASSES_H
#define RAVELO_RINGCLASSES_H

#include <vector>

#include "TermList.h"

namespace orvane {

/// The ring class of each atom: 5 or 6 if the smallest ring that holds the atom has that many
/// members, else 0 (it lies in no ring, or the smallest one has 3, 4 or more than 6 members). The
/// same as the smallest cycle of `PDB::BuildCycles` that holds the atom gives, without making a
/// list of cycles.
///
/// Bonds may come in any order; one that is listed twice counts once, and one of an atom with
/// itself does not count. Takes, for each atom that is not on a chain end, time in proportion to
/// the number of bonds of the atoms at most two bonds away: in all, to the numbers of bonds, angles
/// and dihedrals. Ends the run where `EndIfTooManyTerms` does, so that crowded atoms cannot make
/// this long, and if a bond names an atom that is not there.
std::vector<int> FindRingClasses(int num_atoms, const TermList& bonds);

}  // namespace orvane

#endif
