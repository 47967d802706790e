// Compiled with -mavx2 and called only where the processor has it. Nothing but the intrinsics and
// plain records may be used here.
#include "search/scan_filter.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace orvix {

const bool avx2FilterBuilt = true;

namespace {

inline __m256i loadAt(const std::uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

inline __m256i tableAt(const std::uint8_t* p) {
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(p));
}

/// Adds to `sum` what 32 rows fall short at one position.
inline __m256i addPosition(__m256i sum, const FilterPosition& at, const std::uint8_t* tiles,
                           const std::uint8_t* places, const std::uint8_t* letters) {
    __m256i saved = _mm256_setzero_si256();
    if (at.tiles > 0) {
        const __m256i tile = loadAt(tiles + at.offset);
        const __m256i place = loadAt(places + at.offset);
        for (int t = 0; t < at.tiles; ++t) {
            const __m256i here = _mm256_cmpeq_epi8(tile, tableAt(at.tile[t]));
            const __m256i saving = _mm256_shuffle_epi8(tableAt(at.saving[t]), place);
            saved = _mm256_or_si256(saved, _mm256_and_si256(here, saving));
        }
    }
    const __m256i base = _mm256_set1_epi8(static_cast<char>(at.base));
    sum = _mm256_adds_epu8(sum, _mm256_subs_epu8(base, saved));
    if (at.hasLetters) {
        const __m256i letter = loadAt(letters + at.offset);
        const __m256i low = _mm256_shuffle_epi8(tableAt(at.lowLetters), letter);
        const __m256i high = _mm256_shuffle_epi8(tableAt(at.highLetters), letter);
        // Bit 4 of the code, moved to where the blend looks, says which half it belongs to.
        sum = _mm256_adds_epu8(sum, _mm256_blendv_epi8(low, high, _mm256_slli_epi16(letter, 3)));
    }
    return sum;
}

inline unsigned survivors(__m256i sum, __m256i limit) {
    return static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_min_epu8(sum, limit), sum)));
}

}  // namespace

int filterRowsAvx2(const RowFilter& filter, const FilterPlanes& planes, int first, int last,
                   int* rows) {
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(filter.limit));
    int count = 0;
    for (int i = first; i < last; i += 32) {
        __m256i sum = addPosition(_mm256_setzero_si256(), filter.position[0], planes.tile + i,
                                  planes.place + i, planes.centre + i);
        unsigned left = survivors(sum, limit);
        // Where the chain bends away from the map all 32 rows are soon out; looking after every
        // position costs less than the positions it saves.
        for (int p = 1; p < filter.positions && left != 0; ++p) {
            sum = addPosition(sum, filter.position[p], planes.tile + i, planes.place + i,
                              planes.letter + i);
            left = survivors(sum, limit);
        }
        while (left != 0) {
            rows[count++] = i + __builtin_ctz(left);
            left &= left - 1;
        }
    }
    return count;
}

}  // namespace orvix

#else

namespace orvix {

const bool avx2FilterBuilt = false;

// Never called then; there for the linker.
int filterRowsAvx2(const RowFilter&, const FilterPlanes&, int, int, int*) { return 0; }

}  // namespace orvix

#endif
