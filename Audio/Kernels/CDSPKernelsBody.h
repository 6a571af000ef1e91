// The hot loops, written once and compiled once per instruction set: a source that includes this
// file defines ORL_KERNEL_NS (the namespace) and ORL_KERNEL_NAME (the table's name) first and
// gets the kernels and their table `kTable` in orl::ORL_KERNEL_NS. No include guard on purpose.
//
// The loops are plain C++ that the compiler vectorises. Aliasing: every kernel is element-wise
// (element i of the result depends only on element i of the inputs), so an output may be the
// very same array as an input; arrays that overlap at an offset are not allowed.
#ifndef ORL_KERNEL_NS
#error "define ORL_KERNEL_NS before including CDSPKernelsBody.h"
#endif

#include "Audio/Kernels/CDSPKernels.h"

namespace orl::ORL_KERNEL_NS {

// The fade weight is a serial recursion, so this loop is bound by its latency; the state stays
// in registers for the whole call and goes back into `fade` at the end, so that a fade can run
// on across calls.
static void crossfade(double* out, const double* from, const double* to, int32_t count, CRaisedCosine& fade) {
    double s = fade.current;
    double prev = fade.previous;
    const double k = fade.twoCosW;
    for (int32_t i = 0; i < count; ++i) {
        const double a = from[i];
        const double b = to[i];
        out[i] = (0.5 + s) * a + (0.5 - s) * b;
        const double nextS = k * s - prev;
        prev = s;
        s = nextS;
    }
    fade.current = s;
    fade.previous = prev;
}

// Groups of four: four results, then four stores, then a scalar tail. At the project's -O2 the
// compiler leaves a plain loop of unknown length scalar but turns such a group into one or two
// vector operations. Since all four results are formed before any store, dst may be a source.
#define ORL_KERNEL_BY_FOUR(count, STEP)      \
    int32_t i = 0;                            \
    for (; i + 4 <= (count); i += 4) {        \
        STEP(0) STEP(1) STEP(2) STEP(3)       \
        ORL_STORE(0) ORL_STORE(1) ORL_STORE(2) ORL_STORE(3) \
    }                                         \
    for (; i < (count); ++i) {                \
        STEP(0) ORL_STORE(0)                  \
    }
#define ORL_STORE(k) dst[i + k] = r##k;

static void copy(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = src[i + k];
    ORL_KERNEL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void fill(double* dst, double value, int32_t count) {
#define ORL_STEP(k) const double r##k = value;
    ORL_KERNEL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void add(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = dst[i + k] + src[i + k];
    ORL_KERNEL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void maximum(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = dst[i + k] < src[i + k] ? src[i + k] : dst[i + k];
    ORL_KERNEL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void scale(double* dst, double factor, int32_t count) {
#define ORL_STEP(k) const double r##k = dst[i + k] * factor;
    ORL_KERNEL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void multiply(double* dst, const double* a, const double* b, int32_t count) {
#define ORL_STEP(k) const double r##k = a[i + k] * b[i + k];
    ORL_KERNEL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

#undef ORL_STORE
#undef ORL_KERNEL_BY_FOUR

extern const CDSPKernels kTable;
const CDSPKernels kTable = {
    ORL_KERNEL_NAME, crossfade, copy, fill, add, maximum, scale, multiply,
};

}  // namespace orl::ORL_KERNEL_NS
