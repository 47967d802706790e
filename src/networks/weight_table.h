#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "networks/ensemble_pass.h"

namespace orvix::networks {

/// Which table class's rules a weight table is read by.
enum class WeightRules {
    typed,  ///< GDB2: cells are 32-bit floats, a missing column reads 9999.0
    text    ///< GDB: cells at full precision, a missing column reads 0.0
};

/// The rows of a weight table in file order: the columns "1", "2", ... as weights, "b" as bias.
struct WeightTable {
    std::vector<std::vector<double>> weights;
    std::vector<double> bias;
};

/// Reads a weight table through the table class itself, cell by cell: the reference form. Reports
/// and ends the process as the class does.
WeightTable readWeightTablePlain(const std::string& path, WeightRules rules, int columns);

/// The same table, read from the text in one pass. Gives up without a message on anything that the
/// table class might treat in a way of its own: a file that can't be read, a header other than one
/// VARS line before one FORMAT line, integer cells, a table without rows.
std::optional<WeightTable> readWeightTableFast(const std::string& path, WeightRules rules,
                                               int columns, int threads);

/// The fast form, or the plain one where that gives up. `threads` 0 chooses by size.
WeightTable readWeightTable(const std::string& path, WeightRules rules, int columns,
                            int threads = 0);

/// Appends the rows of a table to the members of an ensemble: the first `rows` to member 0 and so
/// on. Rows behind the last member are dropped.
void distributeRows(WeightTable table, std::span<const LayerWeights> members, int rows);

/// Appends a binary weight file (little-endian doubles; per row the bias, then `columns` weights)
/// to the members of an ensemble. The rest of a longer file is not read. A file that ends within a
/// row leaves that row short. False when the file can't be opened.
bool loadBinaryRows(const std::string& path, std::span<const LayerWeights> members, int rows,
                    int columns);

}  // namespace orvix::networks
