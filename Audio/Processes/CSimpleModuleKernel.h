#pragma once
#include <cstdint>

namespace orl {

// The sample loops of the small signal modules: the gain signal's product, the gain stage and
// the mid/side pair routines. Both builds (plain and AVX2+FMA) come from one source and fill
// this table; the table is chosen once at start, and modules call through it.
//
// Every kernel is element-wise and forms each result before it stores it, so an output may be
// the very same array as an input; arrays that overlap at an offset are not allowed. `count`
// may be 0. None of the loops has a product that could be fused with a sum, so both builds give
// the very same results.
struct CSimpleModuleKernel {
    const char* name;
    // dst = a * b.
    void (*multiply)(double* dst, const double* a, const double* b, int32_t count);
    // dst = (1 - b) * a.
    void (*multiplyInverted)(double* dst, const double* a, const double* b, int32_t count);
    // dst = a / b; a zero in b gives the processor's infinity or not-a-number.
    void (*divide)(double* dst, const double* a, const double* b, int32_t count);
    // dst = factor * src.
    void (*scale)(double* dst, const double* src, double factor, int32_t count);
    // x = (a + b) / 2, y = (a - b) / 2.
    void (*msEncode)(double* x, double* y, const double* a, const double* b, int32_t count);
    // x = a + b, y = a - b.
    void (*msDecode)(double* x, double* y, const double* a, const double* b, int32_t count);

    // The build chosen for this processor (ORL_FORCE_PLAIN=1 keeps the plain one).
    static const CSimpleModuleKernel& get();
    static const CSimpleModuleKernel& plain();
    // Null when the processor lacks AVX2 or FMA.
    static const CSimpleModuleKernel* avx2();
};

}  // namespace orl
