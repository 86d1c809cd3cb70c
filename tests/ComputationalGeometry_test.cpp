// Geometry: known figures, derivatives against finite differences, inverse operations against each
// other, and the order of the operations, which printed digits depend on, against plain formulas.
#include "ComputationalGeometry.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace orvane {
namespace {

using Geometry = ComputationalGeometry;

constexpr double kPi = 3.141592653589793;
constexpr double kOppositeAngle = 3.1401784399095485;
constexpr double kThreshold = 0.999999;

void ExpectSame(const Vec3D& actual, const Vec3D& expected) {
  EXPECT_EQ(actual.x, expected.x);
  EXPECT_EQ(actual.y, expected.y);
  EXPECT_EQ(actual.z, expected.z);
}

void ExpectNear(const Vec3D& actual, const Vec3D& expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

void ExpectNaN(const Vec3D& vector) {
  EXPECT_TRUE(std::isnan(vector.x));
  EXPECT_TRUE(std::isnan(vector.y));
  EXPECT_TRUE(std::isnan(vector.z));
}

class RandomPoints {
 public:
  explicit RandomPoints(unsigned seed) : random_(seed) {}

  double Number(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }

  Vec3D Point() { return {Number(-5.0, 5.0), Number(-5.0, 5.0), Number(-5.0, 5.0)}; }

 private:
  std::mt19937 random_;
};

// Whether the three points form a good triangle: no side is short, and no angle near 0 or pi.
bool AreSpread(const Vec3D& a, const Vec3D& b, const Vec3D& c) {
  const double u = Length(a - b);
  const double v = Length(c - b);
  return u > 0.5 && v > 0.5 && Length(a - c) > 0.5 && std::fabs(Dot(a - b, c - b)) < 0.95 * u * v;
}

// Compares derivatives with central differences of a function of points.
void ExpectDerivatives(std::vector<Vec3D> points, const std::vector<Vec3D>& grad,
                       const std::function<double(const std::vector<Vec3D>&)>& function) {
  constexpr double kStep = 1e-5;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const std::array<double Vec3D::*, 3> components{&Vec3D::x, &Vec3D::y, &Vec3D::z};
    for (double Vec3D::*const component : components) {
      const double at = points[i].*component;
      points[i].*component = at + kStep;
      const double above = function(points);
      points[i].*component = at - kStep;
      const double below = function(points);
      points[i].*component = at;
      // Differences of angles are taken on the circle.
      const double difference = std::remainder(above - below, 2.0 * kPi) / (2.0 * kStep);
      ASSERT_NEAR(grad[i].*component, difference, 1e-6) << "for point " << i;
    }
  }
}

// A vector with these components and a third one such that its length is exactly 1.
Vec3D ExactUnit(double x, double y) {
  double z = std::sqrt(1.0 - x * x - y * y);
  for (int i = 0; i < 100; ++i) z = std::nextafter(z, 0.0);
  for (int i = 0; i < 200; ++i) {
    if (Length({x, y, z}) == 1.0) return {x, y, z};
    z = std::nextafter(z, 2.0);
  }
  ADD_FAILURE() << "no vector of length 1";
  return {};
}

TEST(CalcCenter, IsTheMeanOfThePoints) {
  const Vec3D points[3] = {{1.0, 2.0, 3.0}, {4.0, 8.0, -6.0}, {1.0, -1.0, 0.0}};
  ExpectNear(Geometry::CalcCenter(3, points, nullptr), {2.0, 3.0, -1.0}, 1e-15);
  ExpectSame(Geometry::CalcCenter(1, points, nullptr), points[0]);
}

TEST(CalcCenter, DividesByTheNumberOfPointsAlsoWithWeights) {
  // A centre of mass would divide by the sum of the weights, 4.
  const Vec3D points[2] = {{1.0, 0.0, 2.0}, {3.0, -2.0, 4.0}};
  const double weights[2] = {1.0, 3.0};
  ExpectSame(Geometry::CalcCenter(2, points, weights), {5.0, -3.0, 7.0});
}

TEST(CalcCenter, MultipliesTheSumByTheReciprocalOfTheCount) {
  // 5 / 49 and 5 * (1 / 49) differ in the last bit, for example.
  std::vector<Vec3D> points(49);
  points[7] = {1.0, 5.0, 9.0};
  const double factor = 1.0 / 49;
  ExpectSame(Geometry::CalcCenter(49, points.data(), nullptr),
             {factor, 5.0 * factor, 9.0 * factor});
}

TEST(CalcCenter, AddsThePointsInTheirOrder) {
  // Backwards the 1 would be lost.
  const Vec3D points[3] = {{1e16, 1.0, 0.0}, {-1e16, 1e16, 0.0}, {1.0, -1e16, 0.0}};
  ExpectSame(Geometry::CalcCenter(3, points, nullptr), {1.0 * (1.0 / 3), 0.0, 0.0});
  const double weights[3] = {1.0, 1.0, 1.0};
  ExpectSame(Geometry::CalcCenter(3, points, weights), {1.0 * (1.0 / 3), 0.0, 0.0});
}

TEST(CalcCenter, BeginsWithZero) {
  // So the mean of negative zeros is positive.
  const Vec3D point(-0.0, -0.0, -0.0);
  const double weight = 1.0;
  EXPECT_FALSE(std::signbit(Geometry::CalcCenter(1, &point, nullptr).x));
  EXPECT_FALSE(std::signbit(Geometry::CalcCenter(1, &point, &weight).x));
}

TEST(CalcCenter, IsNoNumberWithoutPoints) {
  const Vec3D point(1.0, 2.0, 3.0);
  const double weight = 1.0;
  ExpectNaN(Geometry::CalcCenter(0, &point, nullptr));
  ExpectNaN(Geometry::CalcCenter(0, &point, &weight));
}

TEST(CalcLength, IsTheDistance) {
  EXPECT_EQ(Geometry::CalcLength({1.0, 2.0, 3.0}, {3.0, 5.0, 9.0}), 7.0);
  EXPECT_EQ(Geometry::CalcLength({1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}), 0.0);
}

TEST(CalcLength, HasDerivativesThatAgreeWithFiniteDifferences) {
  RandomPoints random(1);
  for (int i = 0; i < 500; ++i) {
    const std::vector<Vec3D> points{random.Point(), random.Point()};
    if (Length(points[0] - points[1]) < 0.5) continue;
    std::vector<Vec3D> grad(2);
    EXPECT_EQ(Geometry::CalcLengthD1(points[0], points[1], grad.data()),
              Geometry::CalcLength(points[0], points[1]));
    ExpectDerivatives(points, grad,
                      [](const std::vector<Vec3D>& p) { return Geometry::CalcLength(p[0], p[1]); });
    ExpectSame(grad[1], Vec3D() - grad[0]);
  }
}

TEST(CalcLength, HasNoDerivativesForCoincidentPoints) {
  Vec3D grad[2];
  EXPECT_EQ(Geometry::CalcLengthD1({1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, grad), 0.0);
  ExpectNaN(grad[0]);
  ExpectNaN(grad[1]);
}

TEST(CalcAngle, GivesKnownAngles) {
  const Vec3D b(1.0, 1.0, 1.0);
  EXPECT_EQ(Geometry::CalcAngle({3.0, 1.0, 1.0}, b, {1.0, 0.0, 1.0}), std::acos(0.0));
  EXPECT_NEAR(Geometry::CalcAngle({2.0, 1.0, 1.0}, b, {4.0, 4.0, 1.0}), kPi / 4, 1e-15);
  EXPECT_NEAR(Geometry::CalcAngle({2.0, 1.0, 1.0}, b, {0.0, 2.0, 1.0}), 3 * kPi / 4, 1e-15);
}

TEST(CalcAngle, IsExactlyZeroForNearlyParallelArms) {
  const Vec3D a(1.0, 0.0, 0.0);
  const Vec3D b;
  const Vec3D at_threshold = ExactUnit(kThreshold, 0.0);
  Vec3D grad[3] = {{1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}};
  EXPECT_EQ(Geometry::CalcAngle(a, b, at_threshold), 0.0);
  EXPECT_EQ(Geometry::CalcAngleD1(a, b, at_threshold, grad), 0.0);
  for (const Vec3D& vector : grad) ExpectSame(vector, Vec3D());
  EXPECT_EQ(Geometry::CalcAngle(a, b, {4.0, 0.0, 0.0}), 0.0);
  EXPECT_EQ(Geometry::CalcAngleD1(a, b, {4.0, 0.0, 0.0}, grad), 0.0);

  // One step of the cosine further it is an angle again.
  const double below = std::nextafter(kThreshold, 0.0);
  const Vec3D further = ExactUnit(below, 0.0);
  EXPECT_EQ(Geometry::CalcAngle(a, b, further), std::acos(below));
  EXPECT_EQ(Geometry::CalcAngleD1(a, b, further, grad), std::acos(below));
  EXPECT_GT(Length(grad[0]), 0.5);
}

TEST(CalcAngle, IsNotPiForOppositeArms) {
  // Without derivatives the result is the arc cosine of -0.999999, but only from a cosine of -1 on;
  // with derivatives it is pi, from -0.999999 on.
  const Vec3D a(1.0, 0.0, 0.0);
  const Vec3D b;
  Vec3D grad[3] = {{1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}};
  EXPECT_EQ(Geometry::CalcAngle(a, b, {-3.0, 0.0, 0.0}), kOppositeAngle);
  EXPECT_EQ(Geometry::CalcAngleD1(a, b, {-3.0, 0.0, 0.0}, grad), kPi);
  for (const Vec3D& vector : grad) ExpectSame(vector, Vec3D());

  const Vec3D nearly(-1.0, 1e-6, 0.0);
  const double t = Dot(Unit(a), Unit(nearly));
  ASSERT_GT(t, -1.0);
  EXPECT_EQ(Geometry::CalcAngle(a, b, nearly), std::acos(t));
  EXPECT_GT(Geometry::CalcAngle(a, b, nearly), kOppositeAngle);
  EXPECT_EQ(Geometry::CalcAngleD1(a, b, nearly, grad), kPi);
  for (const Vec3D& vector : grad) ExpectSame(vector, Vec3D());

  const Vec3D at_threshold = ExactUnit(-kThreshold, 0.0);
  EXPECT_EQ(Geometry::CalcAngle(a, b, at_threshold), std::acos(-kThreshold));
  EXPECT_EQ(Geometry::CalcAngleD1(a, b, at_threshold, grad), kPi);
  const double above = std::nextafter(-kThreshold, 0.0);
  EXPECT_EQ(Geometry::CalcAngleD1(a, b, ExactUnit(above, 0.0), grad), std::acos(above));
  EXPECT_GT(Length(grad[0]), 0.5);
}

TEST(CalcAngle, OfAStraightLineHangsOnTheLastBitOfTheCosine) {
  // The arms are opposite, but the cosine comes out as -1, just below or just above.
  RandomPoints random(2);
  int counts[3] = {0, 0, 0};
  for (int i = 0; i < 3000; ++i) {
    const Vec3D arm = random.Point();
    const Vec3D b;
    const Vec3D c = arm * -random.Number(0.5, 2.0);
    const double t = Dot(Unit(arm), Unit(c));
    const double angle = Geometry::CalcAngle(arm, b, c);
    if (t <= -1.0) {
      EXPECT_EQ(angle, kOppositeAngle);
      ++counts[t == -1.0 ? 0 : 1];
    } else {
      EXPECT_EQ(angle, std::acos(t));
      ++counts[2];
    }
    Vec3D grad[3] = {arm, arm, arm};
    EXPECT_EQ(Geometry::CalcAngleD1(arm, b, c, grad), kPi);
    for (const Vec3D& vector : grad) ExpectSame(vector, Vec3D());
  }
  for (const int count : counts) EXPECT_GT(count, 0);
}

TEST(CalcAngle, IsNoNumberForAnArmWithoutLength) {
  const Vec3D a(1.0, 2.0, 3.0);
  const Vec3D c(3.0, 2.0, 2.0);
  Vec3D grad[3];
  EXPECT_TRUE(std::isnan(Geometry::CalcAngle(a, a, c)));
  EXPECT_TRUE(std::isnan(Geometry::CalcAngle(a, c, c)));
  EXPECT_TRUE(std::isnan(Geometry::CalcAngleD1(a, a, c, grad)));
  EXPECT_TRUE(std::isnan(Geometry::CalcAngleD1(a, c, c, grad)));
}

TEST(CalcAngle, HasDerivativesThatAgreeWithFiniteDifferences) {
  RandomPoints random(3);
  int compared = 0;
  while (compared < 1000) {
    const std::vector<Vec3D> points{random.Point(), random.Point(), random.Point()};
    if (!AreSpread(points[0], points[1], points[2])) continue;
    ++compared;
    std::vector<Vec3D> grad(3);
    EXPECT_NEAR(Geometry::CalcAngleD1(points[0], points[1], points[2], grad.data()),
                Geometry::CalcAngle(points[0], points[1], points[2]), 1e-13);
    ExpectDerivatives(points, grad, [](const std::vector<Vec3D>& p) {
      return Geometry::CalcAngle(p[0], p[1], p[2]);
    });
  }
}

TEST(CalcDihedral, IsPositiveForAClockwiseTurn) {
  EXPECT_EQ(
      Geometry::CalcDihedral({1.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 0.0, 1.0}, {0.0, 1.0, 1.0}),
      std::atan2(1.0, 0.0));
  EXPECT_EQ(
      Geometry::CalcDihedral({1.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 0.0, 1.0}, {0.0, -1.0, 1.0}),
      std::atan2(-1.0, 0.0));
}

TEST(CalcDihedral, IsZeroForCisAndPiForTrans) {
  const Vec3D a(1.0, 0.0, 0.0);
  const Vec3D b;
  const Vec3D c(0.0, 0.0, 1.0);
  EXPECT_EQ(Geometry::CalcDihedral(a, b, c, {1.0, 0.0, 1.0}), 0.0);
  EXPECT_EQ(std::fabs(Geometry::CalcDihedral(a, b, c, {-1.0, 0.0, 1.0})), kPi);
  // Slightly out of the plane, trans falls on one side or the other.
  EXPECT_NEAR(Geometry::CalcDihedral(a, b, c, {-1.0, 1e-9, 1.0}), kPi, 1e-8);
  EXPECT_NEAR(Geometry::CalcDihedral(a, b, c, {-1.0, -1e-9, 1.0}), -kPi, 1e-8);
}

TEST(CalcDihedral, AgreesWithTheFormulaWithoutNormalisation) {
  RandomPoints random(4);
  for (int i = 0; i < 3000; ++i) {
    const Vec3D a = random.Point();
    const Vec3D b = random.Point();
    const Vec3D c = random.Point();
    const Vec3D d = random.Point();
    if (!AreSpread(a, b, c) || !AreSpread(b, c, d)) continue;
    const Vec3D n1 = Cross(b - a, c - b);
    const Vec3D n2 = Cross(c - b, d - c);
    const double expected = std::atan2(Length(c - b) * Dot(b - a, n2), Dot(n1, n2));
    EXPECT_NEAR(std::remainder(Geometry::CalcDihedral(a, b, c, d) - expected, 2 * kPi), 0.0, 1e-12);
  }
}

TEST(CalcDihedral, IsNoNumberForThreePointsInALine) {
  const Vec3D a;
  const Vec3D b(1.0, 0.0, 0.0);
  const Vec3D c(2.0, 0.0, 0.0);
  const Vec3D d(3.0, 1.0, 0.0);
  Vec3D grad[4];
  EXPECT_TRUE(std::isnan(Geometry::CalcDihedral(a, b, c, d)));
  EXPECT_TRUE(std::isnan(Geometry::CalcDihedral(d, c, b, a)));
  EXPECT_TRUE(std::isnan(Geometry::CalcDihedralD1(a, b, c, d, grad)));
}

TEST(CalcDihedral, HasDerivativesThatAgreeWithFiniteDifferences) {
  RandomPoints random(5);
  int compared = 0;
  while (compared < 1000) {
    const std::vector<Vec3D> points{random.Point(), random.Point(), random.Point(), random.Point()};
    if (!AreSpread(points[0], points[1], points[2])) continue;
    if (!AreSpread(points[1], points[2], points[3])) continue;
    ++compared;
    std::vector<Vec3D> grad(4);
    EXPECT_EQ(Geometry::CalcDihedralD1(points[0], points[1], points[2], points[3], grad.data()),
              Geometry::CalcDihedral(points[0], points[1], points[2], points[3]));
    ExpectDerivatives(points, grad, [](const std::vector<Vec3D>& p) {
      return Geometry::CalcDihedral(p[0], p[1], p[2], p[3]);
    });
  }
}

TEST(CalcCoord, PlacesAFourthPointWithTheGivenLengthAngleAndDihedral) {
  RandomPoints random(6);
  int compared = 0;
  while (compared < 3000) {
    const Vec3D a = random.Point();
    const Vec3D b = random.Point();
    const Vec3D c = random.Point();
    if (!AreSpread(a, b, c)) continue;
    ++compared;
    const double length = random.Number(0.5, 3.0);
    const double angle = random.Number(0.1, kPi - 0.1);
    const double dihedral = random.Number(-kPi, kPi);
    Vec3D d;
    Geometry::CalcCoord(a, b, c, length, angle, dihedral, d);
    EXPECT_NEAR(Geometry::CalcLength(c, d), length, 1e-12);
    EXPECT_NEAR(Geometry::CalcAngle(b, c, d), angle, 1e-11);
    EXPECT_NEAR(std::remainder(Geometry::CalcDihedral(a, b, c, d) - dihedral, 2 * kPi), 0.0, 1e-11);
  }
}

TEST(CalcCoord, FindsAPointAgainFromItsLengthAngleAndDihedral) {
  RandomPoints random(7);
  int compared = 0;
  while (compared < 3000) {
    const Vec3D a = random.Point();
    const Vec3D b = random.Point();
    const Vec3D c = random.Point();
    const Vec3D d = random.Point();
    if (!AreSpread(a, b, c) || !AreSpread(b, c, d)) continue;
    ++compared;
    Vec3D found;
    Geometry::CalcCoord(a, b, c, Geometry::CalcLength(c, d), Geometry::CalcAngle(b, c, d),
                        Geometry::CalcDihedral(a, b, c, d), found);
    ExpectNear(found, d, 1e-10);
  }
}

// A number for each component.
using Triple = std::array<double, 3>;

Triple TripleOf(const Vec3D& vector) {
  return {vector.x, vector.y, vector.z};
}

Triple UnitTriple(const Triple& a) {
  const double factor = 1.0 / std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
  return {a[0] * factor, a[1] * factor, a[2] * factor};
}

Triple CrossTriple(const Triple& a, const Triple& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Triple Difference(const Triple& a, const Triple& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Triple DividedTriple(const Triple& a, double divisor) {
  return {a[0] / divisor, a[1] / divisor, a[2] / divisor};
}

double DotTriple(const Triple& a, const Triple& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double LengthOfTriple(const Triple& a) {
  return std::sqrt(DotTriple(a, a));
}

TEST(CalcCoord, AddsItsTermsInAFixedOrder) {
  RandomPoints random(8);
  for (int round = 0; round < 2000; ++round) {
    const Triple a = TripleOf(random.Point());
    const Triple b = TripleOf(random.Point());
    const Triple c = TripleOf(random.Point());
    const double length = random.Number(0.5, 3.0);
    const double angle = random.Number(0.1, 3.0);
    const double dihedral = random.Number(-3.0, 3.0);
    const Triple e = UnitTriple(Difference(c, b));
    const Triple n = UnitTriple(CrossTriple(Difference(b, a), e));
    const Triple m = CrossTriple(n, e);
    const double along = length * std::cos(angle);
    const double in_plane = length * std::sin(angle) * std::cos(dihedral);
    const double off_plane = length * std::sin(angle) * std::sin(dihedral);
    Triple d;
    for (std::size_t i = 0; i < 3; ++i) {
      d[i] = ((c[i] - e[i] * along) + m[i] * in_plane) + n[i] * off_plane;
    }
    Vec3D out;
    Geometry::CalcCoord({a[0], a[1], a[2]}, {b[0], b[1], b[2]}, {c[0], c[1], c[2]}, length, angle,
                        dihedral, out);
    ASSERT_EQ(TripleOf(out), d);
  }
}

TEST(CalcDihedral, TakesItsStepsInAFixedOrder) {
  RandomPoints random(13);
  for (int round = 0; round < 2000; ++round) {
    const Vec3D points[4] = {random.Point(), random.Point(), random.Point(), random.Point()};
    const Triple a = TripleOf(points[0]);
    const Triple b = TripleOf(points[1]);
    const Triple c = TripleOf(points[2]);
    const Triple d = TripleOf(points[3]);
    const Triple b1 = UnitTriple(Difference(b, a));
    const Triple b2 = UnitTriple(Difference(c, b));
    const Triple b3 = UnitTriple(Difference(d, c));
    const Triple p = CrossTriple(b1, b2);
    const Triple q = CrossTriple(b2, b3);
    const Triple n1 = UnitTriple(p);
    const Triple n2 = UnitTriple(q);
    const Triple m = UnitTriple(CrossTriple(n2, b2));
    const double expected = std::atan2(DotTriple(n1, m), DotTriple(n1, n2));
    ASSERT_EQ(Geometry::CalcDihedral(points[0], points[1], points[2], points[3]), expected);

    // Its derivatives divide, but for one factor.
    const double r1 = LengthOfTriple(Difference(b, a));
    const double r2 = LengthOfTriple(Difference(c, b));
    const double r3 = LengthOfTriple(Difference(d, c));
    const double cb = DotTriple(b1, b2);
    const double cc = DotTriple(b2, b3);
    const Triple grad0 = DividedTriple(p, (1 - cb * cb) * (-r1));
    const Triple grad3 = DividedTriple(q, (1 - cc * cc) * r3);
    Triple grad1;
    Triple grad2;
    for (std::size_t i = 0; i < 3; ++i) {
      grad1[i] = (grad3[i] * (r3 * cc) - grad0[i] * (r1 * cb)) * (1.0 / r2) - grad0[i];
      grad2[i] = ((0 - grad0[i]) - grad1[i]) - grad3[i];
    }
    Vec3D grad[4];
    ASSERT_EQ(Geometry::CalcDihedralD1(points[0], points[1], points[2], points[3], grad), expected);
    ASSERT_EQ(TripleOf(grad[0]), grad0);
    ASSERT_EQ(TripleOf(grad[1]), grad1);
    ASSERT_EQ(TripleOf(grad[2]), grad2);
    ASSERT_EQ(TripleOf(grad[3]), grad3);
  }
}

TEST(CalcAngle, TakesItsStepsInAFixedOrder) {
  // Without derivatives the arms are multiplied by the reciprocals of their lengths, with them they
  // are divided.
  RandomPoints random(14);
  for (int round = 0; round < 2000; ++round) {
    const Vec3D points[3] = {random.Point(), random.Point(), random.Point()};
    if (!AreSpread(points[0], points[1], points[2])) continue;
    const Triple arm1 = Difference(TripleOf(points[0]), TripleOf(points[1]));
    const Triple arm2 = Difference(TripleOf(points[2]), TripleOf(points[1]));
    ASSERT_EQ(Geometry::CalcAngle(points[0], points[1], points[2]),
              std::acos(DotTriple(UnitTriple(arm1), UnitTriple(arm2))));

    const double r1 = LengthOfTriple(arm1);
    const double r2 = LengthOfTriple(arm2);
    const Triple u = DividedTriple(arm1, r1);
    const Triple v = DividedTriple(arm2, r2);
    const Triple n = UnitTriple(CrossTriple(u, v));
    const Triple grad0 = DividedTriple(CrossTriple(u, n), r1);
    const Triple grad2 = DividedTriple(CrossTriple(n, v), r2);
    Triple grad1;
    for (std::size_t i = 0; i < 3; ++i) grad1[i] = (0 - grad0[i]) - grad2[i];
    Vec3D grad[3];
    ASSERT_EQ(Geometry::CalcAngleD1(points[0], points[1], points[2], grad),
              std::acos(DotTriple(u, v)));
    ASSERT_EQ(TripleOf(grad[0]), grad0);
    ASSERT_EQ(TripleOf(grad[1]), grad1);
    ASSERT_EQ(TripleOf(grad[2]), grad2);
  }
}

TEST(CalcLength, HasDerivativesThatAreDivided) {
  RandomPoints random(15);
  for (int round = 0; round < 500; ++round) {
    const Vec3D a = random.Point();
    const Vec3D b = random.Point();
    const Triple r = Difference(TripleOf(a), TripleOf(b));
    Vec3D grad[2];
    ASSERT_EQ(Geometry::CalcLengthD1(a, b, grad), LengthOfTriple(r));
    ASSERT_EQ(Geometry::CalcLength(a, b), LengthOfTriple(r));
    ASSERT_EQ(TripleOf(grad[0]), DividedTriple(r, LengthOfTriple(r)));
  }
}

TEST(CalcCoord, IsNoNumberForThreePointsInALine) {
  Vec3D out;
  Geometry::CalcCoord({0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, 1.0, 1.0, 1.0, out);
  ExpectNaN(out);
}

TEST(CalcCoord, PlacesAThirdPointWithTheGivenLengthAndAngle) {
  RandomPoints random(9);
  for (int i = 0; i < 3000; ++i) {
    const Vec3D a = random.Point();
    const Vec3D b = random.Point();
    if (Length(a - b) < 0.5) continue;
    const double length = random.Number(0.5, 3.0);
    const double angle = random.Number(0.1, kPi - 0.1);
    Vec3D d;
    Geometry::CalcCoord(a, b, length, angle, d);
    EXPECT_NEAR(Geometry::CalcLength(b, d), length, 1e-12);
    EXPECT_NEAR(Geometry::CalcAngle(a, b, d), angle, 1e-11);
    Vec3D again;
    Geometry::CalcCoord(a, b, length, angle, again);
    ExpectSame(again, d);
  }
}

// What the three-point form must give for a direction `u` of length 1 in front of the origin, when
// the perpendicular is built around the component `axis` of `u`.
Triple ThirdPoint(const Vec3D& u, std::size_t axis, double length, double angle) {
  const Triple from = TripleOf(u);
  const double seeds[3][3] = {{0.0, -0.4, -0.6}, {-0.4, 0.0, -0.6}, {-0.4, -0.6, 0.0}};
  const double* const seed = seeds[axis];
  double t = 0.0;
  for (std::size_t i = 0; i < 3; ++i) t += from[i] / from[axis] * seed[i];
  Triple w;
  for (std::size_t i = 0; i < 3; ++i) w[i] = i == axis ? t : -seed[i];
  const Triple m = UnitTriple(w);
  Triple point;
  for (std::size_t i = 0; i < 3; ++i) {
    point[i] = (0.0 + from[i] * (length * std::cos(angle))) + m[i] * (length * std::sin(angle));
  }
  return point;
}

void ExpectThirdPoint(const Vec3D& u, std::size_t axis) {
  ASSERT_EQ(Length(u), 1.0);
  Vec3D out;
  Geometry::CalcCoord(u, Vec3D(), 1.3, 1.9, out);
  const Triple expected = ThirdPoint(u, axis, 1.3, 1.9);
  EXPECT_EQ(TripleOf(out), expected);
  // The other ways to build the perpendicular give other points.
  for (std::size_t other = 0; other < 3; ++other) {
    if (other != axis && TripleOf(u)[other] != 0.0) {
      EXPECT_NE(ThirdPoint(u, other, 1.3, 1.9), expected);
    }
  }
}

TEST(CalcCoord, TakesThePlaneOfAThirdPointFromTheFirstLargeComponent) {
  ExpectThirdPoint({1.0, 0.0, 0.0}, 0);
  ExpectThirdPoint({-1.0, 0.0, 0.0}, 0);
  ExpectThirdPoint({0.0, 1.0, 0.0}, 1);
  ExpectThirdPoint({0.0, -1.0, 0.0}, 1);
  ExpectThirdPoint({0.0, 0.0, 1.0}, 2);
  ExpectThirdPoint({0.0, 0.0, -1.0}, 2);
}

TEST(CalcCoord, DoesNotTakeAComponentOfExactlyOneHundredthForLarge) {
  const double above = std::nextafter(0.01, 1.0);
  ExpectThirdPoint(ExactUnit(0.01, 0.01), 2);
  ExpectThirdPoint(ExactUnit(-0.01, -0.01), 2);
  ExpectThirdPoint(ExactUnit(0.01, above), 1);
  ExpectThirdPoint(ExactUnit(0.01, -above), 1);
  ExpectThirdPoint(ExactUnit(above, 0.01), 0);
  ExpectThirdPoint(ExactUnit(-above, 0.5), 0);
}

TEST(CalcCoord, DividesEachComponentForTheThirdPoint) {
  RandomPoints random(10);
  int compared = 0;
  for (int i = 0; i < 2000; ++i) {
    const Vec3D u = Unit(random.Point());
    if (Length(u) != 1.0) continue;
    ++compared;
    const std::size_t axis = std::fabs(u.x) > 0.01 ? 0 : std::fabs(u.y) > 0.01 ? 1 : 2;
    ExpectThirdPoint(u, axis);
  }
  EXPECT_GT(compared, 200);
}

TEST(CalcCoord, DividesEachComponentForTheThirdPointAlongYAndAlongZToo) {
  RandomPoints random(16);
  int compared[3] = {0, 0, 0};
  for (int i = 0; i < 4000; ++i) {
    const double x = random.Number(-0.009, 0.009);
    const double y = i % 2 == 0 ? random.Number(-0.009, 0.009) : random.Number(-0.9, 0.9);
    const Vec3D u = Unit({x, y, random.Number(-1.0, 1.0)});
    if (Length(u) != 1.0) continue;
    const std::size_t axis = std::fabs(u.x) > 0.01 ? 0 : std::fabs(u.y) > 0.01 ? 1 : 2;
    ++compared[axis];
    Vec3D out;
    Geometry::CalcCoord(u, Vec3D(), 1.3, 1.9, out);
    ASSERT_EQ(TripleOf(out), ThirdPoint(u, axis, 1.3, 1.9));
  }
  EXPECT_GT(compared[1], 100);
  EXPECT_GT(compared[2], 100);
}

TEST(Rotate, OnlyMovesWhenAllAnglesAreZero) {
  RandomPoints random(11);
  std::vector<Vec3D> points;
  for (int i = 0; i < 10; ++i) points.push_back(random.Point());
  const std::vector<Vec3D> before = points;
  const Vec3D center(10.0, -20.0, 30.0);
  Geometry::Rotate(0.0, 0.0, 0.0, center, 10, points.data());
  ExpectNear(Geometry::CalcCenter(10, points.data(), nullptr), center, 1e-13);
  for (std::size_t i = 1; i < points.size(); ++i) {
    ExpectNear(points[i] - points[0], before[i] - before[0], 1e-13);
  }
}

TEST(Rotate, TurnsAboutZThenAboutYThenAboutZ) {
  const double quarter = kPi / 2;
  const Vec3D pair[2] = {{1.0, 2.0, 3.0}, {-1.0, -2.0, -3.0}};
  std::vector<Vec3D> points(pair, pair + 2);
  Geometry::Rotate(quarter, 0.0, 0.0, Vec3D(), 2, points.data());
  ExpectNear(points[0], {2.0, -1.0, 3.0}, 1e-15);
  points.assign(pair, pair + 2);
  Geometry::Rotate(0.0, quarter, 0.0, Vec3D(), 2, points.data());
  ExpectNear(points[0], {3.0, 2.0, -1.0}, 1e-15);
  points.assign(pair, pair + 2);
  Geometry::Rotate(0.0, 0.0, quarter, Vec3D(), 2, points.data());
  ExpectNear(points[0], {2.0, -1.0, 3.0}, 1e-15);
}

TEST(Rotate, IsItsMatrixAboutTheMeanOfThePoints) {
  RandomPoints random(12);
  for (int round = 0; round < 500; ++round) {
    std::vector<Vec3D> points{random.Point(), random.Point(), random.Point()};
    const std::vector<Vec3D> before = points;
    const Vec3D center = random.Point();
    const double angle1 = random.Number(-4.0, 4.0);
    const double angle2 = random.Number(-4.0, 4.0);
    const double angle3 = random.Number(-4.0, 4.0);
    const double c1 = std::cos(angle1), s1 = std::sin(angle1);
    const double c2 = std::cos(angle2), s2 = std::sin(angle2);
    const double c3 = std::cos(angle3), s3 = std::sin(angle3);
    const double matrix[3][3] = {
        {c1 * c2 * c3 - s1 * s3, s1 * c2 * c3 + c1 * s3, s2 * c3},
        {-s1 * c3 - c1 * c2 * s3, c1 * c3 - s1 * c2 * s3, -s2 * s3},
        {-c1 * s2, -s1 * s2, c2},
    };
    const Vec3D mean = Geometry::CalcCenter(3, points.data(), nullptr);
    Geometry::Rotate(angle1, angle2, angle3, center, 3, points.data());
    for (std::size_t i = 0; i < points.size(); ++i) {
      const Vec3D p = before[i] - mean;
      Triple expected = TripleOf(center);
      for (std::size_t row = 0; row < 3; ++row) {
        expected[row] =
            matrix[row][0] * p.x + matrix[row][1] * p.y + matrix[row][2] * p.z + expected[row];
      }
      ASSERT_EQ(TripleOf(points[i]), expected);
      for (std::size_t j = 0; j < i; ++j) {
        EXPECT_NEAR(Length(points[i] - points[j]), Length(before[i] - before[j]), 1e-13);
      }
    }
    // A rotation and no reflection keeps the handedness of the points around the origin.
    const Vec3D turned = Cross(points[1] - points[0], points[2] - points[0]);
    const Vec3D original = Cross(before[1] - before[0], before[2] - before[0]);
    Triple rotated;
    for (std::size_t row = 0; row < 3; ++row) {
      rotated[row] =
          matrix[row][0] * original.x + matrix[row][1] * original.y + matrix[row][2] * original.z;
    }
    ExpectNear(turned, {rotated[0], rotated[1], rotated[2]}, 1e-11);
  }
}

TEST(Rotate, TouchesNothingWithoutPoints) {
  Vec3D point(1.0, 2.0, 3.0);
  Geometry::Rotate(1.0, 2.0, 3.0, {4.0, 5.0, 6.0}, 0, &point);
  ExpectSame(point, {1.0, 2.0, 3.0});
  Geometry::Rotate(1.0, 2.0, 3.0, {4.0, 5.0, 6.0}, -1, &point);
  ExpectSame(point, {1.0, 2.0, 3.0});
}

}  // namespace
}  // namespace orvane
