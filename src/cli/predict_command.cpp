#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "base/numbers.h"
#include "base/parallel.h"
#include "base/process.h"
#include "base/text.h"
#include "base/version.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/import_options.h"
#include "cli/library_run.h"
#include "cli/run_input.h"
#include "cli/run_talk.h"
#include "cli/signal_watch.h"
#include "results/output_directory.h"
#include "results/results.h"
#include "run/orvix.h"
#include "structure/pdb.h"

namespace orvix::cli {
namespace {

constexpr const char* tables[] = {"pred.tab",   "predAdjCS.tab", "predABP.tab", "predSS.tab",
                                  "predS2.tab", "predChi1.tab",  "predAll.tab"};
constexpr const char* inputTable = "input.tab";
constexpr const char* importReport = "import.txt";
constexpr const char* runLog = "run.log";

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

std::map<std::string, std::string> settingsOf(const PredictOptions& options, const RunInput& input,
                                              const std::string& data,
                                              const results::OutputDirectory& output) {
    std::map<std::string, std::string> settings = librarySettings(options.preparation, data);
    settings["in"] = input.tableText.empty() ? input.file : output.file(inputTable);
    settings["inTitle"] = input.title;
    settings["sum"] = output.file("pred.tab");
    if (!options.reference.empty()) {
        // The library takes the bare words "none" and "None" for no reference.
        const bool bare = options.reference.find('/') == std::string::npos;
        settings["ref"] = (bare ? "./" : "") + options.reference;
        settings["refTitle"] = simplifyWhiteSpace(
            options.referenceTitle.empty() ? options.reference : options.referenceTitle);
    }
    settings["offset"] = options.offset ? "true" : "";
    settings["noclip"] = options.noClip ? "true" : "";
    settings["s2Thresh"] = options.s2Threshold;
    settings["excl"] = simplifyWhiteSpace(options.exclude);
    settings["count"] = std::to_string(options.count);
    if (options.first) {
        settings["first"] = std::to_string(*options.first);
    }
    if (options.last) {
        settings["last"] = std::to_string(*options.last);
    }
    return settings;
}

nlohmann::ordered_json settingsRecord(const PredictOptions& options, const std::string& data) {
    const auto textOrNull = [](const std::string& text) {
        return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
    };
    nlohmann::ordered_json record;
    record["data_directory"] = data;
    record["reference"] = textOrNull(options.reference);
    record["no_proton"] = options.preparation.noProton;
    record["isotope_correction"] = options.preparation.isotopeCorrection;
    record["offset_correction"] = options.offset;
    record["keep_cysteines"] = options.preparation.keepCysteines;
    record["clip"] = !options.noClip;
    record["s2_threshold"] = textToDouble(options.s2Threshold);
    record["exclude"] = textOrNull(options.exclude);
    record["first"] = options.first ? nlohmann::ordered_json(*options.first) : nullptr;
    record["last"] = options.last ? nlohmann::ordered_json(*options.last) : nullptr;
    record["count"] = options.count;
    return record;
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        throw RunError("can't write " + path);
    }
}

/// The run itself, in the process of the library. Returns how many residues each class has.
std::string runPrediction(LibraryStage& stage, const PredictOptions& options, const RunInput& input,
                          const std::string& data, const results::OutputDirectory& output) {
    const std::map<std::string, std::string> settings = settingsOf(options, input, data, output);
    const ScopedThreadLimit limit(options.threads);

    const auto run = std::make_unique<ORVIX>();
    run->pathSep = "/";
    stage.setReadingInput(true);
    run->setArgs(settings);
    if (run->refPDB != nullptr && (run->refPDB->isNull() || run->refPDB->atoms.empty())) {
        throw InputRejected(options.reference + (run->refPDB->isNull()
                                                     ? ": can't be read"
                                                     : ": no ATOM records found"));
    }
    // The run reads the table first of all; whatever is wrong with it comes up here.
    GDB(run->inFile);
    stage.setReadingInput(false);

    run->orvixPredict();

    for (const char* name : tables) {
        struct stat table {};
        if (stat(output.file(name).c_str(), &table) != 0 || table.st_size == 0) {
            throw RunError(std::string(name) + " was not written");
        }
    }
    if (incompleteFiles() != 0) {
        throw RunError("not all tables could be written to their end; is the disk full?");
    }
    results::ResultsOrigin origin;
    origin.inputFile = input.file;
    if (input.imported) {
        origin.authorNumber = input.imported->authorNumber;
    }
    origin.settings = settingsRecord(options, data);
    writeFile(output.file(results::resultsFile),
              results::recordText(results::resultsRecord(*run, origin)));

    std::map<std::string, int> classes;
    for (const auto& [residue, row] : run->phiPsiRows) {
        ++classes[row.classWord];
    }
    std::string summary = std::to_string(run->phiPsiRows.size()) + " residues";
    for (const char* word : {"Strong", "Generous", "Warn", "Dyn", "Bad", "None"}) {
        if (classes[word] > 0) {
            summary += std::string(", ") + word + " " + std::to_string(classes[word]);
        }
    }
    return summary;
}

std::string logText(const PredictOptions& options, const RunInput& input, const DataDirectory& data,
                    const LibraryOutcome& outcome) {
    std::string text = std::string(programName) + " " + programVersion() + " predict\n";
    text += "Input: " + input.file +
            (input.imported ? ", imported, see " + std::string(importReport) : ", an input table") +
            "\n";
    text += "Data: " + data.path + " (" + data.place + ")\n";
    text += "Settings: " + settingsRecord(options, data.path).dump() + "\n\n";
    return text + outcome.log + "\n" + outcome.result + "\n";
}

void predict(const PredictOptions& options) {
    const DataDirectory data = findDataDirectory(dataPlaces(options.preparation.dataDirectory));
    const RunInput input = takeInput(options.file, options.import, options.preparation.title);
    tellImport(input);
    // Watches from before the first thing that would have to be cleaned up until after the last.
    SignalWatch signals;
    results::OutputDirectory output(options.directory, options.force);
    if (!input.tableText.empty()) {
        writeFile(output.file(inputTable), input.tableText);
    }
    if (input.imported) {
        std::ostringstream report;
        importing::writeImportReport(*input.imported, report);
        writeFile(output.file(importReport), report.str());
    }
    RunTalk talk(runLog);
    const LibraryOutcome outcome = runLibrary(
        [&](LibraryStage& stage) {
            return runPrediction(stage, options, input, data.path, output);
        },
        input.file, talk.listener(), &signals);
    talk.finish();
    writeFile(output.file(runLog), logText(options, input, data, outcome));
    signals.check();
    output.publish();
    std::cerr << programName << ": " << options.directory << ": " << outcome.result << '\n';
}

}  // namespace

void addPredictCommand(CLI::App& app, ExitStatus& status) {
    CLI::App* command =
        app.add_subcommand("predict", "Predict torsion angles, secondary structure and S2");
    const auto options = std::make_shared<PredictOptions>();
    addOptions(*command, *options);
    command->callback([options, &status] {
        predict(*options);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
