#include "networks/weight_maps.h"

#include <algorithm>

namespace orvix::networks {
namespace {

// The container of row `index`: rows arrive in order, so a new one belongs at the end.
std::vector<double>& rowAt(WeightRows& rows, int index) {
    return rows.try_emplace(rows.end(), index)->second;
}

}  // namespace

Layer viewLayer(const WeightRows& rows, const std::vector<double>& bias, std::size_t leastRows) {
    Layer layer;
    layer.biasCount = bias.size();
    layer.leastRows = leastRows;
    const auto first = rows.find(0);
    const std::size_t rowCount = rows.size() + (first == rows.end() ? 1 : 0);
    LayerView& view = layer.view;
    view.rows.reserve(rowCount);
    view.lengths.reserve(rowCount);
    view.bias = bias.data();
    view.inputs = first == rows.end() ? 0 : first->second.size();
    // Keys run from 0 without a gap unless a caller made the map by hand.
    auto row = first;
    for (std::size_t i = 0; i < rowCount; ++i) {
        if (row != rows.end() && row->first == static_cast<int>(i)) {
            view.rows.push_back(row->second.data());
            view.lengths.push_back(
                static_cast<std::uint32_t>(std::min(row->second.size(), view.inputs)));
            ++row;
        } else {
            view.rows.push_back(nullptr);
            view.lengths.push_back(0);
        }
    }
    return layer;
}

void distributeRows(const WeightTable& table, std::span<const LayerWeights> members, int rows) {
    if (rows <= 0) {
        return;
    }
    const std::size_t perMember = static_cast<std::size_t>(rows);
    const std::size_t used = std::min(table.rowCount(), perMember * members.size());
    const std::vector<const double*> starts = table.rows();
    for (std::size_t q = 0; q < used; ++q) {
        const LayerWeights& member = members[q / perMember];
        std::vector<double>& row = rowAt(*member.rows, static_cast<int>(q % perMember));
        row.insert(row.end(), starts[q], starts[q] + table.columns);
        member.bias->push_back(table.bias[q]);
    }
}

}  // namespace orvix::networks
