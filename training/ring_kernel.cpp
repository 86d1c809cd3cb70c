// The smallest ring through each bond of many molecules at once.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

// Rings with more bonds than this count as none.
constexpr int kLargestRing = 8;

class RingSearch {
 public:
  RingSearch(int num_atoms, const int64_t* firsts, const int32_t* neighbours)
      : first(firsts), neighbour(neighbours), visit(num_atoms, 0), distance(num_atoms, 0) {}

  // Breadth first from one end of the bond to the other, without taking the bond itself.
  int smallest_ring(int from, int to) {
    if (first[from + 1] - first[from] < 2 || first[to + 1] - first[to] < 2) return 0;
    ++current_visit;
    queue.assign(1, from);
    visit[from] = current_visit;
    distance[from] = 0;
    for (size_t head = 0; head < queue.size(); ++head) {
      const int atom = queue[head];
      if (distance[atom] + 2 > kLargestRing) return 0;
      for (int64_t bond = first[atom]; bond < first[atom + 1]; ++bond) {
        const int next = neighbour[bond];
        if (atom == from && next == to) continue;
        if (next == to) return distance[atom] + 2;
        if (visit[next] == current_visit) continue;
        visit[next] = current_visit;
        distance[next] = distance[atom] + 1;
        queue.push_back(next);
      }
    }
    return 0;
  }

 private:
  const int64_t* first;
  const int32_t* neighbour;
  std::vector<int64_t> visit;
  std::vector<int> distance;
  std::vector<int> queue;
  int64_t current_visit = 0;
};

}  // namespace

// The neighbours of atom i are neighbour[first[i]] up to neighbour[first[i + 1]]; `ring` gets, for
// each of these entries, the number of bonds of the smallest ring through that bond, 0 for none.
extern "C" void find_bond_rings(int num_atoms, const int64_t* first, const int32_t* neighbour,
                                int8_t* ring) {
  RingSearch search(num_atoms, first, neighbour);
  for (int atom = 0; atom < num_atoms; ++atom)
    for (int64_t bond = first[atom]; bond < first[atom + 1]; ++bond)
      ring[bond] = static_cast<int8_t>(search.smallest_ring(atom, neighbour[bond]));
}
