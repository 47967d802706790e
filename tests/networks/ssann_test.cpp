#include "networks/ssann.h"

#include <gtest/gtest.h>

#include "networks/literal_network.h"
#include "networks/network_files.h"
#include "support/run_end.h"

namespace {

using Vector = std::vector<double>;

// Half width 2: 4 * 21 + 20 and 4 * 4 + 3 values.
SSANN makeNetwork(const NetworkFiles& files, int order) {
    files.writeLevel("seq.level1", 104, 5, 3, order, 500);
    files.writeLevel("seq.level2", 19, 4, 3, order, 600);
    SSANN net(104, 5, 3, 19, 4, 3, files.dir(), "seq");
    net.setOrder(order);
    return net;
}

Vector fiveMean(const ANN& net, int level, const Vector& in) {
    Vector member[5];
    double w[5];
    for (int m = 0; m < 5; ++m) {
        member[m] = literal::member(net, level, m, in);
        w[m] = literal::margin(member[m]);
    }
    Vector out;
    for (std::size_t k = 0; k < 3; ++k) {
        out.push_back((member[0][k] * w[0] + member[1][k] * w[1] + member[2][k] * w[2] +
                       member[3][k] * w[3] + member[4][k] * w[4]) *
                      (1 / (w[0] + w[1] + w[2] + w[3] + w[4])));
    }
    return out;
}

TEST(Ssann, EveryResidueHasAWindowWithPaddingBeyondTheEnds) {
    NetworkFiles files;
    SSANN net = makeNetwork(files, 3);
    ANN::ResidueMap input = randomResidues(numbersFrom(5, 4), 20);
    net.runANN(input);
    Vector padding(21, 0.0);
    padding[0] = 1.0;
    const Vector flag{0.0};
    EXPECT_EQ(net.level1Input[5],
              joined({padding, padding, input[5], flag, input[6], flag, input[7]}));
    EXPECT_EQ(net.level1Input[7],
              joined({flag, input[5], flag, input[6], input[7], flag, input[8], padding}));
    const Vector none{1.0, 0.0, 0.0, 0.0};
    const auto& o = net.level1Output;
    EXPECT_EQ(net.level2Input[8], joined({flag, o.at(6), flag, o.at(7), o.at(8), none, none}));
    for (const int residue : numbersFrom(5, 4)) {
        EXPECT_EQ(o.at(residue), literal::weightedMean(net, 1, net.level1Input[residue]));
        EXPECT_EQ(net.level2Output[residue],
                  literal::normalised(literal::weightedMean(net, 2, net.level2Input[residue])));
    }
}

TEST(Ssann, FiveMembersAtFullPrecision) {
    NetworkFiles files;
    SSANN net = makeNetwork(files, 5);
    ANN::ResidueMap input = randomResidues(numbersFrom(1, 6), 20);
    net.runANN(input);
    ASSERT_EQ(net.level1WI[4].size(), 104u);
    ASSERT_EQ(net.level2BL2[3].size(), 3u);
    EXPECT_NE(static_cast<double>(static_cast<float>(net.level1WI[0][0][0])),
              net.level1WI[0][0][0]);
    for (const int residue : numbersFrom(1, 6)) {
        EXPECT_EQ(net.level1Output[residue], fiveMean(net, 1, net.level1Input[residue]));
        EXPECT_EQ(net.level2Output[residue],
                  literal::normalised(fiveMean(net, 2, net.level2Input[residue])));
    }
}

TEST(SsannDeathTest, KnownClassesStandInTheirPlacesOfLevelTwo) {
    NetworkFiles files;
    SSANN net = makeNetwork(files, 3);
    ANN::ResidueMap input = randomResidues(numbersFrom(1, 6), 20);
    ANN::ResidueMap known{{0, {0.0, 1.0, 0.0}},              // beyond the end, but in a window
                          {2, {0.0, 0.0, 0.0}},              // nothing known
                          {3, {0.1, 0.2, 0.7}}, {4, {5.0}},  // one value is no class
                          {5, {0.0, 0.25}},     {90, {1.0, 0.0, 0.0}}};
    net.setKNOWN_SS(known);
    known.clear();
    // The network is left at level 2's first window by residue 5's known part, so take that out for
    // the run and look at it below.
    net.knownSS.erase(5);
    net.runANN(input);
    const Vector flag{0.0};
    const Vector none{1.0, 0.0, 0.0, 0.0};
    const auto& o = net.level1Output;
    EXPECT_EQ(net.level2Input[1],
              joined({none, {0.0, 0.0, 1.0, 0.0}, o.at(1), flag, o.at(2), {0.0, 0.1, 0.2, 0.7}}));
    EXPECT_EQ(
        net.level2Input[3],
        joined({flag, o.at(1), flag, o.at(2), {0.1, 0.2, 0.7}, flag, o.at(4), flag, o.at(5)}));

    SSANN other = makeNetwork(files, 3);
    other.knownSS[5] = {0.0, 0.25};
    EXPECT_END(other.runANN(input), 0,
               " inp.size\\(\\): 15 w\\[0\\].size\\(\\): 19\n w.size\\(\\): 19 b.size\\(\\): "
               "19\n$");
}

TEST(SsannDeathTest, AGapEndsTheRunAtTheFirstShortWindow) {
    NetworkFiles files;
    SSANN net = makeNetwork(files, 3);
    ANN::ResidueMap input = randomResidues({1, 2, 3, 4, 7, 8}, 20);
    EXPECT_END(net.runANN(input), 0,
               "^ ANN prediction failed with inconsistent data!\n"
               " inp.size\\(\\): 83 w\\[0\\].size\\(\\): 104\n"
               " w.size\\(\\): 104 b.size\\(\\): 104\n$");
}

TEST(Ssann, OtherOrdersRunNoMember) {
    NetworkFiles files;
    SSANN net(104, 5, 3, 19, 4, 3, files.dir(), "none");
    net.setOrder(4);
    ANN::ResidueMap input = randomResidues({1, 2}, 20);
    testing::internal::CaptureStderr();
    net.runANN(input);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(net.level1Output[1], Vector(3, 0.0));
    EXPECT_TRUE(net.level2Output[2].empty());
}

TEST(Ssann, FiveMemberMean) {
    SSANN net;
    Vector flat{0.5, 0.5, 0.0};
    Vector sure{1.0, 0.0, 0.0};
    Vector out;
    net.applyVecAverage5(flat, flat, sure, flat, flat, out);
    EXPECT_EQ(out, sure);
    out.clear();
    Vector even(3, 2.0);
    net.applyVecAverage5(flat, flat, even, flat, flat, out);
    EXPECT_DOUBLE_EQ(out[0], 0.8);
    EXPECT_DOUBLE_EQ(out[2], 0.4);
    Vector brief{1.0};
    out.clear();
    net.applyVecAverage5(flat, flat, brief, flat, flat, out);
    EXPECT_TRUE(out.empty());
}

TEST(SsannDeathTest, EmptyInputReadsTheWeightsOnly) {
    NetworkFiles files;
    SSANN net = makeNetwork(files, 5);
    ANN::ResidueMap input;
    net.runANN(input);
    EXPECT_TRUE(net.level2Output.empty());
    EXPECT_EQ(net.level2WL2[4].size(), 3u);
    SSANN missing(104, 5, 3, 19, 4, 3, files.dir(), "none");
    missing.setOrder(5);
    EXPECT_END(missing.runANN(input), 0, "^\tCan't open file .*none.level1.WI.tab for reading\n$");
}

}  // namespace
