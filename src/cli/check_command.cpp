#include <sys/mman.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>

#include "cli/check_report.h"
#include "cli/command.h"
#include "cli/data_directory.h"
#include "cli/import_options.h"
#include "cli/library_run.h"
#include "cli/run_input.h"
#include "cli/run_talk.h"
#include "results/results.h"
#include "run/orvix.h"

namespace orvix::cli {
namespace {

struct CheckOptions {
    std::string file;
    bool json = false;
    importing::ImportOptions import;
    PreparationOptions preparation;
};

/// A table in memory that the library can open by path. The path holds for child processes too.
class MemoryTable {
  public:
    explicit MemoryTable(const std::string& bytes) : descriptor_(memfd_create("input.tab", 0)) {
        std::size_t done = 0;
        while (descriptor_ >= 0 && done < bytes.size()) {
            const ssize_t n = write(descriptor_, bytes.data() + done, bytes.size() - done);
            if (n <= 0 && errno != EINTR) {
                break;
            }
            done += n > 0 ? static_cast<std::size_t>(n) : 0;
        }
        if (descriptor_ < 0 || done < bytes.size()) {
            throw RunError(std::string("can't keep the imported table: ") + std::strerror(errno));
        }
    }
    ~MemoryTable() { close(descriptor_); }
    MemoryTable(const MemoryTable&) = delete;
    MemoryTable& operator=(const MemoryTable&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_;
};

ExitStatus check(const CheckOptions& options) {
    const DataDirectory data = findDataDirectory(dataPlaces(options.preparation.dataDirectory));
    const RunInput input = takeInput(options.file, options.import, options.preparation.title);
    tellImport(input);
    std::unique_ptr<MemoryTable> table;
    if (!input.tableText.empty()) {
        table = std::make_unique<MemoryTable>(input.tableText);
    }
    RunTalk talk("the report");
    // The report, behind a first letter that tells whether there are findings.
    const LibraryOutcome outcome = runLibrary(
        [&](LibraryStage& stage) {
            std::map<std::string, std::string> settings =
                librarySettings(options.preparation, data.path);
            settings["in"] = table ? table->path() : input.file;
            settings["inTitle"] = input.title;
            const auto run = std::make_unique<ORVIX>();
            run->pathSep = "/";
            run->setArgs(settings);
            stage.setReadingInput(true);
            GDB(run->inFile);
            stage.setReadingInput(false);
            run->init();
            run->prepareShifts();
            return (findingsOf(*run) > 0 ? "+" : "-") +
                   (options.json ? results::recordText(checkRecord(*run, input.file))
                                 : checkText(*run, input.file));
        },
        input.file, talk.listener());
    talk.finish();
    std::cout << outcome.result.substr(1);
    return outcome.result[0] == '+' ? ExitStatus::findings : ExitStatus::done;
}

}  // namespace

void addCheckCommand(CLI::App& app, ExitStatus& status) {
    CLI::App* command = app.add_subcommand(
        "check", "Check shifts for outliers, referencing offsets and completeness");
    const auto options = std::make_shared<CheckOptions>();
    command
        ->add_option("FILE", options->file,
                     "Shift file: an input table, or any form of orvix import")
        ->required()
        ->type_name("");
    command->add_flag("--json", options->json, "Report as JSON");
    addPreparationOptions(*command, options->preparation);
    addImportOptions(*command, options->import, "Reading FILE (see orvix import)");
    command->footer("Exit status: 0 no findings, 4 findings, 3 input rejected.");
    command->callback([options, &status] { status = check(*options); });
}

}  // namespace orvix::cli
