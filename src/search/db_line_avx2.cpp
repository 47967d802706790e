// Compiled with -mavx2 -mbmi and called only where the processor has both. Nothing but the
// intrinsics and plain records may be used here.
#include "search/db_line_avx2.h"

#if defined(__AVX2__) && defined(__BMI__)

#include <immintrin.h>

namespace orvix::search {

const bool avx2LinesBuilt = true;

namespace {

constexpr std::uint32_t wordsNeeded = 19;

/// Places where the words of a line begin and end, in turn, counted from its first byte. There may
/// be more than are needed, up to a group of 64 bytes.
struct Edges {
    std::uint32_t at[2 * wordsNeeded + 64];
    std::uint32_t count;
    const char* feed;
};

inline std::uint64_t bitsOf(__m256i low, __m256i high) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(low)) |
           static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm256_movemask_epi8(high))) << 32;
}

inline __m256i isSpace(__m256i bytes) {
    // The control characters among the white space are those from 9 to 13.
    const __m256i aboveTab = _mm256_sub_epi8(bytes, _mm256_set1_epi8('\t'));
    const __m256i control =
        _mm256_cmpeq_epi8(_mm256_subs_epu8(aboveTab, _mm256_set1_epi8(4)), _mm256_setzero_si256());
    return _mm256_or_si256(control, _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(' ')));
}

inline bool splitLine(const char* line, Edges& edges) {
    const __m256i feedByte = _mm256_set1_epi8('\n');
    edges.count = 0;
    edges.feed = nullptr;
    std::uint64_t inWord = 0;
    for (std::uint32_t base = 0; edges.count < 2 * wordsNeeded; base += 64) {
        const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(line + base));
        const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(line + base + 32));
        const std::uint64_t letters = ~bitsOf(isSpace(low), isSpace(high));
        const std::uint64_t feeds =
            bitsOf(_mm256_cmpeq_epi8(low, feedByte), _mm256_cmpeq_epi8(high, feedByte));
        // Without a line feed in the group this is all of it.
        std::uint64_t found = (letters ^ (letters << 1 | inWord)) & (feeds ^ (feeds - 1));
        for (; found != 0; found &= found - 1) {
            edges.at[edges.count++] = base + static_cast<std::uint32_t>(_tzcnt_u64(found));
        }
        inWord = letters >> 63;
        if (feeds != 0) {
            edges.feed = line + base + _tzcnt_u64(feeds);
            return edges.count >= 2 * wordsNeeded;
        }
    }
    edges.feed = line + edges.at[edges.count - 1];
    while (*edges.feed != '\n') {
        ++edges.feed;
    }
    return true;
}

inline long long wordBefore(const char* end) {
    long long text;
    __builtin_memcpy(&text, end - 8, 8);
    return text;
}

/// 10^-k, rounded, by the place of the point among eight characters; 8 for none. A word of eight
/// with a point has at most seven digits. Times one of these it is off by less than 2^-51 of its
/// value, and no such decimal comes within 2^-49 of the middle of two floats (|m / 10^k - middle|
/// is a multiple of 1 / (10^k * 2^25) of it), nor is it one (that takes 25 bits, times 5^k). So
/// rounding the product to float is rounding the decimal.
alignas(32) constexpr double tenths[9] = {1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e0};

struct FourNumbers {
    __m128 values;
    __m256i mantissas;
    int whole;  ///< bit k: number k has neither sign nor point
    bool sound;
};

