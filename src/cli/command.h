#pragma once

#include <stdexcept>

namespace CLI {
class App;
}

namespace orvix::cli {

/// Exit statuses of the companion program; every subcommand keeps to them.
enum class ExitStatus { done = 0, runError = 1, usageError = 2, inputRejected = 3, findings = 4 };

/// The input can't be used as it is: the message names file, line where there is one, and what was
/// expected. Ends a command with status 3.
class InputRejected : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Something around the run failed (a file can't be written, the data directory is not there). Ends
/// a command with status 1.
class RunError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Adds a subcommand to the program. Its callback sets `status` and may throw the errors above.
void addImportCommand(CLI::App& app, ExitStatus& status);
void addPredictCommand(CLI::App& app, ExitStatus& status);
void addCheckCommand(CLI::App& app, ExitStatus& status);
void addExportCommand(CLI::App& app, ExitStatus& status);

}  // namespace orvix::cli
