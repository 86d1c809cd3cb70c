// The contacts of atoms with images: atoms are folded into the cell and looked up by slices of it.
#include "ImageContacts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

#include "CellHash.h"

namespace orvane {

namespace {

// A lattice vector must rise above the plane of the others by this part of its length.
constexpr double kLeastRise = 1e-3;

// No sensible cell has as much to look through; a search that does is given up.
constexpr double kMostBinsVisited = 1e8;
constexpr std::size_t kContactsPerAtom = 100;
constexpr std::size_t kMoreContacts = 1'000'000;
constexpr std::size_t kPairsPerAtom = 10'000;
constexpr std::size_t kMorePairs = 30'000'000;

// One direction of the lattice: slices of the cell, which follow each other for ever if it is
// periodic. Without a vector it has slices of unlimited number.
struct Axis {
  bool periodic = false;
  Vec3D step;               // the lattice vector
  Vec3D measure;            // its scalar product with a place counts lattice vectors or slices
  std::int64_t slices = 1;  // of a cell, if periodic
  std::int64_t reach = 1;   // how many slices further on atoms can touch
};

using Axes = std::array<Axis, 3>;

// A slice along each of the axes.
using Bin = std::array<std::int64_t, 3>;

struct BinHash {
  std::size_t operator()(const Bin& bin) const { return HashOfCell(bin); }
};

double LargestComponent(const Vec3D& v) {
  return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
}

// A direction at right angles to one that is not zero.
Vec3D Perpendicular(const Vec3D& v) {
  const double x = std::abs(v.x), y = std::abs(v.y), z = std::abs(v.z);
  if (x <= y && x <= z) return Unit(Cross(v, Vec3D(1, 0, 0)));
  return Unit(Cross(v, y <= z ? Vec3D(0, 1, 0) : Vec3D(0, 0, 1)));
}

// Fills directions without a vector by directions at right angles to the others.
void CompleteBasis(const std::array<bool, 3>& given, LatticeVectors& basis) {
  const auto count = std::count(given.begin(), given.end(), true);
  if (count == 0) basis = {Vec3D(1, 0, 0), Vec3D(0, 1, 0), Vec3D(0, 0, 1)};
  for (int k = 0; k < 3; ++k) {
    const int next = (k + 1) % 3, last = (k + 2) % 3;
    if (count == 1 && given[k]) {
      basis[next] = Perpendicular(basis[k]);
      basis[last] = Unit(Cross(basis[k], basis[next]));
    } else if (count == 2 && !given[k]) {
      basis[k] = Unit(Cross(basis[next], basis[last]));
    }
  }
}

std::optional<Axes> FindAxes(const LatticeVectors& lattice, double reach) {
  std::array<bool, 3> given{};
  for (int k = 0; k < 3; ++k) {
    given[k] = LeadsToImages(lattice[k]);
    if (given[k] && LargestComponent(lattice[k]) > ImageContacts::kLargestCoord) return {};
  }
  LatticeVectors basis = lattice;
  CompleteBasis(given, basis);
  Axes axes;
  for (int k = 0; k < 3; ++k) {
    const Vec3D normal = Unit(Cross(basis[(k + 1) % 3], basis[(k + 2) % 3]));
    const double height = Dot(normal, basis[k]);
    // Also for a height that is not a number.
    if (!(std::abs(height) > kLeastRise * Length(basis[k]))) return {};
    Axis& axis = axes[k];
    axis.periodic = given[k];
    if (!axis.periodic) {
      axis.measure = normal * (1.0 / reach);
      continue;
    }
    const double slices = std::floor(std::abs(height) / reach);
    axis.step = basis[k];
    axis.measure = normal * (1.0 / height);
    axis.slices = std::max<std::int64_t>(1, static_cast<std::int64_t>(slices));
    if (slices < 1.0) {
      const double slices_in_reach = std::ceil(reach / std::abs(height));
      if (slices_in_reach > kMostBinsVisited) return {};
      axis.reach = static_cast<std::int64_t>(slices_in_reach);
    }
  }
  return axes;
}

// An atom's image inside the cell.
struct FoldedAtom {
  Vec3D place;
  LatticeOffset home{};  // the cell that the atom is in
  Bin bin{};
};

// False for an atom at a place that is too far off.
bool Fold(const Axes& axes, const Vec3D& coord, FoldedAtom& folded) {
  if (LargestComponent(coord) > ImageContacts::kLargestCoord) return false;
  folded.place = coord;
  for (int k = 0; k < 3; ++k) {
    const Axis& axis = axes[k];
    const double along = Dot(axis.measure, coord);
    const double whole = std::floor(along);
    if (std::abs(whole) > 1e8) return false;
    if (!axis.periodic) {
      folded.bin[k] = static_cast<std::int64_t>(whole);
      continue;
    }
    folded.home[k] = static_cast<int>(whole);
    folded.place = folded.place - axis.step * whole;
    const auto slice =
        static_cast<std::int64_t>((along - whole) * static_cast<double>(axis.slices));
    folded.bin[k] = std::clamp<std::int64_t>(slice, 0, axis.slices - 1);
  }
  return true;
}

// Goes from a bin to another one, back into the cell: returns the cell that was reached.
int Wrap(const Axis& axis, std::int64_t& slice) {
  if (!axis.periodic) return 0;
  std::int64_t cell = slice / axis.slices;
  if (slice % axis.slices < 0) --cell;
  slice -= cell * axis.slices;
  return static_cast<int>(cell);
}

// Finds the contacts of one atom after the other.
class ContactSearch {
 public:
  ContactSearch(const Axes& axes, const std::vector<BondRadii>& radii, std::size_t atoms)
      : axes_(axes), radii_(radii), atoms_(atoms), next_(atoms, -1) {}

