#include "tables/cells.h"

#include <cmath>
#include <cstdio>

#include "base/missing.h"
#include "base/numbers.h"

namespace orvix::tables {

GDB headerOf(const GDB& table) {
    GDB header;
    header.className = table.className;
    header.plainText = table.plainText;
    header.fileName = table.fileName;
    header.formatLine = table.formatLine;
    header.varsLine = table.varsLine;
    header.varsCount = table.varsCount;
    header.firstResid = table.firstResid;
    header.residList = table.residList;
    header.remarks = table.remarks;
    header.dataLines = table.dataLines;
    header.vars = table.vars;
    header.formats = table.formats;
    return header;
}

const std::string& cellOf(const GDB::Entry* row, const std::string& column) {
    static const std::string none;
    if (row == nullptr) {
        return none;
    }
    const auto cell = row->find(column);
    return cell == row->end() ? none : cell->second;
}

const GDB::Entry* findRow(const GDB& table, const std::string& column, const std::string& value) {
    for (const auto& [number, row] : table.entries) {
        if (cellOf(&row, column) == value) {
            return &row;
        }
    }
    return nullptr;
}

RowsByText::RowsByText(const GDB& table, const std::string& column) {
    for (const auto& [number, row] : table.entries) {
        rows_.emplace(cellOf(&row, column), &row);
    }
}

const GDB::Entry* RowsByText::find(const std::string& value) const {
    const auto found = rows_.find(value);
    return found == rows_.end() ? nullptr : found->second;
}

double shiftFromText(std::string_view text) {
    const double value = textToDouble(text);
    return std::isfinite(value) ? value : missingValue;
}

std::string shiftText(double shift) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6lg", shift);
    return text;
}

std::string shiftAtom(const std::string& atom) {
    return atom == "H" ? "HN" : atom;
}

}  // namespace orvix::tables
