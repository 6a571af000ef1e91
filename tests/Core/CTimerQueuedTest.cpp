#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

#include "Core/CError.h"
#include "Core/CObject.h"
#include "Core/CTimerQueued.h"
#include "Platform/CEvent.h"
#include "Platform/CPlatformClock.h"
#include "Platform/CRunLoop.h"
#include "Platform/CTimerQueue.h"

using namespace orl;

namespace {

// Counts the ticks it hears, and the thread they ran on.
class CTickCounter : public CObject {
public:
    int ticks = 0;
    uint32_t thread = 0;
    static CError* onTick(CObject* o) {
        auto* self = static_cast<CTickCounter*>(o);
        ++self->ticks;
        self->thread = CPlatformClock::currentThreadId();
        return nullptr;
    }
    static void fill(CClassDescriptors& d) {
        CObject::fillDescriptors(d);
        CEventEntry e;
        e.proc = &onTick;
        d.events[CString("on-tick")] = e;
    }
};

const CCreatorRow kRows[] = {
    {"test:tick-counter", &createObjectOf<CTickCounter>, &CTickCounter::fill},
    {nullptr, nullptr, nullptr},
};
[[maybe_unused]] const bool g_reg = registerCreatorTable(kRows);

constexpr int64_t kSecond = 1000000000;  // counter units: nanoseconds

class CTimerQueuedTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CTimerQueued::ensureCreatorsRegistered());
        root = CObject::newRoot();
        root->attachNewBus();
        ui = add(root, "ui", "ui:ui-event-bridge");
        counter = static_cast<CTickCounter*>(add(ui, "counter", "test:tick-counter"));
    }
    void TearDown() override {
        CRunLoop::current()->runPending();
        root->destroy();
        CRunLoop::current()->runPending();
    }
    CObject* add(CObject* parent, const char* name, const char* tag) {
        CObject* o = nullptr;
        deleteError(parent->addChild(o, CString(tag), CString(name), false));
        return o;
    }
    CTimerQueued* timer(const char* name = "timer") {
        auto* t = dynamic_cast<CTimerQueued*>(add(ui, name, "core:timer"));
        EXPECT_NE(t, nullptr);
        counter->listenObject(t->fullName(), CString("tick"), CString("on-tick"));
        return t;
    }
    void set(CObject* o, const char* name, const char* value) {
        CError* err = o->setAttr(CString(name), CString(value), true);
        EXPECT_EQ(err, nullptr);
        deleteError(err);
    }
    // Runs this thread's loop until the counter reaches n ticks or ten seconds have gone.
    bool pumpUntil(int n) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (counter->ticks < n && std::chrono::steady_clock::now() < end) CRunLoop::current()->waitAndRun(20);
        return counter->ticks >= n;
    }

    CObject* root = nullptr;
    CObject* ui = nullptr;
    CTickCounter* counter = nullptr;
};

}  // namespace

TEST_F(CTimerQueuedTest, ClampsAndRestartOnlyOnRealChange) {
    EXPECT_DOUBLE_EQ(CTimerQueued::clampFps(0.0), 0.001);
    EXPECT_DOUBLE_EQ(CTimerQueued::clampFps(5000.0), 1000.0);
    EXPECT_DOUBLE_EQ(CTimerQueued::clampInterval(-1.0), 0.001);

    CTimerQueued* t = timer();
    EXPECT_FALSE(t->isStarted());  // no interval yet
    EXPECT_EQ(t->timerHandle(), 0u);

    set(t, "fps", "40");
    EXPECT_DOUBLE_EQ(t->interval(), 0.025);
    ASSERT_TRUE(t->isStarted());
    const uint64_t first = t->timerHandle();
    EXPECT_NE(first, 0u);

    // The same value, and one that differs by less than the rounding error, change nothing.
    set(t, "interval", "0.025");
    EXPECT_EQ(t->timerHandle(), first);
    ASSERT_EQ(t->setInterval(std::nextafter(0.025, 1.0)), nullptr);
    EXPECT_EQ(t->timerHandle(), first);
    EXPECT_FALSE(CTimerQueued::intervalChanged(0.025, std::nextafter(0.025, 1.0)));
    EXPECT_TRUE(CTimerQueued::intervalChanged(0.025, 0.025 + 1e-12));

    set(t, "fps", "0");
    EXPECT_DOUBLE_EQ(t->interval(), 1000.0);
    const uint64_t second = t->timerHandle();
    EXPECT_NE(second, first);

    set(t, "interval", "0");
    EXPECT_DOUBLE_EQ(t->interval(), 0.001);
    const uint64_t third = t->timerHandle();
    EXPECT_NE(third, second);
    set(t, "fps", "5000");  // clamped to 1000 per second: the interval it had already
    EXPECT_EQ(t->timerHandle(), third);

    // Switching the service restarts a running timer; setting the same flag again does not.
    set(t, "is-high-precision", "true");
    EXPECT_TRUE(t->isHighPrecision());
    const uint64_t fourth = t->timerHandle();
    EXPECT_NE(fourth, third);
    set(t, "is-high-precision", "true");
    EXPECT_EQ(t->timerHandle(), fourth);
    t->stopTimer();
    EXPECT_FALSE(t->isStarted());
}

