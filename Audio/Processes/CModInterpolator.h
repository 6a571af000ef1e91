#pragma once
#include "Audio/Processes/CModWholeNode.h"

namespace orl {

// The zero-stuffing half of a 2x upsampling stage (`audio:modInterpolator`): every input sample
// is followed by a zero, and the samples are doubled to make up for the level that the zeros
// take away, so that the low-pass behind it restores the signal at its level. The output runs
// at twice the rate, with twice the block length and the latency counted in the new samples.
class CModInterpolator : public CModWholeNode {
protected:
    void updateNode() override {}
    void processBlock() override;
};

}  // namespace orl
