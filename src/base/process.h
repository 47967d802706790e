#pragma once

#include <cstdio>
#include <string>

namespace orvix {

/// Flushes a file that was written; when any of it did not reach the disk, says so on the run's
/// warnings.
void finishFile(std::FILE* file, const std::string& name);

}  // namespace orvix
