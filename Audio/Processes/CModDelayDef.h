#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the delay of the gain path, tag "audio:modDelay". Attributes:
// `is-latency-seconds` (`latency` is in seconds, else in whole samples), `latency` (the fixed
// latency the node reports) and `is-latency-positive` (the delay parameter adds to that latency
// rather than taking away from it). Allocations: 0 `time`, 1 `samples`, 2 `trans-time`,
// 3 `block-size`, 4 `time-mode`.
class CModDelayDef : public CAudioProcessDefBase {
public:
    CModDelayDef();
    CError* init() override;
    CAudioProcessBase* createProcess() const override;

    bool isLatencySeconds() const { return m_latencySeconds; }
    // `latency` in seconds (with isLatencySeconds) or in samples, never below 0.
    double latency() const { return m_latency; }
    bool isLatencyPositive() const { return m_latencyPositive; }
    // The fixed latency in samples at a sample rate.
    int32_t latencySamples(double sampleRate) const;

private:
    bool m_latencySeconds = false;
    double m_latency = 0.0;
    bool m_latencyPositive = false;
};

}  // namespace orl
