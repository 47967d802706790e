#pragma once

#include <array>
#include <optional>
#include <vector>

#include "results/finished_prediction.h"

namespace orvix::restraints {

/// A group of database matches that lie together in the plane of phi and psi; degrees.
struct MatchIsland {
    int count = 0;
    double phi = 0.0, psi = 0.0, phiSpread = 0.0, psiSpread = 0.0;
};

// The rule of two clear islands; heads of files say it with these numbers.
inline constexpr double islandLink = 40.0;    ///< degrees in phi and in psi, within an island
inline constexpr double widestIsland = 30.0;  ///< degrees, the largest spread of an island
inline constexpr double leastSeparation =
    80.0;                                   ///< degrees between the centres, phi and psi together
inline constexpr int leastIslandCount = 5;  ///< matches of the smaller island
inline constexpr int mostStrayMatches = 3;  ///< matches outside of both

/// The two islands that the matches of a residue fall into, the larger first; none where there are
/// fewer or more, or where they are not clear: matches are of one island when a chain of matches
/// joins them, each within `islandLink` of the next in phi and in psi.
std::optional<std::array<MatchIsland, 2>> twoIslands(
    const std::vector<results::FinishedMatch>& matches);

}  // namespace orvix::restraints
