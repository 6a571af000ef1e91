#pragma once
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>

namespace orl {

// Design of a polyphase IIR half-band low-pass made of two branches of first-order allpass
// sections in z^-2, as the "audio:fltgen-hbf" generator runs it:
//   H(z) = 0.5 * (A(z^2) + z^-1 * B(z^2)),   each section (c + z^-2) / (1 + c * z^-2).
//
// The response is the elliptic (equiripple) one. Frequencies are fractions of the rate the filter
// runs at; the transition band is centred on a quarter of that rate, so with a transition width
// `t` the pass band ends at 0.25 - t/2 and the stop band begins at 0.25 + t/2. A filter of
// `count` coefficients in all has order n = 2 * count + 1.
//
// The procedure, in closed form:
//  1. Through the bilinear map W = tan(pi f), the band edges of a half-band become reciprocal,
//     W_p * W_s = 1, so the selectivity of the analog prototype is k = W_p / W_s = W_p^2 =
//     tan^2(pi * (0.25 - t/2)).
//  2. The nome q of k from the rapidly converging series q = e + 2e^5 + 15e^9 + 150e^13 with
//     e = (1 - sqrt k') / (2 (1 + sqrt k')), k' = sqrt(1 - k^2). Near k = 1 the series slows, so
//     above k = 1/sqrt 2 the nome of k' is taken instead and turned over by ln q * ln q' = pi^2.
//  3. The reflection zeros of the prototype lie at w_i = sqrt(k) sn(2 i K / n, k), i = 1 .. count,
//     evaluated as the theta quotient theta1(pi i / n, q) / theta4(pi i / n, q), whose series in q
//     converge as fast as q^(m^2).
//  4. Because the two ripples of a half-band are tied (eps_p * eps_s = 1), its poles lie on the
//     unit circle of the s plane; with the real part s_i = sqrt((1 - k w_i^2)(1 - w_i^2 / k)) /
//     (1 + w_i^2), the bilinear map puts the poles at z^2 = -c_i with c_i = (1 - s_i) / (1 + s_i).
//  5. Sorted ascending, the c_i go alternately to the two branches: the first, third, ... to `a`
//     (undelayed), the second, fourth, ... to `b` (one sample behind).
//
// The attenuation that the design promises: the discrimination k1 = eps_p / eps_s has the nome
// q^n, k1 = 4 sqrt(q1) * (sum q1^(m(m+1)) / (1 + 2 sum q1^(m^2)))^2, and with eps_p * eps_s = 1
// the stop band lies 10 log10(1 + 1/k1) dB down and the pass band ripples by 10 log10(1 + k1) dB.
class CHbfDesign {
public:
    static constexpr int32_t kMaxPerBranch = 8;  // what the half-band generator accepts
    static constexpr int32_t kMaxCount = 2 * kMaxPerBranch;

    // Designs `count` coefficients (even, 2 to 16) for the transition width `transition`
    // (0 < t < 0.5). False, and nothing changed, for arguments out of range.
    bool design(int32_t count, double transition) {
        if (count < 2 || count > kMaxCount || (count & 1) != 0) return false;
        if (!(transition > 0.0 && transition < 0.5)) return false;
        const double k = selectivity(transition);
        const double q = nomeOf(k);
        const int32_t n = 2 * count + 1;
        double c[kMaxCount];
        for (int32_t i = 1; i <= count; ++i) {
            const double w = thetaQuotient(std::numbers::pi * i / n, q);
            const double s = std::sqrt((1.0 - k * w * w) * (1.0 - w * w / k)) / (1.0 + w * w);
            c[i - 1] = (1.0 - s) / (1.0 + s);
        }
        std::sort(c, c + count);
        m_count = count;
        m_transition = transition;
        m_k = k;
        m_q = q;
        for (int32_t i = 0; i < count / 2; ++i) {
            m_a[i] = c[2 * i];
            m_b[i] = c[2 * i + 1];
        }
        return true;
    }

    int32_t count() const { return m_count; }
    int32_t perBranch() const { return m_count / 2; }
    const double* a() const { return m_a; }
    const double* b() const { return m_b; }
    double transition() const { return m_transition; }
    double k() const { return m_k; }
    double q() const { return m_q; }

