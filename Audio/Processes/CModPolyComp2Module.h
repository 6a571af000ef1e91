#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"
#include "Audio/Processes/CPolyCompKernels.h"
#include "Audio/Processes/CPolyCompState.h"

namespace orl {

// One channel of the multi-stage gain computer: a positive level signal in, a linear gain
// signal of the same length out. Gain reduction is the product of a cascade of one-pole stages
// of rising time constant, inside a feedback loop around that product; the make-up gain is
// measured by running noise through the routine itself.
class CModPolyComp2Module : public CAudioModule {
public:
    // Parameter slots, in the order of the definition's param-alloc indices.
    enum EParam : int32_t {
        kAttack,       // seconds
        kInertia,      // 0..1
        kThreshold,    // dB
        kRatio,        // per-stage slope 1/R
        kKnee,         // full knee width, dB
        kAutoGain,     // on from 0.5
        kAttackMult,   // 0 "Norm", else "Fast"
        kReleaseMult,  // 0 "Slow", else "Norm"
        kOutGain1,     // linear, in force with auto gain off
        kOutGain2,     // linear, applied to the measured make-up with auto gain on
        kDryMix,       // 0..1
        kParamCount
    };
    // Noise samples whose results are thrown away, then samples that are measured.
    static constexpr int32_t kMeasureSettle = 70;
    static constexpr int32_t kMeasureCount = 20;

    CModPolyComp2Module();

    void resetState() override;
    // Full road on a reset request or the first call: stages start at 1.0 and the out gain at
    // its target. Running road otherwise: stage values and the out gain in force carry over.
    void update() override;
    // The terminal's signal loop.
    void process() {
        if (m_inputCount > 0) runBlock(inputData(0), outputData(0), m_sampleCount);
    }
    // The routine over a block of levels; `out` may be `in`.
    void runBlock(const double* in, double* out, int32_t count) { m_run(m_state, in, out, count); }

    const CPolyCompState& state() const { return m_state; }
    bool isInitialised() const { return m_initialised; }
    bool isAutoGain() const { return m_autoGain; }
    // The routine that process() and the measurement use; tests and benchmarks may pick the
    // reference or another build.
    using TRunFn = void (*)(CPolyCompState&, const double*, double*, int32_t);
    void setRoutine(TRunFn run) { m_run = run; }

private:
    void readParams();
    // Runs the noise through the routine on a table for the measuring rate, then sets
    // outGainTarget. Leaves every stage at 1.0, so that a stage that a change adds to the table
    // starts without reduction.
    void measureOutGain();

    CPolyCompState m_state;
    TRunFn m_run;
    bool m_initialised = false;
    bool m_autoGain = true;
    double m_outGain1 = 1.0;
    double m_outGain2 = 1.0;
    double m_attack = 0.01;
    double m_inertia = 0.5;
    double m_slope = 0.5;
    double m_knee = 0.0;
};

}  // namespace orl
