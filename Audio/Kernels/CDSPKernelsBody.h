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
#include "Audio/Kernels/CKernelLoop.h"

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

static void copy(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = src[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void fill(double* dst, double value, int32_t count) {
#define ORL_STEP(k) const double r##k = value;
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void add(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = dst[i + k] + src[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void maximum(double* dst, const double* src, int32_t count) {
#define ORL_STEP(k) const double r##k = dst[i + k] < src[i + k] ? src[i + k] : dst[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void scale(double* dst, double factor, int32_t count) {
#define ORL_STEP(k) const double r##k = dst[i + k] * factor;
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}

static void multiply(double* dst, const double* a, const double* b, int32_t count) {
#define ORL_STEP(k) const double r##k = a[i + k] * b[i + k];
    ORL_BY_FOUR(count, ORL_STEP)
#undef ORL_STEP
}


extern const CDSPKernels kTable;
const CDSPKernels kTable = {
    ORL_KERNEL_NAME, crossfade, copy, fill, add, maximum, scale, multiply,
};

}  // namespace orl::ORL_KERNEL_NS
