// Compiled with -mavx2 and called only where the processor has it. Nothing but the intrinsics and
// plain records may be used here.
#include "search/scan_filter.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace orvix::search {

const bool avx2FilterBuilt = true;

namespace {

inline __m256i loadAt(const std::uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

inline __m256i tableAt(const std::uint8_t* p) {
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(p));
}

/// Sums of shortfalls of 64 rows.
struct Sums {
    __m256i low = _mm256_setzero_si256();
    __m256i high = _mm256_setzero_si256();
};

inline __m256i letterShortfalls(const FilterPosition& at, const std::uint8_t* letters) {
    const __m256i letter = loadAt(letters);
    const __m256i low = _mm256_shuffle_epi8(tableAt(at.lowLetters), letter);
    const __m256i high = _mm256_shuffle_epi8(tableAt(at.highLetters), letter);
    // Bit 4 of the code, moved to where the blend looks, says which half it belongs to.
    return _mm256_blendv_epi8(low, high, _mm256_slli_epi16(letter, 3));
}

/// Adds what 64 rows fall short at one position.
inline void addPosition(Sums& sums, const FilterPosition& at, const std::uint8_t* tiles,
                        const std::uint8_t* places, const std::uint8_t* letters) {
    __m256i savedLow = _mm256_setzero_si256();
    __m256i savedHigh = _mm256_setzero_si256();
    if (at.tiles > 0) {
        const __m256i tileLow = loadAt(tiles + at.offset);
        const __m256i tileHigh = loadAt(tiles + at.offset + 32);
        const __m256i placeLow = loadAt(places + at.offset);
        const __m256i placeHigh = loadAt(places + at.offset + 32);
        for (int t = 0; t < at.tiles; ++t) {
            const __m256i tile = tableAt(at.tile[t]);
            const __m256i saving = tableAt(at.saving[t]);
            savedLow = _mm256_blendv_epi8(savedLow, _mm256_shuffle_epi8(saving, placeLow),
                                          _mm256_cmpeq_epi8(tileLow, tile));
            savedHigh = _mm256_blendv_epi8(savedHigh, _mm256_shuffle_epi8(saving, placeHigh),
                                           _mm256_cmpeq_epi8(tileHigh, tile));
        }
    }
    const __m256i base = _mm256_set1_epi8(static_cast<char>(at.base));
    sums.low = _mm256_adds_epu8(sums.low, _mm256_subs_epu8(base, savedLow));
    sums.high = _mm256_adds_epu8(sums.high, _mm256_subs_epu8(base, savedHigh));
    if (at.hasLetters) {
        sums.low = _mm256_adds_epu8(sums.low, letterShortfalls(at, letters + at.offset));
        sums.high = _mm256_adds_epu8(sums.high, letterShortfalls(at, letters + at.offset + 32));
    }
}

/// One bit for each of 64 rows within the limit.
inline std::uint64_t survivors(const Sums& sums, __m256i limit) {
    const __m256i low = _mm256_cmpeq_epi8(_mm256_min_epu8(sums.low, limit), sums.low);
    const __m256i high = _mm256_cmpeq_epi8(_mm256_min_epu8(sums.high, limit), sums.high);
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(low)) |
           static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm256_movemask_epi8(high))) << 32;
}

}  // namespace

int filterRowsAvx2(const RowFilter& filter, const FilterPlanes& planes, int first, int last,
                   int* rows) {
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(filter.limit));
    int count = 0;
    for (int i = first; i < last; i += filterGroup) {
        Sums sums;
        addPosition(sums, filter.position[0], planes.tile + i, planes.place + i, planes.centre + i);
        // One look behind the centre pays; looking behind every position costs more in wrong
        // guesses of the branch than the positions that it saves.
        if (survivors(sums, limit) == 0) {
            continue;
        }
        for (int p = 1; p < filter.positions; ++p) {
            addPosition(sums, filter.position[p], planes.tile + i, planes.place + i,
                        planes.letter + i);
        }
        for (std::uint64_t left = survivors(sums, limit); left != 0; left &= left - 1) {
            rows[count++] = i + __builtin_ctzll(left);
        }
    }
    return count;
}

}  // namespace orvix::search

#else

namespace orvix::search {

const bool avx2FilterBuilt = false;

// Never called then; there for the linker.
int filterRowsAvx2(const RowFilter&, const FilterPlanes&, int, int, int*) {
    return 0;
}

}  // namespace orvix::search

#endif
