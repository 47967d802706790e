#include "cli/check_report.h"

#include <gtest/gtest.h>

#include "run/orvix.h"

namespace {

void addShift(ORVIX& run, int residue, const std::string& atom, const std::string& shift) {
    const int row = run.adjCSTable.getEntryCount() + 1;
    run.adjCSTable.entries[row] = {
        {"RESID", std::to_string(residue)}, {"ATOMNAME", atom}, {"CS_OBS", shift}};
}

TEST(CheckReport, CompletenessCountsWhatAResidueCanHave) {
    ORVIX run;
    run.seqOrig = {{-1, "M"}, {0, "P"}, {1, "G"}, {2, "X"}, {3, "A"}};
    run.seqFirstResid = -1;
    addShift(run, -1, "HN", "8.1");  // not expected there, so it makes nothing complete
    addShift(run, 0, "CB", "32.0");
    addShift(run, 1, "H", "8.4");
    addShift(run, 2, "CA", "55.0");
    addShift(run, 3, "CA", "9999");
    addShift(run, 3, "CB", "nan");
    const auto counts = orvix::cli::completenessOf(run);
    const auto expectCounts = [&](const char* atom, int assigned, int expected) {
        EXPECT_EQ(counts.at(atom).assigned, assigned) << atom;
        EXPECT_EQ(counts.at(atom).expected, expected) << atom;
    };
    expectCounts("HN", 1, 2);
    expectCounts("N", 0, 3);
    expectCounts("HA", 0, 4);
    expectCounts("CA", 0, 4);
    expectCounts("CB", 1, 3);
}

TEST(CheckReport, Findings) {
    ORVIX run;
    orvix::shifts::OffsetEstimate estimate;
    estimate.enough = true;
    estimate.offset = 0.25;
    estimate.error = 0.125;
    estimate.size = 40;
    run.shiftFindings.offsets["CA"] = estimate;
    run.shiftFindings.offsets["HA"].size = 3;
    EXPECT_EQ(orvix::cli::findingsOf(run), 0);
    EXPECT_NE(orvix::cli::checkText(run, "f").find("No findings"), std::string::npos);
    const auto record = orvix::cli::checkRecord(run, "f");
    EXPECT_EQ(record["shift_offsets"]["CB"]["offset"], 0.25);
    EXPECT_EQ(record["shift_offsets"]["CB"]["significant"], false);
    EXPECT_TRUE(record["shift_offsets"]["HA"].is_null());
    EXPECT_TRUE(record["shift_offsets"]["C"].is_null());
    EXPECT_NE(orvix::cli::checkText(run, "f").find("too few shifts (3)"), std::string::npos);

    run.shiftFindings.offsets["CA"].accepted = true;
    run.shiftFindings.outliers.push_back({7, "E", "HN", 2.4984, 2.39, false});
    run.shiftFindings.mismatches = {{5, "A", "G"}, {5, "A", "G"}, {6, "A", "G"}};
    EXPECT_EQ(orvix::cli::findingsOf(run), 4);
    EXPECT_EQ(orvix::cli::checkRecord(run, "f")["outliers"][0]["secondary_shift"], 2.498);
    EXPECT_NE(orvix::cli::checkText(run, "f").find("7 E HN    2.498  limit    2.390"),
              std::string::npos);
}

}  // namespace
