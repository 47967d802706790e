#include "results/check_report.h"

#include <gtest/gtest.h>

#include "results/gather.h"
#include "results/results_file.h"
#include "run/prediction.h"

namespace {

using namespace orvix;

void addShift(Prediction& run, int residue, const std::string& atom, const std::string& shift) {
    const int row = static_cast<int>(run.shiftTable.entries.size()) + 1;
    run.shiftTable.entries[row] = {
        {"RESID", std::to_string(residue)}, {"ATOMNAME", atom}, {"CS_OBS", shift}};
}

TEST(CheckReport, CompletenessCountsWhatAResidueCanHave) {
    Prediction run;
    run.sequenceAsRead = {{-1, "M"}, {0, "P"}, {1, "G"}, {2, "X"}, {3, "A"}};
    run.seqFirstResid = -1;
    addShift(run, -1, "HN", "8.1");  // not expected there, so it makes nothing complete
    addShift(run, 0, "CB", "32.0");
    addShift(run, 1, "H", "8.4");
    addShift(run, 2, "CA", "55.0");
    addShift(run, 3, "CA", "9999");
    addShift(run, 3, "CB", "nan");
    const auto counts = results::shiftReport(run, GDB()).completeness;
    const auto expectCounts = [&](const char* atom, int assigned, int expected) {
        const auto& one = counts[results::placeOf(results::shiftAtoms, atom)];
        EXPECT_EQ(one.assigned, assigned) << atom;
        EXPECT_EQ(one.expected, expected) << atom;
    };
    expectCounts("HN", 1, 2);
    expectCounts("N", 0, 3);
    expectCounts("HA", 0, 4);
    expectCounts("CA", 0, 4);
    expectCounts("CB", 1, 3);
}

TEST(CheckReport, FindingsByWhatTheyAskFor) {
    Prediction run;
    run.seqFirstResid = 1;
    run.seqLength = 20;
    shifts::OffsetEstimate estimate;
    estimate.enough = true;
    estimate.offset = 0.75;
    estimate.error = 0.125;
    estimate.size = 40;
    run.findings.offsets["CA"] = estimate;
    run.findings.offsets["HA"].negative.size = 3;
    const auto report = [&] { return results::shiftReport(run, GDB()); };
    const auto text = [&] { return results::checkText(report(), "f", 1, 20); };
    const auto fails = [&](results::FailOn strictness) {
        return results::failsCheck(results::countFindings(report()), strictness);
    };
    EXPECT_FALSE(fails(results::FailOn::any));
    EXPECT_NE(text().find("No findings"), std::string::npos);
    EXPECT_NE(text().find("too few shifts (3)"), std::string::npos);

    // The limits do not hold for the ends of the chain: nothing is gross there.
    run.findings.outliers = {{1, "L", "CB", -8.9404, -4.3, true}};
    EXPECT_TRUE(fails(results::FailOn::any));
    EXPECT_FALSE(fails(results::FailOn::gross));
    EXPECT_NE(text().find("1 L CB   -8.940  limit   -4.300\n"), std::string::npos);
    run.findings.outliers.push_back({7, "E", "HN", 5.0, 2.39, true});
    EXPECT_TRUE(fails(results::FailOn::gross));
    EXPECT_FALSE(fails(results::FailOn::offset));
    EXPECT_NE(text().find("2 outliers (1 gross)"), std::string::npos);

    run.findings.offsets["CA"].accepted = true;
    EXPECT_TRUE(fails(results::FailOn::offset));
    EXPECT_FALSE(fails(results::FailOn::none));
    // Significant for the run, but within what its estimate can be off.
    run.findings.offsets["CA"].offset = 0.4;
    EXPECT_FALSE(fails(results::FailOn::offset));
    EXPECT_NE(text().find("too small to act on"), std::string::npos);

    run.findings.mismatches = {{5, "A", "G"}, {5, "A", "G"}, {6, "A", "G"}};
    EXPECT_EQ(results::countFindings(report()).mismatches, 2);
}

}  // namespace
