#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Core/CError.h"
#include "Core/CEventBus.h"
#include "Core/CObject.h"
#include "Core/CStdEventBridge.h"
#include "Core/CUIEventBridge.h"
#include "Platform/CPlatformClock.h"
#include "Platform/CRunLoop.h"

using namespace orl;

namespace {

std::mutex g_callsLock;
std::vector<std::string> g_calls;

// A listener that records which of its procedures ran, on which thread, with what parameters.
class CTestListener : public CObject {
public:
    std::atomic<int> pings{0};
    std::atomic<uint32_t> lastThread{0};
    CObject* victim = nullptr;  // unlistened by this listener's handler

    static CError* onPing(CObject* o, CAttrMap& params) {
        auto* self = static_cast<CTestListener*>(o);
        self->lastThread = CPlatformClock::currentThreadId();
        ++self->pings;
        std::lock_guard<std::mutex> hold(g_callsLock);
        g_calls.push_back(std::string(o->fullName().narrowed().c8()) + " <- " +
                          params[CString("sender")].getString().narrowed().c8() + ":" +
                          params[CString("event-name")].getString().narrowed().c8());
        if (self->victim) self->victim->unlistenObject(CString("box.sender"), CString("ping"));
        return nullptr;
    }
    static CError* onPlain(CObject* o) {
        ++static_cast<CTestListener*>(o)->pings;
        return nullptr;
    }
    static void fill(CClassDescriptors& d) {
        CObject::fillDescriptors(d);
        CEventEntry withParams;
        withParams.procWithParams = &onPing;
        withParams.takesParams = true;
        d.events[CString("on-ping")] = withParams;
        CEventEntry plain;
        plain.proc = &onPlain;
        d.events[CString("on-plain")] = plain;
    }
};

const CCreatorRow kRows[] = {
    {"test:listener", &createObjectOf<CTestListener>, &CTestListener::fill},
    {nullptr, nullptr, nullptr},
};
[[maybe_unused]] const bool g_reg = registerCreatorTable(kRows);

class CEventBusTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_calls.clear();
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        root = CObject::newRoot();
        root->attachNewBus();
        box = add(root, "box");
        ui = add(root, "ui", "ui:ui-event-bridge");
    }
    void TearDown() override {
        CRunLoop::current()->runPending();
        root->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }
    CObject* add(CObject* parent, const char* name, const char* tag = "core:object") {
        CObject* o = nullptr;
        deleteError(parent->addChild(o, CString(tag), CString(name), false));
        return o;
    }
    CTestListener* listener(CObject* parent, const char* name) {
        return static_cast<CTestListener*>(add(parent, name, "test:listener"));
    }

    CObject* shared = nullptr;
    CObject* root = nullptr;
    CObject* box = nullptr;
    CObject* ui = nullptr;
};

}  // namespace

TEST_F(CEventBusTest, SameThreadListenersRunAfterTheLoop) {
    CObject* sender = add(box, "sender");
    CTestListener* a = listener(ui, "a");
    CTestListener* b = listener(ui, "b");
    CTestListener* orphan = listener(box, "orphan");  // no bridge above it: never runs
    EXPECT_GE(a->objectId(), 0);
    EXPECT_NE(a->objectId(), b->objectId());

    CAttrMap untouched;
    ASSERT_EQ(sender->fireEvent(CString("ping"), untouched), nullptr);
    EXPECT_TRUE(untouched.empty());  // no record for this sender

    a->listenObject(CString("box.sender"), CString("ping"), CString("on-ping"));
    b->listenObject(CString("box.sender"), CString("ping"), CString("on-ping"));
    orphan->listenObject(CString("box.sender"), CString("ping"), CString("on-ping"));
    a->listenObject(CString("box.sender"), CString("other"), CString("no-such-proc"));  // logged, not kept

    CAttrMap params;
    ASSERT_EQ(sender->fireEvent(CString("ping"), params), nullptr);
    EXPECT_EQ(params[CString("sender")].getString(), "box.sender");
    EXPECT_EQ(params[CString("event-name")].getString(), "ping");
    EXPECT_EQ(a->pings, 1);
    EXPECT_EQ(b->pings, 1);
    EXPECT_EQ(orphan->pings, 0);
    ASSERT_EQ(sender->fireEvent(CString("other")), nullptr);
    EXPECT_EQ(a->pings, 1);

    // Listening again replaces; a plain procedure runs without parameters.
    a->listenObject(CString("box.sender"), CString("ping"), CString("on-plain"));
    ASSERT_EQ(sender->fireEvent(CString("ping")), nullptr);
    EXPECT_EQ(a->pings, 2);
    EXPECT_EQ(g_calls.size(), 3u);

    // A handler that unlistens another listener cancels its queued item in the same drain.
    a->listenObject(CString("box.sender"), CString("ping"), CString("on-ping"));
    a->victim = b;
    b->victim = a;
    const int before = a->pings + b->pings;
    ASSERT_EQ(sender->fireEvent(CString("ping")), nullptr);
    EXPECT_EQ(a->pings + b->pings, before + 1);

    // Destroying a listener drops its registrations.
    CTestListener* c = listener(ui, "c");
    c->listenObject(CString("box.sender"), CString("ping"), CString("on-ping"));
    c->destroy();
    ASSERT_EQ(sender->fireEvent(CString("ping")), nullptr);
}

