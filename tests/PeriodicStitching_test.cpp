// Joining the molecules of a cell, against plain sweeps: those that end, to the last bit, and those
// that never do.
#include "PeriodicStitching.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <utility>

#include "PlainFragments.h"

namespace orvane {
namespace {

using testing_support::AreSameCoords;
using testing_support::StitchPlainly;

constexpr BondRadii kCarbon = {0.75, 0.67, 0.60};
constexpr BondRadii kHydrogen = {0.32, 0.0, 0.0};
constexpr BondRadii kOxygen = {0.63, 0.57, 0.53};
constexpr BondRadii kUnknown = {};
constexpr BondRadii kElements[] = {kCarbon, kHydrogen, kOxygen, kUnknown};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

const LatticeVectors kWideCell = {Vec3D(10, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, 50)};

struct Cell {
  std::vector<Vec3D> coords;
  std::vector<BondRadii> radii;
  LatticeVectors lattice;
};

Cell CarbonsAt(const std::vector<double>& xs, const LatticeVectors& lattice) {
  Cell cell;
  for (const double x : xs) cell.coords.emplace_back(x, 0, 0);
  cell.radii.assign(xs.size(), kCarbon);
  cell.lattice = lattice;
  return cell;
}

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  double Real(double low, double high) {
    // Not a distribution of the library, whose results are its own affair.
    return low + (high - low) * (static_cast<double>(engine_()) / 4294967296.0);
  }
  int Whole(int low, int high) {
    return low + static_cast<int>(engine_() % static_cast<unsigned>(high - low + 1));
  }
  Vec3D Place(double extent) {
    const double x = Real(-extent, extent), y = Real(-extent, extent);
    return Vec3D(x, y, Real(-extent, extent));
  }
  void Shuffle(Cell& cell) {
    for (int i = static_cast<int>(cell.coords.size()) - 1; i > 0; --i) {
      const int j = Whole(0, i);
      std::swap(cell.coords[i], cell.coords[j]);
      std::swap(cell.radii[i], cell.radii[j]);
    }
  }

