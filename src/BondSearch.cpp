// All bonds among a set of atoms, found by sorting them in space.
//
// The atoms are cut into slabs along x, each slab into strips along y, and each strip is sorted by
// z. A slab or strip is as wide as the longest bond, so partners lie in the same or the next one,
// where a window moves along z. Nothing here depends on the extent of the molecule, and all
// decisions on what can be left out are made on differences of coordinates, rounded as those in the
// distance itself are: an atom that is passed over has one component of the difference, as
// computed, that is not shorter than the longest bond, and so has the distance. (Rounding keeps the
// order of numbers, and the rounded root of a rounded square is the number itself.)
//
// One heavy atom must not make the search wide for all the others, nor may atoms without radii,
// which never bond to each other, cost a comparison with each other. So the search goes through the
// atoms by size: first for the bonds of the largest ones, down to half of their size, then the same
// without these.
#include "BondSearch.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>

#include "Error.h"

namespace orvane {

namespace {

struct Bond {
  int first;
  int second;
};

struct Point {
  Vec3D coord;
  BondRadii radii;
  int atom;
  bool large;  // One of those whose bonds are looked for.
};

using Points = std::span<const Point>;

// A run of points with its extent along the axis of the cut.
struct Piece {
  std::size_t begin;
  std::size_t end;
  double lowest;
  double highest;
};

// Points of a strip, by z; the large ones in front.
struct Strip {
  Points large;
  Points small;
  double lowest;
  double highest;
};

// The squares of shorter lengths could vanish.
constexpr double kShortestWidth = 1e-100;

std::size_t MostBonds(std::size_t atoms) {
  return 10'000'000 + 100 * atoms;
}

class BondCollector {
 public:
  explicit BondCollector(std::size_t atoms)
      : atoms_(atoms), most_(MostBonds(atoms)), bonds_of_first_(atoms + 1, 0) {}

  void Add(int atom1, int atom2) {
    if (bonds_.size() == most_) {
      RAVELO_FAIL("There are more than %d bonds among %d atoms: too many atoms lie on one spot.",
                  most_, atoms_);
    }
    const Bond bond{std::min(atom1, atom2), std::max(atom1, atom2)};
    bonds_.push_back(bond);
    ++bonds_of_first_[bond.first + 1];
  }

  // The bonds by first and second atom.
  std::vector<int> Sorted() {
    std::vector<std::size_t>& begins = bonds_of_first_;
    for (std::size_t i = 1; i <= atoms_; ++i) begins[i] += begins[i - 1];
    std::vector<int> seconds(bonds_.size());
    std::vector<std::size_t> next(begins.begin(), begins.end() - 1);
    for (const Bond& bond : bonds_) seconds[next[bond.first]++] = bond.second;
    bonds_ = {};
    std::vector<int> flat;
    flat.reserve(2 * seconds.size());
    for (std::size_t i = 0; i < atoms_; ++i) {
      std::sort(seconds.begin() + begins[i], seconds.begin() + begins[i + 1]);
      for (std::size_t k = begins[i]; k < begins[i + 1]; ++k) {
        flat.push_back(static_cast<int>(i));
        flat.push_back(seconds[k]);
      }
    }
    return flat;
  }

 private:
  std::size_t atoms_;
  std::size_t most_;
  std::vector<std::size_t> bonds_of_first_;
  std::vector<Bond> bonds_;
};

// Sorts points along an axis and cuts them into pieces narrower than `width`.
std::vector<Piece> Cut(std::span<Point> points, std::size_t offset, double Vec3D::*axis,
                       double width) {
  std::sort(points.begin(), points.end(),
            [axis](const Point& a, const Point& b) { return a.coord.*axis < b.coord.*axis; });
  std::vector<Piece> pieces;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const double value = points[i].coord.*axis;
    if (pieces.empty() || value - pieces.back().lowest >= width) {
      pieces.push_back({offset + i, offset + i, value, value});
    }
    pieces.back().end = offset + i + 1;
    pieces.back().highest = value;
  }
  return pieces;
}

class SearchBySlabs {
 public:
  SearchBySlabs(std::vector<Point> points, double width, BondCollector& bonds)
      : points_(std::move(points)), width_(width), bonds_(bonds) {}

