// The periodic cell: lattice vectors from cell parameters, and how many cells a block has.
#ifndef RAVELO_PERIODICCELL_H
#define RAVELO_PERIODICCELL_H

#include "Vec3D.h"

namespace orvane {

/// The lattice vectors of a cell, with the first along x and the second in the xy plane. Lengths
/// are in Angstrom, angles in radians: `alpha` between the edges b and c, `beta` between a and c,
/// `gamma` between a and b. For angles that no cell can have, components are not a number.
void CalcCell(double a, double b, double c, double alpha, double beta, double gamma, Vec3D& t1,
              Vec3D& t2, Vec3D& t3);

/// Number of cells in a block with these numbers of extra cells on each side: (2 nx + 1) (2 ny + 1)
/// (2 nz + 1). Ends the run if `atoms_per_cell` times as many atoms are more than an index can
/// count. No number may be negative; with no atoms, 1.
int CountSuperCells(int atoms_per_cell, int nx, int ny, int nz);

}  // namespace orvane

#endif
