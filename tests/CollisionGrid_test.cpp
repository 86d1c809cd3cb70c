// Collisions with a set of points, found through the grid, against the comparison of all pairs.
#include "CollisionGrid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace orvane {
namespace {

using Points = std::vector<Vec3D>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool PlainCollides(const Points& points, const Vec3D& point) {
  for (const Vec3D& other : points) {
    const Vec3D r = other - point;
    if (r.x * r.x + r.y * r.y + r.z * r.z < 4.0) return true;
  }
  return false;
}

// Compares all tests and returns how many were collisions.
int ExpectSameAsPlain(const Points& points, const Points& tests) {
  const CollisionGrid grid(points);
  int collisions = 0;
  for (const Vec3D& test : tests) {
    const bool expected = PlainCollides(points, test);
    EXPECT_EQ(grid.Collides(test), expected) << test.x << " " << test.y << " " << test.z;
    collisions += expected;
  }
  return collisions;
}

Points RandomPoints(int count, double extent, const Vec3D& center, std::mt19937_64& random) {
  std::uniform_real_distribution<double> place(-extent, extent);
  Points points;
  for (int i = 0; i < count; ++i) {
    const double x = place(random);
    const double y = place(random);
    const double z = place(random);
    points.push_back(center + Vec3D(x, y, z));
  }
  return points;
}

TEST(CollisionGrid, ADistanceOfTwoIsNoCollision) {
  const CollisionGrid grid(Points{Vec3D(1.0, 0.0, 0.0)});
  EXPECT_FALSE(grid.Collides(Vec3D(3.0, 0.0, 0.0)));
  EXPECT_TRUE(grid.Collides(Vec3D(std::nextafter(3.0, 0.0), 0.0, 0.0)));
  EXPECT_FALSE(grid.Collides(Vec3D(-1.0, 0.0, 0.0)));
  EXPECT_TRUE(grid.Collides(Vec3D(-1.0 + 1e-15, 0.0, 0.0)));
  EXPECT_TRUE(grid.Collides(Vec3D(1.0, 0.0, 0.0)));
  // A difference that is below two, but not as computed.
  EXPECT_FALSE(grid.Collides(Vec3D(std::nextafter(-1.0, 0.0), 0.0, 0.0)));
  EXPECT_FALSE(Collide(Vec3D(2.0, 0.0, 0.0), Vec3D(0.0, 1e-20, 0.0)));
  EXPECT_TRUE(Collide(Vec3D(1.2, 1.5999999, 0.0), Vec3D()));
}

TEST(CollisionGrid, NothingCollidesWithNoPoints) {
  const CollisionGrid grid(Points{});
  EXPECT_FALSE(grid.Collides(Vec3D()));
  EXPECT_FALSE(grid.Collides(Vec3D(kInfinity, 0.0, 0.0)));
  EXPECT_FALSE(grid.Collides(Vec3D(-kInfinity, kNaN, 0.0)));
}

TEST(CollisionGrid, WhatIsNoNumberCollidesWithNothing) {
  const Points points = {Vec3D(kNaN, 0, 0), Vec3D(0, kInfinity, 0), Vec3D(0, 0, -kInfinity),
                         Vec3D(1, 2, 3)};
  Points tests = {Vec3D(0, 0, 0), Vec3D(1, 2, 4), Vec3D(1, kNaN, 3),
                  Vec3D(kInfinity, kInfinity, kInfinity), Vec3D(1, -kInfinity, 3)};
  for (const Vec3D& point : points) tests.push_back(point);
  EXPECT_EQ(ExpectSameAsPlain(points, tests), 2);
}

TEST(CollisionGrid, AgreesWithAllPairsAmongRandomPoints) {
  std::mt19937_64 random(1);
  int collisions = 0;
  for (const double extent : {1.0, 3.0, 8.0, 25.0}) {
    for (const int count : {1, 2, 30, 600}) {
      const Vec3D center = RandomPoints(1, 100.0, Vec3D(), random)[0];
      const Points points = RandomPoints(count, extent, center, random);
      collisions +=
          ExpectSameAsPlain(points, RandomPoints(500, extent * 1.5 + 2.0, center, random));
    }
  }
  EXPECT_GT(collisions, 500);
}

TEST(CollisionGrid, AgreesWithAllPairsAroundTheLimit) {
  // Distances of two, give or take the last digits, in random directions and along the axes.
  std::mt19937_64 random(2);
  std::uniform_int_distribution<int> steps(-3, 3);
  int collisions = 0;
  int tests = 0;
  for (const double far : {0.0, 1.0, 1e3, 1e7, 1e12, 1e14}) {
    const Points points = RandomPoints(40, 30.0, Vec3D(far, -far, far / 3.0), random);
    Points near;
    for (const Vec3D& point : points) {
      for (int i = 0; i < 20; ++i) {
        Vec3D direction = RandomPoints(1, 1.0, Vec3D(), random)[0];
        if (i % 4 == 0) direction = Vec3D(i % 8 == 0 ? 1.0 : -1.0, 0.0, 0.0);
        if (i % 4 == 1) direction = Vec3D(0.0, 0.0, i % 8 == 1 ? 1.0 : -1.0);
        Vec3D test = point + Unit(direction) * 2.0;
        const int ulps = steps(random);
        for (int u = 0; u < std::abs(ulps); ++u) test.x = std::nextafter(test.x, ulps * kInfinity);
        near.push_back(test);
      }
    }
    collisions += ExpectSameAsPlain(points, near);
    tests += static_cast<int>(near.size());
  }
  EXPECT_GT(collisions, tests / 5);
  EXPECT_LT(collisions, tests * 4 / 5);
}

TEST(CollisionGrid, AgreesWithAllPairsWhereNumbersAreCoarse) {
  // Neighbouring numbers are a fraction of the limit apart, or several times the limit.
  std::mt19937_64 random(3);
  int collisions = 0;
  for (const double far : {1e15, 9e15, 2e16, 1e17, 1e18, 1e19, 1e25, 1e300}) {
    const Points points = RandomPoints(60, 20.0, Vec3D(far, -far, 5.0), random);
    Points tests = RandomPoints(300, 20.0, Vec3D(far, -far, 5.0), random);
    for (const Vec3D& point : points) {
      tests.push_back(Vec3D(std::nextafter(point.x, 0.0), point.y, point.z));
      tests.push_back(Vec3D(point.x, std::nextafter(point.y, -kInfinity), point.z));
    }
    collisions += ExpectSameAsPlain(points, tests);
  }
  EXPECT_GT(collisions, 500);
}

TEST(CollisionGrid, AgreesWithAllPairsOverAnEnormousExtent) {
  std::mt19937_64 random(4);
  Points points = RandomPoints(50, 5.0, Vec3D(), random);
  points.insert(points.end(), {Vec3D(1e9, 0, 0), Vec3D(0, -1e30, 0), Vec3D(0, 0, 1e308),
                               Vec3D(-1e308, 1e308, -1e308)});
  Points tests = RandomPoints(500, 10.0, Vec3D(), random);
  for (const Vec3D& point : points) tests.push_back(point + Vec3D(1.5, 0.5, -0.5));
  EXPECT_GT(ExpectSameAsPlain(points, tests), 50);
}

}  // namespace
}  // namespace orvane
