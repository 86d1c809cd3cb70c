// Placing the molecules of a periodic cell: put together again, and close to each other.
#include <array>
#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/connected_components.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "BondRule.h"
#include "BondSearch.h"
#include "Elements.h"
#include "Error.h"
#include "PDB.h"
#include "PeriodicStitching.h"

namespace orvane {

namespace {

// The number of each atom's fragment; numbers follow the lowest atoms of the fragments.
std::vector<int> FindFragments(std::size_t atoms, const TermList& bonds) {
  boost::adjacency_list<boost::vecS, boost::vecS, boost::undirectedS> graph(atoms);
  for (std::size_t i = 0; i < bonds.size(); ++i) boost::add_edge(bonds[i][0], bonds[i][1], graph);
  std::vector<int> fragments(atoms);
  if (atoms > 0) boost::connected_components(graph, fragments.data());
  return fragments;
}

// The mean of the coordinates of each fragment, all atoms weighing the same.
std::vector<Vec3D> FindCentres(const std::vector<Vec3D>& coords,
                               const std::vector<int>& fragments) {
  std::vector<Vec3D> centres;
  std::vector<int> counts;
  for (std::size_t i = 0; i < coords.size(); ++i) {
    const auto fragment = static_cast<std::size_t>(fragments[i]);
    if (fragment == centres.size()) {
      centres.emplace_back();
      counts.push_back(0);
    }
    centres[fragment] = centres[fragment] + coords[i];
    ++counts[fragment];
  }
  for (std::size_t f = 0; f < centres.size(); ++f) centres[f] = centres[f] * (1.0 / counts[f]);
  return centres;
}

// Of no move and the moves by one lattice vector, the first that brings a place closest to another.
Vec3D ClosestMove(const Vec3D& from, const Vec3D& to, const std::array<Vec3D, 7>& moves) {
  std::size_t chosen = 0;
  double closest = Length(from - to);
  for (std::size_t k = 1; k < moves.size(); ++k) {
    const double distance = Length(from + moves[k] - to);
    if (distance < closest) {
      closest = distance;
      chosen = k;
    }
  }
  return moves[chosen];
}

}  // namespace

void PDB::AdjustCoordsToGetFewestFragmentsInCell(const Vec3D& t1, const Vec3D& t2,
                                                 const Vec3D& t3) {
  std::vector<Vec3D> coords;
  GetCoords(coords);
  const StitchingEnd end =
      StitchFragments(coords, FindBondRadii(FindElements(atoms)), {t1, t2, t3});
  if (end != StitchingEnd::NothingMoves) {
    for (const Vec3D& vector : {t1, t2, t3}) {
      if (Length(vector) == 0.0) {
        RAVELO_FAIL(
            "A lattice vector of the cell is zero: putting its molecules together would move "
            "bonded atoms by nothing for ever.");
      }
    }
    if (end == StitchingEnd::MovesForEver) {
      RAVELO_FAIL(
          "Bonds run on through the faces of the cell without end, as in a polymer or a network "
          "solid: putting its molecules together would move atoms from image to image for ever.");
    }
    RAVELO_FAIL(
        "Putting the molecules of the cell together does not come to an end. Please check its "
        "lattice vectors.");
  }
  for (int i = 0; i < numAtoms; ++i) atoms[i].Coord = coords[i];
}

void PDB::AdjustCoordsToMakeFragmentClosest(const Vec3D& t1, const Vec3D& t2, const Vec3D& t3) {
  std::vector<Vec3D> coords;
  GetCoords(coords);
  FindBonds(coords, FindBondRadii(FindElements(atoms)), tmpBonds);
  const std::vector<int> fragments = FindFragments(coords.size(), tmpBonds);
  const std::vector<Vec3D> centres = FindCentres(coords, fragments);
  const std::array<Vec3D, 7> moves = {Vec3D(), t1, t2, t3, t1 * -1.0, t2 * -1.0, t3 * -1.0};
  std::vector<Vec3D> move_of_fragment(centres.size());
  for (std::size_t f = 1; f < centres.size(); ++f) {
    move_of_fragment[f] = ClosestMove(centres[f], centres[0], moves);
  }
  std::string line;
  for (int i = 0; i < numAtoms; ++i) {
    const int fragment = fragments[i];
    // The first fragment stays; one that stays by choice is moved by zero, after which it has no
    // coordinate of -0 any more.
    if (fragment > 0) atoms[i].Coord = coords[i] + move_of_fragment[fragment];
    line += std::to_string(fragment);
    line += ' ';
  }
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace orvane
