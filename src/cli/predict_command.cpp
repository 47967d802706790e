#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>

#include "base/version.h"
#include "base/whole_file.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/image_options.h"
#include "cli/prediction_options.h"
#include "cli/prediction_page.h"
#include "cli/run_progress.h"
#include "cli/stop_signals.h"
#include "cli/writing_time.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

struct PredictOptions {
    std::string file, directory, dataDirectory;
    ImageOptions image;
    bool force = false, report = false;
    jobs::PredictionOptions prediction;
    int threads = 0;
};

void addOptions(CLI::App& command, PredictOptions& options) {
    command
        .add_option("FILE", options.file, "Shift file: an input table, or any form of orvix import")
        ->required()
        ->type_name("");
    command.add_option("-o,--output", options.directory, "Directory of the results")
        ->required()
        ->type_name("DIR");
    command.add_flag("--force", options.force, "Replace DIR if it holds an earlier prediction");
    command.add_flag("--report", options.report,
                     "Add report.html, the page of orvix report, to the results");
    addDataOption(command, options.dataDirectory);
    addImageOptions(command, options.image);
    command
        .add_option("--threads", options.threads, "Most threads to use; all processors if absent")
        ->check(CLI::Range(1, 1024))
        ->type_name("N");
    addPredictionOptions(command, options.prediction);
}

void predictInto(results::OutputDirectory& output, const PredictOptions& options,
                 const jobs::RunInput& input, const DataDirectory& data,
                 const StopSignals& signals) {
    RunProgress progress(jobs::runLogFile);
    RunControl control;
    control.stop = signals.token();
    control.threads = options.threads;
    control.listener = [&](const Message& message) { progress.hear(message); };
    const jobs::PredictionOutcome outcome = jobs::predictInput(
        modelFor(options.image), input, options.prediction, {data.path, data.place}, control);
    progress.finish();
    jobs::writeFiles(output, outcome);
    if (options.report) {
        const std::string name =
            (std::filesystem::path(options.directory) / results::resultsFile).string();
        writeWholeFile(output.file(pageFile), predictionPage(results::resultsText(outcome.finished),
                                                             name, writingTime() + "Z"));
    }
    signals.check();
    output.publish();
    for (const std::string& note : outcome.notes) {
        std::cerr << programName << ": note: " << note << '\n';
    }
    std::cerr << programName << ": results in " << options.directory << '\n';
    for (const std::string& line : outcome.words) {
        std::cerr << line << '\n';
    }
}

void predict(const PredictOptions& options) {
    if (options.directory.empty()) {
        throw CLI::ValidationError("--output", "the name of the directory of the results is empty");
    }
    const DataDirectory data = findDataDirectory(dataPlaces(options.dataDirectory));
    const jobs::RunInput input = jobs::takeInput(options.file, options.prediction.import,
                                                 options.prediction.preparation.title);
    tellImport(input);
    jobs::requireExclusion(options.prediction.exclude, data.path);
    // Watches from before the first thing that would have to be cleaned up until after the last.
    const StopSignals signals;
    results::OutputDirectory output(options.directory, options.force);
    try {
        predictInto(output, options, input, data, signals);
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
