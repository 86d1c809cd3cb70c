// Tells what kind of thing a residue name stands for.
#ifndef RAVELO_RESIDUE_H
#define RAVELO_RESIDUE_H

#include <string>

namespace orvane {

/// Classification of residue names. Comparisons are exact and case-sensitive.
class Residue {
 public:
  enum Type : int { AminoAcid = 0, NucleicAcid = 1, Water = 2, Ion = 3, Ligand = 4 };

  Residue() {}
  ~Residue() {}

  static bool IsAminoAcid(const std::string& name);
  static bool IsNucleicAcid(const std::string& name);
  static bool IsWater(const std::string& name);
  static bool IsIon(const std::string& name);

  /// The kind of a residue; a name that is in none of the lists is a `Ligand`.
  static Type IdentifyType(const std::string& name);
};

}  // namespace orvane

#endif
