#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the gain stage, tag "audio:modGain". Allocations: 0 `gain` (a linear
// factor), 1 `mute`, 2 `phase-invert`.
class CModGainDef : public CAudioProcessDefBase {
public:
    CModGainDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
