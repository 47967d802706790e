#include "search/db_text.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "search/db_line_avx2.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace orvix::search {

namespace {

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

unsigned digitOf(char c) {
    return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0';
}

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

#if defined(__SSE2__)

/// Which of the 64 bytes at `p` are white space, and which of those are line feeds.
struct ByteKinds {
    std::uint64_t space = 0;
    std::uint64_t feed = 0;
};

[[gnu::always_inline]] inline ByteKinds kindsOf(const char* p) {
    ByteKinds kinds;
    const __m128i zero = _mm_setzero_si128();
    for (int k = 0; k < 4; ++k) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
        const auto bits = [k](__m128i mask) {
            return static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm_movemask_epi8(mask)))
                   << (16 * k);
        };
        // The control characters among the white space are those from 9 to 13.
        const __m128i aboveTab = _mm_sub_epi8(bytes, _mm_set1_epi8('\t'));
        const __m128i control = _mm_cmpeq_epi8(_mm_subs_epu8(aboveTab, _mm_set1_epi8(4)), zero);
        kinds.space |= bits(_mm_or_si128(control, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' '))));
        kinds.feed |= bits(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')));
    }
    return kinds;
}

#else

struct ByteKinds {
    std::uint64_t space = 0;
    std::uint64_t feed = 0;
};

[[gnu::always_inline]] inline ByteKinds kindsOf(const char* p) {
    ByteKinds kinds;
    for (int k = 0; k < 64; ++k) {
        kinds.space |= static_cast<std::uint64_t>(isSpace(p[k])) << k;
        kinds.feed |= static_cast<std::uint64_t>(p[k] == '\n') << k;
    }
    return kinds;
}

#endif

struct Word {
    const char* begin;
    const char* end;
    std::size_t size() const { return static_cast<std::size_t>(end - begin); }
};

/// The first words of a line. The places where words begin and end alternate, so one list holds
/// both; there may be more than are needed, up to a group of 64 bytes.
struct Words {
    std::array<std::uint32_t, 2 * databaseFields + 64> edges;
    std::size_t count = 0;
    const char* line = nullptr;
    const char* feed = nullptr;

    Word operator[](std::size_t k) const { return {line + edges[2 * k], line + edges[2 * k + 1]}; }
};

/// Finds the words of the line; false when it has too few.
[[gnu::always_inline]] inline bool splitLine(const char* line, Words& words) {
    words.line = line;
    std::uint64_t inWord = 0;
    for (std::uint32_t base = 0; words.count < 2 * databaseFields; base += 64) {
        const ByteKinds kinds = kindsOf(line + base);
        std::uint64_t upToFeed = ~std::uint64_t{0};
        if (kinds.feed != 0) {
            upToFeed = kinds.feed ^ (kinds.feed - 1);
            words.feed = line + base + std::countr_zero(kinds.feed);
        }
        const std::uint64_t letters = ~kinds.space;
        for (std::uint64_t edges = (letters ^ (letters << 1 | inWord)) & upToFeed; edges != 0;
             edges &= edges - 1) {
            words.edges[words.count++] = base + static_cast<std::uint32_t>(std::countr_zero(edges));
        }
        inWord = letters >> 63;
        if (words.feed != nullptr) {
            return words.count >= 2 * databaseFields;
        }
    }
    words.feed = line + words.edges[words.count - 1];
    while (*words.feed != '\n') {
        ++words.feed;
    }
    return true;
}

constexpr std::uint64_t repeated(unsigned char byte) {
    return byte * 0x0101010101010101U;
}

/// Digits with at most one point among the last eight bytes of a word, all of them at once. The
/// number is mantissa / 10^fraction.
struct ShortDecimal {
    std::uint64_t mantissa = 0;
    unsigned fraction = 0;
    bool sound = false;
};

/// 10^-k, rounded. A short decimal with a point has at most seven digits. Times one of these it is
/// off by less than 2^-51 of its value, and no such decimal comes within 2^-49 of the middle of two
/// floats (|m / 10^k - middle| is a multiple of 1 / (10^k * 2^25) of it), nor is it one (that takes
/// 25 bits, times 5^k). So rounding the product to float is rounding the decimal.
constexpr std::array<double, 8> tenths = {1e0, 1e-1, 1e-2, 1e-3, 1e-4, 1e-5, 1e-6, 1e-7};

