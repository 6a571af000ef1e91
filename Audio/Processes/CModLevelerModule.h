#pragma once
#include "Audio/CAudioModule.h"

namespace orl {

// Links the channels of one group: one module for all the node's channels. The detector signal D
// is the extreme over the channels (maximum, or minimum), their average, or a mix of the two,
// each on the plain or the squared values; each output then moves from its own channel towards D
// by `linking`. Under full linking the node carries D as one channel only, so everything
// downstream runs once for the group.
//
// Slots: 0 `mode` (non-zero: minimum), 1 `mix` (0..1), 2 `linking` (0..1), 3 `avg-mode`
// (0 Avg, 1 RMS), 4 `out-mode` (0 Lin, 1 Sqr).
class CModLevelerModule : public CAudioModule {
public:
    static constexpr double kEps = 2.220446049250313e-16;

    CModLevelerModule() { m_paramCount = 5; }
    // Reads the parameters here as well: the number of output channels follows `linking`.
    void connectPorts() override;
    // Asks the node to reconnect when `linking` now calls for another number of outputs.
    void update() override;
    void process();

    double inverseCount() const { return m_inverseCount; }
    bool isFullLinking() const { return m_linkNonZero && !m_linkNotOne; }

    // Zero and one with a tolerance relative to the value.
    static bool isNonZero(double v);
    static bool differsFromOne(double v);

private:
    void readParams();
    int32_t wantedOutputCount() const;
    // Where the channels are combined into D (steps that mix makes unnecessary are skipped).
    void detect(double* d, const double* const* x, int32_t channels, int32_t count);
    // The output form: RMS values back to linear, or Avg values squared.
    void shape(double* y, int32_t count) const;

    bool m_minimum = false;
    bool m_rms = false;
    bool m_squareOut = false;
    double m_mix = 0.0;
    double m_linking = 1.0;
    bool m_mixNonZero = false;
    bool m_mixNotOne = true;
    bool m_linkNonZero = true;
    bool m_linkNotOne = false;
    double m_inverseCount = 1.0;
};

}  // namespace orl
