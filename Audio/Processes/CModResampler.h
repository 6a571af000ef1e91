#pragma once
#include <cstdint>

#include "Audio/Processes/CAudioProcessChain.h"

namespace orl {

// A resampler (`audio:modResampler`): a row of 2x stages built at run time. An upsampler stage
// is an interpolator and then a filter, a downsampler stage a filter and then a decimator; the
// steep filter of stage 0 works at the lowest rate, the soft ones above it. Upsampler stages
// are added and removed at the end, downsampler stages at the front, one at a time, so the other
// stages keep their state when the factor changes.
class CModResampler : public CAudioProcessChain {
public:
    static constexpr int32_t kMaxStages = 3;

    // Stages for a `mode` (0 automatic, n for 2^(n-1) times) and a host mode (below 0 forces
    // the level -mode, otherwise it is the automatic level): the number of 2x stages, 0 to 3.
    static int32_t stagesFor(double mode, double hostMode);

    int32_t stageCount() const { return m_stages; }

protected:
    void updateNode() override;

private:
    bool addStage();
    void removeStage();

    int32_t m_stages = 0;
};

}  // namespace orl