/// `digits` 1 to 8: the length without a sign.
[[gnu::always_inline]] inline ShortDecimal readShort(const char* end, std::size_t digits) {
    ShortDecimal number;
    std::uint64_t text = 0;
    std::memcpy(&text, end - 8, 8);
    // In front of the number stand zeros instead of what the text has there.
    const std::uint64_t inside = ~std::uint64_t{0} << (8 * (8 - digits));
    text = (text & inside) | (repeated('0') & ~inside);
    const std::uint64_t points = text ^ repeated('.');
    const std::uint64_t found = (points - repeated(1)) & ~points & repeated(0x80);
    if (found != 0) {
        // The first point is taken out and what stands before it moved up to its place.
        const auto at = static_cast<unsigned>(std::countr_zero(found)) / 8;
        const std::uint64_t before = (std::uint64_t{1} << (8 * at)) - 1;
        text = (text & ~(before << 8 | 0xFF)) | (text & before) << 8 | '0';
        number.fraction = 7 - at;
    }
    number.sound = (digits > 1 || found == 0) &&
                   ((text & repeated(0xF0)) | (((text + repeated(0x06)) & repeated(0xF0)) >> 4)) ==
                       repeated(0x33);
    // Pairs, then fours, then all eight digits are brought together.
    text = (text & repeated(0x0F)) * 2561 >> 8;
    text = (text & 0x00FF00FF00FF00FFU) * 6553601 >> 16;
    number.mantissa = (text & 0x0000FFFF0000FFFFU) * 42949672960001U >> 32;
    return number;
}

constexpr bool lowByteFirst = std::endian::native == std::endian::little;

[[gnu::always_inline]] inline bool readRealWord(Word word, float& out) {
    const std::uint32_t negative = *word.begin == '-' ? 1 : 0;
    const std::size_t digits = word.size() - negative;
    if (!lowByteFirst || digits - 1 > 7) {
        return readReal(word.begin, out) == word.end;
    }
    const ShortDecimal number = readShort(word.end, digits);
    const double value = static_cast<double>(number.mantissa) * tenths[number.fraction];
    // Signs come as they like, so the bit is set without a branch.
    out = std::bit_cast<float>(std::bit_cast<std::uint32_t>(static_cast<float>(value)) ^ negative
                                                                                             << 31);
    return number.sound;
}

[[gnu::always_inline]] inline bool readWholeWord(Word word, int& out) {
    if (!lowByteFirst || word.size() > 8) {
        return false;
    }
    const ShortDecimal number = readShort(word.end, word.size());
    out = static_cast<int>(number.mantissa);
    return number.sound && std::memchr(word.begin, '.', word.size()) == nullptr;
}

/// Formatted input takes a NUL for the end of the line. In a number it is no digit anyway.
bool holdsNoNul(const char* text, std::size_t length) {
    bool none = true;
    for (std::size_t k = 0; k < length; ++k) {
        none = none && text[k] != '\0';
    }
    return none;
}

const char* readWide(const char* line, DatabaseRow& row) {
    LineCells cells{row.shifts, row.angles, row.resid, row.box, row.letter, nullptr, 0};
    const char* const feed = readLineAvx2(line, cells);
    if (feed == nullptr) {
        return readDatabaseLinePortable(line, row);
    }
    row.source = std::string_view(cells.source, cells.sourceLength);
    return cells.sourceLength <= maxSourceLength && holdsNoNul(cells.source, cells.sourceLength) &&
                   *cells.letter != '\0'
               ? feed
               : nullptr;
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
    Words words;
    if (!splitLine(line, words) || words[0].size() > maxSourceLength || words[1].size() != 1) {
        return nullptr;
    }
    bool sound = holdsNoNul(words[0].begin, words[0].size()) && *words[1].begin != '\0';
    row.source = std::string_view(words[0].begin, words[0].size());
    *row.letter = *words[1].begin;
    sound = readWholeWord(words[2], *row.resid) && sound;
    for (std::size_t i = 0; i < 3; ++i) {
        sound = readRealWord(words[3 + i], row.angles[i]) && sound;
    }
    sound = readWholeWord(words[6], *row.box) && sound;
    for (std::size_t i = 0; i < 12; ++i) {
        sound = readRealWord(words[7 + i], row.shifts[i]) && sound;
    }
    return sound ? words.feed : nullptr;
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
