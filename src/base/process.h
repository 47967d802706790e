#pragma once

#include <cstdio>
#include <string>

namespace orvix {

/// Ends the process: writes `errorText` as it stands to the standard error stream, flushes both
/// standard streams and leaves with `status`. The only way in which this library ends a process.
[[noreturn]] void endProcess(int status, const std::string& errorText = std::string());

/// Called by endProcess ahead of everything else; may end the process itself, in its own way. Must
/// not throw: an end can come from within a parallel region.
using EndHandler = void (*)(int status, const std::string& errorText);

/// Sets the handler, null for none, for programs that run the library and have to tell a finished
/// run from one that ended early. Returns the one before.
EndHandler setEndHandler(EndHandler handler);

/// Flushes a file that was written; when any of it did not reach the disk, says so on the standard
/// error stream and counts it.
void finishFile(std::FILE* file, const std::string& name);

/// How many files `finishFile` found incomplete.
int incompleteFiles();

}  // namespace orvix
