#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "base/text.h"
#include "base/version.h"
#include "base/whole_file.h"
#include "check/check_record.h"
#include "check/check_text.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/image_options.h"
#include "cli/import_options.h"
#include "cli/output_options.h"
#include "cli/prediction_options.h"
#include "cli/prediction_page.h"
#include "cli/run_progress.h"
#include "jobs/known_relatives.h"
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
    bool quick = false;
    std::string page;
    jobs::DatabaseChoice database;
    int threads = 0;
};

using results::FailOn;

const std::map<std::string, FailOn> failOnWords = {{"gross", FailOn::gross},
                                                   {"any", FailOn::any},
                                                   {"offset", FailOn::offset},
                                                   {"none", FailOn::none}};

/// What is odd about an input table, in front of the report.
std::string tableRemarks(const std::vector<std::string>& remarks) {
    std::string text;
    for (const std::string& remark : remarks) {
        text += (text.empty() ? "Remarks on the table\n  " : "  ") + remark + "\n";
    }
    return text.empty() ? text : text + "\n";
}

/// The check beside a prediction; none where it was not asked for, or can't be.
std::optional<check::ShiftCheck> checkByPrediction(const CheckOptions& options,
                                                   const std::shared_ptr<const Model>& model,
                                                   const jobs::RunInput& input,
                                                   const Prediction& checked, Settings settings,
                                                   RunControl control) {
    if (options.quick) {
        return std::nullopt;
    }
    if (!check::hasShiftModel(settings)) {
        std::cerr << programName << ": note: " << settings.tabDir
                  << " holds no shift model; offsets are those of the line over CA - CB\n";
        return std::nullopt;
    }
    // Its warnings have been heard from the check of the shifts alone.
    control.listener = nullptr;
    return jobs::namingInput(input.file, [&] {
        settings.exclList = simplifyWhiteSpace(options.database.exclude);
        if (options.database.excludeRelatives) {
            jobs::findRelatives(*model, checked, options.database.excludeRelatives, settings);
        }
        return check::checkByPrediction(model, input.shifts, settings, control);
    });
}

ExitStatus check(const CheckOptions& options) {
    const DataDirectory data = findDataDirectory(dataPlaces(options.dataDirectory));
    if (!options.page.empty()) {
        requireOutput(options.page, {options.file}, "--report");
    }
    const jobs::RunInput input =
        jobs::takeInput(options.file, options.import, options.preparation.title);
    tellImport(input);
    jobs::requireExclusion(options.database.exclude, data.path);
    RunProgress progress("the report");
    RunControl control;
    control.threads = options.threads;
    control.listener = [&](const Message& message) { progress.hear(message); };
    const std::shared_ptr<const Model> model = modelFor(options.image);
    const Settings settings = jobs::runSettings(options.preparation, data.path, input.title);
    const Prediction run = jobs::namingInput(
        input.file, [&] { return checkShifts(model, input.shifts, settings, control); });
    const std::optional<check::ShiftCheck> deep =
        checkByPrediction(options, model, input, run, settings, control);
    progress.finish();
    const results::ShiftReport report =
        results::shiftReport(run, *model->table(run.settings.ssLimitFile));
    const results::FindingCounts counts =
        deep ? check::countFindings(report, *deep) : results::countFindings(report);
    const std::vector<std::string> remarks = input.tableReport.warnings();
    const nlohmann::ordered_json record = results::shiftReportRecord(
        report, {input.file, run.settings.inTitle, run.seqFirstResid, run.seqLength, remarks},
        counts.all(), deep ? check::checkRecord(*deep) : nlohmann::ordered_json());
    if (!options.page.empty()) {
        writeWholeFile(options.page, checkPage(record));
        std::cerr << programName << ": " << options.page << '\n';
    }
    writeResult(options.json ? results::recordText(record)
                : deep
                    ? tableRemarks(remarks) + check::checkText(report, *deep, input.file)
                    : tableRemarks(remarks) +
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
    command.add_option("--report", options->page, "Write the report as a page to look at")
        ->type_name("FILE");
    command.add_flag("--quick", options->quick,
                     "Without a prediction: no expected shifts, no misassignments");
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
    command
        .add_option("--threads", options->threads, "Most threads to use; all processors if absent")
        ->check(CLI::Range(1, 1024))
        ->type_name("N");
    addDatabaseOptions(command, options->database);
    addPreparationOptions(command, options->preparation);
    addImportOptions(command, options->import, "Reading FILE (see orvix import)");
    command.footer("Exit status: 0 done, 4 findings (see --fail-on), 3 input rejected.");
    command.callback([options, &status] { status = check(*options); });
}

}  // namespace orvix::cli
