#pragma once

#include <span>

#include "search/clusterdata.h"

namespace orvix::search {

/// Finds the islands of a box map: the boxes that stand out by one standard deviation are peaks;
/// a peak with more than 4 others within 6 boxes, on the periodic 18 x 18 grid, makes a cluster
/// with those of them that no cluster has yet, in order of falling value; of fewer than 5 members
/// it is given up again.
///
/// `map` holds up to 324 values by box index (phi bin * 18 + psi bin); what is beyond is not looked
/// at. Overwrites `out` and returns the number of clusters.
int clusterMap(std::span<const double> map, ClusterData& out);

}  // namespace orvix::search
