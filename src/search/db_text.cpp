#include "search/db_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/decimal.h"
#include "base/text.h"
#include "search/db_line_avx2.h"

namespace orvix::search {

namespace {

// The line feed stays: it is no part of any field.
inline const char* skipBlanks(const char* p) {
    while (*p == ' ' || (isSpace(*p) && *p != '\n')) {
        ++p;
    }
    return p;
}

// A word without NUL, which formatted input takes for the end of the line. Null otherwise.
inline const char* wordEnd(const char* p) {
    while (!isSpace(*p) && *p != '\0') {
        ++p;
    }
    return *p == '\0' ? nullptr : p;
}

inline const char* readReal(const char* p, float& out) {
    double value = 0.0;
    const char* const end = readPlainDecimal<placesOfFloat>(skipBlanks(p), value);
    out = static_cast<float>(value);
    return end;
}

// Up to nine digits that white space ends; null for anything else.
inline const char* readWhole(const char* p, int& out) {
    p = skipBlanks(p);
    const char* const first = p;
    int value = 0;
    for (unsigned d = digitOf(*p); d < 10 && p - first < 9; d = digitOf(*++p)) {
        value = value * 10 + static_cast<int>(d);
    }
    out = value;
    return p > first && isSpace(*p) ? p : nullptr;
}

// A line for four numbers at a time, twice as fast as digit by digit.
const char* readWide(const char* line, DatabaseRow& row) {
    LineCells cells{row.shifts, row.angles, row.resid, row.box, row.letter, nullptr, 0};
    const char* const feed = readLineAvx2(line, cells);
    if (feed == nullptr) {
        return readDatabaseLinePortable(line, row);
    }
    row.source = std::string_view(cells.source, cells.sourceLength);
    return cells.sourceLength <= maxSourceLength && wordEnd(cells.source) != nullptr &&
                   *cells.letter != '\0'
               ? feed
               : nullptr;
}

}  // namespace

bool isSkippedLine(std::string_view line) {
    if (line.empty() || line.front() == '#') {
        return true;
    }
    return std::all_of(line.begin(), line.end(), isSpace);
}

LineResult readDatabaseLinePlain(std::string_view line, DatabaseRow& row) {
    std::size_t begin = 0;
    while (begin < line.size() && isSpace(line[begin])) {
        ++begin;
    }
    if (begin == line.size()) {
        return LineResult::blank;
    }
    std::size_t end = begin;
    while (end < line.size() && line[end] != '\0' && !isSpace(line[end])) {
        ++end;
    }
    if (end - begin > maxSourceLength) {
        return LineResult::sourceTooLong;
    }
    const std::string text(line);
    char source[maxSourceLength + 1];
    unsigned number = 0;
    unsigned box = 0;
    float* const a = row.angles;
    float* const s = row.shifts;
    const int fields =
        std::sscanf(text.c_str(),
                    "%29s %c %u "
                    "%f %f %f "
                    "%u "
                    "%f %f %f %f %f %f %f %f %f %f %f %f ",
                    source, row.letter, &number, &a[0], &a[1], &a[2], &box, &s[0], &s[1], &s[2],
                    &s[3], &s[4], &s[5], &s[6], &s[7], &s[8], &s[9], &s[10], &s[11]);
    if (fields != databaseFields) {
        return LineResult::tooFewFields;
    }
    *row.resid = static_cast<int>(number);
    *row.box = static_cast<int>(box);
    row.source = line.substr(begin, end - begin);
    return LineResult::row;
}

const char* readDatabaseLinePortable(const char* line, DatabaseRow& row) {
    const char* const source = skipBlanks(line);
    const char* p = wordEnd(source);
    if (p == nullptr || p == source || p - source > static_cast<std::ptrdiff_t>(maxSourceLength)) {
        return nullptr;
    }
    row.source = std::string_view(source, static_cast<std::size_t>(p - source));
    const char* const letter = skipBlanks(p);
    if (wordEnd(letter) != letter + 1) {
        return nullptr;
    }
    *row.letter = *letter;
    p = readWhole(letter + 1, *row.resid);
    for (int i = 0; i < 3 && p != nullptr; ++i) {
        p = readReal(p, row.angles[i]);
    }
    p = p != nullptr ? readWhole(p, *row.box) : nullptr;
    for (int i = 0; i < 12 && p != nullptr; ++i) {
        p = readReal(p, row.shifts[i]);
    }
    return p != nullptr ? static_cast<const char*>(::rawmemchr(p, '\n')) : nullptr;
}

LineParser fastLineReader() {
#if defined(__x86_64__) || defined(__i386__)
    if (avx2LinesBuilt && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi")) {
        return readWide;
    }
#endif
    return readDatabaseLinePortable;
}

}  // namespace orvix::search
