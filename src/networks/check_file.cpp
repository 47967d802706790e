#include "networks/check_file.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/run_end.h"
#include "base/whole_file.h"

namespace orvix::networks {
namespace {

static_assert(std::endian::native == std::endian::little,
              "check files are little-endian and are read as they lie");

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

constexpr std::size_t rowLength = 20;

/// Place of letter i of `checkFileLetters` in `profileLetters`.
std::array<std::size_t, rowLength> letterPlaces() {
    std::array<std::size_t, rowLength> places{};
    for (std::size_t i = 0; i < rowLength; ++i) {
        places[i] = std::string_view(profileLetters).find(checkFileLetters[i]);
    }
    return places;
}

}  // namespace

CheckFileStatus readCheckFile(const std::string& path, SequenceProfile& profile, int& length,
                              int& extraRows) {
    profile = SequenceProfile();
    extraRows = 0;
    length = 0;
    const File in(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (in == nullptr) {
        return CheckFileStatus::cannotOpen;
    }
    std::int32_t stored = 0;
    if (std::fread(&stored, sizeof stored, 1, in.get()) != 1) {
        // A directory opens but can't be read.
        return std::ferror(in.get()) != 0 ? CheckFileStatus::cannotOpen
                                          : CheckFileStatus::badLength;
    }
    length = stored;
    if (stored < 0 || stored > checkFileLengthLimit) {
        return CheckFileStatus::badLength;
    }
    profile.sequence.resize(static_cast<std::size_t>(stored));
    profile.sequence.resize(
        std::fread(profile.sequence.data(), 1, profile.sequence.size(), in.get()));

    const std::array<std::size_t, rowLength> places = letterPlaces();
    std::array<double, rowLength> raw{};
    while (std::fread(raw.data(), sizeof(double), rowLength, in.get()) == rowLength) {
        if (profile.rows.size() >= profile.sequence.size()) {
            ++extraRows;
            continue;
        }
        std::array<double, rowLength>& row = profile.rows.emplace_back();
        for (std::size_t i = 0; i < rowLength; ++i) {
            row[places[i]] = std::isfinite(raw[i]) ? raw[i] : 0.0;
        }
    }
    return CheckFileStatus::ok;
}

void writeCheckFile(const std::string& path, const SequenceProfile& profile) {
    if (profile.sequence.size() > static_cast<std::size_t>(checkFileLengthLimit)) {
        throw RunError(path + ": a profile of " + std::to_string(profile.sequence.size()) +
                       " residues is longer than " + std::to_string(checkFileLengthLimit));
    }
    const auto length = static_cast<std::int32_t>(profile.sequence.size());
    const std::array<std::size_t, rowLength> places = letterPlaces();
    std::string bytes(sizeof length, '\0');
    std::memcpy(bytes.data(), &length, sizeof length);
    bytes += profile.sequence;
    for (const std::array<double, rowLength>& row : profile.rows) {
        std::array<double, rowLength> raw{};
        for (std::size_t i = 0; i < rowLength; ++i) {
            raw[i] = row[places[i]];
        }
        const std::size_t end = bytes.size();
        bytes.resize(end + sizeof raw);
        std::memcpy(bytes.data() + end, raw.data(), sizeof raw);
    }
    writeWholeFile(path, bytes);
}

}  // namespace orvix::networks
