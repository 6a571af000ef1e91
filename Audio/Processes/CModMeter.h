#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModMeterModule.h"

namespace orl {

// The level meter (`audio:modMeter`): one CModMeterModule per input channel. A leaf that feeds
// nothing; its readings leave as visualisation records.
class CModMeter : public CAudioProcessTerminal<CModMeterModule> {};

}  // namespace orl
