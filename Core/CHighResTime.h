#pragma once
#include <cstdint>

namespace orl {

// The high-resolution counter, its frequency and the moment the process started, read once.
class CHighResTime {
public:
    static int64_t counter();
    static double frequency();
    // Counter value taken when the process started (at static initialisation).
    static int64_t processStart();
    static double secondsBetween(int64_t from, int64_t to) { return static_cast<double>(to - from) / frequency(); }
    static double secondsSince(int64_t from) { return secondsBetween(from, counter()); }
    static double secondsSinceStart() { return secondsSince(processStart()); }
};

}  // namespace orl
