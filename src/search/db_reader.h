#pragma once

#include <string>
#include <string_view>

#include "search/db_text.h"

class DB;

namespace orvix::search {

/// What the reading of a database file ended with.
struct DatabaseReading {
    bool opened = false;
    bool full = false;  ///< the capacity was reached
    int rows = 0;
    std::string problem;  ///< text about the first line that can't be read; empty for none
};

/// Whether rows of the source word are left out.
bool isExcluded(const std::string& exclList, std::string_view source);

/// Reads the file at `path` into the arrays of `db`, whose capacity in rows is `capacity` (0 or
/// more), and fills its source column. Rows whose source word occurs in `exclList` are left out.
/// Reads with up to `threads` threads, each line by `readLine`; the result is the same for any.
DatabaseReading readDatabase(const std::string& path, const std::string& exclList, int capacity,
                             int threads, DB& db, LineParser readLine = fastLineReader());

/// The same line by line with the C library's formatted input: the plain form.
DatabaseReading readDatabasePlain(const std::string& path, const std::string& exclList,
                                  int capacity, DB& db);

}  // namespace orvix::search
