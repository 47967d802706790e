// Built with AVX-512F switched on; run only after the processor has been asked. Includes nothing
// that holds inline functions.
#include "networks/layer_block.h"

#ifdef __AVX512F__
#include <immintrin.h>

#include "networks/layer_tiles.h"

namespace orvix::networks {
namespace {

struct Avx512Lanes {
    using Vector = __m512d;
    static constexpr int width = 8;
    static constexpr int registers = 32;
    static Vector load(const double* p) { return _mm512_loadu_pd(p); }
    static void store(double* p, Vector v) { _mm512_storeu_pd(p, v); }
    static Vector broadcast(double x) { return _mm512_set1_pd(x); }
    static Vector add(Vector a, Vector b) { return _mm512_add_pd(a, b); }
    static Vector sub(Vector a, Vector b) { return _mm512_sub_pd(a, b); }
    static Vector mul(Vector a, Vector b) { return _mm512_mul_pd(a, b); }
    static Vector trunc(Vector a) {
        // The unmasked form makes g++ 12 warn of an uninitialised variable of its own header.
        return _mm512_mask_roundscale_pd(a, 0xff, a, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    }
};

constexpr LayerKernel kernel = {"avx512", batchVectors* Avx512Lanes::width, runBlock<Avx512Lanes>};

}  // namespace

const LayerKernel* avx512LayerKernel() {
    return &kernel;
}

}  // namespace orvix::networks
#else
namespace orvix::networks {

const LayerKernel* avx512LayerKernel() {
    return nullptr;
}

}  // namespace orvix::networks
#endif
