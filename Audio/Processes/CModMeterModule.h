#pragma once
#include <cstdint>

#include "Audio/Processes/CVizFrameModule.h"
#include "Core/CArray.h"

namespace orl {

// One channel of a level meter (`audio:modMeter`). It measures a level (a mean square with an
// instant attack and a set release) and the peak held over `peak-time`, in one of four ways:
// plain level; a gain signal, where smaller means more reduction (`is-compression`, optionally
// relative to its own slow mean with `use-bias`); the ratio of two signals' levels (`is-diff`,
// the second from port 1); or loudness through the K weighting over a sliding window
// (`use-ebu128`). Each frame sends two values: the level and the held peak.
//
// The held peak costs a comparison per sample: the running extreme of each 25 ms sub-block goes
// into a ring that spans `peak-time`, and the ring is scanned only when the held value leaves it.
class CModMeterModule : public CVizFrameModule {
public:
    enum EParam : int32_t {
        kPeakTime,
        kRmsTime,
        kGain,
        kBiasTime,
        kUseBias,
        kRelease,
        kPeakGain,
        kRmsTime2,
        kRelease2,
        kUseTime2,
        kUseEbu128,
        kParamCount
    };
    enum ERoutine : int32_t { kPlain, kCompression, kDiff, kLoudness };
    // The reading of a loudness window, so that a full-scale sine reads as its K-weighted level.
    static constexpr double kLoudnessScale = 0.927414538975768;
    static constexpr double kDefaultBiasTime = 1.0;

    CModMeterModule() { m_paramCount = kParamCount; }

    void connectPorts() override;
    void resetState() override;
    void update() override;

    // Coefficient of a one-pole smoother with time constant seconds at sampleRate.
    static double timeCoefficient(double seconds, double sampleRate);

    ERoutine routine() const { return m_routine; }
    int32_t ringSize() const { return m_ring.count(); }
    int32_t subBlockLength() const { return m_subBlock; }
    int32_t loudnessWindow() const { return m_window.count(); }
    double heldPeak() const { return m_heldPeak; }
    double level() const { return m_level; }
    // The values the next record would carry.
    void currentValues(double& value1, double& value2) const;

protected:
    void runChunk(int32_t offset, int32_t count) override;
    void fillRecord(CAudioVizDataMeter& record) override;

private:
    struct CBiquad {
        double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
        double w1 = 0.0, w2 = 0.0;
        // Direct form II.
        double run(double x) {
            const double w = x - a1 * w1 - a2 * w2;
            const double y = b0 * w + b1 * w1 + b2 * w2;
            w2 = w1;
            w1 = w;
            return y;
        }
    };

    void initState();
    void designLoudnessFilters(double sampleRate);
    void ringStep(bool isMaximum);
    const double* secondInput(int32_t offset) const;

    void runPlain(const double* x, int32_t n);
    void runCompression(const double* x, int32_t n);
    void runDiff(const double* x1, const double* x2, int32_t n);
    void runLoudness(const double* x, int32_t n);

    bool m_isDiff = false;
    bool m_isCompression = false;
    bool m_isInverted = false;
    bool m_useBias = false;
    bool m_configured = false;
    ERoutine m_routine = kPlain;
    const CAudioChannel* m_side = nullptr;

    double m_gain = 1.0;
    double m_peakGain = 1.0;
    double m_a = 1.0, m_b = 1.0, m_c = 1.0;
    double m_meanSquare = 0.0, m_meanSquare2 = 0.0, m_level = 0.0, m_bias = 0.0;
    double m_heldPeak = 0.0, m_runPeak = 0.0;
    CArray<double> m_ring;
    int32_t m_ringPos = 0;
    int32_t m_heldAge = 0;
    int32_t m_subBlock = 1;
    int32_t m_subBlockLeft = 1;

    CBiquad m_highPass;
    CBiquad m_shelf;
    CArray<double> m_window;
    int32_t m_windowPos = 0;
    int32_t m_windowFill = 0;
    double m_sum = 0.0;
    double m_freshSum = 0.0;
    int32_t m_refreshLeft = 0;
};

}  // namespace orl
