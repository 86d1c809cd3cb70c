// Surrounds a molecule with water and ions. The order of the calls of `rand` and of the operations
// on numbers is fixed: every printed digit depends on it.
#include "Solvate.h"

#include <sys/sysinfo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "CollisionGrid.h"
#include "ComputationalGeometry.h"
#include "Error.h"
#include "RunStatus.h"

namespace orvane {

namespace {

constexpr double kGridStep = 2.9;          // Of the water, in Angstrom.
constexpr double kEllipsoidLimit = 0.25;   // A half, squared, as edges are whole axes.
constexpr double kFullTurn = 6.283185307;  // With these digits only.
constexpr double kLargestRandom = 2147483647.0;
constexpr double kVolumePerIon = 830.2695335869233;  // In cubic Angstrom, at 1 mol/L.
constexpr double kLargestChargeError = 1e-5;
constexpr std::size_t kWaterAtoms = 3;

// Indices are 32-bit numbers.
constexpr long long kMostIndices = std::numeric_limits<int>::max();

// More tries for ions than a run should take, and not fewer than there can be ions.
constexpr double kMostTries = 4e9;

Vec3D CenterOf(const std::vector<Vec3D>& coords) {
  return ComputationalGeometry::CalcCenter(static_cast<int>(coords.size()), coords.data(), nullptr);
}

// This many atoms can be counted, and have room in the memory of this machine.
long long MostAtoms() {
  // A water has three bonds and three angles, which are 15 indices.
  constexpr std::size_t kBytesPerAtom = sizeof(PDB::Atom) +
                                        sizeof(MolecularMechanicsTopology::Atom) + sizeof(Vec3D) +
                                        15 * sizeof(int) / kWaterAtoms;
  struct sysinfo machine = {};
  if (sysinfo(&machine) != 0) return kMostIndices;
  const double units =
      static_cast<double>(machine.totalram) + static_cast<double>(machine.totalswap);
  const double atoms = units * machine.mem_unit / static_cast<double>(kBytesPerAtom);
  return static_cast<long long>(std::min(atoms, static_cast<double>(kMostIndices)));
}

[[noreturn]] void EndForTooManyAtoms(const char* what) {
  const long long most = MostAtoms();
  RAVELO_FAIL("The %s: there would be more than %d atoms, the most that %s.", what, most,
              most < kMostIndices ? "the memory of this machine can hold" : "an index can count");
}

// How many more atoms a molecule can take.
long long RoomFor(const PDB& pdb) {
  return std::max(0LL, MostAtoms() - static_cast<long long>(pdb.atoms.size()));
}

// Numbers from `begin` to in front of `end`.
struct Span {
  long long begin = 0;
  long long end = 0;

  long long size() const { return end - begin; }
};

// The first number of a span for which a condition holds, which then holds for all behind it.
template <typename Condition>
long long FirstWhere(Span span, Condition holds) {
  while (span.size() > 0) {
    const long long middle = span.begin + span.size() / 2;
    if (holds(middle)) {
      span.end = middle;
    } else {
      span.begin = middle + 1;
    }
  }
  return span.begin;
}

// What an offset from the centre adds to the sum that tells whether a place is in an ellipsoid.
double EllipsoidTerm(double offset, double edge) {
  return offset * offset / edge / edge;
}

// Places along one axis, numbered from 0 in ascending order; `offset_of` gives the offset of each
// from the centre. Rounding keeps the order of numbers, so the terms of the ellipsoid's sum fall to
// a least one and rise again behind it, as computed, and those that are small enough are
// neighbours.
template <typename OffsetOf>
class EllipsoidAxis {
 public:
  EllipsoidAxis(long long count, double edge, OffsetOf offset_of)
      : count_(count), edge_(edge), offset_of_(offset_of) {
    const long long behind =
        FirstWhere({0, count}, [&](long long number) { return offset_of_(number) >= 0.0; });
    least_ = std::min(behind, count - 1);
    if (least_ > 0 && Term(least_ - 1) < Term(least_)) --least_;
  }

