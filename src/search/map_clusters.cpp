#include "search/map_clusters.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <vector>

#include "base/statistics.h"

namespace orvix::search {

namespace {

constexpr int gridSide = 18;
constexpr int boxesOnMap = gridSide * gridSide;
constexpr int mostClusters = 64;
constexpr int squaredRadius = 36;  ///< 6 boxes
constexpr int neighboursToSeed = 5;
constexpr int membersToStand = 5;

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

int periodicDistance(int a, int b) {
    const int distance = std::abs(a - b);
    return distance > gridSide / 2 ? gridSide - distance : distance;
}

bool areNeighbours(int a, int b) {
    const int dr = periodicDistance(a / gridSide, b / gridSide);
    const int dc = periodicDistance(a % gridSide, b % gridSide);
    return dr * dr + dc * dc <= squaredRadius;
}

/// Fills the peak list: every box at or above one deviation over the mean, in falling value, equal
/// ones in rising box order.
void findPeaks(std::span<const double> map, ClusterData& out) {
    const double threshold = out.mapMean + out.mapStd;
    std::vector<double> scratch(map.begin(), map.end());
    for (std::size_t round = 0; round < map.size(); ++round) {
        double highest = -9999.0;
        std::size_t box = 0;
        for (std::size_t i = 0; i < scratch.size(); ++i) {
            if (scratch[i] > highest) {
                highest = scratch[i];
                box = i;
            }
        }
        if (highest >= threshold) {
            ++out.peakCount;
            out.peakBox[out.peakCount] = static_cast<int>(box);
            out.peakValue[out.peakCount] = highest;
        } else if (threshold > 0.0) {
            // A box that is done counts as 0.0, so nothing that is left can reach the threshold.
            // With a threshold of 0 or less such boxes come up again and again, as peaks.
            break;
        }
        scratch[box] = 0.0;
    }
}

/// Makes cluster `c` of a seed and those of its neighbours that are in no cluster yet.
void fillCluster(ClusterData& out, int c, int seed, const std::vector<int>& neighbours,
                 std::array<bool, boxesOnMap>& visited) {
    const auto add = [&out, c](int box) {
        out.clusterMember[c][++out.clusterSize[c]] = box;
        out.clusterSum[c] += out.boxValue[box];
        out.boxCluster[box] = c;
    };
    add(seed);
    for (int box : neighbours) {
        visited[at(box)] = true;
        if (out.boxCluster[box] == 0) {
            add(box);
        }
    }
}

void undoCluster(ClusterData& out, int c) {
    for (int k = 1; k <= out.clusterSize[c]; ++k) {
        out.boxCluster[out.clusterMember[c][k]] = 0;
    }
    out.clusterSize[c] = 0;
    out.clusterSum[c] = 0.0;
}

}  // namespace

int clusterMap(std::span<const double> map, ClusterData& out) {
    map = map.first(std::min(map.size(), at(boxesOnMap)));
    out = ClusterData();
    std::copy(map.begin(), map.end(), out.boxValue);
    out.mapMean = mean(map);
    out.mapStd = sampleDeviation(map);
    findPeaks(map, out);

    std::array<bool, boxesOnMap> visited{};
    std::vector<int> neighbours;
    for (int p = 1; p <= out.peakCount; ++p) {
        const int seed = out.peakBox[p];
        if (visited[at(seed)]) {
            continue;
        }
        visited[at(seed)] = true;
        neighbours.clear();
        for (int q = 1; q <= out.peakCount; ++q) {
            if (q != p && areNeighbours(seed, out.peakBox[q])) {
                neighbours.push_back(out.peakBox[q]);
            }
        }
        const int c = out.clusterCount + 1;
        if (static_cast<int>(neighbours.size()) < neighboursToSeed || c > mostClusters) {
            continue;
        }
        fillCluster(out, c, seed, neighbours, visited);
        if (out.clusterSize[c] >= membersToStand) {
            out.clusterCount = c;
        } else {
            undoCluster(out, c);
        }
    }
    return out.clusterCount;
}

}  // namespace orvix::search
