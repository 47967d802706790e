#pragma once

#include <span>
#include <vector>

#include "networks/network_weights.h"

namespace orvix::networks {

/// How the results of an ensemble's members become one vector; all members have the same length.
using Combine = std::vector<double> (*)(std::span<const std::vector<double>* const> members);

/// The largest of three values minus the middle one; -1.0 for any other length.
double margin(const std::vector<double>& values);

/// Mean of vectors, each weighted by its margin; the plain mean when the margins sum to zero. Empty
/// if the lengths differ.
std::vector<double> weightedMean(std::span<const std::vector<double>* const> members);

/// Sum of vectors times the inverse of their number. Empty if the lengths differ.
std::vector<double> plainMean(std::span<const std::vector<double>* const> members);

/// Clamps the first three values to 0..1, scales them to sum 1 and drops the rest. A zero sum gives
/// three equal thirds; a value that is no number counts as 0. Shorter vectors stay.
void normaliseClasses(std::vector<double>& values);

/// Ends the run with status 0 and the lines of the layer check. The message names the file of the
/// layer, for weights that came from files, and `window`.
[[noreturn]] void failLayerCheck(const LayerMismatch& mismatch, const std::string& files,
                                 const std::string& window);

/// One ensemble pass over windows by residue number; the result at a residue replaces what
/// `outputs` held there. Ends the run as the first window that doesn't fit would; `noun` is what
/// the message calls the window with that number.
void evaluateLevel(const LevelWeights& level, const ResidueMap& windows, Combine combine,
                   int threads, ResidueMap& outputs, const std::string& noun = "residue");

}  // namespace orvix::networks
