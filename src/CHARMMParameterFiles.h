// Force-field parameters by atom types: read from a CHARMM parameter text, and looked up.
#ifndef RAVELO_CHARMMPARAMETERFILES_H
#define RAVELO_CHARMMPARAMETERFILES_H

#include <array>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Tables of bond, angle, dihedral, improper and Lennard-Jones parameters, by the atom types as the
/// text spells them. Numbers are kept as the text has them: force constants in kcal/mol (per square
/// Angstrom or per square radian), lengths in Angstrom, angles in degrees, well depths in kcal/mol
/// and negative.
///
/// All look-ups but that of Lennard-Jones parameters try the key as given, then reversed, and then
/// the first entry in key order that fits one way or the other, where "X" in a key fits every type.
/// They return false, and leave `out` as it was, where nothing fits.
class CHARMMParameterFiles {
 public:
  struct BondParam {
    double Kb = 0.0;
    double b0 = 0.0;

    friend bool operator==(const BondParam&, const BondParam&) = default;
  };

  struct AngleParam {
    double Ktheta = 0.0;
    double theta0 = 0.0;
    double Kub = 0.0;  ///< Urey-Bradley force constant, or 0.
    double S0 = 0.0;   ///< Urey-Bradley length, or 0.

    friend bool operator==(const AngleParam&, const AngleParam&) = default;
  };

  struct DihedralParam {
    double Kchi = 0.0;
    int n = 0;  ///< Multiplicity.
    double delta = 0.0;

    friend bool operator==(const DihedralParam&, const DihedralParam&) = default;
  };

  struct ImproperParam {
    double Kpsi = 0.0;
    double psi0 = 0.0;

    friend bool operator==(const ImproperParam&, const ImproperParam&) = default;
  };

  struct LennardJonesParam {
    double epsilon = 0.0;
    double Rmin_half = 0.0;
    double epsilon14 = 0.0;  ///< For atoms three bonds apart; without values of their own the same.
    double Rmin_half14 = 0.0;

    friend bool operator==(const LennardJonesParam&, const LennardJonesParam&) = default;
  };

  template <std::size_t N>
  using Types = std::array<std::string, N>;

  /// Fits every type where it stands in a key.
  static constexpr std::string_view AtomWildcard = "X";

  /// Names of the sources, for messages, which print the last one. Set by the caller: `Parse` adds
  /// none.
  std::vector<std::string> filenames;

  CHARMMParameterFiles() = default;

  /// Parses the parameters of CGenFF that are built into the program.
  void Initialize();

  /// Adds the parameters of a text to the tables. A "!" begins a comment, END ends the text, and
  /// the sections begin with BONDS, ANGLES, DIHEDRALS, IMPROPER, CMAP (not read) and NONBONDED, in
  /// upper or lower case. Lines with another number of words than their section has are passed
  /// over. Ends the run where a word should be a number and is not.
  void Parse(const std::string& text);

  /// Each adds one line of its section, which replaces an earlier one of the same types; dihedrals
  /// are appended to the earlier ones. Any other number of words is passed over. End the run where
  /// a word should be a number and is not.
  void AddBondParams(const std::vector<std::string>& words);
  void AddAngleParams(const std::vector<std::string>& words);
  void AddDihedralParams(const std::vector<std::string>& words);
  void AddImproperParams(const std::vector<std::string>& words);
  void AddLennardJonesParams(const std::vector<std::string>& words);

  bool GetBondParam(const std::string& a, const std::string& b, BondParam& out) const;
  bool GetAngleParam(const std::string& a, const std::string& b, const std::string& c,
                     AngleParam& out) const;

  /// All terms of the entry, in the order of the text.
  bool GetDihedralParam(const std::string& a, const std::string& b, const std::string& c,
                        const std::string& d, std::vector<DihedralParam>& out) const;
  bool GetImproperParam(const std::string& a, const std::string& b, const std::string& c,
                        const std::string& d, ImproperParam& out) const;

  /// Knows no wildcard.
  bool GetLennardJonesParam(const std::string& type, LennardJonesParam& out) const;

  const std::vector<std::string>& GetFilenames() const { return filenames; }

  // The tables, in key order.

  const std::map<Types<2>, BondParam>& GetBondParams() const { return bond_params.entries(); }
  const std::map<Types<3>, AngleParam>& GetAngleParams() const { return angle_params.entries(); }
  const std::map<Types<4>, std::vector<DihedralParam>>& GetDihedralParams() const {
    return dihedral_params.entries();
  }
  const std::map<Types<4>, ImproperParam>& GetImproperParams() const {
    return improper_params.entries();
  }
  const std::map<std::string, LennardJonesParam>& GetLennardJonesParams() const {
    return lj_params;
  }

 private:
  // Records by the types of N atoms.
  template <std::size_t N, typename Record>
  class Table {
   public:
    // The record of a key, made if there is none.
    Record& operator[](const Types<N>& key);

    // The record that a look-up finds, or null.
    const Record* Find(const Types<N>& types) const;

    const std::map<Types<N>, Record>& entries() const { return entries_; }

   private:
    std::map<Types<N>, Record> entries_;
    std::set<Types<N>> keys_with_wildcard_;
  };

  // What messages name.
  std::string_view Source() const;

  Table<2, BondParam> bond_params;
  Table<3, AngleParam> angle_params;
  Table<4, std::vector<DihedralParam>> dihedral_params;
  Table<4, ImproperParam> improper_params;
  std::map<std::string, LennardJonesParam> lj_params;
};

}  // namespace orvane

#endif
