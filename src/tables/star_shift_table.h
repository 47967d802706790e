#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/line_reader.h"
#include "base/text.h"
#include "tables/gdb2.h"
#include "tables/shift_table_reports.h"

namespace orvix::tables {

/// What the two versions of the deposited format say in their reports.
struct StarTexts {
    const char* format;                 ///< name at the start of each report
    const char* sequenceSource;         ///< tag of the sequence
    const char* rowSource;              ///< tag of the residue of a shift row
    const char* missingSequence;        ///< first line of the notice about a missing sequence
    const char* missingSequenceDetail;  ///< its second line
    const char* remark;                 ///< remark in the header of the table
};

/// Columns of a shift loop, from 1; 0 while a tag hasn't been met.
struct StarShiftColumns {
    int residue = 0;
    int name = 0;
    int atom = 0;
    int value = 0;

    bool complete() const { return residue > 0 && name > 0 && atom > 0 && value > 0; }
    bool none() const { return residue == 0 && name == 0 && atom == 0 && value == 0; }
};

/// The shift table that the readers of deposited files fill: its rows, its sequence and its end.
/// Column numbers beyond the words of a row skip the row.
class StarShiftTable {
  public:
    /// Residue numbers without a name between the first and the last that the table fills in; with
    /// more of them the file fails.
    static constexpr long long mostUndefined = 100000;

    StarShiftTable(GDB2& table, const StarTexts& texts);

    /// Sets up the columns of `table`; called once the file is open.
    void prepare();

    /// Enters the letters of a line of the sequence text, numbered from 1.
    void addSequence(std::string_view letters);

    /// Sets `lastResid` by the number of residues, as it stands inside the sequence text.
    void countSequence();

    /// Adds a row of the shift loop.
    void addRow(const std::vector<std::string_view>& words, const StarShiftColumns& columns);

    /// Enters the name of a residue, of one or more letters, as `source` has it: a first name as it
    /// is, a name that differs from the present one with a notice.
    void nameResidue(int resid, const std::string& name, const std::string& source);

    /// Names the residues without a name, writes the header and concludes the reports; the answer
    /// of the reader. `columns` are those at the end of the file.
    bool finish(const StarShiftColumns& columns);

  private:
    bool fillUndefined();

    GDB2& table_;
    StarTexts texts_;
    ResidueMismatches mismatches_;
};

/// The word of a column from 1; empty when the row has no such column.
std::string_view wordAt(const std::vector<std::string_view>& words, int column);

/// Whether the row has all columns that `columns` names.
bool holdsColumns(const std::vector<std::string_view>& words, const StarShiftColumns& columns);

/// `word` in upper case.
std::string foldToUpper(std::string_view word);

/// Reads a deposited file into `table`, line by line through a `Scanner` of its version, which
/// takes the words of each line that has any and ends with the columns of the shift loop.
template <class Scanner>
bool readStarShifts(GDB2& table, const StarTexts& texts, const std::string& file) {
    LineReader reader(file);
    if (!reader.isOpen()) {
        return failLoad(table, "File Error: Can't open input file for reading\n");
    }
    StarShiftTable shifts(table, texts);
    shifts.prepare();
    Scanner scanner(shifts);
    std::string_view line;
    std::vector<std::string_view> words;
    while (reader.next(line)) {
        splitWords(line, words);
        if (!words.empty()) {
            scanner.takeLine(words);
        }
    }
    return shifts.finish(scanner.columns());
}

}  // namespace orvix::tables
