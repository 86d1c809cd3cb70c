// Ring classes against the list of all cycles, and on molecules whose list nobody could wait for.
#include "RingClasses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <queue>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "BondSearch.h"
#include "PDB.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;

using Classes = std::vector<int>;

struct Graph {
  int atoms = 0;
  TermList bonds{2};
};

Classes ClassesOf(const Graph& graph) {
  return FindRingClasses(graph.atoms, graph.bonds);
}

Classes ClassesOf(int atoms, const std::vector<std::pair<int, int>>& bonds) {
  Graph graph{atoms, TermList(2)};
  for (const auto& [a, b] : bonds) graph.bonds.push_back({a, b});
  return ClassesOf(graph);
}

int ClassOfLength(int length) {
  return length == 5 || length == 6 ? length : 0;
}

// By the list of cycles.
Classes ListedClasses(const Graph& graph) {
  PDB molecule;
  molecule.numAtoms = graph.atoms;
  molecule.tmpBonds = graph.bonds;
  std::vector<std::vector<int>> cycles;
  molecule.BuildCycles(cycles);
  Classes smallest(graph.atoms, 0);
  for (const std::vector<int>& cycle : cycles) {
    const int length = static_cast<int>(cycle.size());
    for (const int atom : cycle) {
      if (smallest[atom] == 0 || length < smallest[atom]) smallest[atom] = length;
    }
  }
  for (int& length : smallest) length = ClassOfLength(length);
  return smallest;
}

// By the shortest way between the ends of each bond without this bond.
Classes PlainClasses(const Graph& graph) {
  std::vector<std::vector<int>> neighbours(graph.atoms);
  for (std::size_t i = 0; i < graph.bonds.size(); ++i) {
    neighbours[graph.bonds[i][0]].push_back(graph.bonds[i][1]);
    neighbours[graph.bonds[i][1]].push_back(graph.bonds[i][0]);
  }
  Classes classes;
  for (int atom = 0; atom < graph.atoms; ++atom) {
    int shortest = 0;
    for (const int first : neighbours[atom]) {
      std::vector<int> distance(graph.atoms, -1);
      std::queue<int> queue({first});
      distance[first] = 1;
      while (!queue.empty()) {
        const int from = queue.front();
        queue.pop();
        for (const int to : neighbours[from]) {
          if (distance[to] >= 0 || (from == first && to == atom)) continue;
          distance[to] = distance[from] + 1;
          queue.push(to);
        }
      }
      if (distance[atom] > 0 && (shortest == 0 || distance[atom] < shortest)) {
        shortest = distance[atom];
      }
    }
    classes.push_back(ClassOfLength(shortest));
  }
  return classes;
}

