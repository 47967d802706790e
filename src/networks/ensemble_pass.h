#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "networks/layer_kernel.h"

namespace orvix::networks {

using WeightRows = std::map<int, std::vector<double>>;

/// One layer as a network keeps it: rows by number from 0, and biases.
struct LayerWeights {
    WeightRows* rows = nullptr;
    std::vector<double>* bias = nullptr;
    std::size_t leastRows = 0;  ///< rows that the layer must have at least; 0 for any number
};

/// The three layers of one ensemble member: WI, WL1 (both tanh), WL2 (linear).
struct MemberWeights {
    LayerWeights layers[3];
};

/// Sizes that don't fit together.
struct LayerMismatch {
    std::size_t inputs = 0;   ///< length of the input vector
    std::size_t columns = 0;  ///< length of row 0
    std::size_t rows = 0;
    std::size_t biases = 0;

    /// The three lines that tell of it, each with its line feed.
    std::string text() const;
};

/// Tests that `inputs` equals the length of row 0, that there are as many rows as biases and no
/// fewer than the layer must have. A layer without row 0 gets an empty one.
std::optional<LayerMismatch> checkLayer(std::size_t inputs, const LayerWeights& weights);

/// The first mismatch that a pass over windows of these lengths meets: window by window, in each
/// layer by layer, in each member by member.
std::optional<LayerMismatch> checkEnsemble(std::span<const MemberWeights> members,
                                           std::span<const std::size_t> windowLengths);

/// A view of weights that passed `checkLayer`. Rows that are missing count as empty.
LayerView viewLayer(const LayerWeights& weights);

/// Results by member, then window.
using EnsembleOutput = std::vector<std::vector<std::vector<double>>>;

/// Runs the three layers of all members over windows that passed `checkEnsemble`; all members end a
/// layer before the next begins. The work of a layer is shared out over `threads` threads. The
/// result doesn't depend on the kernel or the number of threads.
EnsembleOutput runEnsemble(const LayerKernel& kernel, std::span<const MemberWeights> members,
                           std::span<const std::vector<double>* const> windows, int threads);

/// Reference form of `runEnsemble`: window by window through `layerPlain`.
EnsembleOutput runEnsemblePlain(std::span<const MemberWeights> members,
                                std::span<const std::vector<double>* const> windows);

}  // namespace orvix::networks
