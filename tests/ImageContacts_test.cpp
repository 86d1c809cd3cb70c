// The contacts of atoms with images, against a search through all images near the cell.
#include "ImageContacts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>

namespace orvane {
namespace {

constexpr BondRadii kCarbon = {0.75, 0.67, 0.60};
constexpr BondRadii kHydrogen = {0.32, 0.0, 0.0};
constexpr double kCarbonBond = 1.65;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

const LatticeVectors kCube = {Vec3D(10, 0, 0), Vec3D(0, 10, 0), Vec3D(0, 0, 10)};

using Contact = std::tuple<int, LatticeOffset, bool>;

std::vector<std::vector<Contact>> AllOf(const ImageContacts& contacts, std::size_t atoms) {
  std::vector<std::vector<Contact>> all(atoms);
  for (std::size_t i = 0; i < atoms; ++i) {
    for (const ImageContact& contact : contacts.Of(static_cast<int>(i))) {
      all[i].emplace_back(contact.atom, contact.offset, contact.near_limit);
    }
    std::sort(all[i].begin(), all[i].end());
  }
  return all;
}

std::vector<std::vector<Contact>> FindPlainly(const std::vector<Vec3D>& coords,
                                              const std::vector<BondRadii>& radii,
                                              const LatticeVectors& lattice, int furthest) {
  std::vector<std::vector<Contact>> all(coords.size());
  for (std::size_t i = 0; i < coords.size(); ++i) {
    for (std::size_t j = 0; j < coords.size(); ++j) {
      if (i == j) continue;
      for (int x = -furthest; x <= furthest; ++x) {
        for (int y = -furthest; y <= furthest; ++y) {
          for (int z = -furthest; z <= furthest; ++z) {
            const Vec3D image = coords[i] + lattice[0] * x + lattice[1] * y + lattice[2] * z;
            if (!AreBonded(radii[i], radii[j], Length(image - coords[j]))) continue;
            all[i].emplace_back(static_cast<int>(j), LatticeOffset{x, y, z}, false);
          }
        }
      }
    }
    std::sort(all[i].begin(), all[i].end());
    // A vector of length zero leads nowhere, and is found at each of its multiples.
    all[i].erase(std::unique(all[i].begin(), all[i].end()), all[i].end());
  }
  return all;
}

TEST(ImageContacts, TwoAtomsThatTouchThroughAFace) {
  const auto contacts =
      ImageContacts::Find({Vec3D(0.5, 1, 1), Vec3D(9.5, 1, 1)}, {kCarbon, kCarbon}, kCube);
  ASSERT_TRUE(contacts.has_value());
  ASSERT_EQ(contacts->Of(0).size(), 1u);
  EXPECT_EQ(contacts->Of(0)[0].atom, 1);
  EXPECT_EQ(contacts->Of(0)[0].offset, (LatticeOffset{1, 0, 0}));
  EXPECT_FALSE(contacts->Of(0)[0].near_limit);
  ASSERT_EQ(contacts->Of(1).size(), 1u);
  EXPECT_EQ(contacts->Of(1)[0].offset, (LatticeOffset{-1, 0, 0}));
}

TEST(ImageContacts, APairWithinTheMarginOfTheLimitIsMarked) {
  const double margin = ImageContacts::kMargin;
  for (const auto& [distance, count, near_limit] : {std::tuple{kCarbonBond - 2 * margin, 1u, false},
                                                    {kCarbonBond - margin / 2, 1u, true},
                                                    {kCarbonBond + margin / 2, 1u, true},
                                                    {kCarbonBond + 2 * margin, 0u, false}}) {
    const auto contacts =
        ImageContacts::Find({Vec3D(), Vec3D(distance, 0, 0)}, {kCarbon, kCarbon}, kCube);
    ASSERT_TRUE(contacts.has_value());
    ASSERT_EQ(contacts->Of(0).size(), count) << distance;
    for (const ImageContact& contact : contacts->Of(0)) {
      EXPECT_EQ(contact.near_limit, near_limit) << distance;
    }
  }
}

TEST(ImageContacts, RandomCellsHaveTheContactsThatAPlainSearchFinds) {
  std::mt19937 engine(1);
  const auto real = [&](double low, double high) {
    return low + (high - low) * (static_cast<double>(engine()) / 4294967296.0);
  };
  std::size_t found = 0;
  for (int round = 0; round < 120; ++round) {
    SCOPED_TRACE(round);
    const double edge = real(2.0, 7.0);
    // One by one: the order of a call's arguments is the compiler's choice.
    LatticeVectors lattice = {};
    lattice[0].x = edge * real(0.7, 1.3);
    lattice[1].x = edge * real(-0.5, 0.5);
    lattice[1].y = edge * real(0.7, 1.3);
    lattice[2].x = edge * real(-0.5, 0.5);
    lattice[2].y = edge * real(-0.5, 0.5);
    lattice[2].z = edge * real(0.7, 1.3);
    if (round % 3 == 0) std::swap(lattice[0], lattice[2]);
    // Vectors that lead nowhere, so that atoms can be anywhere in their direction.
    for (int k = 0; k < round % 4; ++k) lattice[(round + k) % 3] = Vec3D();
    std::vector<Vec3D> coords;
    std::vector<BondRadii> radii;
    for (int i = 0; i < 8; ++i) {
      const double x = real(-6, 6), y = real(-6, 6);
      coords.emplace_back(x, y, real(-6, 6));
      radii.push_back(i % 3 == 0 ? kHydrogen : kCarbon);
    }
    const auto contacts = ImageContacts::Find(coords, radii, lattice);
    ASSERT_TRUE(contacts.has_value());
    auto expected = FindPlainly(coords, radii, lattice, 12);
    for (std::vector<Contact>& of_atom : expected) {
      for (auto& [atom, offset, near_limit] : of_atom) {
        for (int k = 0; k < 3; ++k) {
          if (!LeadsToImages(lattice[k])) offset[k] = 0;
        }
      }
      of_atom.erase(std::unique(of_atom.begin(), of_atom.end()), of_atom.end());
      found += of_atom.size();
    }
    EXPECT_EQ(AllOf(*contacts, coords.size()), expected);
  }
  EXPECT_GT(found, 500u);
}

TEST(ImageContacts, AnAtomAtNoFinitePlaceHasNone) {
  const auto contacts = ImageContacts::Find(
      {Vec3D(0.5, 1, 1), Vec3D(kNaN, 1, 1), Vec3D(9.5, 1, 1), Vec3D(0.5, -kInfinity, 1)},
      {kCarbon, kCarbon, kCarbon, kCarbon}, kCube);
  ASSERT_TRUE(contacts.has_value());
  EXPECT_EQ(contacts->Of(0).size(), 1u);
  EXPECT_TRUE(contacts->Of(1).empty());
  EXPECT_TRUE(contacts->Of(3).empty());
}

TEST(ImageContacts, NoAtomsHaveNoContacts) {
  EXPECT_TRUE(ImageContacts::Find({}, {}, kCube).has_value());
}

TEST(ImageContacts, AVectorThatIsNoNumberLeadsNowhere) {
  for (const double x : {kNaN, kInfinity, 0.0}) {
    const auto contacts =
        ImageContacts::Find({Vec3D(1, 1, 0.5), Vec3D(1, 9.5, 0.5)}, {kCarbon, kCarbon},
                            {kCube[0], kCube[1], Vec3D(0, 0, x)});
    ASSERT_TRUE(contacts.has_value());
    ASSERT_EQ(contacts->Of(0).size(), 1u);
    EXPECT_EQ(contacts->Of(0)[0].offset, (LatticeOffset{0, 1, 0}));
  }
}

TEST(ImageContacts, NoneAreGivenWhereTheyAreNoHelp) {
  const std::vector<Vec3D> coords = {Vec3D(0.5, 1, 1), Vec3D(9.5, 1, 1)};
  const std::vector<BondRadii> radii = {kCarbon, kCarbon};
  const auto helps = [&](const Vec3D& t1, const Vec3D& t2, const Vec3D& t3) {
    return ImageContacts::Find(coords, radii, {t1, t2, t3}).has_value();
  };
  EXPECT_TRUE(helps(kCube[0], kCube[1], kCube[2]));
  // In one plane, in one line, far shorter than a bond, far longer than any cell.
  EXPECT_FALSE(helps(kCube[0], kCube[1], Vec3D(10, 10, 0)));
  EXPECT_FALSE(helps(kCube[0], kCube[1], Vec3D(10, 10, 1e-3)));
  EXPECT_FALSE(helps(kCube[0], kCube[0], Vec3D()));
  EXPECT_FALSE(helps(Vec3D(1e-9, 0, 0), kCube[1], kCube[2]));
  EXPECT_FALSE(helps(Vec3D(1e-300, 0, 0), Vec3D(), Vec3D()));
  EXPECT_FALSE(helps(Vec3D(5e-3, 0, 0), Vec3D(0, 5e-3, 0), Vec3D(0, 0, 5e-3)));
  EXPECT_FALSE(helps(Vec3D(1e30, 0, 0), kCube[1], kCube[2]));
  // Atoms where numbers have too few digits.
  EXPECT_FALSE(ImageContacts::Find({Vec3D(1e8, 0, 0), Vec3D()}, radii, kCube).has_value());
  // Thousands on one spot.
  EXPECT_FALSE(
      ImageContacts::Find(std::vector<Vec3D>(3000), std::vector<BondRadii>(3000, kCarbon), kCube)
          .has_value());
}

}  // namespace
}  // namespace orvane
