#pragma once

#include <string_view>
#include <vector>

namespace orvix {

/// Two sequences side by side: identical letters score +5, others -4, a gap -10 and -1 for each
/// further residue. Upper and lower case of a letter are the same; `X` is like nothing.
struct Alignment {
    /// [place in the second sequence] -> place in the first, -1 for a residue without partner
    std::vector<int> partner;
    int aligned = 0;    ///< residues with a partner
    int identical = 0;  ///< those of them with the same letter

    /// Identical residues of the aligned ones, 0..1; 0 without any.
    double identity() const { return aligned > 0 ? static_cast<double>(identical) / aligned : 0.0; }
};

/// The best alignment over the whole length of both, where residues beyond the end of the other
/// sequence cost nothing. Time and memory grow with the product of the lengths.
Alignment alignWhole(std::string_view first, std::string_view second);

/// The best alignment of a stretch of one with a stretch of the other; empty if nothing is alike.
Alignment alignLocal(std::string_view first, std::string_view second);

/// The sequences side by side without gaps: place i of the second is place i + `shift` of the
/// first.
Alignment alignShifted(std::string_view first, std::string_view second, int shift);

}  // namespace orvix
