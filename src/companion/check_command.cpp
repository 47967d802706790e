#include "companion/command.h"

#include <CLI/CLI.hpp>

void orvix::addCheckCommand(CLI::App& app, ExitStatus& status) {
    app.add_subcommand("check")->callback([&status] { status = ExitStatus::runError; });
}
