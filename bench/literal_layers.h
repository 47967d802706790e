#pragma once

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "networks/weight_maps.h"

/// Made ensembles of three layers, and their passes by the form that looks a weight's row up in its
/// map for every product: the denominator of the ratios.
namespace literal {

struct Sizes {
    int inputs, hidden, outputs, residues;
};

struct Network {
    orvix::networks::WeightRows rows[3][3];
    std::vector<double> bias[3][3];
    orvix::networks::LayerLists lists[3][3];
    std::vector<orvix::networks::Member> members;
};

inline void fill(Network& network, const Sizes& sizes, double zeroShare, std::mt19937& random) {
    std::normal_distribution<double> weight(0.0, 0.05);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    const int height[] = {sizes.inputs, sizes.hidden, sizes.outputs};
    const int width[] = {sizes.inputs, sizes.inputs, sizes.hidden};
    for (int m = 0; m < 3; ++m) {
        orvix::networks::Member& member = network.members.emplace_back();
        for (int layer = 0; layer < 3; ++layer) {
            for (int r = 0; r < height[layer]; ++r) {
                std::vector<double>& row = network.rows[m][layer][r];
                for (int c = 0; c < width[layer]; ++c) {
                    const double value = static_cast<double>(static_cast<float>(weight(random)));
                    row.push_back(share(random) < zeroShare ? 0.0 : value);
                }
                network.bias[m][layer].push_back(weight(random));
            }
            orvix::networks::Layer& made = member[static_cast<std::size_t>(layer)];
            made = orvix::networks::viewLayer(network.rows[m][layer], network.bias[m][layer], 0);
            // As a loaded network has them.
            orvix::networks::LayerLists& lists = network.lists[m][layer];
            lists = orvix::networks::makeLists(made.view);
            made.view.lists = orvix::networks::listedRows(
                {lists.strides, lists.counts, lists.index, lists.value}, made.view.rows.size());
        }
    }
}

// The rule as it reads, with a look-up in the map for every weight.
inline std::vector<double> layer(const std::vector<double>& input,
                                 orvix::networks::WeightRows& rows, const std::vector<double>& bias,
                                 bool tanh) {
    std::vector<double> out;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        double s = 0.0;
        int n = 0;
        for (std::size_t j = 0; j < input.size(); ++j) {
            s += input[j] * rows[i][j];
            const int t = static_cast<int>(s);
            n += t;
            s -= t;
        }
        const double sum = s + n + bias[static_cast<std::size_t>(i)];
        out.push_back(tanh ? 2 / (1 + std::exp(-2 * sum)) - 1 : sum);
    }
    return out;
}

inline orvix::networks::EnsembleOutput pass(
    Network& network, const std::vector<const std::vector<double>*>& windows) {
    orvix::networks::EnsembleOutput results(3);
    for (const std::vector<double>* window : windows) {
        for (std::size_t m = 0; m < 3; ++m) {
            std::vector<double> values = *window;
            for (int l = 0; l < 3; ++l) {
                values = layer(values, network.rows[m][l], network.bias[m][l], l < 2);
            }
            results[m].push_back(values);
        }
    }
    return results;
}

inline bool sameBits(const orvix::networks::EnsembleOutput& a,
                     const orvix::networks::EnsembleOutput& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t m = 0; m < a.size(); ++m) {
        if (a[m].size() != b[m].size()) {
            return false;
        }
        for (std::size_t w = 0; w < a[m].size(); ++w) {
            if (a[m][w].size() != b[m][w].size() ||
                std::memcmp(a[m][w].data(), b[m][w].data(), a[m][w].size() * sizeof(double)) != 0) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace literal
