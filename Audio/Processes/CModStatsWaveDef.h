#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the waveform statistics, tag "audio:modStatsWave". Attribute `fps`, read by
// each module as it connects (empty: the rate the displays ask for).
class CModStatsWaveDef : public CAudioProcessDefBase {
public:
    CModStatsWaveDef();
    CAudioProcessBase* createProcess() const override;
};

}  // namespace orl
