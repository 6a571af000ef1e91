#pragma once
#include <cstdint>

namespace orl {

// The high-resolution counter and thread identity of the operating system.
class CPlatformClock {
public:
    // A monotonic counter: it never goes back and does not follow changes of wall-clock time.
    static int64_t counter();
    // Counts of counter() per second; false if the clock cannot be queried.
    static bool frequency(double& out);
    // Identifier of the calling thread, unique among the threads alive in the process.
    static uint32_t currentThreadId();
};

}  // namespace orl
