#include "base/numbers.h"

#include <cctype>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

#include "base/text.h"

namespace orvix {
namespace {

// Behind white space and a plus sign; `end` for a plus sign in front of another sign.
const char* skipToNumber(const char* p, const char* end) {
    while (p < end && isSpace(*p)) {
        ++p;
    }
    if (p < end && *p == '+') {
        ++p;
        return p < end && *p == '-' ? end : p;
    }
    return p;
}

}  // namespace

const char* readDouble(const char* p, const char* end, double& out) {
    out = 0.0;
    const char* const number = skipToNumber(p, end);
    const bool negative = number < end && *number == '-';
    const char* const digits = number + (negative ? 1 : 0);
    std::from_chars_result read{digits, std::errc::invalid_argument};
    // Without the next character's look the words for infinity and NaN would count as digits.
    if (end - digits > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X') &&
        (digits[2] == '.' || std::isxdigit(static_cast<unsigned char>(digits[2])) != 0)) {
        read = std::from_chars(digits + 2, end, out, std::chars_format::hex);
        out = negative ? -out : out;
    }
    if (read.ec == std::errc::invalid_argument) {
        read = std::from_chars(number, end, out);
    }
    if (read.ec == std::errc::invalid_argument) {
        return p;
    }
    if (read.ec == std::errc::result_out_of_range) {
        out = std::strtod(std::string(number, read.ptr).c_str(), nullptr);
    }
    return read.ptr;
}

const char* readInt(const char* p, const char* end, int& out) noexcept {
    out = 0;
    const char* const number = skipToNumber(p, end);
    const std::from_chars_result read = std::from_chars(number, end, out);
    if (read.ec == std::errc::invalid_argument) {
        return p;
    }
    if (read.ec == std::errc::result_out_of_range) {
        out = *number == '-' ? INT_MIN : INT_MAX;
    }
    return read.ptr;
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
