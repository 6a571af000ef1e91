#pragma once
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModLevelerModule.h"

namespace orl {

// The channel linking node: with `is-terminal-whole`, one CModLevelerModule for all channels.
using CModLeveler = CAudioProcessTerminal<CModLevelerModule>;

// The definition of `audio:modLeveler`.
class CModLevelerDef : public CAudioProcessDefBase {
public:
    CModLevelerDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
