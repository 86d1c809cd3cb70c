// Joins what the faces of a cell have cut: sweeps over the atoms, and the proof that some never
// end.
//
// Where the bonds of a cell run on through its images, as in a polymer or a network solid, atoms
// can hop from image to image for ever. A sweep is a fixed function of the places of all atoms, so
// this is certain once they all are where they have been before. Mostly they are not: a chain that
// runs through the cell crawls along itself, out of the cell and on, and parts of a network go
// different ways. What is looked for therefore is a stretch of sweeps after which everything has
// been shifted in such a way that the same stretch must follow again.
//
// Let d(i) be the net lattice offset by which atom i has moved in a stretch of sweeps. Two atoms
// with the same d stand to each other as they did at the beginning. Two atoms with different d are
// further apart by w = d(i) - d(j) after each such stretch; if the offset between them has already
// come so far in the direction of w that no moves within one stretch can bring it back to one of
// their contacts, they have not touched and never will. If one of the two holds for every contact
// of a group of atoms that is in contact with no others, then every test of the next stretch
// ends as the same test of this one did, by induction from test to test: the next stretch makes the
// same moves, leads to the same d, and leaves atoms with different d further apart. The group then
// makes these moves for ever, and a single such group means that the sweeps do not end.
//
// That rounding does not break this chain is seen to: a bond whose length is within a margin of the
// limit must not be tested in the stretch, and atoms must be, to a much smaller tolerance, where
// whole numbers of lattice vectors lead them. Only after a hundred million sweeps or so could the
// coordinates of a crawling chain have lost so many digits that a test ended differently.
//
// The beginning of the stretch is the state after 1, 2, 4, 8, ... sweeps, each kept until the next
// (the method of R. P. Brent, BIT 20 (1980) 176), so that a stretch of any length is found after a
// few times its length.
#include "PeriodicStitching.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <queue>
#include <unordered_map>

#include "CellHash.h"

namespace orvane {

namespace {

// The last resort where neither an end nor endlessness shows: in cells that are none (vectors in
// one plane, or far shorter than a bond) and with bonds within rounding of the limit. Cells whose
// sweeps end are not known to need more than about one for each atom. Sweeps with contacts are
// fast, and are allowed many more, since parts of a network may take long to meet or to part.
struct MostSweeps {
  std::int64_t least;
  std::int64_t per_atom;

