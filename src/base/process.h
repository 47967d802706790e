#pragma once

#include <cstdio>
#include <string>

namespace orvix {

/// Flushes a file that was written; when any of it did not reach the disk, says so on the run's
/// warnings and counts it.
void finishFile(std::FILE* file, const std::string& name);

/// How many files `finishFile` found incomplete on the calling thread.
int incompleteFiles();

}  // namespace orvix
