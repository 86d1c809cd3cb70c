// Which atoms lie in rings of five or six, found by a search around each atom that ends three bonds
// away.
//
// Why the shortest cycle through an atom is all that must be found, although ring classes are
// defined by the list of `udgcd::FindCycles`: the smallest member of that list that holds an atom
// is a shortest cycle through it. For a simple graph:
//
// 1. A shortest cycle C through an atom v has no chord. A chord ab would cut C into two paths, each
//    of two bonds or more. One of them that holds v (both do if v is a or b) forms with the chord a
//    cycle through v, and this is shorter than C, since a single bond replaces the other path.
// 2. C holds a vertex that the depth-first search records. Some bond of C is no tree edge, so the
//    search reports it as a back edge, and after that one of its ends is recorded.
// 3. From a recorded vertex s of C, the walk goes all around C, in both directions. As C has no
//    chord, a vertex on the way has only one neighbour on the path so far, the one that the walk
//    comes from. So no path that follows C is closed early, which alone would keep the walk from
//    the neighbours that come later, until the last vertex closes it on s, its only other neighbour
//    on the path.
// 4. The filters keep C: it has a reversed twin, and no chord. All that they let pass are cycles of
//    the graph, none of which is shorter than a shortest one.
//
// And the search here finds the length of a shortest cycle through v, up to six: a breadth-first
// search from v names each atom after the neighbour of v, the branch, through which it was reached
// first. A bond between atoms x and y of different branches closes a cycle through v of length
// depth(x) + depth(y) + 1. On the way around a shortest cycle the branch must change somewhere, and
// there this sum is not greater than the length of the cycle.
#include "RingClasses.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "MolecularMechanicsTopology.h"

namespace orvane {

namespace {

// The bonded neighbours of every atom, each once, in one flat list.
class Neighbours {
 public:
  Neighbours(int num_atoms, const TermList& bonds)
      : begins_(static_cast<std::size_t>(num_atoms) + 1, 0), sizes_(num_atoms, 0) {
    const std::vector<int>& ends = bonds.flat();
    for (const int atom : ends) ++begins_[atom + 1];
    for (int i = 0; i < num_atoms; ++i) begins_[i + 1] += begins_[i];
    atoms_.resize(ends.size());
    for (std::size_t i = 0; i < ends.size(); i += 2) {
      if (ends[i] == ends[i + 1]) continue;
      Append(ends[i], ends[i + 1]);
      Append(ends[i + 1], ends[i]);
    }
    for (int i = 0; i < num_atoms; ++i) {
      const std::span<int> own = Of(i);
      std::sort(own.begin(), own.end());
      sizes_[i] = static_cast<int>(std::unique(own.begin(), own.end()) - own.begin());
    }
  }

  std::span<const int> operator[](int atom) const {
    return {atoms_.data() + begins_[atom], static_cast<std::size_t>(sizes_[atom])};
  }

  // Takes away all that is on no ring and between no rings: chain ends, again and again. This
  // includes the neighbours of an atom that are bonded to nothing else, however many they are.
  void RemoveChainEnds() {
    std::vector<int> left = sizes_;
    std::vector<int> removed;
    for (int i = 0; i < NumAtoms(); ++i) {
      if (left[i] == 1) removed.push_back(i);
    }
    while (!removed.empty()) {
      const int atom = removed.back();
      removed.pop_back();
      left[atom] = 0;
      for (const int neighbour : (*this)[atom]) {
        if (left[neighbour] > 0 && --left[neighbour] == 1) removed.push_back(neighbour);
      }
    }
    for (int i = 0; i < NumAtoms(); ++i) {
      const std::span<int> own = Of(i);
      const auto end = std::remove_if(own.begin(), own.end(),
                                      [&](int neighbour) { return left[neighbour] == 0; });
      sizes_[i] = left[i] == 0 ? 0 : static_cast<int>(end - own.begin());
    }
  }

  // Puts the neighbours with the fewest bonds first, so that a ring of 3 or 4 ends a search before
  // it walks through a crowded atom.
  void SortByCrowding() {
    for (int i = 0; i < NumAtoms(); ++i) {
      const std::span<int> own = Of(i);
      std::sort(own.begin(), own.end(), [this](int a, int b) { return sizes_[a] < sizes_[b]; });
    }
  }

  int NumAtoms() const { return static_cast<int>(sizes_.size()); }

 private:
  std::span<int> Of(int atom) {
    return {atoms_.data() + begins_[atom], static_cast<std::size_t>(sizes_[atom])};
  }

  void Append(int atom, int neighbour) { atoms_[begins_[atom] + sizes_[atom]++] = neighbour; }

  std::vector<std::size_t> begins_;
  std::vector<int> sizes_;
  std::vector<int> atoms_;
};

class RingSearch {
 public:
  explicit RingSearch(const Neighbours& neighbours)
      : neighbours_(neighbours), visits_(neighbours.NumAtoms()) {}

  int ClassOf(int atom) {
    next_.clear();
    visits_[atom] = {atom, atom, 0};
    for (const int first : neighbours_[atom]) visits_[first] = {atom, first, 1};
    for (const int first : neighbours_[atom]) {
      for (const int second : neighbours_[first]) {
        if (second == atom) continue;
        // Another branch has been here: a ring of 3 or 4.
        if (visits_[second].start == atom) return 0;
        visits_[second] = {atom, first, 2};
        next_.push_back(second);
      }
    }
    int ring_class = 0;
    for (const int second : next_) {
      const int branch = visits_[second].branch;
      for (const int third : neighbours_[second]) {
        Visit& visit = visits_[third];
        if (visit.start != atom) {
          visit = {atom, branch, 3};
        } else if (visit.branch != branch) {
          if (visit.depth == 2) return 5;
          ring_class = 6;
        }
      }
    }
    return ring_class;
  }

 private:
  struct Visit {
    int start = -1;  // The atom around which the search was.
    int branch = -1;
    int depth = 0;
  };

  const Neighbours& neighbours_;
  std::vector<Visit> visits_;
  std::vector<int> next_;  // The atoms at depth 2.
};

}  // namespace

std::vector<int> FindRingClasses(int num_atoms, const TermList& bonds) {
  EndIfBondLeavesAtoms(bonds, static_cast<std::size_t>(num_atoms));
  EndIfTooManyTerms(static_cast<std::size_t>(num_atoms), bonds);
  Neighbours neighbours(num_atoms, bonds);
  neighbours.RemoveChainEnds();
  neighbours.SortByCrowding();
  RingSearch search(neighbours);
  std::vector<int> classes;
  classes.reserve(num_atoms);
  for (int i = 0; i < num_atoms; ++i) classes.push_back(search.ClassOf(i));
  return classes;
}

}  // namespace orvane
