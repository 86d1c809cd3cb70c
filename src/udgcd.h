// Chordless cycles of an undirected graph: a depth-first search picks the vertices to start from,
// an exhaustive walk from each of them collects closed paths, and filters bring these to one normal
// form per cycle.
//
// The walk takes all simple paths, so its time grows steeply with the number of fused rings: it is
// for small graphs. The graph must be simple; vertices are the indices from 0.
#ifndef RAVELO_UDGCD_H
#define RAVELO_UDGCD_H

#include <algorithm>
#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/graph_traits.hpp>
#include <boost/graph/undirected_dfs.hpp>
#include <boost/property_map/property_map.hpp>
#include <cassert>
#include <cstddef>
#include <map>
#include <vector>

namespace udgcd {

/// Records the vertices from which to look for cycles: at every edge that closes a cycle, the
/// vertex that the search comes from, unless an end of the edge has been recorded before. So every
/// cycle of the graph holds a recorded vertex.
template <typename T>
struct CycleDetector : public boost::dfs_visitor<> {
  /// Shared by all searches, each of which begins with emptying it.
  static inline std::vector<T> v_source_vertex;

  template <typename Edge, typename Graph>
  void back_edge(Edge edge, const Graph& g) {
    const T u = boost::source(edge, g);
    const T v = boost::target(edge, g);
    const auto is_recorded = [](T vertex) {
      return std::find(v_source_vertex.begin(), v_source_vertex.end(), vertex) !=
             v_source_vertex.end();
    };
    if (!is_recorded(u) && !is_recorded(v)) v_source_vertex.push_back(u);
  }
};

/// Rotates a path so that the first occurrence of its smallest element comes first.
template <typename T>
void PutSmallestElemFirst(std::vector<T>& path) {
  std::rotate(path.begin(), std::min_element(path.begin(), path.end()), path.end());
}

/// The normal form of a closed path: without the repeated vertex at its end, from its smallest
/// vertex on, in the direction in which its second vertex is not greater than its last.
template <typename T>
std::vector<T> GetSortedTrimmed(const std::vector<T>& v_in) {
  assert(v_in.front() == v_in.back());
  assert(v_in.size() > 2);
  std::vector<T> path(v_in.begin(), v_in.end() - 1);
  PutSmallestElemFirst(path);
  if (path.back() < path[1]) {
    std::reverse(path.begin(), path.end());
    PutSmallestElemFirst(path);
  }
  return path;
}

/// One of each two closed paths that are each other's reverse. Drops all the others: paths that
/// close on a vertex other than their first, which no walk takes in the other direction.
template <typename T>
std::vector<std::vector<T>> RemoveOppositePairs(const std::vector<std::vector<T>>& v_cycles) {
  assert(v_cycles.size());
  std::vector<std::vector<T>> kept;
  std::vector<bool> is_open(v_cycles.size(), true);
  for (std::size_t i = 0; i + 1 < v_cycles.size(); ++i) {
    if (!is_open[i]) continue;
    const std::vector<T> reversed(v_cycles[i].rbegin(), v_cycles[i].rend());
    for (std::size_t j = i + 1; j < v_cycles.size(); ++j) {
      if (is_open[j] && v_cycles[j] == reversed) {
        kept.push_back(v_cycles[i]);
        is_open[j] = false;
      }
    }
  }
  return kept;
}

/// The normal forms of closed paths, sorted and without duplicates.
template <typename T>
std::vector<std::vector<T>> RemoveIdentical(const std::vector<std::vector<T>>& v_cycles) {
  assert(v_cycles.size());
  std::vector<std::vector<T>> cycles;
  cycles.reserve(v_cycles.size());
  for (const std::vector<T>& cycle : v_cycles) cycles.push_back(GetSortedTrimmed(cycle));
  std::sort(cycles.begin(), cycles.end());
  cycles.erase(std::unique(cycles.begin(), cycles.end()), cycles.end());
  return cycles;
}

/// The cycles, in normal form, in which no chord is found. Chords that end at the last vertex of
/// the normal form are not looked for, so some larger cycles around fused rings stay.
template <typename T, typename Graph>
std::vector<std::vector<T>> RemoveNonChordless(const std::vector<std::vector<T>>& v_cycles,
                                               const Graph& g) {
  const auto are_adjacent = [&g](T a, T b) {
    const auto [begin, end] = boost::adjacent_vertices(a, g);
    return std::find(begin, end, b) != end;
  };
  const auto has_chord = [&are_adjacent](const std::vector<T>& cycle) {
    const std::size_t size = cycle.size();
    for (std::size_t a = 0; a + 4 <= size; ++a) {
      for (std::size_t b = a + 2; b + 2 <= size; ++b) {
        if (are_adjacent(cycle[a], cycle[b])) return true;
      }
    }
    return false;
  };
  std::vector<std::vector<T>> kept;
  for (const std::vector<T>& cycle : v_cycles) {
    if (!has_chord(cycle)) kept.push_back(cycle);
  }
  return kept;
}

/// Continues the last of the open paths from its last vertex, `from`, in all ways, until they close
/// on any of their own vertices. A path that can be closed at a vertex is not continued from there
/// to the neighbours that come later. The paths made on the way are added to `vv_paths`, the closed
/// ones to `v_cycles`. Tells whether one was closed.
template <typename Vertex, typename Graph, typename T>
bool explore(const Vertex& from, const Graph& g, std::vector<std::vector<T>>& vv_paths,
             std::vector<std::vector<T>>& v_cycles, int depth) {
  // The text of an assertion is printed as it stands here.
  // clang-format off
  assert(vv_paths.size()>0);
  // clang-format on
  const std::vector<T> src_path = vv_paths.back();
  bool found = false;
  const auto [begin, end] = boost::adjacent_vertices(from, g);
  for (auto neighbour = begin; neighbour != end; ++neighbour) {
    const T w = *neighbour;
    if (w == from && from == src_path.front()) continue;
    if (src_path.size() > 1 && w == src_path[src_path.size() - 2]) continue;
    std::vector<T> path = src_path;
    path.push_back(w);
    if (std::find(src_path.begin(), src_path.end(), w) != src_path.end()) {
      v_cycles.push_back(path);
      return true;
    }
    vv_paths.push_back(path);
    if (explore(w, g, vv_paths, v_cycles, depth + 1)) found = true;
  }
  return found;
}

/// The cycles of a graph in normal form, sorted: all its chordless cycles, and some that have a
/// chord (see `RemoveNonChordless`). Not reentrant.
template <typename Graph, typename T>
std::vector<std::vector<T>> FindCycles(const Graph& g) {
  using Vertex = typename boost::graph_traits<Graph>::vertex_descriptor;
  using Edge = typename boost::graph_traits<Graph>::edge_descriptor;

  std::vector<T>& sources = CycleDetector<T>::v_source_vertex;
  sources.clear();
  std::vector<boost::default_color_type> vertex_colours(boost::num_vertices(g));
  std::map<Edge, boost::default_color_type> edge_colours;
  boost::undirected_dfs(g, boost::visitor(CycleDetector<T>())
                               .vertex_color_map(boost::make_iterator_property_map(
                                   vertex_colours.begin(), boost::get(boost::vertex_index, g)))
                               .edge_color_map(boost::associative_property_map(edge_colours)));
  if (sources.empty()) return {};

  std::vector<std::vector<T>> v_cycles;
  for (const T source : sources) {
    std::vector<std::vector<T>> vv_paths{{source}};
    explore(static_cast<Vertex>(source), g, vv_paths, v_cycles, 0);
  }
  return RemoveNonChordless<T, Graph>(RemoveIdentical(RemoveOppositePairs(v_cycles)), g);
}

}  // namespace udgcd

#endif
