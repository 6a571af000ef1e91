#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModPolyComp2Module.h"

namespace orl {

// The gain computer node (`audio:modPolyComp2`): one CModPolyComp2Module per input channel,
// updated directly on a parameter change so that the stages run on undisturbed.
class CModPolyComp2 : public CAudioProcessTerminal<CModPolyComp2Module> {};

}  // namespace orl