  double Term(long long number) const { return EllipsoidTerm(offset_of_(number), edge_); }
  double LeastTerm() const { return Term(least_); }

  // The numbers whose terms are accepted; what accepts a term accepts all that are less.
  template <typename Accepts>
  Span Accepted(Accepts accepts) const {
    if (count_ == 0 || !accepts(LeastTerm())) return {};
    return {FirstWhere({0, least_}, [&](long long number) { return accepts(Term(number)); }),
            FirstWhere({least_, count_}, [&](long long number) { return !accepts(Term(number)); })};
  }

 private:
  long long count_;
  double edge_;
  OffsetOf offset_of_;
  long long least_ = 0;
};

// The sum over three axes, in this order.
bool IsInEllipsoid(double x_term, double y_term, double z_term) {
  return !(x_term + y_term + z_term > kEllipsoidLimit);
}

bool IsInEllipsoid(const Vec3D& offset, double a, double b, double c) {
  return IsInEllipsoid(EllipsoidTerm(offset.x, a), EllipsoidTerm(offset.y, b),
                       EllipsoidTerm(offset.z, c));
}

// The grid of the water: on each axis from the corner on.
class WaterGrid {
 public:
  WaterGrid(const Vec3D& center, double a, double b, double c, bool droplet)
      : corner_(center - Vec3D(a / 2, b / 2, c / 2)),
        // Without a centre, nothing lies outside.
        is_ellipsoid_(droplet && IsFinite(center)),
        x_(CountAlong(a), a, Offset{corner_.x, center.x}),
        y_(CountAlong(b), b, Offset{corner_.y, center.y}),
        z_(CountAlong(c), c, Offset{corner_.z, center.z}),
        nx_(CountAlong(a)),
        ny_(CountAlong(b)),
        nz_(CountAlong(c)) {
    // Without a step along one axis there are no places, however many steps the others have.
    if (nx_ == 0 || ny_ == 0 || nz_ == 0) nx_ = ny_ = nz_ = 0;
  }

  // Gives the places from the lowest x on; for one x by y, and for one y by z.
  template <typename Visit>
  void ForEachPlace(Visit visit) const {
    ForEachRow([&](long long i, long long j, Span row) {
      for (long long k = row.begin; k < row.end; ++k) {
        visit(corner_ +
              Vec3D(static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)) *
                  kGridStep);
      }
      return true;
    });
  }

  bool HasMorePlacesThan(double most) const {
    if (std::max({nx_, ny_, nz_}) > kMostIndices) return true;
    const double box =
        static_cast<double>(nx_) * static_cast<double>(ny_) * static_cast<double>(nz_);
    if (!is_ellipsoid_ || box <= most) return box > most;
    // A cuboid that lies inside saves counting what is far too much.
    const auto is_in_cuboid = [](double term) { return term < 0.08; };
    const double cuboid = static_cast<double>(x_.Accepted(is_in_cuboid).size()) *
                          static_cast<double>(y_.Accepted(is_in_cuboid).size()) *
                          static_cast<double>(z_.Accepted(is_in_cuboid).size());
    if (cuboid > most) return true;
    double count = 0.0;
    ForEachRow([&](long long, long long, Span row) {
      count += static_cast<double>(row.size());
      return count <= most;
    });
    return count > most;
  }

 private:
  struct Offset {
    double corner;
    double center;

    double operator()(long long number) const {
      return corner + static_cast<double>(number) * kGridStep - center;
    }
  };
  using Axis = EllipsoidAxis<Offset>;

  // Whole steps in an edge, or one more than an index can count.
  static long long CountAlong(double edge) {
    const double steps = edge / kGridStep;
    if (!(steps >= 1.0)) return 0;
    return static_cast<long long>(std::min(steps, static_cast<double>(kMostIndices) + 1.0));
  }

