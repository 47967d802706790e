#pragma once

#include <string>

namespace orvix {

/// Ends the process: writes `errorText` as it stands to the standard error stream, flushes both
/// standard streams and leaves with `status`. The only way in which this library ends a process.
[[noreturn]] void endProcess(int status, const std::string& errorText = std::string());

}  // namespace orvix
