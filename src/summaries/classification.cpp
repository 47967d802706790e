#include "summaries/classification.h"

#include <algorithm>
#include <cmath>

#include "base/angles.h"
#include "base/missing.h"
#include "base/phi_psi_grid.h"

namespace orvix::summaries {
namespace {

constexpr int boxCount = 324;
constexpr double attachLimit = 40.0;
constexpr double spreadLimit = 40.0;

}  // namespace

Consensus classifyMatches(std::span<const double> phi, std::span<const double> psi,
                          const ClusterData& clusters, int candidateMax, int required) {
    const std::size_t n =
        std::min({phi.size(), psi.size(), static_cast<std::size_t>(std::max(candidateMax, 0))});
    const int clusterCount = std::clamp(clusters.clusterCount, 0, 64);

    std::vector<std::vector<std::size_t>> groups(static_cast<std::size_t>(clusterCount) + 1);
    std::vector<int> assigned(n, 0);
    const auto join = [&](std::size_t i, int group) {
        groups[static_cast<std::size_t>(group)].push_back(i);
        assigned[i] = group;
    };
    for (std::size_t i = 0; i < n; ++i) {
        const int box = angleBin(phi[i]) * 18 + angleBin(psi[i]);
        const int cluster = box >= 0 && box < boxCount ? clusters.boxCluster[box] : 0;
        join(i, cluster > 0 && cluster <= clusterCount ? cluster : 0);
    }

    if (!groups[0].empty()) {
        groups[0].clear();
        for (std::size_t i = 0; i < n; ++i) {
            if (assigned[i] != 0) {
                continue;
            }
            for (std::size_t j = 0; j < n; ++j) {
                // A missing angle makes the difference 999.0, which is never close.
                if (assigned[j] >= 1 && std::fabs(angleDifference(phi[i], phi[j])) <= attachLimit &&
                    std::fabs(angleDifference(psi[i], psi[j])) <= attachLimit) {
                    join(i, assigned[j]);
                    break;
                }
            }
        }
        for (std::size_t i = 0; i < n; ++i) {
            if (assigned[i] == 0) {
                groups[0].push_back(i);
            }
        }
    }

    std::size_t winner = 0;
    for (std::size_t c = 1; c < groups.size(); ++c) {
        if (groups[c].size() >= groups[winner].size()) {
            winner = c;
        }
    }

    Consensus result;
    for (std::size_t i : groups[winner]) {
        result.phi.push_back(phi[i]);
        result.psi.push_back(psi[i]);
    }
    for (std::size_t i = 0; i < n; ++i) {
        result.weight.push_back(assigned[i] == static_cast<int>(winner) ? 1.0 : 0.0);
    }
    const auto isMember = [](double weight) { return weight == 1.0; };
    const auto first = std::find_if(result.weight.begin(), result.weight.end(), isMember);
    const auto last = std::find_if_not(first, result.weight.end(), isMember);
    const auto run = static_cast<int>(last - first);
    if (run == candidateMax) {
        result.count = candidateMax;
    } else if (run >= required) {
        result.count = required;
    } else {
        const auto looked = result.weight.begin() +
                            std::clamp<std::ptrdiff_t>(required, 0, static_cast<std::ptrdiff_t>(n));
        result.count = static_cast<int>(std::count_if(result.weight.begin(), looked, isMember));
    }
    return result;
}

std::string_view classWord(const ClassEvidence& evidence) {
    std::string_view word = "Warn";
    if (evidence.count == evidence.candidateMax) {
        word = "Strong";
    } else if (evidence.count == evidence.required) {
        word = "Generous";
    }
    if (evidence.psiSpread > spreadLimit || evidence.phiSpread > spreadLimit) {
        word = "Warn";
    }
    if (word != "Warn" && evidence.hasReference && evidence.referenceBox > 0 &&
        evidence.referenceBox < boxCount) {
        // A missing angle gives 999.0, whose square is past either limit.
        const double dPhi = angleDifference(evidence.phi, evidence.referencePhi);
        const double dPsi = angleDifference(evidence.psi, evidence.referencePsi);
        const double limit = phiPsiDensity[static_cast<std::size_t>(evidence.referenceBox)] >= 0.06
                                 ? 3600.0
                                 : 6400.0;
        if (dPhi * dPhi + dPsi * dPsi >= limit) {
            word = "Bad";
        }
    }
    if (evidence.disorder > evidence.disorderLimit && evidence.disorder < missingLimit) {
        word = "Dyn";
    }
    return word;
}

int referenceBox(double phi, double psi) {
    if (!(phi <= missingLimit && psi <= missingLimit && phi >= -1e4 && psi >= -1e4)) {
        return 0;
    }
    const int box =
        static_cast<int>((phi + 180.0) * 0.05) * 18 + static_cast<int>((psi + 180.0) * 0.05);
    return box >= 0 && box < boxCount ? box : 0;
}

}  // namespace orvix::summaries
