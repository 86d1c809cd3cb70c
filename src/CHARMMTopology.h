// Reads residue topology (RTF) files of the CHARMM force fields into the residue library.
#ifndef RAVELO_CHARMMTOPOLOGY_H
#define RAVELO_CHARMMTOPOLOGY_H

#include <map>
#include <string>
#include <vector>

#include "TopologyLibrary.h"

namespace orvane {

/// The reader of a subset of the RTF language: RESI, PRES, MASS, ATOM, BOND, DOUBLE, TRIPLE, IMPR,
/// CMAP, IC, BILD and DELETE. Anything else is skipped without a word. Text is folded to upper
/// case.
class CHARMMTopology {
 public:
  CHARMMTopology() {}
  ~CHARMMTopology() {}

  /// Adds the residues, patches and masses of a file, replacing those of the same name. A record
  /// begins at any line that holds "RESI" or "PRES", be it in a comment, and ends in front of the
  /// next such line; any line that holds "MASS" is read as a mass line. Ends the run with a message
  /// at the first malformed line.
  static void ReadTopologyFile(const std::string& filename,
                               std::map<std::string, TopologyLibrary::Residue>& residues,
                               std::map<std::string, double>& masses);

  /// Reads one record from its lines, which have no comments and are upper case.
  static TopologyLibrary::Residue ParseResidue(const std::vector<std::string>& lines);
};

}  // namespace orvane

#endif
