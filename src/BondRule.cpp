// Radii for the rule on bonds, and how far it reaches.
#include "BondRule.h"

#include <algorithm>

namespace orvane {

std::vector<BondRadii> FindBondRadii(
    const std::vector<PeriodicTable::ElementInformation>& elements) {
  std::vector<BondRadii> radii;
  radii.reserve(elements.size());
  for (const PeriodicTable::ElementInformation& element : elements) {
    radii.push_back({element.radius_single, element.radius_double, element.radius_triple});
  }
  return radii;
}

double LongestBond(const std::vector<BondRadii>& radii) {
  BondRadii largest;
  for (const BondRadii& atom : radii) {
    largest.single_bond = std::max(largest.single_bond, atom.single_bond);
    largest.double_bond = std::max(largest.double_bond, atom.double_bond);
    largest.triple_bond = std::max(largest.triple_bond, atom.triple_bond);
  }
  return BondLimit(largest, largest);
}

}  // namespace orvane
