#include "Platform/CCriticalSection.h"
#include <gtest/gtest.h>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using namespace orl;

namespace {

// Several threads increment a plain counter inside the section and watch for anyone else being
// inside at the same time.
void checkMutualExclusion(CCriticalSection& section, int threads, int iterations) {
    long counter = 0;
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([&] {
            for (int i = 0; i < iterations; ++i) {
                section.enter();
                if (inside.fetch_add(1) != 0) overlaps.fetch_add(1);
                counter = counter + 1;
                inside.fetch_sub(1);
                section.leave();
            }
        });
    }
    for (auto& th : pool) th.join();
    EXPECT_EQ(counter, static_cast<long>(threads) * iterations);
    EXPECT_EQ(overlaps.load(), 0);
}

}  // namespace

TEST(CCriticalSection, MutualExclusionUnderContention) {
    CCriticalSection spinning;  // default spin count
    checkMutualExclusion(spinning, 4, 100000);
    CCriticalSection blocking(0);  // no spinning: every contended enter blocks
    checkMutualExclusion(blocking, 3, 50000);
    CCriticalSection recursive(2000, true);
    checkMutualExclusion(recursive, 2, 50000);
    EXPECT_EQ(spinning.spinCount(), 2000u);
}

TEST(CCriticalSection, TryEnterFailsWhileAnotherThreadHolds) {
    CCriticalSection section;
    std::atomic<bool> held{false};
    std::atomic<bool> mayLeave{false};
    std::thread owner([&] {
        section.enter();
        held = true;
        while (!mayLeave) std::this_thread::yield();
        section.leave();
    });
    while (!held) std::this_thread::yield();
    EXPECT_FALSE(section.tryEnter());
    mayLeave = true;
    owner.join();
    EXPECT_TRUE(section.tryEnter());
    section.leave();
}

TEST(CCriticalSection, EnterWaitsForTheOwner) {
    CCriticalSection section;
    std::atomic<bool> entered{false};
    section.enter();
    std::thread waiter([&] {
        section.enter();
        entered = true;
        section.leave();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered.load());
    section.leave();
    waiter.join();
    EXPECT_TRUE(entered.load());
}

TEST(CCriticalSection, RecursiveReentry) {
    CCriticalSection section(2000, true);
    section.enter();
    section.enter();
    EXPECT_TRUE(section.tryEnter());
    section.leave();
    section.leave();
    // Still held once: other threads are kept out until the last leave.
    bool otherGotIn = true;
    std::thread([&] { otherGotIn = section.tryEnter(); }).join();
    EXPECT_FALSE(otherGotIn);
    section.leave();
    std::thread([&] {
        otherGotIn = section.tryEnter();
        if (otherGotIn) section.leave();
    }).join();
    EXPECT_TRUE(otherGotIn);

    {
        CCriticalSectionLock outer(section);
        CCriticalSectionLock inner(section);
        std::thread([&] { otherGotIn = section.tryEnter(); }).join();
        EXPECT_FALSE(otherGotIn);
    }
    EXPECT_TRUE(section.tryEnter());
    section.leave();
}
