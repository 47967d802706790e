#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "networks/chi1ann.h"
#include "networks/network_files.h"
#include "random_database.h"
#include "run/orvix.h"

namespace {

using Map = std::map<double, int>;

/// A query V at residue 11 in the middle of valines 8 to 14, and one protein of 400 rows, whose phi
/// is -row / 4 and psi row / 4, so that a row is as far from a prediction as its number says.
class RefinedSearch : public testing::Test {
  protected:
    static constexpr int rows = 400;
    static constexpr int res = 11;

    RefinedSearch() {
        run_.db = new DB;
        sizeDatabase(*run_.db, rows);
        for (int row = 0; row < rows; ++row) {
            Residue residue{"prot",
                            'V',
                            row + 5,
                            -0.25F * static_cast<float>(row),
                            0.25F * static_cast<float>(row),
                            0.0F,
                            3};
            // g- g+ t na in turn
            residue.chi1 = row % 4 == 0   ? -60.0F
                           : row % 4 == 1 ? 60.0F
                           : row % 4 == 2 ? 175.0F
                                          : 9999.0F;
            for (std::size_t k = 0; k < 12; ++k) {
                residue.shifts[k] =
                    0.125F * static_cast<float>(row % 7) + 0.5F * static_cast<float>(k % 3);
            }
            setResidue(*run_.db, row, residue);
        }
        run_.firstResid = 8;
        run_.lastResid = 14;
        run_.provideShiftMatrix(7);
        for (int r = 8; r <= 14; ++r) {
            double* const shifts = run_.shiftMatrix[r - 8];
            for (int atom = 0; atom < 6; ++atom) {
                shifts[atom] = atom == 2 ? 9999.0 : 0.1 * r + 0.01 * atom;
            }
            run_.seq[r] = "V";
            run_.seqChar[r] = 'V';
        }
    }

    /// Trusts the prediction at `r`.
    void predict(int r, double phi, double psi) {
        run_.matchCount[r] = 10;
        run_.avgPhi[r] = phi;
        run_.avgPsi[r] = psi;
    }

    /// Keys 0.5, 1.0, ... for the rows from `first` on.
    static Map candidates(int first, int count, int step = 1) {
        Map map;
        for (int k = 0; k < count; ++k) {
            map[0.5 * (k + 1)] = first + k * step;
        }
        return map;
    }

    std::vector<int> listedRows() {
        std::vector<int> listed;
        for (std::size_t k = 1; k <= run_.matchPhi[res].size(); ++k) {
            listed.push_back(run_.matchIndex[res][static_cast<int>(k)]);
        }
        return listed;
    }

    ORVIX run_;
    Map none_;
};

TEST_F(RefinedSearch, TrustedNeighboursRejectCandidates) {
    // At residue 12 phi 0 and psi 0 are predicted: row + 1 may be up to 320 (80 degrees).
    predict(12, 0.0, 0.0);
    Map matches = candidates(310, 20);
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches.size(), 10U);
    EXPECT_EQ(listedRows(), (std::vector<int>{310, 311, 312, 313, 314, 315, 316, 317, 318, 319}));
    EXPECT_EQ(run_.matchScore[res].front(), 0.5);
    EXPECT_EQ(run_.matchPhi[res][9], -0.25 * 319);
    EXPECT_EQ(run_.matchPsi[res][9], 0.25 * 319);

    // Around the circle: 280 is -80.
    predict(12, 280.0, 0.0);
    matches = {{1.0, 0}, {2.0, 1}, {3.0, 5}};
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches, (Map{{1.0, 0}, {2.0, 1}, {3.0, 5}}));
    EXPECT_EQ(run_.matchPhi[res], (std::vector<double>{-0.25, -1.25}));

    // No prediction at a trusted position rejects all, an untrusted one none.
    predict(12, 9999.0, 0.0);
    matches = candidates(310, 5);
    run_.searchDB2(res, matches, none_);
    EXPECT_TRUE(matches.empty());
    EXPECT_TRUE(run_.matchPhi[res].empty());
    run_.matchCount[12] = 9;
    matches = candidates(310, 5);
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches.size(), 5U);

    // Four away is outside the window of 7.
    predict(15, 9999.0, 0.0);
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches.size(), 5U);
}

