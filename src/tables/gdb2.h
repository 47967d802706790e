#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tables/line_node.h"

/// The typed twin of `GDB`: the same text format, read into rows of integers, 32-bit floats and
/// texts. It doesn't end the process on a bad file: it reports on the standard error stream,
/// gathers the report in `errorText` and answers false. Rows and columns count from 1 unless told
/// otherwise.
///
/// Where a value travels as `void*` it points to an int, a float or a std::string, by the type of
/// the column. A table owns its rows and is neither copied nor assigned.
class GDB2 {
  public:
    static constexpr int maxColumns = 2000;

    std::string className;                 ///< as in `GDB`
    bool plainText = false;                ///< as in `GDB`
    std::string fileName;                  ///< as in `GDB`
    std::string formatLine;                ///< as in `GDB`
    std::string varsLine;                  ///< as in `GDB`
    int varsCount = 0;                     ///< number of columns
    int lineCount = 0;                     ///< number of rows
    int firstResid = 1;                    ///< residue number of the first sequence letter
    int lastResid = -9999;                 ///< set when a load ends well
    std::string noticeText;                ///< notices of the readers of foreign files
    std::string errorText;                 ///< all load errors in order
    std::map<int, std::string> residList;  ///< residue number to one-character name
    std::vector<std::string> headerLines;  ///< remarks, DATA lines and empty lines in file order
    std::map<int, std::string> vars;       ///< column index, from 0, to name
    std::map<std::string, int> varIndex;   ///< column name to column number, from 1
    std::map<int, std::string> formats;    ///< column index, from 0, to specifier
    int varTypes[maxColumns] = {};         ///< column index, from 0, to type code
    std::unique_ptr<std::vector<LineNode*>> lines;  ///< the rows, owned; null until `initNodes`

    GDB2() = default;

    /// Sets up an empty table and calls `loadGDB`; a failed load leaves a table without rows.
    explicit GDB2(const std::string& file);

    ~GDB2();
    GDB2(const GDB2&) = delete;
    GDB2& operator=(const GDB2&) = delete;

    // Text form.

    /// Reads `file`; false when the load failed, with what was read so far left in the table.
    bool loadGDB(const std::string& file);

    /// Reads a shift table and checks that it is one: a sequence, the columns RESID, RESNAME,
    /// ATOMNAME and SHIFT with their types, and fewer than five residues that differ from the
    /// sequence. False when it isn't, with what was read left in the table.
    bool loadORVIX(const std::string& file);

    /// Read a shift table from a deposited file in NMR-STAR version 2 or 3, line by line: the
    /// columns of a shift table, the sequence in `residList`, with "?" for a residue without a
    /// name, and a header. `lastResid` is the highest residue number. False, with a report in
    /// `errorText`, for a file that can't be opened, five and more residues that differ from the
    /// sequence, or residue numbers with more than 100,000 undefined ones between them; false
    /// without a report for a file without shifts. Version 3 takes entity 1.
    bool loadNMRStar2(const std::string& file);
    bool loadNMRStar3(const std::string& file);

    /// Writes the table with its header in place.
    void saveGDB(const std::string& file);

    /// Take a line of column names and a line of specifiers; rows that are there are dropped. False
    /// with a report when the line doesn't fit.
    bool varsStrParser(const std::string& names);
    bool formatStrParser(const std::string& specifiers);

    /// Makes the table ready for rows; rows that are there are dropped. False with a report when
    /// columns and specifiers don't match or there are more than `maxColumns`.
    bool initNodes();

    // Header.

    void addRemark(const std::string& text);
    void setData(const std::string& key, const std::string& value);
    void setData(const std::string& key, int value);
    void setData(const std::string& key, float value);

    /// The values of the DATA lines of `key`, each behind one blank; keyword and key must match
    /// exactly.
    std::string getData(const std::string& key) const;

    /// The name of a residue from `firstResid` to `lastResid`, else empty.
    std::string getResidName(int resid) const;

    // Columns.

    int getVarsCount() const { return varsCount; }

    /// Column number, from 1; 0 when there is no such column.
    int getVarIndex1(const std::string& name) const;

    /// Type code; -1 when there is no such column.
    int getVarType(const std::string& name) const;

    /// Replaces columns and specifiers and drops all rows; a table with rows is left alone unless
    /// `force` is set, and the answer is true then.
    bool setVarsFormat(const std::string& names, const std::string& specifiers, bool force);

