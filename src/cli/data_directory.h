#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace orvix::cli {

/// Where a data directory may be, in the order in which the places are looked at. A place that the
/// user names counts alone: when it is no data directory, that is an error and not a reason to work
/// with another one.
struct DataPlaces {
    std::string option;                      ///< --data-dir; empty: not given
    std::optional<std::string> environment;  ///< ORVIXN_DIR
    std::string program;                     ///< share/orvixn beside the directory of the program
    std::string installed;                   ///< where the build was to be installed
};

/// The option --data-dir.
void addDataOption(CLI::App& command, std::string& directory);

/// The places of this process.
DataPlaces dataPlaces(const std::string& option);

/// A directory that holds `tab` with the tables of a run, and the place that it was found in.
/// Throws RunError with all places and what was wrong with each.
struct DataDirectory {
    std::string path;
    std::string place;
};
DataDirectory findDataDirectory(const DataPlaces& places);

}  // namespace orvix::cli
