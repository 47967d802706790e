#include "compare/ranking.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using orvix::compare::Rank;
using orvix::compare::RankingRules;
using orvix::compare::rankModels;

/// Misfits of a residue as a prediction has them: mostly small, now and then large.
std::vector<double> misfits(std::size_t count, double mean, std::mt19937_64& random) {
    std::exponential_distribution<double> size(1.0 / mean);
    std::vector<double> row(count);
    for (double& one : row) {
        one = std::min(90.0, size(random));
    }
    return row;
}

TEST(Ranking, ErrorOfTheMeanIsThatOfIndependentResidues) {
    std::mt19937_64 random(5);
    const std::vector<double> row = misfits(400, 15.0, random);
    double mean = 0.0, squares = 0.0;
    for (const double one : row) {
        mean += one / 400.0;
    }
    for (const double one : row) {
        squares += (one - mean) * (one - mean);
    }
    const Rank rank = rankModels({row}, RankingRules{})[0];
    EXPECT_NEAR(rank.misfit, mean, 1e-12);
    EXPECT_NEAR(rank.error, std::sqrt(squares / 400.0 / 400.0), 0.1 * rank.error);
    EXPECT_EQ(rank.place, 1);
    EXPECT_EQ(rank.high, 1);
    EXPECT_EQ(rank.bestShare, 1.0);
}

// Residues that are wrong in runs carry less than as many independent ones: with blocks as long as
// the runs, the error is larger by about the root of their length.
TEST(Ranking, RunsOfWrongResiduesMakeTheErrorLarger) {
    std::vector<double> row;
    std::mt19937_64 random(6);
    for (int run = 0; run < 40; ++run) {
        row.insert(row.end(), 5, random() % 4 == 0 ? 90.0 : 10.0);
    }
    RankingRules alone;
    alone.block = 1;
    const double single = rankModels({row}, alone)[0].error;
    const double blocks = rankModels({row}, RankingRules{})[0].error;
    EXPECT_GT(blocks, 1.7 * single);
    EXPECT_LT(blocks, 2.7 * single);
}

// Models that differ by chance alone: the place that a new sample gives lies in the interval of the
// old one, as often as promised.
TEST(Ranking, IntervalsHoldThePlaceOfANewSample) {
    std::mt19937_64 random(7);
    RankingRules rules;
    rules.draws = 400;
    int inside = 0, asked = 0;
    for (int trial = 0; trial < 100; ++trial) {
        const std::vector<std::vector<double>> two = {misfits(60, 15.0, random),
                                                      misfits(60, 15.0, random)};
        for (const Rank& rank : rankModels(two, rules)) {
            const int expected = random() % 2 == 0 ? 1 : 2;
            inside += rank.low <= expected && expected <= rank.high ? 1 : 0;
            ++asked;
        }
    }
    // A place that is certain is missed in half of the trials; 95 % intervals of equals are certain
    // in one of twenty.
    EXPECT_GT(inside, 0.93 * asked);
}

TEST(Ranking, PlacesAreCertainWhereModelsDifferAndSharedWhereTheyDoNot) {
    std::mt19937_64 random(8);
    const std::vector<double> good = misfits(80, 10.0, random), poor = misfits(80, 30.0, random);
    const std::vector<Rank> ranks = rankModels({poor, good, good}, RankingRules{});
    EXPECT_EQ(ranks[0].place, 3);
    EXPECT_EQ(ranks[0].low, 3);
    EXPECT_EQ(ranks[0].notWorse, 0.0);
    for (const std::size_t one : {1U, 2U}) {
        EXPECT_EQ(ranks[one].place, 1);
        EXPECT_EQ(ranks[one].high, 1);
        EXPECT_NEAR(ranks[one].bestShare, 0.5, 1e-12);
        EXPECT_EQ(ranks[one].notWorse, 1.0);
    }
    RankingRules other;
    other.seed = 2;
    EXPECT_EQ(rankModels({poor, good}, other)[0].error, rankModels({poor, good}, other)[0].error);
    EXPECT_NE(rankModels({poor, good}, other)[0].error, ranks[0].error);
    EXPECT_TRUE(rankModels({}, other).empty());
}

}  // namespace
