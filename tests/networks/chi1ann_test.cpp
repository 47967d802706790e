#include "networks/chi1ann.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "networks/literal_network.h"
#include "networks/network_files.h"
#include "support/run_end.h"

namespace {

using Vector = std::vector<double>;

static_assert(std::has_virtual_destructor_v<CHI1ANN>);
static_assert(!std::is_polymorphic_v<ANN>);

TEST(Chi1ann, LoadsOnceAndScoresBatchesLikeSingles) {
    NetworkFiles files;
    files.writeLevel("chi1_V.level1", 39, 15, 1, 3, 700);
    CHI1ANN net(39, 15, 1, files.dir(), "chi1_V");
    CHI1ANN batch(39, 15, 1, files.dir(), "chi1_V");
    EXPECT_FALSE(net.chi1Loaded);
    EXPECT_TRUE(batch.runANNLevel1Batch({}).empty());
    EXPECT_FALSE(batch.chi1Loaded);

    std::vector<Vector> inputs;
    for (auto& [key, vector] : randomResidues(numbersFrom(1, 101), 39)) {
        inputs.push_back(vector);
    }
    Vector scores;
    for (const Vector& input : inputs) {
        scores.push_back(net.runANNLevel1(input));
        EXPECT_EQ(scores.back(), literal::plainMean(net, 1, input)[0]);
    }
    EXPECT_EQ(batch.runANNLevel1Batch(inputs), scores);
    EXPECT_EQ(batch.level1Input, net.level1Input);
    EXPECT_EQ(batch.level1Output, net.level1Output);

    // No file is read again.
    std::filesystem::remove(files.path("chi1_V.level1.WI.tab"));
    EXPECT_EQ(net.runANNLevel1(inputs[0]), scores[0]);

    ANN::ResidueMap map{{4, inputs[2]}, {9, inputs[5]}};
    net.level1Output.clear();
    net.runANN(map);
    EXPECT_EQ(net.level1Output, (ANN::ResidueMap{{4, {scores[2]}}, {9, {scores[5]}}}));

    // Weights that the caller changes count from the next call on.
    batch.level1BL2[1][0] += 3.0;
    EXPECT_NEAR(batch.runANNLevel1Batch({inputs[0]})[0], scores[0] + 1.0, 1e-9);
}

TEST(Chi1annDeathTest, Failures) {
    NetworkFiles files;
    CHI1ANN missing(39, 15, 1, files.dir(), "chi1_C");
    EXPECT_END(missing.runANNLevel1(Vector(39, 0.0)), 0,
               "^\tCan't open file .*chi1_C.level1.WI.tab for reading\n$");
    files.writeLevel("chi1_V.level1", 39, 15, 1, 3, 700);
    CHI1ANN net(39, 15, 1, files.dir(), "chi1_V");
    const std::string lines =
        "^ ANN prediction failed with inconsistent data!\n inp.size\\(\\): 38 w\\[0\\].size\\(\\): "
        "39\n w.size\\(\\): 39 b.size\\(\\): 39\n$";
    EXPECT_END(net.runANNLevel1(Vector(38, 0.0)), 0, lines);
    EXPECT_END(net.runANNLevel1Batch({Vector(39, 0.0), Vector(38, 0.0), Vector(3, 0.0)}), 0, lines);
}

TEST(Chi1ann, SingleMemberOfTheBinaryForm) {
    NetworkFiles files;
    const auto binary = [](const Vector& numbers) {
        return std::string(reinterpret_cast<const char*>(numbers.data()),
                           numbers.size() * sizeof(double));
    };
    // Bias first in each row.
    files.write("n.level1.WI.bin", binary({0.5, 1.0, 0.0, -0.5, 0.0, 1.0}));
    files.write("n.level1.WL1.bin", binary({0.0, 1.0, 1.0}));
    files.write("n.level1.WL2.bin", binary({0.25, 2.0}));
    CHI1ANN net(2, 1, 1, files.dir(), "n");
    net.loadWeights1();
    EXPECT_FALSE(net.chi1Loaded);
    net.level1Input[3] = {0.5, 1.0};
    net.calcLevel1_single();
    const auto squash = [](double x) { return 2 / (1 + std::exp(-2 * x)) - 1; };
    EXPECT_DOUBLE_EQ(net.level1Output[3][0], 2.0 * squash(squash(1.0) + squash(0.5)) + 0.25);
}

}  // namespace
