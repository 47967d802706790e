#include "companion/command.h"

#include <CLI/CLI.hpp>

void orvix::addExportCommand(CLI::App& app, ExitStatus& status) {
    app.add_subcommand("export")->callback([&status] { status = ExitStatus::runError; });
}
