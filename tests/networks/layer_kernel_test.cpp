#include "networks/layer_kernel.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include "base/cpu.h"

namespace {

using orvix::networks::Activation;
using orvix::networks::LaneBatches;
using orvix::networks::LayerKernel;
using orvix::networks::LayerView;

// A layer that owns its rows.
struct Layer {
    std::vector<std::vector<double>> rows;
    std::vector<double> bias;
    std::size_t inputs = 0;

    LayerView view() const {
        LayerView view;
        for (const std::vector<double>& row : rows) {
            view.rows.push_back(row.data());
            view.lengths.push_back(static_cast<std::uint32_t>(std::min(row.size(), inputs)));
        }
        view.bias = bias.data();
        view.inputs = inputs;
        return view;
    }
};

Layer randomLayer(std::size_t rows, std::size_t columns, double scale, double zeroShare,
                  std::mt19937& random) {
    std::normal_distribution<double> weight(0.0, scale);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    Layer layer;
    layer.inputs = columns;
    for (std::size_t r = 0; r < rows; ++r) {
        layer.rows.emplace_back();
        for (std::size_t c = 0; c < columns; ++c) {
            layer.rows.back().push_back(share(random) < zeroShare ? (c % 2 == 0 ? 0.0 : -0.0)
                                                                  : weight(random));
        }
        layer.bias.push_back(weight(random));
    }
    return layer;
}

std::vector<std::vector<double>> randomInputs(std::size_t count, std::size_t columns,
                                              std::mt19937& random) {
    std::uniform_real_distribution<double> value(-1.5, 1.5);
    std::vector<std::vector<double>> inputs(count);
    for (std::vector<double>& input : inputs) {
        for (std::size_t c = 0; c < columns; ++c) {
            input.push_back(c % 7 == 3 ? 0.0 : value(random));
        }
    }
    return inputs;
}

// NaN has many encodings and no meaning beyond itself; all else must agree to the bit.
std::uint64_t bitsOf(double value) {
    return std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value);
}

// The view with lists that their owner keeps, and the rows that have them gone.
LayerView listsAlone(LayerView view, const orvix::networks::LayerLists& lists) {
    view.lists = orvix::networks::listedRows(
        {lists.strides, lists.counts, lists.index, lists.value}, view.rows.size());
    for (std::size_t r = 0; r < view.rows.size(); ++r) {
        if (view.lists[r / orvix::networks::layerBlockRows].index != nullptr) {
            view.rows[r] = nullptr;
        }
    }
    return view;
}

void expectSameAsPlain(const Layer& layer, const std::vector<std::vector<double>>& inputs,
                       const LayerView& view) {
    for (const Activation activation : {Activation::linear, Activation::tanh}) {
        for (const LayerKernel* kernel : orvix::networks::availableLayerKernels()) {
            LaneBatches in(layer.inputs, inputs.size(), kernel->batchLanes);
            for (std::size_t l = 0; l < inputs.size(); ++l) {
                in.set(l, inputs[l]);
            }
            LaneBatches out(layer.rows.size(), inputs.size(), kernel->batchLanes);
            for (std::size_t b = 0; b < orvix::networks::layerBlockCount(view); ++b) {
                orvix::networks::layerBatch(*kernel, view, b, activation, in, in.allFinite(), out);
            }
            std::vector<double> expected(layer.rows.size());
            for (std::size_t l = 0; l < inputs.size(); ++l) {
                orvix::networks::layerPlain(layer.view(), inputs[l], activation, expected);
                const std::vector<double> got = out.get(l);
                for (std::size_t r = 0; r < expected.size(); ++r) {
                    ASSERT_EQ(bitsOf(got[r]), bitsOf(expected[r]))
                        << kernel->name << " lane " << l << " of " << inputs.size() << " row " << r
                        << ": " << got[r] << " for " << expected[r];
                }
            }
        }
    }
}

void expectSameAsPlain(const Layer& layer, const std::vector<std::vector<double>>& inputs) {
    expectSameAsPlain(layer, inputs, layer.view());
    const orvix::networks::LayerLists lists = orvix::networks::makeLists(layer.view());
    expectSameAsPlain(layer, inputs, listsAlone(layer.view(), lists));
}

TEST(LayerPlain, SumIsCarriedAsWholeAndFraction) {
    Layer layer;
    layer.inputs = 3;
    // 0.75 + 0.5 = 1.25 leaves 0.25 and 1; -2 * 1.5 + 0.25 = -2.75 leaves -0.75 and -1.
    layer.rows = {{0.75, 0.5, -2.0}};
    layer.bias = {0.125};
    std::vector<double> out(1);
    orvix::networks::layerPlain(layer.view(), std::vector<double>{1.0, 1.0, 1.5},
                                Activation::linear, out);
    EXPECT_EQ(out[0], -0.75 + -1 + 0.125);
    orvix::networks::layerPlain(layer.view(), std::vector<double>{1.0, 1.0, 1.5}, Activation::tanh,
                                out);
    EXPECT_EQ(out[0], 2 / (1 + std::exp(3.25)) - 1);
    EXPECT_NEAR(out[0], std::tanh(-1.625), 1e-15);
}

