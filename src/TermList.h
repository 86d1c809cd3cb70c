// A list of force-field terms: tuples of atom indices, all of one size.
#ifndef RAVELO_TERMLIST_H
#define RAVELO_TERMLIST_H

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <utility>
#include <vector>

namespace orvane {

/// An atom index with `shift` added. An index that no molecule has, as a damaged file may hold,
/// wraps around at the ends of int.
inline int ShiftedIndex(int index, int shift) {
  return static_cast<int>(static_cast<unsigned>(index) + static_cast<unsigned>(shift));
}

/// Tuples of 0-based atom indices, kept one after the other in flat storage, so that a million
/// terms cost one allocation. Bonds have 2 atoms, angles 3, everything else 4.
class TermList {
 public:
  explicit TermList(int degree) : degree_(degree) {}

  /// Number of atoms in a term.
  int degree() const { return degree_; }

  /// Number of terms.
  std::size_t size() const { return indices_.size() / static_cast<std::size_t>(degree_); }
  bool empty() const { return indices_.empty(); }

  /// The atoms of one term; valid until the list changes.
  std::span<const int> operator[](std::size_t term) const {
    return {indices_.data() + term * static_cast<std::size_t>(degree_),
            static_cast<std::size_t>(degree_)};
  }

  void clear() { indices_.clear(); }

  /// Makes room for this many terms in all.
  void reserve(std::size_t terms) { indices_.reserve(terms * static_cast<std::size_t>(degree_)); }

  /// Appends one term, which must have `degree()` atoms.
  void push_back(std::initializer_list<int> term) {
    indices_.insert(indices_.end(), term.begin(), term.end());
  }
  void push_back(std::span<const int> term) {
    indices_.insert(indices_.end(), term.begin(), term.end());
  }

  /// Makes room for this many more terms; one call for each of many small additions costs no more
  /// than the additions do.
  void reserve_more(std::size_t terms) {
    const std::size_t wanted = indices_.size() + terms * static_cast<std::size_t>(degree_);
    if (wanted > indices_.capacity()) indices_.reserve(std::max(wanted, 2 * indices_.size()));
  }

  /// Appends the terms of another list of this degree, with `shift` added to every index.
  void append_shifted(const TermList& other, int shift) {
    for (const int index : other.indices_) indices_.push_back(ShiftedIndex(index, shift));
  }

  /// All indices, term after term.
  const std::vector<int>& flat() const { return indices_; }

  /// Replaces all terms; the size of `indices` must be a multiple of `degree()`.
  void assign_flat(std::vector<int> indices) { indices_ = std::move(indices); }

  friend bool operator==(const TermList&, const TermList&) = default;

 private:
  int degree_;
  std::vector<int> indices_;
};

}  // namespace orvane

#endif
