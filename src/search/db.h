#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "search/lazy_array.h"

namespace orvix::search {

/// The source words of the rows, one string for each protein: consecutive rows of one word share
/// it. A row that was not read has the empty word.
class SourceColumn {
  public:
    /// Source word of `row`, 0..capacity - 1.
    const std::string& operator[](std::ptrdiff_t row) const {
        return names[static_cast<std::size_t>(protein[row])];
    }

    LazyArray<int> protein;                         ///< [row] -> index into `names`, from 1
    std::vector<std::string> names{std::string()};  ///< [0] is the empty word
};

}  // namespace orvix::search

/// The database of known proteins: one row for each residue, in parallel arrays by row index from
/// 0. Rows of one protein stand together in sequence order. The class loads and holds, no more.
///
/// The arrays have `maxDBSize` rows as of the load; rows from `dbSize` on read as zero and cost no
/// memory. Those of a prepared image have `dbSize` rows and a few zero ones, and may only be read.
/// A pointer into them is good until the next load.
class DB {
  public:
    DB();
    /// Loads `file` with the default capacity.
    explicit DB(const std::string& file);
    ~DB();
    DB(const DB&) = delete;
    DB& operator=(const DB&) = delete;

    /// [row][12]: value (ppm) and scale of N, HA, C, CA, CB, HN in turn; scale 0 for no shift.
    orvix::search::LazyRows<float, 12> shifts;
    orvix::search::LazyRows<float, 3>
        angles;  ///< [row][3]: phi, psi, chi1 in degrees; chi1 >= 999.0 none
    orvix::search::LazyArray<int> resids;     ///< [row] residue number
    orvix::search::LazyArray<int> boxes;      ///< [row] box index, 0..323 in a sound file
    orvix::search::LazyArray<char> resNames;  ///< [row] residue letter
    orvix::search::SourceColumn sources;      ///< [row] source word
    std::string dbFile;                       ///< path of the file
    std::string exclList;                     ///< text that names the sources to leave out
    int maxDBSize;                            ///< capacity in rows for the next load
    int dbSize;                               ///< rows read

    /// Capacity for the next load. One of 0 or less holds no row: the load then ends, with the
    /// warning of a full database, at the first row of the file.
    void setMaxDBSize(int rows);

    /// Replaces the content by the rows of `file`. Rows whose source word occurs in `exclList` are
    /// left out; a full database ends the reading with a warning. A file that can't be opened, a
    /// line without its 19 fields, a source word of more than 29 characters and a line of more than
    /// 16 MB end the process with a message and status 0.
    void loadDB(const std::string& file);
    /// The same, with `excl` as the new `exclList`.
    void loadDB(const std::string& file, const std::string& excl);

    /// Whether `row` was read.
    bool holds(std::ptrdiff_t row) const { return row >= 0 && row < dbSize; }

  private:
    void release();
};
