#include "restraints/two_islands.h"

#include <algorithm>
#include <cmath>

#include "base/angles.h"

namespace orvix::restraints {
namespace {

/// Fewer matches than this say nothing about islands.
constexpr std::size_t leastMatches = 20;

struct Point {
    double phi, psi;
};

bool areLinked(const Point& a, const Point& b) {
    return std::fabs(angleDifference(a.phi, b.phi)) <= islandLink &&
           std::fabs(angleDifference(a.psi, b.psi)) <= islandLink;
}

/// Groups of points that chains of links join, the largest first.
std::vector<std::vector<Point>> linkedGroups(std::vector<Point> rest) {
    std::vector<std::vector<Point>> groups;
    while (!rest.empty()) {
        std::vector<Point> group = {rest.front()};
        rest.erase(rest.begin());
        for (std::size_t i = 0; i < group.size(); ++i) {
            const auto linked =
                std::stable_partition(rest.begin(), rest.end(),
                                      [&](const Point& one) { return !areLinked(one, group[i]); });
            group.insert(group.end(), linked, rest.end());
            rest.erase(linked, rest.end());
        }
        groups.push_back(std::move(group));
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const auto& a, const auto& b) { return a.size() > b.size(); });
    return groups;
}

MatchIsland island(const std::vector<Point>& points) {
    std::vector<double> phi, psi;
    for (const Point& one : points) {
        phi.push_back(one.phi);
        psi.push_back(one.psi);
    }
    return {static_cast<int>(points.size()), meanAngle(phi), meanAngle(psi), angleSpread(phi),
            angleSpread(psi)};
}

}  // namespace

std::optional<std::array<MatchIsland, 2>> twoIslands(
    const std::vector<results::FinishedMatch>& matches) {
    std::vector<Point> points;
    for (const results::FinishedMatch& match : matches) {
        if (match.phi && match.psi) {
            points.push_back({*match.phi, *match.psi});
        }
    }
    if (points.size() < leastMatches) {
        return std::nullopt;
    }
    const std::size_t all = points.size();
    const std::vector<std::vector<Point>> groups = linkedGroups(std::move(points));
    if (groups.size() < 2) {
        return std::nullopt;
    }
    const std::array<MatchIsland, 2> two = {island(groups[0]), island(groups[1])};
    const auto isWide = [](const MatchIsland& one) {
        return one.phiSpread > widestIsland || one.psiSpread > widestIsland;
    };
    const int stray = static_cast<int>(all) - two[0].count - two[1].count;
    const double apart = std::hypot(angleDifference(two[0].phi, two[1].phi),
                                    angleDifference(two[0].psi, two[1].psi));
    if (two[1].count < leastIslandCount || stray > mostStrayMatches || isWide(two[0]) ||
        isWide(two[1]) || apart < leastSeparation) {
        return std::nullopt;
    }
    return two;
}

}  // namespace orvix::restraints
