#include "Core/CHighResTime.h"

#include "Core/CLog.h"
#include "Platform/CPlatformClock.h"

namespace orl {
namespace {

struct Clock {
    double frequency = 1e6;
    int64_t start = 0;
    Clock() {
        if (!CPlatformClock::frequency(frequency) || frequency <= 0.0) {
            frequency = 1e6;
            CLog::log("Cannot query performance frequency.", true);
        }
        start = CPlatformClock::counter();
    }
};

const Clock& clock() {
    static const Clock c;
    return c;
}

// Take the start time while the library loads, not at the first question.
[[maybe_unused]] const Clock& g_startAtLoad = clock();

}  // namespace

int64_t CHighResTime::counter() { return CPlatformClock::counter(); }
double CHighResTime::frequency() { return clock().frequency; }
int64_t CHighResTime::processStart() { return clock().start; }

}  // namespace orl
