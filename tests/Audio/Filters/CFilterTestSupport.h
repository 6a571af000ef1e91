#pragma once
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace orl::test {

// |H(e^jw)| of a normalised biquad c = {b0, b1, b2, -a1, -a2} / a0.
inline double biquadMagnitude(const double* c, double w) {
    const std::complex<double> z1 = std::polar(1.0, -w);
    const std::complex<double> z2 = z1 * z1;
    return std::abs((c[0] + c[1] * z1 + c[2] * z2) / (1.0 - c[3] * z1 - c[4] * z2));
}

// The amplitude of the sine of frequency k / n (cycles per sample) in y[from, from + n): the
// projections on sine and cosine over a whole number of cycles.
inline double sineAmplitude(const std::vector<double>& y, size_t from, size_t n, int k) {
    double s = 0.0, c = 0.0;
    for (size_t i = 0; i < n; ++i) {
        const double ph = 2.0 * std::numbers::pi * static_cast<double>(k) * static_cast<double>(i) / static_cast<double>(n);
        s += y[from + i] * std::sin(ph);
        c += y[from + i] * std::cos(ph);
    }
    return 2.0 / static_cast<double>(n) * std::hypot(s, c);
}

// A unit sine of k cycles per n samples, `length` samples long.
inline std::vector<double> sineOf(int k, size_t n, size_t length) {
    std::vector<double> x(length);
    for (size_t i = 0; i < length; ++i) {
        x[i] = std::sin(2.0 * std::numbers::pi * static_cast<double>(k) * static_cast<double>(i % n) / static_cast<double>(n));
    }
    return x;
}

}  // namespace orl::test
