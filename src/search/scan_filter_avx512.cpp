// Compiled with -mavx512f -mavx512bw and called only where the processor has both. Nothing but the
// intrinsics and plain records may be used here.
#include "search/scan_filter.h"

#if defined(__AVX512F__) && defined(__AVX512BW__)

#include <immintrin.h>

namespace orvix::search {

const bool avx512FilterBuilt = true;

namespace {

inline __m512i loadAt(const std::uint8_t* p) {
    return _mm512_loadu_si512(p);
}

/// 32 bytes of a table, twice. The masked form, since g++ 12 warns of the undefined register that
/// it passes to the other one.
inline __m512i tableAt(const std::uint8_t* p) {
    return _mm512_maskz_broadcast_i64x4(0xFF,
                                        _mm256_load_si256(reinterpret_cast<const __m256i*>(p)));
}

inline __m512i letterShortfalls(const FilterPosition& at, const std::uint8_t* letters) {
    const __m512i letter = loadAt(letters);
    const __m512i low = _mm512_shuffle_epi8(tableAt(at.lowLetters), letter);
    const __mmask64 high = _mm512_test_epi8_mask(letter, _mm512_set1_epi8(16));
    return _mm512_mask_shuffle_epi8(low, high, tableAt(at.highLetters), letter);
}

/// Adds to `sum` what 64 rows fall short at one position.
inline __m512i addPosition(__m512i sum, const FilterPosition& at, const std::uint8_t* tiles,
                           const std::uint8_t* places, const std::uint8_t* letters) {
    __m512i saved = _mm512_setzero_si512();
    if (at.tiles > 0) {
        const __m512i tile = loadAt(tiles + at.offset);
        const __m512i place = loadAt(places + at.offset);
        for (int t = 0; t < at.tiles; ++t) {
            const __mmask64 here = _mm512_cmpeq_epi8_mask(tile, tableAt(at.tile[t]));
            saved = _mm512_mask_shuffle_epi8(saved, here, tableAt(at.saving[t]), place);
        }
    }
    const __m512i base = _mm512_set1_epi8(static_cast<char>(at.base));
    sum = _mm512_adds_epu8(sum, _mm512_subs_epu8(base, saved));
    if (at.hasLetters) {
        sum = _mm512_adds_epu8(sum, letterShortfalls(at, letters + at.offset));
    }
    return sum;
}

}  // namespace

int filterRowsAvx512(const RowFilter& filter, const FilterPlanes& planes, int first, int last,
                     int* rows) {
    const __m512i limit = _mm512_set1_epi8(static_cast<char>(filter.limit));
    int count = 0;
    for (int i = first; i < last; i += filterGroup) {
        __m512i sum = addPosition(_mm512_setzero_si512(), filter.position[0], planes.tile + i,
                                  planes.place + i, planes.centre + i);
        if (_mm512_cmple_epu8_mask(sum, limit) == 0) {
            continue;
        }
        for (int p = 1; p < filter.positions; ++p) {
            sum = addPosition(sum, filter.position[p], planes.tile + i, planes.place + i,
                              planes.letter + i);
        }
        for (std::uint64_t left = _mm512_cmple_epu8_mask(sum, limit); left != 0; left &= left - 1) {
            rows[count++] = i + __builtin_ctzll(left);
        }
    }
    return count;
}

}  // namespace orvix::search

#else

namespace orvix::search {

const bool avx512FilterBuilt = false;

// Never called then; there for the linker.
int filterRowsAvx512(const RowFilter&, const FilterPlanes&, int, int, int*) {
    return 0;
}

}  // namespace orvix::search

#endif