// A connected graph with a number of rings and no atom of more bonds than told, atoms and bonds in
// random order.
Graph RandomMolecule(std::mt19937& random, int atoms, int rings, int most_bonds) {
  const auto below = [&](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  std::vector<int> names(atoms);
  std::iota(names.begin(), names.end(), 0);
  std::shuffle(names.begin(), names.end(), random);
  std::vector<std::vector<int>> neighbours(atoms);
  std::vector<std::pair<int, int>> bonds;
  const auto add = [&](int a, int b) {
    const bool is_full = static_cast<int>(neighbours[a].size()) >= most_bonds ||
                         static_cast<int>(neighbours[b].size()) >= most_bonds;
    const bool is_known =
        std::find(neighbours[a].begin(), neighbours[a].end(), b) != neighbours[a].end();
    if (a == b || is_full || is_known) return false;
    neighbours[a].push_back(b);
    neighbours[b].push_back(a);
    bonds.emplace_back(std::min(names[a], names[b]), std::max(names[a], names[b]));
    return true;
  };
  // Near atoms of the growing tree are preferred, for chains and small rings.
  const int reach = 1 + below(8);
  for (int i = 1; i < atoms; ++i) {
    int tries = 0;
    while (!add(i, std::max(0, i - 1 - below(++tries > 50 ? i : reach)))) {
    }
  }
  for (int i = 0; i < rings; ++i) {
    const int a = below(atoms);
    add(a, std::min(atoms - 1, a + 2 + below(8)));
  }
  if (below(2) == 0) {
    std::sort(bonds.begin(), bonds.end());
  } else {
    std::shuffle(bonds.begin(), bonds.end(), random);
  }
  Graph graph{atoms, TermList(2)};
  for (const auto& [a, b] : bonds) graph.bonds.push_back({a, b});
  return graph;
}

Graph Ring(int size) {
  Graph graph{size, TermList(2)};
  for (int i = 0; i < size; ++i) graph.bonds.push_back({i, (i + 1) % size});
  return graph;
}

// Carbon atoms at these places.
Graph Carbons(const std::vector<Vec3D>& coords) {
  Graph graph{static_cast<int>(coords.size()), TermList(2)};
  FindBonds(coords, std::vector<BondRadii>(coords.size(), {0.75, 0.67, 0.6}), graph.bonds);
  return graph;
}

TEST(RingClasses, NoAtomsHaveNoClasses) {
  EXPECT_EQ(ClassesOf(0, {}), Classes{});
  EXPECT_EQ(ClassesOf(2, {}), (Classes{0, 0}));
  EXPECT_EQ(ClassesOf(3, {{0, 1}, {1, 2}}), (Classes{0, 0, 0}));
}

TEST(RingClasses, OnlyRingsOfFiveAndSixCount) {
  for (int size = 3; size < 12; ++size) {
    EXPECT_EQ(ClassesOf(Ring(size)), Classes(size, ClassOfLength(size))) << size;
  }
}

TEST(RingClasses, SubstituentsAreInNoRing) {
  EXPECT_EQ(ClassesOf(9, {{0, 1}, {0, 5}, {0, 6}, {1, 2}, {2, 3}, {3, 4}, {3, 8}, {4, 5}, {6, 7}}),
            (Classes{6, 6, 6, 6, 6, 6, 0, 0, 0}));
}

TEST(RingClasses, AChainBetweenRingsIsInNoRing) {
  EXPECT_EQ(ClassesOf(11, {{0, 1},
                           {1, 2},
                           {2, 3},
                           {3, 4},
                           {0, 4},
                           {4, 5},
                           {5, 6},
                           {6, 7},
                           {7, 8},
                           {8, 9},
                           {9, 10},
                           {6, 10}}),
            (Classes{5, 5, 5, 5, 5, 0, 5, 5, 5, 5, 5}));
}

TEST(RingClasses, TheSmallestRingOfAnAtomDecides) {
  // Three and six: the two atoms that they share have none.
  EXPECT_EQ(ClassesOf(7, {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {0, 5}, {0, 6}, {1, 6}}),
            (Classes{0, 0, 6, 6, 6, 6, 0}));
  // Four and six.
  EXPECT_EQ(ClassesOf(8, {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {0, 5}, {0, 6}, {6, 7}, {1, 7}}),
            (Classes{0, 0, 6, 6, 6, 6, 0, 0}));
  // Five and six, as in indole.
  EXPECT_EQ(
      ClassesOf(9,
                {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {0, 5}, {0, 6}, {6, 7}, {7, 8}, {1, 8}}),
      (Classes{5, 5, 6, 6, 6, 6, 5, 5, 5}));
  // Norbornane.
  EXPECT_EQ(ClassesOf(7, {{0, 1}, {0, 5}, {0, 6}, {1, 2}, {2, 3}, {3, 4}, {3, 6}, {4, 5}}),
            Classes(7, 5));
  // Five and seven: all of azulene but the far side.
  EXPECT_EQ(
      ClassesOf(
          10,
          {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {0, 4}, {0, 5}, {5, 6}, {6, 7}, {7, 8}, {8, 9}, {4, 9}}),
      (Classes{5, 5, 5, 5, 5, 0, 0, 0, 0, 0}));
}

TEST(RingClasses, BondsToldTwiceOrOfAnAtomWithItselfMakeNoRing) {
  EXPECT_EQ(ClassesOf(4, {{0, 1}, {1, 0}, {1, 2}, {1, 2}, {3, 3}}), (Classes{0, 0, 0, 0}));
  EXPECT_EQ(ClassesOf(5, {{0, 1}, {1, 0}, {1, 2}, {2, 2}, {2, 3}, {3, 4}, {4, 0}, {4, 0}}),
            Classes(5, 5));
}

TEST(RingClasses, ABondToAnAtomThatIsNotThereEndsTheRun) {
  EXPECT_EQ(MessageOf([] {
              ClassesOf(2, {{0, 1}, {1, 2}});
            }),
            "Error occurs: The bond 2-3 is wrong: there are atoms from 1 to 2 only.");
  EXPECT_EQ(MessageOf([] {
              ClassesOf(2, {{-1, 1}});
            }),
            "Error occurs: The bond 0-2 is wrong: there are atoms from 1 to 2 only.");
}

TEST(RingClasses, MoleculesHaveTheClassesOfTheListOfCycles) {
  std::mt19937 random(31);
  std::array<int, 7> atoms_of_class{};
  for (int round = 0; round < 20000; ++round) {
    const int atoms = 3 + static_cast<int>(random() % 22);
    const Graph graph = RandomMolecule(random, atoms, static_cast<int>(random() % 7), 4);
    const Classes classes = ClassesOf(graph);
    ASSERT_EQ(classes, ListedClasses(graph)) << round;
    for (const int ring_class : classes) ++atoms_of_class[ring_class];
  }
  EXPECT_GT(atoms_of_class[5], 1000);
  EXPECT_GT(atoms_of_class[6], 1000);
}

TEST(RingClasses, SmallGraphsOfAllKindsHaveTheClassesOfTheListOfCycles) {
  std::mt19937 random(32);
  for (int round = 0; round < 20000; ++round) {
    const int atoms = 2 + static_cast<int>(random() % 9);
    std::vector<std::pair<int, int>> pairs;
    for (int a = 0; a < atoms; ++a) {
      for (int b = a + 1; b < atoms; ++b) pairs.emplace_back(a, b);
    }
    std::shuffle(pairs.begin(), pairs.end(), random);
    pairs.resize(std::min<std::size_t>(pairs.size(), random() % 16));
    Graph graph{atoms, TermList(2)};
    for (const auto& [a, b] : pairs) graph.bonds.push_back({a, b});
    ASSERT_EQ(ClassesOf(graph), ListedClasses(graph)) << round;
  }
}

TEST(RingClasses, LargerMoleculesHaveTheClassesOfTheShortestWaysBetweenBondEnds) {
  std::mt19937 random(33);
  for (int round = 0; round < 300; ++round) {
    const int atoms = 3 + static_cast<int>(random() % 150);
    const int rings = static_cast<int>(random() % static_cast<unsigned>(atoms));
    const Graph graph = RandomMolecule(random, atoms, rings, round % 3 == 0 ? 40 : 4);
    ASSERT_EQ(ClassesOf(graph), PlainClasses(graph)) << round;
  }
}

TEST(RingClasses, AFullereneIsDoneAtOnce) {
  const double golden = (1.0 + std::sqrt(5.0)) / 2.0;
  const std::vector<Vec3D> corners = {{0.0, 1.0, 3.0 * golden},
                                      {1.0, 2.0 + golden, 2.0 * golden},
                                      {golden, 2.0, 2.0 * golden + 1.0}};
  std::vector<Vec3D> coords;
  for (const Vec3D& corner : corners) {
    for (int signs = 0; signs < 8; ++signs) {
      const Vec3D point(corner.x * (signs & 1 ? -1.0 : 1.0), corner.y * (signs & 2 ? -1.0 : 1.0),
                        corner.z * (signs & 4 ? -1.0 : 1.0));
      if (corner.x == 0.0 && (signs & 1) != 0) continue;
      coords.push_back(point * 0.71);
      coords.push_back(Vec3D(point.y, point.z, point.x) * 0.71);
      coords.push_back(Vec3D(point.z, point.x, point.y) * 0.71);
    }
  }
  const Graph graph = Carbons(coords);
  ASSERT_EQ(graph.atoms, 60);
  ASSERT_EQ(graph.bonds.size(), 90u);
  EXPECT_EQ(ClassesOf(graph), Classes(60, 5));
}

// A sheet of fused rings of six, as large as told.
Graph Graphene(int rows, int columns) {
  std::vector<Vec3D> coords;
  const double bond = 1.42;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const double x = std::sqrt(3.0) * bond * (column + 0.5 * (row % 2));
      const double y = 1.5 * bond * row;
      coords.push_back({x, y, 0.0});
      coords.push_back({x, y + bond, 0.0});
    }
  }
  return Carbons(coords);
}

