#pragma once
#include "Audio/Processes/CModNodeDef.h"
#include "Audio/Processes/CModWholeNode.h"

namespace orl {

// A junction as a running node: each input channel goes on unchanged, with its index, group and
// latency, and its buffer reaches every destination with one reference each. It adds no latency
// and copies no samples.
class CModNode : public CModWholeNode {
protected:
    void updateNode() override {}
    void processBlock() override;
};

}  // namespace orl
