#include <cmath>

#include "base/phi_psi_grid.h"
#include "support/made_run.h"

namespace {

using orvix::test::MadeLevel;
namespace made = orvix::test::made;

/// Fields of the row of `residue` in a table.
std::vector<std::string> rowOf(const std::string& table, int residue) {
    std::istringstream lines(table.substr(table.find("\nFORMAT")));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::vector<std::string> fields{std::istream_iterator<std::string>(words), {}};
        if (!fields.empty() && fields[0] == std::to_string(residue)) {
            return fields;
        }
    }
    return {};
}

class PhiPsiStage : public orvix::test::MadeRun {
  protected:
    /// What the standard network says of `box`, straight from its formula.
    static double standard(int box, double caShift) {
        const double helix = made::surface1.value(made::helixBox, {caShift});
        const double strand = made::surface1.value(made::strandBox, {caShift});
        return made::surface2.value(box, {helix, strand});
    }
    static double hybrid(int box) { return made::hybrid.value(box, {}); }
    static double prior(int box) {
        return std::max(0.03, std::sqrt(orvix::phiPsiDensity[static_cast<std::size_t>(box)]));
    }
    /// That the map of `residue` is the raw map times the prior, in every box.
    template <typename Raw>
    static void expectMap(const ORVIX& run, int residue, Raw raw) {
        const std::vector<double>& map = run.annPhiPsi.at(residue);
        ASSERT_EQ(map.size(), 324U);
        for (int box = 0; box < 324; ++box) {
            ASSERT_NEAR(map[static_cast<std::size_t>(box)], raw(box) * prior(box), 1e-8)
                << "residue " << residue << " box " << box;
        }
    }
};

TEST_F(PhiPsiStage, MapsOfCompleteAndIncompleteWindows) {
    const auto run = prepared();
    run->runABP_Prediction();
    ASSERT_EQ(run->annPhiPsi.size(), 22U);
    // CA of the query decides between helix and strand box.
    for (const int residue : {3, 5, 10, 13, 15, 21}) {
        const double ca = run->annInput.at(residue)[8];
        expectMap(*run, residue, [ca](int box) { return standard(box, ca); });
    }
    EXPECT_GT(run->annPhiPsi.at(5)[made::helixBox], run->annPhiPsi.at(5)[made::strandBox]);
    EXPECT_LT(run->annPhiPsi.at(21)[made::helixBox], run->annPhiPsi.at(21)[made::strandBox]);
    // Residue 18 lacks all six shifts, and so do those beyond the ends: windows that hold one of
    // them go to the hybrid network.
    for (const int residue : {2, 16, 17, 18, 19, 20, 23}) {
        expectMap(*run, residue, hybrid);
    }
    EXPECT_EQ(rowOf(table("predABP.tab"), 17)[2], "23");  // of 30; 18 and a CB of glycine
    EXPECT_EQ(rowOf(table("predABP.tab"), 18)[3], "0");
}

TEST_F(PhiPsiStage, MissingShiftsComeFromTheObservedTriplets) {
    const auto run = prepared();
    run->runABP_Prediction();
    // CB of residue 8, and its flag; the nearest triplets are those of the query's own protein and
    // of the others in the middle of the helix, -0.5 +- 0.2 ppm.
    EXPECT_NEAR(run->annInput.at(8)[10], -0.5, 0.2);
    EXPECT_EQ(run->annInput.at(8)[11], 1.0);
    EXPECT_EQ(run->annInput.at(7)[11], 0.0);
    // An excluded source is out of reach, here all of them: the mean over nothing near enough.
    const auto without =
        prepared({{"excl", "made100,made101,made102,made103,made104,made105,made106,made107"}});
    without->runABP_Prediction();
    EXPECT_EQ(without->obsShift[1][0], 99.0);
    EXPECT_NE(without->annInput.at(8)[10], run->annInput.at(8)[10]);
}

TEST_F(PhiPsiStage, EndsOfARangeInsideTheChain) {
    const auto run = prepared({{"first", "4"}, {"last", "14"}});
    run->runABP_Prediction();
    const auto zeros = [](int) { return 0.0; };
    expectMap(*run, 4, zeros);
    expectMap(*run, 5, hybrid);
    expectMap(*run, 13, hybrid);
    expectMap(*run, 14, zeros);
    const double ca = run->annInput.at(9)[8];
    expectMap(*run, 9, [ca](int box) { return standard(box, ca); });
    EXPECT_EQ(run->annConfidence.at(4), 0.0);
    EXPECT_EQ(run->clusters.at(4).clusterCount, 0);
}

TEST_F(PhiPsiStage, WithoutProtonsTheHybridNetworkServesAll) {
    const auto run = prepared({{"noproton", "noproton"}});
    run->runABP_Prediction();
    for (const int residue : {2, 9, 18, 22}) {
        expectMap(*run, residue, hybrid);
    }
    EXPECT_EQ(run->annInput.at(9)[1], 1.0);
    EXPECT_EQ(run->annInput.at(9)[5], 1.0);
    EXPECT_NE(said.str().find("using 13C/15N parameters only"), std::string::npos);
}

TEST_F(PhiPsiStage, ShareOfTheFirstClusterGoesIntoTheTable) {
    const auto run = prepared();
    run->runABP_Prediction();
    const std::vector<double>& map = run->annPhiPsi.at(17);
    const double strand = map[made::strandBox], helix = map[made::helixBox];
    ASSERT_EQ(run->clusters.at(17).clusterMember[1][1], made::strandBox);
    double seeds = 0.0;
    for (int c = 1; c <= run->clusters.at(17).clusterCount; ++c) {
        seeds += map[static_cast<std::size_t>(run->clusters.at(17).clusterMember[c][1])];
    }
    EXPECT_GE(seeds, strand + helix);
    EXPECT_DOUBLE_EQ(run->annConfidence.at(17), strand / seeds);
    char share[16];
    std::snprintf(share, sizeof share, "%5.3f", strand / seeds);
    EXPECT_EQ(rowOf(table("predABP.tab"), 17)[5], share);
    EXPECT_EQ(rowOf(table("predABP.tab"), 17).size(), 6U + 324U);
}

TEST_F(PhiPsiStage, GoesOnWithoutItsTable) {
    const auto run = prepared({{"sum", directory.path("missing/pred.tab")}});
    warned.str("");
    run->runABP_Prediction();
    EXPECT_EQ(warned.str(),
              "\tCan't open file write file " + directory.path("missing/predABP.tab") + " !!!\n");
}

}  // namespace
