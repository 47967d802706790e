#include <gtest/gtest.h>

#include <map>
#include <string>

#include "run/orvix.h"
#include "search/db.h"
#include "support/temporary.h"

namespace {

TEST(Pipeline, EnoughShiftsAroundAResidue) {
    ORVIX run;
    run.firstCSResid = 1;
    run.lastCSResid = 9;
    const std::string letters = "AAPAGAAAA";
    for (int r = 1; r <= 9; ++r) {
        run.seq[r] = letters.substr(static_cast<std::size_t>(r) - 1, 1);
        run.missingCount[r] = 0;
    }
    EXPECT_FALSE(run.checkCSCompleteness(1));
    EXPECT_FALSE(run.checkCSCompleteness(9));
    EXPECT_TRUE(run.checkCSCompleteness(2));
    run.missingCount[7] = 4;
    EXPECT_TRUE(run.checkCSCompleteness(7));
    run.missingCount[8] = 4;
    EXPECT_FALSE(run.checkCSCompleteness(7));
    EXPECT_FALSE(run.checkCSCompleteness(8));
    // A proline may lack four, a glycine only without protons.
    run.missingCount[3] = 4;
    run.missingCount[4] = 4;
    EXPECT_TRUE(run.checkCSCompleteness(3));
    run.missingCount[5] = 4;
    EXPECT_FALSE(run.checkCSCompleteness(4));
    run.noProton = true;
    EXPECT_TRUE(run.checkCSCompleteness(4));
}

TEST(Pipeline, SearchMapFromClusters) {
    ORVIX run;
    const auto setUp = [&run](int residue, double first, int seed) {
        run.annPhiPsi[residue].assign(324, 0.0);
        ClusterData& c = run.clusters[residue];
        c = ClusterData();
        c.clusterCount = 2;
        c.clusterMember[1][1] = seed;
        c.mapMean = 0.1;
        c.mapStd = 0.2;
        c.boxValue[5] = 0.99;
        c.boxCluster[5] = 1;
        c.boxValue[6] = 0.29;
        c.boxCluster[6] = 1;
        c.boxValue[7] = 0.9;
        run.annConfidence[residue] = first;
    };
    setUp(1, 0.6, 100);
    setUp(2, 0.59, 100);
    setUp(3, 0.64, 9 * 18 + 7);
    setUp(4, 0.64, 9 * 18 + 6);
    setUp(5, 0.1, 100);
    run.clusters[5].clusterCount = 1;
    setUp(6, 0.1, 100);
    run.clusters[6].mapMean = 0.0;
    run.deriveSearchMap();
    EXPECT_EQ(run.resWeight[1][5], 0.98);
    EXPECT_EQ(run.resWeight[1][6], -9.99);
    EXPECT_EQ(run.resWeight[1][7], -9.99);
    EXPECT_TRUE(run.resWeight[2].empty());
    EXPECT_TRUE(run.resWeight[3].empty());
    EXPECT_EQ(run.resWeight[4].size(), 324U);
    EXPECT_EQ(run.resWeight[5][5], 0.98);
    EXPECT_EQ(run.resWeight[6][5], 0.0);
}

TEST(Pipeline, ProteinBlocks) {
    std::string text;
    for (const char* source : {"one", "one", "two", "one"}) {
        text += std::string(source) + " A 1 -60 -40 -65 115 0 0 0 0 0 0 0 0 0 0 0 0\n";
    }
    ORVIX run;
    const orvix::test::TemporaryFile blocks(text);
    run.db = new DB(blocks.path());
    run.cutProteinBlocks();
    EXPECT_EQ(run.dbProteinCount, 4);
    EXPECT_EQ(run.dbProteinFirst, (std::map<int, int>{{0, 0}, {1, 0}, {2, 2}, {3, 3}}));
    EXPECT_EQ(run.dbProteinLast, (std::map<int, int>{{0, -1}, {1, 1}, {2, 2}, {3, 3}}));

    const orvix::test::TemporaryFile empty("");
    run.db->loadDB(empty.path());
    run.cutProteinBlocks();
    EXPECT_EQ(run.dbProteinCount, 1);
    EXPECT_EQ(run.dbProteinLast, (std::map<int, int>{{0, -1}}));
}

}  // namespace
