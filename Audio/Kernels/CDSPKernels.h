#pragma once
#include <cstdint>

namespace orl {

// State of the raised-cosine oscillator s[n] = 0.5 * cos(pi * n / L), run by the recursion
// s[n+1] = 2 cos(w) s[n] - s[n-1] with w = pi / L, s[0] = 0.5, s[-1] = 0.5 cos(w). The same
// fade serves module crossfades, delay changes and coefficient changes.
struct CRaisedCosine {
    double current = 0.5;   // s[n]
    double previous = 0.5;  // s[n-1]
    double twoCosW = 2.0;   // 2 cos(w)

    void start(int32_t length);
    // Advances one step and returns the value before the step.
    double next() {
        const double s = current;
        current = twoCosW * current - previous;
        previous = s;
        return s;
    }
};

// The table of hot loops. Both builds (plain and AVX2+FMA) are made from one source and fill
// the same table; the table is chosen once at start. Modules call through it, never an
// intrinsic. `count` may be 0; buffers may alias where a kernel says so.
struct CDSPKernels {
    const char* name;
    // out[i] = (0.5 + s) * from[i] + (0.5 - s) * to[i], s stepping through the fade; out may
    // alias either input.
    void (*crossfade)(double* out, const double* from, const double* to, int32_t count, CRaisedCosine& fade);
    void (*copy)(double* dst, const double* src, int32_t count);
    void (*fill)(double* dst, double value, int32_t count);
    void (*add)(double* dst, const double* src, int32_t count);       // dst += src
    void (*maximum)(double* dst, const double* src, int32_t count);   // dst = max(dst, src)
    void (*scale)(double* dst, double factor, int32_t count);         // dst *= factor
    void (*multiply)(double* dst, const double* a, const double* b, int32_t count);  // dst = a * b

    // The build chosen for this processor.
    static const CDSPKernels& get();
    static const CDSPKernels& plain();
    // Null when the processor lacks AVX2 or FMA.
    static const CDSPKernels* avx2();
};

}  // namespace orl
