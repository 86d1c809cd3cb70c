// The trained numbers of the networks that type atoms.
#ifndef RAVELO_ATOMTYPERWEIGHTS_H
#define RAVELO_ATOMTYPERWEIGHTS_H

namespace orvane {

inline constexpr int kNumAtomTyperWeights = 17070;

/// One network behind the other, for the elements H, Br, B, C, N, O, F, P, S, Cl, I; in each the
/// three layers; in each layer the weight matrices of hops 0, 1 and 2, row after row, and the bias.
extern const double kAtomTyperWeights[kNumAtomTyperWeights];

}  // namespace orvane

#endif
