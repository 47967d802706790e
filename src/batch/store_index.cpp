#include "batch/store_index.h"

#include <utility>

#include "batch/database_file.h"

namespace orvix::batch {
namespace {

using Json = nlohmann::ordered_json;

Json json(const Cell& cell) {
    if (const auto* whole = std::get_if<std::int64_t>(&cell)) {
        return *whole;
    }
    if (const auto* number = std::get_if<double>(&cell)) {
        return *number;
    }
    const auto* text = std::get_if<std::string>(&cell);
    return text == nullptr ? Json() : Json(*text);
}

/// Hands on the rows of `query` with the record of their protein, whose name is the first column.
template <class Take>
void eachRow(DatabaseFile& file, StoreIndex& index, const std::string& query, Take take) {
    Statement rows(file, query);
    rows.begin();
    while (rows.next()) {
        const auto protein = index.proteins.find(rows.text(0));
        if (protein != index.proteins.end()) {
            take(rows, protein->second);
        }
    }
}

}  // namespace

StoreIndex readStoreIndex(const std::string& path) {
    DatabaseFile file(path, DatabaseFile::Open::existing);
    prepareStore(file);
    StoreIndex index;
    {
        Statement rows(file, "SELECT name, title FROM proteins");
        rows.begin();
        while (rows.next()) {
            index.proteins[rows.text(0)] = {
                {"input", {{"title", json(rows.cell(1))}}},
                {"residues", Json::array()},
                {"completeness", Json::object()},
                {"outliers", Json::array()},
                {"shift_offsets",
                 {{"CA", nullptr}, {"CB", nullptr}, {"HA", nullptr}, {"C", nullptr}}}};
        }
    }
    eachRow(file, index, "SELECT protein, class, ss FROM residues ORDER BY protein, resid",
            [](const Statement& row, Json& record) {
                record["residues"].push_back(
                    {{"class", row.text(1)}, {"secondary_structure", {{"state", row.text(2)}}}});
            });
    eachRow(file, index, "SELECT protein, atom, assigned, expected FROM completeness",
            [](const Statement& row, Json& record) {
                record["completeness"][row.text(1)] = {{"assigned", row.integer(2)},
                                                       {"expected", row.integer(3)}};
            });
    eachRow(file, index, "SELECT protein, serious FROM outliers ORDER BY protein, place",
            [](const Statement& row, Json& record) {
                record["outliers"].push_back({{"serious", row.integer(1) != 0}});
            });
    eachRow(file, index,
            "SELECT protein, nucleus, offset_ppm, error, uncertainty, count, significant, applied "
            "FROM offsets",
            [](const Statement& row, Json& record) {
                record["shift_offsets"][row.text(1)] = {
                    {"offset", json(row.cell(2))},        {"error", json(row.cell(3))},
                    {"uncertainty", json(row.cell(4))},   {"count", row.integer(5)},
                    {"significant", row.integer(6) != 0}, {"applied", row.integer(7) != 0}};
            });
    Statement rows(file, "SELECT job, name, file, reason FROM failures ORDER BY job, name");
    rows.begin();
    while (rows.next()) {
        index.failures.push_back(
            {static_cast<std::size_t>(rows.integer(0)), rows.text(1), rows.text(2), rows.text(3)});
    }
    return index;
}

}  // namespace orvix::batch
