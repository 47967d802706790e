// Built with AVX2 switched on; run only after the processor has been asked. Includes nothing that
// holds inline functions.
#include "networks/layer_block.h"

#ifdef __AVX2__
#include <immintrin.h>

#include "networks/layer_tiles.h"

namespace orvix::networks {
namespace {

struct Avx2Lanes {
    using Vector = __m256d;
    static constexpr int width = 4;
    static constexpr int registers = 16;
    static Vector load(const double* p) { return _mm256_loadu_pd(p); }
    static void store(double* p, Vector v) { _mm256_storeu_pd(p, v); }
    static Vector broadcast(double x) { return _mm256_set1_pd(x); }
    static Vector add(Vector a, Vector b) { return _mm256_add_pd(a, b); }
    static Vector sub(Vector a, Vector b) { return _mm256_sub_pd(a, b); }
    static Vector mul(Vector a, Vector b) { return _mm256_mul_pd(a, b); }
    static Vector trunc(Vector a) {
        return _mm256_round_pd(a, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    }
};

constexpr LayerKernel kernel = {"avx2", batchVectors* Avx2Lanes::width, runBlock<Avx2Lanes>};

}  // namespace

const LayerKernel* avx2LayerKernel() {
    return &kernel;
}

}  // namespace orvix::networks
#else
namespace orvix::networks {

const LayerKernel* avx2LayerKernel() {
    return nullptr;
}

}  // namespace orvix::networks
#endif
