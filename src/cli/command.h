#pragma once

#include "base/run_end.h"

namespace CLI {
class App;
}

namespace orvix::cli {

/// Exit statuses of the companion program; every subcommand keeps to them.
enum class ExitStatus { done = 0, runError = 1, usageError = 2, inputRejected = 3, findings = 4 };

/// Adds a subcommand to the program. Its callback sets `status` and may throw the errors above.
void addImportCommand(CLI::App& app, ExitStatus& status);
void addPredictCommand(CLI::App& app, ExitStatus& status);
void addCheckCommand(CLI::App& app, ExitStatus& status);
void addExportCommand(CLI::App& app, ExitStatus& status);

}  // namespace orvix::cli
