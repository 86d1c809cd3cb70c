// The modes of the program: one driver each, and the table that finds them.
#ifndef RAVELO_JOB_H
#define RAVELO_JOB_H

#include <map>
#include <string>

#include "CmdArgs.h"

namespace orvane {

class MolecularMechanicsTopology;
class PDB;
class TopologyLibrary;

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

  /// Removes waters, ions, ligands, chains and hydrogen atoms as asked, and writes the rest as PDB.
  static void DoRemove(const CmdArgs& args);

  /// Completes proteins and nucleic acids, builds their topology, and writes PDB and PSF.
  static void DoTopol(const CmdArgs& args);

  /// Edits a molecule that `DoTopol` has written: adds bonds, deletes an atom, applies patches and
  /// mutations. Writes PDB and PSF.
  static void DoModify(const CmdArgs& args);

  /// Guesses bonds, types and parameters of a small molecule or a molecular crystal from its
  /// coordinates, and writes PDB, PSF and parameter files; for a crystal also a super cell.
  static void DoLigand(const CmdArgs& args);

  /// Merges PSF files.
  static void DoPSF(const CmdArgs& args);

  /// Puts a molecule into a box or a droplet of water with ions, and writes PDB and PSF.
  static void DoSolvate(const CmdArgs& args);

  /// Writes a molecule as PDB, with the names of a PSF file and wrapped into a box if asked for.
  static void DoPDB(const CmdArgs& args);

 private:
  // Steps that several drivers share; each announces itself on standard output.

  /// Reads the input file. Ends the run if none was given.
  static void ReadMolecule(const CmdArgs& args, PDB& molecule);

  /// Reads the PSF file of a molecule. Ends the run if none was given.
  static void ReadTopology(const CmdArgs& args, PDB& molecule);

  /// Writes a PDB file.
  static void WritePDB(const std::string& path, PDB& molecule);

  /// Writes a PSF file.
  static void WritePSF(const std::string& path, const MolecularMechanicsTopology& topology);

  /// Writes a molecule as PDB and PSF, named by the prefix.
  static void WriteMolecule(const CmdArgs& args, PDB& molecule);

  /// Prints the total charge of a topology.
  static void ReportTotalCharge(const MolecularMechanicsTopology& topology);

  /// Reads the standard topology files and then those that the user names.
  static void LoadLibrary(const CmdArgs& args, TopologyLibrary& library);
};

}  // namespace orvane

#endif
