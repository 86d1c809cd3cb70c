// The list of cycles of a graph: the walk, the filters with their gaps, and the whole on graphs
// small enough to try all cycles.
#include "udgcd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::RunInChild;
using testing_support::RunResult;

using Graph = boost::adjacency_list<boost::vecS, boost::vecS, boost::undirectedS>;
using Vertex = unsigned long;
using Path = std::vector<Vertex>;
using Paths = std::vector<Path>;
using Edges = std::vector<std::pair<int, int>>;

Graph GraphOf(int vertices, const Edges& edges) {
  Graph graph(static_cast<std::size_t>(vertices));
  for (const auto& [a, b] : edges) {
    boost::add_edge(static_cast<Vertex>(a), static_cast<Vertex>(b), graph);
  }
  return graph;
}

Paths CyclesOf(int vertices, const Edges& edges) {
  return udgcd::FindCycles<Graph, Vertex>(GraphOf(vertices, edges));
}

const Path& Recorded() {
  return udgcd::CycleDetector<Vertex>::v_source_vertex;
}

TEST(udgcd, AGraphWithoutACycleHasAnEmptyList) {
  EXPECT_EQ(CyclesOf(0, {}), Paths{});
  EXPECT_EQ(CyclesOf(1, {}), Paths{});
  EXPECT_EQ(CyclesOf(6, {{0, 1}, {1, 2}, {1, 3}, {4, 5}}), Paths{});
  EXPECT_EQ(Recorded(), Path{});
}

TEST(udgcd, ATriangleIsWalkedFromItsLastVertex) {
  const Edges edges = {{0, 1}, {0, 2}, {1, 2}};
  EXPECT_EQ(CyclesOf(3, edges), (Paths{{0, 1, 2}}));
  EXPECT_EQ(Recorded(), (Path{2}));

  Paths open = {{2}};
  Paths closed;
  EXPECT_TRUE(udgcd::explore(Vertex{2}, GraphOf(3, edges), open, closed, 0));
  EXPECT_EQ(closed, (Paths{{2, 0, 1, 2}, {2, 1, 0, 2}}));
  // Open paths are only added.
  EXPECT_EQ(open, (Paths{{2}, {2, 0}, {2, 0, 1}, {2, 1}, {2, 1, 0}}));
  EXPECT_EQ(udgcd::RemoveOppositePairs(closed), (Paths{{2, 0, 1, 2}}));
}

TEST(udgcd, AnEdgeOfAVertexWithItselfRecordsItAndAddsNoCycle) {
  EXPECT_EQ(CyclesOf(3, {{2, 2}, {0, 1}, {0, 2}, {1, 2}}), (Paths{{0, 1, 2}}));
  EXPECT_EQ(Recorded(), (Path{2}));
}

TEST(udgcd, AnEarlierSearchLeavesNothingBehind) {
  CyclesOf(3, {{0, 1}, {0, 2}, {1, 2}});
  EXPECT_EQ(CyclesOf(3, {{0, 1}, {0, 2}, {1, 2}}), (Paths{{0, 1, 2}}));
  EXPECT_EQ(Recorded(), (Path{2}));
}

TEST(udgcd, SeparateRingsAndLooseVerticesAreAllVisited) {
  const Edges edges = {{1, 3}, {1, 5}, {3, 5}, {4, 6}, {4, 9}, {6, 8}, {8, 9}, {8, 10}};
  EXPECT_EQ(CyclesOf(12, edges), (Paths{{1, 3, 5}, {4, 6, 8, 9}}));
  EXPECT_EQ(Recorded().size(), 2u);
}

TEST(udgcd, TheOuterRingOfTwoFusedOnesStaysWhereItsChordEndsAtItsLastVertex) {
  EXPECT_EQ(
      CyclesOf(
          10,
          {{0, 1}, {0, 9}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {4, 9}, {5, 6}, {6, 7}, {7, 8}, {8, 9}}),
      (Paths{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 1, 2, 3, 4, 9}, {4, 5, 6, 7, 8, 9}}));
  EXPECT_EQ(Recorded(), (Path{9}));
  EXPECT_EQ(
      CyclesOf(
          10,
          {{0, 1}, {0, 5}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {4, 9}, {5, 6}, {6, 7}, {7, 8}, {8, 9}}),
      (Paths{{0, 1, 2, 3, 4, 5}, {4, 5, 6, 7, 8, 9}}));
}

TEST(udgcd, ACageKeepsAllItsChordlessCycles) {
  EXPECT_EQ(CyclesOf(7, {{0, 1}, {0, 5}, {0, 6}, {1, 2}, {2, 3}, {3, 4}, {3, 6}, {4, 5}}),
            (Paths{{0, 1, 2, 3, 4, 5}, {0, 1, 2, 3, 6}, {0, 5, 4, 3, 6}}));
}

