#include <CLI/CLI.hpp>
#include <memory>

#include "cli/check_report.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/import_options.h"
#include "cli/output_options.h"
#include "cli/run_input.h"
#include "cli/run_progress.h"
#include "model/model.h"
#include "results/gather.h"
#include "results/results_file.h"

namespace orvix::cli {
namespace {

struct CheckOptions {
    std::string file;
    bool json = false;
    FailOn failOn = FailOn::gross;
    importing::ImportOptions import;
    PreparationOptions preparation;
};

const std::map<std::string, FailOn> failOnWords = {{"gross", FailOn::gross},
                                                   {"any", FailOn::any},
                                                   {"offset", FailOn::offset},
                                                   {"none", FailOn::none}};

ExitStatus check(const CheckOptions& options) {
    const DataDirectory data = findDataDirectory(dataPlaces(options.preparation.dataDirectory));
    const RunInput input = takeInput(options.file, options.import, options.preparation.title);
    tellImport(input);
    RunProgress progress("the report");
    RunControl control;
    control.listener = [&](const Message& message) { progress.hear(message); };
    const auto model = std::make_shared<const Model>();
    const Settings settings = runSettings(options.preparation, data.path, input.title);
    const Prediction run = namingInput(
        input.file, [&] { return checkShifts(model, input.shifts, settings, control); });
    progress.finish();
    const results::ShiftReport report =
        results::shiftReport(run, *model->table(run.settings.ssLimitFile));
    const FindingCounts counts = countFindings(report);
    writeResult(options.json
                    ? results::shiftReportText(report, input.file, run.settings.inTitle,
                                               run.seqFirstResid, run.seqLength, counts.all())
                    : checkText(report, input.file, run.seqFirstResid, run.seqLength));
    return failsCheck(counts, options.failOn) ? ExitStatus::findings : ExitStatus::done;
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
    addPreparationOptions(command, options->preparation);
    addImportOptions(command, options->import, "Reading FILE (see orvix import)");
    command.footer("Exit status: 0 done, 4 findings (see --fail-on), 3 input rejected.");
    command.callback([options, &status] { status = check(*options); });
}

}  // namespace orvix::cli
