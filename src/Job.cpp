// The table of modes and the way from a mode's word to its driver.
#include "Job.h"

#include "Error.h"

namespace orvane {

const std::map<std::string, Job::Driver> Job::AvailableModes = {
    {"check", Job::DoCheck},
    {"ligand", Job::DoLigand},
    {"topol", Job::DoTopol},
    {"psf", Job::DoPSF},
};

void Job::Do(const std::string& mode, const CmdArgs& args) {
  const auto row = AvailableModes.find(mode);
  if (row == AvailableModes.end()) RAVELO_FAIL("Unknown mode: \"%s\".", mode);
  row->second(args);
}

}  // namespace orvane
