#pragma once

#include <cmath>
#include <cstdint>

#include "networks/ann.h"

// The forward pass written out once more, straight from its rules and with the weights looked up in
// the members, as the expectation of the network tests.
namespace literal {

inline std::vector<double> layer(const std::vector<double>& input,
                                 const std::map<int, std::vector<double>>& rows,
                                 const std::vector<double>& bias, bool tanh) {
    std::vector<double> out;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        double s = 0.0;
        std::int32_t n = 0;
        for (std::size_t j = 0; j < input.size(); ++j) {
            s += input[j] * rows.at(static_cast<int>(i))[j];
            const std::int32_t t = static_cast<std::int32_t>(s);
            n += t;
            s -= t;
        }
        const double sum = s + n + bias[i];
        out.push_back(tanh ? 2 / (1 + std::exp(-2 * sum)) - 1 : sum);
    }
    return out;
}

inline std::vector<double> member(const ANN& net, int level, int m, const std::vector<double>& in) {
    const bool one = level == 1;
    const auto a = layer(in, (one ? net.level1WI : net.level2WI)[m],
                         (one ? net.level1BI : net.level2BI)[m], true);
    const auto c = layer(a, (one ? net.level1WL1 : net.level2WL1)[m],
                         (one ? net.level1BL1 : net.level2BL1)[m], true);
    return layer(c, (one ? net.level1WL2 : net.level2WL2)[m],
                 (one ? net.level1BL2 : net.level2BL2)[m], false);
}

inline std::vector<double> plainMean(const ANN& net, int level, const std::vector<double>& in) {
    const auto a = member(net, level, 0, in);
    const auto b = member(net, level, 1, in);
    const auto c = member(net, level, 2, in);
    std::vector<double> out;
    for (std::size_t k = 0; k < a.size(); ++k) {
        out.push_back((a[k] + b[k] + c[k]) * 0.3333333333333333);
    }
    return out;
}

inline double margin(const std::vector<double>& v) {
    const double most = std::max(v[0], std::max(v[1], v[2]));
    const double least = std::min(v[0], std::min(v[1], v[2]));
    return 2 * most + least - (v[0] + v[1] + v[2]);
}

inline std::vector<double> weightedMean(const ANN& net, int level, const std::vector<double>& in) {
    const auto a = member(net, level, 0, in);
    const auto b = member(net, level, 1, in);
    const auto c = member(net, level, 2, in);
    const double wa = margin(a);
    const double wb = margin(b);
    const double wc = margin(c);
    std::vector<double> out;
    for (std::size_t k = 0; k < 3; ++k) {
        out.push_back((a[k] * wa + b[k] * wb + c[k] * wc) * (1 / (wa + wb + wc)));
    }
    return out;
}

inline std::vector<double> normalised(std::vector<double> v) {
    for (double& x : v) {
        x = x < 0 ? 0 : x > 1 ? 1 : x;
    }
    const double factor = 1 / (v[0] + v[1] + v[2]);
    return {v[0] * factor, v[1] * factor, v[2] * factor};
}

}  // namespace literal
