#pragma once
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModRMSModule.h"

namespace orl {

// The level smoother node: one CModRMSModule for each channel.
using CModRMS = CAudioProcessTerminal<CModRMSModule>;

// The definition of `audio:modRMS`.
class CModRMSDef : public CAudioProcessDefBase {
public:
    CModRMSDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
