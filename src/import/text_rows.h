#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/shift_file.h"

namespace orvix::importing {

/// Walks the lines of a text and cuts them into words.
class TextRows {
  public:
    explicit TextRows(std::string_view text) : rest_(text) {}

    /// The next line; false at the end.
    bool next();

    int line() const { return line_; }
    std::string_view text() const { return text_; }

    /// Words of the line.
    const std::vector<std::string_view>& words() const { return words_; }

    /// "line 12: its words", for reports.
    std::string shown() const;

  private:
    std::string_view rest_;
    std::string_view text_;
    std::vector<std::string_view> words_;
    int line_ = 0;
};

/// Takes residues written as one word apart: "G7", "GLY7", "7GLY", "GLY-7", "A.G7", "1G7",
/// "A.7.GLY". Molecule, residue name and number go into the row, and an atom behind them ("G7CA",
/// "A.7.GLY.CA") into a row without one. A bare number has no name.
class ResidueWords {
  public:
    /// False for anything else; the row is then as it was.
    bool split(std::string_view word, ShiftRow& row);

    /// In a file that joins all names and numbers by a hyphen, "GLY-7" isn't minus seven.
    void settle(std::vector<ShiftRow>& rows) const;

  private:
    int plain_ = 0;
    int hyphens_ = 0;
};

}  // namespace orvix::importing
