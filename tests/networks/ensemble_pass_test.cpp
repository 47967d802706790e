#include "networks/ensemble_pass.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "networks/network_files.h"
#include "networks/weight_maps.h"

namespace {

using orvix::networks::LayerMismatch;
using orvix::networks::Member;

struct Ensemble {
    orvix::networks::WeightRows rows[5][3];
    std::vector<double> bias[5][3];

    std::vector<Member> members(int count) const {
        std::vector<Member> members;
        for (int m = 0; m < count; ++m) {
            Member& member = members.emplace_back();
            for (std::size_t l = 0; l < member.size(); ++l) {
                member[l] = orvix::networks::viewLayer(rows[m][l], bias[m][l], 0);
            }
        }
        return members;
    }
};

void fill(Ensemble& net, int input, int hidden, int output) {
    std::mt19937 random(3);
    std::normal_distribution<double> weight(0.0, 0.4);
    const int height[] = {input, hidden, output};
    const int width[] = {input, input, hidden};
    for (int m = 0; m < 5; ++m) {
        for (int l = 0; l < 3; ++l) {
            for (int r = 0; r < height[l]; ++r) {
                for (int c = 0; c < width[l]; ++c) {
                    net.rows[m][l][r].push_back(weight(random));
                }
                net.bias[m][l].push_back(weight(random));
            }
        }
    }
}

void expectMismatch(const std::optional<LayerMismatch>& got, const std::string& inputs,
                    const std::string& columns, const std::string& rows,
                    const std::string& biases) {
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(got->text(), " ANN prediction failed with inconsistent data!\n inp.size(): " +
                               inputs + " w[0].size(): " + columns + "\n w.size(): " + rows +
                               " b.size(): " + biases + "\n");
}

TEST(EnsemblePass, EveryKernelAndThreadCountGivesTheBitsOfThePlainForm) {
    Ensemble net;
    fill(net, 37, 14, 5);
    const auto members = net.members(5);
    // More windows than pass the layers together.
    const ANN::ResidueMap inputs = randomResidues(numbersFrom(1, 500), 37);
    std::vector<const std::vector<double>*> windows;
    for (const auto& [residue, window] : inputs) {
        windows.push_back(&window);
    }
    const orvix::networks::EnsembleOutput expected =
        orvix::networks::runEnsemblePlain(members, windows);
    ASSERT_EQ(expected.size(), 5u);
    ASSERT_EQ(expected[4][499].size(), 5u);
    for (const orvix::networks::LayerKernel* kernel : orvix::networks::availableLayerKernels()) {
        for (const int threads : {1, 3, 10}) {
            EXPECT_EQ(orvix::networks::runEnsemble(*kernel, members, windows, threads), expected)
                << kernel->name << " " << threads;
        }
    }
}

TEST(EnsemblePass, WeightsThatMakeNoNumbersWithinTheNetwork) {
    Ensemble net;
    fill(net, 6, 4, 2);
    net.rows[1][0][3][2] = std::numeric_limits<double>::infinity();
    net.rows[1][1][0].assign(6, 0.0);
    const auto members = net.members(3);
    const std::vector<double> window{0.1, 0.2, 0.3, 0.4, 0.5, 0.6};
    const std::vector<const std::vector<double>*> windows{&window};
    const auto plain = orvix::networks::runEnsemblePlain(members, windows);
    const auto fast =
        orvix::networks::runEnsemble(orvix::networks::bestLayerKernel(), members, windows, 1);
    EXPECT_EQ(fast[0], plain[0]);
    EXPECT_TRUE(std::isnan(plain[1][0][0]));
    EXPECT_TRUE(std::isnan(fast[1][0][0]));
}

TEST(EnsembleCheck, FirstFailureInTheOrderOfThePassIsTold) {
    {
        Ensemble net;
        fill(net, 6, 4, 2);
        EXPECT_FALSE(checkEnsemble(net.members(3), std::vector<std::size_t>{6, 6}).has_value());
        // A later window that is short is found behind one that fits.
        expectMismatch(checkEnsemble(net.members(3), std::vector<std::size_t>{6, 5}), "5", "6", "6",
                       "6");
        EXPECT_FALSE(checkEnsemble(net.members(3), {}).has_value());
    }
    {
        // Member 2 in WI comes before member 0 in WL1.
        Ensemble net;
        fill(net, 6, 4, 2);
        net.bias[0][1].pop_back();
        net.bias[2][0].pop_back();
        expectMismatch(checkEnsemble(net.members(3), std::vector<std::size_t>{6}), "6", "6", "6",
                       "5");
    }
    {
        // The first window fails at WL1 before the second, which is short, is looked at.
        Ensemble net;
        fill(net, 6, 4, 2);
        net.bias[1][1].pop_back();
        expectMismatch(checkEnsemble(net.members(3), std::vector<std::size_t>{6, 3}), "6", "6", "4",
                       "3");
    }
    {
        // Rows missing at the end of WI show at WL1, by the length of what arrives there.
        Ensemble net;
        fill(net, 6, 4, 2);
        net.rows[2][0].erase(5);
        net.bias[2][0].pop_back();
        expectMismatch(checkEnsemble(net.members(3), std::vector<std::size_t>{6}), "5", "6", "4",
                       "4");
    }
}

TEST(EnsembleCheck, LayerThatWasNeverFilledHasAnEmptyRow) {
    Ensemble net;
    expectMismatch(checkEnsemble(net.members(3), std::vector<std::size_t>{6}), "6", "0", "1", "0");
}

TEST(EnsembleCheck, LayerWithTooFewRowsIsTold) {
    Ensemble net;
    fill(net, 6, 4, 3);
    net.rows[2][2].erase(2);
    net.bias[2][2].pop_back();
    // Weights by hand may have any size that fits; a layer of known width may not.
    auto members = net.members(3);
    EXPECT_FALSE(checkEnsemble(members, std::vector<std::size_t>{6}).has_value());
    members[2][2].leastRows = 3;
    expectMismatch(checkEnsemble(members, std::vector<std::size_t>{6}), "4", "4", "2", "2");
}

TEST(ViewLayer, RowsWithOtherKeysAreLeftOut) {
    orvix::networks::WeightRows rows{
        {0, {1.0, 2.0}}, {1, {3.0}}, {5, {9.0, 9.0}}, {-2, {8.0, 8.0}}};
    std::vector<double> bias{0.5, 0.25, 0.125, 1.0};
    const orvix::networks::LayerView view = orvix::networks::viewLayer(rows, bias, 0).view;
    ASSERT_EQ(view.rows.size(), 4u);
    EXPECT_EQ(view.lengths, (std::vector<std::uint32_t>{2, 1, 0, 0}));
    std::vector<double> out(4);
    orvix::networks::layerPlain(view, std::vector<double>{1.0, 1.0},
                                orvix::networks::Activation::linear, out);
    EXPECT_EQ(out, (std::vector<double>{3.5, 3.25, 0.125, 1.0}));
}

}  // namespace
