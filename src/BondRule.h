// When two atoms count as bonded: a rule on their distance alone.
#ifndef RAVELO_BONDRULE_H
#define RAVELO_BONDRULE_H

#include <algorithm>
#include <vector>

#include "PeriodicTable.h"

namespace orvane {

/// The covalent radii that decide on an atom's bonds, in Angstrom.
struct BondRadii {
  double single_bond = 0.0;
  double double_bond = 0.0;
  double triple_bond = 0.0;
};

/// The radii of each element record, in their order.
std::vector<BondRadii> FindBondRadii(
    const std::vector<PeriodicTable::ElementInformation>& elements);

/// The distance, in Angstrom, below which two atoms are bonded: the largest of 1.1 times the sum of
/// their single-bond radii and 1.04 times that of their double-bond and of their triple-bond radii.
inline double BondLimit(const BondRadii& a, const BondRadii& b) {
  return std::max({1.1 * (a.single_bond + b.single_bond), 1.04 * (a.double_bond + b.double_bond),
                   1.04 * (a.triple_bond + b.triple_bond)});
}

/// Whether two atoms at a distance (in Angstrom) are bonded. False for a distance that is not a
/// number.
inline bool AreBonded(const BondRadii& a, const BondRadii& b, double distance) {
  return BondLimit(a, b) > distance;
}

/// A distance at and beyond which no two of these atoms are bonded; 0 for none.
double LongestBond(const std::vector<BondRadii>& radii);

}  // namespace orvane

#endif
