#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "networks/layer_block.h"

namespace orvix::networks {

/// The rows of one block as lists of the weights that aren't zero, read where their owner keeps
/// them: row r has `counts[r]` columns and weights from `r * stride` on, filled up to `stride` with
/// column 0 and weight 0.0.
struct ListedRows {
    const std::uint32_t* index = nullptr;  ///< null for a block whose rows are the better form
    const double* value = nullptr;
    const std::uint32_t* counts = nullptr;
    std::size_t stride = 0;
};

/// The lists of all blocks of a layer, block behind block.
struct LayerLists {
    std::vector<std::uint32_t> strides;  ///< by block; 0 for a block without lists
    std::vector<std::uint32_t> counts;   ///< by row; 0 in blocks without lists
    std::vector<std::uint32_t> index;    ///< of the blocks with lists
    std::vector<double> value;           ///< the same places as `index`
};

/// Rows of the block `block` of a layer of `rows` rows.
std::size_t blockRowCount(std::size_t rows, std::size_t block);

/// Appends the block made of `rows`, each with as many weights as `lengths` tells of an input of
/// `inputs` values. Blocks that are zero for less than a quarter get no lists, unless a row ends
/// early.
void appendLists(std::span<const double* const> rows, std::span<const std::uint32_t> lengths,
                 std::size_t inputs, LayerLists& lists);

/// The same arrays, wherever they are.
struct LayerListSpans {
    std::span<const std::uint32_t> strides, counts, index;
    std::span<const double> value;
};

/// The blocks of the lists of a layer of `rows` rows. Empty when the arrays don't fit together.
std::vector<ListedRows> listedRows(const LayerListSpans& lists, std::size_t rows);

}  // namespace orvix::networks
