// The residue templates and patches of the CHARMM topology files, and the masses of atom types.
#ifndef RAVELO_TOPOLOGYLIBRARY_H
#define RAVELO_TOPOLOGYLIBRARY_H

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvane {

/// Templates by name and masses by atom type; built once in a run and not changed afterwards. All
/// names are upper case.
class TopologyLibrary {
 public:
  /// One internal coordinate term over the atoms A, B, C, D of a template.
  struct InternalCoord {
    bool is_improper = false;          ///< The third atom was marked with "*".
    std::array<std::string, 4> atoms;  ///< Without the "*"; a "+" or "-" in front stays.
    /// Distance A-B (A-C of an improper), angle A-B-C (A-C-B), dihedral A-B-C-D, angle B-C-D,
    /// distance C-D; in Angstrom and degrees.
    std::array<double, 5> values{};
  };

  /// A residue (RESI) or a patch (PRES). Names in terms may begin with "+" or "-", for an atom of
  /// the next or the previous residue.
  struct Residue {
    std::string name;     ///< Empty for a block of text without a header of its own.
    double charge = 0.0;  ///< The declared charge; nothing compares it with the atoms' sum.
    std::vector<std::string> atom_names;
    std::vector<std::string> atom_types;              ///< Parallel to `atom_names`.
    std::vector<double> atom_charges;                 ///< Parallel to `atom_names`.
    std::vector<std::vector<std::string>> bonds;      ///< 2 names each, single and multiple alike.
    std::vector<std::vector<std::string>> impropers;  ///< 4 names each.
    std::vector<std::vector<std::string>> cmaps;      ///< 4 names each, two entries a cross-term.
    std::vector<InternalCoord> ics;                   ///< All terms, in file order.
    std::vector<InternalCoord> ics_inter_residue;     ///< Terms with a "+" or "-" atom.
    std::vector<InternalCoord> ics_hydrogen_last;  ///< Terms of which only the last atom is an H.
    std::vector<InternalCoord> ics_hydrogen_both;  ///< Terms from an H to an H.
    std::vector<InternalCoord>
        ics_ending_in_hydrogen;  ///< The last two lists, one after the other.
    bool is_patch = false;
    /// One entry a DELETE line: what it says it deletes (not looked at), and the atom.
    std::vector<std::array<std::string, 2>> deleted_atoms;

    /// Position of the first atom of this name in `atom_names`, or -1.
    int FindAtom(const std::string& atom) const;

    /// First term of `ics` whose fourth (first) atom has exactly this name, or null.
    const InternalCoord* FindTermEndingIn(const std::string& atom) const;
    const InternalCoord* FindTermBeginningWith(const std::string& atom) const;

    /// Brings the look-ups above up to date with `atom_names` and `ics`.
    void BuildLookups();

   private:
    std::unordered_map<std::string, int> atom_positions;
    std::unordered_map<std::string, int> terms_by_last_atom;
    std::unordered_map<std::string, int> terms_by_first_atom;
  };

  /// Loads the two standard files of the data folder, into an empty table of residues.
  void Build();

  /// Adds a further file, which replaces what it defines again.
  void Build(const std::string& filename);

  const std::map<std::string, Residue>& GetResidues() const { return residues; }
  const std::map<std::string, double>& GetMasses() const { return masses; }

 private:
  std::map<std::string, Residue> residues;
  std::map<std::string, double> masses;
};

}  // namespace orvane

#endif
