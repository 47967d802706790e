#include "base/numbers.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace orvix {
namespace {

// Powers of ten that a double holds exactly.
constexpr double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int lastExactPower = 22;
constexpr std::uint64_t exactLimit = std::uint64_t{1} << 53;
constexpr std::uint64_t mantissaLimit = 1000000000000000000u;  // one digit more still fits

// A decimal mantissa / 10^11 < 2^53 / 10^11, divided in double, can't round onto the midpoint of
// two floats unless it is that midpoint: they lie at least 1 / mantissa (or 2^-51) apart in
// relative terms, and the division errs by 2^-53 at most. With more places that no longer holds.
constexpr int lastFloatPlace = 11;

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

const char* skipSpace(const char* p, const char* end) {
    while (p < end && isSpace(*p)) {
        ++p;
    }
    return p;
}

struct Decimal {
    std::uint64_t mantissa = 0;
    int exponent = 0;  // power of ten
    bool negative = false;
    bool digits = false;    // has a digit at all
    bool overflow = false;  // more digits than the mantissa holds
};

// Sign, digits and point. Returns the first character behind them.
inline const char* scanDigits(const char* p, const char* end, Decimal& d) {
    if (p < end && (*p == '-' || *p == '+')) {
        d.negative = *p == '-';
        ++p;
    }
    const char* const whole = p;
    std::uint64_t m = 0;
    for (; p < end && isDigit(*p); ++p) {
        if (m >= mantissaLimit) {
            d.overflow = true;
            return p;
        }
        m = m * 10 + static_cast<unsigned>(*p - '0');
    }
    d.digits = p > whole;
    if (p < end && *p == '.') {
        const char* const fraction = p + 1;
        const char* q = fraction;
        for (; q < end && isDigit(*q); ++q) {
            // The second condition keeps the count of places an int in a run of zeros.
            if (m >= mantissaLimit || q - fraction > 1000) {
                d.overflow = true;
                return q;
            }
            m = m * 10 + static_cast<unsigned>(*q - '0');
        }
        if (q > fraction || d.digits) {
            d.exponent = static_cast<int>(fraction - q);
            d.digits = true;
            p = q;
        }
    }
    d.mantissa = m;
    return p;
}

// The exponent behind the digits, if there is one.
inline const char* scanExponent(const char* p, const char* end, Decimal& d) {
    if (p == end || (*p != 'e' && *p != 'E')) {
        return p;
    }
    const char* q = p + 1;
    bool negative = false;
    if (q < end && (*q == '-' || *q == '+')) {
        negative = *q == '-';
        ++q;
    }
    if (q == end || !isDigit(*q)) {
        return p;
    }
    int exponent = 0;
    for (; q < end && isDigit(*q); ++q) {
        if (exponent < 100000) {
            exponent = exponent * 10 + (*q - '0');
        }
    }
    d.exponent += negative ? -exponent : exponent;
    return q;
}

inline bool toNumber(const Decimal& d, double& out) {
    if (d.mantissa >= exactLimit || d.exponent < -lastExactPower || d.exponent > lastExactPower) {
        if (d.mantissa != 0) {
            return false;
        }
        out = d.negative ? -0.0 : 0.0;
        return true;
    }
    const double m = static_cast<double>(d.mantissa);
    const double value =
        d.exponent < 0 ? m / powersOfTen[-d.exponent] : m * powersOfTen[d.exponent];
    out = d.negative ? -value : value;
    return true;
}

inline bool toNumber(const Decimal& d, float& out) {
    if (d.mantissa >= exactLimit || d.exponent < -lastFloatPlace || d.exponent > 0) {
        if (d.mantissa != 0) {
            return false;
        }
        out = d.negative ? -0.0f : 0.0f;
        return true;
    }
    const float value =
        static_cast<float>(static_cast<double>(d.mantissa) / powersOfTen[-d.exponent]);
    out = d.negative ? -value : value;
    return true;
}

void convert(const char* text, char** stop, double& out) {
    out = std::strtod(text, stop);
}

void convert(const char* text, char** stop, float& out) {
    out = std::strtof(text, stop);
}

// The C function on a copy that ends where the word does.
template <typename Number>
const char* readSlowly(const char* p, const char* end, Number& out) {
    const char* stop = p;
    while (stop < end && !isSpace(*stop)) {
        ++stop;
    }
    const std::size_t length = static_cast<std::size_t>(stop - p);
    char small[128];
    std::string large;
    char* copy = small;
    if (length < sizeof small) {
        std::memcpy(small, p, length);
        small[length] = '\0';
    } else {
        large.assign(p, length);
        copy = large.data();
    }
    char* behind = copy;
    convert(copy, &behind, out);
    return p + (behind - copy);
}

template <typename Number>
const char* readNumber(const char* start, const char* end, Number& out) {
    const char* const p = skipSpace(start, end);
    Decimal d;
    const char* q = scanDigits(p, end, d);
    if (!d.overflow && !d.digits) {
        // Only the words for infinity and NaN are left.
        if (q == end || (*q != 'i' && *q != 'I' && *q != 'n' && *q != 'N')) {
            out = 0;
            return start;
        }
    } else if (!d.overflow) {
        const bool hexadecimal = d.mantissa == 0 && q < end && (*q == 'x' || *q == 'X');
        if (!hexadecimal) {
            q = scanExponent(q, end, d);
            if (toNumber(d, out)) {
                return q;
            }
        }
    }
    const char* const behind = readSlowly(p, end, out);
    return behind == p ? start : behind;
}

template <typename Number>
const char* readPlain(const char* p, const char* end, Number& out) {
    Decimal d;
    const char* const q = scanDigits(p, end, d);
    if (d.overflow || !d.digits || (q < end && !isSpace(*q)) || !toNumber(d, out)) {
        return nullptr;
    }
    return q;
}

// Decimal digits behind white space and a sign, limited to what fits into 63 bits. Null when there
// is no digit.
const char* scanWhole(const char* p, const char* end, std::int64_t& value, bool& negative) {
    p = skipSpace(p, end);
    negative = false;
    if (p < end && (*p == '-' || *p == '+')) {
        negative = *p == '-';
        ++p;
    }
    if (p == end || !isDigit(*p)) {
        return nullptr;
    }
    value = 0;
    for (; p < end && isDigit(*p); ++p) {
        if (value < static_cast<std::int64_t>(mantissaLimit / 10)) {
            value = value * 10 + (*p - '0');
        }
    }
    return p;
}

}  // namespace

