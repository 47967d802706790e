#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>

#include "random_database.h"
#include "run/orvix.h"
#include "search/rerank.h"

namespace {

/// A run ready to search: database, blocks, query of letters from residue 1 on, all shifts missing.
class Search : public testing::Test {
  protected:
    void prepare(int rows, const std::string& letters) {
        run_.db = new DB;
        sizeDatabase(*run_.db, rows);
        run_.firstResid = 1;
        run_.lastResid = static_cast<int>(letters.size());
        run_.provideShiftMatrix(letters.size());
        for (std::size_t k = 0; k < letters.size(); ++k) {
            run_.seqChar[static_cast<int>(k) + 1] = letters[k];
        }
    }
    void cutBlocks() {
        run_.dbProteinFirst = {{0, 0}};
        run_.dbProteinLast = {{0, -1}};
        run_.dbProteinCount = 1;
        for (const orvix::search::ProteinBlock& block : proteinBlocks(*run_.db)) {
            run_.dbProteinFirst[run_.dbProteinCount] = block.first;
            run_.dbProteinLast[run_.dbProteinCount++] = block.last;
        }
    }

    ORVIX run_;
    std::map<double, int> matches_, typeMatches_;
};

/// One protein of rows numbered from 1; every centre has a box of its own, 10 + row.
class SmallSearch : public Search {
  protected:
    void fill(int rows, const std::string& query) {
        prepare(rows, query);
        run_.alignLen = 3;
        for (int row = 0; row < rows; ++row) {
            Residue residue{
                "prot", 'V',     row + 1, -60.0F - static_cast<float>(row), static_cast<float>(row),
                0.0F,   10 + row};
            residue.chi1 = row % 2 == 0 ? 60.0F + static_cast<float>(row) : 9999.0F;
            for (std::size_t atom = 0; atom < 6; ++atom) {
                residue.shifts[2 * atom] = static_cast<float>(row);
                residue.shifts[2 * atom + 1] = 2.0F;
            }
            setResidue(*run_.db, row, residue);
        }
        cutBlocks();
    }
};

TEST_F(SmallSearch, RanksByShiftDistanceOverScore) {
    fill(8, "AVA");
    for (int row = 0; row < 8; ++row) {
        run_.resWeight[2][10 + row] = 0.5 + 0.03125 * row;
    }
    // The query agrees with row 3 on N; nothing else is known.
    run_.shiftMatrix[1][0] = 3.0;
    run_.noVerb = false;
    testing::internal::CaptureStdout();
    run_.searchDB(2, matches_, typeMatches_);
    const std::string lines = testing::internal::GetCapturedStdout();

    // Centres are the rows 1 to 6: every term but one is 2.25.
    std::map<double, int> expected;
    for (int row = 1; row <= 6; ++row) {
        double sum = 0.0;
        for (int j = -1; j <= 1; ++j) {
            for (int atom = 0; atom < 6; ++atom) {
                const double d = (static_cast<double>(row) - 3.0) / 2.0;
                const double term = j == 0 && atom == 0 ? d * d : 2.25;
                sum += static_cast<double>(j == 0 ? 1.0F : 0.64F) * term;
            }
        }
        expected[sum / (3 * 6.0) / (0.5 + 0.03125 * row)] = row;
    }
    EXPECT_EQ(matches_, expected);
    ASSERT_EQ(run_.matchPhi[2].size(), 6U);
    int rank = 0;
    for (const auto& [key, row] : expected) {
        const auto at = static_cast<std::size_t>(rank++);
        EXPECT_EQ(run_.matchScore[2][at], key);
        EXPECT_EQ(run_.matchPhi[2][at], -60.0 - row);
        EXPECT_EQ(run_.matchPsi[2][at], row);
        EXPECT_EQ(run_.matchIndex[2][rank], row);
    }
    // Rows 2, 4 and 6 have chi1. Their distances are 38.5, 38.5 and 40.5 over 18, and with their
    // scores of 0.5625, 0.625 and 0.6875 the keys 3.80, 3.42 and 3.27.
    EXPECT_EQ(typeMatches_.size(), 6U);
    EXPECT_EQ(typeMatches_.begin()->first, 0.53125);
    EXPECT_EQ(run_.matchChi1[2], (std::vector<double>{66.0, 64.0, 62.0}));

    const int best = expected.begin()->second;
    char first[200];
    std::snprintf(first, sizeof first,
                  " %-7d %4d %8.3f %8.3f  %8.3f  %8.3f  %1c%-3d %1c%-3d %1c%-3d %s\n", best, 1,
                  -60.0 - best, 1.0 * best, expected.begin()->first, 0.5 + 0.03125 * best, 'V',
                  best, 'V', best + 1, 'V', best + 2, "prot");
    EXPECT_EQ(lines.substr(0, lines.find('\n') + 1), first);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 6);
}

TEST_F(SmallSearch, PoorScoresRunFromTheLowestKeptAndLoseTheHighest) {
    fill(34, "AAA");
    for (int row = 0; row < 34; ++row) {
        run_.resWeight[2][10 + row] = -1.0 - 0.0625 * row;
    }
    run_.searchDB(2, matches_, typeMatches_);
    // Centres 1..32 with scores falling by row. All stay in the map; of the best 26 (rows 1 to 26)
    // the list begins at the lowest and leaves out the highest.
    EXPECT_EQ(matches_.size(), 32U);
    ASSERT_EQ(run_.matchScore[2].size(), 25U);
    EXPECT_EQ(run_.matchIndex[2][1], 26);
    EXPECT_EQ(run_.matchScore[2][0], -1.0 - 0.0625 * 26);
    EXPECT_EQ(run_.matchIndex[2][25], 2);
    // No same-type list for alanine, nor for glycine and proline.
    EXPECT_TRUE(typeMatches_.empty());
    EXPECT_TRUE(run_.matchChi1[2].empty());
}

