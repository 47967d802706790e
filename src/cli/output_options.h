#pragma once

#include <string>
#include <vector>

namespace orvix::cli {

/// Ends with a usage error when `output`, the value of `option`, is empty or a directory, or is one
/// of `inputs`, which would be overwritten.
void requireOutput(const std::string& output, const std::vector<std::string>& inputs,
                   const std::string& option = "--output");

/// Whether two names lead to one file, whether or not it is there yet.
bool sameFile(const std::string& a, const std::string& b);

/// Writes a result to the standard output. Throws RunError when it can't be taken; ends the process
/// as a closed pipe does when nobody reads it any more.
void writeResult(const std::string& text);

}  // namespace orvix::cli
