// The table of modes and the way from a mode's word to its driver.
#include "Job.h"

#include <cstdio>

#include "Error.h"
#include "PDB.h"
#include "TopologyLibrary.h"

namespace orvane {

const std::map<std::string, Job::Driver> Job::AvailableModes = {
    {"check", Job::DoCheck},     {"remove", Job::DoRemove}, {"ligand", Job::DoLigand},
    {"topol", Job::DoTopol},     {"modify", Job::DoModify}, {"psf", Job::DoPSF},
    {"solvate", Job::DoSolvate}, {"pdb", Job::DoPDB},
};

void Job::Do(const std::string& mode, const CmdArgs& args) {
  const auto row = AvailableModes.find(mode);
  if (row == AvailableModes.end()) RAVELO_FAIL("Unknown mode: \"%s\".", mode);
  row->second(args);
}

void Job::ReadMolecule(const CmdArgs& args, PDB& molecule) {
  if (args.inFilename.empty()) RAVELO_FAIL("An input file must be given with \"-i\".");
  std::printf("Read: %s\n", args.inFilename.c_str());
  molecule.Load(args.inFilename);
}

void Job::ReadTopology(const CmdArgs& args, PDB& molecule) {
  if (args.topFilename.empty()) RAVELO_FAIL("A topology file must be given with \"-t\".");
  std::printf("Read topology: %s\n", args.topFilename.c_str());
  molecule.LoadPSFFile(args.topFilename);
}

void Job::WritePDB(const std::string& path, PDB& molecule) {
  std::printf("Write PDB: %s\n", path.c_str());
  molecule.WritePDB(path);
}

void Job::WritePSF(const std::string& path, const MolecularMechanicsTopology& topology) {
  std::printf("Write PSF: %s\n", path.c_str());
  topology.WritePSF(path);
}

void Job::WriteMolecule(const CmdArgs& args, PDB& molecule) {
  WritePDB(args.outPrefix + ".pdb", molecule);
  WritePSF(args.outPrefix + ".psf", molecule.GetTopology());
}

void Job::ReportTotalCharge(const MolecularMechanicsTopology& topology) {
  std::printf("Total charge: %.5f\n", topology.GetTotalCharge());
}

void Job::LoadLibrary(const CmdArgs& args, TopologyLibrary& library) {
  std::puts("Building topology library ...");
  library.Build();
  for (const std::string& file : args.addRtfs) library.Build(file);
  std::puts("Building topology library done.");
}

}  // namespace orvane
