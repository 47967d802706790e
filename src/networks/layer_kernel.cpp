#include "networks/layer_kernel.h"

#include <algorithm>
#include <cmath>

#include "base/cpu.h"

namespace orvix::networks {
namespace {

// Without a finite input a zero weight can't be left out, and such vectors are rare enough for the
// plain form. Rows that are kept as lists alone are written out first.
void runPlain(const LayerView& layer, std::size_t first, std::size_t count, Activation activation,
              const LaneBatches& in, const ListedRows& listed, LaneBatches& out) {
    LayerView part;
    part.rows.assign(layer.rows.begin() + static_cast<std::ptrdiff_t>(first),
                     layer.rows.begin() + static_cast<std::ptrdiff_t>(first + count));
    std::vector<double> written;
    if (listed.index != nullptr && part.rows.front() == nullptr) {
        written.assign(count * layer.inputs, 0.0);
        for (std::size_t r = 0; r < count; ++r) {
            double* const row = written.data() + r * layer.inputs;
            for (std::size_t k = r * listed.stride; k < r * listed.stride + listed.counts[r]; ++k) {
                row[listed.index[k]] = listed.value[k];
            }
            part.rows[r] = row;
        }
    }
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

LayerLists makeLists(const LayerView& layer) {
    LayerLists lists;
    for (std::size_t block = 0; block < layerBlockCount(layer); ++block) {
        const std::size_t count = blockRowCount(layer.rows.size(), block);
        appendLists(std::span(layer.rows).subspan(block * layerBlockRows, count),
                    std::span(layer.lengths).subspan(block * layerBlockRows, count), layer.inputs,
                    lists);
    }
    return lists;
}

void layerBatch(const LayerKernel& kernel, const LayerView& layer, std::size_t block,
                Activation activation, const LaneBatches& in, bool finite, LaneBatches& out) {
    const std::size_t first = block * layerBlockRows;
    const std::size_t count = blockRowCount(layer.rows.size(), block);
    LayerLists made;
    ListedRows listed;
    if (!layer.lists.empty()) {
        listed = layer.lists[block];
    } else if (finite) {
        appendLists(std::span(layer.rows).subspan(first, count),
                    std::span(layer.lengths).subspan(first, count), layer.inputs, made);
        listed = listedRows({made.strides, made.counts, made.index, made.value}, count).front();
    }
    if (!finite) {
        runPlain(layer, first, count, activation, in, listed, out);
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
    job.listIndex = listed.index;
    job.listValue = listed.value;
    job.listCounts = listed.counts;
    job.listStride = listed.stride;
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
