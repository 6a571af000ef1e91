#include "Audio/Filters/CAudioFilterFIRLPGen.h"

#include <cmath>
#include <numbers>

#include "Audio/Filters/CAudioFilterValues.h"

namespace orl {

bool CAudioFilterFIRLPGen::make(const CAudioFilterValues& /*values*/, double /*sampleRate*/,
                                CAudioFilterList& /*list*/) const {
    // An FIR kernel has no place in a biquad program: nothing to add, and nothing went wrong.
    return true;
}

const char* CAudioFilterFIRLPGen::valueName(int32_t i) const {
    switch (i) {
        case 0: return "length";
        case 1: return "freq";
        case 2: return "beta";
        default: return nullptr;
    }
}

double CAudioFilterFIRLPGen::besselI0(double x) {
    const double ax = std::fabs(x);
    if (ax < 3.75) {
        const double t = x / 3.75;
        const double t2 = t * t;
        return 1.0 +
               t2 * (3.5156229 +
                     t2 * (3.0899424 + t2 * (1.2067492 + t2 * (0.2659732 + t2 * (0.0360768 + t2 * 0.0045813)))));
    }
    const double u = 3.75 / ax;
    const double p =
        0.39894228 +
        u * (0.01328592 +
             u * (0.00225319 +
                  u * (-0.00157565 +
                       u * (0.00916281 +
                            u * (-0.02057706 + u * (0.02635537 + u * (-0.01647633 + u * 0.00392377)))))));
    return p * std::exp(ax) / std::sqrt(ax);
}

double CAudioFilterFIRLPGen::clampBeta(double beta) {
    // A NaN beta fails the first test and ends at the lower bound too.
    if (!(beta >= kMinBeta)) return kMinBeta;
    return beta > kMaxBeta ? kMaxBeta : beta;
}

int32_t CAudioFilterFIRLPGen::halfLength(double length, double freq, double sampleRate) {
    if (!(length > 0.0) || !(freq > 0.0) || !(sampleRate > 0.0)) return -1;
    const double h = sampleRate * sampleRate * length / freq * 0.125;
    // 2*n0 + 1 taps must fit an int32_t.
    if (!(h < 1.0e9)) return -1;
    return static_cast<int32_t>(std::floor(h));
}

int32_t CAudioFilterFIRLPGen::design(double length, double freq, double beta, double sampleRate, double* out,
                                     int32_t capacity) {
    const int32_t n0 = halfLength(length, freq, sampleRate);
    if (n0 < 0 || out == nullptr || capacity < 2 * n0 + 1) return -1;
    const double h = sampleRate * sampleRate * length / freq * 0.125;
    const double w = 2.0 * std::numbers::pi * freq / sampleRate;
    const double b = clampBeta(beta);
    const double i0b = besselI0(b);

    double* centre = out + n0;
    centre[0] = w / std::numbers::pi;
    // sin(w*n) = 2*cos(w)*sin(w*(n-1)) - sin(w*(n-2)): one multiplication per tap instead of a
    // sine, from sin(0) = 0 and sin(w).
    const double k = 2.0 * std::cos(w);
    double s1 = 0.0;
    double s = std::sin(w);
    for (int32_t n = 1; n <= n0; ++n) {
        const double t = static_cast<double>(n) / h;
        const double r = 1.0 - t * t;
        const double window = r < 0.0 ? 0.0 : besselI0(b * std::sqrt(r)) / i0b;
        const double tap = s / (std::numbers::pi * static_cast<double>(n)) * window;
        centre[n] = tap;
        centre[-n] = tap;
        const double next = k * s - s1;
        s1 = s;
        s = next;
    }
    return 2 * n0 + 1;
}

}  // namespace orl
