#pragma once
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModStatsWaveModule.h"

namespace orl {

// The waveform statistics (`audio:modStatsWave`): one CModStatsWaveModule per input channel.
class CModStatsWave : public CAudioProcessTerminal<CModStatsWaveModule> {};

}  // namespace orl
