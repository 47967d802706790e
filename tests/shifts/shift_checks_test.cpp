#include <cmath>

#include "shift_fixture.h"
#include "shifts/offset_fit.h"

namespace {

using ShiftChecks = ShiftRun;

TEST_F(ShiftChecks, Clipping) {
    run.seq = {{1, "A"}, {2, "W"}};
    EXPECT_EQ(run.clipSShift(1, 5.0, "CA"), 5.0);
    EXPECT_EQ(run.clipSShift(1, 5.01, "CA"), 5.0);
    EXPECT_EQ(run.clipSShift(1, -7.0, "CA"), -5.0);
    EXPECT_EQ(run.clipSShift(1, 9999.0, "CA"), 9999.0);
    EXPECT_EQ(run.clipSShift(1, 999.0, "CA"), 999.0);
    EXPECT_EQ(run.clipSShift(2, 0.5, "CA"), 0.0);  // no row of limits
    EXPECT_EQ(run.clipSShift(3, -0.5, "CA"), 0.0);
    EXPECT_EQ(run.seq.size(), 2U);
}

TEST_F(ShiftChecks, ClippingSpeaksInTheSearchOnly) {
    run.seq = {{7, "A"}};
    const auto spoken = [this](bool search, bool quiet) {
        run.searchPhase = search;
        run.noVerb = quiet;
        testing::internal::CaptureStdout();
        run.clipSShift(7, -6.25, "HN");
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(spoken(true, false),
              " Clipped   7 A  HN Secondary Shift:   -6.250 Limit:   -5.000\n");
    EXPECT_EQ(spoken(true, true), "");
    EXPECT_EQ(spoken(false, false), "");
}

TEST_F(ShiftChecks, OutlierLines) {
    // HA limits are 1: 2.5 times that is no serious outlier, for another atom it is.
    setInput("AAW", "1 A HA 6.8\n1 A CA 64.75\n1 A C 185\n1 A H 2.2\n2 A HA 7.5\n3 W CA 50\n");
    prepare();
    EXPECT_EQ(output,
              "\nChecking for Chemical Shift Outliers ...\n"
              "    1 A  HA Secondary Shift:    2.500    Limit:    1.000\n"
              "    1 A   C Secondary Shift:    6.500    Limit:    5.000\n"
              "    1 A  CA Secondary Shift:   12.500    Limit:    5.000 !\n"
              "    1 A  HN Secondary Shift:   -6.000    Limit:   -5.000\n"
              "    2 A  HA Secondary Shift:    3.200    Limit:    1.000 !\n"
              "\nChecking Chemical Shift Referencing ...\n");
    EXPECT_EQ(errors, "");
}

TEST_F(ShiftChecks, TooFewShifts) {
    setInput("APc", "1 A CA 52\n1 A CB 19\n1 A HA 4\n2 P CA 63\n2 P CB 32\n3 c CA 50\n3 c CB 41\n");
    prepare();
    EXPECT_EQ(errors,
              "  No enough CA shifts to check CA/CB chemical shift referencing offset ...\n"
              "  No enough HA shifts to check HA chemical shift referencing offset ...\n");
    setInput("PC", "1 P CA 63\n1 P CB 32\n2 C CA 50\n2 C CB 30\n");
    prepare();
    EXPECT_EQ(errors, "");
}

TEST_F(ShiftChecks, LinesOfTheEstimates) {
    // Eleven residues with d = 1 .. 11 tenths: CA = 0.459 + 1 + d / 2 and so on, with residuals of
    // +-0.01 by turns, which tilt the line very little.
    std::string rows;
    for (int r = 1; r <= 11; ++r) {
        const double d = 0.1 * r;
        const double noise = r % 2 == 0 ? 0.01 : -0.01;
        const auto row = [&](const char* atom, double shift) {
            rows += std::to_string(r) + " A " + atom + " " + std::to_string(shift) + "\n";
        };
        // The reference of C differs at the end of the chain, which has no next residue.
        row("CA", 52.25 + 1.459 + 0.5 * d + noise);
        row("CB", 19.0 + 1.459 - 0.5 * d + noise);
        row("HA", 4.3 + 0.5 - 0.008 - 0.1 * d + noise);
        row("C", (r == 11 ? 178.0 : 178.5) - 1.5 + 0.226 + 0.3 * d + noise);
    }
    setInput("AAAAAAAAAAA", rows);
    prepare();
    // sum of squared residuals about the tilted line, by hand: see the kernel's tests for the
    // arithmetic; here the lines count.
    EXPECT_NE(
        output.find(" Estimated Referencing Offset for CA/CB:  0.999 +/-  0.003ppm Size:  11\n"
                    " Estimated Referencing Offset for HA:\n"
                    "      0.499 +/-  0.003ppm size:  11\n"
                    " Estimated Referencing Offset for C':    -1.501 +/-  0.003ppm Size:  11\n"),
        std::string::npos)
        << output;
    EXPECT_NEAR(run.shiftOffset["HA"], 0.5, 0.002);
    EXPECT_NEAR(run.shiftOffset["C"], -1.5, 0.002);
}

TEST(OffsetFit, LineThroughFourPoints) {
    // By hand: mean x 1.5, mean y 2.5, slope 0.6, intercept 1.6; residuals -0.6, 0.8, 0.2, -0.4.
    ORVIX run;
    std::vector<double> x = {0, 1, 2, 3}, y = {1, 3, 3, 3};
    double a = 0, b = 0, sd = 0;
    run.LinearLeastSquareFitting(x, y, a, b, sd);
    EXPECT_NEAR(a, 0.6, 1e-14);
    EXPECT_NEAR(b, 1.6, 1e-14);
    EXPECT_NEAR(sd, std::sqrt((0.36 + 0.64 + 0.04 + 0.16) / 3.0) / 2.0, 1e-14);
    x.pop_back();
    a = b = sd = 7.0;
    run.LinearLeastSquareFitting(x, y, a, b, sd);
    EXPECT_EQ(a + b + sd, 21.0);
}

orvix::shifts::OffsetGroup group(int size, double intercept, double noise, double sign) {
    orvix::shifts::OffsetGroup points;
    for (int i = 0; i < size; ++i) {
        points.x.push_back(sign * (i + 1));
        // Two neighbours up, two down: the noise leaves slope and intercept nearly alone.
        points.y.push_back(intercept + 0.5 * points.x.back() +
                           noise * (i % 4 == 0 || i % 4 == 3 ? 1.0 : -1.0));
    }
    return points;
}

TEST(OffsetFit, GroupsAndTheirSizes) {
    using orvix::shifts::estimateOffset;
    const auto positive = [](int n) { return group(n, 2.0, 0.01, 1.0); };
    const auto negative = [](int n) { return group(n, -4.0, 0.01, -1.0); };
    EXPECT_FALSE(estimateOffset(negative(9), positive(9)).enough);
    EXPECT_EQ(estimateOffset(negative(9), positive(9)).size, 18);
    EXPECT_TRUE(estimateOffset(negative(0), positive(10)).enough);
    EXPECT_FALSE(estimateOffset(negative(0), positive(10)).accepted);
    EXPECT_TRUE(estimateOffset(negative(1), positive(10)).accepted);
    EXPECT_NEAR(estimateOffset(negative(1), positive(10)).offset, 2.0, 0.02);
    EXPECT_NEAR(estimateOffset(negative(12), positive(9)).offset, -4.0, 0.02);

    const orvix::shifts::OffsetEstimate both = estimateOffset(negative(12), positive(24));
    EXPECT_NEAR(both.offset, (2.0 * 24 - 4.0 * 12) / 36.0, 0.02);
    const double below = orvix::shifts::fitLine(negative(12).x, negative(12).y).error;
    const double above = orvix::shifts::fitLine(positive(24).x, positive(24).y).error;
    EXPECT_NEAR(both.error, std::hypot(12 * below, 24 * above) / 36.0, 1e-15);

    orvix::shifts::OffsetGroup referenced = positive(12);
    referenced.expected = 2.0;
    EXPECT_FALSE(estimateOffset(negative(0), referenced).accepted);
    // No error at all is no estimate, and neither are points at one place.
    EXPECT_FALSE(estimateOffset(negative(0), group(12, 2.0, 0.0, 0.0)).accepted);
}

}  // namespace
