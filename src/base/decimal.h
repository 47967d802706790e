#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "base/text.h"

namespace orvix {

inline unsigned digitOf(char c) {
    return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0';
}

/// With no more places behind the point than this a double, correctly rounded and narrowed, has the
/// bits of `strtof`: the decimal is no midpoint of two floats, or lies at least 1 / mantissa (or
/// 2^-51) of its size away from one, while the division errs by 2^-53 at most.
inline constexpr std::ptrdiff_t placesOfFloat = 11;

/// The digit loop of the large files. Reads a word of the plainest form, ended by white space: a
/// minus sign or none, up to 15 digits with at most one point among them and at most `mostPlaces`
/// behind it. Returns the end of the word; null for any other word, and then `out` is untouched.
/// Mantissa and power of ten are exact, so the one division has the bits of `strtod`.
///
/// Taking eight characters at a time was a quarter slower: the next word then waits for the length
/// of this one, where the loop's end is mostly guessed.
template <std::ptrdiff_t mostPlaces = 15>
inline const char* readPlainDecimal(const char* p, double& out) {
    constexpr std::ptrdiff_t mostDigits = 15;  // ten to this power is below 2^53
    constexpr double powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    static_assert(mostPlaces <= mostDigits);
    const bool negative = *p == '-';
    p += negative ? 1 : 0;
    std::uint64_t mantissa = 0;
    const char* const whole = p;
    for (unsigned d = digitOf(*p); d < 10; d = digitOf(*++p)) {
        mantissa = mantissa * 10 + d;
    }
    std::ptrdiff_t digits = p - whole;
    std::ptrdiff_t places = 0;
    if (*p == '.') {
        const char* const fraction = ++p;
        for (unsigned d = digitOf(*p); d < 10; d = digitOf(*++p)) {
            mantissa = mantissa * 10 + d;
        }
        places = p - fraction;
        digits += places;
    }
    if (digits == 0 || digits > mostDigits || places > mostPlaces || !isSpace(*p)) {
        return nullptr;
    }
    const double size = static_cast<double>(mantissa) / powersOfTen[places];
    // Signs come in no order, so the bit is set without a branch.
    out = std::bit_cast<double>(std::bit_cast<std::uint64_t>(size) ^
                                static_cast<std::uint64_t>(negative) << 63);
    return p;
}

}  // namespace orvix
