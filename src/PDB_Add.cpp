// Completing a molecule from its templates, and merging molecules.
#include <cstdio>

#include "PDB.h"
#include "ResidueEditor.h"
#include "TemplateTerms.h"

namespace orvane {

bool PDB::GuessCoord(int residue, const std::string& name, const TopologyLibrary::Residue& record,
                     Vec3D& coord) const {
  return GuessCoordAmong(MoleculeAtoms(*this), residue, name, record, coord);
}

void PDB::WarnOfUnknownResidue(int residue) const {
  std::printf(
      "Warning: Residue \"%s\" is not found in topology library. %s%d at chain %s is untouched.\n",
      residueNames[residue].c_str(), residueNames[residue].c_str(), residueSeqs[residue],
      residueChains[residue].c_str());
}

void PDB::AddMissingHydrogens(const TopologyLibrary& library) {
  ResidueEditor editor(*this, library.GetMasses(), /*with_topology=*/false);
  for (int residue = 0; residue < numResidues; ++residue) {
    const auto found = library.GetResidues().find(residueNames[residue]);
    if (found == library.GetResidues().end()) {
      WarnOfUnknownResidue(residue);
    } else {
      editor.PatchResidue(residue, found->second);
    }
  }
  editor.Commit();
}

void PDB::MergePDB(const PDB& other, bool with_topology) {
  // By position, so that a molecule can be merged with itself.
  const std::size_t count = other.atoms.size();
  for (std::size_t i = 0; i < count; ++i) atoms.push_back(Atom(other.atoms[i]));
  numAtoms += other.numAtoms;
  if (with_topology) topology.Merge(other.topology, 1);
}

void PDB::MergePSF(const PDB& other, int copies) {
  const int n = other.numAtoms;
  for (int c = 0; c < copies; ++c) {
    const int first = numAtoms - (copies - c) * n;
    for (int i = 0; i < n; ++i) atoms[first + i].ResSeq = c % 9999 + 1;
  }
  topology.Merge(other.topology, copies);
}

}  // namespace orvane
