#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jobs/run_input.h"
#include "results/finished_prediction.h"
#include "results/output_directory.h"
#include "run/predict.h"

namespace orvix::jobs {

/// Which proteins of the database a prediction is made without.
struct DatabaseChoice {
    std::string exclude;  ///< database sources that occur in it are left out
    /// Leave out database proteins that share this many percent of their residues with the query
    /// and more; absent: they are named alone.
    std::optional<int> excludeRelatives;
};

/// What can be asked of the prediction of one shift file.
struct PredictionOptions : DatabaseChoice {
    importing::ImportOptions import;
    Preparation preparation;
    std::string reference;       ///< known structure (PDB or mmCIF), empty for none
    std::string referenceTitle;  ///< its title in the tables; empty: its name
    bool offset = false;         ///< apply the referencing offsets that are found
    /// Take off the offsets that a check beside a prediction finds, before the run.
    bool autoReference = false;
    bool noClip = false;              ///< keep extreme shifts when shifts are averaged
    std::string s2Threshold = "0.6";  ///< residues with a lower S2 are of class Dyn; 0 to 1
    std::optional<int> first, last;   ///< residues to predict
    int count = 10;                   ///< matches that a residue needs to count as served, 1 to 25
};

/// The options as they stand in results and logs.
results::FinishedSettings recordedSettings(const PredictionOptions& options,
                                           const std::string& dataDirectory);

/// File of a directory of results with all that the run had to say.
inline constexpr const char* runLogFile = "run.log";

/// Where the tables are, and how that place was found.
struct DataPlace {
    std::string path;
    std::string found;  ///< words for the log
};

/// A file of a directory of results.
struct ResultFile {
    std::string name, text;
};

/// All that comes of the prediction of one shift file.
struct PredictionOutcome {
    results::FinishedPrediction finished;
    std::vector<std::string> notes;  ///< on options that were taken otherwise than given
    std::vector<std::string> words;  ///< what a spectroscopist has to know, lines
    /// The files of the directory of results: the seven tables, results.json, run.log; input.tab
    /// and import.txt where the input was imported. They hold no times and no names of places that
    /// the caller did not give.
    std::vector<ResultFile> files;
};

/// Refuses an exclusion that leaves out no protein of the database: most likely it is misspelt.
/// Throws RunEnd with the reason usage.
void requireExclusion(const std::string& exclude, const std::string& dataDirectory);

/// Predicts from shifts that were taken: checks them first, so that shifts of another sequence are
/// refused before the long part, then predicts. Without `withFiles` the list of files stays empty.
/// Throws RunEnd as `orvix::predict` does, InputRejected with the name of the input.
PredictionOutcome predictInput(const std::shared_ptr<const Model>& model, const RunInput& input,
                               const PredictionOptions& options, const DataPlace& data,
                               const RunControl& control, bool withFiles = true);

/// Writes the files of an outcome. Throws RunError.
void writeFiles(const results::OutputDirectory& output, const PredictionOutcome& outcome);

}  // namespace orvix::jobs
