#include "networks/weight_table.h"

#include <algorithm>
#include <map>

#include "base/numbers.h"
#include "base/parallel.h"
#include "networks/weight_text.h"
#include "tables/gdb.h"
#include "tables/gdb2.h"

namespace orvix::networks {
namespace {

// A thread is worth its start from about this much text on.
constexpr std::size_t textPerThread = std::size_t{4} << 20;

// The container of row `index`: rows arrive in order, so a new one belongs at the end.
std::vector<double>& rowAt(WeightRows& rows, int index) {
    return rows.try_emplace(rows.end(), index)->second;
}

}  // namespace

WeightTable readWeightTablePlain(const std::string& path, WeightRules rules, int columns) {
    WeightTable result;
    if (rules == WeightRules::typed) {
        const GDB2 table(path);
        for (int row = 1; row <= table.getLineEntryCount(); ++row) {
            std::vector<double> weights;
            for (int c = 1; c <= columns; ++c) {
                weights.push_back(
                    static_cast<double>(table.getFloatNodeVal(row, std::to_string(c))));
            }
            result.weights.push_back(std::move(weights));
            result.bias.push_back(static_cast<double>(table.getFloatNodeVal(row, "b")));
        }
        return result;
    }
    const GDB table(path);
    for (const auto& [number, row] : table.entries) {
        const auto value = [&row = row](const std::string& name) {
            const auto cell = row.find(name);
            return cell == row.end() ? 0.0 : textToDouble(cell->second);
        };
        std::vector<double> weights;
        for (int c = 1; c <= columns; ++c) {
            weights.push_back(value(std::to_string(c)));
        }
        result.weights.push_back(std::move(weights));
        result.bias.push_back(value("b"));
    }
    return result;
}

std::optional<WeightTable> readWeightTableFast(const std::string& path, WeightRules rules,
                                               int columns, int threads) {
    WeightText text;
    if (!text.open(path, rules, columns)) {
        return std::nullopt;
    }
    if (threads <= 0) {
        threads = std::min(availableThreads(), static_cast<int>(text.bodySize() / textPerThread));
    }
    const std::vector<WeightText::Part> parts = text.split(std::max(1, threads));
    std::vector<WeightTable> tables(parts.size());
    std::vector<char> good(parts.size());
    parallelFor(static_cast<int>(parts.size()), threads, [&](int i) {
        const std::size_t at = static_cast<std::size_t>(i);
        good[at] = text.readRows(parts[at], tables[at]) ? 1 : 0;
    });
    if (std::find(good.begin(), good.end(), 0) != good.end()) {
        return std::nullopt;
    }
    WeightTable& result = tables[0];
    for (std::size_t i = 1; i < tables.size(); ++i) {
        std::move(tables[i].weights.begin(), tables[i].weights.end(),
                  std::back_inserter(result.weights));
        result.bias.insert(result.bias.end(), tables[i].bias.begin(), tables[i].bias.end());
    }
    if (result.bias.empty()) {
        return std::nullopt;
    }
    return std::move(result);
}

WeightTable readWeightTable(const std::string& path, WeightRules rules, int columns, int threads) {
    if (std::optional<WeightTable> table = readWeightTableFast(path, rules, columns, threads)) {
        return std::move(*table);
    }
    return readWeightTablePlain(path, rules, columns);
}

void distributeRows(WeightTable table, std::span<const LayerWeights> members, int rows) {
    if (rows <= 0) {
        return;
    }
    const std::size_t perMember = static_cast<std::size_t>(rows);
    const std::size_t used = std::min(table.weights.size(), perMember * members.size());
    for (std::size_t q = 0; q < used; ++q) {
        const LayerWeights& member = members[q / perMember];
        std::vector<double>& row = rowAt(*member.rows, static_cast<int>(q % perMember));
        if (row.empty()) {
            row = std::move(table.weights[q]);
        } else {
            row.insert(row.end(), table.weights[q].begin(), table.weights[q].end());
        }
        if (q % perMember == 0) {
            member.bias->reserve(member.bias->size() + std::min(perMember, used - q));
        }
        member.bias->push_back(table.bias[q]);
    }
}

}  // namespace orvix::networks
