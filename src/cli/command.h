#pragma once

#include "base/run_end.h"

namespace CLI {
class App;
}

namespace orvix::cli {

/// Exit statuses of the program; every subcommand keeps to them.
enum class ExitStatus {
    done = 0,
    runError = 1,
    usageError = 2,
    inputRejected = 3,
    findings = 4,
    someFailed = 5
};

/// Fill an empty subcommand with its options and its callback, which sets `status` and may throw
/// any RunEnd. The table of program.cpp has a row for each.
void addImportCommand(CLI::App& command, ExitStatus& status);
void addCheckCommand(CLI::App& command, ExitStatus& status);
void addPredictCommand(CLI::App& command, ExitStatus& status);
void addShowCommand(CLI::App& command, ExitStatus& status);
void addReportCommand(CLI::App& command, ExitStatus& status);
void addCompareCommand(CLI::App& command, ExitStatus& status);
void addExportCommand(CLI::App& command, ExitStatus& status);
void addBatchCommand(CLI::App& command, ExitStatus& status);
void addCollectCommand(CLI::App& command, ExitStatus& status);
void addProfileCommand(CLI::App& command, ExitStatus& status);
void addDataCommand(CLI::App& command, ExitStatus& status);

}  // namespace orvix::cli
