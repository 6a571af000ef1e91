#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModMultModule.h"

namespace orl {

// The gain multiplier (`audio:modMult`): one CModMultModule per channel of port 0.
class CModMult : public CAudioProcessTerminal<CModMultModule> {};

}  // namespace orl
