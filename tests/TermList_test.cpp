// Lists of terms: what a list of tuples must do, over flat storage.
#include "TermList.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <span>
#include <vector>

namespace orvane {
namespace {

std::vector<int> TermOf(const TermList& terms, std::size_t term) {
  const std::span<const int> atoms = terms[term];
  return {atoms.begin(), atoms.end()};
}

TEST(TermList, IsEmptyAtFirst) {
  const TermList terms(3);
  EXPECT_EQ(terms.degree(), 3);
  EXPECT_EQ(terms.size(), 0u);
  EXPECT_TRUE(terms.empty());
  EXPECT_TRUE(terms.flat().empty());
}

TEST(TermList, KeepsTermsInTheirOrder) {
  TermList terms(3);
  terms.push_back({7, -1, 5});
  const std::vector<int> second{0, 2, 4};
  terms.push_back(std::span<const int>(second));
  EXPECT_EQ(terms.size(), 2u);
  EXPECT_FALSE(terms.empty());
  EXPECT_EQ(TermOf(terms, 0), (std::vector<int>{7, -1, 5}));
  EXPECT_EQ(TermOf(terms, 1), second);
  EXPECT_EQ(terms.flat(), (std::vector<int>{7, -1, 5, 0, 2, 4}));
}

TEST(TermList, CountsTermsAndNotIndices) {
  for (const int degree : {2, 3, 4}) {
    TermList terms(degree);
    terms.assign_flat(std::vector<int>(static_cast<std::size_t>(degree) * 6, 1));
    EXPECT_EQ(terms.size(), 6u) << "with a degree of " << degree;
    EXPECT_EQ(terms[5].size(), static_cast<std::size_t>(degree));
  }
}

TEST(TermList, IsClearedAndFilledAgain) {
  TermList terms(2);
  terms.push_back({1, 2});
  terms.clear();
  EXPECT_TRUE(terms.empty());
  EXPECT_EQ(terms.degree(), 2);
  terms.push_back({3, 4});
  EXPECT_EQ(terms.flat(), (std::vector<int>{3, 4}));
}

TEST(TermList, HoldsNothingMoreWhenRoomIsReserved) {
  TermList terms(4);
  terms.push_back({1, 2, 3, 4});
  terms.reserve(100);
  EXPECT_EQ(terms.flat(), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_GE(terms.flat().capacity(), 400u);
}

TEST(TermList, AppendsTheTermsOfAnotherListShifted) {
  TermList terms(2);
  terms.push_back({0, 1});
  TermList other(2);
  other.push_back({0, 2});
  other.push_back({5, 1});
  terms.append_shifted(other, 10);
  terms.append_shifted(other, -1);
  EXPECT_EQ(terms.flat(), (std::vector<int>{0, 1, 10, 12, 15, 11, -1, 1, 4, 0}));
  EXPECT_EQ(other.flat(), (std::vector<int>{0, 2, 5, 1}));
}

TEST(TermList, WrapsShiftedIndicesThatNoMoleculeHas) {
  constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  TermList terms(2), other(2);
  other.push_back({most, least});
  terms.append_shifted(other, 2);
  terms.append_shifted(other, -1);
  EXPECT_EQ(terms.flat(), (std::vector<int>{least + 1, least + 2, most - 1, most}));
}

TEST(TermList, AppendsNothingFromAnEmptyList) {
  TermList terms(3);
  terms.push_back({1, 2, 3});
  terms.append_shifted(TermList(3), 5);
  EXPECT_EQ(terms.flat(), (std::vector<int>{1, 2, 3}));
}

TEST(TermList, ReplacesAllTermsByFlatIndices) {
  TermList terms(2);
  terms.push_back({9, 9});
  terms.assign_flat({1, 2, 3, 4});
  EXPECT_EQ(terms.size(), 2u);
  EXPECT_EQ(TermOf(terms, 1), (std::vector<int>{3, 4}));
  terms.assign_flat({});
  EXPECT_TRUE(terms.empty());
}

TEST(TermList, EqualsAListOfTheSameDegreeAndIndicesOnly) {
  TermList terms(2);
  terms.assign_flat({1, 2, 3, 4});
  TermList same(2);
  same.push_back({1, 2});
  same.push_back({3, 4});
  TermList other_index(2);
  other_index.assign_flat({1, 2, 4, 3});
  TermList other_degree(4);
  other_degree.assign_flat({1, 2, 3, 4});
  EXPECT_TRUE(terms == same);
  EXPECT_FALSE(terms == other_index);
  EXPECT_FALSE(terms == other_degree);
}

TEST(TermList, IsCopiedAsAValue) {
  TermList terms(2);
  terms.push_back({1, 2});
  TermList copy = terms;
  copy.push_back({3, 4});
  EXPECT_EQ(terms.flat(), (std::vector<int>{1, 2}));
  EXPECT_EQ(copy.flat(), (std::vector<int>{1, 2, 3, 4}));
}

TEST(TermList, AgreesWithAListOfListsOnRandomEdits) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    const int degree = 2 + static_cast<int>(random() % 3);
    TermList terms(degree);
    std::vector<std::vector<int>> expected;
    for (int step = 0; step < 50; ++step) {
      const unsigned edit = random() % 8;
      if (edit == 0) {
        terms.clear();
        expected.clear();
      } else if (edit == 1) {
        const int shift = static_cast<int>(random() % 100) - 50;
        const TermList copy = terms;
        terms.append_shifted(copy, shift);
        const std::size_t before = expected.size();
        for (std::size_t i = 0; i < before; ++i) {
          std::vector<int> term = expected[i];
          for (int& atom : term) atom += shift;
          expected.push_back(term);
        }
        if (expected.size() > 1000) {
          terms.clear();
          expected.clear();
        }
      } else {
        std::vector<int> term(static_cast<std::size_t>(degree));
        for (int& atom : term) atom = static_cast<int>(random() % 1000);
        terms.push_back(std::span<const int>(term));
        expected.push_back(term);
      }
      ASSERT_EQ(terms.size(), expected.size());
      for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(TermOf(terms, i), expected[i]);
    }
  }
}

TEST(TermList, RoomMadeAheadChangesNothing) {
  TermList angles(3);
  TermList one(3);
  one.push_back({0, 1, 2});
  for (int i = 0; i < 1000; ++i) {
    angles.reserve_more(1);
    angles.append_shifted(one, 3 * i);
  }
  angles.reserve_more(0);
  angles.reserve_more(100000);
  ASSERT_EQ(angles.size(), 1000u);
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(angles.flat()[i], i);
}

}  // namespace
}  // namespace orvane