TEST(udgcd, ChainsOnARingAddNothing) {
  EXPECT_EQ(CyclesOf(9, {{0, 1}, {0, 5}, {0, 6}, {1, 2}, {2, 3}, {3, 4}, {3, 8}, {4, 5}, {6, 7}}),
            (Paths{{0, 1, 2, 3, 4, 5}}));
}

TEST(udgcd, AWalkThatCanCloseGoesOnToNoLaterNeighbour) {
  // From 0 to 1 to 2, which meets 0 before it meets 3.
  const Graph graph = GraphOf(4, {{0, 1}, {1, 2}, {2, 0}, {2, 3}});
  Paths open = {{0, 1, 2}};
  Paths closed;
  EXPECT_TRUE(udgcd::explore(Vertex{2}, graph, open, closed, 2));
  EXPECT_EQ(closed, (Paths{{0, 1, 2, 0}}));
  EXPECT_EQ(open, (Paths{{0, 1, 2}}));
}

TEST(udgcd, PathsThatCloseOnAnInnerVertexAreDropped) {
  // A ring 1-2-3 on a stem from 0.
  const Graph graph = GraphOf(4, {{0, 1}, {1, 2}, {1, 3}, {2, 3}});
  Paths open = {{0}};
  Paths closed;
  EXPECT_TRUE(udgcd::explore(Vertex{0}, graph, open, closed, 0));
  EXPECT_EQ(closed, (Paths{{0, 1, 2, 3, 1}, {0, 1, 3, 2, 1}}));
  EXPECT_EQ(udgcd::RemoveOppositePairs(closed), Paths{});
}

TEST(udgcd, AWalkWithoutACycleFindsNone) {
  const Graph graph = GraphOf(3, {{0, 1}, {1, 2}});
  Paths open = {{0}};
  Paths closed;
  EXPECT_FALSE(udgcd::explore(Vertex{0}, graph, open, closed, 0));
  EXPECT_EQ(closed, Paths{});
  EXPECT_EQ(open, (Paths{{0}, {0, 1}, {0, 1, 2}}));
}

TEST(udgcd, OfTwoOppositePathsTheFirstStays) {
  const Paths paths = {{1, 2, 3, 1}, {4, 5, 6, 4}, {1, 3, 2, 1}, {7, 8, 9, 7}, {4, 6, 5, 4}};
  EXPECT_EQ(udgcd::RemoveOppositePairs(paths), (Paths{{1, 2, 3, 1}, {4, 5, 6, 4}}));
  EXPECT_EQ(udgcd::RemoveOppositePairs(Paths{{1, 2, 3, 1}}), Paths{});
  // A path with two twins comes twice.
  EXPECT_EQ(udgcd::RemoveOppositePairs(Paths{{1, 2, 3, 1}, {1, 3, 2, 1}, {1, 3, 2, 1}}),
            (Paths{{1, 2, 3, 1}, {1, 2, 3, 1}}));
  // A path that has been taken for a twin looks for none itself.
  EXPECT_EQ(udgcd::RemoveOppositePairs(Paths{{1, 2, 3, 1}, {1, 3, 2, 1}, {1, 2, 3, 1}}),
            (Paths{{1, 2, 3, 1}}));
}

TEST(udgcd, TheNormalFormBeginsAtTheSmallestVertexAndGoesToTheSmallerNeighbour) {
  EXPECT_EQ(udgcd::GetSortedTrimmed(Path{3, 1, 2, 3}), (Path{1, 2, 3}));
  EXPECT_EQ(udgcd::GetSortedTrimmed(Path{3, 2, 1, 3}), (Path{1, 2, 3}));
  EXPECT_EQ(udgcd::GetSortedTrimmed(Path{0, 5, 2, 4, 0}), (Path{0, 4, 2, 5}));
  EXPECT_EQ(udgcd::GetSortedTrimmed(Path{0, 4, 2, 5, 0}), (Path{0, 4, 2, 5}));
  Path path = {4, 1, 3, 1};
  udgcd::PutSmallestElemFirst(path);
  EXPECT_EQ(path, (Path{1, 3, 1, 4}));
}

TEST(udgcd, NormalFormsAreSortedAndComeOnce) {
  EXPECT_EQ(udgcd::RemoveIdentical(Paths{{3, 1, 2, 3}}), (Paths{{1, 2, 3}}));
  EXPECT_EQ(udgcd::RemoveIdentical(Paths{{9, 8, 7, 9}, {3, 1, 2, 3}, {2, 3, 1, 2}}),
            (Paths{{1, 2, 3}, {7, 8, 9}}));
}

