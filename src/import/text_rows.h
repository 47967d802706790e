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

/// Takes a residue written as one word, "G7", "GLY7", "A.G7" or "1G7", apart: molecule in front,
/// residue name, number. A bare number has no name. False for anything else.
bool splitResidueWord(std::string_view word, ShiftRow& row);

}  // namespace orvix::importing
