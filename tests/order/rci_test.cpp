#include "order/rci.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const char* const atomOrder[] = {"HN", "N", "HA", "C", "CA", "CB"};

struct Chain {
    std::map<int, std::vector<double>> shifts;
    std::map<int, std::map<std::string, double>> adjust;
    std::map<int, std::string> sequence;

    std::map<int, double> run() {
        RCI engine;
        engine.runRCI(shifts, adjust, sequence);
        return engine.s2;
    }
};

// A chain with gaps, missing atoms and every kind of letter, by a rule that the script which made
// the expected numbers knows too.
Chain ruledChain(int first, const std::string& letters, std::initializer_list<int> gaps) {
    const double amplitude[] = {0.1, 0.6, 0.08, 0.5, 0.6, 0.4};
    const double base[] = {8.3, 119.0, 4.4, 176.0, 56.0, 33.0};
    Chain chain;
    for (std::size_t n = 0; n < letters.size(); ++n) {
        const int i = first + static_cast<int>(n);
        chain.sequence[i] = std::string(1, letters[n]);
        if (std::find(gaps.begin(), gaps.end(), i) != gaps.end()) {
            continue;
        }
        const auto modulo = [](int a, int b) { return ((a % b) + b) % b; };
        for (int k = 0; k < 6; ++k) {
            const bool missing = modulo(i * 7 + k * 3, 11) == 0 || (letters[n] == 'P' && k < 2) ||
                                 (letters[n] == 'G' && k == 5);
            chain.shifts[i].push_back(missing ? 0.0
                                              : (modulo(i * 13 + k * 29, 17) - 8) * amplitude[k]);
            chain.shifts[i].push_back(missing ? 1.0 : 0.0);
            chain.adjust[i][atomOrder[k]] = base[k] + modulo(i + k, 5) * 0.1;
        }
        chain.shifts[i].resize(32, 7.0);  // what follows the pairs is not read
    }
    return chain;
}

void expectS2(Chain chain, const std::map<int, double>& expected) {
    const std::map<int, double> s2 = chain.run();
    ASSERT_EQ(s2.size(), expected.size());
    for (const auto& [residue, value] : expected) {
        ASSERT_EQ(s2.count(residue), 1U) << residue;
        EXPECT_NEAR(s2.at(residue), value, 1e-11 * (1.0 + value)) << residue;
    }
}

// Expected numbers of these four: a separate script, written from the method and not from this
// code.
TEST(Rci, ChainFromOneWithAllKindsOfLetters) {
    expectS2(ruledChain(1, "MKPGAcWhXIVLDTSE", {}), {{1, 0.084270592639},
                                                     {2, 0.0694649090832},
                                                     {3, 0.0505522128368},
                                                     {4, 0.0390169646263},
                                                     {5, 0.0510691446377},
                                                     {6, 0.0397318843402},
                                                     {7, 0.0259591031597},
                                                     {8, 9.04880151283e-06},
                                                     {9, 0.0201173459413},
                                                     {10, 0.0357026535895},
                                                     {11, 0.0494172202747},
                                                     {12, 0.043140409804},
                                                     {13, 0.0387142679514},
                                                     {14, 0.0371151305056},
                                                     {15, 0.0413606503118},
                                                     {16, 0.045012620738}});
}

TEST(Rci, GapHasResultsBesideItsNeighboursOnly) {
    expectS2(ruledChain(97, "AGPFYNQERHCTG", {101, 102, 103}), {{97, 0.0327969509601},
                                                                {98, 0.0348060950841},
                                                                {99, 0.0454676421578},
                                                                {100, 0.0502022562978},
                                                                {101, 0.0612938041706},
                                                                {102, 9999.0},
                                                                {103, 0.0933192675885},
                                                                {104, 0.0956113114218},
                                                                {105, 0.0945538311473},
                                                                {106, 0.105846087116},
                                                                {107, 0.120360603897},
                                                                {108, 0.139553341642},
                                                                {109, 0.145980699483}});
}

TEST(Rci, TwoResidues) {
    expectS2(ruledChain(50, "AK", {}), {{50, 0.0894642980093}, {51, 0.0894642980093}});
    // So near to 1 the two end corrections also meet the numbers below the chain, which read as
    // usable with an index of 0.
    expectS2(ruledChain(3, "AK", {}), {{3, 0.163641879681}, {4, 0.163641879681}});
}

TEST(Rci, NegativeNumbersAndTheLiteralStart) {
    expectS2(ruledChain(-2, "GGSTLKAV", {3}), {{-2, 0.0303001598885},
                                               {-1, 0.0310118228692},
                                               {0, 0.0447477287785},
                                               {1, 0.0612051223947},
                                               {2, 0.0748512924273},
                                               {3, 0.0857853183815},
                                               {4, 0.0940820262037},
                                               {5, 0.0940820262037}});
}