TEST(udgcd, AChordIsSeenUnlessItEndsAtTheLastVertex) {
  const Edges ring = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
  const auto kept = [&](const std::pair<int, int>& chord) {
    Edges edges = ring;
    edges.push_back(chord);
    return udgcd::RemoveNonChordless(Paths{{0, 1, 2, 3}}, GraphOf(4, edges));
  };
  EXPECT_EQ(kept({0, 2}), Paths{});
  EXPECT_EQ(kept({1, 3}), (Paths{{0, 1, 2, 3}}));
  EXPECT_EQ(udgcd::RemoveNonChordless(Paths{{0, 1, 2}}, GraphOf(3, {{0, 1}, {1, 2}, {2, 0}})),
            (Paths{{0, 1, 2}}));
}

TEST(udgcd, BrokenPathsStopTheProgram) {
  const auto stops = [](const std::function<void()>& code, const std::string& assertion) {
    const RunResult result = RunInChild(code);
    EXPECT_EQ(result.status, 128 + SIGABRT);
    EXPECT_NE(result.err.find(assertion), std::string::npos) << result.err;
  };
  stops([] { udgcd::GetSortedTrimmed(Path{1, 2, 3}); }, "v_in.front() == v_in.back()");
  stops([] { udgcd::GetSortedTrimmed(Path{1, 1}); }, "v_in.size() > 2");
  // Broken in both ways: the ends are looked at first.
  stops([] { udgcd::GetSortedTrimmed(Path{1, 2}); }, "v_in.front() == v_in.back()");
  stops([] { udgcd::RemoveOppositePairs(Paths{}); }, "v_cycles.size()");
  stops([] { udgcd::RemoveIdentical(Paths{}); }, "v_cycles.size()");
  stops(
      [] {
        Paths open;
        Paths closed;
        udgcd::explore(Vertex{0}, GraphOf(1, {}), open, closed, 0);
      },
      "vv_paths.size()>0");
}

// All cycles of a small graph in normal form, sorted, found by trying.
class PlainCycles {
 public:
  PlainCycles(int vertices, const Edges& edges)
      : adjacent_(vertices, std::vector<bool>(vertices, false)) {
    for (const auto& [a, b] : edges) adjacent_[a][b] = adjacent_[b][a] = true;
    for (int start = 0; start < vertices; ++start) {
      path_ = {static_cast<Vertex>(start)};
      Extend();
    }
    std::sort(all_.begin(), all_.end());
  }

  const Paths& all() const { return all_; }

  // Positions of the two ends of each chord.
  std::vector<std::pair<std::size_t, std::size_t>> Chords(const Path& cycle) const {
    std::vector<std::pair<std::size_t, std::size_t>> chords;
    for (std::size_t a = 0; a < cycle.size(); ++a) {
      for (std::size_t b = a + 2; b < cycle.size(); ++b) {
        if ((a != 0 || b + 1 != cycle.size()) && adjacent_[cycle[a]][cycle[b]]) {
          chords.push_back({a, b});
        }
      }
    }
    return chords;
  }

 private:
  void Extend() {
    const Vertex last = path_.back();
    if (path_.size() > 2 && adjacent_[last][path_[0]] && path_[1] < last) all_.push_back(path_);
    for (Vertex next = path_[0] + 1; next < adjacent_.size(); ++next) {
      if (!adjacent_[last][next]) continue;
      if (std::find(path_.begin(), path_.end(), next) != path_.end()) continue;
      path_.push_back(next);
      Extend();
      path_.pop_back();
    }
  }

  std::vector<std::vector<bool>> adjacent_;
  Path path_;
  Paths all_;
};

TEST(udgcd, TheListHoldsAllChordlessCyclesAndNoOtherButThoseOfTheGap) {
  std::mt19937 random(20240607);
  int with_gap = 0;
  for (int round = 0; round < 3000; ++round) {
    const int vertices = 2 + static_cast<int>(random() % 8);
    Edges edges;
    for (int a = 0; a < vertices; ++a) {
      for (int b = a + 1; b < vertices; ++b) edges.emplace_back(a, b);
    }
    std::shuffle(edges.begin(), edges.end(), random);
    edges.resize(std::min<std::size_t>(edges.size(), random() % 14));
    if (round % 2 == 0) std::sort(edges.begin(), edges.end());
    const Paths found = CyclesOf(vertices, edges);
    const PlainCycles plain(vertices, edges);
    ASSERT_TRUE(std::is_sorted(found.begin(), found.end()));
    for (const Path& cycle : plain.all()) {
      const bool is_listed = std::binary_search(found.begin(), found.end(), cycle);
      const auto chords = plain.Chords(cycle);
      if (chords.empty()) {
        ASSERT_TRUE(is_listed);
      } else if (is_listed) {
        ++with_gap;
        for (const auto& chord : chords) ASSERT_EQ(chord.second, cycle.size() - 1);
      }
    }
    for (const Path& cycle : found) {
      ASSERT_TRUE(std::binary_search(plain.all().begin(), plain.all().end(), cycle));
    }
  }
  EXPECT_GT(with_gap, 0);
}

}  // namespace
}  // namespace orvane
