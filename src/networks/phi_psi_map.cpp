// From the raw maps of the surface networks to the map of a residue.
#include "networks/phi_psi_map.h"

#include <algorithm>

namespace orvix::networks {

WindowCount missingInWindow(const MissingCounts& missing, int residue) {
    WindowCount window;
    for (int r = residue - 2; r <= residue + 2; ++r) {
        const int count = missingOf(missing, r);
        window.total += count;
        window.worst = std::max(window.worst, count);
    }
    return window;
}

MapChoice chooseMap(const ResidueRange& range, int residue, const WindowCount& missing,
                    bool noProton) {
    // The inner neighbours of an end of the range that is no end of the chain come first.
    if ((residue == range.first + 1 && residue != range.firstShift) ||
        (residue == range.last - 1 && residue != range.lastSequence)) {
        return MapChoice::hybrid;
    }
    if (residue < range.first || residue > range.last ||
        (residue == range.first && range.first != range.firstShift) ||
        (residue == range.last && range.last != range.lastSequence)) {
        return MapChoice::none;
    }
    if (missing.worst <= (noProton ? 5 : 4)) {
        return MapChoice::standard;
    }
    return missing.total <= 24 ? MapChoice::hybrid : MapChoice::none;
}

std::vector<double> boxMap(std::span<const double> raw, std::span<const double> prior) {
    std::vector<double> map(raw.size());
    for (std::size_t k = 0; k < raw.size(); ++k) {
        const double value = raw[k] * prior[k];
        map[k] = value < 0.0 ? 0.0 : value;
    }
    return map;
}

double seedShare(std::span<const double> map, std::span<const int> seeds) {
    double sum = 0.0;
    for (const int box : seeds) {
        sum += map[static_cast<std::size_t>(box)];
    }
    return seeds.empty() || sum == 0.0 ? 0.0 : map[static_cast<std::size_t>(seeds[0])] / sum;
}

}  // namespace orvix::networks