  // False where this is no help.
  bool AddAtoms(const std::vector<Vec3D>& coords) {
    double bins_visited = static_cast<double>(coords.size());
    for (const Axis& axis : axes_) bins_visited *= 2.0 * static_cast<double>(axis.reach) + 1.0;
    if (bins_visited > kMostBinsVisited + 27.0 * static_cast<double>(coords.size())) return false;
    bins_.reserve(coords.size());
    for (int i = static_cast<int>(coords.size()) - 1; i >= 0; --i) {
      if (!IsFinite(coords[i])) continue;
      if (!Fold(axes_, coords[i], atoms_[i])) return false;
      int& first = bins_.try_emplace(atoms_[i].bin, -1).first->second;
      next_[i] = first;
      first = i;
    }
    return true;
  }

  // False where there are too many of them.
  bool FindContacts(int i, std::vector<ImageContact>& contacts) {
    const FoldedAtom& atom = atoms_[i];
    const Bin reach = {axes_[0].reach, axes_[1].reach, axes_[2].reach};
    for (std::int64_t x = -reach[0]; x <= reach[0]; ++x) {
      for (std::int64_t y = -reach[1]; y <= reach[1]; ++y) {
        for (std::int64_t z = -reach[2]; z <= reach[2]; ++z) {
          Bin bin = {atom.bin[0] + x, atom.bin[1] + y, atom.bin[2] + z};
          LatticeOffset cell;
          for (int k = 0; k < 3; ++k) cell[k] = Wrap(axes_[k], bin[k]);
          if (!FindContactsIn(bin, cell, i, contacts)) return false;
        }
      }
    }
    return true;
  }

 private:
  bool FindContactsIn(const Bin& bin, const LatticeOffset& cell, int i,
                      std::vector<ImageContact>& contacts) {
    const auto found = bins_.find(bin);
    if (found == bins_.end()) return true;
    Vec3D shift;
    for (int k = 0; k < 3; ++k) {
      if (cell[k] != 0) shift = shift + axes_[k].step * static_cast<double>(cell[k]);
    }
    const FoldedAtom& atom = atoms_[i];
    for (int j = found->second; j != -1; j = next_[j]) {
      if (++pairs_ > kPairsPerAtom * atoms_.size() + kMorePairs) return false;
      if (j == i) continue;
      const double distance = Length(atoms_[j].place + shift - atom.place);
      const double too_long = distance - BondLimit(radii_[i], radii_[j]);
      if (too_long > ImageContacts::kMargin) continue;
      ImageContact& contact = contacts.emplace_back();
      contact.atom = j;
      for (int k = 0; k < 3; ++k) contact.offset[k] = atoms_[j].home[k] - atom.home[k] - cell[k];
      contact.near_limit = std::abs(too_long) <= ImageContacts::kMargin;
      if (contacts.size() > kContactsPerAtom * atoms_.size() + kMoreContacts) return false;
    }
    return true;
  }

  const Axes& axes_;
  const std::vector<BondRadii>& radii_;
  std::vector<FoldedAtom> atoms_;
  std::unordered_map<Bin, int, BinHash> bins_;  // the first atom of each
  std::vector<int> next_;                       // of the atoms of a bin
  std::size_t pairs_ = 0;
};

}  // namespace

bool LeadsToImages(const Vec3D& lattice_vector) {
  return IsFinite(lattice_vector) && LargestComponent(lattice_vector) > 0.0;
}

std::optional<ImageContacts> ImageContacts::Find(const std::vector<Vec3D>& coords,
                                                 const std::vector<BondRadii>& radii,
                                                 const LatticeVectors& lattice) {
  // Slices a little wider than the longest contact make up for rounding.
  const std::optional<Axes> axes = FindAxes(lattice, 1.001 * (LongestBond(radii) + kMargin));
  if (!axes) return {};
  ContactSearch search(*axes, radii, coords.size());
  if (!search.AddAtoms(coords)) return {};
  ImageContacts result;
  result.first_.reserve(coords.size() + 1);
  for (int i = 0; i < static_cast<int>(coords.size()); ++i) {
    result.first_.push_back(result.contacts_.size());
    if (IsFinite(coords[i]) && !search.FindContacts(i, result.contacts_)) return {};
  }
  result.first_.push_back(result.contacts_.size());
  return result;
}

}  // namespace orvane
