#pragma once

#include "search/rerank.h"

class ORVIX;

namespace orvix::search {

/// The shifts of the residues around `res` as the run has them: missing outside the working range
/// and from 999.0 up.
QueryShifts queryShifts(const ORVIX& run, int res, int halfWidth);

}  // namespace orvix::search