  void Run() {
    const std::vector<Piece> slabs = Cut(points_, 0, &Vec3D::x, width_);
    std::vector<std::size_t> first_strips{0};
    for (const Piece& slab : slabs) {
      AppendStrips(slab);
      first_strips.push_back(strips_.size());
    }
    for (std::size_t s = 0; s < slabs.size(); ++s) {
      const std::span<const Strip> own = StripsBetween(first_strips[s], first_strips[s + 1]);
      SearchWithin(own);
      for (std::size_t t = s + 1; t < slabs.size(); ++t) {
        if (slabs[t].lowest - slabs[s].highest >= width_) break;
        SearchBetween(own, StripsBetween(first_strips[t], first_strips[t + 1]));
      }
    }
  }

 private:
  void AppendStrips(const Piece& slab) {
    const std::span<Point> points(points_.data() + slab.begin, slab.end - slab.begin);
    for (const Piece& piece : Cut(points, slab.begin, &Vec3D::y, width_)) {
      const std::span<Point> strip(points_.data() + piece.begin, piece.end - piece.begin);
      std::sort(strip.begin(), strip.end(), [](const Point& a, const Point& b) {
        return a.large != b.large ? a.large : a.coord.z < b.coord.z;
      });
      const auto small =
          std::find_if(strip.begin(), strip.end(), [](const Point& point) { return !point.large; });
      const auto large_ones = static_cast<std::size_t>(small - strip.begin());
      strips_.push_back(
          {strip.first(large_ones), strip.subspan(large_ones), piece.lowest, piece.highest});
    }
  }

  std::span<const Strip> StripsBetween(std::size_t begin, std::size_t end) const {
    return {strips_.data() + begin, end - begin};
  }

  void SearchWithin(std::span<const Strip> strips) {
    for (std::size_t i = 0; i < strips.size(); ++i) {
      const Strip& a = strips[i];
      SweepOne(a.large);
      Sweep(a.large, a.small);
      for (std::size_t j = i + 1; j < strips.size(); ++j) {
        if (strips[j].lowest - a.highest >= width_) break;
        SweepPair(a, strips[j]);
      }
    }
  }

  void SearchBetween(std::span<const Strip> strips, std::span<const Strip> others) {
    std::size_t first = 0;
    for (const Strip& a : strips) {
      while (first < others.size() && a.lowest - others[first].highest >= width_) ++first;
      for (std::size_t j = first; j < others.size(); ++j) {
        if (others[j].lowest - a.highest >= width_) break;
        SweepPair(a, others[j]);
      }
    }
  }

  void SweepPair(const Strip& a, const Strip& b) {
    Sweep(a.large, b.large);
    Sweep(a.large, b.small);
    Sweep(a.small, b.large);
  }

  void SweepOne(Points points) {
    for (std::size_t i = 0; i < points.size(); ++i) {
      for (std::size_t j = i + 1; j < points.size(); ++j) {
        if (points[j].coord.z - points[i].coord.z >= width_) break;
        Test(points[i], points[j]);
      }
    }
  }

  void Sweep(Points points, Points others) {
    std::size_t first = 0;
    for (const Point& a : points) {
      while (first < others.size() && a.coord.z - others[first].coord.z >= width_) ++first;
      for (std::size_t j = first; j < others.size(); ++j) {
        if (others[j].coord.z - a.coord.z >= width_) break;
        Test(a, others[j]);
      }
    }
  }

  void Test(const Point& a, const Point& b) {
    if (AreBonded(a.radii, b.radii, Length(a.coord - b.coord))) bonds_.Add(a.atom, b.atom);
  }

  std::vector<Point> points_;
  double width_;
  BondCollector& bonds_;
  std::vector<Strip> strips_;
};

}  // namespace

void FindBonds(const std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
               TermList& bonds) {
  std::vector<double> sizes;
  sizes.reserve(radii.size());
  for (const BondRadii& atom : radii) sizes.push_back(LongestBond({atom}));

  BondCollector collector(coords.size());
  double size_limit = std::numeric_limits<double>::infinity();
  while (true) {
    double largest = 0.0;
    for (const double size : sizes) {
      if (size <= size_limit) largest = std::max(largest, size);
    }
    if (!(largest > 0.0)) break;
    std::vector<Point> points;
    std::vector<BondRadii> radii_of_points;
    for (std::size_t i = 0; i < coords.size(); ++i) {
      if (sizes[i] > largest || !IsFinite(coords[i])) continue;
      points.push_back({coords[i], radii[i], static_cast<int>(i), sizes[i] > 0.5 * largest});
      radii_of_points.push_back(radii[i]);
    }
    const double width = std::max(LongestBond(radii_of_points), kShortestWidth);
    SearchBySlabs(std::move(points), width, collector).Run();
    size_limit = 0.5 * largest;
  }
  bonds.assign_flat(collector.Sorted());
}

}  // namespace orvane
