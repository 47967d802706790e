#pragma once

#include <array>
#include <string>
#include <vector>

namespace orvix::networks {

/// Letter order of the rows of a check file, and that of the rows within the program.
inline constexpr const char* checkFileLetters = "ARNDCQEGHILKMFPSTWYV";
inline constexpr const char* profileLetters = "ACDEFGHIKLMNPQRSTVWY";
/// The longest sequence that a check file may hold.
inline constexpr int checkFileLengthLimit = 1279;

/// A sequence profile: one row of 20 values by residue, in the order of `profileLetters`.
struct SequenceProfile {
    std::string sequence;
    std::vector<std::array<double, 20>> rows;
};

enum class CheckFileStatus {
    ok,
    cannotOpen,  ///< no such file, not readable, a directory
    badLength,   ///< the length field is cut off or outside 0..1279
};

/// Reads a check file: a 32-bit length, that many letters, then rows of 20 doubles in the order of
/// `checkFileLetters` up to the end of the file, all little-endian. A row that the end of the file
/// cuts is dropped; a value that is not finite reads as 0. `extraRows` counts rows beyond the
/// sequence, which are dropped; `length` tells the length field.
CheckFileStatus readCheckFile(const std::string& path, SequenceProfile& profile, int& length,
                              int& extraRows);

/// Writes one, whole or not at all. Throws RunError if the file can't be written or the sequence is
/// longer than the limit.
void writeCheckFile(const std::string& path, const SequenceProfile& profile);

}  // namespace orvix::networks
