#pragma once
#include <cmath>
#include <cstdint>

#include "Audio/Processes/CPolyCompState.h"

namespace orl {

// The control-rate arithmetic of the multi-stage gain computer: one-pole coefficients, the stage
// table, the gain curve's constants and the noise of the make-up measurement. Nothing here runs
// per sample.
class CPolyCompMath {
public:
    // 20 / ln(10) and ln(10) / 20: dB from a natural log, and a natural exponent from dB.
    static constexpr double kDbPerNeper = 8.685889638065037;
    static constexpr double kNeperPerDb = 0.11512925464970228;
    // Stages are added while their time constant stays below this (seconds).
    static constexpr double kLongestStage = 2.5;
    // The first stage above this time constant (seconds) starts the release group.
    static constexpr double kSlowStageFrom = 0.101;
    // Time constant of the output gain's glide (seconds).
    static constexpr double kOutGainTime = 0.008;
    // Rate of the stage table on which the make-up gain is measured.
    static constexpr double kMeasureRate = 200.0;

    // Coefficient of the one-pole lowpass y += (x - y) * c whose corner frequency is 1/T Hz at
    // the given rate; the angular frequency is clamped at pi.
    static double onePoleCoeff(double seconds, double sampleRate);

    // Fills stageCoeff, stageCount, slowStart and outGainCoeff for the rate. attack in seconds,
    // inertia 0..1. The table never grows beyond CPolyCompState::kMaxStages.
    static void buildStageTable(CPolyCompState& state, double attack, double inertia, double sampleRate);

    // Fills the curve constants from the per-stage slope 1/R and the full knee width in dB.
    static void setCurve(CPolyCompState& state, double slope, double kneeDb);

    // The curve: gain change in dB for a level in dB relative to the threshold. A level that
    // isn't a number counts as below the knee, so that a bad input sample can't poison the
    // stages.
    static double curveDb(const CPolyCompState& state, double level) {
        if (!(level > state.kneeStart)) return 0.0;
        if (level >= state.kneeEnd) return state.kneeSlopeM * level;
        const double dx = level - state.kneeStart;
        return state.kneeCentreY + std::sqrt(state.kneeRadiusSq - dx * dx);
    }

    // One sample of the measuring noise, in (0, 0.5]; the seed starts at 0 for each measurement.
    static double noiseSample(uint32_t& seed) {
        seed = seed * 30013u + 30011u;
        return static_cast<double>(seed & 0xFFFFFFu) * (1.0 / 33554432.0) + 1e-10;
    }
};

}  // namespace orl