TEST(RingClasses, ALargeAromaticSheetIsDoneAtOnce) {
  const Graph graph = Graphene(60, 60);
  const Classes classes = ClassesOf(graph);
  // Half of the first and of the last row hangs off the sheet, and so does an atom at two corners.
  EXPECT_EQ(std::count(classes.begin(), classes.end(), 0), 60 + 60 + 2);
  EXPECT_EQ(std::count(classes.begin(), classes.end(), 6), graph.atoms - 122);
  const Graph small = Graphene(4, 4);
  EXPECT_EQ(ClassesOf(small), PlainClasses(small));
}

// Diamond; with `bridged`, the framework of a silica in which an atom sits on every bond.
Graph Diamond(int cells, bool bridged) {
  const std::vector<Vec3D> motif = {{0.0, 0.0, 0.0},    {0.0, 0.5, 0.5},    {0.5, 0.0, 0.5},
                                    {0.5, 0.5, 0.0},    {0.25, 0.25, 0.25}, {0.25, 0.75, 0.75},
                                    {0.75, 0.25, 0.75}, {0.75, 0.75, 0.25}};
  std::vector<Vec3D> coords;
  for (int cell = 0; cell < cells * cells * cells; ++cell) {
    const Vec3D corner(cell % cells, cell / cells % cells, cell / cells / cells);
    for (const Vec3D& place : motif) coords.push_back((corner + place) * 3.567);
  }
  Graph graph = Carbons(coords);
  if (!bridged) return graph;
  Graph silica{graph.atoms, TermList(2)};
  for (std::size_t i = 0; i < graph.bonds.size(); ++i) {
    silica.bonds.push_back({graph.bonds[i][0], silica.atoms});
    silica.bonds.push_back({graph.bonds[i][1], silica.atoms});
    ++silica.atoms;
  }
  return silica;
}

