// What the user said on the command line, checked and turned into values.
#ifndef RAVELO_CMDARGS_H
#define RAVELO_CMDARGS_H

#include <string>
#include <vector>

#include "cmdline.h"

namespace orvane {

/// The options of all modes. Every option is accepted in every mode, and a mode's driver reads the
/// members that it uses. The record is complete after `Parse`; the values given here for absent
/// options are those that `Parse` sets. Atom indices and residue sites are as the user typed them.
class CmdArgs {
 public:
  /// Declares the options.
  CmdArgs();

  /// Reads a command line, whose second argument is the mode's word, and returns this word in lower
  /// case. Ends the run itself: with the banner if there is no argument, with the usage text if it
  /// is asked for, with the usage text and status 1 for a malformed command line, and with a
  /// message for an option whose value does not hold what it should.
  std::string Parse(int argc, char** argv);

  std::string inFilename;      ///< --in: the molecule's file.
  std::string outPrefix;       ///< --out; else the input without extension, "-", the mode.
  bool removeIons = false;     ///< --ions
  bool removeWaters = false;   ///< --waters
  bool removeLigands = false;  ///< --ligands
  bool removeHs = false;       ///< --Hs
  std::vector<std::string> removeChains;         ///< --chains
  bool noPatchingTerminus = false;               ///< --no-patching-terminus
  std::string topFilename;                       ///< --top: the topology's file.
  std::vector<std::string> mergeFilenames;       ///< --merge
  std::vector<std::string> addRtfs;              ///< --add-rtfs
  std::vector<std::vector<int>> addBonds;        ///< --add-bonds: pairs of atom indices.
  int delAtom = 0;                               ///< --del-atom; else -1.
  std::vector<std::string> mml;                  ///< --mml: sites of mono-methyl-lysine.
  std::vector<std::string> dml;                  ///< --dml: of di-methyl-lysine.
  std::vector<std::string> tml;                  ///< --tml: of tri-methyl-lysine.
  std::vector<std::string> mma;                  ///< --mma: of mono-methyl-arginine.
  std::vector<std::string> adma;                 ///< --adma: of asymmetric di-methyl-arginine.
  std::vector<std::string> sdma;                 ///< --sdma: of symmetric di-methyl-arginine.
  std::vector<std::string> pho;                  ///< --pho: sites of phosphorylation.
  std::vector<std::vector<std::string>> mutate;  ///< --mutate: pairs of site and new residue name.
  std::vector<std::string> myMod;                ///< --my-mod: patch name and site, or empty.
  std::vector<double> box;                       ///< --box: three positive numbers, or empty.
  bool noAddIons = false;                        ///< --no-add-ions
  int charge = 0;                                ///< --charge: target total charge.
  double ionicStrength = 0.0;                    ///< --ionic-strength, in mol/L; else 0.01.
  bool droplet = false;                          ///< --droplet
  std::vector<double> move;                      ///< --move: three numbers; else zeros.
  std::vector<double> pbc;                       ///< --pbc: six or nine numbers, or empty.
  std::vector<int> superCells;                   ///< --super-cells: three numbers; else zeros.
  cmdline::parser parser;                        ///< Holds the declared options.
};

}  // namespace orvane

#endif
