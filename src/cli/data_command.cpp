#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/output_options.h"
#include "search/database.h"
#include "search/db.h"

namespace orvix::cli {
namespace {

/// What the list of proteins of a data directory says of a source.
struct Origin {
    std::string archive, structure, kind;
};

/// The list by source word; empty where the data directory has none.
std::map<std::string, Origin> readOrigins(const std::string& path) {
    std::map<std::string, Origin> origins;
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream cells(line);
        std::string source;
        Origin origin;
        if (cells >> source >> origin.archive >> origin.structure >> origin.kind &&
            source != "source") {
            origins[source] = origin;
        }
    }
    return origins;
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

void listSources(const std::string& dataDirectory) {
    const DataDirectory data = findDataDirectory(dataPlaces(dataDirectory));
    const DB db(data.path + "/tab/orvix.tab");
    const std::map<std::string, Origin> origins = readOrigins(data.path + "/proteins.tsv");
    std::string text = "Sources of the database " + data.path + "/tab/orvix.tab\n\n" +
                       "Source              Residues  Shifts  BMRB    Structure  Kind\n";
    int listed = 0;
    const std::vector<search::ProteinBlock> proteins = search::cutProteins(db);
    for (const search::ProteinBlock& block : proteins) {
        int shifts = 0;
        for (int row = block.first; row <= block.last; ++row) {
            for (int atom = 0; atom < 6; ++atom) {
                shifts += db.shifts[row][2 * atom + 1] != 0.0F ? 1 : 0;
            }
        }
        const std::string& source = db.sources[block.first];
        const auto known = origins.find(source);
        listed += known != origins.end() ? 1 : 0;
        const Origin origin = known != origins.end()
                                  ? known->second
                                  : Origin{"-", "-", origins.empty() ? "-" : "chain"};
        text += padded(source, 20) + padded(std::to_string(block.last - block.first + 1), 10) +
                padded(std::to_string(shifts), 8) + padded(origin.archive, 8) +
                padded(origin.structure, 11) + origin.kind + "\n";
    }
    text += "\n" + std::to_string(proteins.size()) + " sources, " + std::to_string(listed) +
            " with an archive number, " + std::to_string(db.dbSize) + " residues\n";
    writeResult(text);
}

}  // namespace

void addDataCommand(CLI::App& command, ExitStatus& status) {
    const auto directory = std::make_shared<std::string>();
    CLI::App& list = *command.add_subcommand(
        "list", "Show the sources of the database: residues, shifts, archive numbers, kind");
    addDataOption(list, *directory);
    list.callback([directory, &status] {
        listSources(*directory);
        status = ExitStatus::done;
    });
    command.require_subcommand(1);
}

}  // namespace orvix::cli
