// The bond search against a loop over all pairs, for atoms in all kinds of places.
#include "BondSearch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "PeriodicTable.h"
#include "PlainPatching.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AsLists;
using testing_support::MessageOf;

using Coords = std::vector<Vec3D>;
using Radii = std::vector<BondRadii>;
using Lists = std::vector<std::vector<int>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

BondRadii RadiiOf(int element) {
  return {PeriodicTable::ElementCovalentRadii_I[element],
          PeriodicTable::ElementCovalentRadii_II[element],
          PeriodicTable::ElementCovalentRadii_III[element]};
}

const BondRadii kHydrogen = RadiiOf(1);
const BondRadii kCarbon = RadiiOf(6);
const BondRadii kNeon = RadiiOf(10);
const BondRadii kCaesium = RadiiOf(55);
const BondRadii kNone;

TermList Found(const Coords& coords, const Radii& radii) {
  TermList bonds(2);
  bonds.assign_flat({7, 7});
  FindBonds(coords, radii, bonds);
  return bonds;
}

TermList Plain(const Coords& coords, const Radii& radii) {
  TermList bonds(2);
  const int size = static_cast<int>(coords.size());
  for (int i = 0; i < size; ++i) {
    for (int j = i + 1; j < size; ++j) {
      if (AreBonded(radii[i], radii[j], Length(coords[i] - coords[j]))) bonds.push_back({i, j});
    }
  }
  return bonds;
}

class Randomness {
 public:
  explicit Randomness(unsigned seed) : engine_(seed) {}

