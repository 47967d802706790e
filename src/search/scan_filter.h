#pragma once

#include <cstdint>

/// A safe filter in front of the exact score: bounds what each row of a window falls short of the
/// best score that is possible, in whole units of 8 bits.
///
/// This header is all that the units with their own instruction set see of the system, so that no
/// inline function shared with other units gets compiled there.
namespace orvix::search {

inline constexpr int filterTiles = 26;
inline constexpr int filterPositions = 7;
inline constexpr int filterGroup = 64;  ///< rows looked at together

/// Shortfalls at one window position. A row falls short by `base` less what its box saves, and by
/// the value of its letter. 255 stands for "too far" and for forbidden letters.
struct FilterPosition {
    alignas(32) std::uint8_t tile[filterTiles][32];    ///< number of a listed tile, repeated
    alignas(32) std::uint8_t saving[filterTiles][32];  ///< by place in it, twice 16
    alignas(32) std::uint8_t lowLetters[32];           ///< shortfall of letter codes 0..15, twice
    alignas(32) std::uint8_t highLetters[32];          ///< of letter codes 16..31, twice
    int offset;                                        ///< from the centre row
    int tiles;                                         ///< listed tiles
    std::uint8_t base;
    bool hasLetters;  ///< whether any letter falls short
};

/// The positions of a window, the centre first. A row survives when the sum of its shortfalls, cut
/// off at 255, is at most `limit`, which is below 255.
struct RowFilter {
    FilterPosition position[filterPositions];
    int positions;
    std::uint8_t limit;
};

/// The planes as the filter reads them: from 3 rows before the first row to 66 behind the last.
struct FilterPlanes {
    const std::uint8_t* tile;
    const std::uint8_t* place;
    const std::uint8_t* letter;
    const std::uint8_t* centre;  ///< letter plane of the centre position
};

/// Whether the forms below were built with their instructions.
extern const bool avx2FilterBuilt;
extern const bool avx512FilterBuilt;

/// Writes the rows of first..last - 1 that survive to `rows`, in rising order, and returns their
/// number. Looks at whole groups: rows behind the last one may be reported too, as far as their
/// centre letter allows. `rows` has room for last - first + filterGroup entries.
int filterRowsAvx2(const RowFilter& filter, const FilterPlanes& planes, int first, int last,
                   int* rows);
/// The same with 64 rows in a register.
int filterRowsAvx512(const RowFilter& filter, const FilterPlanes& planes, int first, int last,
                     int* rows);

}  // namespace orvix::search
