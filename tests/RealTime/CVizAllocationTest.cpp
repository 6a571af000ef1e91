#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Audio/CAudioProcessTerminalBase.h"
#include "tests/Other/CVizTestInstance.h"
#include "tests/RealTime/CAllocationCounter.h"
#include "tests/Support/CGraphTest.h"

using namespace orl;
using namespace orl::test;

namespace {

class CVizAllocation : public CGraphTest {
protected:
    void TearDown() override {
        m_runner.reset();
        m_inst.reset();
        CGraphTest::TearDown();
    }

    // Three sources on one input: a plain meter, a gain-reduction meter and the wave statistics,
    // each with a display listening, records made at a high rate.
    CTestGraphRunner* startSources() {
        collector();
        m_inst = std::make_unique<CVizTestInstance>(*m_collector);
        auto link = [](const char* dst) {
            return CDefNode{"audio:process-link", "l", {{"src", "*"}, {"dst", dst}}, {}};
        };
        CDefNode root{"audio:process-def",
                      "main",
                      {},
                      {CDefNode{"audio:modMeter", "level", {{"fps", "1000"}}, {}},
                       CDefNode{"audio:modMeter", "gr", {{"fps", "150"}, {"is-compression", "true"}}, {}},
                       CDefNode{"audio:modStatsWave", "wave", {{"fps", ""}}, {}}, link("level"), link("gr"),
                       link("wave")}};
        CTestGraphRunner* runner = &start(root);
        for (const char* name : {"main.level", "main.gr", "main.wave"}) {
            CAudioVizEntry* e = m_inst->viz().getEntry(CString(name));
            m_inst->viz().addListener(e);
            m_entries.push_back(e);
        }
        m_inst->requestRecords(144.0);  // the wave statistics follow the rate asked for
        return runner;
    }

    std::unique_ptr<CVizTestInstance> m_inst;
    std::vector<CAudioVizEntry*> m_entries;
};

}  // namespace

// Nobody asks for the records: they pile up to the cap of each source and then replace their
// oldest, all from the pools, so a warm graph runs its blocks without the general heap and the
// memory held stays constant.
TEST_F(CVizAllocation, MetersRunWithoutHeapAllocationWhileNobodyRequests) {
    CTestGraphRunner* runner = startSources();
    std::vector<double> left(512), right(512);
    for (int i = 0; i < 512; ++i) {
        left[i] = 0.5 * std::sin(0.05 * i);
        right[i] = 0.8 + 0.1 * std::sin(0.01 * i);
    }
    const double* inputs[] = {left.data(), right.data()};
    const int32_t groups[] = {0, 1};
    auto block = [&](int32_t i) {
        m_inst->blockStart();
        runner->runInPlace(inputs, groups, 2, 64 + (i % 8) * 56, 48000.0);
        runner->m_root->releaseOutputs();
    };
    for (int32_t i = 0; i < 1200; ++i) block(i);
    for (CAudioVizEntry* e : m_entries) ASSERT_EQ(m_inst->viz().pendingCount(e), CAudioVizEntry::kMaxPending);

    CAllocationCounter::start();
    for (int32_t i = 1200; i < 6000; ++i) block(i);
    const int64_t allocations = CAllocationCounter::stop();
    EXPECT_EQ(allocations, 0);
    for (CAudioVizEntry* e : m_entries) EXPECT_EQ(m_inst->viz().pendingCount(e), CAudioVizEntry::kMaxPending);

    // What is left is the newest: the last level record is dated within the last frame.
    double now = 0.0;
    const auto seen = m_inst->requestRecords(144.0, &now);
    ASSERT_EQ(seen.size(), 3u * CAudioVizEntry::kMaxPending);
    EXPECT_EQ(seen.front().name, "main.level");
}

// A display thread that requests all the time and an audio thread that runs blocks as fast as
// it can: the audio side never waits for the display beyond the swap of a pointer, the records
// that arrive keep their order across requests, and those lost to a slow display are the oldest.
TEST_F(CVizAllocation, RequestsOnAnotherThreadDoNotHoldUpTheAudioSide) {
    CTestGraphRunner* runner = startSources();
    std::vector<double> left(256, 0.25);
    const double* inputs[] = {left.data()};
    const int32_t groups[] = {0};
    std::atomic<bool> done{false};
    int64_t received = 0;
    int64_t outOfOrder = 0;
    double lastLevelTime = -1.0;
    auto take = [&] {
        for (const auto& r : m_inst->requestRecords(60.0)) {
            ++received;
            if (r.name != "main.level") continue;
            if (r.time <= lastLevelTime) ++outOfOrder;
            lastLevelTime = r.time;
        }
    };
    std::thread display([&] {
        while (!done.load()) take();
    });
    const int32_t blocks = 3000;
    for (int32_t i = 0; i < blocks; ++i) {
        m_inst->blockStart();
        runner->runInPlace(inputs, groups, 1, 256, 48000.0);
        runner->m_root->releaseOutputs();
    }
    done = true;
    display.join();
    take();
    // 3000 blocks of 256 samples are 16 s: 16,000 level records, 2,400 of the gain meter, and
    // the wave statistics at 60 or 144 a second.
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_GT(received, 3 * CAudioVizEntry::kMaxPending - 1);
    EXPECT_LE(received, 16000 + 2400 + 16 * 144);
    // The newest level record reached the display: nothing stays behind.
    EXPECT_NEAR(lastLevelTime, 16.0 - 0.5 * 48.0 / 48000.0, 1e-9);
    for (CAudioVizEntry* e : m_entries) EXPECT_EQ(m_inst->viz().pendingCount(e), 0);
}
