#include <algorithm>
#include <ostream>
#include <utility>

#include "base/line_reader.h"
#include "base/numbers.h"
#include "base/run_end.h"
#include "base/streams.h"
#include "base/text.h"
#include "base/text_writer.h"
#include "tables/cell_format.h"
#include "tables/gdb.h"

namespace {

constexpr std::size_t sequenceChunk = 55;

// Where the words of a row go, in the order of the row's map, so that each cell is appended behind
// the one before it. Of two columns of one name the later one has the cell.
class RowLayout {
  public:
    /// To be called when columns may have changed; the next row takes them anew.
    void reset() { built_ = false; }

    void fill(GDB::Entry& row, const std::vector<std::string_view>& words, const GDB& table) {
        if (!built_) {
            build(table.vars, table.varsCount);
            built_ = true;
        }
        row.clear();
        for (const auto& [name, place] : columns_) {
            row.emplace_hint(row.end(), name, words[place]);
        }
    }

  private:
    void build(const std::map<int, std::string>& vars, int count) {
        std::map<std::string, std::size_t> places;
        for (int i = 0; i < count; ++i) {
            const auto name = vars.find(i);
            places[name == vars.end() ? std::string() : name->second] = static_cast<std::size_t>(i);
        }
        columns_.assign(places.begin(), places.end());
    }

    bool built_ = false;
    std::vector<std::pair<std::string, std::size_t>> columns_;
};

void appendSequence(std::string& text, const std::string& value) {
    const std::string sequence = orvix::simplifyWhiteSpace(value);
    for (std::size_t at = 0; at < sequence.size(); at += sequenceChunk) {
        text += "DATA SEQUENCE ";
        text.append(sequence, at, sequenceChunk);
        text += '\n';
    }
}

void appendHeader(std::string& text, const GDB& table) {
    for (const std::string& remark : table.remarks) {
        text += "REMARK " + remark;
        text += '\n';
    }
    text += '\n';
    for (const std::string& line : table.dataLines) {
        const std::size_t blank = std::min(line.find(' '), line.size());
        if (line.compare(0, blank, "SEQUENCE") == 0) {
            appendSequence(text, line.substr(blank));
        } else {
            text += "DATA " + line;
            text += '\n';
        }
    }
    text += '\n';
    text += "VARS   ";
    for (const auto& [index, name] : table.vars) {
        text += name + " ";
    }
    text += '\n';
    text += "FORMAT ";
    for (const auto& [index, spec] : table.formats) {
        text += spec;
    }
    text += '\n';
    text += '\n';
}

void appendRows(std::string& text, const GDB& table) {
    // Columns are those of index 0 to the count of names, whatever keys a caller has set.
    std::vector<std::pair<std::string, orvix::tables::CellFormat>> columns;
    for (int i = 0; i < static_cast<int>(table.vars.size()); ++i) {
        const auto name = table.vars.find(i);
        const auto spec = table.formats.find(i);
        columns.emplace_back(name == table.vars.end() ? std::string() : name->second,
                             orvix::tables::CellFormat(
                                 spec == table.formats.end() ? std::string_view() : spec->second));
    }
    for (const auto& [number, row] : table.entries) {
        for (const auto& [name, format] : columns) {
            const auto cell = row.find(name);
            format.appendCell(text, cell == row.end() ? std::string_view() : cell->second);
        }
        text += '\n';
    }
}

/// The lines of a text in memory, cut like those of a file.
class TextLines {
  public:
    explicit TextLines(std::string_view text) : rest_(text) {}

    bool next(std::string_view& line) {
        if (rest_.empty()) {
            return false;
        }
        const std::size_t end = std::min(rest_.find('\n'), rest_.size());
        line = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return true;
    }

  private:
    std::string_view rest_;
};

/// Reads all of `lines` into `table`.
template <class Lines>
void readTable(Lines& lines, GDB& table) {
    int rowNumber = 1;
    bool formatSeen = false;
    RowLayout layout;
    std::string_view line;
    std::vector<std::string_view> words;
    while (lines.next(line)) {
        orvix::splitWords(line, words);
        if (words.empty()) {
            continue;
        }
        // A row isn't done with yet: it may act as a keyword line too.
        if (formatSeen && table.varsCount > 0 &&
            words.size() == static_cast<std::size_t>(table.varsCount)) {
            const auto row =
                table.entries.emplace_hint(table.entries.end(), rowNumber, GDB::Entry());
            layout.fill(row->second, words, table);
            ++rowNumber;
        }

        const std::string_view keyword = words[0];
        const std::string_view behind =
            line.substr(static_cast<std::size_t>(keyword.data() + keyword.size() - line.data()));
        if (orvix::equalsFolded(keyword, "REMARK")) {
            table.remarks.emplace_back(behind.substr(behind.empty() ? 0 : 1));
        } else if (orvix::equalsFolded(keyword, "DATA")) {
            table.dataLines.push_back(orvix::joinWords(words, 1));
        } else if (orvix::equalsFolded(keyword, "VARS")) {
            table.varsLine = orvix::joinWords(words, 1);
            table.VARS_str_parser(table.varsLine);
            layout.reset();
        } else if (orvix::equalsFolded(keyword, "FORMAT")) {
            table.formatLine = behind;
            table.FORMAT_str_parser(table.formatLine);
            layout.reset();
            formatSeen = true;
        }
    }

    const std::string first = table.getData("FIRST_RESID");
    table.firstResid = first.empty() ? 1 : orvix::textToInt(first);
    orvix::appendSequence(table.getData("SEQUENCE"), table.firstResid, table.residList);
}

}  // namespace

void GDB::loadGDB(const std::string& file) {
    fileName = file;
    orvix::LineReader reader(file);
    if (!reader.isOpen()) {
        const std::string message = "Can't open file " + file + " for reading";
        throw orvix::RunEnd(orvix::EndReason::dataDirectory, 0, "\t" + message + "\n", message);
    }
    readTable(reader, *this);
}

void GDB::loadText(std::string_view text, const std::string& name) {
    fileName = name;
    TextLines lines(text);
    readTable(lines, *this);
}

std::string GDB::tableText() const {
    std::string text;
    if (!plainText) {
        appendHeader(text, *this);
    }
    appendRows(text, *this);
    return text;
}

void GDB::saveGDB(const std::string& file) {
    orvix::TextWriter out(file);
    if (!out.isOpen()) {
        orvix::err() << "\tCan't save file " << file << "\n";
        return;
    }
    out.text() = tableText();
}
