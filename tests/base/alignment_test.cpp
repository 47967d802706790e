#include "base/alignment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using orvix::Alignment;
using testing::ElementsAre;

TEST(Alignment, EndsOfTheWholeAreFreeAndGapsBetweenThemAreNot) {
    const Alignment inside = orvix::alignWhole("MKTAYIAKQRQISFVKSH", "AYIAKQRQ");
    EXPECT_THAT(inside.partner, ElementsAre(3, 4, 5, 6, 7, 8, 9, 10));
    EXPECT_EQ(inside.identical, 8);

    const Alignment overlap = orvix::alignWhole("AYIAKQRQIS", "MKTAYIAKQ");
    EXPECT_THAT(overlap.partner, ElementsAre(-1, -1, -1, 0, 1, 2, 3, 4, 5));

    // Three residues are missing in the second; then two stand there that the first lacks.
    const Alignment deletion = orvix::alignWhole("MKTAYIAKQRQISFVKSH", "MKTAYIRQISFVKSH");
    EXPECT_EQ(deletion.identical, 15);
    EXPECT_EQ(deletion.partner[5], 5);
    EXPECT_EQ(deletion.partner[6], 9);
    const Alignment insertion = orvix::alignWhole("MKTAYIAKQRQISF", "MKTAYIAWWKQRQISF");
    EXPECT_EQ(insertion.identical, 14);
    EXPECT_EQ(insertion.aligned, 14);
    EXPECT_EQ(insertion.partner[7], -1);
    EXPECT_EQ(insertion.partner[8], -1);
}

TEST(Alignment, LocalTakesTheStretchThatIsAlike) {
    const Alignment stretch = orvix::alignLocal("GGGGGGMKTAYIAKQR", "WWWMKTAYLAKQRPPPP");
    EXPECT_EQ(stretch.aligned, 10);
    EXPECT_EQ(stretch.identical, 9);
    EXPECT_EQ(stretch.partner[3], 6);
    EXPECT_EQ(stretch.partner[2], -1);
    EXPECT_EQ(stretch.partner[13], -1);
    EXPECT_EQ(orvix::alignLocal("AAAA", "GGGG").aligned, 0);
    EXPECT_EQ(orvix::alignLocal("", "GGGG").identity(), 0.0);
}

TEST(Alignment, CaseOfALetterDoesNotCountAndXIsLikeNothing) {
    EXPECT_EQ(orvix::alignWhole("ACDEFGHIK", "AcDEFGhIK").identical, 9);
    EXPECT_EQ(orvix::alignWhole("ACXEFGHIK", "ACXEFGHIK").identical, 8);
    EXPECT_EQ(orvix::alignShifted("ACDEF", "CDEFG", 1).identical, 4);
    EXPECT_THAT(orvix::alignShifted("ACDEF", "GGA", -2).partner, ElementsAre(-1, -1, 0));
}

}  // namespace
