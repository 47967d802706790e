// Header and columns of the typed table, and its text operations.

#include "tables/gdb2.h"

#include <cstdio>
#include <cstring>
#include <ostream>
#include <utility>

#include "base/residues.h"
#include "base/streams.h"
#include "base/text.h"

namespace {

bool columnIsValid(const std::string& name, const std::string& spec) {
    if (!orvix::checkFormat(spec)) {
        orvix::err() << "GDB format error:: Bad format syntax '" << spec << "'\n";
        return false;
    }
    if (name.find(' ') != std::string::npos) {
        orvix::err() << "GDB format error:: Invalid VAR name '" << name << "' (with space)\n";
        return false;
    }
    return true;
}

bool holdsOnce(const std::string& spec, char letter) {
    return orvix::countOccurrences(spec, letter) == 1;
}

bool columnHolds(const GDB2& table, const std::string& name, char letter) {
    for (const auto& [index, column] : table.vars) {
        if (column == name) {
            const auto spec = table.formats.find(index);
            return spec != table.formats.end() && holdsOnce(spec->second, letter);
        }
    }
    return false;
}

}  // namespace

GDB2::GDB2(const std::string& file) {
    loadGDB(file);
}

GDB2::~GDB2() {
    dropRows();
}

void GDB2::dropRows() {
    if (lines) {
        for (LineNode* node : *lines) {
            delete node;
        }
        lines.reset();
    }
    lineCount = 0;
}

bool GDB2::varsStrParser(const std::string& names) {
    dropRows();
    vars.clear();
    varIndex.clear();
    const std::vector<std::string> pieces = split(" ", names);
    varsCount = static_cast<int>(pieces.size());
    for (int i = 0; i < varsCount; ++i) {
        const std::string& name = pieces[static_cast<std::size_t>(i)];
        vars[i] = name;
        varIndex[name] = i + 1;
    }
    if (varsCount == 0) {
        orvix::err() << "GDB init error:: VARS line is empty.";
        errorText += "\tFormat Error: VARS line is empty";
        return false;
    }
    return true;
}

bool GDB2::formatStrParser(const std::string& specifiers) {
    if (varsCount == 0) {
        orvix::err() << "GDB init error:: FORMAT line needs to be specified after a VARS line.";
        errorText += "\tFormat Error: FORMAT line needs to be specified after a VARS line.";
        return false;
    }
    dropRows();
    formats.clear();
    const std::string text = " " + specifiers;
    if (contains(text, '%') != varsCount) {
        orvix::err()
            << "GDB init error:: FORMAT and VARS lines contain different number of columns.";
        errorText += "\tFormat Error: FORMAT and VARS lines contain different number of columns";
        return false;
    }
    int index = 0;
    for (std::string& spec : orvix::splitSpecifiers(text, varsCount)) {
        if (!checkFormat(spec)) {
            orvix::err() << "GDB init error:: Bad FORMAT syntax '" << spec << "'\n";
            errorText += "\tFormat Error: Invalid FORMAT line \"" + text + "\"\n";
            errorText += "\t              Bad FORMAT syntax '" + spec + "'\n";
            return false;
        }
        formats[index++] = std::move(spec);
    }
    return true;
}

bool GDB2::initNodes() {
    dropRows();
    if (varsCount == 0 || formats.size() != vars.size()) {
        orvix::err()
            << "GDB init error:: no valid VARS read or VARS and its FORMAT not matched! \n";
        return false;
    }
    if (varsCount > maxColumns) {
        orvix::err() << "GDB init error:: a table has at most " << maxColumns << " columns.\n";
        errorText +=
            "\tFormat Error: a table has at most " + std::to_string(maxColumns) + " columns\n";
        return false;
    }
    for (int i = 0; i < varsCount; ++i) {
        const auto spec = formats.find(i);
        varTypes[i] = spec == formats.end() ? 2 : getTypeFromFormatStr(spec->second);
    }
    lines = std::make_unique<std::vector<LineNode*>>();
    return true;
}

void GDB2::addRemark(const std::string& text) {
    headerLines.push_back(text);
}

void GDB2::setData(const std::string& key, const std::string& value) {
    headerLines.push_back("DATA " + key + " " + value);
}

void GDB2::setData(const std::string& key, int value) {
    setData(key, std::to_string(value));
}

void GDB2::setData(const std::string& key, float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
    setData(key, std::string(text));
}

std::string GDB2::getData(const std::string& key) const {
    std::string values;
    std::vector<std::string_view> words;
    for (const std::string& line : headerLines) {
        orvix::splitWords(line, words);
        if (words.size() > 1 && words[0] == "DATA" && words[1] == key) {
            values += ' ';
            values += orvix::joinWords(words, 2);
        }
    }
    return values;
}

std::string GDB2::getResidName(int resid) const {
    const auto residue = residList.find(resid);
    const bool inside = resid >= firstResid && resid <= lastResid && residue != residList.end();
    return inside ? residue->second : std::string();
}

int GDB2::getVarIndex1(const std::string& name) const {
    const auto column = varIndex.find(name);
    return column == varIndex.end() ? 0 : column->second;
}

