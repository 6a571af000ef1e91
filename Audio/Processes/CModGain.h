#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModGainModule.h"

namespace orl {

// The gain stage (`audio:modGain`): one CModGainModule per channel.
class CModGain : public CAudioProcessTerminal<CModGainModule> {};

}  // namespace orl
