// The molecule in a periodic cell: wrapping it into a box, and making a block of cells of it.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "Error.h"
#include "PDB.h"
#include "PeriodicCell.h"

namespace orvane {

namespace {

// Wraps one residue along one axis. One atom inside keeps all of it in place.
void WrapResidue(std::vector<PDB::Atom>& atoms, int first, int last, double Vec3D::*axis,
                 double edge) {
  for (int i = first; i <= last; ++i) {
    const double value = atoms[i].Coord.*axis;
    if (value > -edge * 0.5 && edge * 0.5 > value) return;
  }
  for (int i = first; i <= last; ++i) {
    double& value = atoms[i].Coord.*axis;
    value = value - std::round(value / edge) * edge;
  }
}

}  // namespace

void PDB::WrapPBC(double a, double b, double c) {
  for (int residue = 0; residue < numResidues; ++residue) {
    const int first = residueFirstAtoms[residue];
    const int last = residueLastAtoms[residue];
    WrapResidue(atoms, first, last, &Vec3D::x, a);
    WrapResidue(atoms, first, last, &Vec3D::y, b);
    WrapResidue(atoms, first, last, &Vec3D::z, c);
  }
}

void PDB::SetCoords(const std::vector<Vec3D>& coords) {
  if (coords.size() != static_cast<std::size_t>(numAtoms)) {
    RAVELO_FAIL("Number of coordinates (%d) does not match number of atoms (%d).", coords.size(),
                numAtoms);
  }
  for (std::size_t i = 0; i < coords.size(); ++i) atoms[i].Coord = coords[i];
}

void PDB::BuildSuperCells(const Vec3D& t1, const Vec3D& t2, const Vec3D& t3, int nx, int ny,
                          int nz) {
  const std::size_t size = atoms.size();
  const int cells = CountSuperCells(static_cast<int>(size), nx, ny, nz);
  atoms.reserve(size * static_cast<std::size_t>(cells));
  // Unsigned, since a file's number can be the largest int: the count goes on at the smallest then.
  auto number = size == 0 ? 0u : static_cast<unsigned>(atoms.front().ResSeq);
  const auto append_cell = [&](int ix, int iy, int iz) {
    ++number;
    const Vec3D shift = (t1 * ix + t2 * iy) + t3 * iz;
    for (std::size_t i = 0; i < size; ++i) {
      Atom& atom = atoms.emplace_back(atoms[i]);
      atom.Coord = atom.Coord + shift;
      atom.ResSeq = static_cast<int>(number);
    }
  };
  if (cells > 1) {
    for (int ix = -nx; ix <= nx; ++ix) {
      for (int iy = -ny; iy <= ny; ++iy) {
        for (int iz = -nz; iz <= nz; ++iz) {
          if (ix != 0 || iy != 0 || iz != 0) append_cell(ix, iy, iz);
        }
      }
    }
  }
  Regularize();
  Analyze();
}

}  // namespace orvane
