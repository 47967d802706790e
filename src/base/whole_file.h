#pragma once

#include <string>
#include <string_view>

namespace orvix {

/// Puts `content` at `path` whole or not at all: it is written to a file beside it, which then
/// takes the name. A link is followed; a device or a pipe, which can't be replaced, is written to.
/// Signals that end the process wait until nothing is left half done. Throws RunError with path and
/// cause.
void writeWholeFile(const std::string& path, std::string_view content);

/// Writes `content` to the file that is open as `descriptor`, however many calls it takes. False,
/// with the cause in `errno`, when not all of it could be written.
bool writeAll(int descriptor, std::string_view content);

}  // namespace orvix
