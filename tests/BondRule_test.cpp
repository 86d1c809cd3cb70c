// The element of an atom, and the rule by which two atoms are bonded.
#include "BondRule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
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

BondRadii RadiiOf(const std::string& symbol) {
  return FindBondRadii(ElementsOf({symbol})).at(0);
}

bool Bonded(const std::string& a, const std::string& b, double distance) {
  return AreBonded(RadiiOf(a), RadiiOf(b), distance);
}

// Holds for a distance just below the limit and for none at or above it.
void ExpectLimit(const std::string& a, const std::string& b, double limit) {
  EXPECT_TRUE(Bonded(a, b, std::nextafter(limit, 0.0))) << a << b;
  EXPECT_TRUE(Bonded(b, a, std::nextafter(limit, 0.0))) << a << b;
  EXPECT_FALSE(Bonded(a, b, limit)) << a << b;
  EXPECT_FALSE(Bonded(b, a, limit)) << a << b;
}

TEST(BondRule, ElementsAreFoundInTheOrderOfTheAtoms) {
  const auto elements = ElementsOf({"C", "H", "O", "Cl", "C"});
  ASSERT_EQ(elements.size(), 5u);
  EXPECT_EQ(elements[0].atomic_number, 6);
  EXPECT_EQ(elements[1].symbol, "H");
  EXPECT_EQ(elements[2].weight, 15.99903);
  EXPECT_EQ(elements[3].atomic_number, 17);
  EXPECT_EQ(elements[4].radius_single, 0.75);
  EXPECT_TRUE(FindElements({}).empty());
}

TEST(BondRule, SymbolsInCapitalsOrSmallLettersAreUnderstood) {
  EXPECT_EQ(NumberOf("CL"), 17);
  EXPECT_EQ(NumberOf("cl"), 17);
  EXPECT_EQ(NumberOf("BR"), 35);
  EXPECT_EQ(NumberOf("zn"), 30);
  EXPECT_EQ(NumberOf("c"), 6);
}

TEST(BondRule, TheSpellingOfTheTableComesFirst) {
  EXPECT_EQ(NumberOf("Co"), 27);
  EXPECT_EQ(NumberOf("CO"), 27);
  EXPECT_EQ(NumberOf("C"), 6);
}

TEST(BondRule, DeuteriumIsHydrogen) {
  EXPECT_EQ(NumberOf("D"), 1);
  EXPECT_EQ(NumberOf("d"), 1);
  EXPECT_EQ(ElementsOf({"D"})[0].weight, 1.00784);
}

