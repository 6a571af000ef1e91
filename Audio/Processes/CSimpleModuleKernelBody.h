// The small modules' loops, written once and compiled once per instruction set: a source that
// includes this file defines ORL_KERNEL_NS (the namespace), ORL_KERNEL_NAME (the table's name)
// and ORL_KERNEL_TARGET (a function attribute, empty for the plain build) first, and gets the
// kernels and their table `kSimpleModuleTable` in orl::ORL_KERNEL_NS. No include guard on
// purpose.
//
// The instruction set is given per function rather than per file: the functions are static, so
// no inline function of a shared header can come out of this file built for AVX2.
#ifndef ORL_KERNEL_NS
#error "define ORL_KERNEL_NS before including CSimpleModuleKernelBody.h"
#endif

#include "Audio/Kernels/CKernelLoop.h"
#include "Audio/Processes/CSimpleModuleKernel.h"

namespace orl::ORL_KERNEL_NS {

ORL_KERNEL_TARGET static void multiply(double* dst, const double* a, const double* b, int32_t count) {
#define ORL_STEP(k) const double r##k = a[i + k] * b[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

ORL_KERNEL_TARGET static void multiplyInverted(double* dst, const double* a, const double* b, int32_t count) {
#define ORL_STEP(k) const double r##k = (1.0 - b[i + k]) * a[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

ORL_KERNEL_TARGET static void divide(double* dst, const double* a, const double* b, int32_t count) {
#define ORL_STEP(k) const double r##k = a[i + k] / b[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

ORL_KERNEL_TARGET static void scale(double* dst, const double* src, double factor, int32_t count) {
#define ORL_STEP(k) const double r##k = factor * src[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

// Two outputs per element: the loop shape of ORL_BY_FOUR, with both results of each group of
// four formed before any store. Halving is exact, so (a + b) * 0.5 is (a + b) / 2.
#define ORL_PAIR_LOOP(SUM, DIFF)                                                        \
    int32_t i = 0;                                                                      \
    for (; i + 4 <= count; i += 4) {                                                    \
        const double s0 = SUM(0), s1 = SUM(1), s2 = SUM(2), s3 = SUM(3);                \
        const double d0 = DIFF(0), d1 = DIFF(1), d2 = DIFF(2), d3 = DIFF(3);            \
        x[i] = s0, x[i + 1] = s1, x[i + 2] = s2, x[i + 3] = s3;                         \
        y[i] = d0, y[i + 1] = d1, y[i + 2] = d2, y[i + 3] = d3;                         \
    }                                                                                   \
    for (; i < count; ++i) {                                                            \
        const double s0 = SUM(0), d0 = DIFF(0);                                         \
        x[i] = s0;                                                                      \
        y[i] = d0;                                                                      \
    }

ORL_KERNEL_TARGET static void msEncode(double* x, double* y, const double* a, const double* b, int32_t count) {
#define ORL_SUM(k) (a[i + k] + b[i + k]) * 0.5
#define ORL_DIFF(k) (a[i + k] - b[i + k]) * 0.5
    ORL_PAIR_LOOP(ORL_SUM, ORL_DIFF)
#undef ORL_SUM
#undef ORL_DIFF
}

ORL_KERNEL_TARGET static void msDecode(double* x, double* y, const double* a, const double* b, int32_t count) {
#define ORL_SUM(k) a[i + k] + b[i + k]
#define ORL_DIFF(k) a[i + k] - b[i + k]
    ORL_PAIR_LOOP(ORL_SUM, ORL_DIFF)
#undef ORL_SUM
#undef ORL_DIFF
}

#undef ORL_PAIR_LOOP

extern const CSimpleModuleKernel kSimpleModuleTable;
const CSimpleModuleKernel kSimpleModuleTable = {
    ORL_KERNEL_NAME, multiply, multiplyInverted, divide, scale, msEncode, msDecode,
};

}  // namespace orl::ORL_KERNEL_NS
