#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <thread>
#include <vector>

#include "Core/COwnedUpdateListener.h"
#include "Core/CUpdateListener.h"
#include "Core/CUpdateNotifier.h"

using namespace orl;

namespace {

class CRecorder : public CUpdateListener {
public:
    ~CRecorder() override { detach(); }
    void update(const CUpdateNotifier::Notification& n) override {
        keys.push_back(n.key);
        sources.push_back(n.source);
        if (order) order->push_back(this);
    }
    std::vector<CUpdateNotifier::TKey> keys;
    std::vector<const void*> sources;
    std::vector<CRecorder*>* order = nullptr;
};

// Files listeners under ten times what they asked for.
class CScaledNotifier : public CUpdateNotifier {
public:
    TKey getUpdateKey(TKey x) override { return x * 10; }
};

class COwner {
public:
    COwner() : listener(this, &COwner::changed) {}
    void changed(const CUpdateNotifier::Notification& n) { total += n.key; }
    CUpdateNotifier::TKey total = 0;
    COwnedUpdateListener<COwner> listener;
};

}  // namespace

TEST(CUpdateNotifierTest, KeysOrderAndReattach) {
    CScaledNotifier notifier;
    CRecorder a, b;
    std::vector<CRecorder*> order;
    a.order = b.order = &order;
    a.attach(&notifier, 1);
    b.attach(&notifier, 1);
    EXPECT_EQ(a.updateKey(), 10);
    EXPECT_EQ(a.notifier(), &notifier);
    EXPECT_EQ(notifier.listenerCount(10), 2);

    int source = 0;
    notifier.notify({&source, 10});
    notifier.notify({&source, 1});  // nobody under 1
    ASSERT_EQ(order.size(), 2u);
    EXPECT_EQ(order[0], std::min(&a, &b));  // pointer order
    EXPECT_EQ(order[1], std::max(&a, &b));
    EXPECT_EQ(a.sources[0], &source);

    // Re-attaching moves the listener: its old key keeps the other listener, then goes with the last.
    a.attach(&notifier, 2);
    EXPECT_EQ(notifier.listenerCount(10), 1);
    EXPECT_EQ(notifier.listenerCount(20), 1);
    b.attach(&notifier, 2);
    EXPECT_EQ(notifier.listenerCount(10), 0);
    EXPECT_EQ(notifier.keyCount(), 1);
    order.clear();
    notifier.notify({nullptr, 10});
    EXPECT_TRUE(order.empty());
    notifier.notify({nullptr, 20});
    EXPECT_EQ(order.size(), 2u);

    a.detach();
    EXPECT_EQ(a.notifier(), nullptr);
    EXPECT_EQ(notifier.listenerCount(20), 1);

    COwner owner;
    owner.listener.attach(&notifier, 3);
    notifier.notify({nullptr, 30});
    notifier.notify({nullptr, 30});
    EXPECT_EQ(owner.total, 60);
}

TEST(CUpdateNotifierTest, EitherSideMayGoFirst) {
    // A listener outlives its notifier: it is told, and its own end touches nothing.
    auto* outliving = new CRecorder();
    {
        CUpdateNotifier notifier;
        outliving->attach(&notifier, 5);
        EXPECT_EQ(notifier.listenerCount(5), 1);
    }
    EXPECT_EQ(outliving->notifier(), nullptr);
    delete outliving;

    // A listener that goes first leaves the notifier's map.
    CUpdateNotifier notifier;
    {
        CRecorder shortLived;
        shortLived.attach(&notifier, 7);
    }
    EXPECT_EQ(notifier.keyCount(), 0);

    // Attaching to a notifier that has been destroyed leaves the listener detached; the storage
    // is kept so that the address is not taken by a new notifier meanwhile.
    alignas(CUpdateNotifier) unsigned char storage[sizeof(CUpdateNotifier)];
    auto* gone = new (storage) CUpdateNotifier();
    gone->~CUpdateNotifier();
    CRecorder late;
    late.attach(&notifier, 1);
    late.attach(gone, 1);
    EXPECT_EQ(late.notifier(), nullptr);
    EXPECT_EQ(notifier.keyCount(), 0);  // the old notifier was left all the same
}

// Listeners attach and leave and notifiers come and go on several threads while one notifies.
TEST(CUpdateNotifierTest, ConcurrentAttachNotifyAndDestroy) {
    CUpdateNotifier stable;
    std::atomic<bool> done{false};
    std::atomic<int> updates{0};
    class CCounter : public CUpdateListener {
    public:
        explicit CCounter(std::atomic<int>* n) : count(n) {}
        ~CCounter() override { detach(); }
        void update(const CUpdateNotifier::Notification&) override { ++*count; }
        std::atomic<int>* count;
    };
    std::thread notifierThread([&] {
        while (!done) stable.notify({nullptr, 1});
    });
    std::vector<std::thread> workers;
    for (int w = 0; w < 2; ++w) {
        workers.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                CCounter listener(&updates);
                listener.attach(&stable, 1);
                auto* temporary = new CUpdateNotifier();
                CCounter other(&updates);
                other.attach(temporary, 1);
                if (i % 2) delete temporary;  // the notifier goes first
                listener.attach(&stable, 2);  // re-attach while notifications run
                other.detach();
                if (i % 2 == 0) delete temporary;
            }
        });
    }
    for (auto& t : workers) t.join();
    done = true;
    notifierThread.join();
    EXPECT_EQ(stable.keyCount(), 0);
}
