// Building a molecule's topology from templates, and exchanging it with PSF files.
#include <algorithm>

#include "Error.h"
#include "PDB.h"
#include "ResidueEditor.h"
#include "TemplateTerms.h"

namespace orvane {

namespace {

using AtomOfTopology = MolecularMechanicsTopology::Atom;

// The message takes number and chain from the residue tables at the position of the atom, not of
// its residue, and so usually names another residue. Beyond the tables it names the atom's own.
[[noreturn]] void EndForUnknownResidue(const PDB& molecule, int atom) {
  const PDB::Atom& own = molecule.atoms[atom];
  const bool in_tables = atom < molecule.numResidues;
  const std::string name = in_tables ? molecule.residueNames[atom] : own.ResName;
  const std::string chain = in_tables ? molecule.residueChains[atom] : own.ChainID;
  const int number = in_tables ? molecule.residueSeqs[atom] : own.ResSeq;
  RAVELO_FAIL(
      "Residue \"%s\" is not found in topology library. %s%d at chain %s cannot be treated.\n",
      own.ResName, name, number, chain);
}

}  // namespace

void PDB::BuildTopologyAtoms(const TopologyLibrary& library,
                             std::vector<AtomOfTopology>& topology_atoms) const {
  topology_atoms.clear();
  topology_atoms.reserve(atoms.size());
  const std::map<std::string, TopologyLibrary::Residue>& residues = library.GetResidues();
  const std::map<std::string, double>& masses = library.GetMasses();
  const TopologyLibrary::Residue* residue_template = nullptr;
  const std::string* current_name = nullptr;
  for (int i = 0; i < numAtoms; ++i) {
    const Atom& atom = atoms[i];
    if (current_name == nullptr || *current_name != atom.ResName) {
      current_name = &atom.ResName;
      const auto found = residues.find(atom.ResName);
      if (found == residues.end()) EndForUnknownResidue(*this, i);
      residue_template = &found->second;
    }
    const int entry = residue_template->FindAtom(atom.Name);
    if (entry < 0) {
      RAVELO_FAIL(
          "Atom \"%s\" is not found in topology library for residue %s. The topology of %s%d at "
          "chain %s cannot be built.\n",
          atom.Name, atom.ResName, atom.ResName, atom.ResSeq, atom.ChainID);
    }
    AtomOfTopology& topology_atom = topology_atoms.emplace_back();
    topology_atom.name = atom.Name;
    topology_atom.type = residue_template->atom_types[entry];
    topology_atom.charge = residue_template->atom_charges[entry];
    const auto mass = masses.find(topology_atom.type);
    topology_atom.mass = mass == masses.end() ? -1.0 : mass->second;
    topology_atom.segment = atom.ChainID;
    topology_atom.residue_name = atom.ResName;
    topology_atom.residue_sn = atom.ResSeq;
  }
}

void PDB::BuildTopologyTerms(const TopologyLibrary& library, TermList& bonds, TermList& impropers,
                             TermList& cmaps) const {
  bonds.clear();
  impropers.clear();
  cmaps.clear();
  const MoleculeAtoms named_atoms(*this);
  for (int residue = 0; residue < numResidues; ++residue) {
    const auto found = library.GetResidues().find(residueNames[residue]);
    if (found == library.GetResidues().end()) {
      WarnOfUnknownResidue(residue);
      continue;
    }
    AppendResolvedTerms(named_atoms, residue, 2, found->second.bonds, bonds);
    AppendResolvedTerms(named_atoms, residue, 4, found->second.impropers, impropers);
    AppendResolvedTerms(named_atoms, residue, 4, found->second.cmaps, cmaps);
  }
}

void PDB::BuildTopologyTerms(int residue, int degrees,
                             const std::vector<std::vector<std::string>>& terms,
                             TermList& resolved) const {
  resolved = TermList(degrees == 2 ? 2 : 4);
  AppendResolvedTerms(MoleculeAtoms(*this), residue, degrees, terms, resolved);
}

void PDB::BuildTopology(const TopologyLibrary& library) {
  BuildTopologyAtoms(library, tmpAtoms);
  BuildTopologyTerms(library, tmpBonds, tmpImpropers, tmpCmaps);
  topology.Build(tmpAtoms, tmpBonds, tmpImpropers, tmpCmaps);
}

void PDB::CopyTopologyToTmp() {
  tmpAtoms = topology.GetAtoms();
  tmpBonds = topology.GetBonds();
  tmpImpropers = topology.GetImpropers();
  tmpCmaps = topology.GetCmaps();
}

void PDB::AddBond(int atom1, int atom2) {
  CopyTopologyToTmp();
  const std::map<std::string, double> no_masses;  // No atom is new.
  ResidueEditor editor(*this, no_masses, /*with_topology=*/true);
  editor.AddBond(atom1, atom2);
  editor.Commit();
}

void PDB::ApplyTopology() {
  CopyTopologyToTmp();
  const std::size_t size = std::min(tmpAtoms.size(), atoms.size());
  for (std::size_t i = 0; i < size; ++i) {
    const AtomOfTopology& from = tmpAtoms[i];
    Atom& atom = atoms[i];
    if (Residue::IsAminoAcid(from.residue_name) || Residue::IsNucleicAcid(from.residue_name)) {
      atom.IsHetero = false;
    }
    atom.Name = from.name;
    atom.ResName = from.residue_name.substr(0, 3);
    atom.ResSeq = from.residue_sn;
    atom.ChainID = from.segment;
  }
  Analyze();
}

void PDB::LoadPSFFile(const std::string& path) {
  topology.LoadFromPSF(path);
  CopyTopologyToTmp();
}

void PDB::WritePSF(const std::string& path) const {
  topology.WritePSF(path);
}

}  // namespace orvane