TEST_F(CEventBusTest, BridgedEventsRunOnTheOwnerThreadAndSkipReplacedListeners) {
    CTestListener* a = listener(ui, "a");
    a->listenObject(CString("box.sender"), CString("ping"), CString("on-ping"));
    CEventBus* bus = root->bus();

    // Another thread fires: the listener's owner (this thread) gets it through its run loop.
    std::thread other([&] {
        CAttrMap params;
        deleteError(bus->fire(CString("box.sender"), CString("ping"), params, false));
    });
    other.join();
    EXPECT_EQ(a->pings, 0);
    EXPECT_EQ(CRunLoop::current()->runPending(), 1);
    EXPECT_EQ(a->pings, 1);
    EXPECT_EQ(a->lastThread, CPlatformClock::currentThreadId());

    // A forced bridge from the owner thread itself; the listener is replaced before delivery.
    CAttrMap params;
    deleteError(bus->fire(CString("box.sender"), CString("ping"), params, true));
    auto* bridge = static_cast<CStdEventBridge*>(ui)->bridge();
    EXPECT_EQ(bridge->pendingCount(), 1);
    a->destroy();
    CTestListener* successor = listener(ui, "a");
    EXPECT_EQ(successor->fullName(), "ui.a");
    CRunLoop::current()->runPending();
    EXPECT_EQ(successor->pings, 0);
    EXPECT_EQ(bridge->pendingCount(), 0);

    // postEvent asks the owner to run a procedure of the target.
    CAttrMap p2;
    CObject::postEvent(successor, CString("someone"), CString("on-plain"), p2);
    CRunLoop::current()->runPending();
    EXPECT_EQ(successor->pings, 1);
}

// Each of two threads owns a listener; both fire at one sender. Each thread runs its own
// listener's deferred items itself and receives the other's through its run loop.
TEST_F(CEventBusTest, TwoFiringThreadsEachRunOnlyTheirOwnItems) {
    std::mutex treeLock;
    CEventBus* bus = root->bus();
    constexpr int kFires = 300;
    std::atomic<int> ready{0};
    std::atomic<bool> wrongThread{false};
    CTestListener* listeners[2] = {};
    auto worker = [&](int n) {
        CObject* mine;
        {
            std::lock_guard<std::mutex> hold(treeLock);
            mine = add(root, n == 0 ? "t0" : "t1", "ui:ui-event-bridge");
            listeners[n] = listener(mine, "l");
            listeners[n]->listenObject(CString("box.sender"), CString("ping"), CString("on-ping"));
        }
        const uint32_t me = CPlatformClock::currentThreadId();
        ++ready;
        while (ready < 2) std::this_thread::yield();
        for (int i = 0; i < kFires; ++i) {
            CAttrMap params;
            deleteError(bus->fire(CString("box.sender"), CString("ping"), params, false));
            CRunLoop::current()->runPending();
            if (listeners[n]->lastThread != 0 && listeners[n]->lastThread != me) wrongThread = true;
        }
        // Every fire of both threads reaches this listener once.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (listeners[n]->pings < 2 * kFires && std::chrono::steady_clock::now() < deadline)
            CRunLoop::current()->waitAndRun(10);
        ++ready;
        while (ready < 4) CRunLoop::current()->waitAndRun(1);
        ++ready;
        while (ready < 6) std::this_thread::yield();
        std::lock_guard<std::mutex> hold(treeLock);
        EXPECT_EQ(listeners[n]->pings, 2 * kFires);
        mine->destroy();
    };
    std::thread t0(worker, 0), t1(worker, 1);
    t0.join();
    t1.join();
    EXPECT_FALSE(wrongThread);
}

// Four threads listen, unlisten and fire at random for a while: no crash, no leak, no deadlock.
TEST_F(CEventBusTest, StressOfFourThreads) {
    std::mutex treeLock;
    CEventBus* bus = root->bus();
    std::atomic<int> phase{0};
    std::atomic<int64_t> heard{0};
    const CString senders[] = {CString("s0"), CString("s1"), CString("s2")};
    const CString events[] = {CString("e0"), CString("e1")};
    auto worker = [&](int n) {
        CObject* mine;
        CTestListener* me[2];
        {
            std::lock_guard<std::mutex> hold(treeLock);
            mine = add(root, CString::format("w%d", n).c8(), "ui:ui-event-bridge");
            me[0] = listener(mine, "x");
            me[1] = listener(mine, "y");
        }
        // The tree is read by bridged deliveries: all subtrees stand before anyone fires.
        ++phase;
        while (phase < 4) std::this_thread::yield();
        std::mt19937 random(n);
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
        while (std::chrono::steady_clock::now() < end) {
            const int r = random() % 8;
            CTestListener* l = me[random() % 2];
            const CString& s = senders[random() % 3];
            const CString& e = events[random() % 2];
            if (r < 2) {
                l->listenObject(s, e, CString(r == 0 ? "on-ping" : "on-plain"));
            } else if (r < 4) {
                l->unlistenObject(s, e);
            } else {
                CAttrMap params;
                deleteError(bus->fire(s, e, params, r == 7));
            }
            CRunLoop::current()->runPending();
        }
        // Nobody fires any more once all have stopped; each takes in what is on its way, and
        // only when all have done so do the subtrees go.
        ++phase;
        while (phase < 8) CRunLoop::current()->waitAndRun(1);
        CRunLoop::current()->runPending();
        ++phase;
        while (phase < 12) std::this_thread::yield();
        heard += me[0]->pings + me[1]->pings;
        std::lock_guard<std::mutex> hold(treeLock);
        mine->destroy();
    };
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) threads.emplace_back(worker, n);
    for (auto& t : threads) t.join();
    EXPECT_GT(heard, 0);
}
