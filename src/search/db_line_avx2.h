#pragma once

#include <cstdint>

/// The reader of database lines for processors with AVX2: four numbers at a time. This header is
/// all that its unit sees of the system, so that no inline function shared with other units gets
/// compiled there.
namespace orvix::search {

/// As DatabaseRow.
struct LineCells {
    float* shifts;
    float* angles;
    int* resid;
    int* box;
    char* letter;
    const char* source;
    std::uint32_t sourceLength;
};

/// Whether readLineAvx2 was built with its instructions.
extern const bool avx2LinesBuilt;

/// Reads a line whose numbers are plain decimals of up to eight characters, with 64 readable bytes
/// around it. Returns its line feed, or null for any other line; then the cells hold anything.
/// Takes the source word as it is: its length and what it is made of are the caller's to look at.
const char* readLineAvx2(const char* line, LineCells& cells);

}  // namespace orvix::search
