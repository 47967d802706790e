#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <vector>

#include "networks/ensemble_pass.h"
#include "networks/weight_table.h"

namespace orvix::networks {

using WeightRows = std::map<int, std::vector<double>>;

/// One layer as the network classes keep it: rows by number from 0, and biases.
struct LayerWeights {
    WeightRows* rows = nullptr;
    std::vector<double>* bias = nullptr;
};

/// A layer over such containers, valid as long as they don't change. Rows with other numbers than
/// 0 to their count - 1 are left out; a row that is missing counts as empty.
Layer viewLayer(const WeightRows& rows, const std::vector<double>& bias, std::size_t leastRows);

/// Appends the rows of a table to the members of an ensemble: the first `rows` to member 0 and so
/// on. Rows behind the last member are dropped.
void distributeRows(const WeightTable& table, std::span<const LayerWeights> members, int rows);

/// Appends a binary weight file (little-endian doubles; per row the bias, then `columns` weights)
/// to the members of an ensemble. The rest of a longer file is not read. A file that ends within a
/// row leaves that row short. False when the file can't be opened.
bool loadBinaryRows(const std::string& path, std::span<const LayerWeights> members, int rows,
                    int columns);

}  // namespace orvix::networks
