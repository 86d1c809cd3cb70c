// The rule by which two atoms are bonded.
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
  std::vector<PeriodicTable::ElementInformation> elements;
  for (const std::string& symbol : symbols) {
    PeriodicTable::GetElementInformation(symbol, elements.emplace_back());
  }
  return elements;
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
