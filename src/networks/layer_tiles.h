#pragma once

#include "networks/layer_block.h"

// The text of the layer kernel for one instruction set, included by one source file each. A lane
// type `L` gives a vector of L::width doubles with load, broadcast, add, sub, mul, trunc and store.
//
// Everything is in an unnamed namespace on purpose: each file must keep its own copy, compiled with
// its own flags.

namespace orvix::networks {
namespace {

constexpr int batchVectors = 3;

// Rows of a tile that is V vectors wide: enough independent chains to hide the latency of
// add, truncate, subtract without running out of registers.
template <class L, int V>
constexpr int tileRows() {
    if constexpr (L::registers >= 32) {
        return V == 3 ? 4 : 6;
    } else {
        return V == 3 ? 2 : V == 2 ? 3 : 6;
    }
}

// One step of the running sum: s keeps the fraction, n the whole part.
template <class L>
inline void accumulate(typename L::Vector x, typename L::Vector w, typename L::Vector& s,
                       typename L::Vector& n) {
    s = L::add(s, L::mul(x, w));
    const typename L::Vector whole = L::trunc(s);
    n = L::add(n, whole);
    s = L::sub(s, whole);
}

template <class L, int V>
inline void storeRow(const typename L::Vector* s, const typename L::Vector* n, double bias,
                     double* out) {
    const typename L::Vector b = L::broadcast(bias);
    for (int v = 0; v < V; ++v) {
        L::store(out + v * L::width, L::add(L::add(s[v], n[v]), b));
    }
}

template <class L, int V, int R>
void denseTile(const double* const* rows, const double* bias, int valid, std::size_t columns,
               const double* in, double* out) {
    constexpr std::size_t stride = static_cast<std::size_t>(batchVectors * L::width);
    using Vector = typename L::Vector;
    const double* row[std::size_t{R}];
    for (int r = 0; r < R; ++r) {
        row[r] = rows[r < valid ? r : valid - 1];
    }
    Vector s[std::size_t{R}][std::size_t{V}];
    Vector n[std::size_t{R}][std::size_t{V}];
    for (int r = 0; r < R; ++r) {
        for (int v = 0; v < V; ++v) {
            s[r][v] = L::broadcast(0.0);
            n[r][v] = L::broadcast(0.0);
        }
    }
    for (std::size_t j = 0; j < columns; ++j) {
        const double* const x = in + j * stride;
        for (int r = 0; r < R; ++r) {
            const Vector w = L::broadcast(row[r][j]);
            for (int v = 0; v < V; ++v) {
                accumulate<L>(L::load(x + v * L::width), w, s[r][v], n[r][v]);
            }
        }
    }
    for (int r = 0; r < R; ++r) {
        if (r < valid) {
            storeRow<L, V>(s[r], n[r], bias[r], out + static_cast<std::size_t>(r) * stride);
        }
    }
}

// The same over lists of the weights that aren't zero. A zero weight adds a zero to a sum that is
// never -0.0, so leaving it out changes nothing; lists of one tile are filled up with such zeros.
template <class L, int V, int R>
void sparseTile(const std::uint32_t* index, const double* value, const std::uint32_t* counts,
                std::size_t listStride, const double* bias, int valid, const double* in,
                double* out) {
    constexpr std::size_t stride = static_cast<std::size_t>(batchVectors * L::width);
    using Vector = typename L::Vector;
    const std::uint32_t* place[std::size_t{R}];
    const double* weight[std::size_t{R}];
    std::size_t steps = 0;
    for (int r = 0; r < R; ++r) {
        const std::size_t at = static_cast<std::size_t>(r < valid ? r : valid - 1);
        place[r] = index + at * listStride;
        weight[r] = value + at * listStride;
        steps = counts[at] > steps ? counts[at] : steps;
    }
    Vector s[std::size_t{R}][std::size_t{V}];
    Vector n[std::size_t{R}][std::size_t{V}];
    for (int r = 0; r < R; ++r) {
        for (int v = 0; v < V; ++v) {
            s[r][v] = L::broadcast(0.0);
            n[r][v] = L::broadcast(0.0);
        }
    }
    for (std::size_t k = 0; k < steps; ++k) {
        for (int r = 0; r < R; ++r) {
            const double* const x = in + place[r][k] * stride;
            const Vector w = L::broadcast(weight[r][k]);
            for (int v = 0; v < V; ++v) {
                accumulate<L>(L::load(x + v * L::width), w, s[r][v], n[r][v]);
            }
        }
    }
    for (int r = 0; r < R; ++r) {
        if (r < valid) {
            storeRow<L, V>(s[r], n[r], bias[r], out + static_cast<std::size_t>(r) * stride);
        }
    }
}

template <class L, int V>
void runBatch(const LayerBlock& block, const double* in, double* out) {
    constexpr std::size_t stride = static_cast<std::size_t>(batchVectors * L::width);
    constexpr int R = tileRows<L, V>();
    for (std::size_t r = 0; r < block.rowCount; r += R) {
        const std::size_t left = block.rowCount - r;
        const int valid = left < static_cast<std::size_t>(R) ? static_cast<int>(left) : R;
        if (block.listIndex == nullptr) {
            denseTile<L, V, R>(block.rows + r, block.bias + r, valid, block.columns, in,
                               out + r * stride);
        } else {
            const std::size_t at = r * block.listStride;
            sparseTile<L, V, R>(block.listIndex + at, block.listValue + at, block.listCounts + r,
                                block.listStride, block.bias + r, valid, in, out + r * stride);
        }
    }
}

template <class L>
void runBlock(const LayerBlock& block) {
    constexpr std::size_t width = static_cast<std::size_t>(L::width);
    constexpr std::size_t batchLanes = batchVectors * width;
    const double* in = block.inputs;
    double* out = block.sums;
    for (std::size_t first = 0; first < block.lanes; first += batchLanes) {
        const std::size_t left = block.lanes - first;
        if (left > 2 * width) {
            runBatch<L, 3>(block, in, out);
        } else if (left > width) {
            runBatch<L, 2>(block, in, out);
        } else {
            runBatch<L, 1>(block, in, out);
        }
        in += block.inputStride;
        out += block.sumStride;
    }
}

}  // namespace
}  // namespace orvix::networks
