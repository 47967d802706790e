#include "cli/data_directory.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>

#include "cli/command.h"

namespace orvix::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* neededTables[] = {
    "orvix.tab",  "orvix_obsCS.tab", "randcoil.tab", "rcadj.tab",    "rcprev.tab", "rcnext.tab",
    "isoadj.tab", "sslimit.tab",     "homology.tab", "BLOSUM62.tab", "weight.tab", "chi1.tab"};

/// What keeps `directory` from being a data directory; empty for nothing.
std::string flaw(const std::string& directory) {
    std::error_code error;
    const fs::path tables = fs::path(directory) / "tab";
    if (!fs::is_directory(tables, error)) {
        return "no directory " + tables.string();
    }
    for (const char* name : neededTables) {
        if (!fs::is_regular_file(tables / name, error)) {
            return "no file " + (tables / name).string();
        }
    }
    return {};
}

std::string programDirectory() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string() : program.parent_path().string();
}

}  // namespace

void addDataOption(CLI::App& command, std::string& directory) {
    command
        .add_option("--data-dir", directory,
                    "Directory that holds tab/; else ORVIXN_DIR, else share/orvixn of the program")
        ->type_name("DIR");
}

DataPlaces dataPlaces(const std::string& option) {
    DataPlaces places;
    places.option = option;
    if (const char* set = std::getenv("ORVIXN_DIR")) {
        places.environment = set;
    }
    const std::string program = programDirectory();
    if (!program.empty()) {
        places.program = (fs::path(program).parent_path() / "share" / "orvixn").string();
    }
    places.installed = ORVIX_DATADIR;
    return places;
}

DataDirectory findDataDirectory(const DataPlaces& places) {
    std::string tried;
    DataDirectory found;
    const auto isDataDirectory = [&](const std::string& path, const char* place) {
        std::string problem = flaw(path);
        if (problem.empty()) {
            found = {path, place};
            return true;
        }
        tried += std::string("\n  ") + place + " (" + path + "): " + problem;
        return false;
    };

    const bool variableSet = places.environment.has_value() && !places.environment->empty();
    if (!places.option.empty()) {
        if (isDataDirectory(places.option, "--data-dir")) {
            return found;
        }
    } else if (variableSet && places.environment->find('/') == std::string::npos) {
        // A bare word names no directory to orvixn either.
        tried += "\n  ORVIXN_DIR (" + *places.environment +
                 "): not a directory path, it must hold a \"/\" (./" + *places.environment + ")";
    } else if (variableSet) {
        if (isDataDirectory(*places.environment, "ORVIXN_DIR")) {
            return found;
        }
    } else {
        if (!places.program.empty() && isDataDirectory(places.program, "beside the program")) {
            return found;
        }
        if (places.installed != places.program &&
            isDataDirectory(places.installed, "installed data")) {
            return found;
        }
    }
    std::string rest;
    if (!places.option.empty() || variableSet) {
        rest = std::string("\nOther places are only looked at without ") +
               (places.option.empty() ? "ORVIXN_DIR" : "--data-dir") + ".";
    } else {
        rest = "\nName it by --data-dir or the environment variable ORVIXN_DIR.";
    }
    throw RunEnd(EndReason::dataDirectory,
                 "no data directory (a directory that holds tab/orvix.tab). Tried:" + tried + rest);
}

}  // namespace orvix::cli
