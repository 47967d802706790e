#pragma once

#include <span>
#include <string>

namespace orvix {

/// The SHA-256 hash (FIPS 180-4) of bytes, 64 small hexadecimal digits.
std::string sha256(std::span<const unsigned char> bytes);

}  // namespace orvix
