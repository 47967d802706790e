#pragma once

#include <set>
#include <string>
#include <utility>

#include "tables/gdb2.h"

/// Reports of the readers of `GDB2`: texts that go to the standard error stream and are gathered in
/// the table.
namespace orvix::tables {

/// Writes `text` and appends it to `noticeText`.
void giveNotice(GDB2& table, const std::string& text);

/// Writes `text` and appends it to `errorText`; always false, the answer of a reader that fails.
bool failLoad(GDB2& table, const std::string& text);

/// `text` with blanks in front up to `width` characters, as `%*s` prints it.
std::string padLeft(const std::string& text, std::size_t width);

/// Residues whose names in the rows of a shift table differ from those of its sequence. Every pair
/// of a residue and a name is reported once, and a table may have up to four such residues.
class ResidueMismatches {
  public:
    static constexpr int limit = 5;  ///< as many residues fail the table

    /// `format` names the file format at the start of each report.
    ResidueMismatches(GDB2& table, std::string format)
        : table_(table), format_(std::move(format)) {}

    /// Gives a notice that residue `resid` is `expected` in `expectedSource` and `name` in
    /// `nameSource`. False, and nothing is done, when the residue was met with this name before.
    bool report(int resid, const std::string& expectedSource, const std::string& expected,
                const std::string& nameSource, const std::string& name);

    /// The number of residues that were reported.
    int residueCount() const { return static_cast<int>(residues_.size()); }

    /// Reports the number of residues, unless it is 0; false when the table fails by it.
    bool conclude();

  private:
    GDB2& table_;
    std::string format_;
    std::set<std::pair<int, std::string>> met_;
    std::set<int> residues_;
};

}  // namespace orvix::tables
