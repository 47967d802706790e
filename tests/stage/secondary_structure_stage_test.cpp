#include <cmath>

#include "support/made_run.h"

namespace {

namespace made = orvix::test::made;

class SecondaryStructureStage : public orvix::test::MadeRun {
  protected:
    /// A run with network input, all that the stage needs of the one before it.
    std::unique_ptr<ORVIX> withInput(const std::map<std::string, std::string>& options = {}) const {
        auto run = prepared(options);
        run->runABP_Prediction();
        return run;
    }
    /// Sum of two vectors scaled to 1.
    static std::vector<double> joined(const std::vector<double>& a, const std::vector<double>& b) {
        const double total = a[0] + a[1] + a[2] + b[0] + b[1] + b[2];
        return {(a[0] + b[0]) / total, (a[1] + b[1]) / total, (a[2] + b[2]) / total};
    }
    static void expectValues(const std::vector<double>& values,
                             const std::vector<double>& expected) {
        ASSERT_EQ(values.size(), 3U);
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(values[k], expected[k], 1e-6) << k;  // single precision in between
        }
    }
};

TEST_F(SecondaryStructureStage, NetworksByWhatIsMissing) {
    const auto run = withInput();
    run->runSS_Prediction();
    const std::vector<double> wide = {0.3, 0.3, 0.4};
    const auto constant = [&wide](const double(&values)[3]) {
        return joined(wide, {values[0], values[1], values[2]});
    };
    // All shifts around: the network of three residues, after its second level.
    const double ca = run->annInput.at(6)[8];
    std::vector<double> three;
    for (int k = 0; k < 3; ++k) {
        std::vector<double> first;
        for (int j = 0; j < 3; ++j) {
            first.push_back(made::structure1.value(j, {ca}));
        }
        three.push_back(made::structure2.value(k, first));
    }
    const double total = three[0] + three[1] + three[2];  // a network's values are shares of 1
    for (double& value : three) {
        value /= total;
    }
    expectValues(run->ssShiftResult.at(6), joined(wide, three));
    // Residue 18 without shifts: the middle, the one before or the one behind is missing.
    expectValues(run->ssShiftResult.at(18), constant(made::center));
    expectValues(run->ssShiftResult.at(19), constant(made::before));
    expectValues(run->ssShiftResult.at(17), constant(made::after));

    EXPECT_EQ(run->structureRows.at(6).letter, "H");
    EXPECT_EQ(run->structureRows.at(21).letter, "E");
    EXPECT_EQ(run->structureRows.at(18).ownShiftCount, 0);
    EXPECT_EQ(run->structureRows.at(18).shiftCount, 12);
    // Ends of the chain are coil, with equal shares and no confidence.
    EXPECT_EQ(run->structureRows.at(1).letter, "L");
    EXPECT_EQ(run->structureRows.at(1).helix, 0.3333);
    EXPECT_EQ(run->structureRows.at(24).confidence, 0.0);
    EXPECT_NE(table("predSS.tab").find("\n    1 M 12  6    0.333    0.333    0.333 0.00 L\n"),
              std::string::npos)
        << table("predSS.tab");
}

TEST_F(SecondaryStructureStage, SequenceWhereShiftsSayNothing) {
    const auto run = withInput({{"first", "4"}, {"last", "14"}});
    run->runSS_Prediction();
    const std::vector<double> zeros(3, 0.0);
    EXPECT_EQ(run->ssShiftResult.at(2), zeros);
    EXPECT_EQ(run->ssShiftResult.at(20), zeros);
    const auto& row = run->structureRows.at(20);
    EXPECT_EQ(row.letter, "c");
    EXPECT_NEAR(row.helix, made::sequence[0], 1e-7);
    EXPECT_NEAR(row.strand, made::sequence[1], 1e-7);
    EXPECT_NEAR(row.coil, made::sequence[2], 1e-7);
    EXPECT_NEAR(row.confidence, made::sequence[2] - made::sequence[1], 1e-7);
}

TEST_F(SecondaryStructureStage, SequenceAloneFromAProfile) {
    const auto run = settled({{"blast_check", directory.path("query.check")}});
    run->runSeqSS_Prediction();
    ASSERT_EQ(run->seqSSResult.size(), 24U);
    for (const auto& [residue, values] : run->seqSSResult) {
        expectValues(values, {made::profile[0], made::profile[1], made::profile[2]});
    }
    const std::string written = table("predSS.tab");
    EXPECT_NE(written.find("DATA SEQUENCE     MKALVESRQD AGNTGKVTIY WFHC"), std::string::npos)
        << written;
    EXPECT_NE(written.find("\n    7 S    0.500    0.300    0.200 0.20 h\n"), std::string::npos)
        << written;
}

}  // namespace
