#pragma once

#include <string>
#include <vector>

#include "batch/database_file.h"

namespace orvix::batch {

/// Joins stores into a new one at `output`, which appears whole or not at all. A protein that
/// several stores hold from the same input and options comes in once; with different ones it is an
/// error. A failure counts only where no store has the protein. Throws RunError.
void collectStores(const std::vector<std::string>& stores, const std::string& output);

/// How an export writes its tables.
enum class ExportFormat { csv, jsonl };

/// Writes each table of a store to a file of its name in `directory`: CSV with a line of names (no
/// value: an empty field), or one JSON object a line. Rows stand in the order of the jobs, then of
/// the keys of their table, so that the files depend on the proteins alone. Throws RunError.
void exportStore(const std::string& store, ExportFormat format, const std::string& directory);

}  // namespace orvix::batch
