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
    std::atomic<int> inside{0}, overlaps{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t)
        pool.emplace_back([&] {
            for (int i = 0; i < iterations; ++i) {
                section.enter();
                if (inside.fetch_add(1) != 0) overlaps.fetch_add(1);
                counter = counter + 1;
                inside.fetch_sub(1);
                section.leave();
            }
        });
    for (auto& th : pool) th.join();
    EXPECT_EQ(counter, static_cast<long>(threads) * iterations);
    EXPECT_EQ(overlaps.load(), 0);
}

bool otherThreadGetsIn(CCriticalSection& section) {
    bool got = false;
    std::thread([&] {
        got = section.tryEnter();
        if (got) section.leave();
    }).join();
    return got;
}

}  // namespace

TEST(CCriticalSection, MutualExclusionUnderContention) {
    CCriticalSection spinning;
    checkMutualExclusion(spinning, 4, 100000);
    CCriticalSection blocking(0);  // no spinning: every contended enter blocks
    checkMutualExclusion(blocking, 3, 50000);
    CCriticalSection recursive(2000, true);
    checkMutualExclusion(recursive, 2, 50000);
}

// Other threads can't get in, and one blocked in enter() gets in only when the owner leaves; a
// recursive owner that entered several times must leave as often.
TEST(CCriticalSection, OwnerKeepsOthersOutUntilItsLastLeave) {
    for (bool recursive : {false, true}) {
        SCOPED_TRACE(recursive);
        CCriticalSection section(2000, recursive);
        std::atomic<bool> entered{false};
        std::thread waiter;
        {
            CCriticalSectionLock hold(section);
            if (recursive) {
                section.enter();
                EXPECT_TRUE(section.tryEnter());
                section.leave();
                section.leave();
            }
            EXPECT_FALSE(otherThreadGetsIn(section));
            waiter = std::thread([&] {
                section.enter();
                entered = true;
                section.leave();
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            EXPECT_FALSE(entered.load());
        }
        waiter.join();
        EXPECT_TRUE(entered.load());
        EXPECT_TRUE(otherThreadGetsIn(section));
    }
}
