#include "base/block_hash.h"

#include <bit>
#include <cstring>

namespace orvix {
namespace {

// Odd multiplication, rotation and exclusive or lose nothing, so two states that differ stay
// different whatever equal bytes follow.
std::uint64_t mixed(std::uint64_t state, std::uint64_t word) {
    return std::rotl((state ^ word) * 0x9e3779b97f4a7c15U, 29);
}

std::uint64_t wordAt(const unsigned char* at, std::size_t size = 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, size);
    return word;
}

}  // namespace

std::uint64_t blockHash(std::span<const unsigned char> bytes) {
    // Four chains, so that no multiplication waits for the one before.
    std::uint64_t lane[4] = {1, 2, 3, 4};
    const unsigned char* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 32; at += 32, left -= 32) {
        for (int k = 0; k < 4; ++k) {
            lane[k] = mixed(lane[k], wordAt(at + 8 * k));
        }
    }
    std::uint64_t hash = bytes.size();
    for (; left >= 8; at += 8, left -= 8) {
        hash = mixed(hash, wordAt(at));
    }
    hash = mixed(hash, left > 0 ? wordAt(at, left) : 0);
    for (const std::uint64_t state : lane) {
        hash = mixed(hash, state);
    }
    return hash ^ (hash >> 32);
}

}  // namespace orvix