    // Selectivity of the analog prototype for a transition width.
    static double selectivity(double transition) {
        const double w = std::tan(std::numbers::pi * (0.25 - 0.5 * transition));
        return w * w;
    }

    // Nome of the modulus k, 0 < k < 1.
    static double nomeOf(double k) {
        const double kc = std::sqrt((1.0 - k) * (1.0 + k));
        if (k <= std::numbers::sqrt2 / 2.0) return nomeSeries(k, kc);
        // ln q * ln q' = pi^2, q' the nome of the complementary modulus.
        return std::exp(std::numbers::pi * std::numbers::pi / std::log(nomeSeries(kc, k)));
    }

    // Stop-band attenuation (dB, positive) and pass-band ripple (dB) that the design formula
    // promises; NaN for arguments out of range.
    static double predictedAttenuationDb(int32_t count, double transition) {
        const double lk1 = logDiscrimination(count, transition);
        // 10 log10(1 + 1/k1), kept finite for a k1 far below the smallest double.
        return kDbPerNeper * (-lk1 + std::log1p(std::exp(lk1)));
    }
    static double predictedRippleDb(int32_t count, double transition) {
        return kDbPerNeper * std::log1p(std::exp(logDiscrimination(count, transition)));
    }

    // The narrowest transition width at which `count` coefficients promise at least
    // `attenuationDb`, by bisection on the design formula (the attenuation grows with the
    // width); NaN if no width below 0.5 reaches it.
    static double narrowestTransition(int32_t count, double attenuationDb) {
        double lo = 1e-9;
        double hi = 0.5 - 1e-12;
        if (std::isnan(predictedAttenuationDb(count, hi)) || predictedAttenuationDb(count, hi) < attenuationDb) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (predictedAttenuationDb(count, lo) >= attenuationDb) return lo;
        for (int iter = 0; iter < 200 && hi - lo > 1e-15; ++iter) {
            const double mid = 0.5 * (lo + hi);
            if (predictedAttenuationDb(count, mid) >= attenuationDb) {
                hi = mid;
            } else {
                lo = mid;
            }
        }
        return hi;
    }

    // Frequency response at f (fraction of the rate) of the two-branch structure with
    // `perBranch` coefficients in each of a and b; highPass gives the complementary output
    // 0.5 * (A(z^2) - z^-1 B(z^2)), which is H(-z).
    static std::complex<double> response(const double* a, const double* b, int32_t perBranch, double f,
                                         bool highPass = false) {
        const std::complex<double> z1 = std::polar(1.0, -2.0 * std::numbers::pi * f);
        const std::complex<double> z2 = z1 * z1;
        std::complex<double> ha(1.0, 0.0);
        std::complex<double> hb(1.0, 0.0);
        for (int32_t i = 0; i < perBranch; ++i) {
            ha *= (a[i] + z2) / (1.0 + a[i] * z2);
            hb *= (b[i] + z2) / (1.0 + b[i] * z2);
        }
        return 0.5 * (ha + (highPass ? -z1 : z1) * hb);
    }

    // Largest |H| over [from, to] on a grid of `points` intervals, the best grid point refined by
    // golden-section search between its neighbours so that a narrow ripple peak is not missed.
    static double peakMagnitude(const double* a, const double* b, int32_t perBranch, double from, double to,
                                int32_t points, bool highPass = false) {
        const auto mag = [&](double f) { return std::abs(response(a, b, perBranch, f, highPass)); };
        const double step = (to - from) / points;
        int32_t best = 0;
        double bestMag = -1.0;
        for (int32_t i = 0; i <= points; ++i) {
            const double m = mag(from + step * i);
            if (m > bestMag) {
                bestMag = m;
                best = i;
            }
        }
        double lo = from + step * std::max(best - 1, 0);
        double hi = from + step * std::min(best + 1, points);
        const double r = (std::sqrt(5.0) - 1.0) / 2.0;
        double x1 = hi - r * (hi - lo);
        double x2 = lo + r * (hi - lo);
        double m1 = mag(x1);
        double m2 = mag(x2);
        for (int iter = 0; iter < 80; ++iter) {
            if (m1 > m2) {
                hi = x2;
                x2 = x1;
                m2 = m1;
                x1 = hi - r * (hi - lo);
                m1 = mag(x1);
            } else {
                lo = x1;
                x1 = x2;
                m1 = m2;
                x2 = lo + r * (hi - lo);
                m2 = mag(x2);
            }
        }
        return std::max({bestMag, m1, m2});
    }

