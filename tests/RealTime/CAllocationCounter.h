#pragma once
#include <cstdint>

namespace orl::test {

// Counts heap allocations (operator new and, outside sanitizer builds, malloc and friends) made
// while counting is on, from any thread.
class CAllocationCounter {
public:
    static void start();
    static int64_t stop();  // allocations since start
    // True when malloc itself is counted, not only operator new.
    static bool countsMalloc();
};

}  // namespace orl::test
