#include "companion/command.h"

#include <CLI/CLI.hpp>

void orvix::addImportCommand(CLI::App& app, ExitStatus& status) {
    app.add_subcommand("import")->callback([&status] { status = ExitStatus::runError; });
}
