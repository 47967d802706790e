#include "networks/ensemble_pass.h"

#include <algorithm>
#include <utility>

#include "base/parallel.h"

namespace orvix::networks {
namespace {

constexpr Activation activations[layerCount] = {Activation::tanh, Activation::tanh,
                                                Activation::linear};

// Windows that pass the layers together. It bounds the memory of long inputs and is a multiple of
// every kernel's batch.
constexpr std::size_t groupLanes = 480;

// One layer of all members over one group.
void runLayer(const LayerKernel& kernel, std::span<const Member> members, std::size_t layer,
              const std::vector<const LaneBatches*>& in, std::vector<LaneBatches>& out,
              int threads) {
    // in[m] is the same object for all members in the first layer.
    std::vector<char> finite(members.size());
    std::vector<std::pair<std::size_t, std::size_t>> blocks;
    for (std::size_t m = 0; m < members.size(); ++m) {
        finite[m] = m > 0 && in[m] == in[m - 1] ? finite[m - 1] : in[m]->allFinite() ? 1 : 0;
        const LayerView& view = members[m][layer].view;
        out.emplace_back(view.rows.size(), in[m]->lanes(), kernel.batchLanes);
        for (std::size_t b = 0; b < layerBlockCount(view); ++b) {
            blocks.emplace_back(m, b);
        }
    }
    parallelFor(static_cast<int>(blocks.size()), threads, [&](int i) {
        const auto [m, b] = blocks[static_cast<std::size_t>(i)];
        layerBatch(kernel, members[m][layer].view, b, activations[layer], *in[m], finite[m] != 0,
                   out[m]);
    });
}

}  // namespace

std::string LayerMismatch::text() const {
    return " ANN prediction failed with inconsistent data!\n inp.size(): " +
           std::to_string(inputs) + " w[0].size(): " + std::to_string(columns) +
           "\n w.size(): " + std::to_string(rows) + " b.size(): " + std::to_string(biases) + "\n";
}

std::string LayerMismatch::cause() const {
    const std::string who = "member " + std::to_string(member + 1);
    if (rows < leastRows || biases < leastRows) {
        return who + " has " + std::to_string(std::min(rows, biases)) + " of " +
               std::to_string(leastRows) + " rows";
    }
    if (rows != biases) {
        return who + " has " + std::to_string(rows) + " rows and " + std::to_string(biases) +
               " biases";
    }
    return who + " has " + std::to_string(columns) + " weights for " + std::to_string(inputs) +
           " input values";
}

std::optional<LayerMismatch> checkLayer(std::size_t inputs, const Layer& layer) {
    const LayerView& view = layer.view;
    if (inputs == view.inputs && view.rows.size() == layer.biasCount &&
        view.rows.size() >= layer.leastRows) {
        return std::nullopt;
    }
    LayerMismatch sizes;
    sizes.inputs = inputs;
    sizes.columns = view.inputs;
    sizes.rows = view.rows.size();
    sizes.biases = layer.biasCount;
    sizes.leastRows = layer.leastRows;
    return sizes;
}

std::optional<LayerMismatch> checkEnsemble(std::span<const Member> members,
                                           std::span<const std::size_t> windowLengths) {
    const auto check = [members](std::size_t inputs, std::size_t window, std::size_t layer,
                                 std::size_t member) {
        std::optional<LayerMismatch> mismatch = checkLayer(inputs, members[member][layer]);
        if (mismatch) {
            mismatch->layer = layer;
            mismatch->member = member;
            mismatch->window = window;
        }
        return mismatch;
    };
    if (windowLengths.empty()) {
        return std::nullopt;
    }
    for (std::size_t layer = 0; layer < layerCount; ++layer) {
        for (std::size_t m = 0; m < members.size(); ++m) {
            const std::size_t inputs =
                layer == 0 ? windowLengths[0] : members[m][layer - 1].view.rows.size();
            if (auto mismatch = check(inputs, 0, layer, m)) {
                return mismatch;
            }
        }
    }
    // What the later windows can still get wrong is their own length.
    for (std::size_t w = 1; w < windowLengths.size(); ++w) {
        for (std::size_t m = 0; m < members.size(); ++m) {
            if (auto mismatch = check(windowLengths[w], w, 0, m)) {
                return mismatch;
            }
        }
    }
    return std::nullopt;
}

EnsembleOutput runEnsemble(const LayerKernel& kernel, std::span<const Member> members,
                           std::span<const std::vector<double>* const> windows, int threads) {
    EnsembleOutput results(members.size());
    if (members.empty() || windows.empty()) {
        return results;
    }
    for (std::vector<std::vector<double>>& result : results) {
        result.reserve(windows.size());
    }
    for (std::size_t first = 0; first < windows.size(); first += groupLanes) {
        const std::size_t lanes = std::min(groupLanes, windows.size() - first);
        LaneBatches input(members[0][0].view.inputs, lanes, kernel.batchLanes);
        for (std::size_t l = 0; l < lanes; ++l) {
            input.set(l, *windows[first + l]);
        }
        std::vector<LaneBatches> current;
        for (std::size_t layer = 0; layer < layerCount; ++layer) {
            std::vector<const LaneBatches*> in;
            for (std::size_t m = 0; m < members.size(); ++m) {
                in.push_back(layer == 0 ? &input : &current[m]);
            }
            std::vector<LaneBatches> out;
            runLayer(kernel, members, layer, in, out, threads);
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

EnsembleOutput runEnsemblePlain(std::span<const Member> members,
                                std::span<const std::vector<double>* const> windows) {
    EnsembleOutput results(members.size());
    for (const std::vector<double>* window : windows) {
        for (std::size_t m = 0; m < members.size(); ++m) {
            std::vector<double> values = *window;
            for (std::size_t layer = 0; layer < layerCount; ++layer) {
                const LayerView& view = members[m][layer].view;
                std::vector<double> next(view.rows.size());
                layerPlain(view, values, activations[layer], next);
                values = std::move(next);
            }
            results[m].push_back(std::move(values));
        }
    }
    return results;
}

}  // namespace orvix::networks