 private:
  std::mt19937 engine_;
};

LatticeVectors SkewCell(Dice& dice, double edge) {
  const auto long_edge = [&] { return edge * dice.Real(0.7, 1.3); };
  const auto skew = [&] { return edge * dice.Real(-0.4, 0.4); };
  LatticeVectors lattice;
  lattice[0] = Vec3D(long_edge(), 0, 0);
  lattice[1].x = skew();
  lattice[1].y = long_edge();
  lattice[2].x = skew();
  lattice[2].y = skew();
  lattice[2].z = long_edge();
  return lattice;
}

// A cell of atoms at random places.
Cell RandomGas(Dice& dice) {
  Cell cell;
  cell.lattice = SkewCell(dice, dice.Real(2.0, 8.0));
  const int atoms = dice.Whole(1, 14);
  for (int i = 0; i < atoms; ++i) {
    cell.coords.push_back(dice.Place(5.0));
    cell.radii.push_back(kElements[dice.Whole(0, 15) == 0 ? 3 : dice.Whole(0, 2)]);
  }
  return cell;
}

// A chain of carbons; its ends can meet through one face of the cell. Some atoms are moved
// elsewhere by lattice vectors.
Cell RandomChain(Dice& dice, int longest) {
  Cell cell;
  cell.lattice = SkewCell(dice, dice.Real(5.0, 12.0));
  const int atoms = dice.Whole(2, longest);
  Vec3D place = dice.Place(3.0);
  for (int i = 0; i < atoms; ++i) {
    cell.coords.push_back(place);
    cell.radii.push_back(kCarbon);
    place = place + Unit(dice.Place(1.0)) * dice.Real(1.2, 1.5);
  }
  const Vec3D from_end_to_end = place - cell.coords.front();
  if (dice.Whole(0, 1) == 1 && Length(from_end_to_end) > 4.0) cell.lattice[0] = from_end_to_end;
  for (Vec3D& coord : cell.coords) {
    if (dice.Whole(0, 2) != 0) continue;
    for (const Vec3D& t : cell.lattice) coord = coord + t * static_cast<double>(dice.Whole(-1, 1));
  }
  dice.Shuffle(cell);
  return cell;
}

// Hydrogens on a grid whose spacing is the very limit of a bond.
Cell RandomGrid(Dice& dice) {
  constexpr double kLimit = 0.704;
  Cell cell;
  cell.lattice = {Vec3D(dice.Whole(2, 6) * kLimit, 0, 0), Vec3D(0, dice.Whole(2, 6) * kLimit, 0),
                  Vec3D(0, 0, dice.Whole(2, 6) * kLimit)};
  const int atoms = dice.Whole(2, 14);
  for (int i = 0; i < atoms; ++i) {
    const int x = dice.Whole(-6, 6), y = dice.Whole(-6, 6), z = dice.Whole(-6, 6);
    cell.coords.emplace_back(x * kLimit, y * kLimit, z * kLimit);
    cell.radii.push_back(kHydrogen);
  }
  return cell;
}

// A gas with vectors or atoms that no cell has.
Cell RandomRubbish(Dice& dice) {
  Cell cell = RandomGas(dice);
  const auto some_vector = [&]() -> Vec3D& { return cell.lattice[dice.Whole(0, 2)]; };
  const auto some_atom = [&]() -> Vec3D& {
    return cell.coords[dice.Whole(0, static_cast<int>(cell.coords.size()) - 1)];
  };
  switch (dice.Whole(0, 8)) {
    case 0:
      some_vector() = Vec3D();
      break;
    case 1:
      some_vector() = Vec3D(kNaN, 1, 0);
      break;
    case 2:
      some_vector() = Vec3D(0, kInfinity, 0);
      break;
    case 3:
      some_vector() = some_vector();
      break;
    case 4:
      some_vector() = some_vector() * -2.0;
      break;
    case 5:
      some_vector() = Vec3D(1e-300, 0, 0);
      break;
    case 6:
      some_vector() = Vec3D(0, 1e30, 0);
      break;
    case 7:
      cell.lattice = {};
      break;
    default:
      for (Vec3D& t : cell.lattice) t = t * 0.1;
  }
  switch (dice.Whole(0, 5)) {
    case 0:
      some_atom() = Vec3D(kNaN, 0, 0);
      break;
    case 1:
      some_atom() = Vec3D(kInfinity, -kInfinity, 0);
      break;
    case 2:
      some_atom() = some_atom();
      break;
    case 3:
      some_atom() = some_atom() + some_vector() * 1e6;
      break;
    case 4: {
      const Vec3D far_off = dice.Place(std::pow(10.0, dice.Whole(4, 20)));
      for (Vec3D& coord : cell.coords) coord = coord + far_off;
      break;
    }
    default:
      break;
  }
  return cell;
}

// Where the plain sweeps end, all coordinates are the same; where they are nowhere near an end, no
// end is claimed.
void ExpectSameAsPlain(const Cell& cell, int& ended, int& endless) {
  std::vector<Vec3D> plain = cell.coords;
  const bool ends = StitchPlainly(plain, cell.radii, cell.lattice, 400).has_value();
  std::vector<Vec3D> coords = cell.coords;
  const StitchingEnd end = StitchFragments(coords, cell.radii, cell.lattice);
  ++(ends ? ended : endless);
  EXPECT_EQ(end == StitchingEnd::NothingMoves, ends);
  if (ends) {
    EXPECT_TRUE(AreSameCoords(coords, plain));
  }
}

TEST(PeriodicStitching, AnAtomMovesToWhereItIsBonded) {
  Cell cell = CarbonsAt({0.5, 9.5}, kWideCell);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_TRUE(AreSameCoords(cell.coords, {Vec3D(10.5, 0, 0), Vec3D(9.5, 0, 0)}));
}

TEST(PeriodicStitching, AtomsThatAreBondedWhereTheyStandMoveAllTheSame) {
  // A pair at one face and a third atom, bonded to one of them, at the other: the first of the pair
  // goes over to that and back, and it is the third one that comes.
  Cell cell = CarbonsAt({0.5, 1.9, 9.1}, kWideCell);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[0].x, 0.5);
  EXPECT_EQ(cell.coords[1].x, 1.9);
  EXPECT_EQ(cell.coords[2].x, 9.1 - 10.0);
}

TEST(PeriodicStitching, TwoAtomsAtTheVeryLimitOfABondAreNotBonded) {
  // Twice the limit, so that the image on the other side is no nearer either.
  const double limit = 1.1 * (0.75 + 0.75);
  const LatticeVectors lattice = {Vec3D(2.0 * limit, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, 50)};
  Cell cell = CarbonsAt({-2.0 * limit, limit}, lattice);
  const std::vector<Vec3D> before = cell.coords;
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_TRUE(AreSameCoords(cell.coords, before));
  cell.coords[1].x = std::nextafter(limit, 0.0);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[0].x, 0.0);
}

TEST(PeriodicStitching, NoAtomJoinsItsOwnImage) {
  Cell cell = CarbonsAt({0.5}, {Vec3D(1, 0, 0), Vec3D(0, 1, 0), Vec3D(0, 0, 1)});
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[0].x, 0.5);
}

TEST(PeriodicStitching, WithoutAtomsOrRadiiNothingMoves) {
  Cell cell;
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, kWideCell), StitchingEnd::NothingMoves);
  cell = CarbonsAt({0.5, 9.5}, kWideCell);
  cell.radii = {kUnknown, kUnknown};
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[0].x, 0.5);
}

