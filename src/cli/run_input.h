#pragma once

#include <optional>
#include <string>

#include "base/run_end.h"
#include "import/shift_import.h"
#include "run/predict.h"

namespace CLI {
class App;
}

namespace orvix::cli {

/// Options of the run that `predict` and `check` share.
struct PreparationOptions {
    std::string dataDirectory;
    std::string title;
    bool noProton = false;
    bool isotopeCorrection = false;
    bool keepCysteines = false;
};
void addPreparationOptions(CLI::App& command, PreparationOptions& options);

/// Settings of the run for these options.
Settings runSettings(const PreparationOptions& options, const std::string& dataDirectory,
                     const std::string& title);

/// Carries out `work` with `file` in front of what it says about it.
template <class Work>
auto namingInput(const std::string& file, const Work& work) {
    try {
        return work();
    } catch (const RunEnd& end) {
        const std::string message = end.what();
        if (end.reason() == EndReason::input && message.find(file) == std::string::npos) {
            throw InputRejected(file + ": " + message);
        }
        throw;
    }
}

/// A shift file as the user gave it.
struct RunInput {
    std::string file;   ///< as named by the user
    std::string title;  ///< for the tables
    std::optional<importing::ImportedTable>
        imported;  ///< empty for a file that is an input table already
    /// What is odd about an input table; empty for an imported file, which has its own report.
    importing::ImportReport tableReport;
    /// The table to run on where it is not FILE itself: imported, or unpacked. Else empty.
    std::string tableText;
    ShiftInput shifts;  ///< for the run
};

/// Reads FILE: an input table as it stands, unless `options` name a format; any other form by
/// import. Throws InputRejected.
RunInput takeInput(const std::string& file, const importing::ImportOptions& options,
                   const std::string& title);

/// Tells on standard error what an import or an odd input table has to say.
void tellImport(const RunInput& input);

}  // namespace orvix::cli