  std::int64_t For(std::size_t atoms) const {
    return std::max(least, per_atom * static_cast<std::int64_t>(atoms));
  }
};
constexpr MostSweeps kMostWithContacts = {200'000, 100};
constexpr MostSweeps kMostWithoutContacts = {2'000, 4};

// How far rounding may take an atom from its place; far below the margin of the contacts.
constexpr double kTolerance = 1e-8;

struct Move {
  Vec3D shift;
  LatticeOffset offset{};  // none for a vector of length zero
};

std::vector<Move> MovesOf(const LatticeVectors& lattice) {
  std::vector<Move> moves;
  for (const int sign : {1, -1}) {
    for (int k = 0; k < 3; ++k) {
      Move& move = moves.emplace_back();
      move.shift = sign == 1 ? lattice[k] : lattice[k] * -1.0;
      if (LeadsToImages(lattice[k])) move.offset[k] = sign;
    }
  }
  return moves;
}

LatticeOffset operator+(const LatticeOffset& a, const LatticeOffset& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

LatticeOffset operator-(const LatticeOffset& a, const LatticeOffset& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

// A kept state of the coordinates, to find whether they are the same again to the last bit.
class KeptCoords {
 public:
  void Keep(const std::vector<Vec3D>& coords) {
    coords_ = coords;
    different_ = 0;
  }

  // Starts with the atom that was elsewhere the last time, as it mostly still is.
  bool AreEqualTo(const std::vector<Vec3D>& coords) {
    for (std::size_t tried = 0; tried < coords.size(); ++tried) {
      if (std::memcmp(&coords[different_], &coords_[different_], sizeof(Vec3D)) != 0) return false;
      if (++different_ == coords.size()) different_ = 0;
    }
    return true;
  }

 private:
  std::vector<Vec3D> coords_;
  std::size_t different_ = 0;
};

// Sweeps with the help of the contacts between atoms and images.
//
// An atom that made no move when it was tested last makes none as long as none of the atoms that it
// has contacts with has moved since: its tests find the same atoms at the same places. So only
// those are tested that moved themselves or have contacts with one that did, in the order of all.
class ContactSweeps {
 public:
  ContactSweeps(std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
                const LatticeVectors& lattice, const ImageContacts& contacts)
      : coords_(coords),
        radii_(radii),
        lattice_(lattice),
        moves_(MovesOf(lattice)),
        contacts_(contacts),
        start_(coords),
        offsets_(coords.size()),
        is_waiting_(coords.size(), 1),
        kept_offsets_(coords.size()),
        moves_since_kept_(coords.size(), 0) {
    waiting_.reserve(coords.size());
    for (int i = 0; i < size(); ++i) waiting_.push_back(i);
    for (Vec3D& vector : lattice_) {
      if (!LeadsToImages(vector)) vector = Vec3D();
    }
    FindGroups();
    KeepState();
  }

  // Whether any atom moved.
  bool Sweep() {
    moved_groups_.clear();
    std::priority_queue<int, std::vector<int>, std::greater<>> queue({}, std::move(waiting_));
    waiting_.clear();
    while (!queue.empty()) {
      const int i = queue.top();
      queue.pop();
      is_waiting_[i] = 0;
      const LatticeOffset before = offsets_[i];
      if (!TryMoves(i)) continue;
      moved_groups_.push_back(group_of_[i]);
      is_waiting_[i] = 1;
      waiting_.push_back(i);
      if (offsets_[i] == before && !is_elsewhere_) continue;
      for (const ImageContact& contact : contacts_.Of(i)) {
        const int j = contact.atom;
        if (is_waiting_[j]) continue;
        is_waiting_[j] = 1;
        if (j > i) {
          queue.push(j);
        } else {
          waiting_.push_back(j);
        }
      }
    }
    return !moved_groups_.empty();
  }

  // Whether atoms are still where whole numbers of lattice vectors lead them.
  bool IsPrecise() const { return is_precise_; }

  void KeepState() {
    kept_coords_.Keep(coords_);
    kept_offsets_ = offsets_;
    std::fill(moves_since_kept_.begin(), moves_since_kept_.end(), 0);
    std::fill(unproved_.begin(), unproved_.end(), 0);
  }

  // Whether the sweeps since the last kept state are proved to be made again and again.
  bool RepeatForEver() {
    if (kept_coords_.AreEqualTo(coords_)) return true;
    std::sort(moved_groups_.begin(), moved_groups_.end());
    moved_groups_.erase(std::unique(moved_groups_.begin(), moved_groups_.end()),
                        moved_groups_.end());
    return std::any_of(moved_groups_.begin(), moved_groups_.end(),
                       [&](int group) { return GroupRepeatsForEver(group); });
  }

 private:
  int size() const { return static_cast<int>(coords_.size()); }

  // Atoms that are in contact, directly or through others.
  void FindGroups() {
    group_of_.assign(coords_.size(), -1);
    members_.reserve(coords_.size());
    for (int i = 0; i < size(); ++i) {
      if (group_of_[i] != -1) continue;
      const int group = static_cast<int>(first_member_.size());
      first_member_.push_back(members_.size());
      group_of_[i] = group;
      members_.push_back(i);
      for (std::size_t next = first_member_[group]; next < members_.size(); ++next) {
        for (const ImageContact& contact : contacts_.Of(members_[next])) {
          if (group_of_[contact.atom] != -1) continue;
          group_of_[contact.atom] = group;
          members_.push_back(contact.atom);
        }
      }
    }
    unproved_.assign(first_member_.size(), 0);
    first_member_.push_back(members_.size());
  }

  // Whether a place to which lattice vectors lead an atom is bonded to another one.
  bool IsBondedAt(int i, const Vec3D& place, const LatticeOffset& offset) const {
    for (const ImageContact& contact : contacts_.Of(i)) {
      const int j = contact.atom;
      if (offset - offsets_[j] == contact.offset &&
          AreBonded(radii_[i], radii_[j], Length(place - coords_[j]))) {
        return true;
      }
    }
    return false;
  }

  bool TryMoves(int i) {
    bool has_moved = false;
    const Vec3D before = coords_[i];
    for (const Move& move : moves_) {
      const Vec3D place = coords_[i] + move.shift;
      const LatticeOffset offset = offsets_[i] + move.offset;
      if (!IsBondedAt(i, place, offset)) continue;
      coords_[i] = place;
      offsets_[i] = offset;
      ++moves_since_kept_[i];
      has_moved = true;
    }
    // There and back again can lead to a place that differs in the last digits.
    is_elsewhere_ = std::memcmp(&before, &coords_[i], sizeof(Vec3D)) != 0;
    if (has_moved) CheckPrecision(i);
    return has_moved;
  }

  void CheckPrecision(int i) {
    Vec3D place = start_[i];
    for (int k = 0; k < 3; ++k) place = place + lattice_[k] * static_cast<double>(offsets_[i][k]);
    const Vec3D error = coords_[i] - place;
    for (const double x : {error.x, error.y, error.z}) {
      if (!(std::abs(x) <= kTolerance)) is_precise_ = false;
    }
    for (const double x : {place.x, place.y, place.z}) {
      if (!(std::abs(x) <= ImageContacts::kLargestCoord)) is_precise_ = false;
    }
  }

  // Starts with the member that was unproved the last time, as it mostly still is.
  bool GroupRepeatsForEver(int group) {
    const std::size_t count = first_member_[group + 1] - first_member_[group];
    std::size_t& unproved = unproved_[group];
    for (std::size_t tried = 0; tried < count; ++tried) {
      if (!RepeatsForEver(members_[first_member_[group] + unproved])) return false;
      if (++unproved == count) unproved = 0;
    }
    return true;
  }

  bool RepeatsForEver(int i) const {
    const LatticeOffset own_shift = offsets_[i] - kept_offsets_[i];
    for (const ImageContact& contact : contacts_.Of(i)) {
      const int j = contact.atom;
      const LatticeOffset parting = own_shift - (offsets_[j] - kept_offsets_[j]);
      const LatticeOffset from_contact = kept_offsets_[i] - kept_offsets_[j] - contact.offset;
      // At most so many steps, with that of a test, can be between the offset of the two at the
      // beginning and that of any of the tests.
      const std::int64_t steps = 1 + moves_since_kept_[i] + moves_since_kept_[j];
      std::int64_t way_off = 0, along = 0, longest = 0;
      for (int k = 0; k < 3; ++k) {
        way_off += std::abs(from_contact[k]);
        along += static_cast<std::int64_t>(from_contact[k]) * parting[k];
        longest = std::max<std::int64_t>(longest, std::abs(parting[k]));
      }
      const bool parts = longest > 0;
      if (parts && along <= longest * steps) return false;
      if (!parts && contact.near_limit && way_off <= steps) return false;
    }
    return true;
  }

  std::vector<Vec3D>& coords_;
  const std::vector<BondRadii>& radii_;
  LatticeVectors lattice_;  // those that lead to images
  std::vector<Move> moves_;
  const ImageContacts& contacts_;

  std::vector<Vec3D> start_;
  std::vector<LatticeOffset> offsets_;  // by which each atom has moved since
  std::vector<char> is_waiting_;        // to be tested, in this sweep or the next
  std::vector<int> waiting_;            // for the next sweep
  bool is_elsewhere_ = false;           // the last tested atom
  bool is_precise_ = true;

  std::vector<int> group_of_;
  std::vector<int> members_;               // group after group
  std::vector<std::size_t> first_member_;  // where those of each group begin, and the end
  std::vector<int> moved_groups_;          // in the last sweep

  KeptCoords kept_coords_;
  std::vector<LatticeOffset> kept_offsets_;
  std::vector<std::int64_t> moves_since_kept_;
  std::vector<std::size_t> unproved_;  // of each group, the member at which the last proof failed
};

// Cells in space that hold the atoms as they move.
class MovingGrid {
 public:
  MovingGrid(const std::vector<Vec3D>& coords, double reach)
      : coords_(coords), width_(1.01 * reach), next_(coords.size()), previous_(coords.size()) {
    for (int i = static_cast<int>(coords.size()) - 1; i >= 0; --i) Insert(i);
  }

  // Calls for the atoms in the cells around a place until the call returns true.
  template <typename Call>
  bool AnyAround(const Vec3D& place, const Call& call) const {
    const Cell cell = CellOf(place);
    for (std::int64_t x = -1; x <= 1; ++x) {
      for (std::int64_t y = -1; y <= 1; ++y) {
        for (std::int64_t z = -1; z <= 1; ++z) {
          const auto found = first_.find(KeyOf({cell[0] + x, cell[1] + y, cell[2] + z}));
          if (found == first_.end()) continue;
          for (int j = found->second; j != -1; j = next_[j]) {
            if (call(j)) return true;
          }
        }
      }
    }
    return false;
  }

  // To be called before and after the move of an atom.
  void Remove(int i) {
    if (next_[i] != -1) previous_[next_[i]] = previous_[i];
    if (previous_[i] != -1) {
      next_[previous_[i]] = next_[i];
      return;
    }
    const std::uint64_t key = KeyOf(CellOf(coords_[i]));
    if (next_[i] == -1) {
      first_.erase(key);
    } else {
      first_[key] = next_[i];
    }
  }

  void Insert(int i) {
    int& first = first_.try_emplace(KeyOf(CellOf(coords_[i])), -1).first->second;
    next_[i] = first;
    previous_[i] = -1;
    if (first != -1) previous_[first] = i;
    first = i;
  }

 private:
  using Cell = std::array<std::int64_t, 3>;

  // All that is too far off is in the outermost cells, where no numbers run over. Places that are
  // within reach of each other are in the same or in neighbouring cells even so.
  Cell CellOf(const Vec3D& place) const {
    constexpr double kOutermost = 0x1p40;
    Cell cell;
    int k = 0;
    for (const double x : {place.x, place.y, place.z}) {
      const double slice = std::floor(x / width_);
      cell[k++] = std::isnan(slice)
                      ? 0
                      : static_cast<std::int64_t>(std::clamp(slice, -kOutermost, kOutermost));
    }
    return cell;
  }

  // Different cells may share a key, by chance: their atoms are then found together.
  static std::uint64_t KeyOf(const Cell& cell) { return HashOfCell(cell); }

  const std::vector<Vec3D>& coords_;
  double width_;
  std::unordered_map<std::uint64_t, int> first_;  // atom of each cell that has any
  std::vector<int> next_;                         // of the atoms of a cell
  std::vector<int> previous_;
};

// Sweeps that test every atom at every move, in any cell.
class GridSweeps {
 public:
  GridSweeps(std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
             const LatticeVectors& lattice)
      : coords_(coords),
        radii_(radii),
        moves_(MovesOf(lattice)),
        grid_(coords, LongestBond(radii)) {
    KeepState();
  }

  bool Sweep() {
    bool has_moved = false;
    for (int i = 0; i < static_cast<int>(coords_.size()); ++i) {
      for (const Move& move : moves_) {
        const Vec3D place = coords_[i] + move.shift;
        const bool is_bonded = grid_.AnyAround(place, [&](int j) {
          return j != i && AreBonded(radii_[i], radii_[j], Length(place - coords_[j]));
        });
        if (!is_bonded) continue;
        has_moved = true;
        grid_.Remove(i);
        coords_[i] = place;
        grid_.Insert(i);
      }
    }
    return has_moved;
  }

  bool IsPrecise() const { return true; }
  void KeepState() { kept_coords_.Keep(coords_); }
  bool RepeatForEver() { return kept_coords_.AreEqualTo(coords_); }

 private:
  std::vector<Vec3D>& coords_;
  const std::vector<BondRadii>& radii_;
  std::vector<Move> moves_;
  MovingGrid grid_;
  KeptCoords kept_coords_;
};

// Sweeps until the end is known; leaves early when precision is lost.
template <typename Sweeps>
StitchingEnd Run(Sweeps& sweeps, std::int64_t most) {
  std::int64_t keep_after = 1;
  for (std::int64_t made = 1; made <= most; ++made) {
    if (!sweeps.Sweep()) return StitchingEnd::NothingMoves;
    if (!sweeps.IsPrecise()) break;
    if (sweeps.RepeatForEver()) return StitchingEnd::MovesForEver;
    if (made == keep_after) {
      sweeps.KeepState();
      keep_after *= 2;
    }
  }
  return StitchingEnd::SweepsRunOut;
}

}  // namespace

StitchingEnd StitchFragments(std::vector<Vec3D>& coords, const std::vector<BondRadii>& radii,
                             const LatticeVectors& lattice) {
  // Without any radius there are no bonds.
  if (LongestBond(radii) <= 0.0) return StitchingEnd::NothingMoves;
  if (const auto contacts = ImageContacts::Find(coords, radii, lattice)) {
    ContactSweeps sweeps(coords, radii, lattice, *contacts);
    const StitchingEnd end = Run(sweeps, kMostWithContacts.For(coords.size()));
    if (sweeps.IsPrecise()) return end;
  }
  GridSweeps sweeps(coords, radii, lattice);
  return Run(sweeps, kMostWithoutContacts.For(coords.size()));
}

}  // namespace orvane
