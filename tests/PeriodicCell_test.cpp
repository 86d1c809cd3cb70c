// Lattice vectors from cell parameters, and the number of cells in a block.
#include "PeriodicCell.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;

constexpr double kDegree = 0.017453292519943295;

struct Cell {
  Vec3D t1;
  Vec3D t2;
  Vec3D t3;
};

Cell CellOf(double a, double b, double c, double alpha, double beta, double gamma) {
  Cell cell;
  CalcCell(a, b, c, alpha * kDegree, beta * kDegree, gamma * kDegree, cell.t1, cell.t2, cell.t3);
  return cell;
}

double AngleOf(const Vec3D& a, const Vec3D& b) {
  return std::acos(Dot(a, b) / (Length(a) * Length(b))) / kDegree;
}

TEST(PeriodicCell, RightAnglesGiveADiagonalCell) {
  const Cell cell = CellOf(3.0, 4.0, 5.0, 90.0, 90.0, 90.0);
  EXPECT_EQ(cell.t1.x, 3.0);
  EXPECT_NEAR(cell.t2.x, 0.0, 1e-15);
  EXPECT_EQ(cell.t2.y, 4.0);
  EXPECT_NEAR(cell.t3.x, 0.0, 1e-15);
  EXPECT_NEAR(cell.t3.y, 0.0, 1e-15);
  EXPECT_EQ(cell.t3.z, 5.0);
}

TEST(PeriodicCell, WhatRoundingLeavesOfARightAngleStays) {
  // It shows as -0.000 in the copies of an atom on an axis.
  const double cosine = std::cos(90.0 * kDegree);
  ASSERT_GT(cosine, 0.0);
  const Cell cell = CellOf(3.0, 4.0, 5.0, 90.0, 90.0, 90.0);
  EXPECT_EQ(cell.t2.x, 4.0 * cosine);
  EXPECT_EQ(cell.t3.x, 5.0 * cosine);
  EXPECT_GT(cell.t3.y, 0.0);
}

TEST(PeriodicCell, TheFirstVectorLiesAlongXAndTheSecondInThePlaneOfXAndY) {
  const Cell cell = CellOf(8.0, 9.5, 10.0, 85.0, 80.0, 100.0);
  EXPECT_EQ(cell.t1.y, 0.0);
  EXPECT_EQ(cell.t1.z, 0.0);
  EXPECT_EQ(cell.t2.z, 0.0);
  EXPECT_NEAR(cell.t2.x, -1.64965769, 5e-9);
  EXPECT_NEAR(cell.t2.y, 9.35567365, 5e-9);
  EXPECT_NEAR(cell.t3.x, 1.73648178, 5e-9);
  EXPECT_NEAR(cell.t3.y, 1.19119119, 5e-9);
  EXPECT_NEAR(cell.t3.z, 9.77577079, 5e-9);
}

TEST(PeriodicCell, TheVectorsHaveTheLengthsAndAnglesAskedFor) {
  std::mt19937 random(61);
  std::uniform_real_distribution<double> length(1.0, 100.0);
  std::uniform_real_distribution<double> angle(65.0, 115.0);
  for (int round = 0; round < 200; ++round) {
    const double a = length(random);
    const double b = length(random);
    const double c = length(random);
    const double alpha = angle(random);
    const double beta = angle(random);
    const double gamma = angle(random);
    const Cell cell = CellOf(a, b, c, alpha, beta, gamma);
    EXPECT_NEAR(Length(cell.t1), a, 1e-12 * a);
    EXPECT_NEAR(Length(cell.t2), b, 1e-12 * b);
    EXPECT_NEAR(Length(cell.t3), c, 1e-12 * c);
    EXPECT_NEAR(AngleOf(cell.t2, cell.t3), alpha, 1e-10);
    EXPECT_NEAR(AngleOf(cell.t1, cell.t3), beta, 1e-10);
    EXPECT_NEAR(AngleOf(cell.t1, cell.t2), gamma, 1e-10);
    EXPECT_GT(cell.t3.z, 0.0);
  }
}

TEST(PeriodicCell, TheOrderOfTheOperationsIsFixed) {
  std::mt19937 random(64);
  std::uniform_real_distribution<double> length(1.0, 100.0);
  std::uniform_real_distribution<double> angle(1.2, 1.9);
  for (int round = 0; round < 200; ++round) {
    const double b = length(random), c = length(random);
    const double alpha = angle(random), beta = angle(random), gamma = angle(random);
    Cell cell;
    CalcCell(1.0, b, c, alpha, beta, gamma, cell.t1, cell.t2, cell.t3);
    const double q = (std::cos(alpha) - std::cos(beta) * std::cos(gamma)) / std::sin(gamma);
    EXPECT_EQ(cell.t2.x, b * std::cos(gamma));
    EXPECT_EQ(cell.t2.y, b * std::sin(gamma));
    EXPECT_EQ(cell.t3.x, c * std::cos(beta));
    EXPECT_EQ(cell.t3.y, c * q);
    EXPECT_EQ(cell.t3.z, c * std::sqrt(std::sin(beta) * std::sin(beta) - q * q));
  }
}

TEST(PeriodicCell, AnglesThatNoCellHasGiveNoNumber) {
  const Cell cell = CellOf(1.0, 1.0, 1.0, 150.0, 30.0, 30.0);
  EXPECT_TRUE(std::isfinite(cell.t3.y));
  EXPECT_TRUE(std::isnan(cell.t3.z));
  EXPECT_FALSE(std::isfinite(CellOf(1.0, 1.0, 1.0, 90.0, 60.0, 0.0).t3.y));
}

TEST(PeriodicCell, ABlockHasItsCellsOnBothSides) {
  EXPECT_EQ(CountSuperCells(10, 0, 0, 0), 1);
  EXPECT_EQ(CountSuperCells(10, 1, 1, 1), 27);
  EXPECT_EQ(CountSuperCells(10, 2, 0, 0), 5);
  EXPECT_EQ(CountSuperCells(10, 0, 1, 3), 21);
}

TEST(PeriodicCell, ABlockOfMoreAtomsThanAnIndexCountsIsRefused) {
  constexpr int kMost = std::numeric_limits<int>::max();
  EXPECT_EQ(CountSuperCells(1, kMost / 2, 0, 0), kMost);
  EXPECT_EQ(CountSuperCells(kMost, 0, 0, 0), 1);
  EXPECT_EQ(MessageOf([] { CountSuperCells(2, 0, kMost / 2, 0); }),
            "Error occurs: The super cells 0 1073741823 0 are too many: there would be more than "
            "2147483647 atoms.");
  EXPECT_EQ(MessageOf([] { CountSuperCells(kMost, kMost, kMost, kMost); }),
            "Error occurs: The super cells 2147483647 2147483647 2147483647 are too many: there "
            "would be more than 2147483647 atoms.");
  // The product in 64 bits would be small again.
  EXPECT_EQ(MessageOf([] { CountSuperCells(1, kMost, kMost, 0); }),
            "Error occurs: The super cells 2147483647 2147483647 0 are too many: there would be "
            "more than 2147483647 atoms.");
}

TEST(PeriodicCell, NothingCanBeCopiedAnyNumberOfTimes) {
  constexpr int kMost = std::numeric_limits<int>::max();
  EXPECT_EQ(CountSuperCells(0, kMost, kMost, kMost), 1);
}

}  // namespace
}  // namespace orvane