    // Measured minimum stop-band attenuation (dB, positive) over [0.25 + t/2, 0.5].
    static double measuredAttenuationDb(const double* a, const double* b, int32_t perBranch, double transition,
                                        int32_t points = 1 << 15) {
        return -20.0 * std::log10(peakMagnitude(a, b, perBranch, 0.25 + 0.5 * transition, 0.5, points));
    }

    // Measured pass-band ripple over [0, 0.25 - t/2], the largest |20 log10 |H||, read directly.
    // For these designs it lies far below the rounding of the sum of the two branches, so
    // measuredRippleViaComplementDb gives the figure the structure has in exact arithmetic: the
    // two outputs are power complementary, |H|^2 = 1 - |H(-z)|^2.
    static double measuredRippleDb(const double* a, const double* b, int32_t perBranch, double transition,
                                   int32_t points = 1 << 15) {
        const double edge = 0.25 - 0.5 * transition;
        double worst = 0.0;
        for (int32_t i = 0; i <= points; ++i) {
            const double m = std::abs(response(a, b, perBranch, edge * i / points));
            worst = std::max(worst, std::fabs(20.0 * std::log10(m)));
        }
        return worst;
    }
    static double measuredRippleViaComplementDb(const double* a, const double* b, int32_t perBranch,
                                                double transition, int32_t points = 1 << 15) {
        const double g = peakMagnitude(a, b, perBranch, 0.0, 0.25 - 0.5 * transition, points, true);
        return -10.0 * std::log10(1.0 - g * g) + 0.0;  // + 0.0: no "-0" when g * g rounds away
    }

private:
    static constexpr double kDbPerNeper = 10.0 / std::numbers::ln10;

    // q of the modulus k (kc its complement) by the series in e; accurate to double precision
    // while kc >= 1/sqrt 2 (e <= 0.043). 1 - sqrt(kc) is written as k^2 / ((1 + kc)(1 + sqrt kc))
    // so that a small k keeps its digits.
    static double nomeSeries(double k, double kc) {
        const double r = std::sqrt(kc);
        const double e = 0.5 * k * k / ((1.0 + kc) * (1.0 + r) * (1.0 + r));
        const double e4 = e * e * e * e;
        return e * (1.0 + e4 * (2.0 + e4 * (15.0 + e4 * 150.0)));
    }

    // theta1(x, q) / theta4(x, q) = sqrt(k) sn(2 K x / pi, k).
    static double thetaQuotient(double x, double q) {
        double num = 0.0;
        double den = 1.0;
        double sign = 1.0;
        for (int m = 0; m < 64; ++m) {
            const double pn = std::pow(q, static_cast<double>(m) * (m + 1));
            num += sign * pn * std::sin((2 * m + 1) * x);
            if (m > 0) den += 2.0 * sign * std::pow(q, static_cast<double>(m) * m) * std::cos(2 * m * x);
            if (pn < 1e-18) break;
            sign = -sign;
        }
        return 2.0 * std::sqrt(std::sqrt(q)) * num / den;
    }

    // ln k1, k1 the discrimination of the design; NaN for arguments out of range.
    static double logDiscrimination(int32_t count, double transition) {
        if (count < 1 || !(transition > 0.0 && transition < 0.5)) return std::numeric_limits<double>::quiet_NaN();
        const double lq = std::log(nomeOf(selectivity(transition)));
        const double n = 2.0 * count + 1.0;
        const double q1 = std::exp(n * lq);  // may underflow to 0: the sums are then 1
        double num = 1.0;
        double den = 1.0;
        for (int m = 1; m < 64; ++m) {
            const double pn = std::pow(q1, static_cast<double>(m) * (m + 1));
            num += pn;
            den += 2.0 * std::pow(q1, static_cast<double>(m) * m);
            if (pn < 1e-18) break;
        }
        return std::log(4.0) + 0.5 * n * lq + 2.0 * std::log(num / den);
    }

    int32_t m_count = 0;
    double m_transition = 0.0;
    double m_k = 0.0;
    double m_q = 0.0;
    double m_a[kMaxPerBranch] = {};
    double m_b[kMaxPerBranch] = {};
};

}  // namespace orl
