#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "batch/database_file.h"
#include "results/finished_prediction.h"

namespace orvix::batch {

/// Version of the tables of a store, kept in its user_version.
inline constexpr int storeVersion = 1;
/// Marks a file as a store ("ORVX"), kept in its application_id.
inline constexpr int storeMark = 0x4F525658;

/// A finished protein as it goes into a store.
struct StoredProtein {
    std::size_t number = 0;  ///< of its job
    std::string name, file;
    std::string key;   ///< hash of all that its result depends on
    std::string data;  ///< hash of the data directory
    const results::FinishedPrediction& finished;
};

/// A column: name, type, and what it holds in words.
struct StoreColumn {
    std::string name, type, meaning;
};

using RowSink = std::function<void(const std::vector<Cell>& cells)>;

/// A table of a store. Its first column is `protein`, but for `proteins`, where it is `name`; the
/// first `keys` columns are the primary key, and the order of its rows.
struct StoreTable {
    std::string name;
    std::size_t keys = 1;
    std::vector<StoreColumn> columns;
    /// Hands on the rows of a protein.
    std::function<void(const StoredProtein& protein, const RowSink& sink)> rows;

    std::string columnList() const;
    std::string keyList() const;
    std::string create() const;
    std::string insert() const;
};

/// All tables with rows of finished proteins; `proteins` is the first.
const std::vector<StoreTable>& storeTables();

/// The table of failed jobs; it has no `rows` of a finished protein.
const StoreTable& failureTable();

}  // namespace orvix::batch
