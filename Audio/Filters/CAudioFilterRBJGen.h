#pragma once
#include <cstdint>

#include "Audio/Filters/CAudioFilterGen.h"

namespace orl {

// One biquad by the cookbook formulas, tag "audio:fltgen-rbj". Attributes: `type` (0 to 10,
// see EType), `is-q` (`bw` is a Q rather than octaves), `is-type2` (the octave bandwidth is
// taken at the band edges of the digital filter, with no correction by w0 / sin(w0)),
// `is-inverted` (numerator and denominator change places, so the filter undoes the one
// without the flag) and `is-gain-q` (`gain` is the Q, `is-q` is implied and the gain is 1).
// Values: `freq` in Hz, `gain` linear, `bw` in octaves (or a Q).
class CAudioFilterRBJGen : public CAudioFilterGen {
public:
    enum EType : int32_t {
        kLowPass = 0,
        kHighPass = 1,
        kBandPassSkirt = 2,  // band-pass whose peak gain is Q
        kBandPass = 3,       // band-pass with 0 dB at the centre
        kNotch = 4,
        kAllPass = 5,
        kPeaking = 6,
        kLowShelf = 7,
        kHighShelf = 8,
        kLowPass1 = 9,   // first order, by the bilinear transform
        kHighPass1 = 10  // first order, by the bilinear transform
    };
    // Where the formulas stop: the frequency stays within these fractions of the rate, and the
    // argument of the bandwidth's sinh below kMaxSinhArg, which near the Nyquist frequency
    // (where w0 / sin(w0) grows without bound) keeps the poles clear of the unit circle.
    static constexpr double kMinFreqRatio = 1e-5;
    static constexpr double kMaxFreqRatio = 0.49;
    static constexpr double kMaxSinhArg = 16.0;

    CError* init() override;
    bool make(const CAudioFilterValues& values, double sampleRate, CAudioFilterList& list) const override;
    int32_t valueCount() const override { return 3; }
    const char* valueName(int32_t i) const override;

    // The cookbook's b0, b1, b2, a0, a1, a2 (after inversion, before normalising) and the run
    // form that suits the numerator.
    void design(double freq, double gain, double bw, double sampleRate, double out[6], int32_t& form) const;

    int32_t type() const { return m_type; }

private:
    int32_t m_type = 0;
    bool m_q = false;
    bool m_type2 = false;
    bool m_inverted = false;
    bool m_gainQ = false;
};

}  // namespace orl
