#include "Platform/CRunLoop.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Core/CEventBus.h"
#include "Core/CObject.h"

using namespace orl;

namespace {

void record(void* context, uint32_t message, uint64_t param) {
    static_cast<std::vector<uint64_t>*>(context)->push_back(message * 1000 + param);
}

}  // namespace

TEST(CRunLoop, RunsPostsInOrderOnItsThreadUntilStopped) {
    CRunLoop loop;
    std::vector<uint64_t> seen;
    std::thread poster([&] {
        for (uint64_t i = 0; i < 50; ++i) EXPECT_TRUE(loop.post(&record, &seen, 1, i));
        loop.stop();
    });
    loop.run();  // returns once stopped, after what was posted before
    poster.join();
    loop.runPending();
    ASSERT_EQ(seen.size(), 50u);
    for (uint64_t i = 0; i < 50; ++i) EXPECT_EQ(seen[i], 1000 + i);
    EXPECT_FALSE(loop.post(&record, &seen, 2, 0));  // refused after stop
    EXPECT_FALSE(loop.waitAndRun(1));

    CRunLoop other;
    EXPECT_FALSE(other.waitAndRun(5));  // time-out with nothing posted
    std::thread late([&] { other.post(&record, &seen, 3, 7); });
    EXPECT_TRUE(other.waitAndRun(2000));
    late.join();
    EXPECT_EQ(seen.back(), 3007u);
}

TEST(CEventBus, LiveBusTableForgetsADestroyedRoot) {
    CObject* root = CObject::newRoot();
    root->attachNewBus();
    const uint32_t id = root->bus()->id();
    EXPECT_TRUE(CEventBus::isLive(id));
    root->destroy();
    EXPECT_FALSE(CEventBus::isLive(id));
}
