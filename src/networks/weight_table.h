#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvix::networks {

/// Which table class's rules a weight table is read by.
enum class WeightRules {
    typed,  ///< GDB2: cells are 32-bit floats, a missing column reads 9999.0
    text    ///< GDB: cells at full precision, a missing column reads 0.0
};

/// The rows of a weight table in file order: the columns "1", "2", ... as weights, "b" as bias.
struct WeightTable {
    std::size_t columns = 0;                  ///< weights in a row
    std::vector<std::vector<double>> blocks;  ///< whole rows, one behind the other
    std::vector<double> bias;                 ///< one for each row

    std::size_t rowCount() const { return bias.size(); }
    /// The first weight of each row; valid as long as the blocks are.
    std::vector<const double*> rows() const;
    /// Appends a row to the last block. `weights` holds `columns` values.
    void addRow(std::span<const double> weights, double rowBias);
    /// Makes room for `count` more rows in one block.
    void reserve(std::size_t count);
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

}  // namespace orvix::networks
