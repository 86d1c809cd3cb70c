// The element of each atom, from what its file says of it.
#ifndef RAVELO_ELEMENTS_H
#define RAVELO_ELEMENTS_H

#include <vector>

#include "PDB.h"
#include "PeriodicTable.h"

namespace orvane {

/// The element record of each atom, in atom order. Where the periodic table does not spell an
/// atom's `Element` this way, these are tried in turn: its letters with a capital first one only
/// (the PDB reader hands over "CL" for chlorine), with "D" as hydrogen, if it is all letters;
/// columns 77 and 78 of a PDB file in the same way, with a charge behind the letters; the first
/// letters of `Element` ("C1"); and, if `Element` can be no symbol (three characters or more, as a
/// segment name has, or a digit in front), the first letter of the atom's name. An atom whose
/// element is still unknown gets the placeholder record of number 0 with all its values zero: it
/// has no known type, and no bonds unless another atom is nearer than 1.1 times that one's radius.
std::vector<PeriodicTable::ElementInformation> FindElements(const std::vector<PDB::Atom>& atoms);

}  // namespace orvane

#endif
