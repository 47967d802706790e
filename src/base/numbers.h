#pragma once

#include <string_view>

/// Text to number, exactly as the C library does it in the C locale. The texts need no terminating
/// NUL and may hold NUL bytes, which end a number like any other foreign character.
namespace orvix {

/// Reads one number behind any white space at `p`, never looking at `end` or beyond: the bits of
/// `strtod`, but for the payload of a NaN. Returns the first character behind the number; when
/// there is none it returns `p` and sets `out` to 0.
const char* readDouble(const char* p, const char* end, double& out);

/// The same for a whole number in decimal; a value beyond the range of int becomes INT_MIN or
/// INT_MAX.
const char* readInt(const char* p, const char* end, int& out) noexcept;

/// `atoi`, with a value beyond the range of int limited to INT_MIN or INT_MAX.
int textToInt(std::string_view text) noexcept;

/// `atof`.
double textToDouble(std::string_view text);

/// `atof` narrowed to 32 bits: two roundings.
float textToFloat(std::string_view text);

/// `value` truncated toward zero and limited to the range of int; 0 for NaN.
int truncateToInt(double value) noexcept;

}  // namespace orvix
