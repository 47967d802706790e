#pragma once

#include <cstddef>
#include <cstdint>

// The boundary between the layer kernel and its instruction set specific parts. Those parts are
// compiled with flags of their own, so this header holds plain data only and no inline function:
// a linker would be free to keep the copy that needs the newer processor for everyone.

namespace orvix::networks {

/// A few rows of one layer against many input vectors. Vectors are laid out in batches of
/// LayerKernel::batchLanes; within a batch the value of column c and lane l is at
/// [c * batchLanes + l]. Lanes beyond `lanes` are computed and have no meaning.
/// All inputs must be finite.
struct LayerBlock {
    const double* const* rows;  ///< rowCount pointers to `columns` weights each
    const double* bias;         ///< rowCount biases
    std::size_t rowCount;       ///< 1 to layerBlockRows
    std::size_t columns;        ///< length of an input vector
    const double* inputs;       ///< first batch of inputs
    std::size_t inputStride;    ///< doubles from batch to batch
    double* sums;               ///< row 0 of this block in the first batch of results
    std::size_t sumStride;      ///< doubles from batch to batch
    std::size_t lanes;          ///< number of input vectors

    // Instead of `rows`, if listIndex isn't null: per row the columns and weights that count, row r
    // from r * listStride on, filled up to that length with column 0 and weight 0.0.
    const std::uint32_t* listIndex;
    const double* listValue;
    const std::uint32_t* listCounts;
    std::size_t listStride;
};

/// Rows that are worked on together: few enough that their weights stay in the second level cache
/// while all batches pass, and a multiple of every tile height.
inline constexpr std::size_t layerBlockRows = 12;

/// One way to compute the row sums of a block.
struct LayerKernel {
    const char* name;
    std::size_t batchLanes;
    void (*run)(const LayerBlock& block);
};

/// Null when the compiler did not build that form. The caller tests the processor.
const LayerKernel* portableLayerKernel();
const LayerKernel* avx2LayerKernel();
const LayerKernel* avx512LayerKernel();

}  // namespace orvix::networks