TEST(BondRule, NumbersAndChargesBehindASymbolAreLeftOut) {
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

TEST(BondRule, ASegmentNameInPlaceOfTheElementGivesWayToColumn77) {
  EXPECT_EQ(NumberOf("AAAA", "CL", "CL1"), 17);
  EXPECT_EQ(NumberOf("A1", "N", "CL1"), 7);
  // The letters in front could be a symbol, and columns 77 and 78 still know better.
  EXPECT_EQ(NumberOf("P1", "O", "CL1"), 8);
  EXPECT_EQ(NumberOf("P1", "N1+", "CL1"), 7);
  EXPECT_EQ(NumberOf("P1", "D", "CL1"), 1);
}

TEST(BondRule, FirstLettersServeWhereColumn77HasNoElement) {
  EXPECT_EQ(NumberOf("C1", "", "N1"), 6);
  EXPECT_EQ(NumberOf("CL1", "??", "N1"), 17);
  EXPECT_EQ(NumberOf("N1+", "2", "C1"), 7);
}

TEST(BondRule, ASegmentNameInPlaceOfTheElementGivesWayToTheFirstLetterOfTheName) {
  EXPECT_EQ(NumberOf("AAAA", "", "C12"), 6);
  EXPECT_EQ(NumberOf("AAAA", "??", "1HB"), 1);
  EXPECT_EQ(NumberOf("1", "", "1HB"), 1);
  EXPECT_EQ(NumberOf("AAAA", "", ""), 0);
  EXPECT_EQ(NumberOf("AAAA", "", "'"), 0);
  // Shorter texts could be symbols that do not exist: nothing is made up for these.
  EXPECT_EQ(NumberOf("Qq", "", "C1"), 0);
}

TEST(BondRule, AKnownElementWinsOverColumn77AndTheName) {
  EXPECT_EQ(NumberOf("O", "N", "C1"), 8);
  EXPECT_EQ(NumberOf("B", "N", "C1"), 5);
  EXPECT_EQ(NumberOf("CL", "N", "C1"), 17);
  EXPECT_EQ(NumberOf("D", "N", "C1"), 1);
}

TEST(BondRule, AnUnknownElementIsThePlaceholderWhateverAtomComesBefore) {
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

TEST(BondRule, RadiiAreThoseOfTheThreeKindsOfBonds) {
  const BondRadii carbon = RadiiOf("C");
  EXPECT_EQ(carbon.single_bond, 0.75);
  EXPECT_EQ(carbon.double_bond, 0.67);
  EXPECT_EQ(carbon.triple_bond, 0.6);
  EXPECT_EQ(FindBondRadii(ElementsOf({"H", "O"})).at(1).single_bond, 0.63);
}

TEST(BondRule, SingleBondRadiiDecideForTheCommonElements) {
  ExpectLimit("H", "H", 1.1 * (0.32 + 0.32));
  ExpectLimit("C", "H", 1.1 * (0.75 + 0.32));
  ExpectLimit("C", "C", 1.1 * (0.75 + 0.75));
  ExpectLimit("C", "N", 1.1 * (0.75 + 0.71));
  ExpectLimit("C", "O", 1.1 * (0.75 + 0.63));
  ExpectLimit("O", "H", 1.1 * (0.63 + 0.32));
}

TEST(BondRule, LargeRadiiOfDoubleOrTripleBondsReachFurther) {
  ExpectLimit("Ne", "Ne", 1.04 * (0.96 + 0.96));
  ExpectLimit("Cu", "Cu", 1.04 * (1.2 + 1.2));
}

TEST(BondRule, AtomsOnTopOfEachOtherAreBonded) {
  EXPECT_TRUE(Bonded("H", "H", 0.0));
  EXPECT_TRUE(Bonded("Fe", "C", 0.0));
}

TEST(BondRule, TwoUnknownAtomsAreNeverBonded) {
  EXPECT_FALSE(Bonded("Qq", "Qq", 0.0));
}

TEST(BondRule, AnUnknownAtomIsAPointThatTheRadiusOfTheOtherMustReach) {
  ExpectLimit("Qq", "C", 1.1 * (0.0 + 0.75));
}

TEST(BondRule, DistancesThatAreNoNumberOrInfiniteMakeNoBond) {
  EXPECT_FALSE(Bonded("Cs", "Cs", std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(Bonded("Cs", "Cs", -std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(Bonded("Cs", "Cs", std::numeric_limits<double>::infinity()));
}

TEST(BondRule, NoTwoAtomsAreBondedAtTheLongestBond) {
  std::mt19937 engine(4);
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> symbols;
    const std::size_t size = 1 + engine() % 5;
    while (symbols.size() < size) symbols.push_back(PeriodicTable::ElementSymbols[engine() % 119]);
    const std::vector<BondRadii> radii = FindBondRadii(ElementsOf(symbols));
    const double longest = LongestBond(radii);
    bool reached = longest == 0.0;
    for (const BondRadii& a : radii) {
      for (const BondRadii& b : radii) {
        EXPECT_FALSE(AreBonded(a, b, longest));
        if (AreBonded(a, b, std::nextafter(longest, 0.0))) reached = true;
      }
    }
    EXPECT_TRUE(reached);  // by two atoms of the element with the largest radius
  }
}

TEST(BondRule, TheLongestBondOfNothingIsZero) {
  EXPECT_EQ(LongestBond({}), 0.0);
  EXPECT_EQ(LongestBond(FindBondRadii(ElementsOf({"Qq", "X"}))), 0.0);
}

}  // namespace
}  // namespace orvane
