// The triple of doubles: its layout and its operators.
#include "Vec3D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace orvane {
namespace {

void ExpectIs(const Vec3D& vector, double x, double y, double z) {
  EXPECT_EQ(vector.x, x);
  EXPECT_EQ(vector.y, y);
  EXPECT_EQ(vector.z, z);
}

TEST(Vec3D, IsZeroByDefault) {
  ExpectIs(Vec3D(), 0.0, 0.0, 0.0);
}

TEST(Vec3D, TakesItsComponentsInOrder) {
  ExpectIs(Vec3D(1.0, 2.0, 3.0), 1.0, 2.0, 3.0);
  const Vec3D original(4.0, 5.0, 6.0);
  Vec3D copy(original);
  copy.x = 9.0;
  ExpectIs(original, 4.0, 5.0, 6.0);
  ExpectIs(copy, 9.0, 5.0, 6.0);
}

TEST(Vec3D, LiesFlatInMemory) {
  const Vec3D vectors[2] = {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}};
  double flat[6];
  static_assert(sizeof vectors == sizeof flat);
  std::memcpy(flat, vectors, sizeof flat);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(flat[i], i + 1.0);
}

TEST(Vec3D, AddsSubtractsAndScalesByComponent) {
  const Vec3D a(1.0, 2.0, 4.0);
  const Vec3D b(10.0, 30.0, 70.0);
  ExpectIs(a + b, 11.0, 32.0, 74.0);
  ExpectIs(a - b, -9.0, -28.0, -66.0);
  ExpectIs(a * -2.0, -2.0, -4.0, -8.0);
}

TEST(Vec3D, HasAScalarProduct) {
  EXPECT_EQ(Dot({1.0, 2.0, 3.0}, {10.0, 100.0, 1000.0}), 3210.0);
  // Terms are added from x to z: in another order the 1 would survive.
  EXPECT_EQ(Dot({1.0, 1e16, 1.0}, {1.0, 1.0, -1e16}), 0.0);
}

TEST(Vec3D, HasARightHandedVectorProduct) {
  ExpectIs(Cross({1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}), 0.0, 0.0, 1.0);
  ExpectIs(Cross({0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}), 1.0, 0.0, 0.0);
  ExpectIs(Cross({0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}), 0.0, 1.0, 0.0);
  ExpectIs(Cross({2.0, 3.0, 5.0}, {7.0, 11.0, 13.0}), -16.0, 9.0, 1.0);
}

TEST(Vec3D, HasALength) {
  EXPECT_EQ(Length({2.0, 3.0, 6.0}), 7.0);
  EXPECT_EQ(Length(Vec3D()), 0.0);
}

TEST(Vec3D, IsNormalisedByTheReciprocalOfItsLength) {
  // Division by 77 gives another last bit.
  const double factor = 1.0 / 77.0;
  ASSERT_NE(22.0 / 77.0, 22.0 * factor);
  ASSERT_NE(33.0 / 77.0, 33.0 * factor);
  ASSERT_NE(66.0 / 77.0, 66.0 * factor);
  ExpectIs(Unit({22.0, 33.0, 66.0}), 22.0 * factor, 33.0 * factor, 66.0 * factor);
}

TEST(Vec3D, IsNoNumberWhenAVectorWithoutLengthIsNormalised) {
  const Vec3D unit = Unit(Vec3D());
  EXPECT_TRUE(std::isnan(unit.x));
  EXPECT_TRUE(std::isnan(unit.y));
  EXPECT_TRUE(std::isnan(unit.z));
}

}  // namespace
}  // namespace orvane
