// The force field's parameters for small molecules, as a text inside the program.
#ifndef RAVELO_CGENFFPARAMETERS_H
#define RAVELO_CGENFFPARAMETERS_H

#include <string>

namespace orvane {

/// The parameters of the CHARMM General Force Field (CGenFF) 3.1 in the form of a CHARMM parameter
/// file, without titles, comments and masses. Force constants are in kcal/mol, lengths in Angstrom,
/// angles in degrees. Source: K. Vanommeslaeghe et al., J. Comput. Chem. 2010, 31, 671.
std::string CGenFFParameterText();

}  // namespace orvane

#endif
