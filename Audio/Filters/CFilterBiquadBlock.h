#pragma once
#include <cmath>
#include <cstdint>
#include <numbers>

namespace orl {

// Coefficients and state of one running biquad (direct form II). A coefficient change glides:
// for `fadeLength` samples the old filter runs on the second state pair while the main filter
// runs with coefficients moving from `coeffs` to `next`, and a raised cosine moves the output
// from the first to the second. A change that comes during a glide waits in `waiting`; a newer
// one replaces it.
struct CFilterBiquadBlock {
    double coeffs[5];  // b0, b1, b2, -a1, -a2, each over a0
    double w1, w2;     // main state
    double v1, v2;     // second state: the old filter during a glide
    double next[5];    // the set being glided to
    double waiting[5];
    // The glide's raised-cosine oscillator (as CRaisedCosine).
    double fadeCurrent, fadePrevious, fadeTwoCosW;
    int32_t fadeLeft;    // samples left in the glide, 0 when none runs
    int32_t fadeLength;  // round(0.025 * sampleRate)
    int32_t hasWaiting;

    // Starts a glide from `coeffs` to `next`: the second state takes the main one, so that the
    // old filter goes on from where it stands.
    void startGlide() {
        v1 = w1;
        v2 = w2;
        const double c = std::cos(std::numbers::pi / fadeLength);
        fadeCurrent = 0.5;
        fadePrevious = 0.5 * c;
        fadeTwoCosW = 2.0 * c;
        fadeLeft = fadeLength;
    }
    // The end of a glide: the new set is in force, and a waiting set starts the next glide.
    void finishGlide() {
        for (int32_t i = 0; i < 5; ++i) coeffs[i] = next[i];
        fadeLeft = 0;
        if (hasWaiting) {
            hasWaiting = 0;
            for (int32_t i = 0; i < 5; ++i) next[i] = waiting[i];
            startGlide();
        }
    }
};

}  // namespace orl
