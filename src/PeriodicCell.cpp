// Lattice vectors from cell parameters, and the size of a block of cells.
#include "PeriodicCell.h"

#include <cmath>
#include <limits>

#include "Error.h"

namespace orvane {

void CalcCell(double a, double b, double c, double alpha, double beta, double gamma, Vec3D& t1,
              Vec3D& t2, Vec3D& t3) {
  const double q = (std::cos(alpha) - std::cos(beta) * std::cos(gamma)) / std::sin(gamma);
  const double sin_beta = std::sin(beta);
  t1 = Vec3D(a, 0.0, 0.0);
  t2 = Vec3D(b * std::cos(gamma), b * std::sin(gamma), 0.0);
  t3 = Vec3D(c * std::cos(beta), c * q, c * std::sqrt(sin_beta * sin_beta - q * q));
}

int CountSuperCells(int atoms_per_cell, int nx, int ny, int nz) {
  constexpr long long kMostAtoms = std::numeric_limits<int>::max();
  // Any number of copies of nothing is nothing.
  if (atoms_per_cell == 0) return 1;
  long long atoms = atoms_per_cell;
  for (const int extra_cells : {nx, ny, nz}) {
    // At most 2^31 - 1 times 2^32 - 1, which fits.
    atoms *= 2LL * extra_cells + 1;
    if (atoms > kMostAtoms) {
      RAVELO_FAIL("The super cells %d %d %d are too many: there would be more than %d atoms.", nx,
                  ny, nz, kMostAtoms);
    }
  }
  return static_cast<int>(atoms / atoms_per_cell);
}

}  // namespace orvane
