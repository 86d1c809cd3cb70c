// Terms of residue templates, resolved at a residue of a molecule.
#include "TemplateTerms.h"

#include <span>
#include <utility>

#include "ComputationalGeometry.h"
#include "Error.h"

namespace orvane {

namespace {

constexpr double kRadiansPerDegree = kFilePi / 180.0;

// Where an atom goes of which not even length and angle are known.
const Vec3D kUnknownPosition(99.0, 99.0, 99.0);

// An atom name of a term: the residue that it means, and the name there.
struct TermAtom {
  int residue;
  std::string_view name;
  bool beyond_molecule;  // In front of the first residue or behind the last one.
};

// "+X" is the atom X of the next residue in the molecule and "-X" that of the previous one,
// whatever their chains.
TermAtom ReadTermAtom(int residue, int residues, std::string_view name) {
  const char prefix = name.empty() ? '\0' : name[0];
  if (prefix == '+') return {residue + 1, name.substr(1), residues - 1 <= residue};
  if (prefix == '-') return {residue - 1, name.substr(1), residue < 1};
  return {residue, name, false};
}

NamedAtoms::Place FindTermAtom(const NamedAtoms& atoms, int residue, const std::string& name) {
  const TermAtom atom = ReadTermAtom(residue, atoms.molecule().numResidues, name);
  return atom.beyond_molecule ? NamedAtoms::kNowhere : atoms.Find(atom.residue, atom.name);
}

}  // namespace

NamedAtoms::Place MoleculeAtoms::Find(int residue, std::string_view name) const {
  if (residue < 0 || residue >= molecule().numResidues) return kNowhere;
  const int first = molecule().residueFirstAtoms[residue];
  const int size = molecule().residueLastAtoms[residue] - first + 1;
  if (size <= ResidueAtoms::kFewAtoms) return molecule().GetAtomIndex(residue, name);
  const std::span<const std::string> names(&molecule().atomNames[first],
                                           static_cast<std::size_t>(size));
  const int position = large_residues_.try_emplace(residue, 0, names).first->second.Find(name);
  return position == ResidueAtoms::kNone ? kNowhere : first + position;
}

void AppendResolvedTerms(const NamedAtoms& atoms, int residue, int degrees,
                         const std::vector<std::vector<std::string>>& terms, TermList& resolved) {
  if (degrees != 2 && degrees != 4) {
    RAVELO_FAIL("The number of degrees of freedom must be 2 or 4.");
  }
  const PDB& molecule = atoms.molecule();
  for (const std::vector<std::string>& term : terms) {
    NamedAtoms::Place places[4] = {};
    bool beyond_molecule = false;
    for (int i = 0; i < degrees && !beyond_molecule; ++i) {
      const TermAtom atom = ReadTermAtom(residue, molecule.numResidues, term[i]);
      beyond_molecule = atom.beyond_molecule;
      if (beyond_molecule) break;
      places[i] = atoms.Find(atom.residue, atom.name);
      if (places[i] == NamedAtoms::kNowhere) {
        RAVELO_FAIL("Cannot find atom \"%s\" in residue %s%d at chain %s.", atom.name,
                    molecule.residueNames[atom.residue], molecule.residueSeqs[atom.residue],
                    molecule.residueChains[atom.residue]);
      }
    }
    if (beyond_molecule) continue;
    int indices[4] = {};
    for (int i = 0; i < degrees; ++i) indices[i] = atoms.IndexAt(places[i]);
    // Equal ends turn a term of four around, too; for a pair it makes no difference.
    if (!atoms.ComesBefore(places[0], places[degrees - 1])) {
      for (int i = 0; i < degrees / 2; ++i) std::swap(indices[i], indices[degrees - 1 - i]);
    }
    resolved.push_back(std::span<const int>(indices, static_cast<std::size_t>(degrees)));
  }
}

bool GuessCoordAmong(const NamedAtoms& atoms, int residue, const std::string& name,
                     const TopologyLibrary::Residue& record, Vec3D& coord) {
  using InternalCoord = TopologyLibrary::InternalCoord;
  // The term as A, B, C and the last three of its values, seen from its fourth atom or, where it
  // serves its first one, from the other end.
  const InternalCoord* term = record.FindTermEndingIn(name);
  const bool reversed = term == nullptr;
  if (reversed) term = record.FindTermBeginningWith(name);
  if (term == nullptr) {
    const PDB& molecule = atoms.molecule();
    RAVELO_FAIL("Cannot find the internal coordinate for atom %s in residue %s%d at chain %s.\n",
                name, molecule.residueNames[residue], molecule.residueSeqs[residue],
                molecule.residueChains[residue]);
  }
  NamedAtoms::Place places[3];
  for (std::size_t i = 0; i < 3; ++i) {
    places[i] = FindTermAtom(atoms, residue, term->atoms[reversed ? 3 - i : i]);
  }
  if (places[1] == NamedAtoms::kNowhere || places[2] == NamedAtoms::kNowhere) {
    coord = kUnknownPosition;
    return false;
  }
  const double length = term->values[reversed ? 0 : 4];
  const double angle = term->values[reversed ? 1 : 3] * kRadiansPerDegree;
  if (places[0] == NamedAtoms::kNowhere) {
    ComputationalGeometry::CalcCoord(atoms.CoordAt(places[1]), atoms.CoordAt(places[2]), length,
                                     angle, coord);
    return false;
  }
  const double dihedral = term->values[2] * kRadiansPerDegree;
  ComputationalGeometry::CalcCoord(atoms.CoordAt(places[0]), atoms.CoordAt(places[1]),
                                   atoms.CoordAt(places[2]), length, angle, dihedral, coord);
  return true;
}

}  // namespace orvane