    /// Adds a column behind the last one, with a blank cell in every row; a name that exists hands
    /// over to `setVar`.
    bool addVar(const std::string& name, const std::string& spec);

    /// Renames column `index` and gives it the specifier, converting its cells when the type
    /// changes; `varsCount` plus 1 adds a column.
    bool setVar(int index, const std::string& name, const std::string& spec);

    void presetClass(const std::string& word);

    bool isVarString(const std::string& name) const;
    bool isVarInt(const std::string& name) const;
    bool isVarFloat(const std::string& name) const;
    bool isVarString(int index);
    bool isVarInt(int index);
    bool isVarFloat(int index);

    // Rows.

    int getLineEntryCount() const { return lineCount; }

    /// The row; null when out of range.
    LineNode* getLineEntry(int row) const;

    /// The `n`-th row whose cell equals the value; null when there is none.
    LineNode* getLineEntry(const std::string& name, void* value, int n) const;
    LineNode* getLineEntry(const std::string& name1, void* value1, const std::string& name2,
                           void* value2, int n) const;

    /// The number of the `n`-th row whose cell equals the value in the column's type; -1 when there
    /// is none.
    int getLineEntryIndex(const std::string& name, int value, int n) const;
    int getLineEntryIndex(const std::string& name, float value, int n) const;
    int getLineEntryIndex(const std::string& name, const std::string& value, int n) const;

    /// All rows whose cell equals the value, in row order.
    std::vector<LineNode*> getLineEntries(const std::string& name, void* value) const;
    std::vector<int> getLineEntryIndice(const std::string& name, int value) const;
    std::vector<int> getLineEntryIndice(const std::string& name, float value) const;
    std::vector<int> getLineEntryIndice(const std::string& name, const std::string& value) const;

    /// Appends a row of blank cells (0, 0.0, ".") and returns its number; -1 on failure.
    int addNewLineEntry();
    void addNewLineEntryWithVal(const std::string& name, void* value);
    void addNewLineEntryWithVal(const std::string& name, int value);
    void addNewLineEntryWithVal(const std::string& name, float value);
    void addNewLineEntryWithVal(const std::string& name, const std::string& value);

    // Cells.

    /// The cell's value; null when out of range.
    void* getNodeVal(int row, int column) const;
    void* getNodeVal(int row, const std::string& name) const;

    /// The cell as a float; 9999.0 when the row or the column doesn't exist.
    float getFloatNodeVal(int row, const std::string& name) const;

    /// The cell as an int; 9999 when the row or the column doesn't exist.
    int getIntNodeVal(int row, const std::string& name) const;

    /// The cell as text; "NULL" when the row or the column doesn't exist.
    std::string getStringNodeVal(int row, const std::string& name) const;

    /// Set a cell; false when out of range. The forms without `void*` convert the value to the
    /// column's type; the form without a row sets the last one.
    bool setNode(int row, int column, void* value);
    bool setNode(int row, const std::string& name, void* value);
    bool setNode(const std::string& name, void* value);
    bool setNode(int row, const std::string& name, int value);
    bool setNode(int row, const std::string& name, float value);
    bool setNode(int row, const std::string& name, const std::string& value);

    // Text operations, the twins of those of `GDB`.

    /// 0 for an integer, 1 for a real, 2 for a text specifier; -1 for a bad one.
    static int getTypeFromFormatStr(const std::string& spec);

    /// One-letter name of a residue; "?" for a name that isn't known.
    static std::string three2One(const std::string& name);

    static bool checkFormat(const std::string& spec);
    static std::string simplifyWhiteSpace(const std::string& s);
    static std::vector<std::string> split_WhiteSpace(const std::string& s);
    static std::vector<std::string> split(const std::string& separator, const std::string& s);
    static std::vector<std::string> split(const char& separator, const std::string& s);
    static char* section(const std::string& s, const char& separator, char* out, int start,
                         int end);
    static int contains(const std::string& s, const std::string& part);
    static int contains(const std::string& s, const char& c);
    static bool isDigit(const char& c);
    static bool isSpace(const char& c);

  private:
    void dropRows();
    LineNode::Val* cellAt(int row, int column) const;
    const LineNode::Val* findCell(int row, const std::string& name) const;
    bool appendColumn(const std::string& name, const std::string& spec);
};
