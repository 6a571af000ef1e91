#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CSampleBufferPool.h"
#include "tests/Support/CTestCollector.h"
#include "tests/Support/CTestGraph.h"

using namespace orl;
using namespace orl::test;

namespace {

constexpr int32_t kChanges = 6000;

// Every change made on a UI thread shows up on the audio side, in the order made, whether it
// crossed while blocks ran (appended) or while the shell had stopped them (merged).
class CParamChangeConcurrency : public ::testing::Test {
protected:
    void SetUp() override {
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        CError* err = shared->loadXMLData(CString("SharedData.xml"), true);
        ASSERT_EQ(err, nullptr);
        t = std::make_unique<CTestCollector>();
        defs = CObject::newRoot();
    }
    void TearDown() override {
        t.reset();
        defs->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }

    // Each change of a sequence parameter writes element k with the value k; a list must hold,
    // per parameter, ranges that follow on each other with exactly those values.
    void verify(const CAudioParamChangeList* list) {
        for (auto* e = list ? list->head() : nullptr; e; e = e->next) {
            for (int32_t s = 0; s < 2; ++s) {
                if (e->param != seq[s]) continue;
                const CAudioParamChange& r = e->record;
                if (r.group != 0 || r.start != next[s]) {
                    ++faults;
                    continue;
                }
                for (int32_t i = 0; i < r.count; ++i) faults += r.numbers[i] != r.start + i;
                next[s] = r.start + r.count;
                ++records;
            }
        }
    }

    CObject* shared = nullptr;
    CObject* defs = nullptr;
    std::unique_ptr<CTestCollector> t;
    CAudioParam* seq[2] = {};
    int32_t next[2] = {1, 1};
    int64_t faults = 0;
    int64_t records = 0;
};

}  // namespace

TEST_F(CParamChangeConcurrency, EveryChangeArrivesInOrderWhileBlocksRunAndStop) {
    seq[0] = &t->declare("seq.a", 1, "0");
    seq[1] = &t->declare("seq.b", 1, "0");
    CAudioParam& gain = t->declare("main.amp.gain", 8, "1");
    CAudioParamCollector& c = t->collector();

    CDefNode root{"audio:process-def",
                  "main",
                  {{"is-auto-links", "true"}},
                  {CDefNode{"test:gain", "amp", {}, {CDefNode{"audio:param-alloc", "a", {{"param-name", "gain"}}, {}}}}}};
    auto* def = dynamic_cast<CAudioProcessDefBase*>(buildDef(defs, root));
    ASSERT_NE(def, nullptr);
    CSampleBufferPool pool;
    CAudioProcessBase* graph = nullptr;
    ASSERT_EQ(makeProcess(graph, def, false, nullptr, &pool, &c, CString("main"), 0, 0), nullptr);
    graph->setExternalSources(1);
    t->setStarted(true);

    // 0 running, 1 the shell asks for a pause, 2 the audio thread is paused.
    std::atomic<int> phase{0};
    std::atomic<int> changersLeft{2};
    std::atomic<bool> audioDone{false};
    int64_t blocks = 0, wrongOutputs = 0;

    std::thread audio([&] {
        while (!audioDone.load(std::memory_order_acquire)) {
            if (phase.load(std::memory_order_acquire) == 1) {
                phase.store(2, std::memory_order_release);
                while (phase.load(std::memory_order_acquire) == 2) std::this_thread::yield();
                continue;
            }
            CAudioParamChangeList* list = c.takeChanges();
            verify(list);
            c.applyChanges(list);
            CAudioChannel ch;
            ch.index = 0;
            ch.sampleRate = 48000.0;
            ch.buffer = pool.acquire(16);
            for (int32_t i = 0; i < 16; ++i) ch.buffer->data()[i] = 1.0;
            graph->deliver(0, ch, 16);
            graph->process();
            const double expect = gain.audioStorage().getValue(0, 0, -1.0);
            if (graph->outputMask() != 1u || graph->output(0).buffer->data()[15] != expect) ++wrongOutputs;
            graph->releaseOutputs();
            ++blocks;
        }
    });
    auto changer = [&](int32_t s) {
        for (int32_t k = 1; k <= kChanges; ++k) {
            CAudioParamLockContext lock(*seq[s]);
            const double value = k;
            CAudioParamChange r;
            r.setTarget(seq[s]->uiStorage(), 0, k, 1, nullptr);
            r.numbers = &value;
            seq[s]->change(r, &lock);
            lock.release();
            if (s == 0 && k % 50 == 0) gain.setValue(1.0 + (k % 7) / 8.0, 0, nullptr, nullptr);
            if (k % 64 == 0) std::this_thread::yield();
        }
        changersLeft.fetch_sub(1, std::memory_order_release);
    };
    std::thread ui1(changer, 0), ui2(changer, 1);
    // The shell stops the blocks now and then and primes the graph itself meanwhile.
    std::thread shell([&] {
        int32_t round = 0;
        while (changersLeft.load(std::memory_order_acquire) > 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            if (++round % 3 != 0) continue;
            phase.store(1, std::memory_order_release);
            t->setStarted(false);
            while (phase.load(std::memory_order_acquire) != 2) std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::microseconds(100));  // changes merge meanwhile
            CAudioParamChangeList* list = c.takeChanges();
            verify(list);
            c.applyChanges(list);
            t->setStarted(true);
            phase.store(0, std::memory_order_release);
        }
    });
    ui1.join();
    ui2.join();
    shell.join();
    audioDone.store(true, std::memory_order_release);
    audio.join();
    CAudioParamChangeList* rest = c.takeChanges();
    verify(rest);
    c.applyChanges(rest);

    EXPECT_EQ(faults, 0);
    EXPECT_GT(blocks, 0);
    EXPECT_EQ(wrongOutputs, 0);
    for (int32_t s = 0; s < 2; ++s) {
        EXPECT_EQ(next[s], kChanges + 1);
        const CAudioParamStorage& audioSide = seq[s]->audioStorage();
        ASSERT_EQ(audioSide.elementCount(0), kChanges + 1);
        EXPECT_EQ(audioSide.value(0, kChanges), kChanges);
        EXPECT_EQ(audioSide.value(0, kChanges / 2), kChanges / 2);
    }
    // Fewer records than changes: some crossed merged while the blocks were stopped.
    std::printf("blocks %lld, records %lld for %d changes\n", static_cast<long long>(blocks),
                static_cast<long long>(records), 2 * kChanges);
    graph->release();
    delete graph;
}
