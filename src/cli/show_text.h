#pragma once

#include <string>

#include "results/finished_prediction.h"

namespace orvix::cli {

/// How a prediction is shown.
struct ShowStyle {
    bool wide = false;  ///< with all quantities; else lines of at most 80 columns
    bool colours = false;
};

/// A finished prediction residue by residue, with a legend and the totals. Angles of a known
/// structure have columns where there are any.
std::string showText(const results::FinishedPrediction& prediction, const ShowStyle& style);

}  // namespace orvix::cli