const char* readDouble(const char* p, const char* end, double& out) {
    return readNumber(p, end, out);
}

const char* readFloat(const char* p, const char* end, float& out) {
    return readNumber(p, end, out);
}

const char* readPlainDouble(const char* p, const char* end, double& out) noexcept {
    return readPlain(p, end, out);
}

const char* readPlainFloat(const char* p, const char* end, float& out) noexcept {
    return readPlain(p, end, out);
}

const char* readInt(const char* p, const char* end, int& out) noexcept {
    std::int64_t value = 0;
    bool negative = false;
    const char* const behind = scanWhole(p, end, value, negative);
    if (behind == nullptr) {
        out = 0;
        return p;
    }
    value = negative ? -value : value;
    out = value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
    return behind;
}

const char* readUnsigned(const char* p, const char* end, unsigned& out) noexcept {
    std::int64_t value = 0;
    bool negative = false;
    const char* const behind = scanWhole(p, end, value, negative);
    if (behind == nullptr) {
        out = 0;
        return p;
    }
    const unsigned magnitude =
        value > static_cast<std::int64_t>(UINT_MAX) ? UINT_MAX : static_cast<unsigned>(value);
    out = negative ? 0u - magnitude : magnitude;
    return behind;
}

int textToInt(std::string_view text) noexcept {
    int value = 0;
    readInt(text.data(), text.data() + text.size(), value);
    return value;
}

double textToDouble(std::string_view text) {
    double value = 0.0;
    readDouble(text.data(), text.data() + text.size(), value);
    return value;
}

float textToFloat(std::string_view text) {
    return static_cast<float>(textToDouble(text));
}

int truncateToInt(double value) noexcept {
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= static_cast<double>(INT_MAX)) {
        return INT_MAX;
    }
    return value <= static_cast<double>(INT_MIN) ? INT_MIN : static_cast<int>(value);
}

}  // namespace orvix
