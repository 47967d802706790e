// From phi/psi maps to the values by which the database is searched.
#include <algorithm>
#include <vector>

#include "base/phi_psi_grid.h"
#include "run/orvix.h"

namespace {

constexpr double highestValue = 0.98;
constexpr double outsideValue = -9.99;

/// Whether a residue is left open because its first cluster does not dominate. The limit is
/// stricter for a seed at phi >= 0 and psi around -40..120.
bool isOpen(const ClusterData& found, double firstShare) {
    if (found.clusterCount <= 1) {
        return false;
    }
    const int seed = found.clusterMember[1][1];
    const int phiBin = seed / orvix::angleBins, psiBin = seed % orvix::angleBins;
    return firstShare < (phiBin >= 9 && psiBin >= 7 && psiBin <= 15 ? 0.65 : 0.6);
}

/// Search values by box; an open residue has none.
std::map<int, double> searchValues(const ClusterData& found, double firstShare, int boxes) {
    std::map<int, double> values;
    const bool open = isOpen(found, firstShare);
    for (int i = 0; i < boxes; ++i) {
        const double value = found.boxValue[i];
        if (found.mapMean == 0.0) {
            values.emplace_hint(values.end(), i, 0.0);
        } else if (!open) {
            const bool outside =
                found.boxCluster[i] == 0 || (value - found.mapMean) / found.mapStd < 1.0;
            values.emplace_hint(values.end(), i,
                                outside ? outsideValue : std::min(value, highestValue));
        }
    }
    return values;
}

}  // namespace

void ORVIX::deriveSearchMap() {
    for (const auto& [residue, map] : annPhiPsi) {
        const std::size_t boxes = std::min<std::size_t>(map.size(), orvix::boxCount);
        resWeight[residue] =
            searchValues(clusters[residue], annConfidence[residue], static_cast<int>(boxes));
    }
}
