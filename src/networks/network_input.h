#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

namespace orvix::networks {

/// Number of values in a residue vector: 12 shift entries (six pairs of value and flag in the order
/// HN, N, HA, C, CA, CB) and 20 residue entries.
inline constexpr std::size_t residueVectorSize = 32;
inline constexpr std::size_t shiftEntryCount = 12;

/// The residue-first form of shift-first vectors: the residue entries times 10.0, which gives back
/// unscaled substitution scores, then the shift entries.
std::map<int, std::vector<double>> residueFirst(const std::map<int, std::vector<double>>& input);

/// The atoms of the shift pairs in their order.
inline constexpr std::array<const char*, 6> networkAtoms = {"HN", "N", "HA", "C", "CA", "CB"};

/// The shift-first network input of a residue: six pairs of value and flag in the order of
/// `networkAtoms`, then the substitution scores. `shifts` and `averages` hold ppm by atom. A shift
/// that is missing (not there, or above 999.0) has the flag 1.0 and the average for its value, 0.0
/// without one; `averages` may be null.
std::vector<double> residueVector(const std::map<std::string, double>& shifts,
                                  const std::map<std::string, double>* averages,
                                  const std::vector<double>& scores);

/// The letter by which substitution scores and networks know a residue: the states of cysteine and
/// histidine read as C and H.
std::string baseLetter(const std::string& letter);

}  // namespace orvix::networks
