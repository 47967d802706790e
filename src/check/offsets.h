#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "check/expected_shifts.h"

namespace orvix::check {

/// The referencing offset of a nucleus: how far its shifts lie from what the conformation asks for.
struct NucleusOffset {
    double offset = 0.0;  ///< ppm, to be taken off the shifts
    double error = 0.0;   ///< one standard deviation of what such estimates are off by, ppm
    int count = 0;        ///< shifts that it comes from
};

/// Offsets by atom, and that of CA and CB as nuclei of one spectrum; none where there are too few
/// shifts of residues with a predicted conformation.
struct Offsets {
    std::array<std::optional<NucleusOffset>, atomCount> atoms{};
    std::optional<NucleusOffset> carbons;  ///< CA and CB together
};

/// Robust estimates over the settled residues of a chain.
Offsets estimateOffsets(const ChainShifts& chain);

/// Name of CA and CB together.
inline constexpr std::string_view carbonsName = "CA/CB";
/// Whether an atom is one of these two.
bool isCarbon(std::size_t atom);

/// The offset that is to be taken off the shifts of an atom: of CA and CB the common one. 0.0 for
/// none.
double offsetOf(const Offsets& offsets, std::size_t atom);

/// Whether an offset is large enough, by itself and in its errors, to be corrected. `name` is N,
/// HN, HA, C, CA, CB or CA/CB.
bool isToCorrect(std::string_view name, const NucleusOffset& offset);

}  // namespace orvix::check
