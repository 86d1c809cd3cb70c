// Fragments and stitching by plain loops over all pairs.
#include "PlainFragments.h"

#include <array>
#include <cstring>
#include <limits>

#include "Elements.h"

namespace orvane::testing_support {

namespace {

// Numbers fragments from 0, in the order of their lowest atoms.
void NumberFragments(int atoms, const TermList& bonds, std::vector<int>& fragments) {
  fragments.assign(static_cast<std::size_t>(atoms), -1);
  int count = 0;
  for (int first = 0; first < atoms; ++first) {
    if (fragments[first] != -1) continue;
    fragments[first] = count;
    for (bool has_grown = true; has_grown;) {
      has_grown = false;
      for (std::size_t k = 0; k < bonds.size(); ++k) {
        int& a = fragments[bonds[k][0]];
        int& b = fragments[bonds[k][1]];
        if ((a == count) == (b == count)) continue;
        a = b = count;
        has_grown = true;
      }
    }
    ++count;
  }
}

Vec3D CentreOf(const PDB& molecule, const std::vector<int>& fragments, int fragment) {
  Vec3D sum;
  int count = 0;
  for (int i = 0; i < molecule.numAtoms; ++i) {
    if (fragments[i] != fragment) continue;
    sum = sum + molecule.atoms[i].Coord;
    ++count;
  }
  return sum * (count == 0 ? std::numeric_limits<double>::infinity() : 1.0 / count);
}

}  // namespace

std::optional<int> StitchPlainly(std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
                                 const LatticeVectors& lattice, int most_sweeps) {
  const std::array<Vec3D, 6> moves = {lattice[0],        lattice[1],        lattice[2],
                                      lattice[0] * -1.0, lattice[1] * -1.0, lattice[2] * -1.0};
  for (int sweep = 1; sweep <= most_sweeps; ++sweep) {
    int moved = 0;
    for (std::size_t i = 0; i < coords.size(); ++i) {
      for (const Vec3D& t : moves) {
        const Vec3D p = coords[i] + t;
        for (std::size_t j = 0; j < coords.size(); ++j) {
          if (j == i || !AreBonded(radii[i], radii[j], Length(p - coords[j]))) continue;
          coords[i] = coords[i] + t;
          ++moved;
          break;
        }
      }
    }
    if (moved == 0) return sweep;
  }
  return {};
}

std::string MoveFragmentsPlainly(PDB& molecule, const LatticeVectors& lattice) {
  const std::vector<BondRadii> radii = FindBondRadii(FindElements(molecule.atoms));
  molecule.tmpBonds.clear();
  for (int i = 0; i < molecule.numAtoms; ++i) {
    for (int j = i + 1; j < molecule.numAtoms; ++j) {
      const Vec3D difference = molecule.atoms[i].Coord - molecule.atoms[j].Coord;
      if (AreBonded(radii[i], radii[j], Length(difference))) molecule.tmpBonds.push_back({i, j});
    }
  }
  std::vector<int> fragments;
  NumberFragments(molecule.numAtoms, molecule.tmpBonds, fragments);
  const std::array<Vec3D, 7> moves = {Vec3D(),          lattice[0],        lattice[1],
                                      lattice[2],       lattice[0] * -1.0, lattice[1] * -1.0,
                                      lattice[2] * -1.0};
  const Vec3D first_centre = CentreOf(molecule, fragments, 0);
  for (int f = 1; f < molecule.numAtoms; ++f) {
    const Vec3D centre = CentreOf(molecule, fragments, f);
    double best = Length(centre - first_centre);
    std::size_t chosen = 0;
    for (std::size_t k = 1; k < moves.size(); ++k) {
      const double d = Length(centre + moves[k] - first_centre);
      if (d < best) {
        best = d;
        chosen = k;
      }
    }
    for (int i = 0; i < molecule.numAtoms; ++i) {
      if (fragments[i] != f) continue;
      molecule.atoms[i].Coord = molecule.atoms[i].Coord + moves[chosen];
    }
  }
  std::string line;
  for (const int fragment : fragments) line += std::to_string(fragment) + " ";
  return line + "\n";
}

bool AreSameCoords(const std::vector<Vec3D>& a, const std::vector<Vec3D>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Vec3D)) == 0);
}

}  // namespace orvane::testing_support
