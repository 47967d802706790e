#include "networks/layer_kernel.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "base/cpu.h"

namespace orvix::networks {
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

// The weights of a few rows that aren't zero, by row and column.
struct SparseRows {
    std::uint32_t counts[layerBlockRows] = {};
    std::size_t stride = 0;
    std::unique_ptr<std::uint32_t[]> index;
    std::unique_ptr<double[]> value;
};

std::uint32_t countWeights(const double* row, std::size_t length) {
    std::uint32_t count = 0;
    for (std::size_t j = 0; j < length; ++j) {
        count += row[j] != 0.0 ? 1u : 0u;
    }
    return count;
}

// Lists in place of rows that are zero for a quarter or more, or that end early. False where the
// rows themselves are the better form.
bool listRows(const LayerView& layer, std::size_t first, std::size_t count, SparseRows& lists) {
    bool brief = false;
    std::size_t weights = 0;
    std::uint32_t longest = 0;
    for (std::size_t r = 0; r < count; ++r) {
        brief = brief || layer.lengths[first + r] < layer.inputs;
        lists.counts[r] = countWeights(layer.rows[first + r], layer.lengths[first + r]);
        weights += lists.counts[r];
        longest = std::max(longest, lists.counts[r]);
    }
    if (!brief && weights * 4 > count * layer.inputs * 3) {
        return false;
    }
    // One place more than the longest list: the loop below writes before it counts.
    lists.stride = std::size_t{longest} + 1;
    lists.index.reset(new std::uint32_t[count * lists.stride]);
    lists.value.reset(new double[count * lists.stride]);
    for (std::size_t r = 0; r < count; ++r) {
        const double* const row = layer.rows[first + r];
        std::uint32_t* const index = lists.index.get() + r * lists.stride;
        double* const value = lists.value.get() + r * lists.stride;
        std::size_t used = 0;
        for (std::uint32_t j = 0; j < layer.lengths[first + r]; ++j) {
            index[used] = j;
            value[used] = row[j];
            used += row[j] != 0.0 ? 1u : 0u;
        }
        std::fill(index + used, index + lists.stride, 0u);
        std::fill(value + used, value + lists.stride, 0.0);
    }
    return true;
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
    const std::size_t lanes = kernel.batchLanes;
    LayerBlock job{};
    job.rows = layer.rows.data() + first;
    job.bias = layer.bias + first;
    job.rowCount = count;
    job.columns = layer.inputs;
    job.inputs = in.batch(0);
    job.inputStride = in.batchStride();
    job.sums = out.batch(0) + first * lanes;
    job.sumStride = out.batchStride();
    job.lanes = in.lanes();
    SparseRows lists;
    if (listRows(layer, first, count, lists)) {
        job.listIndex = lists.index.get();
        job.listValue = lists.value.get();
        job.listCounts = lists.counts;
        job.listStride = lists.stride;
    }
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
    const InstructionLevel level = instructionLevel();
    if (level >= InstructionLevel::avx2 && avx2LayerKernel() != nullptr) {
        kernels.push_back(avx2LayerKernel());
    }
    if (level >= InstructionLevel::avx512 && avx512LayerKernel() != nullptr) {
        kernels.push_back(avx512LayerKernel());
    }
    return kernels;
}

const LayerKernel& bestLayerKernel() {
    return *availableLayerKernels().back();
}

}  // namespace orvix::networks
