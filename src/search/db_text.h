#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// One line of database text: 19 fields between white space,
/// source word, residue letter, residue number, phi, psi, chi1, box, and six pairs of value and
/// scale. Values are 32-bit floats, rounded once from the decimal text.
namespace orvix::search {

inline constexpr std::size_t maxSourceLength = 29;
inline constexpr int databaseFields = 19;

/// Where the fields of a row go. `source` points into the line that was read.
struct DatabaseRow {
    float* shifts = nullptr;  ///< [12]
    float* angles = nullptr;  ///< [3]
    int* resid = nullptr;
    int* box = nullptr;
    char* letter = nullptr;
    std::string_view source;
};

enum class LineResult {
    row,            ///< all fields were read
    blank,          ///< nothing but white space
    tooFewFields,   ///< the line lacks fields, or one of them can't be read
    sourceTooLong,  ///< more than maxSourceLength characters
};

/// Reads `line` (without its line feed) by the C library's formatted input. The plain form.
/// Unsigned fields wrap into int.
LineResult readDatabaseLinePlain(std::string_view line, DatabaseRow& row);

/// Bytes that the fast forms may read before a line and behind its line feed.
inline constexpr std::size_t lineMargin = 64;

/// Reads a line of plain decimals that starts at `line` and has a line feed, with `lineMargin`
/// readable bytes around it. Returns the line feed, or null for a line that needs the plain form;
/// then the cells of `row` hold anything. The same bits as the plain form.
using LineParser = const char* (*)(const char* line, DatabaseRow& row);

/// The one for any processor: digit by digit.
const char* readDatabaseLinePortable(const char* line, DatabaseRow& row);
/// The best one for this processor.
LineParser fastLineReader();

/// Whether `line` is no data at all: empty, a comment ("#" in the first column), or white space.
bool isSkippedLine(std::string_view line);

}  // namespace orvix::search
