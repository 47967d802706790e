#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "tables/gdb.h"

namespace orvix::tables {

/// A copy of a table without its rows.
GDB headerOf(const GDB& table);

/// A cell of a row; empty for a row that is null or lacks it.
const std::string& cellOf(const GDB::Entry* row, const std::string& column);

/// The first row whose cell equals `value` as text (a row without the cell holds the empty text);
/// null for none. A walk over the rows, without a copy.
const GDB::Entry* findRow(const GDB& table, const std::string& column, const std::string& value);

/// The first row of each text in a column, for many look-ups in a table that stays as it is.
class RowsByText {
  public:
    RowsByText(const GDB& table, const std::string& column);
    /// Null for none.
    const GDB::Entry* find(const std::string& value) const;

  private:
    std::unordered_map<std::string_view, const GDB::Entry*> rows_;
};

/// A shift or an adjustment from its cell, as `atof` reads it; what is no finite number is missing,
/// 9999.0.
double shiftFromText(std::string_view text);

/// A shift as a cell holds it: six significant digits.
std::string shiftText(double shift);

/// `HN` for `H`, any other atom name as it is.
std::string shiftAtom(const std::string& atom);

}  // namespace orvix::tables
