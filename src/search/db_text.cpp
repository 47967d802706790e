#include "search/db_text.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace orvix {

namespace {

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

const char* skipBlanks(const char* p) {
    while (*p == ' ' || *p == '\t') {
        ++p;
    }
    return p;
}

unsigned digitOf(char c) { return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0'; }

constexpr int maxFraction = 11;
constexpr std::array<double, maxFraction + 1> powersOfTen = {1e0, 1e1, 1e2, 1e3, 1e4,  1e5,
                                                             1e6, 1e7, 1e8, 1e9, 1e10, 1e11};

/// A decimal without exponent that ends at white space; null otherwise. Up to 15 digits make an
/// exact mantissa and up to 11 places an exact power of ten, so the quotient is rounded once to
/// double; no such decimal lies so close to the middle of two floats, without being that middle,
/// that the second rounding could differ from rounding the decimal itself.
inline const char* readReal(const char* p, float& out) {
    const bool negative = *p == '-';
    p += negative ? 1 : 0;
    std::uint64_t mantissa = 0;
    const char* const first = p;
    for (unsigned digit = digitOf(*p); digit < 10; digit = digitOf(*++p)) {
        mantissa = mantissa * 10 + digit;
    }
    std::ptrdiff_t digits = p - first;
    std::ptrdiff_t fraction = 0;
    if (*p == '.') {
        const char* const point = p++;
        for (unsigned digit = digitOf(*p); digit < 10; digit = digitOf(*++p)) {
            mantissa = mantissa * 10 + digit;
        }
        fraction = p - point - 1;
        digits += fraction;
    }
    if (digits == 0 || digits > 15 || fraction > maxFraction || !isSpace(*p)) {
        return nullptr;
    }
    const double value =
        static_cast<double>(mantissa) / powersOfTen[static_cast<std::size_t>(fraction)];
    out = static_cast<float>(negative ? -value : value);
    return p;
}

/// Up to nine digits that end at white space; null otherwise.
inline const char* readWhole(const char* p, int& out) {
    const char* const first = p;
    unsigned value = 0;
    for (unsigned digit = digitOf(*p); digit < 10; digit = digitOf(*++p)) {
        value = value * 10 + digit;
    }
    if (p == first || p - first > 9 || !isSpace(*p)) {
        return nullptr;
    }
    out = static_cast<int>(value);
    return p;
}

}  // namespace

bool isSkippedLine(std::string_view line) {
    if (line.empty() || line.front() == '#') {
        return true;
    }
    for (char c : line) {
        if (!isSpace(c)) {
            return false;
        }
    }
    return true;
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
    const int fields = std::sscanf(
        text.c_str(),
        "%29s %c %u "
        "%f %f %f "
        "%u "
        "%f %f %f %f %f %f %f %f %f %f %f %f ",
        source, row.letter, &number, &a[0], &a[1], &a[2], &box, &s[0], &s[1], &s[2], &s[3], &s[4], &s[5],
        &s[6], &s[7], &s[8], &s[9], &s[10], &s[11]);
    if (fields != databaseFields) {
        return LineResult::tooFewFields;
    }
    *row.resid = static_cast<int>(number);
    *row.box = static_cast<int>(box);
    row.source = line.substr(begin, end - begin);
    return LineResult::row;
}

const char* readDatabaseLineFast(const char* line, DatabaseRow& row) {
    const char* p = line;
    while (static_cast<unsigned char>(*p) > ' ') {
        ++p;
    }
    row.source = std::string_view(line, static_cast<std::size_t>(p - line));
    if (row.source.empty() || row.source.size() > maxSourceLength || (*p != ' ' && *p != '\t')) {
        return nullptr;
    }
    p = skipBlanks(p);
    if (static_cast<unsigned char>(*p) <= ' ' || (p[1] != ' ' && p[1] != '\t')) {
        return nullptr;
    }
    *row.letter = *p;
    p = readWhole(skipBlanks(p + 1), *row.resid);
    for (int i = 0; i < 3 && p != nullptr; ++i) {
        p = readReal(skipBlanks(p), row.angles[i]);
    }
    if (p == nullptr) {
        return nullptr;
    }
    p = readWhole(skipBlanks(p), *row.box);
    for (int i = 0; i < 12 && p != nullptr; ++i) {
        p = readReal(skipBlanks(p), row.shifts[i]);
    }
    if (p == nullptr) {
        return nullptr;
    }
    while (*p != '\n') {
        ++p;
    }
    return p;
}

}  // namespace orvix
