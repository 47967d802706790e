#pragma once

#include <string_view>

/// Text to number, exactly as the C library does it in the C locale, but fast for the plain
/// decimals that tables are made of. Whatever the fast forms don't cover (long mantissas, large
/// exponents, hexadecimal, infinities, NaN) goes through the C function on a bounded copy.
///
/// The texts need no terminating NUL and may hold NUL bytes, which end a number like any other
/// foreign character.
namespace orvix {

/// Read one number behind any white space at `p`, never looking at `end` or beyond. They return the
/// first character behind the number; when there is none they return `p` and set `out` to 0.
///
/// `readDouble` has the bits of `strtod`, `readFloat` those of `strtof` (one rounding, as a `%f`
/// field of `scanf` has it; where scanf refuses what strtof takes in part, such as "1e", this is
/// strtof).
const char* readDouble(const char* p, const char* end, double& out);
const char* readFloat(const char* p, const char* end, float& out);

/// Only the plain form: sign, digits with at most one point, no exponent, small enough for one
/// exact division. A null pointer for anything else, and then `out` is untouched. The word must end
/// at `end` or at white space. Bits as above.
const char* readPlainDouble(const char* p, const char* end, double& out) noexcept;
const char* readPlainFloat(const char* p, const char* end, float& out) noexcept;

/// Whole numbers in decimal. A value beyond the range of the type becomes the nearest value of the
/// type. `readUnsigned` takes a sign as `strtoul` does: a negative number wraps around.
const char* readInt(const char* p, const char* end, int& out) noexcept;
const char* readUnsigned(const char* p, const char* end, unsigned& out) noexcept;

/// `atoi`, with a value beyond the range of int limited to INT_MIN or INT_MAX.
int textToInt(std::string_view text) noexcept;

/// `atof`.
double textToDouble(std::string_view text);

/// `atof` narrowed to 32 bits: two roundings.
float textToFloat(std::string_view text);

/// `value` truncated toward zero and limited to the range of int; 0 for NaN.
int truncateToInt(double value) noexcept;

}  // namespace orvix
