// The hash of a cell of a grid in space, for tables of the cells that hold anything.
#ifndef RAVELO_CELLHASH_H
#define RAVELO_CELLHASH_H

#include <array>
#include <cstdint>

namespace orvane {

/// Mixes the three numbers of a cell, so that neighbouring cells get unrelated values. Different
/// cells may get the same one, by chance.
inline std::uint64_t HashOfCell(const std::array<std::int64_t, 3>& cell) {
  std::uint64_t hash = 0;
  for (const std::int64_t number : cell) {
    hash = (hash ^ static_cast<std::uint64_t>(number)) * 0x9e3779b97f4a7c15u;
    hash ^= hash >> 32;
  }
  return hash;
}

}  // namespace orvane

#endif
