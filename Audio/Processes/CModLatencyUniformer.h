#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModLatencyUniformerModule.h"

namespace orl {

// The latency uniformer (`audio:modLatencyUniformer`): one CModLatencyUniformerModule per
// channel pads the latency in front of it to the table's total for the sample rate, so the
// latency the host sees depends on the rate alone.
class CModLatencyUniformer : public CAudioProcessTerminal<CModLatencyUniformerModule> {};

}  // namespace orl
