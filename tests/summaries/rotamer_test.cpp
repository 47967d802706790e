#include <gtest/gtest.h>

#include "summaries/rotamer_evidence.h"

namespace {

using Scores = std::map<std::string, std::vector<double>>;

TEST(Rotamer, ScoreBins) {
    EXPECT_EQ(orvix::summaries::scoreBin({}), 10);
    const std::vector<double> two = {0.1, 0.1}, three = {0.1, 0.1, 0.1}, one = {1.0, 1.0, 1.0};
    const std::vector<double> high = {0.99, 0.99, 0.99}, low = {-0.5, -0.5, -0.5};
    EXPECT_EQ(orvix::summaries::scoreBin(two), 10);
    // 0.1 is held in single precision, and ten times that is exactly 1.
    EXPECT_EQ(orvix::summaries::scoreBin(three), 1);
    EXPECT_EQ(orvix::summaries::scoreBin(one), 10);
    EXPECT_EQ(orvix::summaries::scoreBin(high), 9);
    EXPECT_EQ(orvix::summaries::scoreBin(low), 0);
}

TEST(Rotamer, ProbabilitiesAndWords) {
    orvix::summaries::RotamerCalibration calibration{};
    calibration[0] = 8.0F;
    calibration[5] = 1.0F;
    calibration[10] = 1.0F;
    const Scores scores = {{"g+", {0.01, 0.02, 0.03}}, {"g-", {0.55, 0.55, 0.55}}};

    const orvix::summaries::RotamerPrediction plain =
        orvix::summaries::predictRotamer(scores, calibration, false);
    EXPECT_EQ(plain.word, "g+");
    EXPECT_FLOAT_EQ(plain.gauchePlus, 0.8F);
    EXPECT_FLOAT_EQ(plain.gaucheMinus, 0.1F);

    // Valine: the evidence of g+ counts for g-, that of g- for t, that of t for g+.
    const orvix::summaries::RotamerPrediction turned =
        orvix::summaries::predictRotamer(scores, calibration, true);
    EXPECT_EQ(turned.word, "g-");
    EXPECT_FLOAT_EQ(turned.gaucheMinus, 0.8F);

    // 6 : 2 : 2 reaches the threshold, which is the float nearest to 0.6; 5.9 does not.
    calibration[0] = 6.0F;
    calibration[5] = calibration[10] = 2.0F;
    EXPECT_EQ(orvix::summaries::predictRotamer(scores, calibration, false).word, "g+");
    calibration[0] = 5.9F;
    EXPECT_EQ(orvix::summaries::predictRotamer(scores, calibration, false).word, "na");

    // A letter without calibration: nothing known, nothing printed as nan.
    const orvix::summaries::RotamerPrediction empty =
        orvix::summaries::predictRotamer(scores, orvix::summaries::RotamerCalibration{}, false);
    EXPECT_EQ(empty.word, "na");
    EXPECT_EQ(empty.trans, 0.0F);
}

TEST(Rotamer, ValineTurn) {
    EXPECT_DOUBLE_EQ(orvix::summaries::turnValine(180.0), 60.0);
    EXPECT_DOUBLE_EQ(orvix::summaries::turnValine(-175.0), 65.0);
    EXPECT_DOUBLE_EQ(orvix::summaries::turnValine(-60.0), -180.0);
    EXPECT_DOUBLE_EQ(orvix::summaries::turnValine(9999.0), 9999.0);
}

}  // namespace
