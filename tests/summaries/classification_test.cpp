#include "summaries/classification.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

/// A cluster record with the boxes of the given centres and their neighbours assigned.
std::unique_ptr<ClusterData> clustersAt(std::initializer_list<std::pair<double, double>> centres) {
    auto clusters = std::make_unique<ClusterData>();
    for (const auto& [phi, psi] : centres) {
        ++clusters->clusterCount;
        const int row = static_cast<int>((phi + 180.0) * 0.05);
        const int column = static_cast<int>((psi + 180.0) * 0.05);
        clusters->boxCluster[row * 18 + column] = clusters->clusterCount;
    }
    return clusters;
}

struct Matches {
    std::vector<double> phi, psi;
    void add(int times, double p, double s) {
        phi.insert(phi.end(), static_cast<std::size_t>(times), p);
        psi.insert(psi.end(), static_cast<std::size_t>(times), s);
    }
};

TEST(Classification, ConsensusCounts) {
    const auto clusters = clustersAt({{-65.0, -45.0}, {-125.0, 135.0}});
    struct Case {
        const char* name;
        std::vector<std::pair<int, int>> runs;  // times, 1 helix / 2 strand / 0 elsewhere
        int count, winners;
    };
    const std::vector<Case> cases = {
        {"all in one cluster", {{25, 1}}, 25, 25},
        {"first outside, twelve inside", {{1, 2}, {12, 1}, {12, 0}}, 10, 12},
        {"no unbroken stretch of ten", {{9, 1}, {1, 2}, {4, 1}, {11, 2}}, 9, 13},
        {"equal sizes: the higher number", {{12, 1}, {12, 2}, {1, 0}}, 10, 12},
        {"short list", {{6, 1}}, 6, 6},
        {"short list of ten", {{10, 1}}, 10, 10},
        {"nothing", {}, 0, 0},
    };
    for (const Case& c : cases) {
        Matches m;
        for (const auto& [times, where] : c.runs) {
            m.add(times,
                  where == 1   ? -65.0
                  : where == 2 ? -125.0
                               : 60.0,
                  where == 1   ? -45.0
                  : where == 2 ? 135.0
                               : 50.0);
        }
        const orvix::summaries::Consensus result =
            orvix::summaries::classifyMatches(m.phi, m.psi, *clusters, 25, 10);
        EXPECT_EQ(result.count, c.count) << c.name;
        EXPECT_EQ(result.phi.size(), static_cast<std::size_t>(c.winners)) << c.name;
        EXPECT_EQ(result.weight.size(), m.phi.size()) << c.name;
    }
    // Two groups of equal size: the strand, the second cluster, wins.
    Matches tie;
    tie.add(12, -65.0, -45.0);
    tie.add(12, -125.0, 135.0);
    EXPECT_EQ(orvix::summaries::classifyMatches(tie.phi, tie.psi, *clusters, 25, 10).phi.front(),
              -125.0);
}

TEST(Classification, StragglersJoinNeighboursAndCarryOthers) {
    const auto clusters = clustersAt({{-65.0, -45.0}});
    // The second match lies 40 from the first (attached), the third 40 from the second (carried),
    // the fourth 41 from anything.
    const std::vector<double> phi = {-65.0, -105.0, -145.0, 174.0};
    const std::vector<double> psi = {-45.0, -45.0, -45.0, -45.0};
    const orvix::summaries::Consensus result =
        orvix::summaries::classifyMatches(phi, psi, *clusters, 25, 10);
    EXPECT_EQ(result.phi, (std::vector<double>{-65.0, -105.0, -145.0}));
    EXPECT_EQ(result.weight, (std::vector<double>{1.0, 1.0, 1.0, 0.0}));

    // An angle of 180 shares its bin with -180, and a missing angle never attaches.
    const auto edge = clustersAt({{-180.0, -180.0}});
    const std::vector<double> edgePhi = {180.0, 9999.0};
    const std::vector<double> edgePsi = {180.0, 175.0};
    EXPECT_EQ(orvix::summaries::classifyMatches(edgePhi, edgePsi, *edge, 25, 10).phi,
              (std::vector<double>{180.0}));
}

TEST(Classification, ClassWords) {
    orvix::summaries::ClassEvidence strong;
    strong.count = 25;
    strong.phi = -60.0;
    strong.psi = -40.0;
    strong.phiSpread = strong.psiSpread = 10.0;
    EXPECT_EQ(orvix::summaries::classWord(strong), "Strong");

    orvix::summaries::ClassEvidence e = strong;
    e.count = 10;
    EXPECT_EQ(orvix::summaries::classWord(e), "Generous");
    e.count = 11;
    EXPECT_EQ(orvix::summaries::classWord(e), "Warn");
    e = strong;
    e.required = 25;
    EXPECT_EQ(orvix::summaries::classWord(e), "Strong");
    e.psiSpread = 40.0;
    EXPECT_EQ(orvix::summaries::classWord(e), "Strong");
    e.psiSpread = 40.1;
    EXPECT_EQ(orvix::summaries::classWord(e), "Warn");

    // Against a reference: 60 degrees in a populated box, 80 elsewhere, inclusive.
    e = strong;
    e.hasReference = true;
    e.referencePhi = -60.0;
    e.referencePsi = 20.0;
    e.referenceBox = 5 * 18 + 7;  // density 0.29894
    EXPECT_EQ(orvix::summaries::classWord(e), "Bad");
    e.referenceBox = 0;
    EXPECT_EQ(orvix::summaries::classWord(e), "Strong");
    e.referenceBox = 9 * 18 + 9;  // density 0.00066
    EXPECT_EQ(orvix::summaries::classWord(e), "Strong");
    e.referencePsi = 40.0;
    EXPECT_EQ(orvix::summaries::classWord(e), "Bad");
    e.referencePsi = 9999.0;
    EXPECT_EQ(orvix::summaries::classWord(e), "Bad");
    e.count = 3;
    EXPECT_EQ(orvix::summaries::classWord(e), "Warn");

    // Disorder overrules every word, but not at the limit and not where it is unknown.
    e.disorder = 0.41;
    EXPECT_EQ(orvix::summaries::classWord(e), "Dyn");
    strong.disorder = 0.4;
    EXPECT_EQ(orvix::summaries::classWord(strong), "Strong");
    strong.disorder = 9998.997;
    EXPECT_EQ(orvix::summaries::classWord(strong), "Strong");
}

TEST(Classification, ReferenceBoxOutsideTheGridIsOff) {
    EXPECT_EQ(orvix::summaries::referenceBox(-60.0, -40.0), 6 * 18 + 7);
    EXPECT_EQ(orvix::summaries::referenceBox(180.0, 0.0), 0);
    EXPECT_EQ(orvix::summaries::referenceBox(9999.0, 0.0), 0);
    EXPECT_EQ(orvix::summaries::referenceBox(-180.0, 180.0), 18);
}

}  // namespace
