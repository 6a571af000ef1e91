#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"
#include "Audio/CDSPModDelay.h"

namespace orl {

// One channel of the latency uniformer. It delays its input by the table's total for the rate
// minus the input's latency and reports the total as its output latency, so that a change in
// front of it (oversampling factor, filter family) moves its delay over a 15 ms crossfade and
// never the latency behind it. A rate without a usable row, or an input already later than the
// total, gets no delay; the first case keeps the input's latency, the second reports the total
// the host knows for that rate.
class CModLatencyUniformerModule : public CAudioModule {
public:
    static constexpr int32_t kBlockSize = 512;
    static constexpr double kTransitionSeconds = 0.015;

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

    int32_t targetDelay() const { return m_target; }
    const CDSPModDelay& line() const { return m_line; }

private:
    double rate() const;

    CDSPModDelay m_line;
    int32_t m_target = 0;
    bool m_compInput = false;
    bool m_fillFromFirst = false;
    bool m_fresh = true;
    double m_rate = 0.0;
    // The last condition written to the log, so a state that persists is told once.
    int64_t m_loggedKey = -1;
};

}  // namespace orl
