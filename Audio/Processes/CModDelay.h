#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModDelayModule.h"

namespace orl {

// The delay of the gain path (`audio:modDelay`): one CModDelayModule per channel, updated
// directly on a change, since the delay line fades between its taps by itself.
class CModDelay : public CAudioProcessTerminal<CModDelayModule> {};

}  // namespace orl