  int Below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  double Between(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  Vec3D Point(double edge) { return {Between(0.0, edge), Between(0.0, edge), Between(0.0, edge)}; }

 private:
  std::mt19937 engine_;
};

TEST(BondSearch, NothingHasNoBonds) {
  EXPECT_EQ(AsLists(Found({}, {})), Lists{});
  EXPECT_EQ(AsLists(Found({{1.0, 2.0, 3.0}}, {kCarbon})), Lists{});
}

TEST(BondSearch, BondsAreSortedWithTheSmallerIndexFirst) {
  EXPECT_EQ(AsLists(Found({{3.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {1.5, 0.0, 0.0}, {1.5, 1.5, 0.0}},
                          {kCarbon, kCarbon, kCarbon, kCarbon})),
            (Lists{{0, 2}, {1, 2}, {2, 3}}));
}

TEST(BondSearch, APairAtExactlyTheLimitIsNotBonded) {
  const double limit = 1.1 * (0.75 + 0.75);
  const auto number_of_bonds = [](double distance) {
    return Found({{0.0, 0.0, 0.0}, {0.0, 0.0, distance}}, {kCarbon, kCarbon}).size();
  };
  EXPECT_EQ(number_of_bonds(limit), 0u);
  EXPECT_EQ(number_of_bonds(std::nextafter(limit, 0.0)), 1u);
  EXPECT_EQ(number_of_bonds(0.0), 1u);
}

TEST(BondSearch, EachKindOfRadiusCanDecide) {
  // Neon bonds by its double-bond radius, which is larger than the first.
  EXPECT_EQ(Found({{0.0, 0.0, 0.0}, {1.9, 0.0, 0.0}}, {kNeon, kNeon}).size(), 1u);
  EXPECT_EQ(Found({{0.0, 0.0, 0.0}, {2.0, 0.0, 0.0}}, {kNeon, kNeon}).size(), 0u);
  const BondRadii triple{0.1, 0.1, 2.0};
  EXPECT_EQ(Found({{0.0, 0.0, 0.0}, {4.1, 0.0, 0.0}}, {triple, triple}).size(), 1u);
}

TEST(BondSearch, AtomsWithoutRadiiBondOnlyToOthers) {
  EXPECT_EQ(AsLists(Found({{0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.8, 0.0, 0.0}, {0.0, 0.83, 0.0}},
                          {kNone, kNone, kCarbon, kCarbon})),
            (Lists{{0, 2}, {1, 2}, {2, 3}}));
  EXPECT_EQ(Found(Coords(1000), Radii(1000, kNone)).size(), 0u);
}

TEST(BondSearch, AtomsAtPlacesThatAreNoNumbersHaveNoBonds) {
  const Coords coords = {{0.0, 0.0, 0.0},       {kNaN, 0.0, 0.0},      {kNaN, 0.0, 0.0},
                         {0.0, kInfinity, 0.0}, {0.0, kInfinity, 0.0}, {0.0, 0.0, -kInfinity},
                         {0.0, 1.0, 0.0},       {0.0, 0.0, kNaN},      {1.7e308, -1.7e308, 0.0},
                         {-1.7e308, 0.0, 0.0}};
  const Radii radii(coords.size(), kCarbon);
  EXPECT_EQ(AsLists(Found(coords, radii)), (Lists{{0, 6}}));
  EXPECT_EQ(Found(coords, radii), Plain(coords, radii));
}

TEST(BondSearch, HugeCoordinatesAreComparedLikeAnyOthers) {
  Randomness random(5);
  for (const double offset : {1e5, 1e9, 1e12, 1e15, 9.007e15, 1e17, 1e100, 1e300, -1e15}) {
    Coords coords;
    for (int i = 0; i < 200; ++i) {
      const Vec3D point = random.Point(6.0);
      coords.push_back(i % 2 == 0 ? Vec3D(point.x + offset, point.y - offset, point.z)
                                  : Vec3D(point.x + offset, point.y, point.z + offset));
    }
    const Radii radii(coords.size(), kCarbon);
    ASSERT_EQ(Found(coords, radii), Plain(coords, radii)) << offset;
  }
}

TEST(BondSearch, TinyRadiiAndDistancesAreComparedLikeAnyOthers) {
  Randomness random(6);
  const std::vector<double> sizes = {1.0, 1e-3, 1e-90, 1e-155, 1e-200, 1e-320};
  for (const double size : sizes) {
    Coords coords;
    Radii radii;
    for (int i = 0; i < 200; ++i) {
      coords.push_back(random.Point(6.0) * size);
      const double radius = sizes[random.Below(static_cast<int>(sizes.size()))];
      radii.push_back({radius, 0.0, random.Below(2) == 0 ? radius : 0.0});
    }
    ASSERT_EQ(Found(coords, radii), Plain(coords, radii)) << size;
  }
}

TEST(BondSearch, DistancesNextToTheLimitAreFoundAnywhere) {
  // Pairs along each axis, as far apart as the last bits decide, at places where the cuts can fall
  // between them in every way.
  Randomness random(7);
  const double limit = 1.1 * (0.75 + 0.75);
  for (int round = 0; round < 300; ++round) {
    Coords coords;
    double Vec3D::*const axis =
        std::vector<double Vec3D::*>{&Vec3D::x, &Vec3D::y, &Vec3D::z}[random.Below(3)];
    const double step = random.Below(2) == 0 ? limit : std::nextafter(limit, 0.0);
    double value = random.Between(-100.0, 100.0);
    for (int i = 0; i < 40; ++i) {
      Vec3D point = random.Below(3) == 0 ? random.Point(1e-8) : Vec3D();
      point.*axis = value;
      coords.push_back(point);
      value += random.Below(4) == 0 ? random.Between(0.0, limit) : step;
    }
    const Radii radii(coords.size(), kCarbon);
    ASSERT_EQ(Found(coords, radii), Plain(coords, radii)) << round;
  }
}

TEST(BondSearch, RandomAtomsOfAllSizesAndDensitiesGetTheBondsOfTheLoopOverAllPairs) {
  Randomness random(8);
  std::size_t bonds = 0;
  for (int round = 0; round < 400; ++round) {
    const int size = random.Below(250);
    const double edge = std::exp(random.Between(-1.0, 5.0));
    const int lumps = 1 + random.Below(4);
    std::vector<Vec3D> centres;
    for (int i = 0; i < lumps; ++i) centres.push_back(random.Point(30.0));
    const int kinds = 1 + random.Below(118);
    Coords coords;
    Radii radii;
    for (int i = 0; i < size; ++i) {
      const Vec3D point = random.Point(edge);
      coords.push_back(round % 3 == 0 ? point : point + centres[random.Below(lumps)]);
      if (round % 5 == 0 && i > 0 && random.Below(3) == 0) coords.back() = coords[random.Below(i)];
      radii.push_back(RadiiOf(random.Below(kinds + 1)));
    }
    const TermList plain = Plain(coords, radii);
    bonds += plain.size();
    ASSERT_EQ(Found(coords, radii), plain) << round;
  }
  EXPECT_GT(bonds, 10000u);
}

TEST(BondSearch, PointsOnAGridOfRepeatedCoordinatesGetTheBondsOfTheLoopOverAllPairs) {
  Randomness random(9);
  for (int round = 0; round < 50; ++round) {
    Coords coords;
    Radii radii;
    const double spacing = random.Between(0.3, 2.0);
    for (int i = 0; i < 300; ++i) {
      coords.push_back(Vec3D(random.Below(7), random.Below(7), random.Below(7)) * spacing);
      radii.push_back(std::vector<BondRadii>{kHydrogen, kCarbon, kCaesium, kNone}[random.Below(4)]);
    }
    ASSERT_EQ(Found(coords, radii), Plain(coords, radii)) << round;
  }
}

TEST(BondSearch, AHundredThousandAtomsOfALatticeGetTheirNeighbours) {
  const int edge = 47;
  Coords coords;
  for (int i = 0; i < edge * edge * edge; ++i) {
    coords.push_back(Vec3D(i % edge, i / edge % edge, i / edge / edge) * 1.5);
  }
  const TermList bonds = Found(coords, Radii(coords.size(), kCarbon));
  EXPECT_EQ(bonds.size(), static_cast<std::size_t>(3 * edge * edge * (edge - 1)));
  EXPECT_EQ(AsLists(bonds)[2], (std::vector<int>{0, edge * edge}));
}

TEST(BondSearch, OneLargeAtomDoesNotMakeManyAtomsOnOneSpotSlow) {
  // Compared with each other, they would take hours.
  Coords coords(400'000);
  Radii radii(coords.size(), kNone);
  coords.push_back({50.0, 0.0, 0.0});
  radii.push_back(kCaesium);
  coords.push_back({0.5, 0.0, 0.0});
  radii.push_back(kHydrogen);
  EXPECT_EQ(Found(coords, radii).size(), 0u);
  coords.back() = {0.3, 0.0, 0.0};
  EXPECT_EQ(Found(coords, radii).size(), 400'000u);
}

TEST(BondSearch, FarMoreBondsThanAnyMoleculeHasEndTheRun) {
  const Coords coords(6000);
  const Radii radii(coords.size(), kCarbon);
  EXPECT_EQ(MessageOf([&] { Found(coords, radii); }),
            "Error occurs: There are more than 10600000 bonds among 6000 atoms: too many atoms lie "
            "on one spot.");
  const std::size_t bonds = Found(Coords(1000), Radii(1000, kCarbon)).size();
  EXPECT_EQ(bonds, 1000u * 999u / 2u);
}

}  // namespace
}  // namespace orvane
