// The level detectors' loops, written once and compiled once per instruction set: a source that
// includes this file defines ORL_KERNEL_NS (the namespace) and ORL_KERNEL_NAME (the table's
// name) first and gets the kernels and their table `kLevelerTable` in orl::ORL_KERNEL_NS. No
// include guard on purpose.
//
// The loops are plain C++ shaped so that the compiler vectorises them at the project's -O2:
// element-wise loops go in groups of four (all four results before any store, so dst may be a
// source); loops over the channels of a group work on chunks of a fixed length in a local
// accumulator, which the compiler vectorises whole, and store the chunk only at its end, so dst
// may be one of the sources there too.
#ifndef ORL_KERNEL_NS
#error "define ORL_KERNEL_NS before including CLevelerKernelBody.h"
#endif

#include <immintrin.h>

#include <cmath>

#include "Audio/Kernels/CKernelLoop.h"
#include "Audio/Processes/CLevelerKernel.h"

namespace orl::ORL_KERNEL_NS {


static void magnitude(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = std::fabs(src[i + k]);
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void mix(double* dst, const double* a, const double* b, double t, int32_t count) {
#define ORL_STEP(k) const double r##k = a[i + k] + (b[i + k] - a[i + k]) * t;
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void mixFromSquare(double* dst, const double* a, const double* b, double t, int32_t count) {
#define ORL_STEP(k)                                 \
    const double own##k = a[i + k] * a[i + k];      \
    const double r##k = own##k + (b[i + k] - own##k) * t;
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void square(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = src[i + k] * src[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}


// The library square root may set errno, which keeps the compiler from vectorising it; the
// instruction itself is correctly rounded, so both builds give the very same results.
static void squareRoot(double* dst, const double* src, int32_t count) {
    int32_t i = 0;
#if defined(__AVX__)
    for (; i + 4 <= count; i += 4) _mm256_storeu_pd(dst + i, _mm256_sqrt_pd(_mm256_loadu_pd(src + i)));
#endif
    for (; i + 2 <= count; i += 2) _mm_storeu_pd(dst + i, _mm_sqrt_pd(_mm_loadu_pd(src + i)));
    for (; i < count; ++i) dst[i] = _mm_cvtsd_f64(_mm_sqrt_sd(_mm_setzero_pd(), _mm_set_sd(src[i])));
}

// Chunks of the channel loops: short enough for the accumulator to stay in the first-level
// cache, a multiple of every vector width.
constexpr int32_t kChunk = 64;

// dst = last(step(...step(first(src[0]), src[1])..., src[channels - 1])), element by element.
// The full chunks run loops of a constant length, which the compiler vectorises; the tail of a
// block runs the same steps on the few samples that are left.
template <class First, class Step, class Last>
static inline void overChannels(double* dst, const double* const* src, int32_t channels, int32_t count,
                                First first, Step step, Last last) {
    double acc[kChunk];
    int32_t base = 0;
    for (; base + kChunk <= count; base += kChunk) {
        const double* s0 = src[0] + base;
        for (int32_t i = 0; i < kChunk; ++i) acc[i] = first(s0[i]);
        for (int32_t c = 1; c < channels; ++c) {
            const double* s = src[c] + base;
            for (int32_t i = 0; i < kChunk; ++i) acc[i] = step(acc[i], s[i]);
        }
        double* d = dst + base;
        for (int32_t i = 0; i < kChunk; ++i) d[i] = last(acc[i]);
    }
    const int32_t n = count - base;
    if (n <= 0) return;
    const double* s0 = src[0] + base;
    for (int32_t i = 0; i < n; ++i) acc[i] = first(s0[i]);
    for (int32_t c = 1; c < channels; ++c) {
        const double* s = src[c] + base;
        for (int32_t i = 0; i < n; ++i) acc[i] = step(acc[i], s[i]);
    }
    double* d = dst + base;
    for (int32_t i = 0; i < n; ++i) d[i] = last(acc[i]);
}

static void maximum(double* dst, const double* const* src, int32_t channels, int32_t count) {
    overChannels(
        dst, src, channels, count, [](double x) { return x; },
        [](double acc, double x) { return acc < x ? x : acc; }, [](double acc) { return acc; });
}

static void minimum(double* dst, const double* const* src, int32_t channels, int32_t count) {
    overChannels(
        dst, src, channels, count, [](double x) { return x; },
        [](double acc, double x) { return x < acc ? x : acc; }, [](double acc) { return acc; });
}

static void sum(double* dst, const double* const* src, int32_t channels, double factor, int32_t count) {
    overChannels(
        dst, src, channels, count, [](double x) { return x; }, [](double acc, double x) { return acc + x; },
        [factor](double acc) { return acc * factor; });
}

static void sumSquares(double* dst, const double* const* src, int32_t channels, double factor, int32_t count) {
    overChannels(
        dst, src, channels, count, [](double x) { return x * x; },
        [](double acc, double x) { return acc + x * x; }, [factor](double acc) { return acc * factor; });
}

extern const CLevelerKernel kLevelerTable;
const CLevelerKernel kLevelerTable = {
    ORL_KERNEL_NAME, magnitude, maximum, minimum, sum, sumSquares, mix, mixFromSquare, square, squareRoot,
};

}  // namespace orl::ORL_KERNEL_NS
