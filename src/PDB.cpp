// The molecule's accessors, its residue tables and its report.
#include "PDB.h"

#include <cstdio>

#include "Error.h"
#include "Parser.h"

namespace orvane {

const std::string& PDB::GetResidueName(int residue) const {
  return residueNames[residue];
}

void PDB::GetCoords(std::vector<Vec3D>& coords) const {
  coords.clear();
  coords.reserve(static_cast<std::size_t>(numAtoms));
  for (const Atom& atom : atoms) coords.push_back(atom.Coord);
}

std::string PDB::GetResidueString(int residue) const {
  if (residue < 0 || residue >= numResidues) return "";
  char text[256];
  std::snprintf(text, sizeof text, "%s%d at chain %s", residueNames[residue].c_str(),
                residueSeqs[residue], residueChains[residue].c_str());
  return text;
}

void PDB::GetResidue(const std::string& site, int& residue, std::string& name) const {
  int number = 0;
  if (site.empty() ||
      !Parser::ParseInteger(std::string_view(site).substr(0, site.size() - 1), number)) {
    residue = -2;
    return;
  }
  const std::string chain = Parser::ToUpperCase(std::string_view(site).substr(site.size() - 1));
  residue = -1;
  for (int i = 0; i < numResidues; ++i) {
    if (residueSeqs[i] == number && residueChains[i] == chain) {
      residue = i;
      name = residueNames[i];
      return;
    }
  }
}

int PDB::GetAtomIndex(int residue, std::string_view name) const {
  if (residue < 0 || residue >= numResidues) return -1;
  for (int i = residueFirstAtoms[residue]; i <= residueLastAtoms[residue]; ++i) {
    if (atomNames[i] == name) return i;
  }
  return -1;
}

void PDB::Analyze() {
  numAtoms = static_cast<int>(atoms.size());
  atomNames.clear();
  atomNames.reserve(atoms.size());
  for (const Atom& atom : atoms) atomNames.push_back(atom.Name);

  numResidues = 0;
  residueTypes.clear();
  residueSeqs.clear();
  residueChains.clear();
  residueNames.clear();
  residueFirstAtoms.clear();
  residueLastAtoms.clear();
  for (int i = 0; i < numAtoms; ++i) {
    const Atom& atom = atoms[i];
    if (numResidues > 0 && atom.ResSeq == residueSeqs.back() &&
        atom.ChainID == residueChains.back()) {
      residueLastAtoms.back() = i;
      continue;
    }
    ++numResidues;
    residueTypes.push_back(Residue::IdentifyType(atom.ResName));
    residueSeqs.push_back(atom.ResSeq);
    residueChains.push_back(atom.ChainID);
    residueNames.push_back(atom.ResName);
    residueFirstAtoms.push_back(i);
    residueLastAtoms.push_back(i);
  }
}

void PDB::Report() const {
  int counts[5] = {0, 0, 0, 0, 0};
  for (const Residue::Type type : residueTypes) {
    switch (type) {
      case Residue::AminoAcid:
      case Residue::NucleicAcid:
      case Residue::Water:
      case Residue::Ion:
      case Residue::Ligand:
        ++counts[type];
        break;
      default:
        RAVELO_FAIL("Unknown residue type: %d", static_cast<int>(type));
    }
  }
  std::printf("Molecule:                 %s\n", filename.c_str());
  std::printf("Number of atoms:          %d\n", numAtoms);
  std::printf("Number of residues:       %d\n", numResidues);
  std::printf(" Number of amino acids:   %d\n", counts[Residue::AminoAcid]);
  std::printf(" Number of nucleic acids: %d\n", counts[Residue::NucleicAcid]);
  std::printf(" Number of waters:        %d\n", counts[Residue::Water]);
  std::printf(" Number of ions:          %d\n", counts[Residue::Ion]);
  std::printf(" Number of ligands:       %d\n", counts[Residue::Ligand]);
}

}  // namespace orvane
