// The atoms of one residue in their order, found by name, while some are taken out and others put
// in.
#include "ResidueAtoms.h"

namespace orvane {

ResidueAtoms::ResidueAtoms(int first, std::span<const std::string> names) {
  atoms_.reserve(names.size());
  for (const std::string& name : names) {
    const int entry = static_cast<int>(atoms_.size());
    atoms_.push_back({first + entry, entry + 1, entry - 1, kNone, name});
  }
  size_ = static_cast<int>(atoms_.size());
  if (size_ == 0) return;
  first_ = 0;
  last_ = size_ - 1;
  atoms_.back().next = kNone;
  if (size_ > kFewAtoms) IndexNames();
}

void ResidueAtoms::IndexNames() {
  first_of_name_.reserve(static_cast<std::size_t>(size_));
  // From the end, so that the first of a name comes last.
  for (int i = last_; i != kNone; i = atoms_[i].previous) {
    const auto [found, is_new] = first_of_name_.try_emplace(atoms_[i].name, i);
    if (is_new) continue;
    atoms_[i].namesake = found->second;
    found->second = i;
  }
}

int ResidueAtoms::Find(std::string_view name) const {
  if (IsIndexed()) {
    const auto found = first_of_name_.find(name);
    return found == first_of_name_.end() ? kNone : found->second;
  }
  for (int i = first_; i != kNone; i = atoms_[i].next) {
    if (atoms_[i].name == name) return i;
  }
  return kNone;
}

bool ResidueAtoms::ComesBefore(int entry, int other) const {
  if (positions_.empty()) {
    positions_.resize(atoms_.size());
    int position = 0;
    for (int i = first_; i != kNone; i = atoms_[i].next) positions_[i] = position++;
  }
  return positions_[entry] < positions_[other];
}

void ResidueAtoms::PutBehind(int entry, int number, std::string_view name) {
  const int added = static_cast<int>(atoms_.size());
  const int next = NextOf(entry);
  atoms_.push_back({number, next, entry, kNone, name});
  NextOf(entry) = added;
  PreviousOf(next) = added;
  ++size_;
  positions_.clear();
  if (IsIndexed()) {
    first_of_name_[name] = added;
  } else if (size_ > kFewAtoms) {
    IndexNames();
  }
}

void ResidueAtoms::TakeOut(int entry) {
  const Atom atom = atoms_[entry];
  NextOf(atom.previous) = atom.next;
  PreviousOf(atom.next) = atom.previous;
  --size_;
  positions_.clear();
  if (!IsIndexed()) return;
  if (atom.namesake == kNone) {
    first_of_name_.erase(atom.name);
  } else {
    first_of_name_[atom.name] = atom.namesake;
  }
}

}  // namespace orvane
