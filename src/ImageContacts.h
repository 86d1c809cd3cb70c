// Which atoms of a periodic cell touch which images of others.
#ifndef RAVELO_IMAGECONTACTS_H
#define RAVELO_IMAGECONTACTS_H

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "BondRule.h"
#include "Vec3D.h"

namespace orvane {

/// Three lattice vectors in Angstrom.
using LatticeVectors = std::array<Vec3D, 3>;

/// A whole number of steps along each lattice vector.
using LatticeOffset = std::array<int, 3>;

/// An atom's contact with the images of another one: the two are within bond length of each other
/// when they have been moved by lattice vectors so that the offset of the first, less that of the
/// second, is this one.
struct ImageContact {
  int atom = 0;
  LatticeOffset offset{};
  bool near_limit = false;  ///< Their distance is within the margin of the longest bond.
};

/// The contacts of all atoms. They hold wherever lattice vectors have moved the atoms since, as far
/// as rounding has not added up to the margin.
class ImageContacts {
 public:
  /// A pair also counts as a contact where its distance is up to this much (in Angstrom) too long
  /// for a bond.
  static constexpr double kMargin = 1e-6;

  /// The largest coordinate, in Angstrom, at which rounding is far below the margin.
  static constexpr double kLargestCoord = 1e7;

  /// Finds the contacts of atoms at these places. A vector that is zero or not finite leads to no
  /// images, and an atom at no finite place has no contacts. Takes time in proportion to the number
  /// of atoms. Empty where contacts are no help: the remaining vectors lie (almost) in one plane or
  /// line, are far shorter than a bond, or the numbers are too large or the atoms too crowded.
  static std::optional<ImageContacts> Find(const std::vector<Vec3D>& coords,
                                           const std::vector<BondRadii>& radii,
                                           const LatticeVectors& lattice);

  /// The contacts of an atom, in no particular order.
  std::span<const ImageContact> Of(int atom) const {
    return {contacts_.data() + first_[atom], first_[atom + 1] - first_[atom]};
  }

 private:
  std::vector<ImageContact> contacts_;  // atom after atom
  std::vector<std::size_t> first_;      // where those of each atom begin, and the end
};

/// Whether a vector leads from an atom to an image of it: it is finite and not zero.
bool LeadsToImages(const Vec3D& lattice_vector);

}  // namespace orvane

#endif
