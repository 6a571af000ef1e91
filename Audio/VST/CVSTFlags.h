#pragma once
#include <cstdint>

namespace orl {

// Bits of the effect record's flags.
struct CVSTFlags {
    enum : int32_t {
        kHasEditor = 1,
        kCanReplacing = 16,
        kProgramChunks = 32,
        kIsSynth = 256,
        kNoSoundInStop = 512,
        kCanDoubleReplacing = 4096,
    };
};

}  // namespace orl
