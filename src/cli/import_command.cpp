#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "base/whole_file.h"
#include "cli/command.h"
#include "cli/import_options.h"
#include "cli/output_options.h"
#include "import/shift_import.h"

namespace orvix::cli {

namespace {

struct ImportArguments {
    std::string file;
    std::optional<std::string> output, report;
    bool fullReport = false;
    importing::ImportOptions options;
};

// Items of one kind that a terminal shows.
constexpr std::size_t terminalItems = 10;

void run(const ImportArguments& arguments) {
    if (arguments.output) {
        requireOutput(*arguments.output, {arguments.file});
    }
    if (arguments.report) {
        requireOutput(*arguments.report, {arguments.file}, "--report");
        if (arguments.output && sameFile(*arguments.report, *arguments.output)) {
            throw CLI::ValidationError("--report", "is the file that the table goes to");
        }
    }
    const importing::ImportedTable table =
        importing::importShifts(arguments.file, arguments.options);
    std::ostringstream text;
    importing::writeShiftTable(table, text);
    std::ostringstream report;
    const bool whole = arguments.report || arguments.fullReport || isatty(STDERR_FILENO) == 0;
    importing::writeImportReport(table, report, whole ? 0 : terminalItems);
    if (arguments.report) {
        writeWholeFile(*arguments.report, report.str());
    } else {
        std::cerr << report.str();
    }
    if (arguments.output) {
        writeWholeFile(*arguments.output, text.str());
    } else {
        writeResult(text.str());
    }
}

}  // namespace

void addImportCommand(CLI::App& command, ExitStatus& status) {
    auto arguments = std::make_shared<ImportArguments>();
    command
        .add_option("FILE", arguments->file, "Shift file, plain or gzip; - for the standard input")
        ->required();
    command.add_option("-o,--output", arguments->output, "Write the table here, not to the screen");
    command.add_option("--report", arguments->report,
                       "Write the whole report here, not to standard error");
    command.add_flag("--full-report", arguments->fullReport,
                     "Show every item of the report on a terminal too");
    addImportOptions(command, arguments->options);
    command.callback([arguments, &status] {
        run(*arguments);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