  // Gives the rows along z that have places, until `visit` returns false. In a droplet every x and
  // every y that is looked at has places, so what lies outside takes no time.
  template <typename Visit>
  void ForEachRow(Visit visit) const {
    if (nx_ == 0) return;
    if (!is_ellipsoid_) {
      for (long long i = 0; i < nx_; ++i) {
        for (long long j = 0; j < ny_; ++j) {
          if (!visit(i, j, Span{0, nz_})) return;
        }
      }
      return;
    }
    const double least_y = y_.LeastTerm();
    const double least_z = z_.LeastTerm();
    const Span is = x_.Accepted([&](double term) { return IsInEllipsoid(term, least_y, least_z); });
    for (long long i = is.begin; i < is.end; ++i) {
      const double x = x_.Term(i);
      const Span js = y_.Accepted([&](double term) { return IsInEllipsoid(x, term, least_z); });
      for (long long j = js.begin; j < js.end; ++j) {
        const double y = y_.Term(j);
        const Span ks = z_.Accepted([&](double term) { return IsInEllipsoid(x, y, term); });
        if (!visit(i, j, ks)) return;
      }
    }
  }

  Vec3D corner_;
  bool is_ellipsoid_;
  Axis x_;
  Axis y_;
  Axis z_;
  long long nx_;
  long long ny_;
  long long nz_;
};

// How many places on the grid one atom can keep free of water at most: those from which the
// template reaches the atom.
double MostPlacesTakenByAtom(const std::vector<Vec3D>& water) {
  const Vec3D center = CenterOf(water);
  double radius = 0.0;
  for (const Vec3D& point : water) radius = std::max(radius, Length(point - center));
  const double along_axis = std::floor(2.0 * (2.0 + radius) / kGridStep + 0.1) + 1.0;
  return along_axis * along_axis * along_axis;
}

void EndIfNoWaterMolecule(const PDB& water, const std::vector<Vec3D>& coords) {
  if (water.atoms.size() != kWaterAtoms || coords.size() != kWaterAtoms) {
    RAVELO_FAIL("The template \"%s\" should hold a water molecule of %d atoms, but it has %d.",
                water.GetFilename(), kWaterAtoms, water.atoms.size());
  }
}

// A topology of other atoms would make the rest of the molecule's indices wrong.
void EndIfTopologyDiffers(const PDB& unit) {
  const std::size_t in_topology = unit.GetTopology().GetAtoms().size();
  if (in_topology != unit.atoms.size()) {
    RAVELO_FAIL("The template \"%s\" has %d atoms, but its topology has %d.", unit.GetFilename(),
                unit.atoms.size(), in_topology);
  }
}

double RandomAngle() {
  return std::rand() * kFullTurn / kLargestRandom;
}

// The coordinates of all waters that have room, one behind the other.
std::vector<Vec3D> PlaceWaters(const WaterGrid& grid, const Vec3D& move,
                               const std::vector<Vec3D>& solute, long long most_atoms) {
  const CollisionGrid collisions(solute);
  std::vector<Vec3D> placed;
  std::array<Vec3D, kWaterAtoms> candidate;
  grid.ForEachPlace([&](const Vec3D& position) {
    std::copy_n(Solvate::water_coords.begin(), kWaterAtoms, candidate.begin());
    const double angle1 = RandomAngle();
    const double angle2 = RandomAngle();
    const double angle3 = RandomAngle();
    ComputationalGeometry::Rotate(angle1, angle2, angle3, position + move,
                                  static_cast<int>(kWaterAtoms), candidate.data());
    for (const Vec3D& atom : candidate) {
      if (collisions.Collides(atom)) return;
    }
    placed.insert(placed.end(), candidate.begin(), candidate.end());
    if (static_cast<long long>(placed.size()) > most_atoms) EndForTooManyAtoms("box is too large");
  });
  return placed;
}

// Appends copies of a template that differ in their coordinates alone.
void AppendCopies(const PDB& unit, const std::vector<Vec3D>& coords, PDB& pdb) {
  const std::size_t size = pdb.atoms.size() + coords.size();
  // With room for some ions behind water.
  if (pdb.atoms.capacity() < size) pdb.atoms.reserve(size + size / 16);
  std::size_t in_unit = 0;
  for (const Vec3D& coord : coords) {
    pdb.atoms.emplace_back(unit.atoms[in_unit]).Coord = coord;
    if (++in_unit == unit.atoms.size()) in_unit = 0;
  }
  pdb.numAtoms += static_cast<int>(coords.size());
}

// Draws places of ions in a box or a droplet.
class IonPlaces {
 public:
  IonPlaces(const Vec3D& center, double a, double b, double c, bool droplet)
      : center_(center),
        corner_(center - Vec3D(a / 2, b / 2, c / 2)),
        a_(a),
        b_(b),
        c_(c),
        is_droplet_(droplet) {}

