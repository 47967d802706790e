#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <random>

#include "random_database.h"
#include "search/top_scores.h"
#include "search/triplet_scan.h"

namespace {

using orvix::search::ScanHits;
using orvix::search::ScanQuery;

struct Query {
    std::map<int, char> letters;
    std::map<int, std::map<int, double>> maps;
    std::map<char, std::map<char, double>> blosum;

    ScanQuery at(int res, int halfWidth) const { return {res, halfWidth, letters, maps, blosum}; }
};

/// Scores of -4..4 without order; no rows for c, h and X.
std::map<char, std::map<char, double>> randomSimilarities(std::mt19937& random) {
    const std::string letters = "ACDEFGHIKLMNPQRSTVWY";
    std::map<char, std::map<char, double>> table;
    for (char a : letters) {
        for (char b : letters) {
            table[a][b] = a == b ? 4.0 : static_cast<double>(random() % 7) - 4.0;
        }
    }
    return table;
}

void expectSame(const ScanHits& expected, const ScanHits& found, const std::string& what) {
    const auto same = [&what](const orvix::search::ScoredRows& a,
                              const orvix::search::ScoredRows& b) {
        ASSERT_EQ(a.size(), b.size()) << what;
        for (std::size_t k = 0; k < a.size(); ++k) {
            ASSERT_EQ(std::bit_cast<unsigned>(a[k].first), std::bit_cast<unsigned>(b[k].first))
                << what << ", entry " << k;
            ASSERT_EQ(a[k].second, b[k].second) << what << ", entry " << k;
        }
    };
    same(expected.matches, found.matches);
    same(expected.typeMatches, found.typeMatches);
}

/// Compares every path with the plain form; returns the hits.
ScanHits compareAll(const Query& query, int res, int halfWidth, DB& db, const std::string& what) {
    const auto blocks = proteinBlocks(db);
    const orvix::search::DatabasePlanes planes(db, blocks, halfWidth);
    EXPECT_TRUE(planes.usable());
    const ScanQuery at = query.at(res, halfWidth);
    const ScanHits plain = orvix::search::scanPlain(at, db, blocks);
    for (int level = 0; level <= static_cast<int>(orvix::instructionLevel()); ++level) {
        expectSame(plain,
                   orvix::search::scanFast(at, planes, static_cast<orvix::InstructionLevel>(level)),
                   what + ", level " + std::to_string(level));
    }
    return plain;
}

/// A map as the search uses it: -9.99 but for a few boxes.
std::map<int, double> peakedMap(std::mt19937& random, int boxes, int allowed) {
    std::map<int, double> map;
    for (int box = 0; box < boxes; ++box) {
        map[box] = -9.99;
    }
    for (int k = 0; k < allowed; ++k) {
        map[static_cast<int>(random() % static_cast<unsigned>(boxes))] =
            std::min(0.98, static_cast<double>(random() % 100000) / 90000.0);
    }
    return map;
}

TEST(Scan, FastFormsHaveThePlainResultOnEveryKindOfMap) {
    std::mt19937 random(11);
    DB db;
    fillRandom(db, random, {});
    const std::string centres = "PGAVcChXL";
    for (int round = 0; round < 36; ++round) {
        Query query;
        query.blosum = randomSimilarities(random);
        const char centre = centres[static_cast<std::size_t>(round) % centres.size()];
        for (int r = 8; r <= 14; ++r) {
            query.letters[r] = "ACDEFGHIKLMNPQRSTVWYchX"[random() % 23];
        }
        query.letters[11] = centre;
        query.letters[12] = round % 3 == 0 ? 'P' : 'A';
        for (int r = 8; r <= 14; ++r) {
            switch (round % 6) {
                case 0:
                    query.maps[r] = peakedMap(random, 324, 40);
                    break;
                case 1:  // zeros everywhere: few distinct scores, many ties
                    for (int box = 0; box < 324; ++box) {
                        query.maps[r][box] = 0.0;
                    }
                    break;
                case 2:  // some residues without any entry
                    if (r % 2 == 0) {
                        query.maps[r] = peakedMap(random, 324, 60);
                    }
                    break;
                case 3:
                    query.maps[r] = peakedMap(random, 324, 0);
                    break;
                case 4:  // no structure at all, and negative scores allowed
                    for (int box = 0; box < 324; ++box) {
                        query.maps[r][box] = static_cast<double>(random()) / 4e9 - 0.7;
                    }
                    break;
                default:  // part of the boxes, beyond the grid too
                    for (int box = -2; box < 400; box += 3) {
                        query.maps[r][box] = 0.1 * (box % 7);
                    }
            }
        }
        for (int h = 1; h <= 3; ++h) {
            const ScanHits hits = compareAll(query, 11, h, db,
                                             "round " + std::to_string(round) + ", h " +
                                                 std::to_string(h) + ", centre " + centre);
            if (centre == 'P' || centre == 'G') {
                EXPECT_TRUE(hits.typeMatches.empty());
                for (const auto& [score, row] : hits.matches) {
                    EXPECT_EQ(db.resNames[row], centre);
                }
            }
        }
    }
}

TEST(Scan, FastFormsHaveThePlainResultWithTiesAndTightLists) {
    // Few boxes and letters: scores repeat all the time, and more than a thousand fit at once.
    std::mt19937 random(5);
    DB db;
    fillRandom(db, random,
               {.rows = 60000,
                .longestBlock = 3000,
                .gapShare = 0.002,
                .boxes = 40,
                .letters = "LLLVAI",
                .strayBoxes = true});
    for (int round = 0; round < 6; ++round) {
        Query query;
        query.blosum = randomSimilarities(random);
        for (char letter : std::string("LVAI")) {
            query.blosum['L'][letter] = 1.0 - round % 2;
        }
        for (int r = 1; r <= 7; ++r) {
            query.letters[r] = 'L';
            query.maps[r] = peakedMap(random, 40, 30);
            if (round > 3) {
                for (auto& [box, value] : query.maps[r]) {
                    value = std::round(value * 4.0) / 4.0;
                }
            }
        }
        const ScanHits hits = compareAll(query, 4, 3, db, "round " + std::to_string(round));
        EXPECT_EQ(hits.matches.size(), 1000U);
        EXPECT_EQ(hits.typeMatches.size(), 1000U);
        // The type list remembers what entered before the threshold rose past it.
        EXPECT_LE(hits.typeMatches.back().first, hits.matches.back().first);
    }
}

TEST(Scan, UnusualTermsKeepTheFormsTogether) {
    std::mt19937 random(3);
    DB db;
    fillRandom(db, random, {.rows = 5000});
    const double infinity = std::numeric_limits<double>::infinity();
    for (double odd : {infinity, -infinity, std::nan(""), 1e300, -1e300, 2000.0, 1e-310}) {
        Query query;
        query.blosum = randomSimilarities(random);
        for (int r = 1; r <= 7; ++r) {
            query.letters[r] = 'V';
            query.maps[r] = peakedMap(random, 324, 50);
            for (int box = r; box < 324; box += 17) {
                query.maps[r][box] = odd;
            }
        }
        compareAll(query, 4, 3, db, "value " + std::to_string(odd));
        query.blosum['V']['A'] = odd;
        compareAll(query, 4, 3, db, "similarity " + std::to_string(odd));
    }
}

TEST(Scan, RulesByHand) {
    // Two proteins; the first has a gap in numbering between its rows 3 and 4.
    DB db;
    sizeDatabase(db, 10);
    const std::string letters = "LVLLVLALLP";
    const int numbers[] = {1, 2, 3, 4, 6, 7, 1, 2, 3, 4};
    for (int row = 0; row < 10; ++row) {
        setResidue(db, row,
                   {row < 6 ? "one" : "two", letters[static_cast<std::size_t>(row)], numbers[row],
                    0, 0, 0, row == 8 ? 5 : 7});
    }
    Query query;
    query.letters = {{1, 'V'}, {2, 'L'}, {3, 'V'}};
    query.blosum['L'] = {{'L', 4}, {'V', 1}, {'A', -1}, {'P', -3}};
    query.blosum['V'] = {{'L', 1}, {'V', 4}, {'A', 0}, {'P', -2}};
    query.maps[1][7] = 0.25;
    query.maps[2][7] = 0.5;
    query.maps[2][5] = 0.75;
    const ScanHits hits = compareAll(query, 2, 1, db, "by hand");
    // Rows 1 and 2 (7, 7, 7) tie, and the later row has the score. Rows 3 and 4 touch the gap, row
    // 7 has 0.81 * 0.25 + 0.5 like those before it, row 8 stands before P.
    const float tie = static_cast<float>(static_cast<double>(0.81F) * 0.25) + 0.5F;
    const float beforeProline = static_cast<float>(
        static_cast<double>(static_cast<float>(static_cast<double>(0.81F) * 0.25) + 0.75F) +
        0.1 * -2);
    ASSERT_EQ(hits.matches.size(), 2U);
    EXPECT_EQ(hits.matches[0], (std::pair<float, int>{beforeProline, 8}));
    EXPECT_EQ(hits.matches[1], (std::pair<float, int>{tie, 7}));
    EXPECT_EQ(hits.typeMatches, hits.matches);

    query.letters[3] = 'P';
    const ScanHits next = compareAll(query, 2, 1, db, "before P");
    ASSERT_EQ(next.matches.size(), 1U);
    EXPECT_EQ(next.matches[0].second, 8);
}

TEST(Scan, DisorderedBlocksAndManyLettersAreLeftToThePlainForm) {
    DB db;
    std::mt19937 random(2);
    fillRandom(db, random, {.rows = 200});
    const std::vector<orvix::search::ProteinBlock> swapped = {{100, 199}, {0, 99}};
    EXPECT_FALSE(orvix::search::DatabasePlanes(db, swapped, 3).usable());
    const std::vector<orvix::search::ProteinBlock> inOrder = {{0, 99}, {100, 99}, {100, 199}};
    EXPECT_TRUE(orvix::search::DatabasePlanes(db, inOrder, 3).usable());
    for (int row = 0; row < 40; ++row) {
        db.resNames[row] = static_cast<char>(200 + row);
    }
    EXPECT_FALSE(orvix::search::DatabasePlanes(db, inOrder, 3).usable());
}

TEST(TopScores, BehavesLikeACutMap) {
    std::mt19937 random(17);
    for (int limit : {1, 5, 64, 300}) {
        orvix::search::TopScores top(limit);
        std::map<double, int> map;
        float threshold = -999.0F;
        for (int row = 0; row < 30000; ++row) {
            const float score = row % 3 == 0 ? static_cast<float>(random() % 50) / 8.0F
                                             : static_cast<float>(random()) / 1e9F - 1.0F;
            ASSERT_EQ(top.threshold(), threshold);
            if (score > threshold) {
                top.insert(score, row);
                map[static_cast<double>(score)] = row;
            }
            if (random() % 40 == 0) {
                top.endBlock();
                if (map.size() > static_cast<std::size_t>(limit)) {
                    while (map.size() > static_cast<std::size_t>(limit)) {
                        map.erase(map.begin());
                    }
                    threshold = static_cast<float>(map.begin()->first);
                }
            }
        }
        std::vector<std::pair<float, int>> expected;
        for (auto it = map.rbegin();
             it != map.rend() && expected.size() < static_cast<std::size_t>(limit); ++it) {
            expected.emplace_back(static_cast<float>(it->first), it->second);
        }
        EXPECT_EQ(top.descending(), expected) << limit;
    }
}

}  // namespace
