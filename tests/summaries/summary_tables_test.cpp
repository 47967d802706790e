#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "run/orvix.h"
#include "search/db.h"
#include "support/temporary.h"

namespace {

using orvix::test::contents;
using orvix::test::TemporaryDirectory;

/// The text behind the FORMAT line and the blank line that follows it.
std::string rowsOf(const std::string& table) {
    const std::size_t format = table.find("\nFORMAT ");
    return table.substr(table.find('\n', format + 1) + 2);
}

/// A run of five residues, numbered from 10, that has been searched at residues 11 and 12.
std::unique_ptr<ORVIX> searchedRun(const TemporaryDirectory& directory) {
    auto run = std::make_unique<ORVIX>();
    run->inTitle = "five";
    run->inTable.firstResid = 10;
    run->inTable.setData("SEQUENCE", "MVKcG");
    run->firstResid = run->firstCSResid = run->seqFirstResid = 10;
    run->lastResid = run->lastCSResid = 14;
    run->seqLength = 5;
    const std::string letters = "MVKcG";
    for (int r = 10; r <= 14; ++r) {
        run->seq[r] = run->seqOrig[r] = letters.substr(static_cast<std::size_t>(r) - 10, 1);
        run->missingCount[r] = 0;
        run->s2[r] = 0.1;
    }
    run->seqOrig[13] = "C";
    run->missingCount[9] = run->missingCount[15] = 6;
    run->missingCount[12] = 2;
    run->s2[12] = 9999.0;
    run->matchPhi[11] = {-60.0, -70.0};
    run->matchPsi[11] = {-40.0, -30.0};
    run->matchScore[11] = {1234.5678};
    run->matchCount[11] = 25;
    run->matchPhi[12] = {-120.0};
    run->matchPsi[12] = {130.0};
    run->matchScore[12] = {0.5, 0.7};
    run->matchCount[12] = 10;
    run->sumFile = directory.path("pred.tab");
    run->outBase = directory.path("pred");
    run->allFile = directory.path("predAll.tab");
    return run;
}

TEST(SummaryTables, PhiPsi) {
    const TemporaryDirectory directory;
    const auto run = searchedRun(directory);
    run->vina();
    const std::string table = contents(run->sumFile);
    EXPECT_EQ(rowsOf(table),
              "  10 M 9999.000 9999.000    0.000    0.000    0.000 0.000  0 12 None\n"
              "  11 V  -65.000  -35.000    7.071    7.071 1234.570 0.903 25 16 Strong\n"
              "  12 K -120.000  130.000  180.000  180.000    0.600 1.000 10 16 Warn\n"
              "  13 C 9999.000 9999.000    0.000    0.000    0.000 0.000  0 16 None\n"
              "  14 G 9999.000 9999.000    0.000    0.000    0.000 0.000  0 12 None\n");
    EXPECT_NE(table.find("\nDATA FIRST_RESID 10\nDATA SEQUENCE MVKcG\n\nVARS   RESID RESNAME PHI "
                         "PSI DPHI DPSI DIST S2 COUNT CS_COUNT CLASS \nFORMAT %4d %s %8.3f"),
              std::string::npos);
    EXPECT_EQ(table.find("Compared to PDB"), std::string::npos);
}

TEST(SummaryTables, Chi1) {
    const TemporaryDirectory directory;
    const auto run = searchedRun(directory);
    run->tabDir = directory.path();
    run->pathSep = "/";
    directory.write("chi1.tab",
                    "VARS RESNAME 0 1 2 3 4 5 6 7 8 9 10\n"
                    "FORMAT %s %f %f %f %f %f %f %f %f %f %f %f\n"
                    "V 8 8 8 8 8 1 1 1 1 1 1\nK 8 8 8 8 8 1 1 1 1 1 1\nC 1 1 1 1 1 1 1 1 1 1 1\n");
    run->matchChi1[11] = {180.0, -179.0, 60.0};
    run->chi1Result[11]["t"] = {0.1, 0.2, 0.3};
    run->matchChi1[12] = {-65.0, 9999.0, 178.0};
    run->chi1Result[12]["t"] = {0.1, 0.2, 0.3};
    run->vinaChi1();
    // The trans evidence of the valine counts for g+; M has no calibration; G has no row.
    EXPECT_EQ(rowsOf(contents(run->outBase + "Chi1.tab")),
              "  10 M 12 0.000 0.000 0.000  na 9999.0 9999.0\n"
              "  11 V 16 0.100 0.800 0.100  g+   60.5    0.7\n"
              "  12 K 16 0.100 0.100 0.800  t   178.0  180.0\n"
              "  13 C 16 0.333 0.333 0.333  na 9999.0 9999.0\n");
}

TEST(SummaryTables, MatchesSkipLeftOverRanks) {
    const TemporaryDirectory directory;
    const auto run = searchedRun(directory);
    std::string text;
    for (int i = 0; i < 9; ++i) {
        text += "prot " + std::string(1, "ACDEFGHIK"[i]) + " " + std::to_string(i + 1) +
                " -60.25 -40 9999 115 120.5 1 4.5 1 0 0 0.25 1 0 0 8.125 1\n";
    }
    run->db = new DB(directory.write("db.tab", text));
    run->matchIndex[11] = {{1, 4}, {2, 5}};
    run->matchWeight[11] = {1.0, 0.0};
    run->writePredAll();
    const std::string rows = rowsOf(contents(run->allFile));
    EXPECT_EQ(rows,
              "   1   11 ??MVKcG 1234.570 1.00  CDEFGHI    4  -60.2  -40.0 9999  8.12 120.5  4.50 "
              "  0.0   0.2   0.0    5  -60.2  -40.0 9999  8.12 120.5  4.50   0.0   0.2   0.0    6 "
              " -60.2  -40.0 9999  8.12 120.5  4.50   0.0   0.2   0.0 prot\n");
}

}  // namespace
