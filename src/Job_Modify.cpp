// The mode "modify": edits a molecule together with its topology.
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "Error.h"
#include "Job.h"
#include "PDB.h"
#include "Parser.h"
#include "ResidueEditor.h"
#include "TopologyLibrary.h"

namespace orvane {

namespace {

using Patches = std::map<std::string, std::string>;

// A modification that the program knows by name, and its patch for each residue that can have it.
struct Modification {
  std::vector<std::string> CmdArgs::*sites;
  const char* label;
  Patches patches;
};

// In the order in which they are applied.
const std::vector<Modification>& KnownModifications() {
  static const std::vector<Modification> modifications = {
      {&CmdArgs::mml, "Mono-Methyl-Lysine (MML)", {{"LYS", "MML"}}},
      {&CmdArgs::dml, "Di-Methyl-Lysine (DML)", {{"LYS", "DML"}}},
      {&CmdArgs::tml, "Tri-Methyl-Lysine (TML)", {{"LYS", "TML"}}},
      {&CmdArgs::mma, "Mono-Methyl-Arginine (MMA)", {{"ARG", "MMA"}}},
      {&CmdArgs::adma, "Asymmetric Di-Methyl-Arginine (ADMA)", {{"ARG", "ADMA"}}},
      {&CmdArgs::sdma, "Symmetric Di-Methyl-Arginine (SDMA)", {{"ARG", "SDMA"}}},
  };
  return modifications;
}

// Finds the residue of a site and its name, or ends the run.
int FindSite(const PDB& molecule, const std::string& site, std::string& name) {
  int residue = 0;
  molecule.GetResidue(site, residue, name);
  if (residue == -1) RAVELO_FAIL("Residue \"%s\" not found.", site);
  if (residue == -2) {
    RAVELO_FAIL("\"%s\" is invalid, it should be like \"22A\", meaning residue 22 at chain A.",
                site);
  }
  return residue;
}

// The patch for a residue of this name. One that is listed under an empty name fits any residue.
const std::string& ChoosePatch(const Patches& patches, const std::string& residue_name,
                               const std::string& label) {
  const auto found = patches.find(residue_name);
  if (found != patches.end()) return found->second;
  if (!patches.empty() && patches.begin()->first.empty()) return patches.begin()->second;
  std::string supported;
  for (const auto& [name, patch] : patches) supported += " " + name;
  std::puts("");
  RAVELO_FAIL("Residue %s is not supported for %s. Supported residues:%s.", residue_name, label,
              supported);
}

// Null if the library has no such patch or residue.
const TopologyLibrary::Residue* FindRecord(const TopologyLibrary& library,
                                           const std::string& name) {
  const auto found = library.GetResidues().find(name);
  return found == library.GetResidues().end() ? nullptr : &found->second;
}

[[noreturn]] void EndForMissingRecord(const std::string& name) {
  RAVELO_FAIL("Patch %s not found in topology library.", name);
}

// A record that a mutation needs; `shown_name` is what the message calls it.
const TopologyLibrary::Residue& RecordForMutation(const TopologyLibrary& library,
                                                  const std::string& name,
                                                  const std::string& shown_name) {
  const TopologyLibrary::Residue* record = FindRecord(library, name);
  if (record == nullptr) {
    std::puts("");
    EndForMissingRecord(shown_name);
  }
  return *record;
}

void DoMod(const TopologyLibrary& library, const std::vector<std::string>& sites,
           const std::string& label, const Patches& patches, const PDB& molecule,
           ResidueEditor& editor) {
  for (const std::string& site : sites) {
    std::string residue_name;
    const int residue = FindSite(molecule, site, residue_name);
    std::printf("Apply %s on residue %s", label.c_str(),
                molecule.GetResidueString(residue).c_str());
    const std::string& patch_name = ChoosePatch(patches, residue_name, label);
    std::printf(" with patch %s ...", patch_name.c_str());
    const TopologyLibrary::Residue* patch = FindRecord(library, patch_name);
    if (patch == nullptr) EndForMissingRecord(patch_name);
    editor.PatchResidue(residue, *patch);
    std::puts(" done.");
  }
}

void DoMut(const TopologyLibrary& library, const std::vector<std::vector<std::string>>& mutations,
           const PDB& molecule, ResidueEditor& editor) {
  for (const std::vector<std::string>& mutation : mutations) {
    const std::string& site = mutation[0];
    const std::string& new_name = mutation[1];
    std::string old_name;
    const int residue = FindSite(molecule, site, old_name);
    std::printf("Mutate %s to %s ...", molecule.GetResidueString(residue).c_str(),
                new_name.c_str());
    const std::string removal = old_name + "DEL";
    editor.PatchResidue(residue, RecordForMutation(library, removal, removal));
    const std::string template_name = Parser::ToUpperCase(new_name);
    const TopologyLibrary::Residue& new_template =
        RecordForMutation(library, template_name, new_name);
    // The one amino acid whose nitrogen has no hydrogen.
    if (template_name == "PRO") {
      editor.PatchResidue(residue, RecordForMutation(library, "HNDEL", "HNDEL"));
    }
    // Atoms that are there already, like those of the backbone, get the new types and charges.
    // Their bonds are added once more.
    editor.PatchResidue(residue, new_template);
    editor.RenameResidue(residue, new_name);
    std::puts(" done.");
  }
}

void AddBonds(const CmdArgs& args, const TopologyLibrary& library, PDB& molecule) {
  ResidueEditor editor(molecule, library.GetMasses(), /*with_topology=*/true);
  for (const std::vector<int>& bond : args.addBonds) {
    std::printf("Add bond: %d %d\n", bond[0], bond[1]);
    editor.AddBond(bond[0] - 1LL, bond[1] - 1LL);
  }
  editor.Commit();
}

void PatchAndMutate(const CmdArgs& args, const TopologyLibrary& library, PDB& molecule) {
  ResidueEditor editor(molecule, library.GetMasses(), /*with_topology=*/true);
  for (const Modification& modification : KnownModifications()) {
    DoMod(library, args.*modification.sites, modification.label, modification.patches, molecule,
          editor);
  }
  if (!args.myMod.empty()) {
    DoMod(library, {args.myMod[1]}, "User-defined modification", {{"", args.myMod[0]}}, molecule,
          editor);
  }
  DoMut(library, args.mutate, molecule, editor);
  editor.Commit();
}

}  // namespace

void Job::DoModify(const CmdArgs& args) {
  PDB molecule;
  ReadMolecule(args, molecule);
  std::puts("Current molecule:");
  molecule.Report();
  ReadTopology(args, molecule);

  TopologyLibrary library;
  LoadLibrary(args, library);

  // The user counts atoms before the deletion.
  AddBonds(args, library, molecule);
  if (args.delAtom > 0) {
    std::printf("Delete atom: %d\n", args.delAtom);
    molecule.DeleteAtom(args.delAtom - 1);
  }
  PatchAndMutate(args, library, molecule);

  WriteMolecule(args, molecule);
  ReportTotalCharge(molecule.GetTopology());
}

}  // namespace orvane
