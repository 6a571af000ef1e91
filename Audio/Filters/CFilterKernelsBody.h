// The filter loops, written once and compiled once per instruction set: a source that includes
// this file defines ORL_FILTER_KERNEL_NS and ORL_FILTER_KERNEL_NAME first and gets the loops and
// their table `kTable` in orl::ORL_FILTER_KERNEL_NS. No include guard on purpose.
//
// Both filters are recursions, one sample after the other, so the loops are bound by latency;
// the win is in keeping coefficients and state in registers and in fixing the shape (numerator,
// section count, ring slots) at compile time.
#ifndef ORL_FILTER_KERNEL_NS
#error "define ORL_FILTER_KERNEL_NS before including CFilterKernelsBody.h"
#endif

#include "Audio/Filters/CFilterKernels.h"

namespace orl::ORL_FILTER_KERNEL_NS {

// ---- biquad ----

// y from the state after w = x + c3*w1 + c4*w2, by the numerator of the form.
template <int Form>
static inline double numerator(double c0, double c1, double c2, double w, double w1, double w2) {
    if constexpr (Form == 0) {
        return c0 * w + c1 * w1 + c2 * w2;
    } else if constexpr (Form == 1) {
        return c0 * (w + 2.0 * w1 + w2);
    } else if constexpr (Form == 2) {
        return c0 * (w - 2.0 * w1 + w2);
    } else if constexpr (Form == 3) {
        return c0 * (w - w2);
    } else {
        return c0 * (w + w2) + c1 * w1;
    }
}

template <int Form>
static void biquadSteady(CFilterBiquadBlock& b, const double* in, double* out, int32_t count) {
    const double c0 = b.coeffs[0], c1 = b.coeffs[1], c2 = b.coeffs[2], c3 = b.coeffs[3], c4 = b.coeffs[4];
    double w1 = b.w1, w2 = b.w2;
    for (int32_t i = 0; i < count; ++i) {
        // w1 from the last sample is the only input on the serial chain: its product goes last.
        const double w = (in[i] + c4 * w2) + c3 * w1;
        out[i] = numerator<Form>(c0, c1, c2, w, w1, w2);
        w2 = w1;
        w1 = w;
    }
    b.w1 = w1;
    b.w2 = w2;
}

// Part of a glide, count <= b.fadeLeft: the old filter on the second state, the main filter
// with coefficients f1*old + f2*new, the output f1*old output + f2*main output.
template <int Form>
static void biquadGlide(CFilterBiquadBlock& b, const double* in, double* out, int32_t count) {
    constexpr bool kUsesC1 = Form == 0 || Form == 4;
    constexpr bool kUsesC2 = Form == 0;
    const double c0 = b.coeffs[0], c1 = b.coeffs[1], c2 = b.coeffs[2], c3 = b.coeffs[3], c4 = b.coeffs[4];
    const double n0 = b.next[0], n1 = b.next[1], n2 = b.next[2], n3 = b.next[3], n4 = b.next[4];
    double w1 = b.w1, w2 = b.w2, v1 = b.v1, v2 = b.v2;
    double s = b.fadeCurrent, prev = b.fadePrevious;
    const double k = b.fadeTwoCosW;
    for (int32_t i = 0; i < count; ++i) {
        const double f1 = 0.5 + s;
        const double f2 = 0.5 - s;
        const double x = in[i];
        const double v = (x + c4 * v2) + c3 * v1;
        const double yOld = numerator<Form>(c0, c1, c2, v, v1, v2);
        v2 = v1;
        v1 = v;
        const double k0 = f1 * c0 + f2 * n0;
        const double k1 = kUsesC1 ? f1 * c1 + f2 * n1 : 0.0;
        const double k2 = kUsesC2 ? f1 * c2 + f2 * n2 : 0.0;
        const double k3 = f1 * c3 + f2 * n3;
        const double k4 = f1 * c4 + f2 * n4;
        const double w = (x + k4 * w2) + k3 * w1;
        const double yMain = numerator<Form>(k0, k1, k2, w, w1, w2);
        w2 = w1;
        w1 = w;
        out[i] = f1 * yOld + f2 * yMain;
        const double nextS = k * s - prev;
        prev = s;
        s = nextS;
    }
    b.w1 = w1;
    b.w2 = w2;
    b.v1 = v1;
    b.v2 = v2;
    b.fadeCurrent = s;
    b.fadePrevious = prev;
}

template <int Form>
static void biquad(CFilterBiquadBlock& b, const double* in, double* out, int32_t count) {
    int32_t done = 0;
    while (done < count) {
        if (b.fadeLeft > 0) {
            const int32_t n = count - done < b.fadeLeft ? count - done : b.fadeLeft;
            biquadGlide<Form>(b, in + done, out + done, n);
            done += n;
            b.fadeLeft -= n;
            if (b.fadeLeft == 0) b.finishGlide();
        } else {
            biquadSteady<Form>(b, in + done, out + done, count - done);
            done = count;
        }
    }
}

// ---- half-band ----

// One sample at ring slot P: each section y[n] = x[n-2] + k * (x[n] - y[n-2]), slot P - 2 being
// slot P + 2 modulo 4; the b branch's output is taken one sample back (slot P - 1).
template <int S, int P>
static inline double halfBandStep(CFilterHalfBandBlock& h, const double* a, const double* b, double x) {
    constexpr int kNow = P;
    constexpr int kTwoBack = (P + 2) & 3;
    constexpr int kOneBack = (P + 3) & 3;
    h.ringA[0][kNow] = x;
#pragma GCC unroll 8
    for (int i = 0; i < S; ++i) {
        h.ringA[i + 1][kNow] = h.ringA[i][kTwoBack] + a[i] * (h.ringA[i][kNow] - h.ringA[i + 1][kTwoBack]);
    }
    h.ringB[1][kNow] = h.ringA[0][kTwoBack] + b[0] * (x - h.ringB[1][kTwoBack]);
#pragma GCC unroll 8
    for (int i = 1; i < S; ++i) {
        h.ringB[i + 1][kNow] = h.ringB[i][kTwoBack] + b[i] * (h.ringB[i][kNow] - h.ringB[i + 1][kTwoBack]);
    }
    return 0.5 * (h.ringA[S][kNow] + h.ringB[S][kOneBack]);
}

template <int S>
static inline double halfBandStepAt(CFilterHalfBandBlock& h, const double* a, const double* b, int32_t pos,
                                    double x) {
    switch (pos) {
        case 0: return halfBandStep<S, 0>(h, a, b, x);
        case 1: return halfBandStep<S, 1>(h, a, b, x);
        case 2: return halfBandStep<S, 2>(h, a, b, x);
        default: return halfBandStep<S, 3>(h, a, b, x);
    }
}

template <int S>
static void halfBand(CFilterHalfBandBlock& h, const double* in, double* out, int32_t count) {
    double a[S];
    double b[S];
    for (int i = 0; i < S; ++i) {
        a[i] = h.a[i];
        b[i] = h.b[i];
    }
    int32_t pos = h.pos;
    int32_t i = 0;
    // Up to the next slot 0, then groups of four with every slot known at compile time.
    for (; i < count && pos != 0; ++i) {
        out[i] = halfBandStepAt<S>(h, a, b, pos, in[i]);
        pos = (pos + 1) & 3;
    }
    for (; i + 4 <= count; i += 4) {
        out[i] = halfBandStep<S, 0>(h, a, b, in[i]);
        out[i + 1] = halfBandStep<S, 1>(h, a, b, in[i + 1]);
        out[i + 2] = halfBandStep<S, 2>(h, a, b, in[i + 2]);
        out[i + 3] = halfBandStep<S, 3>(h, a, b, in[i + 3]);
    }
    for (; i < count; ++i) {
        out[i] = halfBandStepAt<S>(h, a, b, pos, in[i]);
        pos = (pos + 1) & 3;
    }
    h.pos = pos;
}

// ---- FFT convolution ----

// Written two complex values per step, so that with AVX2 the four doubles of x, h and sum fill
// one register each: the compiler makes of a step a multiply against swapped halves and one
// fused multiply-add-subtract. The plain build does the same on two-wide registers.
static void complexMultiplyAdd(double* __restrict sum, const double* __restrict x, const double* __restrict h,
                               int32_t count) {
    int32_t k = 0;
    for (; k + 2 <= count; k += 2) {
        const double* xs = x + 2 * k;
        const double* hs = h + 2 * k;
        double* s = sum + 2 * k;
        const double re0 = xs[0] * hs[0] - xs[1] * hs[1];
        const double im0 = xs[0] * hs[1] + xs[1] * hs[0];
        const double re1 = xs[2] * hs[2] - xs[3] * hs[3];
        const double im1 = xs[2] * hs[3] + xs[3] * hs[2];
        s[0] += re0;
        s[1] += im0;
        s[2] += re1;
        s[3] += im1;
    }
    for (; k < count; ++k) {
        const double xr = x[2 * k], xi = x[2 * k + 1], hr = h[2 * k], hi = h[2 * k + 1];
        sum[2 * k] += xr * hr - xi * hi;
        sum[2 * k + 1] += xr * hi + xi * hr;
    }
}

extern const CFilterKernels kTable;
const CFilterKernels kTable = {
    ORL_FILTER_KERNEL_NAME,
    {biquad<0>, biquad<1>, biquad<2>, biquad<3>, biquad<4>},
    {halfBand<1>, halfBand<2>, halfBand<3>, halfBand<4>, halfBand<5>, halfBand<6>, halfBand<7>, halfBand<8>},
    complexMultiplyAdd,
};

}  // namespace orl::ORL_FILTER_KERNEL_NS
