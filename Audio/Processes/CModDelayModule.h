#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"
#include "Audio/CDSPModDelay.h"

namespace orl {

// One channel of the gain path's delay. The node reports a fixed latency Lat (the definition's
// `latency`) and delays by Lat - d (or Lat + d with `is-latency-positive`), d being the delay
// parameter in samples; with Lat 0 the delay is d. So in the compressor, with d the look-ahead,
// the audio beside this node is compensated by the full Lat while the gain runs d ahead of it,
// and a change of look-ahead moves no latency anywhere in the graph. The delay line changes
// over `trans-time` without a click.
//
// d is `time` (converted by `time-mode`) plus `samples`, at most 12 seconds. With the node's
// `is-comp-input` the line starts filled with the first input sample rather than zeros, so a
// gain signal at 1.0 does not start muted.
class CModDelayModule : public CAudioModule {
public:
    enum EParam : int32_t { kTime, kSamples, kTransTime, kBlockSize, kTimeMode, kParamCount };
    enum ETimeMode : int32_t { kMsec = 0, kMeter = 1, kFoot = 2 };
    static constexpr double kMaxSeconds = 12.0;
    static constexpr double kMetresPerSecond = 340.29;
    static constexpr double kFeetPerSecond = 1116.437;

    CModDelayModule() { m_paramCount = kParamCount; }

    void connectPorts() override;
    void resetState() override;
    void update() override;
    void process() {
        if (m_inputCount == 0) return;
        const double* in = inputData(0);
        if (m_fillFromFirst && m_sampleCount > 0) {
            m_line.setFillValue(in[0]);
            m_fillFromFirst = false;
        }
        m_line.process(in, outputData(0), m_sampleCount);
    }

    int32_t fixedLatency() const { return m_fixedLatency; }
    // The delay the line is set to, in samples, and its transition length.
    int32_t effectiveDelay() const { return m_effective; }
    int32_t transitionLength() const { return m_transition; }
    const CDSPModDelay& line() const { return m_line; }

private:
    double rate() const;

    CDSPModDelay m_line;
    int32_t m_fixedLatency = 0;
    bool m_latencyPositive = false;
    bool m_compInput = false;
    bool m_fillFromFirst = false;
    bool m_started = false;
    int32_t m_blockSize = 0;
    int32_t m_effective = 0;
    int32_t m_transition = 0;
};

}  // namespace orl