inline FourNumbers readFour(const char* line, const std::uint32_t* edges) {
    FourNumbers result;
    const __m256i ones = _mm256_set1_epi64x(-1);
    const __m256i both = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(edges));
    const __m256i length = _mm256_sub_epi64(_mm256_srli_epi64(both, 32),
                                            _mm256_and_si256(both, _mm256_set1_epi64x(0xFFFFFFFF)));
    __m256i bad = _mm256_cmpgt_epi64(length, _mm256_set1_epi64x(8));
    __m256i text = _mm256_set_epi64x(wordBefore(line + edges[7]), wordBefore(line + edges[5]),
                                     wordBefore(line + edges[3]), wordBefore(line + edges[1]));

    // What stands before the number, and its sign, become zeros.
    const __m256i before = _mm256_slli_epi64(_mm256_sub_epi64(_mm256_set1_epi64x(8), length), 3);
    const __m256i first =
        _mm256_and_si256(_mm256_srlv_epi64(text, before), _mm256_set1_epi64x(0xFF));
    const __m256i negative = _mm256_cmpeq_epi64(first, _mm256_set1_epi64x('-'));
    const __m256i skipped =
        _mm256_add_epi64(before, _mm256_and_si256(negative, _mm256_set1_epi64x(8)));
    const __m256i inside = _mm256_sllv_epi64(ones, skipped);
    text = _mm256_blendv_epi8(_mm256_set1_epi8('0'), text, inside);

    // The first point is taken out and what stands before it moved up to its place.
    const __m256i points = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('.'));
    const __m256i noPoint = _mm256_cmpeq_epi64(points, _mm256_setzero_si256());
    const __m256i lowest =
        _mm256_and_si256(points, _mm256_sub_epi64(_mm256_setzero_si256(), points));
    const __m256i ahead = _mm256_add_epi64(lowest, ones);
    const __m256i upToPoint =
        _mm256_or_si256(_mm256_slli_epi64(ahead, 8), _mm256_set1_epi64x(0xFF));
    const __m256i closed =
        _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi64(_mm256_and_si256(text, ahead), 8),
                                        _mm256_andnot_si256(upToPoint, text)),
                        _mm256_set1_epi64x('0'));
    text = _mm256_blendv_epi8(closed, text, noPoint);
    const __m256i place =
        _mm256_sad_epu8(_mm256_and_si256(ahead, _mm256_set1_epi8(1)), _mm256_setzero_si256());

    // A sign or a point alone is no number.
    bad = _mm256_or_si256(bad, _mm256_cmpeq_epi64(skipped, _mm256_set1_epi64x(64)));
    bad = _mm256_or_si256(
        bad, _mm256_andnot_si256(noPoint, _mm256_cmpeq_epi64(skipped, _mm256_set1_epi64x(56))));
    const __m256i digits = _mm256_sub_epi8(text, _mm256_set1_epi8('0'));
    const __m256i isDigit = _mm256_cmpeq_epi8(_mm256_min_epu8(digits, _mm256_set1_epi8(9)), digits);
    result.sound = _mm256_movemask_epi8(_mm256_andnot_si256(bad, isDigit)) == -1;

    // Pairs, then fours, then all eight digits are brought together.
    const __m256i pairs = _mm256_maddubs_epi16(digits, _mm256_set1_epi16(0x010A));
    const __m256i fours = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00010064));
    result.mantissas = _mm256_add_epi64(_mm256_mul_epu32(fours, _mm256_set1_epi64x(10000)),
                                        _mm256_srli_epi64(fours, 32));
    // As the low bits of 2^52 they make a double.
    const __m256i shifted =
        _mm256_or_si256(result.mantissas, _mm256_set1_epi64x(0x4330000000000000));
    const __m256d mantissa =
        _mm256_sub_pd(_mm256_castsi256_pd(shifted), _mm256_set1_pd(4503599627370496.0));
    const __m256d value = _mm256_mul_pd(mantissa, _mm256_i64gather_pd(tenths, place, 8));
    const __m256i everySecond = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
    const __m128i sign = _mm_slli_epi32(
        _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(negative, everySecond)), 31);
    result.values = _mm_xor_ps(_mm256_cvtpd_ps(value), _mm_castsi128_ps(sign));
    result.whole = _mm256_movemask_pd(_mm256_castsi256_pd(_mm256_andnot_si256(negative, noPoint)));
    return result;
}

/// Up to eight digits; -1 for anything else.
inline int readWhole(const char* line, const std::uint32_t* edges) {
    int value = 0;
    for (std::uint32_t at = edges[0]; at < edges[1]; ++at) {
        const unsigned digit = static_cast<unsigned>(static_cast<unsigned char>(line[at])) - '0';
        if (digit > 9) {
            return -1;
        }
        value = value * 10 + static_cast<int>(digit);
    }
    return value;
}

}  // namespace

const char* readLineAvx2(const char* line, LineCells& cells) {
    Edges edges;
    if (!splitLine(line, edges) || edges.at[3] - edges.at[2] != 1 ||
        edges.at[5] - edges.at[4] > 8) {
        return nullptr;
    }
    cells.source = line + edges.at[0];
    cells.sourceLength = edges.at[1] - edges.at[0];
    *cells.letter = line[edges.at[2]];
    const int number = readWhole(line, edges.at + 4);
    *cells.resid = number;
    // phi, psi, chi1 and the box
    const FourNumbers angles = readFour(line, edges.at + 6);
    _mm_storel_pi(reinterpret_cast<__m64*>(cells.angles), angles.values);
    _mm_store_ss(cells.angles + 2, _mm_movehl_ps(angles.values, angles.values));
    *cells.box = static_cast<int>(_mm256_extract_epi64(angles.mantissas, 3));
    bool sound = number >= 0 && angles.sound && (angles.whole & 8) != 0;
    for (int k = 0; k < 3; ++k) {
        const FourNumbers shifts = readFour(line, edges.at + 14 + 8 * k);
        _mm_storeu_ps(cells.shifts + 4 * k, shifts.values);
        sound = sound && shifts.sound;
    }
    return sound ? edges.feed : nullptr;
}

}  // namespace orvix::search

#else

namespace orvix::search {

const bool avx2LinesBuilt = false;

// Never called then; there for the linker.
const char* readLineAvx2(const char*, LineCells&) {
    return nullptr;
}

}  // namespace orvix::search

#endif
