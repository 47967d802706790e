#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/missing.h"
#include "cli/command.h"
#include "cli/output_options.h"
#include "cli/show_text.h"
#include "results/results_file.h"
#include "results/tables_reader.h"
#include "structure/pdb.h"

namespace orvix::cli {
namespace {

struct ShowOptions {
    std::string directory, reference, colour = "auto";
    bool wide = false;
};

/// Colours for a person at a terminal who does not object (see no-color.org).
bool wantsColours(const std::string& colour) {
    if (colour != "auto") {
        return colour == "always";
    }
    const char* const refused = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && (refused == nullptr || *refused == '\0') &&
           terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

/// Replaces the angles of the reference by those of a structure with the numbers of the table.
void takeReference(results::FinishedPrediction& prediction, const std::string& file) {
    PDB structure(file);
    if (structure.isNull() || structure.atoms.empty()) {
        throw InputRejected(file +
                            (structure.isNull() ? ": can't be read" : ": no ATOM records found"));
    }
    const auto known = [](float angle) {
        return static_cast<double>(angle) < missingLimit
                   ? std::optional<double>(static_cast<double>(angle))
                   : std::nullopt;
    };
    for (auto& [number, residue] : prediction.residues) {
        const results::FinishedReference angles = {known(structure.getPhi(1, number)),
                                                   known(structure.getPsi(1, number)),
                                                   known(structure.getChi1(1, number))};
        residue.reference =
            angles.phi || angles.psi || angles.chi1 ? std::optional(angles) : std::nullopt;
    }
}

void show(const ShowOptions& options) {
    results::FinishedPrediction prediction =
        results::holdsTablesOnly(options.directory)
            ? results::readTables(options.directory)
            : results::readFinishedPrediction(options.directory);
    if (!options.reference.empty()) {
        takeReference(prediction, options.reference);
    }
    writeResult(showText(prediction, {options.wide, wantsColours(options.colour)}));
}

}  // namespace

void addShowCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<ShowOptions>();
    command
        .add_option("DIR", options->directory,
                    "Directory of orvix predict, its results.json, or a directory with the tables "
                    "of orvixn")
        ->required()
        ->type_name("");
    command
        .add_option("--ref", options->reference,
                    "Known structure to show beside it (PDB format, first chain, numbers of the "
                    "table)")
        ->type_name("FILE");
    command.add_flag("--wide", options->wide, "All quantities, lines of more than 80 columns");
    command
        .add_option("--color,--colour", options->colour,
                    "auto (on a terminal, unless NO_COLOR is set), always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->type_name("WHEN")
        ->capture_default_str();
    command.callback([options, &status] {
        show(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
