// The mode "pdb": writes a molecule as a PDB file, with the names of a PSF file and wrapped into a
// box if asked for.
#include <cstdio>
#include <string>

#include "Job.h"
#include "PDB.h"

namespace orvane {

void Job::DoPDB(const CmdArgs& args) {
  PDB molecule;
  ReadMolecule(args, molecule);

  if (!args.topFilename.empty()) {
    ReadTopology(args, molecule);
    molecule.ApplyTopology();
  }
  std::puts("Current molecule:");
  molecule.Report();

  if (!args.box.empty()) {
    std::printf("Wrapping into the box: %.3f x %.3f x %.3f Angstrom^3.\n", args.box[0], args.box[1],
                args.box[2]);
    molecule.WrapPBC(args.box[0], args.box[1], args.box[2]);
  }

  WritePDB(args.outPrefix + ".pdb", molecule);
  ReportTotalCharge(molecule.GetTopology());
}

}  // namespace orvane
