// The force-field type of each atom of a small molecule, from elements, bonds and rings alone.
#ifndef RAVELO_ATOMTYPER_H
#define RAVELO_ATOMTYPER_H

#include <Eigen/Core>
#include <map>
#include <string>
#include <vector>

#include "TermList.h"

namespace orvane {

/// A graph network for each element that has CGenFF types. Every network is a topology-adaptive
/// graph convolution over the whole molecule, and gives the atoms of its own element a probability
/// for each type name of that element. A rule on rings then chooses among the names. Networks see
/// no coordinates, bond orders, charges or names.
///
/// One atom without any bond makes all probabilities of the molecule NaN, and every atom then gets
/// the first type of its element: the normalisation divides by the root of the number of bonds.
class AtomTyper {
 public:
  /// One graph convolution: the sum over hops k of (k-th power of the normalised adjacency) * input
  /// * `weights[k]`, plus `bias`, clipped at zero from below.
  struct Layer {
    std::vector<Eigen::MatrixXd> weights;  ///< For each hop: (input x output channels).
    Eigen::RowVectorXd bias;               ///< One value for each output channel.
  };

  /// The type of an atom that has no known one.
  static constexpr const char* UnknownType = "X";

  // The names of each element's types, in the order of the network's output channels.
  static const char* const HTypes[25];
  static const char* const BTypes[1];
  static const char* const CTypes[58];
  static const char* const NTypes[29];
  static const char* const OTypes[19];
  static const char* const FTypes[5];
  static const char* const PTypes[3];
  static const char* const STypes[10];
  static const char* const ClTypes[3];
  static const char* const BrTypes[4];
  static const char* const ITypes[1];

  /// Fills the networks from the compiled weights.
  AtomTyper();

  /// Names the type of each atom, in atom order. `elements` holds atomic numbers, `ring_sizes` the
  /// ring class of each atom (0, 5 or 6), and `bonds` pairs of different atoms. Costs time and
  /// memory in proportion to the numbers of atoms and bonds.
  void Type(const std::vector<int>& elements, const std::vector<int>& ring_sizes,
            const TermList& bonds, std::vector<std::string>& types) const;

  /// The same for bonds as a symmetric matrix, with 1.0 for each bond and else 0.0. The cost grows
  /// with the third power of the number of atoms.
  void Type(const std::vector<int>& elements, const std::vector<int>& ring_sizes,
            const Eigen::MatrixXd& adjacency, std::vector<std::string>& types) const;

  /// The probability of each type of its element, for each atom; the single value 1.0 for an atom
  /// of an element without a network.
  void CalcTAGCN(const std::vector<int>& elements, const TermList& bonds,
                 std::vector<std::vector<double>>& probabilities) const;
  void CalcTAGCN(const std::vector<int>& elements, const Eigen::MatrixXd& adjacency,
                 std::vector<std::vector<double>>& probabilities) const;

  /// Picks the most probable type of each atom; for carbon, nitrogen and oxygen among those of the
  /// atom's ring class only. The first of equally probable types is taken, and the first of all
  /// where there is no probability to compare. `UnknownType` for an element without types.
  void AssignTypes(const std::vector<int>& elements, const std::vector<int>& ring_sizes,
                   const std::vector<std::vector<double>>& probabilities,
                   std::vector<std::string>& types) const;

  std::map<int, std::vector<Layer>> networks;     ///< By atomic number; layers in forward order.
  int num_hops;                                   ///< Highest power of the normalised adjacency.
  std::map<int, const char* const*> type_tables;  ///< Type names by atomic number.
};

}  // namespace orvane

#endif
