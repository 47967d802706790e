#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// One table of the text format that all tables of the system share: remarks, DATA lines, named
/// columns with their print formats, and rows of cells held as text. A plain value, free to copy.
///
/// A format has no effect until the table is written: reading keeps every cell as the word that
/// stands in the file, and `saveGDB` turns it into a number by the column's type letter.
class GDB {
  public:
    /// One row: column name to cell text.
    using Entry = std::map<std::string, std::string>;

    std::string className;                 ///< word of a preset table, else empty
    bool plainText = false;                ///< when true `saveGDB` writes the rows only
    std::string fileName;                  ///< path that the table was loaded from
    std::string formatLine;                ///< text behind the keyword of the last FORMAT line
    std::string varsLine;                  ///< text behind the keyword of the last VARS line
    int varsCount = 0;                     ///< number of columns
    int firstResid = 1;                    ///< residue number of the first sequence letter
    std::map<int, std::string> residList;  ///< residue number to one-character name
    std::vector<std::string> remarks;      ///< remark texts in order
    std::vector<std::string> dataLines;    ///< key, one blank, value; one string a DATA line
    std::map<int, std::string> vars;       ///< column index, from 0, to name
    std::map<int, std::string> formats;    ///< column index, from 0, to specifier with its blanks
    std::map<int, Entry> entries;          ///< row number to row

    GDB() = default;

    /// Loads `file`; ends the process as `loadGDB` does.
    explicit GDB(const std::string& file);

    // Text form.

    /// Reads `file` into this table. Remarks, DATA lines and residues are appended to those that
    /// are there; a VARS line replaces the columns and drops the rows. A file that can't be opened
    /// (a directory is none) and a bad specifier end the process with a message and status 0.
    void loadGDB(const std::string& file);

    /// The same from the text of a table; `name` stands for its file.
    void loadText(std::string_view text, const std::string& name);

    /// The table as `saveGDB` writes it.
    std::string tableText() const;

    /// Writes the table, truncating `file`; a file that can't be opened is reported and left.
    void saveGDB(const std::string& file);

    /// Takes a line of column names, separated by blanks; drops all rows.
    void VARS_str_parser(const std::string& names);

    /// Takes a line of specifiers, one for each column, and drops all rows. A line whose percent
    /// signs don't match the columns leaves the table without specifiers; a bad specifier ends the
    /// process with a message and status 0.
    void FORMAT_str_parser(const std::string& specifiers);

    /// Sets the columns of a known kind of table ("ORVIX_SHIFT", "ORVIX_PRED"); any other word does
    /// nothing.
    void presetClass(const std::string& word);

    void set_plaintext() { plainText = true; }

    // Header.

    void addRemark(const std::string& text);

    /// Appends a DATA line; lines of the same key stay.
    void setData(const std::string& key, const std::string& value);

    /// The values of all DATA lines of `key`, each behind one blank, in order; empty when there is
    /// none. Stored keys are folded to upper case, `key` is not.
    std::string getData(const std::string& key) const;

    /// The name of a residue. A number that isn't there is created with an empty name.
    std::string getResidName(int resid);

    // Columns.

    /// Adds a column behind the last one, or replaces the specifier of the column of that name.
    void addVAR(const std::string& name, const std::string& spec);

    /// Sets column `index`, from 1 to `varsCount` plus 1.
    void setVAR(int index, const std::string& name, const std::string& spec);

    /// Whether the specifier of the first column of that name holds "s", "d" or "f" exactly once.
    bool isVarString(const std::string& name) const;
    bool isVarInt(const std::string& name) const;
    bool isVarFloat(const std::string& name) const;

    /// The same for a column index from 0; an index without a specifier gets an empty one.
    bool isVarString(int index);
    bool isVarInt(int index);
    bool isVarFloat(int index);

    // Rows and cells.

    int getEntryCount() const;

    /// Sets one cell, making the row when it isn't there. A name that is no column ends the process
    /// with a message and status 0.
    void setEntry(int row, const std::string& name, const std::string& value);

    /// `setEntry` on row number `getEntryCount()` plus 1.
    void addEntry(const std::string& name, const std::string& value);

    /// A copy of a row. A row number that isn't there is created empty.
    Entry getEntry(int row);

    /// A copy of the `n`-th row, from 1 in row order, whose cell equals `value` as text (a row
    /// without the cell counts as holding the empty text); an empty row when there is none.
    Entry getEntry(const std::string& name, const std::string& value, int n) const;

    /// The same with two cells that must both be equal.
    Entry getEntry(const std::string& name1, const std::string& value1, const std::string& name2,
                   const std::string& value2, int n) const;

    // Text operations, see tables/table_text.h.

    static bool checkFormat(const std::string& spec);
    static std::string simplifyWhiteSpace(const std::string& s);
    static std::vector<std::string> split_WhiteSpace(const std::string& s);
    static std::vector<std::string> split(const std::string& separator, const std::string& s);
    static std::vector<std::string> split(const char& separator, const std::string& s);

    /// Copies the pieces `start` to `end` (from 0, both included) of `s`, joined by the separator,
    /// into `out`, which must have room for all of `s`, one separator and a terminating NUL.
    static char* section(const std::string& s, const char& separator, char* out, int start,
                         int end);

    static int contains(const std::string& s, const std::string& part);
    static int contains(const std::string& s, const char& c);
    static bool isDigit(const char& c);
    static bool isSpace(const char& c);
};