int GDB2::getVarType(const std::string& name) const {
    const auto spec = formats.find(getVarIndex1(name) - 1);
    return spec == formats.end() ? -1 : getTypeFromFormatStr(spec->second);
}

bool GDB2::setVarsFormat(const std::string& names, const std::string& specifiers, bool force) {
    if (lineCount > 0 && !force) {
        return true;
    }
    varsLine = names;
    formatLine = specifiers;
    return varsStrParser(names) && formatStrParser(specifiers) && initNodes();
}

// Adds a checked column behind the last one.
bool GDB2::appendColumn(const std::string& name, const std::string& spec) {
    if (varsCount >= maxColumns) {
        orvix::err() << "GDB operation error:: a table has at most " << maxColumns << " columns.\n";
        return false;
    }
    const int index = varsCount++;
    vars[index] = name;
    varIndex[name] = varsCount;
    formats[index] = orvix::isSpace(spec.back()) ? spec : spec + " ";
    varTypes[index] = getTypeFromFormatStr(spec);
    if (lines) {
        for (LineNode* node : *lines) {
            node->cells.push_back(LineNode::Val::blank(varTypes[index]));
            node->cellCount = static_cast<int>(node->cells.size());
        }
    }
    return true;
}

bool GDB2::addVar(const std::string& name, const std::string& spec) {
    if (!columnIsValid(name, spec)) {
        return false;
    }
    const int column = getVarIndex1(name);
    return column > 0 ? setVar(column, name, spec) : appendColumn(name, spec);
}

bool GDB2::setVar(int index, const std::string& name, const std::string& spec) {
    if (!columnIsValid(name, spec)) {
        return false;
    }
    if (index < 1 || index > varsCount + 1) {
        orvix::err() << "GDB operation error:: Access an VAR node with an invalid index number - "
                     << index;
        return false;
    }
    if (index == varsCount + 1) {
        return appendColumn(name, spec);
    }
    vars[index - 1] = name;
    formats[index - 1] = spec;
    // Another column may have the old name too, and the later of two has it.
    varIndex.clear();
    for (const auto& [column, columnName] : vars) {
        varIndex[columnName] = column + 1;
    }
    const int type = getTypeFromFormatStr(spec);
    if (index <= maxColumns) {
        varTypes[index - 1] = type;
    }
    for (int row = 1; row <= lineCount; ++row) {
        LineNode::Val* const cell = cellAt(row, index);
        if (cell != nullptr && cell->type != type) {
            *cell = cell->converted(type);
        }
    }
    return true;
}

void GDB2::presetClass(const std::string& word) {
    if (word == "ORVIX_SHIFT") {
        className = word;
        varsLine = "RESID RESNAME ATOMNAME SHIFT";
        formatLine = "%4d %1s %4s  %8.3f";
        varsStrParser(varsLine);
        formatStrParser(formatLine);
    }
}

bool GDB2::isVarString(const std::string& name) const {
    return columnHolds(*this, name, 's');
}

bool GDB2::isVarInt(const std::string& name) const {
    return columnHolds(*this, name, 'd');
}

bool GDB2::isVarFloat(const std::string& name) const {
    return columnHolds(*this, name, 'f');
}

bool GDB2::isVarString(int index) {
    return holdsOnce(formats[index], 's');
}

bool GDB2::isVarInt(int index) {
    return holdsOnce(formats[index], 'd');
}

bool GDB2::isVarFloat(int index) {
    return holdsOnce(formats[index], 'f');
}

int GDB2::getTypeFromFormatStr(const std::string& spec) {
    if (!orvix::checkFormat(spec)) {
        return -1;
    }
    return holdsOnce(spec, 'd') ? 0 : holdsOnce(spec, 'f') ? 1 : 2;
}

std::string GDB2::three2One(const std::string& name) {
    const orvix::Residue* const residue = orvix::findResidue(name);
    return residue == nullptr ? "?" : std::string(1, residue->letter);
}

bool GDB2::checkFormat(const std::string& spec) {
    return orvix::checkFormat(spec);
}

std::string GDB2::simplifyWhiteSpace(const std::string& s) {
    return orvix::simplifyWhiteSpace(s);
}

std::vector<std::string> GDB2::split_WhiteSpace(const std::string& s) {
    return orvix::splitWhiteSpace(s);
}

std::vector<std::string> GDB2::split(const std::string& separator, const std::string& s) {
    return orvix::split(separator, s);
}

std::vector<std::string> GDB2::split(const char& separator, const std::string& s) {
    return orvix::split(std::string_view(&separator, 1), s);
}

char* GDB2::section(const std::string& s, const char& separator, char* out, int start, int end) {
    const std::string joined = orvix::section(s, separator, start, end);
    std::memcpy(out, joined.c_str(), joined.size() + 1);
    return out;
}

int GDB2::contains(const std::string& s, const std::string& part) {
    return orvix::countOccurrences(s, part);
}

int GDB2::contains(const std::string& s, const char& c) {
    return orvix::countOccurrences(s, c);
}

bool GDB2::isDigit(const char& c) {
    return orvix::isDigit(c);
}

bool GDB2::isSpace(const char& c) {
    return orvix::isSpace(c);
}
