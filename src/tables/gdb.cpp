#include "tables/gdb.h"

#include <algorithm>
#include <cstring>
#include <ostream>

#include "base/run_end.h"
#include "base/streams.h"
#include "base/text.h"

namespace {

orvix::RunEnd tableEnd(const std::string& message) {
    return {orvix::EndReason::dataDirectory, 0, "\t" + message + "\n", message};
}

struct Preset {
    const char* word;
    const char* names;
    const char* specifiers;
};

constexpr Preset presets[] = {
    {"ORVIX_SHIFT", "RESID RESNAME ATOMNAME SHIFT", "%4d %1s %4s  %8.3f"},
    {"ORVIX_PRED", "INDEX PHI PSI DIST W R1 R2 R3 SOURCE",
     "%2d %9.3f %9.3f %8.3f %5.3f %-4s %-4s %-4s %s"},
};

// Index of the first column of that name; -1 when there is none.
int findColumn(const std::map<int, std::string>& vars, const std::string& name) {
    for (const auto& [index, column] : vars) {
        if (column == name) {
            return index;
        }
    }
    return -1;
}

// Checks of a new column that both ways to set one share; reports what is wrong.
bool columnIsValid(const std::string& name, const std::string& spec) {
    if (!orvix::checkFormat(spec)) {
        orvix::err() << "\tBad format syntax '" << spec << "'\n";
        return false;
    }
    if (name.find(' ') != std::string::npos) {
        orvix::err() << "\tInvalid varible name '" << name << "' (with space)\n";
        return false;
    }
    return true;
}

bool holdsOnce(const std::string& spec, char letter) {
    return orvix::countOccurrences(spec, letter) == 1;
}

bool columnHolds(const GDB& table, const std::string& name, char letter) {
    const int index = findColumn(table.vars, name);
    const auto spec = table.formats.find(index);
    return index >= 0 && spec != table.formats.end() && holdsOnce(spec->second, letter);
}

// Whether the row's cell equals the value; a missing cell is empty.
bool cellEquals(const GDB::Entry& row, const std::string& name, const std::string& value) {
    const auto cell = row.find(name);
    return cell == row.end() ? value.empty() : cell->second == value;
}

// A copy of the `n`-th row for which `matches` holds; empty when there is none.
template <typename Matches>
GDB::Entry nthRow(const std::map<int, GDB::Entry>& entries, int n, Matches matches) {
    int count = 0;
    for (const auto& [number, row] : entries) {
        if (matches(row) && ++count == n) {
            return row;
        }
    }
    return {};
}

}  // namespace

GDB::GDB(const std::string& file) {
    loadGDB(file);
}

void GDB::VARS_str_parser(const std::string& names) {
    vars.clear();
    entries.clear();
    const std::vector<std::string> pieces = split(" ", names);
    varsCount = static_cast<int>(pieces.size());
    for (int i = 0; i < varsCount; ++i) {
        vars[i] = pieces[static_cast<std::size_t>(i)];
    }
}

void GDB::FORMAT_str_parser(const std::string& specifiers) {
    formats.clear();
    entries.clear();
    const int count = contains(specifiers, '%');
    if (count == 0 || count != varsCount) {
        return;
    }
    int index = 0;
    for (std::string& spec : orvix::splitSpecifiers(specifiers, varsCount)) {
        if (!checkFormat(spec)) {
            throw tableEnd("Bad format syntax '" + spec + "'");
        }
        formats[index++] = std::move(spec);
    }
}

void GDB::presetClass(const std::string& word) {
    for (const Preset& preset : presets) {
        if (word == preset.word) {
            className = word;
            varsLine = preset.names;
            formatLine = preset.specifiers;
            VARS_str_parser(varsLine);
            FORMAT_str_parser(formatLine);
        }
    }
}

void GDB::addRemark(const std::string& text) {
    remarks.push_back(text);
}

void GDB::setData(const std::string& key, const std::string& value) {
    dataLines.push_back(key + " " + value);
}

