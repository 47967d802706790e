// The form for every processor: two lanes where SSE2 is part of the baseline, else one.
#include "networks/layer_tiles.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace orvix::networks {
namespace {

// Rounds toward zero. From 2^52 on a double is whole; NaN stays.
inline double truncate(double x) {
    constexpr double wholeFrom = 4503599627370496.0;
    return x > -wholeFrom && x < wholeFrom ? static_cast<double>(static_cast<std::int64_t>(x)) : x;
}

#ifdef __SSE2__
struct PortableLanes {
    using Vector = __m128d;
    static constexpr int width = 2;
    static constexpr int registers = 16;
    static Vector load(const double* p) { return _mm_loadu_pd(p); }
    static void store(double* p, Vector v) { _mm_storeu_pd(p, v); }
    static Vector broadcast(double x) { return _mm_set1_pd(x); }
    static Vector add(Vector a, Vector b) { return _mm_add_pd(a, b); }
    static Vector sub(Vector a, Vector b) { return _mm_sub_pd(a, b); }
    static Vector mul(Vector a, Vector b) { return _mm_mul_pd(a, b); }
    static Vector trunc(Vector a) {
        const __m128i whole = _mm_cvttpd_epi32(a);
        // What doesn't fit into 32 bits converts to this value.
        const __m128i outside = _mm_cmpeq_epi32(whole, _mm_set1_epi32(INT32_MIN));
        if (_mm_movemask_epi8(outside) != 0) {
            alignas(16) double lane[2];
            _mm_store_pd(lane, a);
            return _mm_set_pd(truncate(lane[1]), truncate(lane[0]));
        }
        return _mm_cvtepi32_pd(whole);
    }
};
#else
struct PortableLanes {
    using Vector = double;
    static constexpr int width = 1;
    static constexpr int registers = 16;
    static Vector load(const double* p) { return *p; }
    static void store(double* p, Vector v) { *p = v; }
    static Vector broadcast(double x) { return x; }
    static Vector add(Vector a, Vector b) { return a + b; }
    static Vector sub(Vector a, Vector b) { return a - b; }
    static Vector mul(Vector a, Vector b) { return a * b; }
    static Vector trunc(Vector a) { return truncate(a); }
};
#endif

constexpr LayerKernel kernel = {"portable", batchVectors* PortableLanes::width,
                                runBlock<PortableLanes>};

}  // namespace

const LayerKernel* portableLayerKernel() {
    return &kernel;
}

}  // namespace orvix::networks
