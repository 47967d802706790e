#pragma once

#include <vector>

#include "networks/network_weights.h"

namespace orvix::networks {

/// The scores of database fragments for the side chain angle chi1 of a residue type, lower is
/// better: one for each of `inputs` (39 values each), the plain mean of the members' first value;
/// 0.0 if the network gives none.
std::vector<double> chi1Scores(const LevelWeights& level1,
                               const std::vector<std::vector<double>>& inputs);

}  // namespace orvix::networks
