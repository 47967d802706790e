#include <gtest/gtest.h>

#include "networks/network_input.h"
#include "networks/phi_psi_map.h"
#include "networks/secondary_structure.h"

namespace {

using orvix::networks::ClassValues;
using orvix::networks::MapChoice;
using orvix::networks::MissingCounts;
using orvix::networks::ResidueRange;
using orvix::networks::ShiftNetwork;

TEST(ResidueVector, MissingShiftsTakeTheAverageOrZeroAndTheFlag) {
    std::vector<double> scores(20, 0.25);
    const std::map<std::string, double> shifts{
        {"HN", 9999.0}, {"N", -2.5}, {"CA", 999.5}, {"CB", 999.0}};
    const std::map<std::string, double> averages{{"HN", 0.5}, {"N", 7.0}};
    std::vector<double> expected{0.5, 1.0, -2.5, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0, 999.0, 0.0};
    expected.insert(expected.end(), 20, 0.25);
    EXPECT_EQ(orvix::networks::residueVector(shifts, &averages, scores), expected);
    expected[0] = 0.0;
    EXPECT_EQ(orvix::networks::residueVector(shifts, nullptr, scores), expected);

    const auto turned = orvix::networks::residueFirst({{3, expected}, {4, {1.0}}});
    ASSERT_EQ(turned.at(3).size(), 32u);
    EXPECT_EQ(turned.at(3)[0], 2.5);
    EXPECT_EQ(turned.at(3)[22], -2.5);
    EXPECT_TRUE(turned.at(4).empty());
}

TEST(PhiPsiMap, ChoiceByMissingShifts) {
    // Far from every end.
    const ResidueRange range{1, 100, 1, 100, 100};
    const auto choice = [&](const MissingCounts& missing, bool noProton) {
        return orvix::networks::chooseMap(range, 50, orvix::networks::missingInWindow(missing, 50),
                                          noProton);
    };
    EXPECT_EQ(choice({}, false), MapChoice::standard);
    EXPECT_EQ(choice({{48, 4}, {52, 4}, {53, 6}}, false), MapChoice::standard);
    EXPECT_EQ(choice({{48, 5}}, false), MapChoice::hybrid);
    EXPECT_EQ(choice({{48, 5}}, true), MapChoice::standard);
    EXPECT_EQ(choice({{50, 6}}, true), MapChoice::hybrid);
    MissingCounts many{{48, 6}, {49, 6}, {50, 6}, {51, 6}};
    EXPECT_EQ(choice(many, false), MapChoice::hybrid);
    many[52] = 1;
    EXPECT_EQ(choice(many, false), MapChoice::none);
}

TEST(PhiPsiMap, ChoiceAtTheEndsOfTheRange) {
    const auto choice = [](const ResidueRange& range, int residue) {
        return orvix::networks::chooseMap(range, residue, {}, false);
    };
    // The range is the chain: its second and its last but one residue are inner neighbours of ends
    // of the chain, too.
    const ResidueRange whole{1, 20, 1, 20, 20};
    EXPECT_EQ(choice(whole, 1), MapChoice::standard);
    EXPECT_EQ(choice(whole, 2), MapChoice::hybrid);
    EXPECT_EQ(choice(whole, 3), MapChoice::standard);
    EXPECT_EQ(choice(whole, 19), MapChoice::hybrid);
    EXPECT_EQ(choice(whole, 20), MapChoice::standard);
    // The range begins and ends within it.
    const ResidueRange part{5, 15, 1, 20, 20};
    const std::map<int, MapChoice> expected{{4, MapChoice::none},    {5, MapChoice::none},
                                            {6, MapChoice::hybrid},  {7, MapChoice::standard},
                                            {14, MapChoice::hybrid}, {15, MapChoice::none},
                                            {16, MapChoice::none}};
    for (const auto& [residue, map] : expected) {
        EXPECT_EQ(choice(part, residue), map) << residue;
    }
    // Shifts that begin behind the first residue of the range.
    EXPECT_EQ(choice({1, 20, 2, 20, 20}, 1), MapChoice::none);
    EXPECT_EQ(choice({1, 20, 2, 20, 20}, 2), MapChoice::standard);
    // A window without shifts counts for nothing next to an end of the range.
    EXPECT_EQ(orvix::networks::chooseMap(part, 6, {30, 6}, false), MapChoice::hybrid);
}

TEST(PhiPsiMap, WeightsAndSeeds) {
    EXPECT_EQ(orvix::networks::boxMap(std::vector<double>{2.0, -2.0, 0.5},
                                      std::vector<double>{0.25, 1.0, 4.0}),
              (std::vector<double>{0.5, 0.0, 2.0}));
    const std::vector<double> map{0.0, 3.0, 1.0, 4.0};
    EXPECT_EQ(orvix::networks::seedShare(map, std::vector<int>{1, 2, 3}), 0.375);
    EXPECT_EQ(orvix::networks::seedShare(map, std::vector<int>{3}), 1.0);
    EXPECT_EQ(orvix::networks::seedShare(map, std::vector<int>{0}), 0.0);
    EXPECT_EQ(orvix::networks::seedShare(map, {}), 0.0);
}

TEST(SecondaryStructure, NetworkByWhereShiftsAreMissing) {
    const auto choice = [](const MissingCounts& missing) {
        return orvix::networks::chooseNetwork(missing, 7);
    };
    EXPECT_EQ(choice({{6, 3}, {7, 3}, {8, 3}}), ShiftNetwork::complete);
    EXPECT_EQ(choice({{6, 4}}), ShiftNetwork::previous);
    EXPECT_EQ(choice({{7, 4}}), ShiftNetwork::centre);
    EXPECT_EQ(choice({{8, 4}}), ShiftNetwork::next);
    EXPECT_EQ(choice({{6, 4}, {8, 4}}), ShiftNetwork::none);
    EXPECT_EQ(choice({{6, 6}, {7, 6}, {8, 6}}), ShiftNetwork::none);
}

TEST(SecondaryStructure, EndsOfRangeAndChain) {
    const ResidueRange range{5, 15, 5, 14, 20};
    EXPECT_TRUE(orvix::networks::outsideShifts(range, 4));
    EXPECT_FALSE(orvix::networks::outsideShifts(range, 5));
    EXPECT_FALSE(orvix::networks::outsideShifts(range, 14));
    EXPECT_TRUE(orvix::networks::outsideShifts(range, 15));
    EXPECT_TRUE(orvix::networks::outsideShifts(range, 16));
    EXPECT_TRUE(orvix::networks::outsideShifts({5, 15, 4, 15, 20}, 5));
    // The number 1 is an end wherever the chain begins.
    for (const int end : {1, 5, 14, 20}) {
        EXPECT_TRUE(orvix::networks::isChainEnd(range, end)) << end;
    }
    EXPECT_FALSE(orvix::networks::isChainEnd(range, 15));
}

TEST(SecondaryStructure, SumInSinglePrecision) {
    const ClassValues sum = orvix::networks::combineClasses({0.1, 0.2, 0.7}, {0.3, 0.3, 0.4});
    const float a = static_cast<float>(0.1 + 0.3), b = static_cast<float>(0.2 + 0.3),
                c = static_cast<float>(0.7 + 0.4);
    EXPECT_EQ(sum[0], static_cast<double>(a * (1.0F / (a + b + c))));
    // The double result would differ in the eighth digit.
    EXPECT_NE(sum[0], 0.2);
    EXPECT_NEAR(sum[0], 0.2, 1e-7);
    const ClassValues opposite{-0.5, 0.0, 0.25};
    EXPECT_EQ(orvix::networks::combineClasses({0.5, 0.0, -0.25}, opposite), opposite);
}

TEST(SecondaryStructure, ClassOfAResidue) {
    const ClassValues helix{0.5, 0.25, 0.25}, strand{0.0, 0.75, 0.25}, none(3, 0.0);
    const auto inner = orvix::networks::decideClass(helix, strand, false);
    EXPECT_EQ(inner.call.letter, "H");
    EXPECT_EQ(inner.call.confidence, 0.25);
    EXPECT_EQ(inner.values, helix);
    EXPECT_FALSE(inner.byRule);
    const auto end = orvix::networks::decideClass(helix, strand, true);
    EXPECT_EQ(end.call.letter, "L");
    EXPECT_EQ(end.call.confidence, 0.0);
    EXPECT_EQ(end.values, ClassValues(3, 0.3333));
    EXPECT_TRUE(end.byRule);
    // The sequence decides at an end as elsewhere.
    const auto silent = orvix::networks::decideClass(none, strand, true);
    EXPECT_EQ(silent.call.letter, "e");
    EXPECT_EQ(silent.call.confidence, 0.5);
    EXPECT_EQ(silent.values, strand);
    EXPECT_FALSE(silent.byRule);
    const auto nothing = orvix::networks::decideClass(none, none, false);
    EXPECT_EQ(nothing.call.letter, "x");
    EXPECT_EQ(nothing.values, none);
    EXPECT_EQ(orvix::networks::decideClass(none, none, true).values, ClassValues(3, 0.3333));
}

}  // namespace