TEST(RingClasses, CrystalsOfFusedRingsAreDoneAtOnce) {
  const Graph diamond = Diamond(10, false);
  const Classes classes = ClassesOf(diamond);
  EXPECT_EQ(diamond.atoms, 8000);
  EXPECT_EQ(std::count(classes.begin(), classes.end(), 5), 0);
  EXPECT_GT(std::count(classes.begin(), classes.end(), 6), 7000);
  const Graph small = Diamond(2, false);
  EXPECT_EQ(ClassesOf(small), PlainClasses(small));
  // Rings of twelve only.
  const Graph silica = Diamond(8, true);
  EXPECT_EQ(ClassesOf(silica), Classes(silica.atoms, 0));
}

TEST(RingClasses, CrowdedAtomsAreDoneAtOnce) {
  const int many = 5500;
  Graph star{many + 1, TermList(2)};
  for (int i = 1; i <= many; ++i) star.bonds.push_back({0, i});
  EXPECT_EQ(ClassesOf(star), Classes(many + 1, 0));
  // A wheel: every rim bond makes a triangle with the hub.
  Graph wheel = star;
  for (int i = 1; i <= many; ++i) wheel.bonds.push_back({i, i % many + 1});
  EXPECT_EQ(ClassesOf(wheel), Classes(many + 1, 0));
  // Everything bonded to everything.
  Graph lump{100, TermList(2)};
  for (int i = 0; i < lump.atoms; ++i) {
    for (int j = i + 1; j < lump.atoms; ++j) lump.bonds.push_back({i, j});
  }
  EXPECT_EQ(ClassesOf(lump), Classes(lump.atoms, 0));
  // Two hubs that share all their neighbours.
  Graph pair{many + 2, TermList(2)};
  for (int i = 2; i < pair.atoms; ++i) {
    pair.bonds.push_back({0, i});
    pair.bonds.push_back({1, i});
  }
  EXPECT_EQ(ClassesOf(pair), Classes(pair.atoms, 0));
  // Rings of five and of six, and chains, on one hub.
  Graph flower{1, TermList(2)};
  Classes expected = {5};
  for (int petal = 0; petal < 900; ++petal) {
    const int members = 3 + petal % 3;
    for (int i = 0; i < members; ++i) {
      flower.bonds.push_back({i == 0 ? 0 : flower.atoms - 1, flower.atoms});
      ++flower.atoms;
      expected.push_back(members < 4 ? 0 : members + 1);
    }
    if (members > 3) flower.bonds.push_back({0, flower.atoms - 1});
  }
  EXPECT_EQ(ClassesOf(flower), expected);
}

TEST(RingClasses, CrowdsThatWouldTakeForEverEndTheRunBeforeTheSearch) {
  // Two hubs that share all their neighbours: each of these would see all the others.
  Graph pair{500002, TermList(2)};
  for (int i = 2; i < pair.atoms; ++i) {
    pair.bonds.push_back({0, i});
    pair.bonds.push_back({1, i});
  }
  EXPECT_EQ(MessageOf([&] { ClassesOf(pair); }),
            "Error occurs: The topology would have too many angles.");
  // A hub of rings of six: from each outer atom the hub is two bonds away.
  Graph flower{1, TermList(2)};
  for (int petal = 0; petal < 10000; ++petal) {
    const int first = flower.atoms;
    flower.bonds.push_back({0, first});
    for (int ring = 0; ring < 10; ++ring) {
      const int next = first + 1 + 5 * ring;
      for (int i = 0; i < 4; ++i) flower.bonds.push_back({next + i, next + i + 1});
      flower.bonds.push_back({first, next});
      flower.bonds.push_back({first, next + 4});
    }
    flower.atoms += 51;
  }
  EXPECT_EQ(MessageOf([&] { ClassesOf(flower); }),
            "Error occurs: The topology would have too many dihedrals.");
}

}  // namespace
}  // namespace orvane
