#pragma once

#include <cstdint>
#include <span>

namespace orvix {

/// A 64 bit hash of bytes that tells accidental changes, at the speed of memory: any change within
/// eight bytes changes it. No protection against changes made on purpose.
std::uint64_t blockHash(std::span<const unsigned char> bytes);

}  // namespace orvix
