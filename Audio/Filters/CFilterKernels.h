#pragma once
#include <cstdint>

#include "Audio/Filters/CFilterBiquadBlock.h"
#include "Audio/Filters/CFilterHalfBandBlock.h"

namespace orl {

// The run loops of the filter program, one per biquad form and one per half-band size, so that
// every loop is unrolled for its case, and the product sum of the FFT convolution. Both builds
// (plain and AVX2+FMA) are made from one source and fill the same table, chosen once at start.
// `out` may be `in`.
struct CFilterKernels {
    const char* name;
    // By form: common, low-pass, high-pass, band-pass, notch (CAudioFilterDesc::EForm).
    void (*biquad[5])(CFilterBiquadBlock& block, const double* in, double* out, int32_t count);
    // By sections per branch minus one (2 to 16 coefficients in all).
    void (*halfBand[CFilterHalfBandBlock::kMaxSections])(CFilterHalfBandBlock& block, const double* in, double* out,
                                                         int32_t count);
    // The frequency-domain step of the FFT convolution: sum[k] += x[k] * h[k] for `count`
    // complex values stored as (re, im) pairs. None of the arrays may overlap.
    void (*complexMultiplyAdd)(double* sum, const double* x, const double* h, int32_t count);

    static const CFilterKernels& get();
    static const CFilterKernels& plain();
    // Null when the processor lacks AVX2 or FMA.
    static const CFilterKernels* avx2();
};

}  // namespace orl
