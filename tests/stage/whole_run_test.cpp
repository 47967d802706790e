#include "base/parallel.h"
#include "search/db.h"
#include "support/made_run.h"
#include "support/run_end.h"

namespace {

using WholeRun = orvix::test::MadeRun;
namespace made = orvix::test::made;

TEST_F(WholeRun, TablesBecomeMembers) {
    const auto run = settled({{"iso", "iso"}});
    run->init();
    EXPECT_EQ(run->getRC("A", "CA"), 56.0);
    EXPECT_EQ(run->getRC("Z", "CA"), 9999.0);
    EXPECT_EQ(run->getPrevRCadj("K", "N"), 0.2);
    EXPECT_EQ(run->isoAdj.at("L").at("CB"), -0.7);
    EXPECT_EQ(run->atomPosWeight[(2 - 1) * 6 + 4], 0.3);  // CA in the middle
    EXPECT_EQ(run->posWeight[3], 0.5);
    EXPECT_EQ(run->atomWeight[1], 4.0 * 15.0);
    EXPECT_EQ(run->homology.at("A").at("R"), 1.0);
    EXPECT_EQ(run->blosum.at('W').at('W'), 5.0);
    // The two orders: alphabetical for the network input, that of the matrix for the profile.
    EXPECT_DOUBLE_EQ(run->blosumScaled.at("R")[14], 0.5);
    EXPECT_EQ(run->blosumRaw.at("R")[1], 5.0);
    EXPECT_EQ(run->blosumRaw.at("X"), std::vector<double>(20, 0.0));
    EXPECT_EQ(run->chi1Nets.size(), 17U);
}

TEST_F(WholeRun, DatabaseInProteins) {
    const auto run = settled({{"excl", "made102"}});
    run->loadDatabase();
    EXPECT_EQ(run->db->dbSize, (made::proteins - 1) * made::length);
    EXPECT_EQ(run->dbProteinCount, made::proteins);  // with the empty block in front
    EXPECT_EQ(run->dbProteinFirst.at(3), 2 * made::length);
    EXPECT_EQ(run->dbProteinLast.at(3), 3 * made::length - 1);
    EXPECT_EQ(run->db->sources[2 * made::length], "made103");
}

TEST_F(WholeRun, PredictsTheHelixOfItsDatabase) {
    const auto run = settled({{"excl", "made100"}});
    run->orvixPredict();
    for (const char* name : {"pred.tab", "predAdjCS.tab", "predABP.tab", "predSS.tab", "predS2.tab",
                             "predChi1.tab", "predAll.tab"}) {
        EXPECT_FALSE(table(name).empty()) << name;
    }
    ASSERT_EQ(run->phiPsiRows.size(), 24U);
    // The database spreads 6 degrees around these angles.
    for (int residue = 3; residue <= 9; ++residue) {
        const auto& row = run->phiPsiRows.at(residue);
        EXPECT_NEAR(row.phi, -57.0, 6.0) << residue;
        EXPECT_NEAR(row.psi, -35.0, 6.0) << residue;
        EXPECT_LT(row.phiSpread, 6.0) << residue;
    }
    EXPECT_EQ(run->phiPsiRows.at(1).classWord, "None");
    for (const auto& [residue, matches] : run->matchIndex) {
        for (const auto& [rank, index] : matches) {
            EXPECT_NE(run->db->sources[static_cast<std::size_t>(index)], "made100");
        }
    }
}

TEST_F(WholeRun, EndsWithAReason) {
    const auto end = [this](const std::map<std::string, std::string>& options) {
        settled(options)->orvixPredict();
    };
    EXPECT_END(end({{"check", "true"}}), -1, "");
    directory.write("nosequence.tab",
                    "VARS RESID RESNAME ATOMNAME SHIFT\nFORMAT %d %s %s %f\n1 A CA 50\n");
    EXPECT_END(end({{"in", directory.path("nosequence.tab")}}), -1,
               "A full amino acid sequence is required");
    std::filesystem::remove(directory.path("tab/orvix.tab"));
    EXPECT_END(end({}), 0, "Can't open database file");
}

TEST_F(WholeRun, AgainAndAgainTheSameBytes) {
    const auto tables = [this](int threads) {
        const orvix::ScopedThreadLimit limit(threads);
        settled()->orvixPredict();
        return table("pred.tab") + table("predAll.tab") + table("predChi1.tab");
    };
    const std::string first = tables(1);
    EXPECT_EQ(tables(2), first);
}

}  // namespace
