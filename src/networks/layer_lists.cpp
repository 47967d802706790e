#include "networks/layer_lists.h"

#include <algorithm>

namespace orvix::networks {
namespace {

std::uint32_t countWeights(const double* row, std::size_t length) {
    std::uint32_t count = 0;
    for (std::size_t j = 0; j < length; ++j) {
        count += row[j] != 0.0 ? 1u : 0u;
    }
    return count;
}

}  // namespace

std::size_t blockRowCount(std::size_t rows, std::size_t block) {
    return std::min(layerBlockRows, rows - block * layerBlockRows);
}

void appendLists(std::span<const double* const> rows, std::span<const std::uint32_t> lengths,
                 std::size_t inputs, LayerLists& lists) {
    bool brief = false;
    std::size_t weights = 0;
    std::uint32_t longest = 0;
    std::uint32_t counts[layerBlockRows] = {};
    for (std::size_t r = 0; r < rows.size(); ++r) {
        brief = brief || lengths[r] < inputs;
        counts[r] = countWeights(rows[r], lengths[r]);
        weights += counts[r];
        longest = std::max(longest, counts[r]);
    }
    if (!brief && weights * 4 > rows.size() * inputs * 3) {
        lists.strides.push_back(0);
        lists.counts.insert(lists.counts.end(), rows.size(), 0);
        return;
    }
    // One place more than the longest list: the loop below writes before it counts.
    const std::size_t stride = std::size_t{longest} + 1;
    lists.strides.push_back(longest + 1);
    lists.counts.insert(lists.counts.end(), counts, counts + rows.size());
    const std::size_t first = lists.index.size();
    lists.index.resize(first + rows.size() * stride);
    lists.value.resize(first + rows.size() * stride);
    for (std::size_t r = 0; r < rows.size(); ++r) {
        std::uint32_t* const index = lists.index.data() + first + r * stride;
        double* const value = lists.value.data() + first + r * stride;
        std::size_t used = 0;
        for (std::uint32_t j = 0; j < lengths[r]; ++j) {
            index[used] = j;
            value[used] = rows[r][j];
            used += rows[r][j] != 0.0 ? 1u : 0u;
        }
        std::fill(index + used, index + stride, 0u);
        std::fill(value + used, value + stride, 0.0);
    }
}

std::vector<ListedRows> listedRows(const LayerListSpans& lists, std::size_t rows) {
    if (lists.counts.size() != rows || lists.index.size() != lists.value.size() ||
        lists.strides.size() != (rows + layerBlockRows - 1) / layerBlockRows) {
        return {};
    }
    std::vector<ListedRows> blocks(lists.strides.size());
    std::size_t at = 0;
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        const std::size_t stride = lists.strides[b];
        if (stride == 0) {
            continue;
        }
        const std::size_t size = blockRowCount(rows, b) * stride;
        if (lists.index.size() - at < size) {
            return {};
        }
        blocks[b] = {lists.index.data() + at, lists.value.data() + at,
                     lists.counts.data() + b * layerBlockRows, stride};
        at += size;
    }
    return blocks;
}

}  // namespace orvix::networks
