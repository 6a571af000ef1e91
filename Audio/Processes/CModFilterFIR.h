#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModFilterFIRModule.h"

namespace orl {

// The linear-phase FIR filter (`audio:modFilterFIR`) of the oversampling chain. Meant to run
// with `is-terminal-whole`: then one CModFilterFIRModule serves all channels and they share
// one transformed kernel. Without it there is one module, and one kernel, per channel.
class CModFilterFIR : public CAudioProcessTerminal<CModFilterFIRModule> {};

}  // namespace orl
