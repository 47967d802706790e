#include "networks/ann.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "networks/literal_network.h"
#include "networks/network_files.h"
#include "support/run_end.h"

namespace {

using Vector = std::vector<double>;

// Ready to run: files of all six layers.
ANN makeNetwork(const NetworkFiles& files, int code, int input1, int input2) {
    files.writeLevel("net.level1", input1, 4, 3, 3, 100);
    files.writeLevel("net.level2", input2, 5, 3, 3, 200);
    ANN net(input1, 4, 3, input2, 5, 3, files.dir(), "net");
    net.set_input_code(code);
    return net;
}

TEST(Ann, Helpers) {
    ANN plain;
    char text[64];
    EXPECT_STREQ(plain.itoa(-2147483647 - 1, text, 10), "-2147483648");
    EXPECT_STREQ(plain.ftoa(1.5f, text), "1.5");
    EXPECT_STREQ(plain.ftoa(-1234.0625f, text, 'f', 3), "-1234.062");
    EXPECT_STREQ(plain.ftoa(-1234.0625f, text, 'e', 2), "-1.23e+03");
    EXPECT_EQ(std::string(plain.ftoa(-3e38f, text, 'f', 99)).size(), 50u);
    Vector shifts(32, 1.0);
    EXPECT_EQ(plain.getNumberMissCS(shifts), 6);
    shifts[3] = 0.0;
    shifts[11] = 0.5;
    EXPECT_EQ(plain.getNumberMissCS(shifts), 4);
    Vector brief{1.0, 1.0};
    EXPECT_EQ(plain.getNumberMissCS(brief), 1);
}

TEST(Ann, SeparatorFollowsThePath) {
    const std::string saved = std::getenv("PATH");
    ANN net;
    setenv("PATH", "C:\\bin", 1);
    net.getSlashChar();
    EXPECT_EQ(net.slashChar, "\\");
    setenv("PATH", "bin", 1);
    net.slashChar = "#";
    net.getSlashChar();
    EXPECT_EQ(net.slashChar, "#");
    setenv("PATH", "\\a:/b", 1);
    net.getSlashChar();
    EXPECT_EQ(net.slashChar, "/");
    unsetenv("PATH");
    net.getSlashChar();
    EXPECT_EQ(net.slashChar, "\\");
    setenv("PATH", saved.c_str(), 1);
}

TEST(AnnDeathTest, LayerOperation) {
    ANN net;
    Vector input{1.0, 2.0};
    std::map<int, Vector> w{{0, {0.5, 1.0}}, {1, {-1.0, 0.25}}};
    Vector b{0.25, 0.0};
    Vector out{7.0};
    net.applyANNTransformation(input, w, b, out, 0);
    EXPECT_EQ(out, (Vector{7.0, 2.75, -0.5}));
    net.applyANNTransformation(input, w, b, out, 1);
    EXPECT_EQ(out[3], 2 / (1 + std::exp(-5.5)) - 1);
    net.applyANNTransformation(input, w, b, out, 2);
    EXPECT_EQ(out.size(), 5u);

    const auto exits = 0;
    Vector one{1.0};
    EXPECT_END(net.applyANNTransformation(one, w, b, out, 0), exits,
               "^ ANN prediction failed with inconsistent data!\n"
               " inp.size\\(\\): 1 w\\[0\\].size\\(\\): 2\n w.size\\(\\): 2 b.size\\(\\): 2\n$");
    EXPECT_END(net.applyANNTransformation(input, w, one, out, 5), exits,
               "inp.size\\(\\): 2 w\\[0\\].size\\(\\): 2\n w.size\\(\\): 2 b.size\\(\\): 1\n$");
}

TEST(Ann, ConfidenceAndMeans) {
    ANN net;
    Vector a{0.7, 0.2, 0.1};
    Vector b{0.1, 0.3, 0.5};
    Vector c{0.4, 0.3, 0.35};
    EXPECT_DOUBLE_EQ(net.getConfidence(a), 0.5);
    EXPECT_DOUBLE_EQ(net.getConfidence(b), 0.2);
    Vector four(4, 1.0);
    EXPECT_EQ(net.getConfidence(four), -1.0);

    Vector out;
    net.applyVecAverage(a, b, c, out);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_NEAR(out[0], (0.7 * 0.5 + 0.1 * 0.2 + 0.4 * 0.05) / 0.75, 1e-15);
    // Another length: weights of -1 make it the plain mean.
    Vector two{1.0, 2.0};
    Vector other{4.0, 8.0};
    out.clear();
    net.applyVecAverage(two, other, other, out);
    EXPECT_EQ(out[0], (-1.0 - 4.0 - 4.0) * (1 / -3.0));
    net.applyVecAverage(two, other, a, out);
    EXPECT_EQ(out.size(), 2u);
    // No margin anywhere: the plain mean of the members.
    Vector flat{1.0, 1.0, 0.0};
    Vector high{2.0, 2.0, 2.0};
    out.clear();
    net.applyVecAverage(flat, flat, high, out);
    EXPECT_EQ(out, (Vector{4.0 * 0.3333333333333333, 4.0 * 0.3333333333333333,
                           2.0 * 0.3333333333333333}));
}

TEST(Ann, Normalisation) {
    ANN net;
    Vector v{0.5, -0.25, 3.0, 9.0};
    net.applyVecNormalization(v);
    EXPECT_EQ(v, (Vector{0.5 * (1 / 1.5), 0.0, 1.0 * (1 / 1.5)}));
    const Vector thirds(3, 1.0 / 3.0);
    v = {-1.0, 0.0, -2.0};
    net.applyVecNormalization(v);
    EXPECT_EQ(v, thirds);
    v = {std::nan(""), std::nan(""), std::nan("")};
    net.applyVecNormalization(v);
    EXPECT_EQ(v, thirds);
    v = {1e-320, 0.0, 0.0};
    net.applyVecNormalization(v);
    EXPECT_TRUE(std::isfinite(v[0]) && std::isfinite(v[1]));
    v = {0.5};
    net.applyVecNormalization(v);
    EXPECT_EQ(v, Vector{0.5});
}

// Residues 3 to 9 and 12 to 15: a gap and ends.
const std::vector<int> brokenChain = {3, 4, 5, 6, 7, 8, 9, 12, 13, 14, 15};

TEST(Ann, ThreeResidueWindowsWithTheCutsOfEachCode) {
    for (const int code : {0, 1, 2, 3, 4, 9}) {
        NetworkFiles files;
        const int width = code == 0 || code == 9 ? 96 : 84;
        ANN net = makeNetwork(files, code, width, 9);
        ANN::ResidueMap input = randomResidues(brokenChain, 32);
        net.runANN(input);
        EXPECT_EQ(net.rawInput, input);
        ASSERT_EQ(keysOf(net.level1Input), (std::vector<int>{4, 5, 6, 7, 8, 13, 14})) << code;
        const auto cut = [&](int k) {
            Vector v = input[6 + k];
            if (code == 4) {
                return without(without(v, 4, 2), 0, 2);
            }
            return code >= 1 && code <= 3 && k == code - 2 ? without(v, 0, 12) : v;
        };
        EXPECT_EQ(net.level1Input[6], joined({cut(-1), cut(0), cut(1)})) << code;
    }
}

TEST(Ann, BothLevelsMeanFillAndNormalisation) {
    NetworkFiles files;
    ANN net = makeNetwork(files, 0, 96, 9);
    ANN::ResidueMap input = randomResidues(brokenChain, 32);
    net.runANN(input);

    ANN::ResidueMap level1;
    double sums[3] = {};
    for (const auto& [residue, window] : net.level1Input) {
        level1[residue] = literal::weightedMean(net, 1, window);
        for (std::size_t k = 0; k < 3; ++k) {
            sums[k] += level1[residue][k];
        }
    }
    const double total = sums[0] + sums[1] + sums[2];
    const Vector mean{sums[0] / total, sums[1] / total, sums[2] / total};
    for (const int residue : {3, 9, 12, 15}) {
        level1[residue] = mean;
    }
    EXPECT_EQ(net.level1Output, level1);
    EXPECT_EQ(net.level2Input[8], joined({level1[7], level1[8], mean}));
    ASSERT_EQ(keysOf(net.level2Output), brokenChain);
    for (const int residue : brokenChain) {
        const Vector& got = net.level2Output[residue];
        if (net.level2Input.count(residue) != 0) {
            EXPECT_EQ(got,
                      literal::normalised(literal::weightedMean(net, 2, net.level2Input[residue])))
                << residue;
        } else {
            EXPECT_EQ(got, literal::normalised(mean)) << residue;
        }
        EXPECT_NEAR(got[0] + got[1] + got[2], 1.0, 1e-12);
    }
}

TEST(AnnDeathTest, FiveResidueWindowValues) {
    NetworkFiles files;
    ANN net = makeNetwork(files, 5, 164, 19);
    ANN::ResidueMap input = randomResidues(numbersFrom(1, 7), 32);
    net.runANN(input);
    Vector padding{1.0};
    padding.insert(padding.end(), 20, 0.0);
    for (int i = 0; i < 6; ++i) {
        padding.push_back(0.0);
        padding.push_back(1.0);
    }
    const Vector flag{0.0};
    ASSERT_EQ(keysOf(net.level1Input), (std::vector<int>{2, 3, 4, 5}));
    EXPECT_EQ(net.level1Input[2],
              joined({padding, flag, input[1], input[2], flag, input[3], flag, input[4]}));
    EXPECT_EQ(net.level1Input[4],
              joined({flag, input[2], flag, input[3], input[4], flag, input[5], flag, input[6]}));
    const Vector none{1.0, 0.0, 0.0, 0.0};
    const auto& o = net.level1Output;
    EXPECT_EQ(net.level2Input[2],
              joined({none, flag, o.at(1), o.at(2), flag, o.at(3), flag, o.at(4)}));
    // Residue 6 fails at the position behind the end and has the mean.
    EXPECT_EQ(net.level2Output[6], literal::normalised(o.at(6)));
    EXPECT_EQ(o.at(6), o.at(1));

    // A vector of another length is padding, with its flag, also in the centre of its own window.
    ANN other = makeNetwork(files, 5, 164, 19);
    input[3].push_back(0.5);
    EXPECT_END(other.runANN(input), 0, " inp.size\\(\\): 165 w");
}

TEST(Ann, ShortChains) {
    for (int length = 0; length <= 5; ++length) {
        for (const int first : {1, 20}) {
            for (const int code : {0, 5}) {
                NetworkFiles files;
                ANN net = makeNetwork(files, code, code == 5 ? 164 : 96, code == 5 ? 19 : 9);
                ANN::ResidueMap input = randomResidues(numbersFrom(first, length), 32);
                net.runANN(input);
                EXPECT_EQ(keysOf(net.level2Output), numbersFrom(first, length));
                const int windows = code == 0 ? length - 2 : first == 1 ? length - 3 : length - 4;
                EXPECT_EQ(net.level1Input.size(), static_cast<std::size_t>(std::max(0, windows)));
                if (windows <= 0) {
                    for (const auto& [residue, classes] : net.level2Output) {
                        EXPECT_EQ(classes, Vector(3, 1.0 / 3.0));
                    }
                }
            }
        }
    }
}

TEST(Ann, NumbersAtTheRimsOfInt) {
    NetworkFiles files;
    ANN net = makeNetwork(files, 5, 164, 19);
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    ANN::ResidueMap input =
        randomResidues({least, least + 1, least + 2, most - 2, most - 1, most}, 32);
    net.runANN(input);
    EXPECT_TRUE(net.level1Input.empty());
    EXPECT_EQ(net.level2Output.size(), 6u);
}

TEST(AnnDeathTest, MissingOrWrongWeightFilesEndTheRunAtTheFirstWindow) {
    const auto exits = 0;
    const std::string cantOpen = "\tFile Error: Can't open input file for reading\n";
    ANN::ResidueMap input = randomResidues(numbersFrom(1, 5), 32);
    {
        NetworkFiles files;
        ANN net(96, 20, 3, 9, 6, 3, files.dir(), "none");
        EXPECT_END(net.runANN(input), exits,
                   "^(\tFile Error: Can't open input file for reading\n){6}"
                   " ANN prediction failed with inconsistent data!\n"
                   " inp.size\\(\\): 96 w\\[0\\].size\\(\\): 0\n"
                   " w.size\\(\\): 1 b.size\\(\\): 0\n$");
        // Without a window nothing is looked at.
        ANN other(96, 20, 3, 9, 6, 3, files.dir(), "none");
        ANN::ResidueMap two = randomResidues({1, 2}, 32);
        testing::internal::CaptureStderr();
        other.runANN(two);
        std::string six;
        for (int i = 0; i < 6; ++i) {
            six += cantOpen;
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), six);
        EXPECT_EQ(other.level2Output.size(), 2u);
    }
    {
        // One row short of three members in the output layer.
        NetworkFiles files;
        ANN net = makeNetwork(files, 0, 96, 9);
        files.writeWeights("net.level1.WL2.tab", 8, 4, 1);
        EXPECT_END(net.runANN(input), exits,
                   "^ ANN prediction failed with inconsistent data!\n"
                   " inp.size\\(\\): 4 w\\[0\\].size\\(\\): 4\n"
                   " w.size\\(\\): 2 b.size\\(\\): 2\n$");
    }
    {
        // A second run appends to the weights.
        NetworkFiles files;
        ANN net = makeNetwork(files, 0, 96, 9);
        net.runANN(input);
        EXPECT_END(net.runANN(input), exits, "w.size\\(\\): 96 b.size\\(\\): 192\n$");
    }
}

}  // namespace
