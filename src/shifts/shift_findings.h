#pragma once

#include <map>
#include <string>
#include <vector>

#include "shifts/offset_fit.h"

namespace orvix::shifts {

/// A secondary shift beyond the limit of its residue type and atom, ppm.
struct ShiftOutlier {
    int residue = 0;
    std::string name, atom;
    double shift = 0.0;
    double limit = 0.0;    ///< the one that was passed
    bool serious = false;  ///< more than twice the limit, for HA three times
};

/// A row whose residue name is not that of the sequence.
struct SequenceMismatch {
    int residue = 0;
    std::string sequenceName, rowName;
};

/// What the shift checks found.
struct ShiftFindings {
    std::vector<ShiftOutlier> outliers;  ///< in row order
    /// By nucleus: CA, HA, C. The estimate of CA stands for CB too.
    std::map<std::string, OffsetEstimate> offsets;
    std::vector<SequenceMismatch> mismatches;  ///< in row order
};

}  // namespace orvix::shifts