TEST(PeriodicStitching, AChainThroughTheCellMovesForEver) {
  for (const int atoms : {2, 3, 4, 7, 50}) {
    std::vector<double> xs;
    for (int i = 0; i < atoms; ++i) xs.push_back(1.4 * i);
    const LatticeVectors lattice = {Vec3D(1.4 * atoms, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, 50)};
    Cell chain = CarbonsAt(xs, lattice);
    EXPECT_EQ(StitchFragments(chain.coords, chain.radii, chain.lattice), StitchingEnd::MovesForEver)
        << atoms;
    // The same atoms end up as a molecule where the cell is a little longer.
    chain = CarbonsAt(xs, {Vec3D(1.4 * atoms + 0.4, 0, 0), lattice[1], lattice[2]});
    std::vector<Vec3D> before = chain.coords;
    EXPECT_EQ(StitchFragments(chain.coords, chain.radii, chain.lattice),
              StitchingEnd::NothingMoves);
    EXPECT_TRUE(AreSameCoords(chain.coords, before));
  }
}

TEST(PeriodicStitching, TheLongestChainsThroughTheCellAreRecognised) {
  // Each sweep brings one atom a step on, so that it takes as many sweeps as there are atoms.
  constexpr int kAtoms = 20'000;
  std::vector<double> xs;
  for (int i = 0; i < kAtoms; ++i) xs.push_back(1.4 * i);
  Cell chain = CarbonsAt(xs, {Vec3D(1.4 * kAtoms, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, 50)});
  EXPECT_EQ(StitchFragments(chain.coords, chain.radii, chain.lattice), StitchingEnd::MovesForEver);
}

TEST(PeriodicStitching, NetworksInTwoAndThreeDimensionsMoveForEver) {
  // The cells of diamond, and a layer of graphite, 1 to 4 cells each way.
  constexpr double kDiamond = 3.567;
  constexpr double kBasis[][3] = {{0, 0, 0},       {.5, .5, 0},     {.5, 0, .5},
                                  {0, .5, .5},     {.25, .25, .25}, {.75, .75, .25},
                                  {.75, .25, .75}, {.25, .75, .75}};
  constexpr double kLayer[][2] = {{0, 0}, {1.42, 0}, {2.13, 1.2298}, {3.55, 1.2298}};
  for (int cells = 1; cells <= 4; ++cells) {
    for (unsigned seed = 0; seed < 5; ++seed) {
      Cell diamond, layer;
      for (int x = 0; x < cells; ++x) {
        for (int y = 0; y < cells; ++y) {
          for (const auto& atom : kLayer) {
            layer.coords.emplace_back(4.26 * x + atom[0], 2.4596 * y + atom[1], 0.0);
          }
          for (int z = 0; z < cells; ++z) {
            for (const auto& atom : kBasis) {
              diamond.coords.emplace_back(kDiamond * (x + atom[0]), kDiamond * (y + atom[1]),
                                          kDiamond * (z + atom[2]));
            }
          }
        }
      }
      diamond.lattice = {Vec3D(kDiamond * cells, 0, 0), Vec3D(0, kDiamond * cells, 0),
                         Vec3D(0, 0, kDiamond * cells)};
      layer.lattice = {Vec3D(4.26 * cells, 0, 0), Vec3D(0, 2.4596 * cells, 0), Vec3D(0, 0, 20)};
      Dice dice(seed);
      for (Cell* cell : {&diamond, &layer}) {
        cell->radii.assign(cell->coords.size(), kCarbon);
        dice.Shuffle(*cell);
        EXPECT_EQ(StitchFragments(cell->coords, cell->radii, cell->lattice),
                  StitchingEnd::MovesForEver)
            << cells << " cells, seed " << seed;
      }
    }
  }
}

TEST(PeriodicStitching, MoleculesBesideAnEndlessChainDoNotHideIt) {
  Cell cell = CarbonsAt({0.0, 1.4, 2.8}, {Vec3D(4.2, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, 50)});
  cell.coords.emplace_back(0, 25, 25);
  cell.coords.emplace_back(0, 25, 26);
  cell.radii.resize(5, kCarbon);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::MovesForEver);
}

TEST(PeriodicStitching, AVectorOfLengthZeroMovesBondedAtomsForEver) {
  const LatticeVectors slab = {Vec3D(10, 0, 0), Vec3D(0, 50, 0), Vec3D()};
  Cell cell = CarbonsAt({0.5, 9.5}, slab);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::MovesForEver);
  cell = CarbonsAt({0.5, 5.0}, slab);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  cell = CarbonsAt({0.5, 1.5}, {});
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::MovesForEver);
}

