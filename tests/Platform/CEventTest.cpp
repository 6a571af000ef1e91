#include "Platform/CEvent.h"
#include "Platform/CPlatformClock.h"
#include <gtest/gtest.h>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using namespace orl;

namespace {

void waitUntil(const std::atomic<int>& value, int target) {
    while (value.load() < target) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace

TEST(CEvent, AutoResetReleasesOneWaiterAndClears) {
    CEvent event;  // auto reset, initially clear
    EXPECT_FALSE(event.wait(0));
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            EXPECT_TRUE(event.wait(CEvent::kInfinite));
            woken.fetch_add(1);
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));  // let them block
    EXPECT_EQ(woken.load(), 0);

    event.set();
    waitUntil(woken, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(woken.load(), 1);    // one set, one waiter
    EXPECT_FALSE(event.wait(0));  // and the event cleared itself

    event.set();
    waitUntil(woken, 2);
    event.set();
    waitUntil(woken, 3);
    for (auto& t : waiters) t.join();
    EXPECT_FALSE(event.wait(0));

    // With nobody waiting, the signal is kept for the next wait and consumed by it.
    event.set();
    EXPECT_TRUE(event.wait(0));
    EXPECT_FALSE(event.wait(0));
    event.set();
    event.reset();
    EXPECT_FALSE(event.wait(0));
}

TEST(CEvent, ManualResetStaysSetForEveryone) {
    CEvent event(true);
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            if (event.wait(CEvent::kInfinite)) woken.fetch_add(1);
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    event.set();
    for (auto& t : waiters) t.join();
    EXPECT_EQ(woken.load(), 3);
    EXPECT_TRUE(event.wait(0));
    EXPECT_TRUE(event.wait(10));
    event.reset();
    EXPECT_FALSE(event.wait(0));

    CEvent initiallySet(true, true);
    EXPECT_TRUE(initiallySet.wait(0));
    EXPECT_TRUE(initiallySet.wait(0));
    CEvent autoInitiallySet(false, true);
    EXPECT_TRUE(autoInitiallySet.wait(0));
    EXPECT_FALSE(autoInitiallySet.wait(0));
}

TEST(CEvent, TimeoutAndLateSignal) {
    double frequency = 0;
    ASSERT_TRUE(CPlatformClock::frequency(frequency));
    CEvent event;
    const int64_t start = CPlatformClock::counter();
    EXPECT_FALSE(event.wait(60));
    const double waited = (CPlatformClock::counter() - start) / frequency;
    EXPECT_GE(waited, 0.060);  // never gives up early

    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        event.set();
    });
    EXPECT_TRUE(event.wait(10000));
    late.join();
    EXPECT_FALSE(event.wait(0));
}
