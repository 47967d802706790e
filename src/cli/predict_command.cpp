#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>

#include "base/numbers.h"
#include "base/text.h"
#include "base/version.h"
#include "base/whole_file.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/import_options.h"
#include "cli/plain_words.h"
#include "cli/run_input.h"
#include "cli/run_progress.h"
#include "cli/stop_signals.h"
#include "model/model.h"
#include "results/gather.h"
#include "results/output_directory.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

constexpr const char* inputTable = "input.tab";
constexpr const char* importReport = "import.txt";
constexpr const char* runLog = "run.log";
/// More residues of another name than this make the angles of a run worthless.
constexpr std::size_t toleratedMismatches = 4;

struct PredictOptions {
    std::string file, directory;
    bool force = false;
    importing::ImportOptions import;
    PreparationOptions preparation;
    std::string reference, referenceTitle;
    bool offset = false, noClip = false;
    std::string s2Threshold = "0.6";
    std::string exclude;
    std::optional<int> first, last;
    int count = 10;
    int threads = 0;
};

/// Empty for a number from 0 to 1, else what is wrong.
std::string isOrderParameter(const std::string& text) {
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const bool whole = !text.empty() && readDouble(text.data(), end, value) == end;
    return whole && value >= 0.0 && value <= 1.0 ? "" : text + " is not a number from 0 to 1";
}

void addOptions(CLI::App& command, PredictOptions& options) {
    command
        .add_option("FILE", options.file, "Shift file: an input table, or any form of orvix import")
        ->required()
        ->type_name("");
    command.add_option("-o,--output", options.directory, "Directory of the results")
        ->required()
        ->type_name("DIR");
    command.add_flag("--force", options.force, "Replace DIR if it holds an earlier prediction");
    command
        .add_option("--ref", options.reference,
                    "Known structure to compare with (PDB format, first chain)")
        ->type_name("FILE");
    command.add_option("--ref-title", options.referenceTitle, "Its title in the tables")
        ->type_name("TEXT");
    addPreparationOptions(command, options.preparation);
    command.add_flag("--offset", options.offset, "Apply the referencing offsets that are found");
    command.add_flag("--no-clip", options.noClip, "Keep extreme shifts when shifts are averaged");
    command
        .add_option("--s2-threshold", options.s2Threshold,
                    "Residues with a lower S2 are of class Dyn")
        ->check(isOrderParameter, "number from 0 to 1")
        ->type_name("X")
        ->capture_default_str();
    command
        .add_option("--exclude", options.exclude,
                    "Leave out database proteins whose source occurs in TEXT")
        ->type_name("TEXT");
    command.add_option("--first", options.first, "First residue to predict")->type_name("N");
    command.add_option("--last", options.last, "Last residue to predict")->type_name("N");
    command.add_option("--count", options.count, "Matches that a residue needs to count as served")
        ->check(CLI::Range(1, 25))
        ->type_name("N")
        ->capture_default_str();
    command
        .add_option("--threads", options.threads, "Most threads to use; all processors if absent")
        ->check(CLI::Range(1, 1024))
        ->type_name("N");
    addImportOptions(command, options.import, "Reading FILE (see orvix import)");
}

Settings settingsOf(const PredictOptions& options, const RunInput& input, const std::string& data) {
    Settings settings = runSettings(options.preparation, data, input.title);
    if (!options.reference.empty()) {
        settings.refFile = options.reference;
        settings.refTitle = simplifyWhiteSpace(
            options.referenceTitle.empty() ? options.reference : options.referenceTitle);
    }
    settings.offsetCorrect = options.offset;
    settings.clip = !options.noClip;
    settings.s2Limit = 1.0 - textToDouble(options.s2Threshold);
    settings.exclList = simplifyWhiteSpace(options.exclude);
    settings.count = options.count;
    settings.firstResid = options.first.value_or(settings.firstResid);
    settings.lastResid = options.last.value_or(settings.lastResid);
    return settings;
}

results::FinishedSettings recordedSettings(const PredictOptions& options, const std::string& data) {
    results::FinishedSettings settings;
    settings.dataDirectory = data;
    settings.reference = options.reference;
    settings.noProton = options.preparation.noProton;
    settings.isotopeCorrection = options.preparation.isotopeCorrection;
    settings.offsetCorrection = options.offset;
    settings.keepCysteines = options.preparation.keepCysteines;
    settings.clip = !options.noClip;
    settings.s2Threshold = textToDouble(options.s2Threshold);
    settings.exclude = options.exclude;
    settings.first = options.first;
    settings.last = options.last;
    settings.count = options.count;
    return settings;
}

std::string logText(const RunInput& input, const DataDirectory& data,
                    const results::FinishedSettings& settings, const Prediction& prediction,
                    const std::vector<std::string>& words) {
    std::string text = std::string(programName) + " " + programVersion() + " predict\n";
    text += "Input: " + input.file +
            (input.imported ? ", imported, see " + std::string(importReport) : ", an input table") +
            "\n";
    text += "Data: " + data.path + " (" + data.place + ")\n";
    text += "Settings: " + results::settingsText(settings) + "\n\n";
    for (const Message& message : prediction.messages) {
        text += message.text;
    }
    text += '\n';
    for (const std::string& line : words) {
        text += line + '\n';
    }
    return text;
}

