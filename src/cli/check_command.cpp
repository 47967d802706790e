#include <CLI/CLI.hpp>
#include <memory>

#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/image_options.h"
#include "cli/import_options.h"
#include "cli/output_options.h"
#include "cli/prediction_options.h"
#include "cli/run_progress.h"
#include "model/model.h"
#include "results/check_report.h"
#include "results/gather.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

struct CheckOptions {
    std::string file;
    bool json = false;
    results::FailOn failOn = results::FailOn::gross;
    std::string dataDirectory;
    ImageOptions image;
    importing::ImportOptions import;
    jobs::Preparation preparation;
};

using results::FailOn;

const std::map<std::string, FailOn> failOnWords = {{"gross", FailOn::gross},
                                                   {"any", FailOn::any},
                                                   {"offset", FailOn::offset},
                                                   {"none", FailOn::none}};

/// What is odd about an input table, in front of the report.
std::string tableRemarks(const jobs::RunInput& input) {
    std::string text;
    for (const std::string& warning : input.tableReport.warnings()) {
        text += (text.empty() ? "Remarks on the table\n  " : "  ") + warning + "\n";
    }
    return text.empty() ? text : text + "\n";
}

ExitStatus check(const CheckOptions& options) {
    const DataDirectory data = findDataDirectory(dataPlaces(options.dataDirectory));
    const jobs::RunInput input =
        jobs::takeInput(options.file, options.import, options.preparation.title);
    tellImport(input);
    RunProgress progress("the report");
    RunControl control;
    control.listener = [&](const Message& message) { progress.hear(message); };
    const std::shared_ptr<const Model> model = modelFor(options.image);
    const Settings settings = jobs::runSettings(options.preparation, data.path, input.title);
    const Prediction run = jobs::namingInput(
        input.file, [&] { return checkShifts(model, input.shifts, settings, control); });
    progress.finish();
    const results::ShiftReport report =
        results::shiftReport(run, *model->table(run.settings.ssLimitFile));
    const results::FindingCounts counts = results::countFindings(report);
    writeResult(options.json
                    ? results::shiftReportText(report, input.file, run.settings.inTitle,
                                               run.seqFirstResid, run.seqLength, counts.all())
                    : tableRemarks(input) +
                          results::checkText(report, input.file, run.seqFirstResid, run.seqLength));
    return results::failsCheck(counts, options.failOn) ? ExitStatus::findings : ExitStatus::done;
}

}  // namespace

void addCheckCommand(CLI::App& command, ExitStatus& status) {
    const auto options = std::make_shared<CheckOptions>();
    command
        .add_option("FILE", options->file,
                    "Shift file: an input table, or any form of orvix import")
        ->required()
        ->type_name("");
    command.add_flag("--json", options->json, "Report as JSON");
    command
        .add_option_function<std::string>(
            "--fail-on",
            [options](const std::string& word) { options->failOn = failOnWords.at(word); },
            "Findings that give status 4: gross (gross outliers, offsets to correct, wrong residue "
            "names), any, offset (offsets to correct), none")
        ->check(CLI::IsMember(failOnWords))
        ->type_name("WHAT")
        ->default_str("gross");
    addDataOption(command, options->dataDirectory);
    addImageOptions(command, options->image);
    addPreparationOptions(command, options->preparation);
    addImportOptions(command, options->import, "Reading FILE (see orvix import)");
    command.footer("Exit status: 0 done, 4 findings (see --fail-on), 3 input rejected.");
    command.callback([options, &status] { status = check(*options); });
}

}  // namespace orvix::cli