TEST_F(RefinedSearch, ListsKeepOneMoreThanTheyShow) {
    Map matches = candidates(10, 40);
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches.size(), 26U);
    EXPECT_EQ(matches.rbegin()->first, 13.0);
    EXPECT_EQ(run_.matchPhi[res].size(), 25U);
    EXPECT_EQ(run_.matchIndex[res][25], 34);

    // The key of rank 25 from the top is not above 0: the highest stay, agreeing or not, and the
    // list begins at the lowest of them.
    predict(12, 9999.0, 0.0);
    matches.clear();
    for (int k = 0; k < 40; ++k) {
        matches[3.0 - 0.25 * k] = 100 + k;
    }
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches.size(), 26U);
    EXPECT_EQ(run_.matchPhi[res].size(), 25U);
    EXPECT_EQ(run_.matchIndex[res][1], 125);
    EXPECT_EQ(run_.matchIndex[res][25], 101);
}

TEST_F(RefinedSearch, EnoughMatchesAreLeftAlone) {
    predict(res, 9999.0, 0.0);
    run_.matchPhi[res] = {1.0};
    run_.matchChi1[res] = {2.0};
    Map matches = candidates(10, 40);
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches.size(), 40U);
    EXPECT_EQ(run_.matchPhi[res], (std::vector<double>{1.0}));
    EXPECT_TRUE(run_.matchChi1[res].empty());
    for (char letter : std::string("GAP")) {
        run_.seqChar[res] = letter;
        run_.matchChi1[res] = {2.0};
        run_.chi1Result.clear();
        Map typeMatches = candidates(10, 3);
        run_.searchDB2(res, matches, typeMatches);
        EXPECT_EQ(typeMatches.size(), 3U);
        EXPECT_EQ(run_.matchChi1[res], (std::vector<double>{2.0}));
        EXPECT_EQ(run_.chi1Result.count(res), 0U);
    }
}

TEST_F(RefinedSearch, UnusableRowsCountForTheRankOnly) {
    Map matches = {{1.0, 0}, {2.0, -4}, {3.0, 20}, {4.0, 2330111}, {5.0, rows}, {6.0, 21}};
    run_.candidateMax = 3;
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches, (Map{{1.0, 0}, {2.0, -4}, {3.0, 20}, {4.0, 2330111}}));
    EXPECT_EQ(run_.matchScore[res], (std::vector<double>{3.0}));
    EXPECT_EQ(run_.matchIndex[res], (std::map<int, int>{{3, 20}}));
    matches = {{-1.0, 0}, {-2.0, 22}, {-3.0, 20}};
    run_.matchIndex[res].clear();
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches.size(), 3U);
    EXPECT_EQ(run_.matchPhi[res].size(), 2U);
    EXPECT_EQ(run_.matchIndex[res], (std::map<int, int>{{1, 20}, {2, 22}}));
    // The window of the last rows reaches beyond the database.
    predict(12, -99.0, 99.0);
    matches = {{1.0, rows - 2}, {2.0, rows - 1}};
    run_.searchDB2(res, matches, none_);
    EXPECT_EQ(matches, (Map{{1.0, rows - 2}}));
}

TEST_F(RefinedSearch, Chi1GroupsFromRawScoresWithoutNetwork) {
    // X has no network: the raw scores stay.
    run_.seq[res] = "X";
    run_.seqChar[res] = 'X';
    Map typeMatches = candidates(8, 150);
    run_.searchDB2(res, none_, typeMatches);
    EXPECT_EQ(typeMatches.size(), 101U);
    EXPECT_EQ(typeMatches.rbegin()->first, 50.5);
    const auto& groups = run_.chi1Result[res];
    ASSERT_EQ(groups.size(), 4U);
    // The tenth t ends it: rows 8, 12, ... are g-, 9, 13, ... g+, 10, ... t, 11, ... na.
    for (const auto& [word, first] :
         std::map<std::string, double>{{"g-", 0.5}, {"g+", 1.0}, {"t", 1.5}, {"na", 2.0}}) {
        const std::vector<double>& group = groups.at(word);
        ASSERT_EQ(group.size(), word == "na" ? 9U : 10U) << word;
        for (std::size_t k = 0; k < group.size(); ++k) {
            EXPECT_EQ(group[k], first + 2.0 * static_cast<double>(k));
        }
    }
    EXPECT_EQ(run_.matchChi1[res].size(), 76U);

    // 50 degrees here.
    predict(res, 0.0, 0.0);
    typeMatches = candidates(190, 20);
    run_.searchDB2(res, none_, typeMatches);
    EXPECT_EQ(typeMatches.size(), 11U);
    EXPECT_EQ(typeMatches.rbegin()->second, 200);
}

