// Text form of the typed table.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <ostream>
#include <utility>

#include "base/line_reader.h"
#include "base/numbers.h"
#include "base/streams.h"
#include "base/text.h"
#include "base/text_writer.h"
#include "tables/cell_format.h"
#include "tables/gdb2.h"
#include "tables/shift_table_reports.h"

namespace {

constexpr std::size_t lettersPerLine = 50;
constexpr std::size_t lettersPerGroup = 10;

LineNode::Val parseCell(int type, std::string_view word) {
    switch (type) {
        case 0:
            return LineNode::Val(orvix::textToInt(word));
        case 1:
            return LineNode::Val(orvix::textToFloat(word));
        default:
            return LineNode::Val(std::string(word));
    }
}

void appendRow(GDB2& table, const std::vector<std::string_view>& words) {
    auto node = std::make_unique<LineNode>();
    node->cells.reserve(words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
        node->cells.push_back(parseCell(table.varTypes[i], words[i]));
    }
    node->cellCount = static_cast<int>(node->cells.size());
    node->lineIndex = ++table.lineCount;
    table.lines->push_back(node.get());
    node.release();
}

// Residues are numbered as their line is met, so the first number must stand in front of them.
void readDataLine(GDB2& table, const std::vector<std::string_view>& words) {
    if (words.size() < 3) {
        return;
    }
    if (words[1] == "FIRST_RESID") {
        table.firstResid = orvix::textToInt(words[2]);
    } else if (words[1] == "SEQUENCE") {
        for (std::size_t i = 2; i < words.size(); ++i) {
            orvix::appendSequence(words[i], table.firstResid, table.residList);
        }
    }
}

void writeSequence(orvix::TextWriter& out, const std::map<int, std::string>& residues) {
    std::string letters;
    for (const auto& [resid, name] : residues) {
        letters += name;
    }
    for (std::size_t i = 0; i < letters.size(); ++i) {
        if (i % lettersPerLine == 0) {
            out.text() += "DATA SEQUENCE ";
        }
        out.text() += letters[i];
        if ((i + 1) % lettersPerGroup == 0) {
            out.text() += ' ';
        }
        if ((i + 1) % lettersPerLine == 0 || i + 1 == letters.size()) {
            out.endLine();
        }
    }
}

void writeHeader(orvix::TextWriter& out, const GDB2& table) {
    bool sequenceWritten = false;
    std::vector<std::string_view> words;
    for (const std::string& line : table.headerLines) {
        orvix::splitWords(line, words);
        if (words.size() > 1 && words[0] == "DATA" && words[1] == "SEQUENCE") {
            if (!sequenceWritten) {
                writeSequence(out, table.residList);
            }
            sequenceWritten = true;
            continue;
        }
        if (!words.empty() && words[0] == "DATA") {
            out.text() += "DATA " + orvix::joinWords(words, 1);
        } else if (!line.empty()) {
            out.text() += "REMARK " + line;
        }
        out.endLine();
    }
    if (!sequenceWritten && !table.residList.empty()) {
        out.endLine();
        writeSequence(out, table.residList);
    }
    out.text() += "VARS   ";
    for (const auto& [index, name] : table.vars) {
        out.text() += name + " ";
    }
    out.endLine();
    out.text() += "FORMAT ";
    for (const auto& [index, spec] : table.formats) {
        out.text() += spec;
    }
    out.endLine();
    out.endLine();
}

void writeRows(orvix::TextWriter& out, const GDB2& table) {
    if (!table.lines) {
        return;
    }
    std::vector<orvix::tables::CellFormat> columns;
    for (int i = 0; i < table.varsCount; ++i) {
        const auto spec = table.formats.find(i);
        columns.emplace_back(spec == table.formats.end() ? std::string_view() : spec->second);
    }
    for (const LineNode* node : *table.lines) {
        const std::size_t count = std::min(node->cells.size(), columns.size());
        for (std::size_t i = 0; i < count; ++i) {
            const LineNode::Val& cell = node->cells[i];
            if (cell.type == 0) {
                columns[i].appendInt(out.text(), cell.toInt());
            } else if (cell.type == 1) {
                columns[i].appendReal(out.text(), static_cast<double>(cell.toFloat()));
            } else {
                columns[i].appendText(out.text(), *static_cast<const std::string*>(cell.value));
            }
        }
        out.endLine();
    }
}

}  // namespace

bool GDB2::loadGDB(const std::string& file) {
    fileName = file;
    orvix::LineReader reader(file);
    if (!reader.isOpen()) {
        return orvix::tables::failLoad(*this, "\tFile Error: Can't open input file for reading\n");
    }

    bool readsRows = false;
    std::string_view line;
    std::vector<std::string_view> words;
    while (reader.next(line)) {
        orvix::splitWords(line, words);
        if (words.empty()) {
            if (!readsRows) {
                headerLines.emplace_back();
            }
            continue;
        }
        if (readsRows && words.size() == static_cast<std::size_t>(varsCount)) {
            appendRow(*this, words);
            continue;
        }

        const std::string_view keyword = words[0];
        const std::string_view behind =
            line.substr(static_cast<std::size_t>(keyword.data() + keyword.size() - line.data()));
        if (orvix::equalsFolded(keyword, "REMARK")) {
            headerLines.emplace_back(behind.substr(behind.empty() ? 0 : 1));
        } else if (orvix::equalsFolded(keyword, "DATA")) {
            headerLines.emplace_back(line);
            readDataLine(*this, words);
        } else if (orvix::equalsFolded(keyword, "VARS")) {
            varsLine = orvix::joinWords(words, 1);
            readsRows = false;
            if (!varsStrParser(varsLine)) {
                return false;
            }
        } else if (orvix::equalsFolded(keyword, "FORMAT")) {
            formatLine = behind;
            if (!formatStrParser(formatLine)) {
                return false;
            }
            readsRows = !vars.empty() && formats.size() == vars.size() && initNodes();
        }
    }

    if (varsCount < 1) {
        return orvix::tables::failLoad(*this, "Format Error: Missing input table keyword VARS\n");
    }
    if (lineCount == 0) {
        return orvix::tables::failLoad(
            *this, "Format Error: No valid data found and read from input file \n");
    }
    const std::int64_t last =
        firstResid - std::int64_t{1} + static_cast<std::int64_t>(residList.size());
    lastResid = static_cast<int>(std::clamp<std::int64_t>(last, INT_MIN, INT_MAX));
    return true;
}

void GDB2::saveGDB(const std::string& file) {
    orvix::TextWriter out(file);
    if (!out.isOpen()) {
        orvix::err() << "\tFile Error: Can't save file " << file;
        return;
    }
    if (!plainText) {
        writeHeader(out, *this);
    }
    writeRows(out, *this);
}
