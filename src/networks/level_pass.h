#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "networks/ann.h"
#include "networks/ensemble_pass.h"

namespace orvix::networks {

/// The containers of one member of a network's level 1 or 2.
MemberWeights memberWeights(ANN& network, int level, int member);

/// The containers of the first `count` members.
std::vector<MemberWeights> ensembleWeights(ANN& network, int level, int count);

/// Ends the process with status 0 and the lines of the layer check.
[[noreturn]] void failLayerCheck(const LayerMismatch& mismatch);

/// One ensemble pass over windows by residue number: results by member, then in the order of the
/// windows. Ends the process as the first window that doesn't fit would.
EnsembleOutput evaluateLevel(std::span<const MemberWeights> members, const ANN::ResidueMap& windows,
                             int threads);

/// Mean of three vectors with one factor, appended to `out`: (a + b + c) * 0.3333333333333333.
/// Nothing if the lengths differ.
void appendPlainMean(std::span<const double> a, std::span<const double> b,
                     std::span<const double> c, std::vector<double>& out);

/// What loads one layer: path, weights and biases by member, rows and columns of a member.
using LayerLoader = std::function<void(const std::string& path, WeightRows* weights,
                                       std::vector<double>* biases, int rows, int columns)>;

/// Calls `load` for the layer files of a network in their order (WI, WL1, WL2 of level 1, then,
/// with two `levels`, of level 2), named with `extension`: ".tab" or ".bin".
void forEachLayerFile(ANN& network, int levels, const std::string& extension,
                      const LayerLoader& load);

}  // namespace orvix::networks
