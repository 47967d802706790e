#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

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

/// What the record of a shift check says beside its findings.
struct CheckOrigin {
    std::string file, title;
    int firstResidue = 1, residueCount = 0;
    std::vector<std::string> remarks;  ///< on the reading of the file
};

/// The report of a shift check as a JSON record. `byPrediction` holds what a check beside a
/// prediction found, null for none.
nlohmann::ordered_json shiftReportRecord(const ShiftReport& report, const CheckOrigin& origin,
                                         int findings, nlohmann::ordered_json byPrediction);

/// A record as text, one key or record on each line.
std::string recordText(const nlohmann::ordered_json& record);

}  // namespace orvix::results
