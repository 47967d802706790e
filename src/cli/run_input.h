#pragma once

#include <map>
#include <optional>
#include <string>

#include "import/shift_import.h"

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

/// Settings of the library for these options, as ORVIX::setArgs takes them.
std::map<std::string, std::string> librarySettings(const PreparationOptions& options,
                                                   const std::string& dataDirectory);

/// A shift file as the user gave it: a table for the library as it stands, or an imported one.
struct RunInput {
    std::string file;   ///< as named by the user
    std::string title;  ///< for the tables
    std::optional<importing::ImportedTable>
        imported;  ///< empty for a file that is an input table already
    /// The table to run on where it is not FILE itself: imported, or unpacked. Else empty.
    std::string tableText;
};

/// Reads FILE if it has to be imported. An input table is left alone, but for a look at whether it
/// can be read, unless `options` name a format. Throws InputRejected.
RunInput takeInput(const std::string& file, const importing::ImportOptions& options,
                   const std::string& title);

/// Tells on standard error what an import has to say.
void tellImport(const RunInput& input);

}  // namespace orvix::cli
