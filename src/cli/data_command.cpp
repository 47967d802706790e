#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>

#include "base/version.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/output_options.h"
#include "images/image_file.h"
#include "images/prepare.h"
#include "model/directory_check.h"
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

std::string inMegabytes(std::uint64_t bytes) {
    std::string text = std::to_string((bytes + 50000) / 100000);
    text.insert(text.size() - 1, text.size() > 1 ? "." : "0.");
    return text + " MB";
}

void prepare(const std::string& directory, const std::string& output) {
    const DataDirectory data = findDataDirectory(dataPlaces(directory));
    const images::Prepared prepared = images::prepareImage(data.path + "/tab", output);
    for (const std::string& left : prepared.leftOut) {
        std::cerr << programName << ": note: stays text: " << left << '\n';
    }
    std::cerr << programName << ": image of " << prepared.components.size() << " components, "
              << inMegabytes(prepared.bytes) << ", in " << prepared.path << '\n';
}

ExitStatus verify(const std::string& directory) {
    // Not findDataDirectory: what keeps a directory from being one is what is asked for here.
    const std::string path =
        directory.empty() ? findDataDirectory(dataPlaces(directory)).path : directory;
    std::string text = "Data directory " + path + "\n\n";
    std::size_t flawed = 0;
    const std::vector<FileFinding> findings = checkDataDirectory(path + "/tab");
    for (const FileFinding& file : findings) {
        const bool sound = file.state == FileFinding::State::sound;
        const bool missing = file.state == FileFinding::State::missing;
        // Without a list there is nothing wrong with the tables.
        const bool counts = !sound && file.name != hashListName;
        flawed += counts ? 1 : 0;
        text += std::string(sound     ? "ok       "
                            : missing ? "MISSING  "
                                      : "BROKEN   ") +
                padded(file.name, 28) + " " + file.text + "\n";
    }
    const std::string image = path + "/tab/" + images::imageName;
    std::error_code error;
    if (!std::filesystem::exists(image, error)) {
        text += "none     " + padded(images::imageName, 28) + " runs read the text\n";
    } else if (images::ImageFile::open(image, images::ImageCheck::content) == nullptr) {
        text += "STALE    " + padded(images::imageName, 28) +
                " not of these files and this program; runs read the text\n";
    } else {
        text += "ok       " + padded(images::imageName, 28) + " is used by runs\n";
    }
    text += "\n" +
            (flawed == 0 ? "complete and sound"
                         : std::to_string(flawed) + " of " + std::to_string(findings.size()) +
                               " files missing or broken") +
            "\n";
    writeResult(text);
    return flawed == 0 ? ExitStatus::done : ExitStatus::runError;
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

    const auto output = std::make_shared<std::string>();
    CLI::App& image = *command.add_subcommand(
        "prepare", "Make the image from which runs with this data directory start at once");
    image.add_option("DIR", *directory, "Data directory (holds tab/); else that of --data-dir")
        ->type_name("");
    image
        .add_option("-o,--output", *output,
                    "Write the image to this file; else where runs look for it, tab/orvix.image")
        ->type_name("FILE");
    addDataOption(image, *directory);
    image.callback([directory, output, &status] {
        prepare(*directory, *output);
        status = ExitStatus::done;
    });

    CLI::App& check = *command.add_subcommand(
        "verify", "Say file by file whether a data directory is complete and sound");
    check.add_option("DIR", *directory, "Data directory (holds tab/); else that of --data-dir")
        ->type_name("");
    addDataOption(check, *directory);
    check.footer("Exit status: 0 complete and sound, 1 files are missing or broken.");
    check.callback([directory, &status] { status = verify(*directory); });
    command.require_subcommand(1);
}

}  // namespace orvix::cli
