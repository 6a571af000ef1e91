#pragma once
#include <cstdint>
#include <vector>

#include "Audio/CAudioModule.h"
#include "Audio/Filters/CFFTConvolverKernel.h"
#include "Audio/Filters/CFFTConvolverState.h"

namespace orl {

class CAudioFilterFIRLPGen;

// The FIR filter's module: the chosen generator's kernel run by uniformly partitioned FFT
// convolution, one CFFTConvolverState per input channel over one shared kernel.
//
// Parameters by allocation index, with the value an unbound slot takes:
//   0 `count`   1: more would ask to combine kernels, which is not done; one kernel runs.
//   1 `index`   0: the generator of the module's `gen-array`.
//   2 `latency` 6: rounded and held to 0..kMaxLog2Block, the convolution's block is
//                2^latency samples (64 by default, short enough for any host block).
//   3 `fixsr`   0: from 0.5 on, the kernel is designed for 44100 Hz whatever the true rate,
//                so that it scales with the rate (`length` and `freq` count at 44100 Hz);
//                below, for the true rate.
//   4 `length`  0.001 s: the kernel's length at freq = design rate / 4.
//   5 `freq`    11025 Hz: the cut-off, a quarter of the nominal rate as in the upsampler.
//   6 `beta`    18: the Kaiser window's beta, some 150 dB of stop band.
//
// The module's own latency is the block size plus, unless the definition has
// `is-zero-latency`, the kernel's group delay n0 (it is linear-phase); its outputs carry the
// input latency plus that. A generator that is missing or no FIR low-pass, or values that make
// no kernel, leave the input untouched with no latency of its own.
//
// Kernel design and setup, which allocate, happen in update only. A change of any value
// rebuilds the kernel; the definition's `is-smooth-update` turns that into a module
// crossfade. Without the crossfade the delay lines keep their history when the new kernel has
// the shape of the old one.
class CModFilterFIRModule : public CAudioModule {
public:
    enum EParam { kCount, kIndex, kLatency, kFixSR, kLength, kFreq, kBeta, kParamCount };

    static constexpr double kDefaultCount = 1.0;
    static constexpr double kDefaultIndex = 0.0;
    static constexpr double kDefaultLatency = 6.0;
    static constexpr double kDefaultFixSR = 0.0;
    static constexpr double kDefaultLength = 0.001;
    static constexpr double kDefaultFreq = 11025.0;
    static constexpr double kDefaultBeta = 18.0;
    // The rate a kernel is designed for with `fixsr`.
    static constexpr double kFixedDesignRate = 44100.0;
    // Longer kernels (some 24 s at 44100 Hz) are refused rather than built.
    static constexpr int32_t kMaxTaps = int32_t{1} << 20;

    void bindParams() override;
    void connectPorts() override;
    void resetState() override;
    void update() override;
    void process() {
        if (!m_active) {
            for (int32_t i = 0; i < m_inputCount; ++i) passInput(i, i);
            return;
        }
        for (int32_t i = 0; i < m_inputCount; ++i) {
            m_states[i].process(m_kernel, inputData(i), outputData(i), m_sampleCount);
        }
    }

    // What the module runs, for tests and measurements.
    bool isActive() const { return m_active; }
    int32_t ownLatency() const { return m_ownLatency; }
    const CFFTConvolverKernel& kernel() const { return m_kernel; }

private:
    struct CDesign {
        const CAudioFilterFIRLPGen* gen = nullptr;
        double rate = 0.0;
        double length = 0.0;
        double freq = 0.0;
        double beta = 0.0;
        int32_t log2Block = 0;
        bool zeroLatency = false;
        bool operator==(const CDesign&) const = default;
    };

    double rate() const;
    CDesign readDesign() const;
    // The own latency a design gives, or 0 when it makes no kernel.
    static int32_t latencyOf(const CDesign& d);
    void build(const CDesign& d);
    void applyLatency();

    CFFTConvolverKernel m_kernel;
    CFFTConvolverState m_states[kMaxInputs];
    std::vector<double> m_taps;
    CDesign m_design;
    bool m_built = false;
    bool m_active = false;
    bool m_combining = false;
    int32_t m_ownLatency = 0;
};

}  // namespace orl