TEST(PeriodicStitching, AVectorThatIsNoNumberMovesNothing) {
  for (const double x : {kNaN, kInfinity}) {
    Cell cell = CarbonsAt({0.5, 1.5, 9.2}, {Vec3D(10, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, x)});
    EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
    EXPECT_EQ(cell.coords[2].x, 9.2 - 10.0);
    EXPECT_EQ(cell.coords[2].z, 0.0);
  }
}

TEST(PeriodicStitching, AMoveBackByAVectorKeepsANegativeZero) {
  Cell cell = CarbonsAt({9.5, 0.5}, {Vec3D(10, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, 50)});
  cell.coords[0].y = -0.0;
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[0].x, -0.5);
  EXPECT_TRUE(std::signbit(cell.coords[0].y));
  EXPECT_FALSE(std::signbit(cell.coords[0].z));
}

TEST(PeriodicStitching, AFlatCellWithoutEndIsGivenUp) {
  // Three vectors in one plane: no stretch of sweeps can be told to repeat.
  Cell cell = CarbonsAt({0.0, 1.4, 2.8}, {Vec3D(4.2, 0, 0), Vec3D(0, 50, 0), Vec3D(8.4, 50, 0)});
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::SweepsRunOut);
  // One whose sweeps end ends.
  cell = CarbonsAt({0.5, 9.5}, {Vec3D(10, 0, 0), Vec3D(0, 50, 0), Vec3D(10, 50, 0)});
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[0].x, 10.5);
}

TEST(PeriodicStitching, BondsWithinRoundingOfTheLimitProveNothing) {
  // What rounding could make of a chain of such bonds, once it has crawled far enough, is not
  // known.
  const double bond = 1.1 * (0.75 + 0.75) - 1e-9;
  Cell cell = CarbonsAt({0.0, bond}, {Vec3D(2.0 * bond, 0, 0), Vec3D(0, 50, 0), Vec3D(0, 0, 50)});
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::SweepsRunOut);
  // But atoms that come back to the very same places are certain to go on.
  cell = CarbonsAt({0.0, bond}, {Vec3D(10, 0, 0), Vec3D(0, 50, 0), Vec3D()});
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::MovesForEver);
}

TEST(PeriodicStitching, AtomsSoFarOffThatNoVectorMovesThem) {
  Cell cell = CarbonsAt({1e300, 1e300, 0.5, 9.5}, kWideCell);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::MovesForEver);
  cell = CarbonsAt({1e300, -1e300, 0.5, 9.5}, kWideCell);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[2].x, 10.5);
}

TEST(PeriodicStitching, AnAtomThatMovesTooFarOffForContactsStillFindsItsPlace) {
  constexpr double kFar = ImageContacts::kLargestCoord;
  Cell cell = CarbonsAt({kFar - 9.5, kFar - 0.5}, kWideCell);
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords[0].x, kFar + 0.5);
  EXPECT_EQ(cell.coords[1].x, kFar - 0.5);
}

TEST(PeriodicStitching, ThousandsOfAtomsOnOneSpot) {
  Cell cell = CarbonsAt(std::vector<double>(3000, 0.5), kWideCell);
  cell.coords.back().x = 9.8;
  EXPECT_EQ(StitchFragments(cell.coords, cell.radii, cell.lattice), StitchingEnd::NothingMoves);
  EXPECT_EQ(cell.coords.front().x, 0.5);
  EXPECT_EQ(cell.coords.back().x, 9.8 - 10.0);
}

TEST(PeriodicStitching, AtomsAtRandomPlacesEndWhereThePlainSweepsEnd) {
  int ended = 0, endless = 0;
  for (unsigned seed = 0; seed < 1500; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    ExpectSameAsPlain(RandomGas(dice), ended, endless);
  }
  EXPECT_GT(ended, 1000);
  EXPECT_GT(endless, 20);
}

TEST(PeriodicStitching, ChainsInPiecesEndWhereThePlainSweepsEnd) {
  int ended = 0, endless = 0;
  for (unsigned seed = 0; seed < 1000; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    ExpectSameAsPlain(RandomChain(dice, seed % 10 == 0 ? 40 : 12), ended, endless);
  }
  EXPECT_GT(ended, 400);
  EXPECT_GT(endless, 50);
}

TEST(PeriodicStitching, AtomsAtTheVeryLimitOfABondEndWhereThePlainSweepsEnd) {
  int ended = 0, endless = 0;
  for (unsigned seed = 0; seed < 1500; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    ExpectSameAsPlain(RandomGrid(dice), ended, endless);
  }
  EXPECT_GT(ended, 1000);
}

TEST(PeriodicStitching, RubbishEndsWhereThePlainSweepsEnd) {
  int ended = 0, endless = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    ExpectSameAsPlain(RandomRubbish(dice), ended, endless);
  }
  EXPECT_GT(ended, 100);
  EXPECT_GT(endless, 10);
}

}  // namespace
}  // namespace orvane
