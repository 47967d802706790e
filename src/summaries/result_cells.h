#pragma once

#include <string>
#include <string_view>

class GDB;

namespace orvix::summaries {

/// A real number as it enters a table cell: "%.6lg".
std::string realCell(double value);
/// A real number as the match table holds shifts: "%.6lf".
std::string fixedCell(double value);
/// The citation block as remarks of a result table.
void addCitation(GDB& table);

}  // namespace orvix::summaries
