#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "run/orvix.h"
#include "support/temporary.h"

namespace {

// Two residues at the floor of the index, then two numbers without usable shifts.
void fill(ORVIX& run) {
    for (int r = 9; r <= 12; ++r) {
        run.seq[r] = run.seqOrig[r] = "A";
        run.missingCount[r] = r < 11 ? 1 : 6;
    }
    run.seqOrig[10] = "";
    const std::vector<double> none = {0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1};
    for (int r = 9; r <= 12; ++r) {
        run.annInput[r] = none;
    }
    // HN, N, HA, C, CA, CB equal to the random coil of the method: nothing is left of the shifts.
    run.annInput[9] = {8.40 - 100.0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    run.inTitle = "a title";
}

TEST(S2Stage, WritesItsTable) {
    const orvix::test::TemporaryDirectory directory;
    ORVIX run;
    run.outBase = directory.path("run");
    fill(run);
    testing::internal::CaptureStdout();
    run.runS2_Prediction();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "RCI prediction ...\n");
    const std::string text = directory.read("runS2.tab");

    char first[80], second[80];
    std::snprintf(first, sizeof first, "    9 A 16  5 %8.3f\n", 1.003 - run.s2.at(9));
    std::snprintf(second, sizeof second, "   10 ? 10  5 %8.3f\n", 1.003 - run.s2.at(10));
    EXPECT_LT(run.s2.at(10), 1.0);
    EXPECT_EQ(text,
              "REMARK  Predicted order parameter (S2) from backbone chemical shifts for a title\n"
              "REMARK    from Ivar Halvorn's RCI method, JACS, 127(43), 14970-14971\n"
              "\n"
              "VARS RESID RESNAME CS_CNT CS_CNT_R2 S2 \n"
              "FORMAT %4d %1s %2d %2d %8.3f \n"
              "\n" +
                  std::string(first) + second +
                  "   11 A  5  0 9999.000\n"
                  "   12 A  6  0 9999.000\n");
}

TEST(S2Stage, GoesOnWithoutItsTable) {
    ORVIX run;
    run.outBase = testing::TempDir() + "no_such_directory/pred";
    fill(run);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    run.runS2_Prediction();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\tCan't open file " + run.outBase + "S2.tab !!!\n");
    EXPECT_EQ(run.s2.size(), 4U);
}

}  // namespace
