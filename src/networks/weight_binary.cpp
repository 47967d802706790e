#include <algorithm>
#include <bit>
#include <cstdint>
#include <fstream>

#include "networks/weight_maps.h"

namespace orvix::networks {
namespace {

double fromLittleEndian(const unsigned char* bytes) {
    std::uint64_t bits = 0;
    for (int i = 7; i >= 0; --i) {
        bits = bits << 8 | bytes[i];
    }
    return std::bit_cast<double>(bits);
}

// Up to `count` doubles; what is left of a number that the file ends in is dropped.
std::vector<double> readDoubles(std::ifstream& file, std::size_t count) {
    constexpr std::size_t blockNumbers = 4096;
    std::vector<double> numbers;
    std::vector<unsigned char> bytes(std::min(count, blockNumbers) * 8);
    while (numbers.size() < count) {
        const std::size_t wanted = std::min(count - numbers.size(), blockNumbers) * 8;
        file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(wanted));
        const std::size_t got = static_cast<std::size_t>(file.gcount());
        for (std::size_t at = 0; at + 8 <= got; at += 8) {
            numbers.push_back(fromLittleEndian(bytes.data() + at));
        }
        if (got < wanted) {
            break;
        }
    }
    return numbers;
}

}  // namespace

bool loadBinaryRows(const std::string& path, std::span<const LayerWeights> members, int rows,
                    int columns) {
    std::ifstream file(path, std::ios::in | std::ios::binary);
    if (!file.is_open()) {
        return false;
    }
    const std::size_t width = columns > 0 ? static_cast<std::size_t>(columns) : 0;
    for (const LayerWeights& member : members) {
        for (int k = 0; k < rows; ++k) {
            const std::vector<double> numbers = readDoubles(file, width + 1);
            if (numbers.empty()) {
                return true;
            }
            member.bias->push_back(numbers[0]);
            std::vector<double>& row = (*member.rows)[k];
            row.insert(row.end(), numbers.begin() + 1, numbers.end());
            if (numbers.size() < width + 1) {
                return true;
            }
        }
    }
    return true;
}

}  // namespace orvix::networks
