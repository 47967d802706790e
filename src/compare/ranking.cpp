#include "compare/ranking.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "base/statistics.h"

namespace orvix::compare {
namespace {

/// Differences below this are rounding, degrees.
constexpr double same = 1e-9;

/// How often each of `count` residues occurs in one draw: blocks of neighbours, the last joined to
/// the first, until there are as many as residues.
std::vector<double> drawResidues(std::size_t count, std::size_t block, std::mt19937_64& random) {
    std::vector<double> times(count, 0.0);
    for (std::size_t drawn = 0; drawn < count;) {
        // The standard's distributions differ between libraries; a remainder of 64 bits is even
        // enough for any protein.
        const auto start = static_cast<std::size_t>(random() % count);
        for (std::size_t k = 0; k < block && drawn < count; ++k, ++drawn) {
            times[(start + k) % count] += 1.0;
        }
    }
    return times;
}

int placeOf(double value, const std::vector<double>& all) {
    return 1 + static_cast<int>(std::count_if(all.begin(), all.end(),
                                              [&](double other) { return other < value - same; }));
}

/// Value of a sorted list that the share `part` of it does not exceed.
int percentile(const std::vector<int>& sorted, double part) {
    const auto last = static_cast<double>(sorted.size() - 1);
    return sorted[static_cast<std::size_t>(std::lround(part * last))];
}

}  // namespace

std::vector<Rank> rankModels(const std::vector<std::vector<double>>& misfits,
                             const RankingRules& rules) {
    std::vector<Rank> ranks(misfits.size());
    if (misfits.empty()) {
        return ranks;
    }
    const std::size_t residues = misfits.front().size();
    std::vector<double> means;
    for (const std::vector<double>& one : misfits) {
        means.push_back(mean(one));
    }
    const auto first =
        static_cast<std::size_t>(std::min_element(means.begin(), means.end()) - means.begin());
    std::mt19937_64 random(rules.seed);
    std::vector<std::vector<int>> places(misfits.size());
    std::vector<std::vector<double>> drawn(misfits.size());
    std::vector<double> now(misfits.size());
    for (int draw = 0; draw < rules.draws; ++draw) {
        const std::vector<double> times =
            drawResidues(residues, static_cast<std::size_t>(std::max(rules.block, 1)), random);
        for (std::size_t m = 0; m < misfits.size(); ++m) {
            now[m] = std::inner_product(times.begin(), times.end(), misfits[m].begin(), 0.0) /
                     static_cast<double>(residues);
            drawn[m].push_back(now[m]);
        }
        const double least = *std::min_element(now.begin(), now.end());
        const auto isBest = [&](double value) { return value <= least + same; };
        const auto winners = static_cast<double>(std::count_if(now.begin(), now.end(), isBest));
        for (std::size_t m = 0; m < misfits.size(); ++m) {
            places[m].push_back(placeOf(now[m], now));
            ranks[m].bestShare += isBest(now[m]) ? 1.0 / winners : 0.0;
            ranks[m].notWorse += now[m] <= now[first] + same ? 1.0 : 0.0;
        }
    }
    for (std::size_t m = 0; m < misfits.size(); ++m) {
        Rank& rank = ranks[m];
        rank.misfit = means[m];
        rank.error = sampleDeviation(drawn[m]);
        rank.place = placeOf(means[m], means);
        std::sort(places[m].begin(), places[m].end());
        rank.low = std::min(percentile(places[m], 0.025), rank.place);
        rank.high = std::max(percentile(places[m], 0.975), rank.place);
        rank.bestShare /= rules.draws;
        rank.notWorse /= rules.draws;
    }
    return ranks;
}

}  // namespace orvix::compare
