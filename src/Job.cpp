// The table of modes and the way from a mode's word to its driver.
#include "Job.h"

#include <cstdio>

#include "Error.h"
#include "TopologyLibrary.h"

namespace orvane {

const std::map<std::string, Job::Driver> Job::AvailableModes = {
    {"check", Job::DoCheck},
    {"remove", Job::DoRemove},
    {"ligand", Job::DoLigand},
    {"topol", Job::DoTopol},
    {"modify", Job::DoModify},
    {"psf", Job::DoPSF},
    {"solvate", Job::DoSolvate},
    {"pdb", Job::DoPDB},
};

void Job::Do(const std::string& mode, const CmdArgs& args) {
  const auto row = AvailableModes.find(mode);
  if (row == AvailableModes.end()) RAVELO_FAIL("Unknown mode: \"%s\".", mode);
  row->second(args);
}

void Job::LoadLibrary(const CmdArgs& args, TopologyLibrary& library) {
  std::puts("Building topology library ...");
  library.Build();
  for (const std::string& file : args.addRtfs) library.Build(file);
  std::puts("Building topology library done.");
}

}  // namespace orvane