TEST(Rci, ConversionTakesNeighboursIntoAccount) {
    RCI engine;
    engine.inCS[1] = {0.5, 0, 1.0, 0, 0.1, 0, 0.2, 0, 0.3, 0, 0.4, 1};
    engine.inCS[2] = engine.inCS[1];
    engine.inCS[3] = engine.inCS[1];
    engine.seq = {{1, "A"}, {2, "P"}, {3, "K"}};
    for (const char* atom : atomOrder) {
        engine.csAdjust[1][atom] = engine.csAdjust[3][atom] = 100.0;
    }
    engine.inCS_convert_ORVIX2RCI();
    // Alanine at the start: G twice before it, then P and K. N: 125 - 0.32 - 0.06.
    EXPECT_NEAR(engine.inCS[1][2], 1.0 + 100.0 - (125.0 - 0.32 - 0.06), 1e-12);
    EXPECT_NEAR(engine.inCS[1][10], 0.4 + 100.0 - 19.3, 1e-12);
    EXPECT_EQ(engine.inCS[1][11], 1.0);
    // Proline: no amide.
    EXPECT_EQ(engine.inCS[2][0], 0.0);
    EXPECT_EQ(engine.inCS[2][2], 0.0);
    // Its alpha proton: A before, K after, G two before, and no letter (as A) two behind.
    EXPECT_NEAR(engine.inCS[2][4], 0.1 - (-0.03 + 4.45 - 0.02 - 0.02), 1e-12);
    // Lysine at the end: P before, A two before, G behind.
    EXPECT_NEAR(engine.inCS[3][6], 0.2 + 100.0 - (-0.09 + 177.4 - 0.02), 1e-12);
    EXPECT_EQ(engine.inCS[3].size(), 12U);
}

TEST(Rci, UnknownLetterIsX) {
    Chain chain = ruledChain(5, "AKXKA", {});
    Chain odd = chain;
    odd.sequence[7] = "z";
    EXPECT_EQ(odd.run(), chain.run());
    odd.sequence[7] = "?";
    EXPECT_EQ(odd.run(), chain.run());
    odd.sequence[7] = "K";
    EXPECT_NE(odd.run(), chain.run());
}

