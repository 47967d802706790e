#pragma once

#include <span>
#include <vector>

#include "networks/ann.h"
#include "networks/ensemble_pass.h"

namespace orvix {

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

}  // namespace orvix
