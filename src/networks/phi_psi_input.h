#pragma once

#include <map>
#include <string>
#include <vector>

class ORVIX;

namespace orvix::networks {

/// Residue -> atom -> secondary shift in ppm, 9999.0 for a missing one.
using ShiftsByResidue = std::map<int, std::map<std::string, double>>;

/// The secondary shifts of the working table within their limits, without the protons when the run
/// ignores them.
ShiftsByResidue clippedShifts(ORVIX& run);

/// The network input of a residue: six pairs of value and flag (1.0 for a shift that is missing,
/// its value then the average over observed triplets, 0.0 without one) in the order HN, N, HA, C,
/// CA, CB, then its 20 scaled substitution scores. Shorter for a letter without scores.
std::vector<double> residueInput(ORVIX& run, int residue, const ShiftsByResidue& shifts);

}  // namespace orvix::networks
