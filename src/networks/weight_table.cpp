#include "networks/weight_table.h"

#include <algorithm>
#include <map>

#include "base/large_pages.h"
#include "base/numbers.h"
#include "networks/weight_text.h"
#include "tables/gdb.h"
#include "tables/gdb2.h"

namespace orvix::networks {

std::vector<const double*> WeightTable::rows() const {
    std::vector<const double*> starts;
    starts.reserve(rowCount());
    for (const std::vector<double>& block : blocks) {
        for (std::size_t at = 0; at < block.size(); at += columns) {
            starts.push_back(block.data() + at);
        }
    }
    // Rows without weights lie nowhere.
    starts.resize(rowCount(), nullptr);
    return starts;
}

void WeightTable::addRow(std::span<const double> weights, double rowBias) {
    if (blocks.empty() || blocks.back().capacity() - blocks.back().size() < columns) {
        reserve(std::max<std::size_t>(bias.size(), 16));
    }
    blocks.back().insert(blocks.back().end(), weights.begin(), weights.end());
    bias.push_back(rowBias);
}

void WeightTable::reserve(std::size_t count) {
    // A block never grows, so that no row is copied.
    const std::size_t room = blocks.empty() ? 0 : blocks.back().capacity() - blocks.back().size();
    if (room < count * columns || blocks.empty()) {
        std::vector<double>& block = blocks.emplace_back();
        block.reserve(count * columns);
        adviseLargePages(block.data(), block.capacity() * sizeof(double));
    }
}

WeightTable readWeightTablePlain(const std::string& path, WeightRules rules, int columns) {
    WeightTable result;
    result.columns = columns > 0 ? static_cast<std::size_t>(columns) : 0;
    std::vector<double> weights(result.columns);
    const auto weightName = [](std::size_t c) { return std::to_string(c + 1); };
    if (rules == WeightRules::typed) {
        const GDB2 table(path);
        for (int row = 1; row <= table.getLineEntryCount(); ++row) {
            const auto value = [&table, row](const std::string& name) {
                return static_cast<double>(table.getFloatNodeVal(row, name));
            };
            for (std::size_t c = 0; c < weights.size(); ++c) {
                weights[c] = value(weightName(c));
            }
            result.addRow(weights, value("b"));
        }
        return result;
    }
    const GDB table(path);
    for (const auto& [number, row] : table.entries) {
        const auto value = [&row = row](const std::string& name) {
            const auto cell = row.find(name);
            return cell == row.end() ? 0.0 : textToDouble(cell->second);
        };
        for (std::size_t c = 0; c < weights.size(); ++c) {
            weights[c] = value(weightName(c));
        }
        result.addRow(weights, value("b"));
    }
    return result;
}

std::optional<WeightTable> readWeightTableFast(const std::string& path, WeightRules rules,
                                               int columns, int threads) {
    std::optional<WeightTable> table = WeightText(rules, columns).read(path, threads);
    if (table && table->bias.empty()) {
        return std::nullopt;
    }
    return table;
}

WeightTable readWeightTable(const std::string& path, WeightRules rules, int columns, int threads) {
    if (std::optional<WeightTable> table = readWeightTableFast(path, rules, columns, threads)) {
        return std::move(*table);
    }
    return readWeightTablePlain(path, rules, columns);
}

}  // namespace orvix::networks
