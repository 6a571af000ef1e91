#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModBypassModule.h"

namespace orl {

// The bypass and solo switch (`audio:modBypass`): one CModBypassModule per channel. Definitions
// give it `is-smooth-update`, so each switch is a module crossfade.
class CModBypass : public CAudioProcessTerminal<CModBypassModule> {};

}  // namespace orl
