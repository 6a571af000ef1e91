#include "Audio/Filters/CAudioFilterRBJGen.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "Audio/Filters/CAudioFilterList.h"
#include "Audio/Filters/CAudioFilterValues.h"
#include "Core/CError.h"

namespace orl {

namespace {
// ln(2) / 2: the octave bandwidth's factor in the sinh argument.
constexpr double kHalfLn2 = 0.34657359027997264;
constexpr double kMinGain = 1e-12;
constexpr double kMinQ = 1e-4;
constexpr double kMinBw = 1e-4;
}  // namespace

CError* CAudioFilterRBJGen::init() {
    if (CError* err = CAudioFilterGen::init()) return ORL_PASS(err, fullName());
    m_type = getAttrInt(CString("type"));
    if (m_type < kLowPass || m_type > kHighPass1) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterRBJGen_init_InvalidType Invalid filter type '%1' specified.",
                         getAttrString(CString("type")));
    }
    m_gainQ = getAttrBool(CString("is-gain-q"));
    m_q = m_gainQ || getAttrBool(CString("is-q"));
    m_type2 = getAttrBool(CString("is-type2"));
    m_inverted = getAttrBool(CString("is-inverted"));
    return nullptr;
}

const char* CAudioFilterRBJGen::valueName(int32_t i) const {
    static const char* const kNames[] = {"freq", "gain", "bw"};
    return i >= 0 && i < 3 ? kNames[i] : nullptr;
}

void CAudioFilterRBJGen::design(double freq, double gain, double bw, double sampleRate, double out[6],
                                int32_t& form) const {
    const double sr = sampleRate > 0.0 ? sampleRate : 48000.0;
    // NaN goes to the lower limit as well.
    freq = freq >= kMinFreqRatio * sr ? std::min(freq, kMaxFreqRatio * sr) : kMinFreqRatio * sr;
    double q = 0.0;
    if (m_gainQ) {
        q = gain;
        gain = 1.0;
    } else if (m_q) {
        q = bw;
    }
    if (!(gain >= kMinGain)) gain = kMinGain;
    const double w0 = 2.0 * std::numbers::pi * freq / sr;
    const double s = std::sin(w0);
    const double c = std::cos(w0);
    const double A = std::sqrt(gain);
    double alpha;
    double beta;
    if (m_q) {
        if (!(q >= kMinQ)) q = kMinQ;
        alpha = s / (2.0 * q);
        beta = s * std::sqrt(A) / q;
    } else {
        if (!(bw >= kMinBw)) bw = kMinBw;
        const double arg = std::min(m_type2 ? kHalfLn2 * bw : kHalfLn2 * bw * w0 / s, kMaxSinhArg);
        alpha = s * std::sinh(arg);
        beta = alpha * 2.0 * std::sqrt(A);
    }

    double b0 = 1.0, b1 = 0.0, b2 = 0.0, a0 = 1.0 + alpha, a1 = -2.0 * c, a2 = 1.0 - alpha;
    form = CAudioFilterDesc::kFormCommon;
    switch (m_type) {
        case kLowPass:
            b0 = b2 = (1.0 - c) / 2.0;
            b1 = 1.0 - c;
            form = CAudioFilterDesc::kFormLowPass;
            break;
        case kHighPass:
            b0 = b2 = (1.0 + c) / 2.0;
            b1 = -(1.0 + c);
            form = CAudioFilterDesc::kFormHighPass;
            break;
        case kBandPassSkirt:
            b0 = s / 2.0;
            b2 = -b0;
            form = CAudioFilterDesc::kFormBandPass;
            break;
        case kBandPass:
            b0 = alpha;
            b2 = -alpha;
            form = CAudioFilterDesc::kFormBandPass;
            break;
        case kNotch:
            b0 = b2 = 1.0;
            b1 = -2.0 * c;
            form = CAudioFilterDesc::kFormNotch;
            break;
        case kAllPass:
            b0 = 1.0 - alpha;
            b1 = -2.0 * c;
            b2 = 1.0 + alpha;
            break;
        case kPeaking:
            b0 = 1.0 + alpha * A;
            b1 = -2.0 * c;
            b2 = 1.0 - alpha * A;
            a0 = 1.0 + alpha / A;
            a2 = 1.0 - alpha / A;
            break;
        case kLowShelf:
            b0 = A * ((A + 1.0) - (A - 1.0) * c + beta);
            b1 = 2.0 * A * ((A - 1.0) - (A + 1.0) * c);
            b2 = A * ((A + 1.0) - (A - 1.0) * c - beta);
            a0 = (A + 1.0) + (A - 1.0) * c + beta;
            a1 = -2.0 * ((A - 1.0) + (A + 1.0) * c);
            a2 = (A + 1.0) + (A - 1.0) * c - beta;
            break;
        case kHighShelf:
            b0 = A * ((A + 1.0) + (A - 1.0) * c + beta);
            b1 = -2.0 * A * ((A - 1.0) + (A + 1.0) * c);
            b2 = A * ((A + 1.0) + (A - 1.0) * c - beta);
            a0 = (A + 1.0) - (A - 1.0) * c + beta;
            a1 = 2.0 * ((A - 1.0) - (A + 1.0) * c);
            a2 = (A + 1.0) - (A - 1.0) * c - beta;
            break;
        case kLowPass1:
        case kHighPass1: {
            // tan(w0 / 2) written with the sine and cosine at hand.
            const double k = s / (1.0 + c);
            b0 = m_type == kLowPass1 ? k : 1.0;
            b1 = m_type == kLowPass1 ? k : -1.0;
            b2 = 0.0;
            a0 = 1.0 + k;
            a1 = k - 1.0;
            a2 = 0.0;
            break;
        }
        default: break;
    }
    if (m_inverted) {
        std::swap(b0, a0);
        std::swap(b1, a1);
        std::swap(b2, a2);
        form = CAudioFilterDesc::kFormCommon;
    }
    out[0] = b0;
    out[1] = b1;
    out[2] = b2;
    out[3] = a0;
    out[4] = a1;
    out[5] = a2;
}

bool CAudioFilterRBJGen::make(const CAudioFilterValues& values, double sampleRate, CAudioFilterList& list) const {
    double r[6];
    int32_t form = 0;
    design(values.get("freq", 1000.0), values.get("gain", 1.0), values.get("bw", 1.0), sampleRate, r, form);
    CAudioFilterDesc* d = list.add();
    if (!d) return false;
    d->kind = CAudioFilterDesc::kBiquad;
    d->form = form;
    const double inv = 1.0 / r[3];
    const double c[5] = {r[0] * inv, r[1] * inv, r[2] * inv, -r[4] * inv, -r[5] * inv};
    for (const double v : c) {
        // An inverted filter whose numerator vanishes has no inverse: it passes the signal.
        if (!std::isfinite(v)) {
            d->form = CAudioFilterDesc::kFormCommon;
            return true;
        }
    }
    for (int32_t i = 0; i < 5; ++i) d->coeffs[i] = c[i];
    return true;
}

}  // namespace orl
