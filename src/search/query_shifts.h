#pragma once

#include "search/rerank.h"

namespace orvix::search {

/// The secondary shifts of a query by residue: six in ppm for each of `first`..`last`, in the order
/// of `backboneAtoms`; 999.0 and more for a missing one.
struct ShiftRows {
    const double* const* rows = nullptr;  ///< [residue - first]; null for none
    int first = 0, last = -1;
};

/// The shifts of the residues around `res`: missing outside the rows and from 999.0 up.
QueryShifts queryShifts(const ShiftRows& shifts, int res, int halfWidth);

}  // namespace orvix::search
