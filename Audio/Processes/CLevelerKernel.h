#pragma once
#include <cstdint>

namespace orl {

// The element-wise loops of the level detectors: the magnitude, and the ways the leveler
// combines the channels of a group. Both builds (plain and AVX2+FMA) come from one source and
// fill this table; the table is chosen once at start, and modules call through it.
//
// Every kernel is element-wise, so `dst` may be the very same array as any input; arrays that
// overlap at an offset are not allowed. `count` may be 0. Kernels over channels take
// `channels` >= 1 source arrays.
struct CLevelerKernel {
    const char* name;
    // dst = |src|: only the sign bit is cleared.
    void (*magnitude)(double* dst, const double* src, int32_t count);
    // dst = the sample-wise maximum (minimum) over the channels.
    void (*maximum)(double* dst, const double* const* src, int32_t channels, int32_t count);
    void (*minimum)(double* dst, const double* const* src, int32_t channels, int32_t count);
    // dst = (sum over the channels of src) * factor.
    void (*sum)(double* dst, const double* const* src, int32_t channels, double factor, int32_t count);
    // dst = (sum over the channels of src^2) * factor.
    void (*sumSquares)(double* dst, const double* const* src, int32_t channels, double factor, int32_t count);
    // dst = a + (b - a) * t.
    void (*mix)(double* dst, const double* a, const double* b, double t, int32_t count);
    // dst = a^2 + (b - a^2) * t.
    void (*mixFromSquare)(double* dst, const double* a, const double* b, double t, int32_t count);
    // dst = src^2.
    void (*square)(double* dst, const double* src, int32_t count);
    // dst = sqrt(src), correctly rounded in both builds.
    void (*squareRoot)(double* dst, const double* src, int32_t count);

    // The build chosen for this processor (ORL_FORCE_PLAIN=1 keeps the plain one).
    static const CLevelerKernel& get();
    static const CLevelerKernel& plain();
    // Null when the processor lacks AVX2 or FMA.
    static const CLevelerKernel* avx2();
};

}  // namespace orl
