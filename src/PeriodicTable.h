// Element data: symbols, radii, weights and electron counts of the 118 elements.
#ifndef RAVELO_PERIODICTABLE_H
#define RAVELO_PERIODICTABLE_H

#include <array>
#include <string>

namespace orvane {

/// Constant tables of the elements, and look-ups in them. All tables are indexed by atomic number,
/// with a placeholder "X" at 0; radii are in Angstrom, and 0 where the set has no value. The sets
/// are cited in the source and by `List`.
class PeriodicTable {
 public:
  static constexpr int NumElements = 118;
  static constexpr int UnknownElement = -1;

  template <typename Value>
  using Array = std::array<Value, NumElements + 1>;

  static const Array<const char*> ElementSymbols;
  static const Array<double> ElementCovalentRadii_I;    ///< Of single bonds.
  static const Array<double> ElementCovalentRadii_II;   ///< Of double bonds.
  static const Array<double> ElementCovalentRadii_III;  ///< Of triple bonds.
  static const Array<double> ElementvanderWaalsRadii;
  static const Array<double> Weights;        ///< Atomic weights.
  static const Array<int> Spin2p1;           ///< Multiplicity of the ground state.
  static const Array<int> NumCoreElectrons;  ///< Electrons of the noble-gas core.
  static const Array<double> ElementUFFRadii;
  static const Array<double> ElementBondiRadii;

  struct ElementInformation {
    std::string symbol;
    int atomic_number = 0;
    int core_electrons = 0;
    int valence_electrons = 0;
    double radius_single = 0.0;  ///< Covalent, of single, double and triple bonds, in Angstrom.
    double radius_double = 0.0;
    double radius_triple = 0.0;
    double radius_vdw = 0.0;  ///< Van der Waals radii of three sets, in Angstrom.
    double weight = 0.0;      ///< Atomic weight.
    double spin = 0.0;        ///< Multiplicity 2S+1 of the ground state.
    double radius_uff = 0.0;
    double radius_bondi = 0.0;
  };

  /// Fills `info` with the data of an element and returns its atomic number; -1 for a number below
  /// 0 or above 117, and `info` stays as it was.
  static int WriteElementInformation(int z, ElementInformation& info);
  static int GetElementInformation(int z, ElementInformation& info);

  /// The same for a symbol, which must be spelled exactly as in the table ("Na", not "NA").
  static int GetElementInformation(const std::string& symbol, ElementInformation& info);

  /// Prints the sources and the table.
  static void List();
};

}  // namespace orvane

#endif
