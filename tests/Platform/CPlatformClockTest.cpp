#include "Platform/CPlatformClock.h"
#include <gtest/gtest.h>
#include <chrono>
#include <thread>

using namespace orl;

TEST(CPlatformClock, CounterIsMonotonicAndScaledByFrequency) {
    double frequency = 0;
    ASSERT_TRUE(CPlatformClock::frequency(frequency));
    EXPECT_GT(frequency, 0.0);
    int64_t previous = CPlatformClock::counter();
    for (int i = 0; i < 10000; ++i) {
        const int64_t now = CPlatformClock::counter();
        ASSERT_GE(now, previous);
        previous = now;
    }
    const int64_t start = CPlatformClock::counter();
    const auto wallStart = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    const double seconds = (CPlatformClock::counter() - start) / frequency;
    const double wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
    EXPECT_GE(seconds, 0.030);
    // Same span as the standard clock: catches a wrong unit or scale, not scheduling noise.
    EXPECT_NEAR(seconds, wallSeconds, 0.02);
}

TEST(CPlatformClock, ThreadIdsAreStablePerThreadAndDistinct) {
    const uint32_t mine = CPlatformClock::currentThreadId();
    EXPECT_EQ(CPlatformClock::currentThreadId(), mine);
    uint32_t other = mine;
    std::thread([&] { other = CPlatformClock::currentThreadId(); }).join();
    EXPECT_NE(other, mine);
}
