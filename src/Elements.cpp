// The element of an atom from the texts of its file: symbols in any spelling, names, segment names.
#include "Elements.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace orvane {

namespace {

bool IsLetter(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

bool IsAllLetters(const std::string& text) {
  return std::all_of(text.begin(), text.end(), IsLetter);
}

// "CL", "cl" and "CL2" as "Cl": what follows the first letters is a number or a charge.
std::string Capitalised(const std::string& symbol) {
  std::string result;
  for (const char letter : symbol) {
    if (!IsLetter(letter)) break;
    const auto code = static_cast<unsigned char>(letter);
    result += static_cast<char>(result.empty() ? std::toupper(code) : std::tolower(code));
  }
  return result;
}

// The first letter of an atom's name, like "H" of "1HB".
std::string FirstLetter(const std::string& name) {
  const auto letter = std::find_if(name.begin(), name.end(), IsLetter);
  return letter == name.end() ? std::string() : std::string(1, *letter);
}

// Whether a text is too long for a symbol, like the segment names that old PDB files have in the
// columns of the element, or begins otherwise, like the element "1" that is made of a name "1HB".
bool IsNoSymbol(const std::string& text) {
  constexpr std::size_t kLongestSymbol = 2;
  return text.size() > kLongestSymbol || (!text.empty() && !IsLetter(text.front()));
}

bool Find(const std::string& symbol, PeriodicTable::ElementInformation& info) {
  return PeriodicTable::GetElementInformation(symbol, info) != PeriodicTable::UnknownElement;
}

bool FindCapitalised(const std::string& text, PeriodicTable::ElementInformation& info) {
  const std::string symbol = Capitalised(text);
  return Find(symbol == "D" ? "H" : symbol, info);
}

// Columns 77 and 78 come before the first letters of an `Element` like "P1", which may be the name
// of a segment.
PeriodicTable::ElementInformation FindElement(const PDB::Atom& atom) {
  PeriodicTable::ElementInformation info;
  if (Find(atom.Element, info) ||
      (IsAllLetters(atom.Element) && FindCapitalised(atom.Element, info)) ||
      FindCapitalised(atom.Column77, info) || FindCapitalised(atom.Element, info) ||
      (IsNoSymbol(atom.Element) && FindCapitalised(FirstLetter(atom.Name), info))) {
    return info;
  }
  PeriodicTable::GetElementInformation(0, info);
  return info;
}

}  // namespace

std::vector<PeriodicTable::ElementInformation> FindElements(const std::vector<PDB::Atom>& atoms) {
  std::vector<PeriodicTable::ElementInformation> elements;
  elements.reserve(atoms.size());
  for (const PDB::Atom& atom : atoms) elements.push_back(FindElement(atom));
  return elements;
}

}  // namespace orvane
