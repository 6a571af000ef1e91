#include "Platform/CEvent.h"
#include <gtest/gtest.h>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using namespace orl;

namespace {

void sleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// Starts threads that each wait on the event and count themselves once released.
std::vector<std::thread> startWaiters(CEvent& event, int n, std::atomic<int>& woken, uint32_t timeoutMs) {
    std::vector<std::thread> waiters;
    for (int i = 0; i < n; ++i)
        waiters.emplace_back([&] {
            if (event.wait(timeoutMs)) woken.fetch_add(1);
        });
    sleepMs(30);  // let them block
    return waiters;
}

}  // namespace

TEST(CEvent, AutoResetReleasesOneWaiterPerSet) {
    CEvent event;
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters = startWaiters(event, 3, woken, CEvent::kInfinite);
    EXPECT_EQ(woken.load(), 0);
    for (int expected = 1; expected <= 3; ++expected) {
        event.set();
        while (woken.load() < expected) sleepMs(1);
        if (expected == 1) sleepMs(50);  // room for a wrongly released second waiter
        EXPECT_EQ(woken.load(), expected);
    }
    for (auto& t : waiters) t.join();
    EXPECT_FALSE(event.wait(0));  // each release cleared the event
}

TEST(CEvent, ManualResetReleasesEveryWaiter) {
    CEvent event(true);
    std::atomic<int> woken{0};
    // The waiters give up after 3 s, so a set that wakes only one of them fails here rather
    // than hangs; all must be out well before then.
    std::vector<std::thread> waiters = startWaiters(event, 3, woken, 3000);
    event.set();
    for (int ms = 0; ms < 1000 && woken.load() < 3; ++ms) sleepMs(1);
    EXPECT_EQ(woken.load(), 3);
    for (auto& t : waiters) t.join();
    EXPECT_TRUE(event.wait(10));  // and stays set
}

// With nobody waiting, a signal is kept for the next wait; only the auto-reset kind consumes it.
TEST(CEvent, SignalWithoutWaiters) {
    for (bool manual : {false, true}) {
        SCOPED_TRACE(manual);
        CEvent event(manual);
        EXPECT_FALSE(event.wait(0));
        event.set();
        EXPECT_TRUE(event.wait(0));
        EXPECT_EQ(event.wait(0), manual);
        event.set();
        event.reset();
        EXPECT_FALSE(event.wait(0));
        CEvent initiallySet(manual, true);
        EXPECT_TRUE(initiallySet.wait(0));
        EXPECT_EQ(initiallySet.wait(0), manual);
    }
}

TEST(CEvent, TimeoutAndLateSignal) {
    CEvent event;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(event.wait(60));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));  // never early

    std::thread late([&] {
        sleepMs(20);
        event.set();
    });
    EXPECT_TRUE(event.wait(10000));
    late.join();
    EXPECT_FALSE(event.wait(0));
}
