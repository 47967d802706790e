#pragma once

#include <string>

#include "results/finished_prediction.h"

namespace orvix::results {

/// Whether `path` is a directory with a summary table and no results file, as orvixn leaves it.
bool holdsTablesOnly(const std::string& path);

/// What the result tables of a directory say: angles, classes, structure, order parameters and
/// rotamers. What stands in no table is empty. Throws InputRejected for a summary table without
/// rows.
FinishedPrediction readTables(const std::string& directory);

}  // namespace orvix::results