/// Refuses shifts that belong to another sequence before the long part of the run.
void requireMatchingNames(const Prediction& checked, const results::ShiftReport& report,
                          const std::string& file) {
    if (report.mismatches.size() > toleratedMismatches) {
        std::string list;
        for (std::size_t i = 0; i < toleratedMismatches; ++i) {
            const results::NameMismatch& one = report.mismatches[i];
            list += (i > 0 ? ", " : "") + std::to_string(one.residue) + " " + one.tableName +
                    " (sequence " + (one.sequenceName.empty() ? "-" : one.sequenceName) + ")";
        }
        throw InputRejected(
            file + ": the residue names of " + std::to_string(report.mismatches.size()) + " of " +
            std::to_string(checked.seqLength) + " residues are not those of the sequence: " + list +
            ", ...; check the sequence and its first residue");
    }
}

/// Refuses a range of residues that holds none, and tells of one that goes beyond the sequence.
void checkRange(const PredictOptions& options, const Prediction& checked) {
    const int begin = checked.seqFirstResid, end = begin + checked.seqLength - 1;
    const int first = options.first.value_or(begin), last = options.last.value_or(end);
    const auto range = [](int from, int to) {
        return std::to_string(from) + " to " + std::to_string(to);
    };
    const bool outside = first > end || last < begin;
    if (first > last || outside) {
        throw RunEnd(EndReason::usage,
                     "--first, --last: residues " + range(first, last) +
                         (!outside ? " are in the wrong order"
                                   : " are outside of the sequence, " + range(begin, end)));
    }
    if (first < begin || last > end) {
        std::cerr << programName << ": note: the sequence has residues " << range(begin, end)
                  << "; the range is cut to that\n";
    }
}

/// Refuses an exclusion that leaves out nothing: most likely it is misspelt.
void checkExclusion(const PredictOptions& options, const std::string& database) {
    const std::string excluded = simplifyWhiteSpace(options.exclude);
    if (excluded.empty()) {
        return;
    }
    std::ifstream rows(database);
    std::string source, before;
    while (rows >> source) {
        rows.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        if (source != before && excluded.find(source) != std::string::npos) {
            return;
        }
        before.swap(source);
    }
    throw RunEnd(EndReason::usage, "--exclude: no source of the database occurs in \"" + excluded +
                                       "\"; sources are whole words as in the table of matches");
}

void writeTables(const results::OutputDirectory& output, const Prediction& prediction) {
    for (const ResultTable table : resultTables) {
        writeWholeFile(output.file(tableFileName(table)), tableText(prediction, table));
    }
}

void predictInto(results::OutputDirectory& output, const PredictOptions& options,
                 const RunInput& input, const DataDirectory& data, const StopSignals& signals) {
    RunProgress progress(runLog);
    RunControl control;
    control.stop = signals.token();
    control.threads = options.threads;
    const auto model = std::make_shared<const Model>();
    const Settings settings = settingsOf(options, input, data.path);
    {
        const Prediction checked = checkShifts(model, input.shifts, settings, control);
        checkRange(options, checked);
        checkExclusion(options, checked.settings.dbFile);
        requireMatchingNames(
            checked, results::shiftReport(checked, *model->table(checked.settings.ssLimitFile)),
            input.file);
    }
    control.listener = [&](const Message& message) { progress.hear(message); };
    const Prediction prediction = orvix::predict(model, input.shifts, settings, control);
    progress.finish();

    results::ResultsOrigin origin;
    origin.inputFile = input.file;
    if (input.imported) {
        origin.authorNumber = input.imported->authorNumber;
    }
    origin.settings = recordedSettings(options, data.path);
    const results::FinishedPrediction finished = results::finishedPrediction(
        prediction, origin, *model->table(prediction.settings.ssLimitFile));
    const std::vector<std::string> words = plainWords(finished);

    if (!input.tableText.empty()) {
        writeWholeFile(output.file(inputTable), input.tableText);
    }
    if (input.imported) {
        std::ostringstream report;
        importing::writeImportReport(*input.imported, report);
        writeWholeFile(output.file(importReport), report.str());
    }
    writeTables(output, prediction);
    writeWholeFile(output.file(std::string(results::resultsFile)), results::resultsText(finished));
    writeWholeFile(output.file(runLog), logText(input, data, origin.settings, prediction, words));
    signals.check();
    output.publish();
    std::cerr << programName << ": results in " << options.directory << '\n';
    for (const std::string& line : words) {
        std::cerr << line << '\n';
    }
}

void predict(const PredictOptions& options) {
    if (options.directory.empty()) {
        throw CLI::ValidationError("--output", "the name of the directory of the results is empty");
    }
    const DataDirectory data = findDataDirectory(dataPlaces(options.preparation.dataDirectory));
    const RunInput input = takeInput(options.file, options.import, options.preparation.title);
    tellImport(input);
    // Watches from before the first thing that would have to be cleaned up until after the last.
    const StopSignals signals;
    results::OutputDirectory output(options.directory, options.force);
    try {
        namingInput(input.file, [&] { predictInto(output, options, input, data, signals); });
    } catch (const RunEnd&) {
        signals.check();
        throw;
    }
}

}  // namespace

void addPredictCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<PredictOptions>();
    addOptions(command, *options);
    command.callback([options, &status] {
        predict(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
