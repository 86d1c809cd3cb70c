// Elements from symbols in any spelling, from columns 77 and 78, and from names.
#include "Elements.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane {
namespace {

std::vector<PeriodicTable::ElementInformation> ElementsOf(const std::vector<std::string>& symbols) {
  std::vector<PDB::Atom> atoms;
  for (const std::string& symbol : symbols) atoms.emplace_back().Element = symbol;
  return FindElements(atoms);
}

int NumberOf(const std::string& symbol) {
  return ElementsOf({symbol}).at(0).atomic_number;
}

TEST(Elements, AreFoundInTheOrderOfTheAtoms) {
  const auto elements = ElementsOf({"C", "H", "O", "Cl", "C"});
  ASSERT_EQ(elements.size(), 5u);
  EXPECT_EQ(elements[0].atomic_number, 6);
  EXPECT_EQ(elements[1].symbol, "H");
  EXPECT_EQ(elements[2].weight, 15.99903);
  EXPECT_EQ(elements[3].atomic_number, 17);
  EXPECT_EQ(elements[4].radius_single, 0.75);
  EXPECT_TRUE(FindElements({}).empty());
}

TEST(Elements, SymbolsInCapitalsOrSmallLettersAreUnderstood) {
  EXPECT_EQ(NumberOf("CL"), 17);
  EXPECT_EQ(NumberOf("cl"), 17);
  EXPECT_EQ(NumberOf("BR"), 35);
  EXPECT_EQ(NumberOf("zn"), 30);
  EXPECT_EQ(NumberOf("c"), 6);
}

TEST(Elements, TheSpellingOfTheTableComesFirst) {
  EXPECT_EQ(NumberOf("Co"), 27);
  EXPECT_EQ(NumberOf("CO"), 27);
  EXPECT_EQ(NumberOf("C"), 6);
}

TEST(Elements, DeuteriumIsHydrogen) {
  EXPECT_EQ(NumberOf("D"), 1);
  EXPECT_EQ(NumberOf("d"), 1);
  EXPECT_EQ(ElementsOf({"D"})[0].weight, 1.00784);
}

TEST(Elements, NumbersAndChargesAfterASymbolAreLeftOut) {
  EXPECT_EQ(NumberOf("C1"), 6);
  EXPECT_EQ(NumberOf("CL2"), 17);
  EXPECT_EQ(NumberOf("N1+"), 7);
}

int NumberOf(const std::string& element, const std::string& column77, const std::string& name) {
  PDB::Atom atom;
  atom.Element = element;
  atom.Column77 = column77;
  atom.Name = name;
  return FindElements({atom}).at(0).atomic_number;
}

TEST(Elements, ASegmentNameInPlaceOfTheElementGivesWayToColumn77) {
  EXPECT_EQ(NumberOf("AAAA", "CL", "CL1"), 17);
  EXPECT_EQ(NumberOf("A1", "N", "CL1"), 7);
  // The letters in front could be a symbol, and columns 77 and 78 still know better.
  EXPECT_EQ(NumberOf("P1", "O", "CL1"), 8);
  EXPECT_EQ(NumberOf("P1", "N1+", "CL1"), 7);
  EXPECT_EQ(NumberOf("P1", "D", "CL1"), 1);
}

TEST(Elements, FirstLettersServeWhereColumn77HasNoElement) {
  EXPECT_EQ(NumberOf("C1", "", "N1"), 6);
  EXPECT_EQ(NumberOf("CL1", "??", "N1"), 17);
  EXPECT_EQ(NumberOf("N1+", "2", "C1"), 7);
}

TEST(Elements, ASegmentNameInPlaceOfTheElementGivesWayToTheFirstLetterOfTheName) {
  EXPECT_EQ(NumberOf("AAAA", "", "C12"), 6);
  EXPECT_EQ(NumberOf("AAAA", "??", "1HB"), 1);
  EXPECT_EQ(NumberOf("1", "", "1HB"), 1);
  EXPECT_EQ(NumberOf("AAAA", "", ""), 0);
  EXPECT_EQ(NumberOf("AAAA", "", "'"), 0);
  // Shorter texts could be symbols that do not exist: nothing is made up for these.
  EXPECT_EQ(NumberOf("Qq", "", "C1"), 0);
}

TEST(Elements, AKnownElementWinsOverColumn77AndTheName) {
  EXPECT_EQ(NumberOf("O", "N", "C1"), 8);
  EXPECT_EQ(NumberOf("B", "N", "C1"), 5);
  EXPECT_EQ(NumberOf("CL", "N", "C1"), 17);
  EXPECT_EQ(NumberOf("D", "N", "C1"), 1);
}

TEST(Elements, AnUnknownElementIsThePlaceholderWhateverAtomComesBefore) {
  for (const char* symbol : {"", "Qq", "LP", "Og", "OG", " C", "1C", "\xC3\xA4"}) {
    const auto elements = ElementsOf({symbol, "Fe", symbol});
    for (const std::size_t i : {0u, 2u}) {
      EXPECT_EQ(elements[i].atomic_number, 0) << symbol;
      EXPECT_EQ(elements[i].symbol, "X") << symbol;
      EXPECT_EQ(elements[i].radius_single, 0.0) << symbol;
      EXPECT_EQ(elements[i].weight, 0.0) << symbol;
    }
  }
}

}  // namespace
}  // namespace orvane
