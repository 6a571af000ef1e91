#pragma once
#include <cstdint>

namespace orl {

// One filter as a generator describes it: a biquad with its normalised coefficients and the
// run form that suits its numerator, or a half-band filter with its two allpass branches.
struct CAudioFilterDesc {
    enum EKind : int32_t { kBiquad = 0, kHalfBand = 1 };
    // Run forms of a biquad: the general numerator, or one of the fixed numerators that save
    // multiplications.
    enum EForm : int32_t { kFormCommon = 0, kFormLowPass = 1, kFormHighPass = 2, kFormBandPass = 3, kFormNotch = 4 };
    static constexpr int32_t kFormCount = 5;
    static constexpr int32_t kMaxBranchCoeffs = 8;

    EKind kind = kBiquad;
    int32_t form = kFormCommon;
    // Biquad: b0, b1, b2, -a1, -a2, each divided by a0.
    double coeffs[5] = {1.0, 0.0, 0.0, 0.0, 0.0};
    // Half-band: sections per branch (1 to 8) and the coefficients of each branch.
    int32_t sections = 0;
    double a[kMaxBranchCoeffs] = {};
    double b[kMaxBranchCoeffs] = {};
};

}  // namespace orl
