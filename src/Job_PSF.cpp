// The mode "psf": merges PSF files.
#include <cstdio>
#include <string>

#include "Job.h"
#include "MolecularMechanicsTopology.h"

namespace orvane {

void Job::DoPSF(const CmdArgs& args) {
  MolecularMechanicsTopology merged;
  if (!args.mergeFilenames.empty()) {
    std::printf("Merge PSF files:");
    for (const std::string& filename : args.mergeFilenames) {
      std::printf(" %s", filename.c_str());
      MolecularMechanicsTopology topology;
      topology.LoadFromPSF(filename);
      merged.Merge(topology, 1);
    }
    std::printf("\n");
  }
  const std::string psf_filename = args.outPrefix + ".psf";
  std::printf("Write PSF file: %s\n", psf_filename.c_str());
  merged.WritePSF(psf_filename);
  ReportTotalCharge(merged);
}

}  // namespace orvane
