#pragma once
#include "Audio/Processes/CVizFrameModule.h"

namespace orl {

// One channel of the waveform statistics (`audio:modStatsWave`): per frame the largest
// magnitude and the largest positive sample of its first input, for the waveform display. A link
// into port 1 carries no signal here; it only places the node after its source, so that the
// graph delays this input to line up with that source's output.
class CModStatsWaveModule : public CVizFrameModule {
public:
    void resetState() override;

    double maxAbs() const { return m_maxAbs; }
    double maxPositive() const { return m_maxPositive; }

protected:
    void runChunk(int32_t offset, int32_t count) override;
    void fillRecord(CAudioVizDataMeter& record) override;

private:
    double m_maxAbs = 0.0;
    double m_maxPositive = 0.0;
};

}  // namespace orl
