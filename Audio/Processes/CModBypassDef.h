#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the bypass and solo switch, tag "audio:modBypass". Allocations: 0 `enable`,
// 1 `group-solo` (read for every group); the alternate signal arrives on port 1.
class CModBypassDef : public CAudioProcessDefBase {
public:
    CModBypassDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
