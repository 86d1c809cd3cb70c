// The atoms of one residue in their order, found by name, while some are taken out and others put
// in.
#ifndef RAVELO_RESIDUEATOMS_H
#define RAVELO_RESIDUEATOMS_H

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvane {

/// A list of a residue's atoms. All operations take constant time, whatever its length, but for the
/// first comparison of places after a change, which takes one pass; in short lists names are
/// looked for one by one.
///
/// Atoms are called by entries, which no change alters: an atom of the beginning by its position
/// then, one put in later by the number of those before it, taken out or not.
class ResidueAtoms {
 public:
  static constexpr int kNone = -1;
  static constexpr int kFewAtoms = 64;  ///< Up to this many are looked through for a name.

  /// The atoms have the numbers `first`, `first` + 1, ... and these names, which must stay where
  /// they are as long as this lives.
  ResidueAtoms(int first, std::span<const std::string> names);

  int size() const { return size_; }
  int Last() const { return last_; }
  int NumberOf(int entry) const { return atoms_[entry].number; }

  /// The first atom of a name, or `kNone`.
  int Find(std::string_view name) const;

  /// Whether one atom stands in front of another; none does so of itself.
  bool ComesBefore(int entry, int other) const;

  /// Puts an atom directly behind another one, or with `kNone` in front of all. No other may have
  /// its name, which must stay where it is, too.
  void PutBehind(int entry, int number, std::string_view name);

  /// Takes out an atom that `Find` has found.
  void TakeOut(int entry);

  /// Calls with the number of each atom, in order.
  template <typename Call>
  void ForEach(const Call& call) const {
    for (int i = first_; i != kNone; i = atoms_[i].next) call(atoms_[i].number);
  }

 private:
  struct Atom {
    int number;
    int next;
    int previous;
    int namesake;  // the next atom of this name, where names are indexed
    std::string_view name;
  };

  bool IsIndexed() const { return !first_of_name_.empty(); }
  void IndexNames();
  int& NextOf(int entry) { return entry == kNone ? first_ : atoms_[entry].next; }
  int& PreviousOf(int entry) { return entry == kNone ? last_ : atoms_[entry].previous; }

  std::vector<Atom> atoms_;
  int first_ = kNone;
  int last_ = kNone;
  int size_ = 0;
  std::unordered_map<std::string_view, int> first_of_name_;  // empty for few atoms
  mutable std::vector<int> positions_;                       // empty if not known
};

}  // namespace orvane

#endif
