// Which points come too close to a molecule, for many points and a large molecule.
//
// Nothing that is left out could collide, whatever is rounded. A collision means that each
// component of the difference, as computed, is below 2: its square would make the sum 4 or more
// otherwise, and rounding keeps the order of numbers. So a point that collides lies between the
// rounded x - 2 and the rounded x + 2, and its cell, which grows with x, between the cells of these
// two.
#include "CollisionGrid.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "CellHash.h"

namespace orvane {

namespace {

constexpr double kReach = 2.0;

// As long as the range that is searched, so that this touches two cells along an axis.
constexpr double kCellsPerAngstrom = 0.25;

// Farther out than any molecule lies, everything shares a cell.
std::int64_t CellAlongAxis(double value) {
  constexpr double kFarthest = 1e15;
  return static_cast<std::int64_t>(
      std::floor(std::clamp(value * kCellsPerAngstrom, -kFarthest, kFarthest)));
}

}  // namespace

std::size_t CollisionGrid::CellHash::operator()(const Cell& cell) const {
  return HashOfCell({cell.x, cell.y, cell.z});
}

CollisionGrid::Cell CollisionGrid::CellOf(const Vec3D& point) {
  return {CellAlongAxis(point.x), CellAlongAxis(point.y), CellAlongAxis(point.z)};
}

CollisionGrid::CollisionGrid(const std::vector<Vec3D>& points) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  lowest_ = Vec3D(kInfinity, kInfinity, kInfinity);
  highest_ = Vec3D(-kInfinity, -kInfinity, -kInfinity);
  std::size_t count = 0;
  for (const Vec3D& point : points) {
    // What is no number, or infinitely far away, collides with nothing.
    if (!IsFinite(point)) continue;
    ++cells_[CellOf(point)].end;
    ++count;
    lowest_ = Vec3D(std::min(lowest_.x, point.x - kReach), std::min(lowest_.y, point.y - kReach),
                    std::min(lowest_.z, point.z - kReach));
    highest_ = Vec3D(std::max(highest_.x, point.x + kReach), std::max(highest_.y, point.y + kReach),
                     std::max(highest_.z, point.z + kReach));
  }
  std::size_t next = 0;
  for (auto& [cell, run] : cells_) {
    const std::size_t size = run.end;
    run = {next, next};
    next += size;
  }
  points_.resize(count);
  for (const Vec3D& point : points) {
    if (IsFinite(point)) points_[cells_.find(CellOf(point))->second.end++] = point;
  }
}

std::span<const Vec3D> CollisionGrid::PointsIn(const Cell& cell) const {
  const auto found = cells_.find(cell);
  if (found == cells_.end()) return {};
  return {points_.data() + found->second.begin, found->second.end - found->second.begin};
}

bool CollisionGrid::Collides(const Vec3D& point) const {
  // False for what is no number, too.
  const bool is_near = point.x >= lowest_.x && point.x <= highest_.x && point.y >= lowest_.y &&
                       point.y <= highest_.y && point.z >= lowest_.z && point.z <= highest_.z;
  if (!is_near) return false;
  const Vec3D reach(kReach, kReach, kReach);
  const Cell first = CellOf(point - reach);
  const Cell last = CellOf(point + reach);
  for (std::int64_t x = first.x; x <= last.x; ++x) {
    for (std::int64_t y = first.y; y <= last.y; ++y) {
      for (std::int64_t z = first.z; z <= last.z; ++z) {
        for (const Vec3D& other : PointsIn({x, y, z})) {
          if (Collide(other, point)) return true;
        }
      }
    }
  }
  return false;
}

}  // namespace orvane
