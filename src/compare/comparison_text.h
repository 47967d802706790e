#pragma once

#include <string>

#include "compare/comparison.h"

namespace orvix::compare {

/// The comparison in lines of at most 80 columns: residues that all models have against them, the
/// models best first, the residues that some models have against them.
std::string comparisonText(const results::FinishedPrediction& prediction,
                           const Comparison& comparison);

}  // namespace orvix::compare