TEST(LayerPlain, CarryingDiffersFromPlainAddingAsTheRuleSays) {
    std::mt19937 random(5);
    const Layer layer = randomLayer(40, 300, 0.7, 0.0, random);
    const std::vector<double> input = randomInputs(1, 300, random)[0];
    std::vector<double> out(40);
    orvix::networks::layerPlain(layer.view(), input, Activation::linear, out);
    int differing = 0;
    for (std::size_t r = 0; r < 40; ++r) {
        double s = 0.0;
        double straight = 0.0;
        std::int32_t n = 0;
        for (std::size_t j = 0; j < 300; ++j) {
            s += input[j] * layer.rows[r][j];
            straight += input[j] * layer.rows[r][j];
            const std::int32_t t = static_cast<std::int32_t>(s);
            n += t;
            s -= t;
        }
        EXPECT_EQ(bitsOf(out[r]), bitsOf(s + n + layer.bias[r]));
        differing += out[r] != straight + layer.bias[r] ? 1 : 0;
    }
    EXPECT_GT(differing, 0);
}

TEST(LayerKernel, AllFormsGiveTheBitsOfThePlainForm) {
    std::mt19937 random(11);
    // Around the sizes of lanes, tiles and blocks of every form.
    for (const std::size_t lanes : {1u, 2u, 3u, 4u, 5u, 8u, 9u, 12u, 13u, 17u, 24u, 25u, 31u}) {
        for (const std::size_t rows : {1u, 3u, 5u, 11u, 12u, 13u, 26u}) {
            for (const double zeroShare : {0.0, 0.2, 0.5, 0.95, 1.0}) {
                const std::size_t columns = 1 + (lanes * 7 + rows * 13) % 67;
                const Layer layer = randomLayer(rows, columns, 0.8, zeroShare, random);
                expectSameAsPlain(layer, randomInputs(lanes, columns, random));
            }
        }
    }
}

TEST(LayerKernel, LargeSumsAndOverflow) {
    std::mt19937 random(13);
    for (const double scale : {1e4, 1e9, 1e12, 1e17, 1e300, 1e308}) {
        const Layer layer = randomLayer(14, 30, scale, 0.3, random);
        expectSameAsPlain(layer, randomInputs(27, 30, random));
    }
}

TEST(LayerKernel, InputsAndWeightsThatAreNoNumbers) {
    std::mt19937 random(17);
    const double infinity = std::numeric_limits<double>::infinity();
    Layer layer = randomLayer(15, 20, 0.5, 0.8, random);
    std::vector<std::vector<double>> inputs = randomInputs(13, 20, random);
    inputs[4][7] = infinity;
    inputs[12][0] = std::nan("");
    expectSameAsPlain(layer, inputs);
    inputs = randomInputs(13, 20, random);
    layer.rows[3][2] = infinity;
    layer.rows[14][19] = std::nan("");
    expectSameAsPlain(layer, inputs);
}

TEST(LayerKernel, RowsOfOtherLengths) {
    std::mt19937 random(19);
    Layer layer = randomLayer(16, 20, 0.5, 0.0, random);
    layer.rows[1].resize(7);
    layer.rows[5].clear();
    layer.rows[6].resize(33, 5.0);
    const std::vector<std::vector<double>> inputs = randomInputs(6, 20, random);
    expectSameAsPlain(layer, inputs);

    std::vector<double> out(16);
    orvix::networks::layerPlain(layer.view(), inputs[0], Activation::linear, out);
    EXPECT_EQ(out[5], layer.bias[5]);
}

TEST(LayerKernel, LayerWithoutInputsGivesItsBiases) {
    Layer layer;
    layer.rows = {{}, {}};
    layer.bias = {0.5, -2.0};
    expectSameAsPlain(layer, {{}, {}, {}});
}

TEST(LayerKernel, ALimitKeepsToLowerForms) {
    ASSERT_TRUE(orvix::limitInstructionLevel("portable"));
    EXPECT_EQ(&orvix::networks::bestLayerKernel(), orvix::networks::portableLayerKernel());
    EXPECT_FALSE(orvix::limitInstructionLevel("sse9"));
    orvix::limitInstructionLevel(orvix::InstructionLevel::avx512);
    EXPECT_EQ(&orvix::networks::bestLayerKernel(), orvix::networks::availableLayerKernels().back());
}

}  // namespace
