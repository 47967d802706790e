#pragma once

#include <string>
#include <vector>

#include "jobs/prediction_job.h"

namespace CLI {
class App;
}

namespace orvix::cli {

/// Options that `check` shares with the predictions.
void addPreparationOptions(CLI::App& command, jobs::Preparation& preparation);

/// Options of which proteins of the database to leave out.
void addDatabaseOptions(CLI::App& command, jobs::DatabaseChoice& choice);

/// All that can be asked of a prediction, with the options of reading its file.
void addPredictionOptions(CLI::App& command, jobs::PredictionOptions& options);

/// The same from words, as "--first=3", on top of `common`. Throws CLI::ParseError.
jobs::PredictionOptions readPredictionOptions(const jobs::PredictionOptions& common,
                                              const std::vector<std::string>& words);

/// Tells on standard error what the reading of an input has to say.
void tellImport(const jobs::RunInput& input);

}  // namespace orvix::cli
