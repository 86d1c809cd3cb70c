// Terms of residue templates, resolved at a residue of a molecule: to atoms, or to a new position.
#ifndef RAVELO_TEMPLATETERMS_H
#define RAVELO_TEMPLATETERMS_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "PDB.h"
#include "ResidueAtoms.h"

namespace orvane {

/// The atoms of a molecule as template terms see them: by residue and name, in molecule order. A
/// molecule as it stands and one in the middle of an edit can both be seen in this way.
class NamedAtoms {
 public:
  /// Where an atom stands.
  using Place = long long;
  static constexpr Place kNowhere = -1;

  explicit NamedAtoms(const PDB& molecule) : molecule_(molecule) {}
  virtual ~NamedAtoms() = default;

  /// The molecule whose residue tables name the residues in messages.
  const PDB& molecule() const { return molecule_; }

  /// The first atom of a name in a residue, or `kNowhere`.
  virtual Place Find(int residue, std::string_view name) const = 0;

  /// Whether one place is in front of another in the molecule; none is in front of itself.
  virtual bool ComesBefore(Place place, Place other) const = 0;

  /// The number by which terms call an atom.
  virtual int IndexAt(Place place) const = 0;

  virtual const Vec3D& CoordAt(Place place) const = 0;

 private:
  const PDB& molecule_;
};

/// The atoms of a molecule as it stands, which it must do as long as this is used: places and
/// numbers are positions in `atoms`.
class MoleculeAtoms final : public NamedAtoms {
 public:
  using NamedAtoms::NamedAtoms;
  Place Find(int residue, std::string_view name) const override;
  bool ComesBefore(Place place, Place other) const override { return place < other; }
  int IndexAt(Place place) const override { return static_cast<int>(place); }
  const Vec3D& CoordAt(Place place) const override {
    return molecule().atoms[static_cast<std::size_t>(place)].Coord;
  }

 private:
  mutable std::unordered_map<int, ResidueAtoms> large_residues_;  // of those searched so far
};

/// See `PDB::BuildTopologyTerms`; appends to `resolved`.
void AppendResolvedTerms(const NamedAtoms& atoms, int residue, int degrees,
                         const std::vector<std::vector<std::string>>& terms, TermList& resolved);

/// See `PDB::GuessCoord`.
bool GuessCoordAmong(const NamedAtoms& atoms, int residue, const std::string& name,
                     const TopologyLibrary::Residue& record, Vec3D& coord);

}  // namespace orvane

#endif
