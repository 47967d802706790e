#include "networks/surfann.h"

#include <gtest/gtest.h>

#include <limits>

#include "networks/literal_network.h"
#include "networks/network_files.h"
#include "support/run_end.h"

namespace {

using Vector = std::vector<double>;

constexpr int boxes = 6;

SURFANN makeNetwork(const NetworkFiles& files) {
    files.writeLevel("surf.level1", 160, 7, boxes, 3, 300);
    files.writeLevel("surf.level2", 5 * boxes, 8, boxes, 3, 400);
    return SURFANN(160, 7, boxes, 5 * boxes, 8, boxes, files.dir(), "surf");
}

Vector neighbours(const ANN::ResidueMap& map, int residue) {
    return joined({map.at(residue - 2), map.at(residue - 1), map.at(residue), map.at(residue + 1),
                   map.at(residue + 2)});
}

TEST(Surfann, BothLevelsWithAGap) {
    NetworkFiles files;
    SURFANN net = makeNetwork(files);
    EXPECT_EQ(net.input_code, 5);
    // Residues 1 to 8 and 10 to 15: windows at 3 to 6, 12 and 13.
    std::vector<int> chain = numbersFrom(1, 8);
    for (const int residue : numbersFrom(10, 6)) {
        chain.push_back(residue);
    }
    ANN::ResidueMap input = randomResidues(chain, 32);
    net.setThread(3);
    net.runANN(input);

    const std::vector<int> central = {3, 4, 5, 6, 12, 13};
    EXPECT_EQ(keysOf(net.level1Input), central);
    EXPECT_EQ(keysOf(net.level2Input), central);
    ANN::ResidueMap level1;
    Vector mean(boxes, 0.0);
    for (const int residue : central) {
        EXPECT_EQ(net.level1Input[residue], neighbours(input, residue));
        level1[residue] = literal::plainMean(net, 1, net.level1Input[residue]);
        for (std::size_t k = 0; k < boxes; ++k) {
            mean[k] += level1[residue][k];
        }
    }
    for (double& value : mean) {
        value /= 6;
    }
    for (const int residue : chain) {
        level1.emplace(residue, mean);
    }
    EXPECT_EQ(net.level1Output, level1);
    for (const int residue : chain) {
        const bool inside = net.level2Input.count(residue) != 0;
        EXPECT_EQ(net.level2Output[residue],
                  inside ? literal::plainMean(net, 2, neighbours(level1, residue)) : mean)
            << residue;
    }
}

TEST(Surfann, ShortChains) {
    for (int length = 0; length <= 5; ++length) {
        NetworkFiles files;
        SURFANN net = makeNetwork(files);
        ANN::ResidueMap input = randomResidues(numbersFrom(1, length), 32);
        net.runANN(input);
        EXPECT_EQ(keysOf(net.level2Output), numbersFrom(1, length));
        EXPECT_EQ(net.level2Input.size(), length == 5 ? 1u : 0u);
        if (length < 5) {
            for (const auto& [residue, map] : net.level2Output) {
                EXPECT_EQ(map, Vector(boxes, 0.0));
            }
        }
    }
}

TEST(Surfann, HybridPadsTheEndsAndFillsNothing) {
    NetworkFiles files;
    files.writeLevel("surf.level1", 160, 7, boxes, 3, 300);
    std::vector<int> chain = numbersFrom(11, 5);
    chain.insert(chain.end(), {17, 18, 19});
    ANN::ResidueMap input = randomResidues(chain, 32);
    SURFANN net(160, 7, boxes, 5 * boxes, 8, boxes, files.dir(), "surf");
    net.setHybrid(1);
    testing::internal::CaptureStderr();
    net.runHybridANN(input);
    // The level 2 files don't exist and aren't asked for.
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    Vector padding(20, 0.0);
    for (int i = 0; i < 6; ++i) {
        padding.push_back(0.0);
        padding.push_back(1.0);
    }
    // 14 sees the gap, 18 has it two positions before.
    ASSERT_EQ(keysOf(net.level1Output), (std::vector<int>{12, 13}));
    EXPECT_EQ(net.level1Input[12], joined({padding, input[11], input[12], input[13], input[14]}));
    EXPECT_EQ(net.level1Output[12], literal::plainMean(net, 1, net.level1Input[12]));
    EXPECT_EQ(net.rawInput[10], padding);
    EXPECT_EQ(net.rawInput[20], padding);
    EXPECT_TRUE(net.level2Output.empty());
}

TEST(Surfann, HybridChainOfThree) {
    NetworkFiles files;
    SURFANN net = makeNetwork(files);
    net.setHybrid(1);
    ANN::ResidueMap input = randomResidues({-1, 0, 1}, 32);
    net.runHybridANN(input);
    EXPECT_EQ(keysOf(net.level1Output), std::vector<int>{0});
    EXPECT_EQ(net.level1Input[0].size(), 160u);
}

TEST(Surfann, HybridAtTheRimsOfIntAndEmpty) {
    NetworkFiles files;
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    for (const std::vector<int>& chain :
         {std::vector<int>{least, least + 1, least + 2, most - 1, most}, std::vector<int>{},
          std::vector<int>{most - 2, most - 1, most}}) {
        SURFANN net = makeNetwork(files);
        net.setHybrid(1);
        ANN::ResidueMap input = randomResidues(chain, 32);
        net.runHybridANN(input);
        EXPECT_TRUE(net.level1Output.empty());
    }
}

TEST(Surfann, PlainMean) {
    SURFANN net;
    Vector a{1.0, 2.0, 4.0};
    Vector b{0.5, 0.25, 0.0};
    Vector out;
    net.applyVecAverage(a, a, b, out);
    EXPECT_EQ(out, (Vector{2.5 * 0.3333333333333333, 4.25 * 0.3333333333333333,
                           8.0 * 0.3333333333333333}));
    Vector brief{1.0};
    out.clear();
    net.applyVecAverage(a, a, brief, out);
    EXPECT_TRUE(out.empty());
}

TEST(Surfann, ThreadedTwinsTellTheirThreads) {
    NetworkFiles files;
    SURFANN net = makeNetwork(files);
    net.setThread(4);
    net.loadWeights();
    SURFANN twin = makeNetwork(files);
    twin.setThread(4);
    testing::internal::CaptureStdout();
    twin.loadWeightBias3_omp(files.path("surf.level1.WI.tab"), twin.level1WI[0], twin.level1BI[0],
                             twin.level1WI[1], twin.level1BI[1], twin.level1WI[2], twin.level1BI[2],
                             160, 160);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nThe number of processes is 4.\n");
    // Read at full precision: the same but for the rounding to single precision.
    ASSERT_EQ(twin.level1WI[2].size(), 160u);
    EXPECT_NEAR(twin.level1WI[2][159][159], net.level1WI[2][159][159], 1e-7);
    EXPECT_NE(twin.level1WI[2], net.level1WI[2]);

    net.level1Input = randomResidues(numbersFrom(1, 30), 160);
    testing::internal::CaptureStdout();
    net.calcLevel1_omp();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nThe number of processes is 4.\n");
    const ANN::ResidueMap threaded = net.level1Output;
    net.level1Output.clear();
    net.calcLevel1();
    EXPECT_EQ(net.level1Output, threaded);
}

TEST(SurfannDeathTest, LevelTwoFailsTheLayerCheckBeforeItsThreads) {
    NetworkFiles files;
    SURFANN net = makeNetwork(files);
    files.writeWeights("surf.level2.WL1.tab", 23, 30, 1);
    ANN::ResidueMap input = randomResidues(numbersFrom(1, 40), 32);
    EXPECT_END(net.runANN(input), 0,
               "^ ANN prediction failed with inconsistent data!\n"
               " inp.size\\(\\): 30 w\\[0\\].size\\(\\): 30\n"
               " w.size\\(\\): 7 b.size\\(\\): 7\n$");
}

}  // namespace
