// The modes of the program: one driver each, and the table that finds them.
#ifndef RAVELO_JOB_H
#define RAVELO_JOB_H

#include <map>
#include <string>

#include "CmdArgs.h"

namespace orvane {

/// The drivers. Each reads the command line's record, does its work and returns; a failure ends the
/// run with a message.
class Job {
 public:
  using Driver = void (*)(const CmdArgs& args);

  /// The modes, by the word that the user types (in lower case).
  static const std::map<std::string, Driver> AvailableModes;

  Job() {}
  ~Job() {}

  /// Runs the driver of a mode. Ends the run if there is no such mode.
  static void Do(const std::string& mode, const CmdArgs& args);

  /// Reports on a molecule and writes it back, or splits a file of several models into one file
  /// each.
  static void DoCheck(const CmdArgs& args);

  /// Completes proteins and nucleic acids, builds their topology, and writes PDB and PSF.
  static void DoTopol(const CmdArgs& args);

  /// Guesses bonds, types and parameters of a small molecule or a molecular crystal from its
  /// coordinates, and writes PDB, PSF and parameter files; for a crystal also a super cell.
  static void DoLigand(const CmdArgs& args);

  /// Merges PSF files.
  static void DoPSF(const CmdArgs& args);
};

}  // namespace orvane

#endif
