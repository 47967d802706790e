#include "base/angles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "base/phi_psi_grid.h"
#include "base/statistics.h"

namespace {

double meanOf(std::vector<double> v) {
    return orvix::meanAngle(v);
}
double spreadOf(std::vector<double> v) {
    return orvix::angleSpread(v);
}

TEST(Angles, MeanAcrossTheBorder) {
    EXPECT_EQ(meanOf({}), 9999.0);
    EXPECT_EQ(meanOf({9999.0}), 9999.0);
    EXPECT_DOUBLE_EQ(meanOf({170.0, -170.0}), 180.0);
    EXPECT_DOUBLE_EQ(meanOf({10.0, -10.0}), 0.0);
    EXPECT_DOUBLE_EQ(meanOf({100.0, -100.0}), 180.0);
    EXPECT_DOUBLE_EQ(meanOf({-170.0, -160.0, 179.0}), -170.0 + 59.0 / 3.0 - 20.0);
    EXPECT_DOUBLE_EQ(meanOf({-60.0, -80.0}), -70.0);
    EXPECT_EQ(meanOf({9999.0, -60.0}), 9999.0);
}

TEST(Angles, SpreadAndDifference) {
    EXPECT_EQ(spreadOf({}), 0.0);
    EXPECT_EQ(spreadOf({12.0}), 180.0);
    EXPECT_DOUBLE_EQ(spreadOf({170.0, -170.0}), std::sqrt(200.0));
    EXPECT_EQ(orvix::angleDifference(1000.0, 0.0), 999.0);
    EXPECT_EQ(orvix::angleDifference(0.0, 9999.0), 999.0);
    EXPECT_DOUBLE_EQ(orvix::angleDifference(170.0, -170.0), -20.0);
    EXPECT_DOUBLE_EQ(orvix::angleDifference(-170.0, 170.0), 20.0);
    EXPECT_DOUBLE_EQ(orvix::angleDifference(90.0, -90.0), 180.0);
}

TEST(Angles, RotamersAndBins) {
    EXPECT_EQ(orvix::chi1Rotamer(-120.0F), "t");
    EXPECT_EQ(orvix::chi1Rotamer(0.0F), "g-");
    EXPECT_EQ(orvix::chi1Rotamer(120.0F), "g+");
    EXPECT_EQ(orvix::chi1Rotamer(120.1F), "t");
    EXPECT_EQ(orvix::chi1Rotamer(9999.0F), "na");
    EXPECT_EQ(orvix::angleBin(-180.0), 0);
    EXPECT_EQ(orvix::angleBin(180.0), 0);
    EXPECT_EQ(orvix::angleBin(179.9), 17);
    EXPECT_EQ(orvix::angleBin(1e30), 0);
    EXPECT_EQ(orvix::angleBin(-1e30), 0);
}

TEST(Angles, MarginsAndDeviations) {
    const std::vector<double> margins = {0.2, 0.7, 0.1}, pair = {1.0, 3.0}, one = {1.0};
    EXPECT_DOUBLE_EQ(orvix::classMargin(margins), 0.5);
    EXPECT_EQ(orvix::classMargin({}), 0.0);
    EXPECT_DOUBLE_EQ(orvix::sampleDeviation(pair), std::sqrt(2.0));
    EXPECT_EQ(orvix::sampleDeviation(one), 0.0);
}

}  // namespace
