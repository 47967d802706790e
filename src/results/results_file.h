#pragma once

#include <string>
#include <string_view>

#include "results/finished_prediction.h"

namespace orvix::results {

/// Name of the results file in a directory of results.
inline constexpr std::string_view resultsFile = "results.json";
inline constexpr std::string_view resultsSchema = "orvix-results";
/// The version that is written. Older ones, from 1 on, are read; what they lack is empty.
inline constexpr int resultsVersion = 2;

/// A finished prediction as the text of a results file. Texts that are no UTF-8 get replacement
/// characters.
std::string resultsText(const FinishedPrediction& prediction);

/// Reads the text of a results file; `name` stands for it in messages. Throws InputRejected with
/// the place in the file and what was expected there.
FinishedPrediction parseResults(std::string_view text, const std::string& name);

/// The results file that `path` names: the file itself, or the one in a directory.
std::string resultsPath(const std::string& path);

/// Reads a results file, or `results.json` in a directory. Throws InputRejected.
FinishedPrediction readFinishedPrediction(const std::string& path);

/// Whether `directory` holds a results file of any version, whole or not.
bool holdsResults(const std::string& directory);

/// Settings as the text of a JSON record, in one line.
std::string settingsText(const FinishedSettings& settings);

/// The report of a shift check as the text of a JSON record.
std::string shiftReportText(const ShiftReport& report, const std::string& file,
                            const std::string& title, int firstResidue, int residueCount,
                            int findings);

}  // namespace orvix::results
