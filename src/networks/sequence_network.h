#pragma once

#include "networks/network_weights.h"
#include "networks/residue_window.h"

namespace orvix::networks {

// The network that gives a residue three class values from the sequence around it: windows of
// 2h + 1 residues with a padding flag for each but the centre. Every residue gets a window.

/// Half-width h of the windows of a network whose level 1 takes `inputs` values.
long long sequenceHalfWidth(int inputs);

/// Runs both levels over `input` (residue number -> 20 values). A residue of `known` with a value
/// that is not 0 enters level 2 with its known class values. `classes` is the length of a level 1
/// result. A gap in the numbering leaves windows short, which ends the run.
void passSequenceNetwork(const LevelWeights& level1, const LevelWeights& level2,
                         const ResidueMap& input, const ResidueMap& known, long long half,
                         std::size_t classes, PassMaps maps);

/// The class values of each residue of `input`: helix, strand, coil, between 0 and 1 with sum 1.
ResidueMap runSequenceNetwork(const NetworkWeights& weights, const ResidueMap& input,
                              const ResidueMap& known);

}  // namespace orvix::networks
