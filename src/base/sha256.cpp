#include "base/sha256.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace orvix {
namespace {

constexpr std::size_t blockBytes = 64;
using Words = std::array<std::uint32_t, 64>;
using State = std::array<std::uint32_t, 8>;

/// The first 32 bits behind the point of the cube roots of the first 64 primes.
Words roundConstants() {
    Words constants;
    std::size_t found = 0;
    for (unsigned number = 2; found < constants.size(); ++number) {
        bool prime = true;
        for (unsigned d = 2; d * d <= number; ++d) {
            prime = prime && number % d != 0;
        }
        if (prime) {
            // A double holds 32 bits behind the point of roots below 8.
            const double root = std::cbrt(static_cast<double>(number));
            constants[found++] =
                static_cast<std::uint32_t>((root - std::floor(root)) * 4294967296.0);
        }
    }
    return constants;
}

void takeBlock(State& state, const unsigned char* block) {
    static const Words constants = roundConstants();
    Words w;
    for (std::size_t i = 0; i < 16; ++i) {
        const unsigned char* const at = block + 4 * i;
        w[i] = std::uint32_t{at[0]} << 24U | std::uint32_t{at[1]} << 16U |
               std::uint32_t{at[2]} << 8U | std::uint32_t{at[3]};
    }
    for (std::size_t i = 16; i < 64; ++i) {
        const std::uint32_t a = w[i - 15];
        const std::uint32_t b = w[i - 2];
        w[i] = w[i - 16] + w[i - 7] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ (a >> 3U)) +
               (std::rotr(b, 17) ^ std::rotr(b, 19) ^ (b >> 10U));
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < 64; ++i) {
        const std::uint32_t one = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                  ((e & f) ^ (~e & g)) + constants[i] + w[i];
        const std::uint32_t two =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + one;
        d = c;
        c = b;
        b = a;
        a = one + two;
    }
    const State added{a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i) {
        state[i] += added[i];
    }
}

}  // namespace

std::string sha256(std::span<const unsigned char> bytes) {
    State state{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    const std::uint64_t bits = std::uint64_t{bytes.size()} * 8;
    std::span<const unsigned char> left = bytes;
    for (; left.size() >= blockBytes; left = left.subspan(blockBytes)) {
        takeBlock(state, left.data());
    }
    // The rest, a one bit, zeros, and the length in the last eight bytes.
    unsigned char end[2 * blockBytes] = {};
    std::copy(left.begin(), left.end(), end);
    end[left.size()] = 0x80;
    const std::size_t size = left.size() + 9 > blockBytes ? 2 * blockBytes : blockBytes;
    for (std::size_t i = 0; i < 8; ++i) {
        end[size - 1 - i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    for (std::size_t at = 0; at < size; at += blockBytes) {
        takeBlock(state, end + at);
    }
    std::string digits;
    for (const std::uint32_t word : state) {
        for (int shift = 28; shift >= 0; shift -= 4) {
            digits += "0123456789abcdef"[word >> static_cast<unsigned>(shift) & 15U];
        }
    }
    return digits;
}

}  // namespace orvix