  Vec3D Draw() const {
    while (true) {
      // From z to x.
      const int first = std::rand();
      const int second = std::rand();
      const int third = std::rand();
      const Vec3D position = corner_ + Vec3D(Along(third, a_), Along(second, b_), Along(first, c_));
      if (!is_droplet_ || IsInEllipsoid(position - center_, a_, b_, c_)) return position;
    }
  }

  // The square of a large offset is infinite, and such an offset then counts as outside of any
  // droplet. Ends the run where this leaves too few places.
  void EndIfHardlyAnyInDroplet(double ions) const {
    if (!is_droplet_ || ions == 0.0) return;
    // With these, sums are no number somewhere, or everywhere, and that does not count as outside.
    if (!IsFinite(center_) || !IsFinite(corner_)) return;
    if (ShareInDroplet() * kMostTries < ions) {
      char text[128];
      std::snprintf(text, sizeof text, "%g x %g x %g", a_, b_, c_);
      RAVELO_FAIL("A droplet of %s Angstrom^3 is too large to find places for ions in it.", text);
    }
  }

 private:
  static double Along(int random, double edge) { return random * edge / kLargestRandom; }

  // The share of the places that can be drawn which lie in a cuboid around the droplet.
  double ShareInDroplet() const {
    const auto axis = [](double corner, double center, double edge) {
      return EllipsoidAxis(static_cast<long long>(RAND_MAX) + 1, edge, [=](long long random) {
        return corner + Along(static_cast<int>(random), edge) - center;
      });
    };
    const auto x = axis(corner_.x, center_.x, a_);
    const auto y = axis(corner_.y, center_.y, b_);
    const auto z = axis(corner_.z, center_.z, c_);
    const auto share = [&](const auto& one, auto accepts) {
      return static_cast<double>(one.Accepted(accepts).size()) / (RAND_MAX + 1.0);
    };
    const double x_least = x.LeastTerm();
    const double y_least = y.LeastTerm();
    const double z_least = z.LeastTerm();
    return share(x, [&](double term) { return IsInEllipsoid(term, y_least, z_least); }) *
           share(y, [&](double term) { return IsInEllipsoid(x_least, term, z_least); }) *
           share(z, [&](double term) { return IsInEllipsoid(x_least, y_least, term); });
  }

  Vec3D center_;
  Vec3D corner_;
  double a_;
  double b_;
  double c_;
  bool is_droplet_;
};

void AppendIons(const PDB& ion, int count, const IonPlaces& places, PDB& pdb) {
  std::vector<Vec3D> coords;
  coords.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) coords.push_back(places.Draw());
  if (count > 0) {
    // Ends the run if this is not one atom.
    PDB(ion).SetCoords({coords.front()});
    EndIfTopologyDiffers(ion);
  }
  AppendCopies(ion, coords, pdb);
  pdb.MergePSF(ion, count);
}

// The charge of a molecule as a whole number; ends the run if it is none.
int WholeChargeOf(const PDB& pdb) {
  const double charge = pdb.GetTopology().GetTotalCharge();
  const double whole = std::round(charge);
  const double delta = std::fabs(charge - whole);
  // A charge that is no number is no whole one either.
  if (!(delta <= kLargestChargeError)) {
    char text[32];
    std::snprintf(text, sizeof text, "%.5E", delta);
    RAVELO_FAIL("The total charge is not an integer: %.5f (delta = %s)\n", charge, text);
  }
  if (std::fabs(whole) > static_cast<double>(kMostIndices)) {
    RAVELO_FAIL("The total charge is too large: %.5f.", charge);
  }
  return static_cast<int>(whole);
}

