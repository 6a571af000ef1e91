#pragma once
#include <cstdint>

#include "Audio/Filters/CFilterBiquadBlock.h"
#include "Audio/Filters/CFilterHalfBandBlock.h"

namespace orl {

// One operation of a filter program: its name ("DCDAW_fltbiqlp", "DCDAW_flthbf10", ...), the
// run loop it calls, and its coefficient and state block.
struct CDCDAWContextWorkspace {
    enum EKind : int32_t { kBiquad = 0, kHalfBand = 1 };
    const char* name = "";
    EKind kind = kBiquad;
    // The loop: the biquad form (0 to 4) or the half-band sections per branch minus one.
    int32_t variant = 0;
    CFilterBiquadBlock biquad{};
    CFilterHalfBandBlock halfBand{};
};

}  // namespace orl
