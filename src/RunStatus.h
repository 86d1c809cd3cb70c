// Facts about the run: where the program lies, where it runs, what it is called.
#ifndef RAVELO_RUNSTATUS_H
#define RAVELO_RUNSTATUS_H

#include <string>

namespace orvane {

/// Static facts about the running program.
class RunStatus {
 public:
  RunStatus() {}
  ~RunStatus() {}

  /// The folder of the data files: `data/` beside the real executable, links resolved. Ends in "/".
  static std::string GetProgramAbsolutePath();

  /// The working directory, with slashes only. Ends in "/".
  static std::string GetCurrentPath();

  /// The version, like "Linux-1.0".
  static std::string GetVersion();

  /// The program's name, as banner and output files print it.
  static std::string GetProgramName();
};

}  // namespace orvane

#endif
