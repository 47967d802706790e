#pragma once

#include "networks/network_weights.h"
#include "networks/residue_window.h"

namespace orvix::networks {

// The network that gives a residue three class values from the shifts around it.

/// Runs both levels over `input` (residue number -> 32 values) with window mode `code`: 0 to 4 see
/// three residues of shift-first vectors, 0 all of them, 1, 2, 3 without the shifts of the first,
/// the middle, the last, 4 without the entries 0, 1, 4 and 5; 5 sees five residues of residue-first
/// vectors with padding flags. Residues without a full window get the mean of the others.
void passClassNetwork(const LevelWeights& level1, const LevelWeights& level2,
                      const ResidueMap& input, int code, PassMaps maps);

/// The class values of each residue of `input`: helix, strand, coil, between 0 and 1 with sum 1.
ResidueMap runClassNetwork(const NetworkWeights& weights, const ResidueMap& input, int code);

}  // namespace orvix::networks
