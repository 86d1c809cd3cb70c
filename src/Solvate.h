// Surrounds a molecule with water and ions.
#ifndef RAVELO_SOLVATE_H
#define RAVELO_SOLVATE_H

#include <vector>

#include "PDB.h"
#include "Vec3D.h"

namespace orvane {

/// Water on a cubic grid and ions at random places, in a box or in an ellipsoid (a droplet) around
/// the centre of a molecule. `a`, `b` and `c` are the edges of the box along x, y and z in
/// Angstrom; for a droplet they are the whole axes of the ellipsoid. What is added is appended to
/// the atoms and to the topology of the molecule, which must have been loaded; the residue tables
/// are left as they are. Each kind of added molecule is numbered from 1, and again from 1 behind
/// 9999.
///
/// Turns and places come from the C library's `rand`, which nobody seeds: the same input gives the
/// same result, and the order of the calls is part of it.
class Solvate {
 public:
  /// What `AddIons` has added.
  struct IonResult {
    int cations = 0;              ///< Number of sodium ions.
    int anions = 0;               ///< Number of chloride ions.
    double ionic_strength = 0.0;  ///< That the ions make in the volume of the box, in mol/L.
  };

  // Templates of one molecule each with its topology, and their coordinates; empty before
  // `Initialize`.
  static PDB water_PDB;
  static std::vector<Vec3D> water_coords;
  static PDB na_PDB;
  static std::vector<Vec3D> na_coords;
  static PDB cl_PDB;
  static std::vector<Vec3D> cl_coords;

  Solvate() {}
  ~Solvate() {}

  /// Reads the templates from the data folder: tip3, sod and cla, as .pdb and .psf. Ends the run
  /// where a file is missing or malformed.
  static void Initialize();

  /// Whether any point of `first` is closer than 2 Angstrom to any of `second`. Compares all pairs;
  /// `CollisionGrid` is for many tests against the same points.
  static bool DetectCollision(const std::vector<Vec3D>& first, const std::vector<Vec3D>& second);

  /// Puts water on a grid of 2.9 Angstrom, randomly turned, and leaves out what comes closer than 2
  /// Angstrom to an atom of the molecule. Returns the number of waters. `move` (in Angstrom) is
  /// added to the place of each. Takes time in proportion to the number of atoms and grid points;
  /// those outside a droplet cost nothing. Ends the run if there would be more atoms than an index
  /// can count or the machine's memory can hold (before any work, where the size of the box alone
  /// shows it), and if the template has not three atoms.
  static int AddWaterBox(double a, double b, double c, const Vec3D& move, PDB& pdb, bool droplet);

  /// Adds sodium and chloride ions to bring the total charge to a target and the ionic strength (in
  /// mol/L) at least near to one. Ions that neutralise count towards the ionic strength; the rest
  /// comes in pairs. They are spread around the centre of all atoms, wherever these and the ions
  /// are already: `move` is not used. Ends the run if the total charge is no integer, if there
  /// would be too many atoms, if a template has not one atom, and if the droplet is so large that
  /// squares overflow and hardly any place in it would be found.
  static void AddIons(double a, double b, double c, const Vec3D& move, int target_charge,
                      double ionic_strength, bool droplet, PDB& pdb, IonResult& result);
};

}  // namespace orvane

#endif
