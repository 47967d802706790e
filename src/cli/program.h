#pragma once

namespace orvix::cli {

/// The whole companion program: reads the command line, runs the subcommand, returns the exit
/// status. Nothing is thrown. An interrupted run ends the process by the signal that came.
int runProgram(int argc, const char* const* argv) noexcept;

}  // namespace orvix::cli
