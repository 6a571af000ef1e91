#pragma once
#include "Tools/render/CSoundFile.h"

namespace orl {

// A short piece of program-like material for the demo: kick, bass line and noise bursts at
// 120 beats per minute, stereo at 48 kHz, with a louder second half so that the compressor has
// something to do. The same length always gives the same samples.
class CDemoSignal {
public:
    static CSoundFile make(double seconds);
};

}  // namespace orl
