// The mode "topol": completes proteins and nucleic acids and gives them their topology.
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "Error.h"
#include "Job.h"
#include "PDB.h"
#include "ResidueEditor.h"
#include "TopologyLibrary.h"

namespace orvane {

namespace {

const TopologyLibrary::Residue& FindPatch(const TopologyLibrary& library, const char* name) {
  const auto found = library.GetResidues().find(name);
  if (found == library.GetResidues().end()) {
    RAVELO_FAIL("The patch \"%s\" is not found in topology library.", name);
  }
  return found->second;
}

// Patches both ends of every run of amino acids.
void PatchTermini(const TopologyLibrary& library, PDB& molecule) {
  std::vector<int> n_termini;
  std::vector<int> c_termini;
  molecule.GetTerminus(n_termini, c_termini);
  ResidueEditor editor(molecule, library.GetMasses(), /*with_topology=*/true);
  for (std::size_t k = 0; k < n_termini.size(); ++k) {
    std::printf("Patching N-terminus in residue %s.\n",
                molecule.GetResidueString(n_termini[k]).c_str());
    const bool is_glycine = molecule.GetResidueName(n_termini[k]) == "GLY";
    editor.PatchResidue(n_termini[k], FindPatch(library, is_glycine ? "GLYP" : "NTER"));
    // A run of one amino acid at the very end of the molecule has no end of its own.
    if (k >= c_termini.size()) continue;
    std::printf("Patching C-terminus in residue %s.\n",
                molecule.GetResidueString(c_termini[k]).c_str());
    editor.PatchResidue(c_termini[k], FindPatch(library, "CTER"));
  }
  editor.Commit();
}

}  // namespace

void Job::DoTopol(const CmdArgs& args) {
  PDB molecule;
  ReadMolecule(args, molecule);

  TopologyLibrary library;
  LoadLibrary(args, library);

  std::puts("Adding missing hydrogen atoms ...");
  molecule.AddMissingHydrogens(library);
  std::puts("Adding missing hydrogen atoms done.");

  std::puts("Building topology ...");
  molecule.BuildTopology(library);
  std::puts("Building topology done.");

  if (!args.noPatchingTerminus) PatchTermini(library, molecule);

  WriteMolecule(args, molecule);
  ReportTotalCharge(molecule.GetTopology());
}

}  // namespace orvane
