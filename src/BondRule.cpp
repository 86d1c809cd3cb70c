#include "BondRule.h"

#include <algorithm>
#include <cctype>

namespace orvane {
namespace {

// "CL" and "cl" as "Cl".
std::string Capitalised(const std::string& symbol) {
  std::string result = symbol;
  for (std::size_t i = 0; i < result.size(); ++i) {
    const auto letter = static_cast<unsigned char>(result[i]);
    result[i] = static_cast<char>(i == 0 ? std::toupper(letter) : std::tolower(letter));
  }
  return result;
}

PeriodicTable::ElementInformation FindElement(const std::string& symbol) {
  PeriodicTable::ElementInformation info;
  PeriodicTable::GetElementInformation(0, info);
  if (PeriodicTable::GetElementInformation(symbol, info) != PeriodicTable::UnknownElement) {
    return info;
  }
  const std::string capitalised = Capitalised(symbol);
  PeriodicTable::GetElementInformation(capitalised == "D" ? "H" : capitalised, info);
  return info;
}

}  // namespace

std::vector<PeriodicTable::ElementInformation> FindElements(const std::vector<PDB::Atom>& atoms) {
  std::vector<PeriodicTable::ElementInformation> elements;
  elements.reserve(atoms.size());
  for (const PDB::Atom& atom : atoms) elements.push_back(FindElement(atom.Element));
  return elements;
}

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
  return std::max({1.1 * (2.0 * largest.single_bond), 1.04 * (2.0 * largest.double_bond),
                   1.04 * (2.0 * largest.triple_bond)});
}

}  // namespace orvane
