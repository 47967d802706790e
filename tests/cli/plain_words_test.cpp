#include "results/plain_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvix::results {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

FinishedPrediction ofClasses(const std::vector<const char*>& classes) {
    FinishedPrediction prediction;
    for (const char* word : classes) {
        const int number = static_cast<int>(prediction.residues.size()) + 1;
        prediction.residues[number].classWord = word;
    }
    return prediction;
}

ReferencingOffset significant(double offset, double uncertainty) {
    ReferencingOffset found;
    found.offset = offset;
    found.error = uncertainty / 2.5;
    found.uncertainty = uncertainty;
    found.count = 60;
    found.significant = true;
    return found;
}

void refer(ShiftReport& report, std::string_view nucleus, const ReferencingOffset& offset) {
    for (std::size_t i = 0; i < offsetNuclei.size(); ++i) {
        if (offsetNuclei[i] == nucleus || (nucleus == "CA" && offsetNuclei[i] == "CB")) {
            report.offsets[i] = offset;
        }
    }
}

TEST(PlainWords, NothingFoundIsOneLine) {
    EXPECT_THAT(plainWords(ofClasses({"None", "Strong", "Warn", "Strong"})),
                ElementsAre("4 residues: Strong 2, Warn 1, None 1", HasSubstr("no outliers")));
}

TEST(PlainWords, EachFindingIsOneLineWithWhatToDo) {
    FinishedPrediction prediction = ofClasses({"Strong"});
    ShiftReport& report = prediction.check;
    for (int i = 0; i < 8; ++i) {
        report.outliers.push_back({10 + i, "A", "CB", 9.0, 4.0, i < 2, i < 2});
    }
    refer(report, "CA", significant(1.31, 0.4));
    refer(report, "C", significant(0.9, 0.2));  // below what is worth a correction
    report.mismatches = {{7, "ALA", "G"}};
    EXPECT_THAT(plainWords(prediction),
                ElementsAre("1 residues: Strong 1",
                            "Outliers: 8, 2 gross: A10 CB, A11 CB; the others: A12 CB, A13 CB, A14 "
                            "CB, A15 CB, A16 CB, A17 CB. Check the assignment of gross ones",
                            "Referencing looks off: CA and CB by 1.3 +/- 0.4 ppm; correct the "
                            "shifts, or run again with --offset",
                            StartsWith("Residue names that are not those of the sequence: 7 ")));

    // After --offset nothing is asked for any more.
    ReferencingOffset applied = significant(1.31, 0.4);
    applied.applied = true;
    refer(report, "CA", applied);
    EXPECT_EQ(plainWords(prediction).at(2),
              "Referencing was corrected: CA and CB by 1.3 +/- 0.4 ppm");
}

TEST(PlainWords, DeuterationByTheEntryOrByTheShifts) {
    FinishedPrediction prediction = ofClasses({"Strong"});
    EXPECT_THAT(plainWords(prediction, true).at(1),
                StartsWith("The entry says that the sample is deuterated: if CA and CB are"));

    // CA and CB low together and no HA: the offset is the isotope's, not one of the referencing.
    for (std::size_t i = 0; i < shiftAtoms.size(); ++i) {
        prediction.check.completeness[i] = {shiftAtoms[i] == "HA" ? 1 : 90, 100};
    }
    refer(prediction.check, "CA", significant(-0.6, 0.1));
    EXPECT_THAT(plainWords(prediction),
                ElementsAre(testing::_, StartsWith("The sample looks deuterated")));
    EXPECT_THAT(plainWords(prediction, true).at(1), HasSubstr("CA and CB are low together"));

    prediction.settings.isotopeCorrection = true;
    EXPECT_THAT(plainWords(prediction, true),
                ElementsAre(testing::_, StartsWith("Referencing looks off: CA and CB by -0.6")));
    prediction.settings.isotopeCorrection = false;
    for (Completeness& atom : prediction.check.completeness) {
        atom.assigned = 90;
    }
    EXPECT_FALSE(looksDeuterated(prediction.check));
}

}  // namespace
}  // namespace orvix::results
