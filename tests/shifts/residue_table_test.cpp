#include <limits>

#include "shift_fixture.h"
#include "support/run_end.h"

namespace {

using ResidueTable = ShiftRun;
using ResidueTableDeathTest = ShiftRun;

TEST_F(ResidueTable, SecondaryShiftsInResidueOrder) {
    setInput("AAG",
             "2 ALA CA 53.25\n2 A H 8.4\n1 A N 123.0\n1 A HN 8.0\n1 A H 9.0\n"
             "3 G C 174.123456789\n002 A N 1\n2 A N 120\n");
    prepare();
    // CA: 52 + 0.25. HN from the row H: 8.2, and 0.1 for the A before. C: nothing but random coil.
    // N of 2: 124 + 0.5 + 1; a row "002" is not found under 2.
    EXPECT_EQ(cell(2, "CA", "SHIFT"), "1");
    EXPECT_EQ(cell(2, "CA", "CS_OBS"), "53.25");
    EXPECT_EQ(cell(2, "CA", "CS_ADJ"), "52.25");
    EXPECT_EQ(cell(2, "CA", "RESNAME"), "ALA");
    EXPECT_EQ(cell(2, "H", "SHIFT"), "0.1");
    EXPECT_EQ(cell(2, "HN", "SHIFT"), "none");
    EXPECT_EQ(cell(2, "N", "SHIFT"), "-5.5");
    EXPECT_EQ(cell(1, "HN", "CS_OBS"), "8");
    EXPECT_EQ(cell(3, "C", "SHIFT"), "0.123457");
    EXPECT_EQ(cell(3, "CA", "SHIFT"), "9999");
    EXPECT_EQ(cell(3, "CA", "CS_ADJ"), "");
    EXPECT_EQ(run.shiftMatrix[2][2], 174.123456789 - 174.0);
    EXPECT_EQ(run.shiftMatrix[0][5], 8.0 - 8.2);
    EXPECT_EQ(run.shiftMatrix[0][1], 9999.0);
    // Carbonyl of 1: next is A; of 2: next is G.
    EXPECT_EQ(run.secShift[1]["C"], 178.5);
    EXPECT_EQ(run.secShift[2]["C"], 177.5);
    EXPECT_EQ(run.missingCount, (std::map<int, int>{{0, 6}, {1, 4}, {2, 3}, {3, 5}, {4, 6}}));
    EXPECT_EQ(run.seqChar, (std::map<int, char>{{1, 'A'}, {2, 'A'}, {3, 'G'}}));
    EXPECT_EQ(run.adjCSTable.getEntryCount(), 18);
    EXPECT_EQ(run.seqLength, 3);
}

TEST_F(ResidueTable, WrittenTable) {
    setInput("AA", "2 A N 120\n1 A CA 52.5\n1 A CB 9999\n");
    prepare();
    EXPECT_EQ(writtenTable(),
              "REMARK from the input\n"
              "REMARK ORVIX-N Protein Secondary Chemical Shift Table for the title\n"
              "REMARK \n"
              "REMARK  SHIFT is secondary chemical shift\n"
              "REMARK \n"
              "REMARK  CS_OBS is the original chemical shift\n"
              "REMARK \n"
              "REMARK  CS_ADJ is the adjustment used to calculate SHIFT.\n"
              "REMARK \n"
              "REMARK  ORVIX-N Version 4.21 Rev 2016.343.11.31 ORVIXN_INFO\n"
              "\n"
              "DATA FIRST_RESID 1\n"
              "DATA SEQUENCE AA\n"
              "\n"
              "VARS   RESID RESNAME ATOMNAME SHIFT CS_OBS CS_ADJ \n"
              "FORMAT %4d %1s %4s %8.3f %9.3f %9.3f\n"
              "\n"
              "   1 A   CA    0.250    52.500    52.250\n"
              "   2 A    N   -5.500   120.000   125.500\n");
}

TEST_F(ResidueTable, GlycineAlphaProtons) {
    setInput("GGGGG",
             "1 G HA2 4.5\n1 G HA3 3.9\n2 G HA3 4.25\n2 GLY HA 1.0\n3 G HA 4.25\n"
             "4 G HA2 9999\n4 G HA3 nan\n5 G N 109\n");
    prepare();
    EXPECT_EQ(cell(1, "HA", "SHIFT"), "0.2");
    EXPECT_EQ(cell(1, "HA", "CS_OBS"), "4.2");
    EXPECT_EQ(cell(2, "HA", "SHIFT"), "0.25");
    EXPECT_EQ(cell(2, "HA", "RESNAME"), "G");
    // A plain HA has no say, and without a shift the cell is far above any shift.
    EXPECT_EQ(cell(3, "HA", "CS_OBS"), "9999");
    EXPECT_EQ(cell(3, "HA", "SHIFT"), "9995");
    EXPECT_EQ(cell(4, "HA", "SHIFT"), "9995");
    for (int r = 1; r <= 5; ++r) {
        EXPECT_EQ(run.missingCount[r], r == 3 || r == 4 ? 6 : 5) << r;
    }
    EXPECT_EQ(writtenTable().find(" 3 G   HA"), std::string::npos);
}

TEST_F(ResidueTable, WithoutProtonsEachCountsOnceAsMissing) {
    const std::string all = " N 1\n# C 1\n# CA 1\n# CB 1\n# HN 8\n";
    std::string rows;
    for (const std::string name : {"1 A", "2 G", "3 G", "4 G"}) {
        std::string block = name + all;
        for (std::size_t at = 0; (at = block.find('#')) != std::string::npos;) {
            block.replace(at, 1, name);
        }
        rows += block;
    }
    run.noProton = true;
    setInput("AGGGA", rows + "1 A HA 4.5\n2 G HA 4\n3 G HA2 4\n3 G HA3 4\n3 G HA 4\n");
    prepare();
    EXPECT_EQ(run.missingCount[1], 2);
    EXPECT_EQ(run.missingCount[2], 2);
    EXPECT_EQ(run.missingCount[3], 2);
    EXPECT_EQ(run.missingCount[4], 2);
    EXPECT_EQ(run.missingCount[5], 6);
    EXPECT_EQ(cell(1, "HA", "SHIFT"), "0.2");
    EXPECT_EQ(run.shiftMatrix[0][1], 4.5 - 4.3);
}

TEST_F(ResidueTable, CysteineState) {
    setInput("CcCAC", "1 CYS CB 34.0\n2 c CB 33.999\n3 A CB 40\n4 C CB 40\n5 C CA 40\n4 A CA 50\n");
    prepare();
    std::string letters;
    for (const auto& [residue, letter] : run.seq) {
        letters += letter;
    }
    EXPECT_EQ(letters, "cCCAC");
    EXPECT_EQ(run.seqOrig[2], "c");
    EXPECT_EQ(run.secShift[1]["CB"], 41.0);
    EXPECT_EQ(errors.find("WARNING"), std::string::npos) << errors;
}

TEST_F(ResidueTable, CysteineStateAsGiven) {
    run.noOxiCysCheck = true;
    setInput("cC", "1 C CB 20\n2 C CB 45\n");
    prepare();
    EXPECT_EQ(run.seq[1], "c");
    EXPECT_EQ(run.seq[2], "C");
    EXPECT_EQ(errors.substr(0, errors.find('\n') + 1),
              "WARNING: Residue Type Mismatch: Residue 1 SEQUENCE: c Chemical Shift Table: C.\n");
}

TEST_F(ResidueTable, Mismatches) {
    const std::string four = "1 G N 1\n1 VAL N 1\n2 zeta N 1\n9 A N 1\n";
    setInput("AAA", four + "3 A N 1\n");
    prepare();
    EXPECT_EQ(errors,
              "WARNING: Residue Type Mismatch: Residue 1 SEQUENCE: A Chemical Shift Table: G.\n"
              "WARNING: Residue Type Mismatch: Residue 1 SEQUENCE: A Chemical Shift Table: VAL.\n"
              "WARNING: Residue Type Mismatch: Residue 2 SEQUENCE: A Chemical Shift Table: zeta.\n"
              "WARNING: Residue Type Mismatch: Residue 9 SEQUENCE:  Chemical Shift Table: A.\n");
    EXPECT_EQ(run.seq.size(), 3U);

    setInput("AAA", four + "3 AA N 1\n");
    prepare();
    EXPECT_NE(errors.find("Chemical Shift Table: AA.\n"
                          "Format Errors: Too Many Sequence Mismatches: 5, 5 Max.\n"),
              std::string::npos)
        << errors;
    // A letter that the alphabet lacks is an X.
    setInput("AXX", "2 ZZZ N 1\n3 Z N 1\n");
    prepare();
    EXPECT_EQ(errors, "");
}

struct RangeCase {
    int first, last;  // -first, -last
    int shiftFirst, shiftLast;
    int expectedFirst, expectedLast, expectedLastShift;
};

TEST_F(ResidueTable, WorkingRange) {
    const int lowest = -999999, highest = 999999;
    const RangeCase cases[] = {
        {lowest, highest, 3, 6, 3, 7, 7},     // one past the last shift
        {lowest, highest, 3, 10, 3, 10, 10},  // not past the sequence
        {lowest, highest, 3, 12, 3, 12, 12}, {4, 5, 3, 6, 4, 5, 7},
        {10, 5, 3, 10, 5, 10, 10},     // swapped
        {50, highest, 3, 6, 7, 7, 7},  // beyond the last shift
        {lowest, 1, 3, 6, 3, 3, 7},          {lowest, highest, 1005, 1006, 999, 1006, 1006},
    };
    for (const RangeCase& c : cases) {
        ORVIX& r = run;
        r.firstResid = c.first;
        r.lastResid = c.last;
        setInput("AAAAAAAAAA", std::to_string(c.shiftLast) + " A N 124\n" +
                                   std::to_string(c.shiftFirst) + " A N 124\n");
        prepare();
        EXPECT_EQ(r.firstResid, c.expectedFirst) << c.first << " " << c.shiftFirst;
        EXPECT_EQ(r.lastResid, c.expectedLast) << c.first << " " << c.shiftFirst;
        EXPECT_EQ(r.lastCSResid, c.expectedLastShift);
        EXPECT_EQ(r.seq.size(), 10U);
        EXPECT_EQ(r.adjCSTable.getEntryCount(), (c.expectedLast - c.expectedFirst + 1) * 6);
    }
}

TEST_F(ResidueTable, IsotopeCorrection) {
    run.isoCorrect = true;
    run.isoAdj["A"] = {{"CA", 0.5}, {"CB", -1.0}};
    setInput("AG", "1 A CA 52.75\n1 A CB 19\n2 G CA 45\n");
    prepare();
    EXPECT_EQ(cell(1, "CA", "SHIFT"), "0");
    EXPECT_EQ(cell(1, "CB", "SHIFT"), "1");
    EXPECT_EQ(cell(2, "CA", "SHIFT"), "0");
    EXPECT_NE(writtenTable().find("REMARK from the input\nREMARK  Deuterium Isotope Shifts "
                                  "Correction Applied for 13Ca and 13Cb Nuclei\nREMARK ORVIX-N"),
              std::string::npos);
}

// Twelve alanines with CA 2 ppm and CB 2 ppm too high, and some noise about the line.
std::string misreferenced() {
    std::string rows;
    for (int r = 1; r <= 12; ++r) {
        const double d = 0.5 + 0.25 * r;
        const double noise = r % 2 == 0 ? 0.01 : -0.01;
        rows += std::to_string(r) + " A CA " + std::to_string(52.25 + 2.459 + 0.6 * d + noise) +
                "\n" + std::to_string(r) + " A CB " +
                std::to_string(19.0 + 2.459 + 0.6 * d + noise - d) + "\n";
    }
    return rows;
}

TEST_F(ResidueTable, OffsetsAreAppliedOnDemand) {
    run.offsetCorrect = true;
    setInput("AAAAAAAAAAAA", misreferenced());
    prepare();
    EXPECT_NEAR(run.shiftOffset["CA"], 2.0, 0.02);
    EXPECT_EQ(run.shiftOffset["CB"], run.shiftOffset["CA"]);
    char text[100];
    std::snprintf(text, sizeof text,
                  " %6.3f ppm referencing offset applied for 13Ca and 13Cb chemical shifts\n",
                  run.shiftOffset["CA"]);
    EXPECT_EQ(errors, text);
    EXPECT_NE(writtenTable().find(std::string("REMARK ") + text), std::string::npos);
    // Residue 4: d = 1.5. The matrix keeps the shift as it was.
    EXPECT_NEAR(std::stod(cell(4, "CA", "SHIFT")), 2.459 + 0.9 + 0.01 - run.shiftOffset["CA"],
                1e-5);
    EXPECT_NEAR(run.shiftMatrix[3][3], 2.459 + 0.9 + 0.01, 1e-5);
    EXPECT_EQ(cell(4, "HA", "SHIFT"), "9999");
}

TEST_F(ResidueTable, OffsetsAreOnlyReportedOtherwise) {
    setInput("AAAAAAAAAAAA", misreferenced());
    prepare();
    EXPECT_NEAR(std::stod(cell(4, "CA", "SHIFT")), 2.459 + 0.9 + 0.01, 1e-5);
    EXPECT_EQ(errors, "");
    EXPECT_NE(output.find(" Estimated Referencing Offset for CA/CB: "), std::string::npos);
}

TEST_F(ResidueTableDeathTest, EndsWithStatusMinusOne) {
    const auto ends = [this](const char* message) {
        run.firstResid = -999999;
        run.lastResid = 999999;
        EXPECT_END(run.getResInfo(), -1, message);
    };
    setInput("", "1 A N 1\n");
    ends("^ A full amino acid sequence is required in the DATA SEQUENCE header, exit ...\n$");
    setInput("A", "");
    ends("^ No chemical shift data found in file in.tab\n$");
    run.inTable = tableFrom("DATA SEQUENCE A\n");
    ends("^ No entry found in the VARS header, exit ...\n$");
    run.inTable =
        tableFrom("DATA SEQUENCE A\nVARS RESID RESNAME ATOM SHIFT\nFORMAT %d %s %s %f\n1 A N 1\n");
    ends("^ No column ATOMNAME found in the VARS header, exit ...\n$");
    setInput("AAA", "1 A N 1\n2000000000 A N 1\n");
    ends("Residue range 1 to 999999 is too large");
    setInput("AAA", "1 A N 1\n-99999999999 A N 1\n");
    ends("Residue range -999999 to 2 is too large");
    setInput("AAA", "1 A N 1\n", std::numeric_limits<int>::max() - 2);
    ends("Residue numbers from 2147483645 on are out of range");
}

TEST_F(ResidueTableDeathTest, CheckRunEndsAfterTheTable) {
    run.checkOnly = true;
    setInput("AA", "1 A N 1\n");
    EXPECT_END(run.getResInfo(), -1, "");
    EXPECT_NE(writtenTable().find("   1 A    N "), std::string::npos);
}

}  // namespace
