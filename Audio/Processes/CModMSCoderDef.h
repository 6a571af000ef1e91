#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the mid/side coder, tag "audio:modMSCoder". Allocations: 0 `pairs` (read
// element by element), 1 `mode` (0 encoder, else decoder), 2 `bypass`.
class CModMSCoderDef : public CAudioProcessDefBase {
public:
    CModMSCoderDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
