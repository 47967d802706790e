#include "shift_fixture.h"

namespace {

using TripletRecord = ShiftRun;

TEST_F(TripletRecord, NamesNumbersAndShifts) {
    setInput("AGA", "1 A N 140\n2 G CA 45.5\n2 G H 8.5\n3 A HA 4.5\n3 A CA 9999\n");
    prepare();
    std::map<std::string, std::string> record = run.getTriplet(2);
    EXPECT_EQ(record.size(), 24U);
    EXPECT_EQ(record["RESID_R1"], "1");
    EXPECT_EQ(record["RESNAME_R2"], "G");
    EXPECT_EQ(record["N_R1"], "5");  // 15.5 against a limit of 5
    EXPECT_EQ(record["CA_R2"], "0.5");
    EXPECT_EQ(record["HN_R2"], "0.1");  // from a row H
    EXPECT_EQ(record["HA_R3"], "0.2");
    EXPECT_EQ(record["CA_R3"], "9946.75");
    EXPECT_EQ(record["CB_R3"], "9999");

    run.clip = false;
    EXPECT_EQ(run.getTriplet(2)["N_R1"], "15.5");
    run.noProton = true;
    record = run.getTriplet(2);
    EXPECT_EQ(record["HN_R2"], "9999");
    EXPECT_EQ(record["HA_R3"], "9999");
    EXPECT_EQ(record["CA_R2"], "0.5");

    // Past the end of the range there is nothing.
    record = run.getTriplet(1);
    EXPECT_EQ(record["RESNAME_R1"], "");
    EXPECT_EQ(record["N_R1"], "9999");
    EXPECT_EQ(run.seq.size(), 3U);
}

TEST_F(TripletRecord, RowsInAnyPlace) {
    run.firstResid = 1;
    run.lastResid = 3;
    run.clip = false;
    run.seq = {{1, "A"}, {2, "A"}, {3, "A"}};
    run.adjCSTable = tableFrom(
        "VARS RESID RESNAME ATOMNAME SHIFT\nFORMAT %d %s %s %f\n"
        "3 A HN 3\n2 A H 2\n2 A HN 1.5\n1 A N 1\n1 A N 7\n");
    std::map<std::string, std::string> record = run.getTriplet(2);
    EXPECT_EQ(record["N_R1"], "1");
    EXPECT_EQ(record["HN_R2"], "1.5");
    EXPECT_EQ(record["HN_R3"], "3");
}

TEST_F(TripletRecord, EnoughShiftsAndRange) {
    run.firstCSResid = 4;
    run.lastCSResid = 6;
    const auto test = [this](int center, int before, int own, int behind) {
        run.missingCount = {{center - 1, before}, {center, own}, {center + 1, behind}};
        return run.testTriplet({{"RESID_R1", std::to_string(center - 1)},
                                {"RESID_R2", std::to_string(center)},
                                {"RESID_R3", std::to_string(center + 1)}});
    };
    EXPECT_TRUE(test(5, 3, 3, 3));
    EXPECT_TRUE(test(5, 3, 6, 3));
    EXPECT_FALSE(test(5, 4, 0, 4));
    EXPECT_FALSE(test(4, 0, 0, 0));
    EXPECT_FALSE(test(6, 0, 0, 0));
    run.noProton = true;
    EXPECT_TRUE(test(5, 4, 4, 4));
    EXPECT_FALSE(test(5, 0, 5, 5));
}

}  // namespace
