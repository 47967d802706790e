#pragma once

#include "networks/network_weights.h"
#include "networks/residue_window.h"

namespace orvix::networks {

// The network of the phi/psi surface: 324 raw scores of the 20 degree boxes for each residue, from
// the residue-first vectors (32 values) of five residues. Members are combined by the plain mean.

/// Runs both levels over `input`. Residues without a full window get the mean map of the others.
/// `boxes` is the length of a map.
void passSurfaceNetwork(const LevelWeights& level1, const LevelWeights& level2,
                        const ResidueMap& input, std::size_t boxes, PassMaps maps);

/// Runs level 1 alone, with a padding residue before and behind the chain, which are added to
/// `input`. Only residues with a full window get a result.
void passHybridNetwork(const LevelWeights& level1, ResidueMap& input, ResidueMap& level1Input,
                       ResidueMap& level1Output);

/// The map of each residue of `input`, of a network of two levels.
ResidueMap runSurfaceNetwork(const NetworkWeights& weights, const ResidueMap& input);

/// The maps of the residues with a window, of a network of one level.
ResidueMap runHybridNetwork(const NetworkWeights& weights, ResidueMap input);

}  // namespace orvix::networks
