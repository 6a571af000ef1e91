#include "Platform/CPlatformClock.h"
#include <gtest/gtest.h>
#include <chrono>
#include <thread>

using namespace orl;

TEST(CPlatformClock, CounterMatchesFrequencyAndThreadIdsDiffer) {
    double frequency = 0;
    ASSERT_TRUE(CPlatformClock::frequency(frequency));
    const int64_t start = CPlatformClock::counter();
    const auto wallStart = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    const double seconds = (CPlatformClock::counter() - start) / frequency;
    const double wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
    // Same span as the standard clock: catches a counter and frequency in different units.
    EXPECT_GE(seconds, 0.030);
    EXPECT_NEAR(seconds, wallSeconds, 0.02);

    // A process id instead of a thread id would be the same in both threads.
    const uint32_t mine = CPlatformClock::currentThreadId();
    uint32_t other = mine;
    std::thread([&] { other = CPlatformClock::currentThreadId(); }).join();
    EXPECT_NE(other, mine);
    EXPECT_EQ(CPlatformClock::currentThreadId(), mine);
}