void LoadTemplate(const std::string& name, PDB& unit, std::vector<Vec3D>& coords) {
  const std::string folder = RunStatus::GetProgramAbsolutePath();
  unit.Load(folder + name + ".pdb");
  unit.LoadPSFFile(folder + name + ".psf");
  unit.GetCoords(coords);
}

}  // namespace

PDB Solvate::water_PDB;
std::vector<Vec3D> Solvate::water_coords;
PDB Solvate::na_PDB;
std::vector<Vec3D> Solvate::na_coords;
PDB Solvate::cl_PDB;
std::vector<Vec3D> Solvate::cl_coords;

void Solvate::Initialize() {
  LoadTemplate("tip3", water_PDB, water_coords);
  LoadTemplate("sod", na_PDB, na_coords);
  LoadTemplate("cla", cl_PDB, cl_coords);
}

bool Solvate::DetectCollision(const std::vector<Vec3D>& first, const std::vector<Vec3D>& second) {
  for (const Vec3D& a : first) {
    for (const Vec3D& b : second) {
      if (Collide(a, b)) return true;
    }
  }
  return false;
}

int Solvate::AddWaterBox(double a, double b, double c, const Vec3D& move, PDB& pdb, bool droplet) {
  std::vector<Vec3D> solute;
  pdb.GetCoords(solute);
  const WaterGrid grid(CenterOf(solute), a, b, c, droplet);
  std::vector<Vec3D> waters;
  if (grid.HasMorePlacesThan(0.0)) {
    EndIfNoWaterMolecule(water_PDB, water_coords);
    EndIfTopologyDiffers(water_PDB);
    const long long most_atoms = RoomFor(pdb);
    const auto most_waters = static_cast<double>(most_atoms / kWaterAtoms);
    const double taken = static_cast<double>(solute.size()) * MostPlacesTakenByAtom(water_coords);
    if (grid.HasMorePlacesThan(most_waters + taken)) EndForTooManyAtoms("box is too large");
    waters = PlaceWaters(grid, move, solute, most_atoms);
  }
  const int count = static_cast<int>(waters.size() / kWaterAtoms);
  AppendCopies(water_PDB, waters, pdb);
  pdb.MergePSF(water_PDB, count);
  return count;
}

void Solvate::AddIons(double a, double b, double c, const Vec3D& /*move*/, int target_charge,
                      double ionic_strength, bool droplet, PDB& pdb, IonResult& result) {
  // Ions that make up for the charge, and then as many pairs as the ionic strength still wants.
  const long long missing = static_cast<long long>(target_charge) - WholeChargeOf(pdb);
  const long long plus = std::max(missing, 0LL);
  const long long minus = std::max(-missing, 0LL);
  const double excess = static_cast<double>(plus + minus);
  const double volume = a * b * c;
  const double wanted_pairs = ((ionic_strength * volume / kVolumePerIon) - excess) * 0.5;
  // Nothing where it is negative or, for an infinite volume without ions, no number.
  const double pairs_as_real = wanted_pairs > 0.0 ? std::trunc(wanted_pairs) : 0.0;
  const double ions = excess + 2.0 * pairs_as_real;
  if (ions > static_cast<double>(RoomFor(pdb))) EndForTooManyAtoms("ions are too many");
  const int pairs = static_cast<int>(pairs_as_real);
  const int cations = static_cast<int>(plus) + pairs;
  const int anions = static_cast<int>(minus) + pairs;
  const double final_strength = (cations + anions) / volume * kVolumePerIon;

  std::vector<Vec3D> all;
  pdb.GetCoords(all);
  const IonPlaces places(CenterOf(all), a, b, c, droplet);
  places.EndIfHardlyAnyInDroplet(ions);
  AppendIons(na_PDB, cations, places, pdb);
  AppendIons(cl_PDB, anions, places, pdb);
  result = {cations, anions, final_strength};
}

}  // namespace orvane
