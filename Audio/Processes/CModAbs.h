#pragma once
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModAbsModule.h"

namespace orl {

// The magnitude node: one CModAbsModule for each channel.
using CModAbs = CAudioProcessTerminal<CModAbsModule>;

// The definition of `audio:modAbs`.
class CModAbsDef : public CAudioProcessDefBase {
public:
    CModAbsDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
