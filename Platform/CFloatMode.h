#pragma once
#include <cstdint>

namespace orl {

// Flush-to-zero and denormals-are-zero for the span of a scope: the audio thread's arithmetic
// never slows down on tiny numbers, and the host's own setting is back when the call returns.
// Only what this object changed is restored.
class CFloatMode {
public:
    CFloatMode();
    ~CFloatMode();
    CFloatMode(const CFloatMode&) = delete;
    CFloatMode& operator=(const CFloatMode&) = delete;

    // Whether both modes are on for the calling thread right now.
    static bool isFlushingDenormals();

private:
    uint32_t m_saved = 0;
    bool m_changed = false;
};

}  // namespace orl