TEST_F(CTimerQueuedTest, PacingSkipsAfterSlowHandlersAndRepostsLostTicks) {
    CTimerQueued::CTickGate gate;
    const int64_t t0 = 5 * kSecond;
    EXPECT_TRUE(gate.admit(t0, 1e9));
    EXPECT_FALSE(gate.isReady());
    // The tick was never handled: nothing more is posted for two seconds, then one is.
    EXPECT_FALSE(gate.admit(t0 + kSecond, 1e9));
    EXPECT_FALSE(gate.admit(t0 + 19 * kSecond / 10, 1e9));
    EXPECT_TRUE(gate.admit(t0 + 21 * kSecond / 10, 1e9));

    // A handler that took 100 ms at a 25 ms interval makes the next four ticks drop.
    gate.finish(0, kSecond / 10, 0.025, 1e9);
    EXPECT_TRUE(gate.isReady());
    EXPECT_EQ(gate.skipCount(), 4);
    const int64_t t1 = 10 * kSecond;
    for (int i = 0; i < 4; ++i) EXPECT_FALSE(gate.admit(t1 + i, 1e9)) << i;
    EXPECT_TRUE(gate.admit(t1 + 4, 1e9));
    // A quick handler drops nothing.
    gate.finish(0, kSecond / 100, 0.025, 1e9);
    EXPECT_EQ(gate.skipCount(), 0);

    // The same rule inside a timer, driven at chosen counter times: the first sys-tick is lost
    // (this thread's loop does not run), the timer posts again after two seconds, and both
    // posts reach the owner thread, which fires `tick` and marks the timer ready.
    CTimerQueued* t = timer();
    set(t, "is-high-precision", "true");
    set(t, "interval", "100");  // the real timer stays out of the way
    const int64_t now = CPlatformClock::counter();
    EXPECT_TRUE(t->queueTick(now));
    EXPECT_FALSE(t->queueTick(now + kSecond));
    EXPECT_TRUE(t->queueTick(now + 25 * kSecond / 10));
    EXPECT_FALSE(t->gate().isReady());
    EXPECT_EQ(counter->ticks, 0);
    CRunLoop::current()->runPending();
    EXPECT_EQ(counter->ticks, 2);
    EXPECT_TRUE(t->gate().isReady());
    EXPECT_TRUE(t->queueTick(now + 3 * kSecond));
}

TEST_F(CTimerQueuedTest, RealTimersTickOnTheOwnerThread) {
    CTimerQueued* high = timer("high");
    set(high, "is-high-precision", "true");
    set(high, "fps", "200");
    ASSERT_TRUE(pumpUntil(5));
    EXPECT_EQ(counter->thread, CPlatformClock::currentThreadId());
    high->destroy();
    CRunLoop::current()->runPending();
    const int afterHigh = counter->ticks;
    CRunLoop::current()->waitAndRun(50);
    CRunLoop::current()->runPending();
    EXPECT_EQ(counter->ticks, afterHigh);  // a destroyed timer ticks no more

    CTimerQueued* low = timer("low");
    set(low, "fps", "200");
    EXPECT_FALSE(low->isHighPrecision());
    ASSERT_TRUE(pumpUntil(afterHigh + 5));
    EXPECT_EQ(counter->thread, CPlatformClock::currentThreadId());
    // However long the loop is left alone, one tick at most waits in it. (Counted in the queue:
    // while the loop runs, the next tick may already follow the one that waited.)
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_LE(CRunLoop::current()->pendingCount(), 1);
    CRunLoop::current()->runPending();
    low->destroy();
    CRunLoop::current()->runPending();
    const int afterLow = counter->ticks;
    CRunLoop::current()->waitAndRun(50);
    CRunLoop::current()->runPending();
    EXPECT_EQ(counter->ticks, afterLow);
}

TEST_F(CTimerQueuedTest, DeletingDoesNotWaitForARunningCallback) {
    struct CContext {
        CEvent inside{true, false};
        CEvent proceed{true, false};
        std::atomic<int> calls{0};
        std::atomic<bool> released{false};
    } context;
    auto callback = [](void* c) {
        auto* ctx = static_cast<CContext*>(c);
        ++ctx->calls;
        ctx->inside.set();
        ctx->proceed.wait(10000);
    };
    auto release = [](void* c) { static_cast<CContext*>(c)->released = true; };
    CTimerQueue* queue = CTimerQueue::instance();
    ASSERT_NE(queue, nullptr);
    const int32_t before = queue->timerCount();
    uint64_t handle = 0;
    int32_t code = -1;
    ASSERT_TRUE(queue->createTimer(handle, callback, release, &context, 1, 1, code));
    EXPECT_EQ(code, 0);
    ASSERT_TRUE(context.inside.wait(10000));
    queue->deleteTimer(handle);  // the callback is blocked: this must not wait for it
    EXPECT_FALSE(context.released);
    EXPECT_EQ(queue->timerCount(), before);
    context.proceed.set();
    for (int i = 0; i < 10000 && !context.released; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(context.released);
    EXPECT_EQ(context.calls, 1);

    // Timer objects made and destroyed while their callbacks fire every millisecond.
    for (int i = 0; i < 100; ++i) {
        CTimerQueued* t = timer("churn");
        set(t, "is-high-precision", (i % 2) ? "true" : "false");
        set(t, "interval", "0.001");
        std::this_thread::sleep_for(std::chrono::microseconds(300));
        CRunLoop::current()->runPending();
        t->destroy();
    }
}