TEST_F(SmallSearch, EntriesWithoutPositiveScoreHaveNoRankWhenTheCutIsPositive) {
    fill(40, "AVA");
    for (int row = 0; row < 40; ++row) {
        run_.resWeight[2][10 + row] = 30 - row;
    }
    run_.searchDB(2, matches_, typeMatches_);
    // Scores 29 to -8 in 38 rows: rank 25 has 5; the 29 positive ones are ranked.
    EXPECT_EQ(matches_.size(), 29U);
    EXPECT_EQ(run_.matchScore[2].size(), 25U);
    EXPECT_EQ(run_.matchIndex[2][1], 1);
    EXPECT_EQ(run_.matchChi1[2].size(), 14U);
    EXPECT_EQ(typeMatches_.size(), 38U);
}

TEST_F(SmallSearch, ChangedMapsAndRowsAreSeenByTheNextSearch) {
    fill(12, "AVA");
    run_.resWeight[2][13] = 0.5;
    run_.searchDB(2, matches_, typeMatches_);
    // The other rows score 0, so the list runs by raw score and ends with the best.
    EXPECT_EQ(matches_.rbegin()->second, 3);
    EXPECT_EQ(run_.matchIndex[2][1], 10);
    run_.resWeight[2][15] = 0.9;
    run_.db->boxes[8] = 15;
    run_.searchDB(2, matches_, typeMatches_);
    EXPECT_EQ(matches_.rbegin()->second, 8);
    run_.db->resNames[8] = 'P';
    run_.blosum['V']['P'] = -2;
    run_.searchDB(2, matches_, typeMatches_);
    EXPECT_EQ(matches_.rbegin()->second, 5);
}

TEST_F(SmallSearch, NothingToFindAndNothingToSearchIn) {
    fill(5, "PPP");
    run_.searchDB(2, matches_, typeMatches_);
    EXPECT_TRUE(matches_.empty());
    EXPECT_TRUE(run_.matchPhi[2].empty());
    run_.searchDB(77, matches_, typeMatches_);
    run_.alignLen = 9;
    run_.searchDB(2, matches_, typeMatches_);
    EXPECT_TRUE(matches_.empty());
    run_.alignLen = 1;
    run_.searchDB(2, matches_, typeMatches_);
    // Blocks that claim more rows than there are.
    run_.dbProteinLast[1] = 1 << 30;
    run_.dbProteinFirst[1] = -5;
    run_.alignLen = 3;
    run_.seqChar[3] = run_.seqChar[2] = 'V';
    run_.searchDB(2, matches_, typeMatches_);
    EXPECT_EQ(matches_, (std::map<double, int>{{0.0, 3}}));
    EXPECT_EQ(typeMatches_, matches_);
}

TEST(Rerank, FastFormHasTheBitsOfThePlainForm) {
    std::mt19937 random(9);
    DB db;
    fillRandom(db, random, {.rows = 3000, .longestBlock = 3000});
    for (int halfWidth = 0; halfWidth <= 3; ++halfWidth) {
        orvix::search::QueryShifts query;
        query.halfWidth = halfWidth;
        for (std::size_t p = 0; p < orvix::search::maxWindow; ++p) {
            for (std::size_t atom = 0; atom < 6; ++atom) {
                query.value[p][atom] = static_cast<double>(random() % 10000) / 1500.0 - 3.0;
                query.missing[p][atom] = random() % 4 == 0;
            }
        }
        for (const orvix::search::ProteinBlock& block : proteinBlocks(db)) {
            std::vector<int> rows;
            for (int row = block.first + halfWidth; row <= block.last - halfWidth; ++row) {
                rows.push_back(row);
            }
            std::vector<double> distances(rows.size());
            orvix::search::shiftDistances(query, db, rows, distances);
            for (std::size_t k = 0; k < rows.size(); ++k) {
                ASSERT_EQ(distances[k],
                          orvix::search::shiftDistancePlain(query, db, rows[k], block));
            }
        }
    }
}

TEST(Rerank, RowsOfAnotherProteinHaveNoShifts) {
    DB db;
    sizeDatabase(db, 3);
    for (int row = 0; row < 3; ++row) {
        setResidue(db, row, {"p", 'A', row, 0, 0, 0, 0, std::vector<float>(12, 1.0F)});
    }
    orvix::search::QueryShifts query;
    query.halfWidth = 1;
    // Every term that is there is (1 - 0)^2.
    EXPECT_DOUBLE_EQ(orvix::search::tripletDistance(query, db, 1, {0, 2}), 18.0);
    EXPECT_DOUBLE_EQ(orvix::search::tripletDistance(query, db, 1, {1, 2}), 12.0 + 6 * 2.25);
    query.missing[1][5] = true;
    EXPECT_DOUBLE_EQ(orvix::search::tripletDistance(query, db, 1, {0, 2}), 17.0 + 2.25);
}

}  // namespace
