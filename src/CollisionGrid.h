// Which points come too close to a molecule, for many points and a large molecule.
#ifndef RAVELO_COLLISIONGRID_H
#define RAVELO_COLLISIONGRID_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "Vec3D.h"

namespace orvane {

/// Whether two points (in Angstrom) are closer than 2 Angstrom. False where a coordinate is not a
/// number.
inline bool Collide(const Vec3D& a, const Vec3D& b) {
  const Vec3D r = a - b;
  return Dot(r, r) < 4.0;
}

/// Fixed points, sorted into cubes so that only those near a place are looked at. Takes memory and
/// time in proportion to the number of points, wherever they lie, and a test takes time in
/// proportion to the number of points in up to eight neighbouring cubes.
class CollisionGrid {
 public:
  explicit CollisionGrid(const std::vector<Vec3D>& points);

  /// Whether a point and any of the fixed ones `Collide`.
  bool Collides(const Vec3D& point) const;

 private:
  struct Cell {
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;

    friend bool operator==(const Cell&, const Cell&) = default;
  };
  struct CellHash {
    std::size_t operator()(const Cell& cell) const;
  };
  struct Run {
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  static Cell CellOf(const Vec3D& point);
  std::span<const Vec3D> PointsIn(const Cell& cell) const;

  std::vector<Vec3D> points_;  // Cell by cell.
  std::unordered_map<Cell, Run, CellHash> cells_;
  Vec3D lowest_;  // No point that collides lies below these coordinates, or above `highest_`.
  Vec3D highest_;
};

}  // namespace orvane

#endif
