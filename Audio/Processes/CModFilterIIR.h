#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModFilterIIRModule.h"

namespace orl {

// The IIR filter (`audio:modFilterIIR`): one CModFilterIIRModule per channel, each running the
// filter program that the chosen generator describes.
class CModFilterIIR : public CAudioProcessTerminal<CModFilterIIRModule> {};

}  // namespace orl