TEST(Rci, ThreePointMeanLeavesOutZerosAndEmptyResidues) {
    RCI engine;
    engine.inCS[10] = {0, 0, -2.0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
    engine.inCS[11] = {0, 0, 4.0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    engine.inCS[13] = {0, 0, 3.0, 0, 3, 0, 0, 0, 0, 0, 0, 0};
    engine.applyThreePointsCSAveraging();
    EXPECT_EQ(engine.avgCS[10], (std::vector<double>{0, 3.0, 1.0, 0, 0, 0}));
    EXPECT_EQ(engine.avgCS[11], (std::vector<double>{0, 3.0, 1.0, 0, 0, 0}));
    EXPECT_EQ(engine.avgCS[12], (std::vector<double>{0, 3.5, 3.0, 0, 0, 0}));
    EXPECT_EQ(engine.avgCS[13], (std::vector<double>{0, 3.0, 3.0, 0, 0, 0}));
    ASSERT_EQ(engine.inCS.size(), 4U);
    EXPECT_TRUE(engine.inCS[12].empty());
}

TEST(Rci, IndexOfValuesAtTheFloor) {
    RCI engine;
    std::vector<double> floor(6, 0.5);
    // T = 0.5 * (0.59 + 0.85 + 0.72 + 0.72 + 0.15).
    EXPECT_NEAR(engine.calcRCI(floor, engine.weightCoefficient), std::pow(1.0 / 1.515, 1.5), 1e-14);
    // The sign does not count, nor the first value.
    std::vector<double> other = {99.0, -0.5, 0.5, 0.5, -0.5, 0.5};
    EXPECT_EQ(engine.calcRCI(other, engine.weightCoefficient),
              engine.calcRCI(floor, engine.weightCoefficient));
    // A weight of 0 leaves its atom out of the mean: n = 4.
    std::vector<double> weights = {0.0, 0.59, 0.0, 0.72, 0.72, 0.15};
    EXPECT_NEAR(engine.calcRCI(floor, weights), std::pow(4.0 / (5.0 * 0.5 * 2.18), 1.5), 1e-14);
    std::vector<double> five(5, 1.0);
    EXPECT_EQ(engine.calcRCI(five, engine.weightCoefficient), -1.0);
    engine.initWeightCoefficient();
    EXPECT_EQ(engine.calcRCI(floor, engine.weightCoefficient), -1.0);
}

RCI withIndices(int first, const std::vector<double>& indices) {
    RCI engine;
    for (std::size_t n = 0; n < indices.size(); ++n) {
        const int i = first + static_cast<int>(n);
        engine.inCS[i] = std::vector<double>(12, 0.0);
        engine.missingAtoms[i] = indices[n] < 0.0 ? 5 : 0;
        engine.rci[i] = std::fabs(indices[n]);
    }
    return engine;
}

std::vector<double> indicesFrom(const RCI& engine, int first, std::size_t count) {
    std::vector<double> result;
    for (std::size_t n = 0; n < count; ++n) {
        result.push_back(engine.rci.at(first + static_cast<int>(n)));
    }
    return result;
}

void expectIndices(const RCI& engine, int first, const std::vector<double>& expected) {
    const std::vector<double> found = indicesFrom(engine, first, expected.size());
    for (std::size_t n = 0; n < expected.size(); ++n) {
        EXPECT_NEAR(found[n], expected[n], 1e-15) << first + static_cast<int>(n);
    }
}

TEST(Rci, EndsArePushedPastTheirPeak) {
    RCI chain = withIndices(1, {0.1, 0.2, 0.5, 0.5, 0.1, 0.2, 0.3, 0.1, 0.25});
    chain.applyEndCorrection();
    // Peak at 3 (first of equals): 1 and 2 are mirrored at it, 1 up to the cap. Peak at 7.
    expectIndices(chain, 1, {0.6, 0.6, 0.5, 0.5, 0.1, 0.2, 0.3, 0.5, 0.35});

    RCI unusable = withIndices(1, {0.1, -0.9, 0.2, 0.1, 0.1, 0.1, 0.2, -0.9, 0.15});
    unusable.applyEndCorrection();
    expectIndices(unusable, 1, {0.3, 0.9, 0.2, 0.1, 0.1, 0.1, 0.2, 0.9, 0.25});

    // Numbered from 100: the start is left alone.
    RCI high = withIndices(100, {0.1, 0.2, 0.3, 0.1, 0.1, 0.1, 0.1, 0.1});
    high.applyEndCorrection();
    expectIndices(high, 100, {0.1, 0.2, 0.3, 0.1, 0.1, 0.1, 0.1, 0.1});

    // A chain that begins at 4 has no start to bend, one at 3 looks at 3 and 4.
    RCI four = withIndices(4, {0.4, 0.1, 0.1, 0.1, 0.1, 0.1});
    four.applyEndCorrection();
    EXPECT_EQ(four.rci.count(3), 0U);
    RCI three = withIndices(3, {0.1, 0.4, 0.1, 0.1, 0.1, 0.1});
    three.applyEndCorrection();
    expectIndices(three, 3, {0.6, 0.4});
}

TEST(Rci, SmoothingSkipsUnusableResidues) {
    RCI chain = withIndices(20, {0.1, 0.3, -0.9, -0.9, -0.9, 0.5});
    chain.applyFinalSmooth();
    expectIndices(chain, 20, {0.2, 0.2, 0.3, 9999.0, 0.5, 0.5});
}

TEST(Rci, UnusableResiduesByMissingAtoms) {
    // Three of five atoms missing and CB; a glycine counts one more and so has no say.
    const std::vector<double> sparse = {0, 1, 0, 1, 0, 1, 0, 1, 0.3, 0, 0, 1};
    for (const char* letter : {"A", "G"}) {
        RCI engine;
        std::map<int, std::vector<double>> shifts = {{7, sparse}};
        std::map<int, std::map<std::string, double>> adjust;
        std::map<int, std::string> sequence = {{7, letter}};
        engine.runRCI(shifts, adjust, sequence);
        const bool isGlycine = std::string(letter) == "G";
        EXPECT_EQ(engine.missingAtoms.at(7), isGlycine ? 5 : 4);
        EXPECT_EQ(engine.s2.at(7) == 9999.0, isGlycine);
        EXPECT_EQ(engine.s2.size(), 1U);
    }
}

TEST(Rci, NumbersBeyondTheStartOfTheScan) {
    Chain chain = ruledChain(1001, "AKLM", {});
    const std::map<int, double> s2 = chain.run();
    EXPECT_EQ(s2.begin()->first, 999);
    EXPECT_EQ(s2.at(999), 9999.0);
    EXPECT_LT(s2.at(1000), 1.0);
    EXPECT_EQ(s2.size(), 6U);

    EXPECT_TRUE(Chain().run().empty());
}

TEST(Rci, StrayNumbersAndShortVectorsDoNoHarm) {
    Chain chain = ruledChain(1, "AKLM", {});
    const double inner = chain.run().at(2);
    chain.shifts[std::numeric_limits<int>::max()] = chain.shifts[1];
    chain.shifts[std::numeric_limits<int>::min()] = chain.shifts[1];
    chain.shifts[500000000] = {1.0, 0.0};
    const std::map<int, double> s2 = chain.run();
    EXPECT_LT(s2.size(), 30U);
    EXPECT_EQ(s2.at(500000000), 9999.0);
    EXPECT_LT(s2.at(std::numeric_limits<int>::max()), 1.0);
    EXPECT_GT(inner, 0.0);
    EXPECT_LT(s2.at(2), 1.0);
}

}  // namespace
