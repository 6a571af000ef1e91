#pragma once
#include <cstdint>

namespace orl {

struct CPolyCompState;

// The sample routine of the multi-stage gain computer, run over a block: product of the
// stages, level, curve, target, cascade, out-gain glide, output. Both builds (plain and
// AVX2+FMA) come from one source and fill the same table; the table is chosen once at start.
// `in` holds level samples (>= 0), `out` receives linear gains; they may be the same array.
struct CPolyCompKernels {
    const char* name;
    // The routine step by step, with the library's log and exp: the reference.
    void (*runDirect)(CPolyCompState& state, const double* in, double* out, int32_t count);
    // The same results within rounding, with a short dependency chain from one sample's target
    // to the next: the cascade as a part from the previous state plus a fixed multiple of the
    // target, the level's log of a whole block at once, and short-latency log and exp.
    void (*runFast)(CPolyCompState& state, const double* in, double* out, int32_t count);

    // The build chosen for this processor; ORL_FORCE_PLAIN=1 keeps the plain one.
    static const CPolyCompKernels& get();
    static const CPolyCompKernels& plain();
    // Null when the processor lacks AVX2 or FMA.
    static const CPolyCompKernels* avx2();
};

}  // namespace orl
