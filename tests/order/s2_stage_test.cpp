#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "run/orvix.h"
#include "support/temporary.h"

namespace {

// A residue with shifts, one next to it, and two numbers without usable shifts in reach. All shifts
// lie within 0.5, as the method scales them, of its random coil values between alanines: whatever
// is left of them counts as the floor.
void fill(ORVIX& run) {
    for (int r = 9; r <= 12; ++r) {
        run.seq[r] = run.seqOrig[r] = "A";
        run.missingCount[r] = r < 11 ? 1 : 6;
        run.secShift[r] = {{"HN", 8.35}, {"N", 124.2},  {"HA", 4.285},
                           {"C", 177.6}, {"CA", 52.65}, {"CB", 19.3}};
        run.annInput[r] = {0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1};
    }
    run.annInput[9].assign(12, 0.0);
    run.seqOrig[10] = "";
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

    // At the floor the index is 8/9 of (0.5 * 3.03)^-1.5, and S2 1.003 - 0.4 ln(1 + 17.7 index).
    EXPECT_EQ(text,
              "REMARK  Predicted order parameter (S2) from backbone chemical shifts for a title\n"
              "REMARK    from Ivar Halvorn's RCI method, JACS, 127(43), 14970-14971\n"
              "\n"
              "VARS RESID RESNAME CS_CNT CS_CNT_R2 S2 \n"
              "FORMAT %4d %1s %2d %2d %8.3f \n"
              "\n"
              "    9 A 16  5    0.105\n"
              "   10 ? 10  5    0.105\n"
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
