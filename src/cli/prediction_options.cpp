#include "cli/prediction_options.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>

#include "base/numbers.h"
#include "base/version.h"
#include "cli/import_options.h"
#include "jobs/known_relatives.h"
#include "search/relatives.h"

namespace orvix::cli {
namespace {

/// Empty for a number from 0 to 1, else what is wrong.
std::string isOrderParameter(const std::string& text) {
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const bool whole = !text.empty() && readDouble(text.data(), end, value) == end;
    return whole && value >= 0.0 && value <= 1.0 ? "" : text + " is not a number from 0 to 1";
}

/// Empty for a percentage that relatives can be asked for, else what is wrong; a file name that
/// stands behind the option is taken for its value.
std::string isRelativePercent(const std::string& text) {
    const int least = static_cast<int>(100 * search::leastRelativeIdentity);
    double value = 0.0;
    const char* const end = text.data() + text.size();
    if (text.empty() || readDouble(text.data(), end, value) != end) {
        return text + " is not a number; name FILE in front of this option";
    }
    return value >= least && value <= 100.0 && value == std::floor(value)
               ? ""
               : text + " is not a whole number from " + std::to_string(least) + " to 100";
}

}  // namespace

void addPreparationOptions(CLI::App& command, jobs::Preparation& preparation) {
    command.add_option("--title", preparation.title, "Title in the tables; FILE if absent")
        ->type_name("TEXT");
    command.add_flag("--no-proton,--noproton", preparation.noProton,
                     "Take HA and HN as missing, work from 13C and 15N alone");
    command.add_flag("--iso", preparation.isotopeCorrection,
                     "Correct CA and CB shifts of a deuterated sample");
    command.add_flag("--keep-cysteines", preparation.keepCysteines,
                     "Keep the cysteine states as given instead of taking them from CB");
}

void addDatabaseOptions(CLI::App& command, jobs::DatabaseChoice& choice) {
    command
        .add_option("--exclude", choice.exclude,
                    "Leave out database proteins whose source occurs in TEXT")
        ->type_name("TEXT");
    command
        .add_option_function<int>(
            "--exclude-relatives", [&choice](int percent) { choice.excludeRelatives = percent; },
            "Leave out database proteins of IDENTITY percent and more (50..100; 90 if absent)")
        ->expected(0, 1)
        ->default_str(std::to_string(jobs::usualRelativePercent))
        ->check(isRelativePercent, "percentage")
        ->type_name("[IDENTITY]");
}

void addPredictionOptions(CLI::App& command, jobs::PredictionOptions& options) {
    command
        .add_option("--ref", options.reference,
                    "Known structure to compare with (PDB or mmCIF, gzip too)")
        ->type_name("FILE");
    command.add_option("--ref-title", options.referenceTitle, "Its title in the tables")
        ->type_name("TEXT");
    addPreparationOptions(command, options.preparation);
    command.add_flag("--offset", options.offset, "Apply the referencing offsets that are found");
    command
        .add_option_function<std::string>(
            "--reference",
            [&options](const std::string& word) { options.autoReference = word == "auto"; },
            "auto: correct the referencing before the run by what orvix check finds; off")
        ->check(CLI::IsMember({"auto", "off"}))
        ->type_name("WORD")
        ->default_str("off");
    command.add_flag("--no-clip", options.noClip, "Keep extreme shifts when shifts are averaged");
    command
        .add_option("--s2-threshold", options.s2Threshold,
                    "Residues with a lower S2 are of class Dyn")
        ->check(isOrderParameter, "number from 0 to 1")
        ->type_name("X")
        ->capture_default_str();
    addDatabaseOptions(command, options);
    command.add_option("--first", options.first, "First residue to predict")->type_name("N");
    command.add_option("--last", options.last, "Last residue to predict")->type_name("N");
    command
        .add_option("--count", options.count,
                    "Best matches that must all agree for the class Generous")
        ->check(CLI::Range(1, 25))
        ->type_name("N")
        ->capture_default_str();
    addImportOptions(command, options.import, "Reading FILE (see orvix import)");
}

jobs::PredictionOptions readPredictionOptions(const jobs::PredictionOptions& common,
                                              const std::vector<std::string>& words) {
    jobs::PredictionOptions options = common;
    CLI::App line;
    line.set_help_flag();
    addPredictionOptions(line, options);
    // CLI11 takes words from the end.
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    line.parse(reversed);
    return options;
}

void tellImport(const jobs::RunInput& input) {
    if (input.imported) {
        std::cerr << programName << ": " << input.file << " read as " << input.imported->format
                  << ", " << input.imported->shifts.size() << " backbone shifts; "
                  << input.imported->fit.text << '\n';
    }
    for (const std::string& warning : input.warnings) {
        std::cerr << programName << ": warning: " << warning << '\n';
    }
}

}  // namespace orvix::cli
