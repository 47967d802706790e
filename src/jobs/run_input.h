#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/run_end.h"
#include "import/shift_import.h"
#include "run/predict.h"

namespace orvix::jobs {

/// What is settled about the shifts before any stage of a run; the same for a prediction and for a
/// check alone.
struct Preparation {
    std::string title;  ///< in the tables; empty: that of the file, else its name
    bool noProton = false;
    bool isotopeCorrection = false;
    bool keepCysteines = false;
};

/// Settings of a run of these shifts with the tables of `dataDirectory`/tab.
Settings runSettings(const Preparation& preparation, const std::string& dataDirectory,
                     const std::string& title);

/// A shift file as the user gave it.
struct RunInput {
    std::string file;   ///< as named by the user
    std::string title;  ///< for the tables
    std::optional<importing::ImportedTable>
        imported;  ///< empty for a file that is an input table already
    /// What is odd about an input table; empty for an imported file, which has its own report.
    importing::ImportReport tableReport;
    /// The table that the run works on where it is not FILE itself: imported, or unpacked.
    std::string tableText;
    ShiftInput shifts;                  ///< for the run
    std::vector<std::string> warnings;  ///< what the user should know of the reading
};

/// Reads FILE: an input table as it stands, unless `options` name a format; any other form by
/// import. Throws InputRejected.
RunInput takeInput(const std::string& file, const importing::ImportOptions& options,
                   const std::string& title);

/// The same for the text of a file, which `file` stands for in messages.
RunInput takeText(const std::string& text, const std::string& file,
                  const importing::ImportOptions& options, const std::string& title);

/// The same for a file that was imported before.
RunInput takeImported(importing::ImportedTable imported, const std::string& file,
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

}  // namespace orvix::jobs
