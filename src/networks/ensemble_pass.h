#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "networks/layer_kernel.h"

namespace orvix::networks {

/// Residue number -> vector: inputs, windows and results of a network.
using ResidueMap = std::map<int, std::vector<double>>;

/// The three layers of an ensemble member in their order: WI and WL1 (tanh), WL2 (linear).
inline constexpr std::size_t layerCount = 3;
inline constexpr std::array<const char*, layerCount> layerNames = {"WI", "WL1", "WL2"};

/// One layer as a pass takes it: the weights, read where their owner keeps them, and what the test
/// of the sizes needs beside them. A layer without any row counts as one of a single empty row.
struct Layer {
    LayerView view;
    std::size_t biasCount = 0;
    std::size_t leastRows = 0;  ///< rows that the layer must have at least; 0 for any number
};
using Member = std::array<Layer, layerCount>;

/// Sizes that don't fit together.
struct LayerMismatch {
    std::size_t inputs = 0;   ///< length of the input vector
    std::size_t columns = 0;  ///< length of row 0
    std::size_t rows = 0;
    std::size_t biases = 0;
    std::size_t leastRows = 0;
    std::size_t layer = 0;   ///< 0 to 2
    std::size_t member = 0;  ///< from 0
    std::size_t window = 0;  ///< from 0

    /// The three lines that tell of it, each with its line feed.
    std::string text() const;
    /// The same for people: which member lacks what.
    std::string cause() const;
};

/// Tests that `inputs` equals the length of row 0, that there are as many rows as biases and no
/// fewer than the layer must have.
std::optional<LayerMismatch> checkLayer(std::size_t inputs, const Layer& layer);

/// The first mismatch that a pass over windows of these lengths meets: window by window, in each
/// layer by layer, in each member by member.
std::optional<LayerMismatch> checkEnsemble(std::span<const Member> members,
                                           std::span<const std::size_t> windowLengths);

/// Results by member, then window.
using EnsembleOutput = std::vector<std::vector<std::vector<double>>>;

/// Runs the three layers of all members over windows that passed `checkEnsemble`; all members end a
/// layer before the next begins. The work of a layer is shared out over `threads` threads. The
/// result doesn't depend on the kernel or the number of threads.
EnsembleOutput runEnsemble(const LayerKernel& kernel, std::span<const Member> members,
                           std::span<const std::vector<double>* const> windows, int threads);

/// Reference form of `runEnsemble`: window by window through `layerPlain`.
EnsembleOutput runEnsemblePlain(std::span<const Member> members,
                                std::span<const std::vector<double>* const> windows);

}  // namespace orvix::networks
