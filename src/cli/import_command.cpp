#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "cli/command.h"
#include "cli/import_options.h"
#include "import/shift_import.h"

namespace orvix::cli {

namespace {

struct ImportArguments {
    std::string file;
    std::string output;
    std::string report;
    bool fullReport = false;
    importing::ImportOptions options;
};

// Items of one kind that a terminal shows.
constexpr std::size_t terminalItems = 10;

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        throw RunError(path + ": can't be written");
    }
}

bool sameFile(const std::string& a, const std::string& b) {
    std::error_code failure;
    return std::filesystem::equivalent(a, b, failure) && !failure;
}

void run(const ImportArguments& arguments) {
    for (const std::string& path : {arguments.output, arguments.report}) {
        if (!path.empty() && sameFile(path, arguments.file)) {
            throw RunError(path + ": is the input and would be overwritten");
        }
    }
    const importing::ImportedTable table =
        importing::importShifts(arguments.file, arguments.options);
    std::ostringstream text;
    importing::writeShiftTable(table, text);
    if (arguments.report.empty()) {
        const bool whole = arguments.fullReport || isatty(STDERR_FILENO) == 0;
        importing::writeImportReport(table, std::cerr, whole ? 0 : terminalItems);
    } else {
        std::ostringstream report;
        importing::writeImportReport(table, report);
        writeFile(arguments.report, report.str());
    }
    if (!arguments.output.empty()) {
        writeFile(arguments.output, text.str());
        return;
    }
    std::cout << text.str() << std::flush;
    if (!std::cout) {
        throw RunError("the standard output can't be written");
    }
}

}  // namespace

void addImportCommand(CLI::App& app, ExitStatus& status) {
    auto arguments = std::make_shared<ImportArguments>();
    CLI::App* command = app.add_subcommand(
        "import",
        "Turn a shift file (NMR-STAR 3 and 2.1, NEF, XEASY/CYANA, Sparky, CSV) into an "
        "input table");
    command->add_option("FILE", arguments->file, "Shift file, plain or gzip")->required();
    command->add_option("-o,--output", arguments->output,
                        "Write the table here, not to the screen");
    command->add_option("--report", arguments->report,
                        "Write the whole report here, not to standard error");
    command->add_flag("--full-report", arguments->fullReport,
                      "Show every item of the report on a terminal too");
    addImportOptions(*command, arguments->options);
    command->callback([arguments, &status] {
        run(*arguments);
        status = ExitStatus::done;
    });
}

}  // namespace orvix::cli