TEST_F(RefinedSearch, NetworkScoresReplaceTheKeys) {
    NetworkFiles files;
    files.writeLevel("chi1_C.level1", 39, 15, 1, 3, 700);
    run_.chi1Nets["C"] = new CHI1ANN(39, 15, 1, files.dir(), "chi1_C");
    run_.seq[13] = "c";
    run_.seqChar[13] = 'c';
    run_.lastResid = 13;  // residue 14 is out of range
    const auto input = [this](int row) {
        std::vector<double> values;
        for (int j = -1; j <= 1; ++j) {
            const float* const angles = run_.db->angles[row + j];
            const float* const shifts = run_.db->shifts[row + j];
            const double degree = 0.017453292519943295;
            for (int k = 0; k < 2; ++k) {
                values.push_back(std::sin(static_cast<double>(angles[k]) * degree));
                values.push_back(std::cos(static_cast<double>(angles[k]) * degree));
            }
            if (angles[2] < 999.0F) {
                values.push_back(std::sin(static_cast<double>(angles[2]) * degree));
                values.push_back(std::cos(static_cast<double>(angles[2]) * degree));
                values.push_back(0.0);
            } else {
                values.insert(values.end(), {0.0, 0.0, 1.0});
            }
            for (int atom = 0; atom < 6; ++atom) {
                const bool missing = j == 1 || atom == 2 || shifts[2 * atom + 1] == 0.0F;
                values.push_back(missing ? 1.5
                                         : (static_cast<double>(shifts[2 * atom]) -
                                            (0.1 * (13 + j) + 0.01 * atom)) /
                                               static_cast<double>(shifts[2 * atom + 1]));
            }
        }
        return values;
    };
    CHI1ANN single(39, 15, 1, files.dir(), "chi1_C");
    Map expected;
    Map typeMatches = candidates(40, 30);
    for (const auto& [key, row] : typeMatches) {
        expected[single.runANNLevel1(input(row))] = row;
    }
    typeMatches[99.0] = 0;  // dropped
    EXPECT_NE(run_.evalChi1WithANN(13, typeMatches), -1);
    EXPECT_EQ(typeMatches, expected);
    EXPECT_GT(expected.size(), 20U);

    // Letters without a network, or with none made, change nothing.
    for (const char* letter : {"A", "G", "P", "X", "", "V"}) {
        run_.seq[res] = letter;
        Map kept = {{1.0, 40}};
        EXPECT_EQ(run_.evalChi1WithANN(res, kept), -1) << letter;
        EXPECT_EQ(kept, (Map{{1.0, 40}}));
    }
    EXPECT_EQ(run_.evalChi1WithANN(500, typeMatches), -1);
    EXPECT_EQ(run_.seq.count(500), 0U);
}

TEST_F(RefinedSearch, VerboseLines) {
    run_.noVerb = false;
    run_.seq[res] = run_.seqChar[res] = 'X';
    Map matches = {{0.5, 20}};
    Map typeMatches = {{1.0, 21}, {2.0, 25}, {4.0, 22}};
    testing::internal::CaptureStdout();
    run_.searchDB2(res, matches, typeMatches);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " checking 1 preliminary fragments\n"
              " 20         1   -5.000    5.000     0.500     0.500  V24  V25  V26  prot r2\n"
              " cluster-specific statistics for 3 chi1 prediction: \n"
              "  0 \tbest matched fragments with g- 0 +/- 0\n"
              "  2 \tbest matched fragments with g+ 1.5 +/- 0.707107\n"
              "  1 \tbest matched fragments with t  4 +/- 0\n");
}

}  // namespace
