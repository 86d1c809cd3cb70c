// What is known of an atom from its type alone: charge and Lennard-Jones values.
#ifndef RAVELO_ATOMTYPEPARAMETERS_H
#define RAVELO_ATOMTYPEPARAMETERS_H

#include <string_view>

namespace orvane {

/// Values of an atom type as a CHARMM parameter file has them.
struct AtomTypeParameters {
  double charge;         ///< In elementary charges.
  double well_depth;     ///< Of the Lennard-Jones potential, in kcal/mol and negative.
  double half_distance;  ///< Half the distance of its minimum, in Angstrom.
};

/// From kcal/mol with the sign of a parameter file to the positive kJ/mol of a topology.
inline constexpr double kEpsilonOfWellDepth = -4.184;

/// From half the distance of the minimum to sigma: 2 to the power of 5/6, to six decimals.
inline constexpr double kSigmaOfHalfDistance = 1.781797;

/// The values of a type; null for one that the table does not have.
const AtomTypeParameters* FindAtomTypeParameters(std::string_view type);

}  // namespace orvane

#endif
