#include "companion/command.h"

#include <CLI/CLI.hpp>

void orvix::addPredictCommand(CLI::App& app, ExitStatus& status) {
    app.add_subcommand("predict")->callback([&status] { status = ExitStatus::runError; });
}
