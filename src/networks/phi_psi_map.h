#pragma once

#include <span>
#include <vector>

#include "networks/residue_range.h"

namespace orvix::networks {

/// Shifts missing in the window of five around a residue.
struct WindowCount {
    int total = 0;
    int worst = 0;  ///< the most at one residue
};
WindowCount missingInWindow(const MissingCounts& missing, int residue);

/// Which network's map counts for a residue; `none` is a map of zeros.
enum class MapChoice { standard, hybrid, none };

/// The standard network where every residue of the window has its shifts, the hybrid network where
/// some are missing (24 at most) or where the range worked on ends close by, none otherwise. A
/// residue may lack 4 shifts, or 5 with `noProton`, which takes two from each.
MapChoice chooseMap(const ResidueRange& range, int residue, const WindowCount& missing,
                    bool noProton);

/// A raw network map weighted box by box with `prior`; what comes out negative counts as 0.
std::vector<double> boxMap(std::span<const double> raw, std::span<const double> prior);

/// The value of the first cluster's seed over those of all; 0 without clusters or with seeds of 0.
/// `seeds` holds a box for each cluster.
double seedShare(std::span<const double> map, std::span<const int> seeds);

}  // namespace orvix::networks
