// The mode "remove": strips a molecule of waters, ions, ligands, chains and hydrogen atoms.
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "Job.h"
#include "PDB.h"

namespace orvane {

namespace {

void RemoveWaters(PDB& molecule) {
  std::printf("Removing waters:");
  std::set<std::string> names;
  const int count = molecule.RemoveWaters(names);
  if (count == 0) {
    std::puts(" No water are removed.");
    return;
  }
  std::printf(" %d waters are removed: ", count);
  for (const std::string& name : names) std::printf("%s ", name.c_str());
  std::putchar('\n');
}

// Tells of residues that were removed, "ion" or "ligand" each.
void ReportRemoval(const char* kind, int count, const std::set<std::string>& names) {
  if (count == 0) {
    std::printf(" No %s is removed.\n", kind);
    return;
  }
  std::printf(" %d %ss are removed:", count, kind);
  for (const std::string& name : names) std::printf(" %s", name.c_str());
  std::putchar('\n');
}

void RemoveIons(PDB& molecule) {
  std::printf("Removing ions:");
  std::set<std::string> names;
  const int count = molecule.RemoveIons(names);
  ReportRemoval("ion", count, names);
}

void RemoveLigands(PDB& molecule) {
  std::printf("Removing ligands:");
  std::set<std::string> names;
  const int count = molecule.RemoveLigands(names);
  ReportRemoval("ligand", count, names);
}

void RemoveChains(const std::vector<std::string>& chains, PDB& molecule) {
  std::puts("Removing chains:");
  for (const std::string& chain : chains) {
    const int count = molecule.RemoveResiduesByChain(chain);
    if (count > 0) {
      std::printf(" Chain %s: %d residues are removed.\n", chain.c_str(), count);
    } else {
      std::printf(" Chain %s: not removed.\n", chain.c_str());
    }
  }
}

void RemoveHydrogens(PDB& molecule) {
  std::printf("Removing hydrogen atoms:");
  const int count = molecule.RemoveHydrogens();
  std::printf(" %d hydrogen atoms are removed.\n", count);
}

}  // namespace

void Job::DoRemove(const CmdArgs& args) {
  PDB molecule;
  ReadMolecule(args, molecule);

  if (args.removeWaters) RemoveWaters(molecule);
  if (args.removeIons) RemoveIons(molecule);
  if (args.removeLigands) RemoveLigands(molecule);
  if (!args.removeChains.empty()) RemoveChains(args.removeChains, molecule);
  if (args.removeHs) RemoveHydrogens(molecule);

  WritePDB(args.outPrefix + ".pdb", molecule);
}

}  // namespace orvane
