#include "networks/ensemble_pass.h"

#include <algorithm>
#include <utility>

#include "base/parallel.h"
#include "networks/heap_reserve.h"

namespace orvix::networks {
namespace {

constexpr Activation activations[3] = {Activation::tanh, Activation::tanh, Activation::linear};

// Windows that pass the layers together. It bounds the memory of long inputs and is a multiple of
// every kernel's batch.
constexpr std::size_t groupLanes = 480;

std::size_t resultLength(const LayerWeights& weights) {
    return weights.rows->size();
}

std::vector<std::vector<LayerView>> viewMembers(std::span<const MemberWeights> members) {
    std::vector<std::vector<LayerView>> views(members.size());
    for (std::size_t m = 0; m < members.size(); ++m) {
        for (const LayerWeights& layer : members[m].layers) {
            views[m].push_back(viewLayer(layer));
        }
    }
    return views;
}

// One layer of all members over one group.
void runLayer(const LayerKernel& kernel, const std::vector<std::vector<LayerView>>& views,
              std::size_t layer, const std::vector<const LaneBatches*>& in,
              std::vector<LaneBatches>& out, int threads) {
    // in[m] is the same object for all members in the first layer.
    std::vector<char> finite(views.size());
    std::vector<std::pair<std::size_t, std::size_t>> blocks;
    for (std::size_t m = 0; m < views.size(); ++m) {
        finite[m] = m > 0 && in[m] == in[m - 1] ? finite[m - 1] : in[m]->allFinite() ? 1 : 0;
        out.emplace_back(views[m][layer].rows.size(), in[m]->lanes(), kernel.batchLanes);
        for (std::size_t b = 0; b < layerBlockCount(views[m][layer]); ++b) {
            blocks.emplace_back(m, b);
        }
    }
    parallelFor(static_cast<int>(blocks.size()), threads, [&](int i) {
        const auto [m, b] = blocks[static_cast<std::size_t>(i)];
        layerBatch(kernel, views[m][layer], b, activations[layer], *in[m], finite[m] != 0, out[m]);
    });
}

}  // namespace

std::string LayerMismatch::text() const {
    return " ANN prediction failed with inconsistent data!\n inp.size(): " +
           std::to_string(inputs) + " w[0].size(): " + std::to_string(columns) +
           "\n w.size(): " + std::to_string(rows) + " b.size(): " + std::to_string(biases) + "\n";
}

std::optional<LayerMismatch> checkLayer(std::size_t inputs, const LayerWeights& weights) {
    LayerMismatch sizes;
    sizes.inputs = inputs;
    sizes.columns = (*weights.rows)[0].size();
    sizes.rows = weights.rows->size();
    sizes.biases = weights.bias->size();
    if (sizes.inputs != sizes.columns || sizes.rows != sizes.biases ||
        sizes.rows < weights.leastRows) {
        return sizes;
    }
    return std::nullopt;
}

std::optional<LayerMismatch> checkEnsemble(std::span<const MemberWeights> members,
                                           std::span<const std::size_t> windowLengths) {
    if (members.empty() || windowLengths.empty()) {
        return std::nullopt;
    }
    for (std::size_t layer = 0; layer < 3; ++layer) {
        for (const MemberWeights& member : members) {
            const std::size_t inputs =
                layer == 0 ? windowLengths[0] : resultLength(member.layers[layer - 1]);
            if (const auto mismatch = checkLayer(inputs, member.layers[layer])) {
                return mismatch;
            }
        }
    }
    // What the later windows can still get wrong is their own length.
    for (const std::size_t length : windowLengths) {
        for (const MemberWeights& member : members) {
            if (const auto mismatch = checkLayer(length, member.layers[0])) {
                return mismatch;
            }
        }
    }
    return std::nullopt;
}

LayerView viewLayer(const LayerWeights& weights) {
    LayerView view;
    const std::size_t rowCount = weights.rows->size();
    view.rows.reserve(rowCount);
    view.lengths.reserve(rowCount);
    view.bias = weights.bias->data();
    const auto first = weights.rows->find(0);
    view.inputs = first == weights.rows->end() ? 0 : first->second.size();
    // Keys run from 0 without a gap unless a caller made the map by hand.
    auto row = first;
    for (std::size_t i = 0; i < rowCount; ++i) {
        if (row != weights.rows->end() && row->first == static_cast<int>(i)) {
            view.rows.push_back(row->second.data());
            view.lengths.push_back(
                static_cast<std::uint32_t>(std::min(row->second.size(), view.inputs)));
            ++row;
        } else {
            view.rows.push_back(nullptr);
            view.lengths.push_back(0);
        }
    }
    return view;
}

EnsembleOutput runEnsemble(const LayerKernel& kernel, std::span<const MemberWeights> members,
                           std::span<const std::vector<double>* const> windows, int threads) {
    EnsembleOutput results(members.size());
    if (members.empty() || windows.empty()) {
        return results;
    }
    const std::vector<std::vector<LayerView>> views = viewMembers(members);
    for (std::vector<std::vector<double>>& result : results) {
        result.reserve(windows.size());
    }
    std::size_t values = views[0][0].inputs;
    for (const std::vector<LayerView>& member : views) {
        for (const LayerView& layer : member) {
            values += layer.rows.size();
        }
    }
    reserveHeap(values * std::min(groupLanes, windows.size()) * sizeof(double));
    for (std::size_t first = 0; first < windows.size(); first += groupLanes) {
        const std::size_t lanes = std::min(groupLanes, windows.size() - first);
        LaneBatches input(views[0][0].inputs, lanes, kernel.batchLanes);
        for (std::size_t l = 0; l < lanes; ++l) {
            input.set(l, *windows[first + l]);
        }
        std::vector<LaneBatches> current;
        for (std::size_t layer = 0; layer < 3; ++layer) {
            std::vector<const LaneBatches*> in;
            for (std::size_t m = 0; m < members.size(); ++m) {
                in.push_back(layer == 0 ? &input : &current[m]);
            }
            std::vector<LaneBatches> out;
            runLayer(kernel, views, layer, in, out, threads);
            current = std::move(out);
        }
        for (std::size_t m = 0; m < members.size(); ++m) {
            for (std::size_t l = 0; l < lanes; ++l) {
                results[m].push_back(current[m].get(l));
            }
        }
    }
    return results;
}

EnsembleOutput runEnsemblePlain(std::span<const MemberWeights> members,
                                std::span<const std::vector<double>* const> windows) {
    EnsembleOutput results(members.size());
    const std::vector<std::vector<LayerView>> views = viewMembers(members);
    for (const std::vector<double>* window : windows) {
        for (std::size_t m = 0; m < members.size(); ++m) {
            std::vector<double> values = *window;
            for (std::size_t layer = 0; layer < 3; ++layer) {
                std::vector<double> next(views[m][layer].rows.size());
                layerPlain(views[m][layer], values, activations[layer], next);
                values = std::move(next);
            }
            results[m].push_back(std::move(values));
        }
    }
    return results;
}

}  // namespace orvix::networks
