// What a run makes of input that fits no protein.
#include <algorithm>
#include <cmath>
#include <regex>

#include "base/missing.h"
#include "support/made_run.h"
#include "support/run_end.h"

namespace {

using OddInput = orvix::test::MadeRun;

/// An alanine of five backbone atoms with the residue number `number`, along x by it.
std::string residueAtoms(int number, double x) {
    std::string text;
    const char* const atoms[] = {" N  ", " CA ", " C  ", " O  ", " CB "};
    const double place[][3] = {
        {0.0, 0.0, 0.0}, {1.2, 0.8, 0.1}, {2.4, 0.1, 0.4}, {2.5, -1.1, 0.6}, {1.1, 1.8, 1.2}};
    char line[100];
    for (std::size_t k = 0; k < std::size(atoms); ++k) {
        std::snprintf(line, sizeof line, "ATOM  %5zu %s ALA A%4d    %8.3f%8.3f%8.3f  1.00  0.00\n",
                      k + 1, atoms[k], number, x + place[k][0], place[k][1] + (number % 2),
                      place[k][2]);
        text += line;
    }
    return text;
}

TEST_F(OddInput, ReferenceWithAStrayNumber) {
    std::string structure;
    for (const int number : {-999, 4, 5, 6, 7, 9999}) {
        structure += residueAtoms(number, 3.3 * (number % 10));
    }
    const std::string reference = directory.write("stray.pdb", structure + "END\n");
    const auto run = settled({{"ref", reference}});
    run->orvixPredict();
    // The table keeps to the query's residues; those that the structure has in a row have angles.
    ASSERT_EQ(run->phiPsiRows.size(), 24U);
    EXPECT_LT(std::fabs(run->phiPsiRows.at(5).referencePhi), 180.1);
    EXPECT_LT(std::fabs(run->phiPsiRows.at(6).referencePsi), 180.1);
    EXPECT_GT(run->phiPsiRows.at(12).referencePhi, orvix::missingLimit);
}

TEST_F(OddInput, NoTableHoldsInfinity) {
    std::string shifts = directory.read("query.tab");
    // Shifts that no protein has, of a size that overflows a square in single precision.
    std::size_t absurd = 0;
    const std::regex row(R"((\n(?:5|6|7) [A-Z] (?:N|CA|CB) )[0-9.]+)");
    for (auto it = std::sregex_iterator(shifts.begin(), shifts.end(), row);
         it != std::sregex_iterator(); ++it) {
        ++absurd;
    }
    ASSERT_GE(absurd, 6U) << shifts;
    shifts = std::regex_replace(shifts, row,
                                "$01"
                                "1e30");
    directory.write("absurd.tab", shifts);
    settled({{"in", directory.path("absurd.tab")}, {"noclip", "noclip"}})->orvixPredict();
    for (const char* name :
         {"pred.tab", "predABP.tab", "predSS.tab", "predS2.tab", "predChi1.tab", "predAll.tab"}) {
        const std::string text = table(name);
        ASSERT_FALSE(text.empty()) << name;
        const std::size_t rows = text.find("\nFORMAT ");
        for (const char* word : {"inf", "nan"}) {
            EXPECT_EQ(text.find(word, rows), std::string::npos) << name;
        }
    }
}

TEST_F(OddInput, SequenceAloneNumberedToTheLimit) {
    std::string shifts = directory.read("query.tab");
    shifts = std::regex_replace(shifts, std::regex("DATA FIRST_RESID +[0-9]+\n"), "");
    directory.write("far.tab", "DATA FIRST_RESID 2147483640\n" + shifts);
    const auto run = settled(
        {{"in", directory.path("far.tab")}, {"blast_check", directory.path("query.check")}});
    EXPECT_END(run->runSeqSS_Prediction(), -1,
               "Residue numbers from 2147483640 on are out of range");
}

}  // namespace
