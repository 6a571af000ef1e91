#pragma once
#include <cstdint>

#include "Audio/Processes/CModWholeNode.h"

namespace orl {

class CDSPModDelay;

// The sample-dropping half of a 2x downsampling stage (`audio:modDecimator`): it keeps every
// second sample, so the output runs at half the rate with half the block length. Latency is
// counted in output samples: an even input latency L becomes L/2. An odd one cannot be halved,
// so each channel first goes through a delay of one sample (faded in and out like any other
// delay change) and the output latency is (L+1)/2; the kept samples then stay on the same
// phase of the signal as the stages before them assumed.
class CModDecimator : public CModWholeNode {
public:
    ~CModDecimator() override;
    void resetState() override;
    void release() override;

protected:
    void updateNode() override;
    void processBlock() override;

private:
    bool m_compensate = false;
    CDSPModDelay* m_delays[kMaxChannels] = {};
};

}  // namespace orl