std::string GDB::getData(const std::string& key) const {
    std::string values;
    for (const std::string& line : dataLines) {
        const std::size_t blank = std::min(line.find(' '), line.size());
        if (orvix::equalsFolded(std::string_view(line).substr(0, blank), key)) {
            values += ' ';
            values.append(line, std::min(blank + 1, line.size()));
        }
    }
    return values;
}

std::string GDB::getResidName(int resid) {
    return residList[resid];
}

void GDB::addVAR(const std::string& name, const std::string& spec) {
    if (!columnIsValid(name, spec)) {
        return;
    }
    int index = findColumn(vars, name);
    if (index < 0) {
        index = vars.empty() ? 0 : vars.rbegin()->first + 1;
        ++varsCount;
    }
    vars[index] = name;
    formats[index] = spec;
}

void GDB::setVAR(int index, const std::string& name, const std::string& spec) {
    if (!columnIsValid(name, spec)) {
        return;
    }
    if (index < 1 || index > varsCount + 1) {
        orvix::err() << "\tPlease use number 1-" << varsCount + 1 << " as index for varible '"
                     << name << "' with format '" << spec << "'\n";
        return;
    }
    vars[index - 1] = name;
    formats[index - 1] = spec;
    if (index == varsCount + 1) {
        ++varsCount;
    }
}

bool GDB::isVarString(const std::string& name) const {
    return columnHolds(*this, name, 's');
}

bool GDB::isVarInt(const std::string& name) const {
    return columnHolds(*this, name, 'd');
}

bool GDB::isVarFloat(const std::string& name) const {
    return columnHolds(*this, name, 'f');
}

bool GDB::isVarString(int index) {
    return holdsOnce(formats[index], 's');
}

bool GDB::isVarInt(int index) {
    return holdsOnce(formats[index], 'd');
}

bool GDB::isVarFloat(int index) {
    return holdsOnce(formats[index], 'f');
}

int GDB::getEntryCount() const {
    return static_cast<int>(entries.size());
}

void GDB::setEntry(int row, const std::string& name, const std::string& value) {
    if (findColumn(vars, name) < 0) {
        throw tableEnd("Invalid varible name '" + name + "'");
    }
    entries[row][name] = value;
}

void GDB::addEntry(const std::string& name, const std::string& value) {
    setEntry(getEntryCount() + 1, name, value);
}

GDB::Entry GDB::getEntry(int row) {
    return entries[row];
}

GDB::Entry GDB::getEntry(const std::string& name, const std::string& value, int n) const {
    return nthRow(entries, n, [&](const Entry& row) { return cellEquals(row, name, value); });
}

GDB::Entry GDB::getEntry(const std::string& name1, const std::string& value1,
                         const std::string& name2, const std::string& value2, int n) const {
    return nthRow(entries, n, [&](const Entry& row) {
        return cellEquals(row, name1, value1) && cellEquals(row, name2, value2);
    });
}

bool GDB::checkFormat(const std::string& spec) {
    return orvix::checkFormat(spec);
}

std::string GDB::simplifyWhiteSpace(const std::string& s) {
    return orvix::simplifyWhiteSpace(s);
}

std::vector<std::string> GDB::split_WhiteSpace(const std::string& s) {
    return orvix::splitWhiteSpace(s);
}

std::vector<std::string> GDB::split(const std::string& separator, const std::string& s) {
    return orvix::split(separator, s);
}

std::vector<std::string> GDB::split(const char& separator, const std::string& s) {
    return orvix::split(std::string_view(&separator, 1), s);
}

char* GDB::section(const std::string& s, const char& separator, char* out, int start, int end) {
    const std::string joined = orvix::section(s, separator, start, end);
    std::memcpy(out, joined.c_str(), joined.size() + 1);
    return out;
}

int GDB::contains(const std::string& s, const std::string& part) {
    return orvix::countOccurrences(s, part);
}

int GDB::contains(const std::string& s, const char& c) {
    return orvix::countOccurrences(s, c);
}

bool GDB::isDigit(const char& c) {
    return orvix::isDigit(c);
}

bool GDB::isSpace(const char& c) {
    return orvix::isSpace(c);
}
