#pragma once
#include <cstdint>

#include "Audio/Filters/CAudioFilterGen.h"

namespace orl {

// A linear-phase windowed-sinc low-pass, tag "audio:fltgen-firlp". Values: `length` in seconds,
// `freq` (the cut-off) in Hz and the Kaiser window's `beta`. The kernel is no biquad, so `make`
// adds nothing to an IIR list; an FIR module asks `design` for the taps instead.
//
// With w = 2*pi*freq/sr and H = sr*sr*length/freq / 8, the kernel has 2*n0 + 1 taps with
// n0 = floor(H), symmetric around tap n0: w/pi in the centre, sin(w*n)/(pi*n) * W(n/H) at
// distance n, W the Kaiser window I0(b*sqrt(1 - t*t)) / I0(b). At freq = sr/4 the kernel is
// `length` seconds long; a lower cut-off gets a longer kernel, so the transition band keeps
// its width relative to the cut-off.
class CAudioFilterFIRLPGen : public CAudioFilterGen {
public:
    // The window's beta is held within these bounds: a smaller beta would leave almost a
    // rectangular window, a larger one overflows nothing but gains nothing either.
    static constexpr double kMinBeta = 1.0;
    static constexpr double kMaxBeta = 350.0;

    bool make(const CAudioFilterValues& values, double sampleRate, CAudioFilterList& list) const override;
    int32_t valueCount() const override { return 3; }
    const char* valueName(int32_t i) const override;

    // n0, the half length of the kernel, or -1 when the values make no kernel (a rate, cut-off
    // or length that is not positive, or one so long that the tap count leaves int32_t).
    static int32_t halfLength(double length, double freq, double sampleRate);
    // Writes the 2*n0 + 1 taps into `out` and returns their count; -1 (writing nothing) when
    // the values make no kernel or `capacity` is too small. Allocates nothing.
    static int32_t design(double length, double freq, double beta, double sampleRate, double* out, int32_t capacity);

    // The zero-order modified Bessel function of the first kind by the polynomial
    // approximations of Abramowitz and Stegun 9.8.1 (|x| up to 3.75) and 9.8.2 (beyond), good to
    // a relative 2e-7 or better.
    static double besselI0(double x);
    // The beta the window uses for a given value.
    static double clampBeta(double beta);
};

}  // namespace orl
