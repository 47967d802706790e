#pragma once

#include <string>
#include <vector>

#include "results/finished_prediction.h"

namespace orvix::results {

/// What a spectroscopist has to know about a finished prediction, in at most six lines: classes,
/// outliers, offsets of the referencing and what to do, deuteration, residue names that don't fit.
/// Where nothing was found, one line says so. `saidDeuterated`: the entry says so of its sample.
std::vector<std::string> plainWords(const FinishedPrediction& prediction,
                                    bool saidDeuterated = false);

/// "64 residues: Strong 40, Generous 3, ...", the classes in the order of trust.
std::string classCounts(const FinishedPrediction& prediction);

/// Whether the shifts look like those of a deuterated sample: CA and CB a little low together, and
/// hardly any HA.
bool looksDeuterated(const ShiftReport& report);

}  // namespace orvix::results
