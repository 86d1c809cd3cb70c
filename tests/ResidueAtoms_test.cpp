// The atoms of a residue, held against a list in which names are looked for one by one.
#include "ResidueAtoms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <string>
#include <vector>

namespace orvane {
namespace {

std::vector<int> NumbersOf(const ResidueAtoms& atoms) {
  std::vector<int> numbers;
  atoms.ForEach([&](int number) { numbers.push_back(number); });
  return numbers;
}

TEST(ResidueAtoms, AtomsGoBehindOthersOrInFrontOfAll) {
  const std::vector<std::string> names = {"N", "CA", "C"};
  const std::string added[] = {"HN", "HA", "OXT", "H1"};
  ResidueAtoms atoms(10, names);
  atoms.PutBehind(atoms.Find("N"), 100, added[0]);
  atoms.PutBehind(atoms.Find("CA"), 101, added[1]);
  atoms.PutBehind(atoms.Last(), 102, added[2]);
  atoms.PutBehind(ResidueAtoms::kNone, 103, added[3]);
  EXPECT_EQ(NumbersOf(atoms), (std::vector<int>{103, 10, 100, 11, 101, 12, 102}));
  EXPECT_EQ(atoms.size(), 7);
  EXPECT_EQ(atoms.NumberOf(atoms.Last()), 102);
  EXPECT_EQ(atoms.NumberOf(atoms.Find("HA")), 101);
  EXPECT_EQ(atoms.Find("O"), ResidueAtoms::kNone);
  EXPECT_TRUE(atoms.ComesBefore(atoms.Find("HN"), atoms.Find("CA")));
  EXPECT_FALSE(atoms.ComesBefore(atoms.Find("N"), atoms.Find("H1")));
  EXPECT_FALSE(atoms.ComesBefore(atoms.Find("N"), atoms.Find("N")));
}

TEST(ResidueAtoms, OfAtomsWithOneNameTheFirstIsFound) {
  for (const int others : {0, 2 * ResidueAtoms::kFewAtoms}) {
    std::vector<std::string> names = {"C", "H", "H", "O", "H"};
    for (int i = 0; i < others; ++i) names.push_back("X" + std::to_string(i));
    ResidueAtoms atoms(0, names);
    for (const int entry : {1, 2, 4}) {
      ASSERT_EQ(atoms.Find("H"), entry);
      atoms.TakeOut(entry);
    }
    EXPECT_EQ(atoms.Find("H"), ResidueAtoms::kNone);
    EXPECT_EQ(atoms.size(), others + 2);
  }
}

TEST(ResidueAtoms, AllAtomsCanBeTakenOutAndOthersPutIn) {
  const std::vector<std::string> names = {"A", "B"};
  ResidueAtoms atoms(0, names);
  atoms.TakeOut(atoms.Find("B"));
  atoms.TakeOut(atoms.Find("A"));
  EXPECT_EQ(atoms.Last(), ResidueAtoms::kNone);
  EXPECT_TRUE(NumbersOf(atoms).empty());
  atoms.PutBehind(ResidueAtoms::kNone, 7, names[1]);
  EXPECT_EQ(NumbersOf(atoms), std::vector<int>{7});
  EXPECT_EQ(atoms.NumberOf(atoms.Find("B")), 7);
}

TEST(ResidueAtoms, BehaveLikeAPlainList) {
  struct Named {
    std::string name;
    int number;
  };
  std::mt19937 engine(5);
  const auto below = [&](int n) { return static_cast<int>(engine() % static_cast<unsigned>(n)); };
  for (int run = 0; run < 300; ++run) {
    // Residues that stay small, grow beyond the few, or begin there; few names or many.
    const int begin = below(2 * ResidueAtoms::kFewAtoms);
    const int kinds = run % 2 == 0 ? 20 : 500;
    std::vector<std::string> names;
    for (int i = 0; i < begin; ++i) names.push_back("N" + std::to_string(below(kinds)));
    std::vector<Named> plain;
    for (int i = 0; i < begin; ++i) plain.push_back({names[i], 1000 + i});
    ResidueAtoms atoms(1000, names);
    std::deque<std::string> added;
    const auto find = [&](const std::string& name) {
      return std::ranges::find(plain, name, &Named::name);
    };
    for (int step = 0; step < 200; ++step) {
      const std::string name = "N" + std::to_string(below(kinds));
      const auto found = find(name);
      const int entry = atoms.Find(name);
      ASSERT_EQ(entry == ResidueAtoms::kNone, found == plain.end());
      if (found != plain.end()) {
        ASSERT_EQ(atoms.NumberOf(entry), found->number);
        const auto other = find("N" + std::to_string(below(kinds)));
        if (other != plain.end()) {
          ASSERT_EQ(atoms.ComesBefore(entry, atoms.Find(other->name)), found < other);
        }
        if (below(3) == 0) {
          atoms.TakeOut(entry);
          plain.erase(found);
        }
      } else {
        const auto in_front = find("N" + std::to_string(below(kinds)));
        const bool at_head = in_front == plain.end();
        added.push_back(name);
        atoms.PutBehind(at_head ? ResidueAtoms::kNone : atoms.Find(in_front->name), step,
                        added.back());
        plain.insert(at_head ? plain.begin() : in_front + 1, {name, step});
      }
      ASSERT_EQ(atoms.size(), static_cast<int>(plain.size()));
      ASSERT_EQ(atoms.Last() == ResidueAtoms::kNone, plain.empty());
      if (!plain.empty()) {
        ASSERT_EQ(atoms.NumberOf(atoms.Last()), plain.back().number);
      }
    }
    std::vector<int> numbers;
    for (const Named& atom : plain) numbers.push_back(atom.number);
    ASSERT_EQ(NumbersOf(atoms), numbers);
  }
}

}  // namespace
}  // namespace orvane
