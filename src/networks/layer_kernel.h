#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "networks/layer_block.h"
#include "networks/layer_lists.h"

namespace orvix::networks {

/// The weights of one layer, read where their owner keeps them: valid as long as the rows are.
/// A row longer than the input counts to the input's length; a shorter one, or none, adds the
/// products that it has.
struct LayerView {
    std::vector<const double*> rows;
    std::vector<std::uint32_t> lengths;  ///< each at most `inputs`
    const double* bias = nullptr;        ///< one for each row
    std::size_t inputs = 0;              ///< length of an input vector
    /// By block, made once by the owner of the weights; empty: made anew by each call. A row of a
    /// block with lists may be null where the lists are all that is kept.
    std::vector<ListedRows> lists;
};

enum class Activation { linear, tanh };

/// 2 / (1 + exp(-2 x)) - 1, with the C library's exp.
double activate(double sum, Activation activation);

/// Reference form: one input vector, one value per row into `out`. A row's sum is carried as a
/// fraction s and a whole part n: after each product the part of s before the point, truncated
/// toward zero, moves to n. The result is s + n + bias, then the activation. Both parts are
/// doubles, so sums beyond 32 bits and infinities have a value, too.
void layerPlain(const LayerView& layer, std::span<const double> input, Activation activation,
                std::span<double> out);

/// Many vectors of one width, laid out for a kernel: batches of `batchLanes` vectors, in a batch
/// column by column. Unused lanes of the last batch are 0.
class LaneBatches {
  public:
    LaneBatches() = default;
    LaneBatches(std::size_t columns, std::size_t lanes, std::size_t batchLanes);

    std::size_t columns() const { return columns_; }
    std::size_t lanes() const { return lanes_; }
    std::size_t batchLanes() const { return batchLanes_; }
    std::size_t batches() const { return batches_; }
    std::size_t batchStride() const { return columns_ * batchLanes_; }
    double* batch(std::size_t index) { return data_.data() + index * batchStride(); }
    const double* batch(std::size_t index) const { return data_.data() + index * batchStride(); }

    /// Copies one vector of `columns()` values into or out of a lane.
    void set(std::size_t lane, std::span<const double> values);
    std::vector<double> get(std::size_t lane) const;

    /// Whether every value is a finite number.
    bool allFinite() const;

  private:
    std::size_t columns_ = 0;
    std::size_t lanes_ = 0;
    std::size_t batchLanes_ = 1;
    std::size_t batches_ = 0;
    std::vector<double> data_;
};

/// Number of blocks that a layer's rows are cut into.
std::size_t layerBlockCount(const LayerView& layer);

/// The lists of all blocks, for the owner of the weights to keep.
LayerLists makeLists(const LayerView& layer);

/// Fast form: the rows of one block for all lanes of `in` into the same rows of `out`, bit for bit
/// what `layerPlain` gives. `finite` tells that `in` holds finite numbers only. Blocks are
/// independent and may run on different threads.
void layerBatch(const LayerKernel& kernel, const LayerView& layer, std::size_t block,
                Activation activation, const LaneBatches& in, bool finite, LaneBatches& out);

/// The kernels that this processor can run, slowest first.
std::vector<const LayerKernel*> availableLayerKernels();

/// The fastest of them.
const LayerKernel& bestLayerKernel();

}  // namespace orvix::networks
