#pragma once

#include <map>

namespace orvix::networks {

/// The residue numbers by which the stages treat the ends of a chain and of the range worked on.
struct ResidueRange {
    int first = 0, last = 0;            ///< residues to work on
    int firstShift = 0, lastShift = 0;  ///< residues with shift rows
    int lastSequence = 0;               ///< number of the last sequence letter
};

/// Residue number -> shifts missing of the six; a number that is not there lacks none.
using MissingCounts = std::map<int, int>;

inline int missingOf(const MissingCounts& missing, int residue) {
    const auto found = missing.find(residue);
    return found == missing.end() ? 0 : found->second;
}

}  // namespace orvix::networks
