// The force-field view of a molecule: building, merging and deriving its terms.
#include "MolecularMechanicsTopology.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include "Error.h"

namespace orvane {

namespace {

// The bonded neighbours of every atom, in the order of the bonds, in one flat list.
class Adjacency {
 public:
  Adjacency(std::size_t atoms, const TermList& bonds) : begins_(atoms + 1, 0) {
    const std::vector<int>& ends = bonds.flat();
    for (const int atom : ends) ++begins_[atom + 1];
    for (std::size_t i = 1; i <= atoms; ++i) begins_[i] += begins_[i - 1];
    neighbours_.resize(ends.size());
    std::vector<std::size_t> next(begins_.begin(), begins_.end() - 1);
    for (std::size_t i = 0; i < ends.size(); i += 2) {
      neighbours_[next[ends[i]]++] = ends[i + 1];
      neighbours_[next[ends[i + 1]]++] = ends[i];
    }
  }

  std::span<const int> operator[](int atom) const {
    return {neighbours_.data() + begins_[atom], begins_[atom + 1] - begins_[atom]};
  }

 private:
  std::vector<std::size_t> begins_;
  std::vector<int> neighbours_;
};

// Angles in the order of the bonds: for a bond i-j those with i in the middle, then those with j.
// The comparisons keep each angle once, from the bond of its lower end atom, which is its first.
template <typename Visit>
void ForEachAngle(const TermList& bonds, const Adjacency& adjacency, Visit visit) {
  const std::vector<int>& ends = bonds.flat();
  for (std::size_t bond = 0; bond < ends.size(); bond += 2) {
    const int i = ends[bond];
    const int j = ends[bond + 1];
    for (const int k : adjacency[i]) {
      if (k > j) visit(j, i, k);
    }
    for (const int k : adjacency[j]) {
      if (k > i) visit(i, j, k);
    }
  }
}

// Dihedrals in the order of the angles: those that continue an angle in front, then those behind.
// The two strict comparisons keep each path of four different atoms once and drop rings of three.
template <typename Visit>
void ForEachDihedral(const TermList& angles, const Adjacency& adjacency, Visit visit) {
  const std::vector<int>& atoms = angles.flat();
  for (std::size_t angle = 0; angle < atoms.size(); angle += 3) {
    const int a = atoms[angle];
    const int b = atoms[angle + 1];
    const int c = atoms[angle + 2];
    for (const int k : adjacency[a]) {
      if (k != b && k < c) visit(k, a, b, c);
    }
    for (const int k : adjacency[c]) {
      if (k != b && k < a) visit(a, b, c, k);
    }
  }
}

// Indices and counts are 32-bit numbers.
constexpr std::size_t kMostTerms = static_cast<std::size_t>(std::numeric_limits<int>::max());

// No molecule comes near: it takes an atom with 200,000 bonds, which only a damaged file has.
constexpr std::size_t kMostSteps = std::size_t{1} << 36;

// This many guessed dihedrals take a gigabyte, and several as lines of a parameter file. A molecule
// reaches this with some twenty million atoms, which take far more; but so do 109 atoms on one
// spot, each of them bonded to all the others.
constexpr std::size_t kMostGuessedTerms = std::size_t{1} << 26;

[[noreturn]] void EndForTooMany(const char* what) {
  RAVELO_FAIL("The topology would have too many %s.", what);
}

void EndIfAnglesTakeTooLong(std::size_t atoms, const Adjacency& adjacency) {
  std::size_t steps = 0;
  for (std::size_t i = 0; i < atoms; ++i) {
    const std::size_t degree = adjacency[static_cast<int>(i)].size();
    steps += degree * degree;
  }
  if (steps > kMostSteps) EndForTooMany("angles");
}

void EndIfDihedralsTakeTooLong(const TermList& angles, const Adjacency& adjacency) {
  std::size_t steps = 0;
  const std::vector<int>& atoms = angles.flat();
  for (std::size_t angle = 0; angle < atoms.size(); angle += 3) {
    steps += adjacency[atoms[angle]].size() + adjacency[atoms[angle + 2]].size();
  }
  if (steps > kMostSteps) EndForTooMany("dihedrals");
}

// How many atoms to reserve for a merge that brings `before` atoms to `total`: a sixteenth to spare
// where it at least doubles them, else twice as many as before, so that many merges in a row cost
// no more than the atoms that they bring.
std::size_t RoomBehindMerge(std::size_t total, std::size_t before) {
  return std::max(total + total / 16, 2 * before);
}

}  // namespace

void EndIfBondLeavesAtoms(const TermList& bonds, std::size_t num_atoms) {
  const std::vector<int>& ends = bonds.flat();
  for (std::size_t i = 0; i < ends.size(); ++i) {
    if (ends[i] < 0 || static_cast<std::size_t>(ends[i]) >= num_atoms) {
      const std::size_t bond = i / 2 * 2;
      RAVELO_FAIL("The bond %d-%d is wrong: there are atoms from 1 to %d only.",
                  ShiftedIndex(ends[bond], 1), ShiftedIndex(ends[bond + 1], 1), num_atoms);
    }
  }
}

// Counts pairs of bonds on one atom, and ways over three bonds. That is more than there are angles
// and dihedrals only by rings of three and by bonds that are listed twice, and it bounds the work
// of finding them as well. Angles go first, and then no product of two numbers of bonds is large.
void EndIfTooManyTerms(std::size_t num_atoms, const TermList& bonds) {
  const std::vector<int>& ends = bonds.flat();
  std::vector<std::size_t> num_bonds(num_atoms, 0);
  for (const int atom : ends) ++num_bonds[atom];
  std::size_t angles = 0;
  for (const std::size_t count : num_bonds) {
    if (count > 1) angles += count * (count - 1) / 2;
    if (angles > kMostGuessedTerms) EndForTooMany("angles");
  }
  std::size_t dihedrals = 0;
  for (std::size_t i = 0; i < ends.size(); i += 2) {
    dihedrals += (num_bonds[ends[i]] - 1) * (num_bonds[ends[i + 1]] - 1);
    if (dihedrals > kMostGuessedTerms) EndForTooMany("dihedrals");
  }
}

void MolecularMechanicsTopology::Build(const std::vector<Atom>& new_atoms,
                                       const TermList& new_bonds, const TermList& new_impropers,
                                       const TermList& new_cmaps) {
  EndIfBondLeavesAtoms(new_bonds, new_atoms.size());
  atoms = new_atoms;
  bonds = new_bonds;
  impropers = new_impropers;
  cmaps = new_cmaps;
  derived_lists_stale = true;
}

void MolecularMechanicsTopology::BuildAnglesAndDihedrals() {
  derived_lists_stale = true;
  DeriveAnglesAndDihedrals();
}

void MolecularMechanicsTopology::DeriveAnglesAndDihedrals() const {
  if (!derived_lists_stale) return;
  EndIfBondLeavesAtoms(bonds, atoms.size());
  derived_lists_stale = false;
  const Adjacency adjacency(atoms.size(), bonds);

  EndIfAnglesTakeTooLong(atoms.size(), adjacency);
  std::size_t count = 0;
  ForEachAngle(bonds, adjacency, [&](int, int, int) {
    if (++count > kMostTerms) EndForTooMany("angles");
  });
  angles.clear();
  angles.reserve(count);
  ForEachAngle(bonds, adjacency, [&](int a, int b, int c) { angles.push_back({a, b, c}); });

  EndIfDihedralsTakeTooLong(angles, adjacency);
  count = 0;
  ForEachDihedral(angles, adjacency, [&](int, int, int, int) {
    if (++count > kMostTerms) EndForTooMany("dihedrals");
  });
  dihedrals.clear();
  dihedrals.reserve(count);
  ForEachDihedral(angles, adjacency, [&](int a, int b, int c, int d) {
    dihedrals.push_back({a, b, c, d});
  });
}

const TermList& MolecularMechanicsTopology::GetAngles() const {
  DeriveAnglesAndDihedrals();
  return angles;
}

const TermList& MolecularMechanicsTopology::GetDihedrals() const {
  DeriveAnglesAndDihedrals();
  return dihedrals;
}

void MolecularMechanicsTopology::Merge(const MolecularMechanicsTopology& other, int copies) {
  if (&other == this) {
    const MolecularMechanicsTopology copy = other;
    Merge(copy, copies);
    return;
  }
  // After a load the present bonds are unchecked, and what is appended could bring a wrong index
  // into range. After a merge they need no second look.
  if (!derived_lists_stale) EndIfBondLeavesAtoms(bonds, atoms.size());
  derived_lists_stale = true;
  if (copies < 1) return;
  EndIfBondLeavesAtoms(other.bonds, other.atoms.size());
  const std::size_t total = atoms.size() + other.atoms.size() * static_cast<std::size_t>(copies);
  if (total > kMostTerms) EndForTooMany("atoms");
  const int first = static_cast<int>(atoms.size());
  const int step = static_cast<int>(other.atoms.size());
  if (total > atoms.capacity()) atoms.reserve(RoomBehindMerge(total, atoms.size()));
  for (int c = 0; c < copies; ++c) {
    for (int i = 0; i < step; ++i) {
      Atom& atom = atoms.emplace_back(other.atoms[i]);
      if (copies != 1) atom.residue_sn = c % 9999 + 1;
    }
  }
  // All copies of one list, then the next list.
  const std::size_t times = static_cast<std::size_t>(copies);
  bonds.reserve_more(times * other.bonds.size());
  impropers.reserve_more(times * other.impropers.size());
  cmaps.reserve_more(times * other.cmaps.size());
  for (int c = 0; c < copies; ++c) bonds.append_shifted(other.bonds, first + c * step);
  for (int c = 0; c < copies; ++c) impropers.append_shifted(other.impropers, first + c * step);
  for (int c = 0; c < copies; ++c) cmaps.append_shifted(other.cmaps, first + c * step);
}

double MolecularMechanicsTopology::GetTotalCharge() const {
  double total = 0.0;
  for (const Atom& atom : atoms) total += atom.charge;
  return total;
}

}  // namespace orvane
