#include "Platform/CPlatformClock.h"
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace orl {

int64_t CPlatformClock::counter() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<int64_t>(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
}

bool CPlatformClock::frequency(double& out) {
    // The counter is in nanoseconds whatever the clock's resolution; asking for the resolution
    // only tells whether the clock exists.
    timespec res;
    if (clock_getres(CLOCK_MONOTONIC, &res) != 0) return false;
    out = 1e9;
    return true;
}

uint32_t CPlatformClock::currentThreadId() {
    return static_cast<uint32_t>(syscall(SYS_gettid));
}

}  // namespace orl
