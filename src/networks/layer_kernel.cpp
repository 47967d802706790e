#include "networks/layer_kernel.h"

#include <algorithm>
#include <cmath>

namespace orvix {
namespace {

// Without a finite input a zero weight can't be left out, and such vectors are rare enough for the
// plain form.
void runPlain(const LayerView& layer, std::size_t first, std::size_t count, Activation activation,
              const LaneBatches& in, LaneBatches& out) {
    LayerView part;
    part.rows.assign(layer.rows.begin() + static_cast<std::ptrdiff_t>(first),
                     layer.rows.begin() + static_cast<std::ptrdiff_t>(first + count));
    part.lengths.assign(layer.lengths.begin() + static_cast<std::ptrdiff_t>(first),
                        layer.lengths.begin() + static_cast<std::ptrdiff_t>(first + count));
    part.bias = layer.bias + first;
    part.inputs = layer.inputs;
    std::vector<double> results(count);
    for (std::size_t lane = 0; lane < in.lanes(); ++lane) {
        layerPlain(part, in.get(lane), activation, results);
        double* const batch = out.batch(lane / out.batchLanes());
        for (std::size_t r = 0; r < count; ++r) {
            batch[(first + r) * out.batchLanes() + lane % out.batchLanes()] = results[r];
        }
    }
}

}  // namespace

double activate(double sum, Activation activation) {
    return activation == Activation::tanh ? 2 / (1 + std::exp(-2 * sum)) - 1 : sum;
}

void layerPlain(const LayerView& layer, std::span<const double> input, Activation activation,
                std::span<double> out) {
    for (std::size_t r = 0; r < layer.rows.size(); ++r) {
        const double* const row = layer.rows[r];
        double s = 0.0;
        double n = 0.0;
        for (std::size_t j = 0; j < layer.lengths[r]; ++j) {
            s += input[j] * row[j];
            const double whole = std::trunc(s);
            n += whole;
            s -= whole;
        }
        out[r] = activate(s + n + layer.bias[r], activation);
    }
}

LaneBatches::LaneBatches(std::size_t columns, std::size_t lanes, std::size_t batchLanes)
    : columns_(columns),
      lanes_(lanes),
      batchLanes_(batchLanes),
      batches_((lanes + batchLanes - 1) / batchLanes),
      data_(columns * batches_ * batchLanes) {}

void LaneBatches::set(std::size_t lane, std::span<const double> values) {
    double* const at = batch(lane / batchLanes_) + lane % batchLanes_;
    for (std::size_t c = 0; c < columns_; ++c) {
        at[c * batchLanes_] = values[c];
    }
}

std::vector<double> LaneBatches::get(std::size_t lane) const {
    const double* const at = batch(lane / batchLanes_) + lane % batchLanes_;
    std::vector<double> values(columns_);
    for (std::size_t c = 0; c < columns_; ++c) {
        values[c] = at[c * batchLanes_];
    }
    return values;
}

bool LaneBatches::allFinite() const {
    // The difference of a number with itself is 0, that of an infinity or NaN is NaN.
    unsigned foreign = 0;
    for (const double value : data_) {
        foreign |= value - value == 0.0 ? 0u : 1u;
    }
    return foreign == 0;
}

std::size_t layerBlockCount(const LayerView& layer) {
    return (layer.rows.size() + layerBlockRows - 1) / layerBlockRows;
}

void layerBatch(const LayerKernel& kernel, const LayerView& layer, std::size_t block,
                Activation activation, const LaneBatches& in, bool finite, LaneBatches& out) {
    const std::size_t first = block * layerBlockRows;
    const std::size_t count = std::min(layerBlockRows, layer.rows.size() - first);
    if (!finite) {
        runPlain(layer, first, count, activation, in, out);
        return;
    }
    thread_local std::vector<std::uint32_t> indexScratch;
    thread_local std::vector<double> valueScratch;
    const std::size_t room = std::max<std::size_t>(1, layerBlockRows * layer.inputs);
    if (valueScratch.size() < room) {
        indexScratch.resize(room);
        valueScratch.resize(room);
    }
    const std::size_t lanes = kernel.batchLanes;
    LayerBlock job{};
    job.rows = layer.rows.data() + first;
    job.lengths = layer.lengths.data() + first;
    job.bias = layer.bias + first;
    job.rowCount = count;
    job.columns = layer.inputs;
    job.inputs = in.batch(0);
    job.inputStride = in.batchStride();
    job.sums = out.batch(0) + first * lanes;
    job.sumStride = out.batchStride();
    job.lanes = in.lanes();
    job.indexScratch = indexScratch.data();
    job.valueScratch = valueScratch.data();
    kernel.run(job);

    for (std::size_t b = 0; b < out.batches(); ++b) {
        const std::size_t used = std::min(lanes, out.lanes() - b * lanes);
        for (std::size_t r = first; r < first + count; ++r) {
            double* const row = out.batch(b) + r * lanes;
            if (activation == Activation::tanh) {
                for (std::size_t l = 0; l < used; ++l) {
                    row[l] = activate(row[l], activation);
                }
            }
            std::fill(row + used, row + lanes, 0.0);
        }
    }
}

std::vector<const LayerKernel*> availableLayerKernels() {
    std::vector<const LayerKernel*> kernels{portableLayerKernel()};
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("avx2") && avx2LayerKernel() != nullptr) {
        kernels.push_back(avx2LayerKernel());
    }
    if (__builtin_cpu_supports("avx512f") && avx512LayerKernel() != nullptr) {
        kernels.push_back(avx512LayerKernel());
    }
#endif
    return kernels;
}

const LayerKernel& bestLayerKernel() {
    static const LayerKernel& best = *availableLayerKernels().back();
    return best;
}

}  // namespace orvix
