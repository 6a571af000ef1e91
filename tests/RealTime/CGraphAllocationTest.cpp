#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "tests/RealTime/CAllocationCounter.h"
#include "tests/Support/CGraphTest.h"

using namespace orl;
using namespace orl::test;

TEST(CAllocationCounter, SeesAllocations) {
    CAllocationCounter::start();
    auto* p = new std::vector<int>(100);
    const int64_t counted = CAllocationCounter::stop();
    delete p;
    EXPECT_GE(counted, 1);
    if (CAllocationCounter::countsMalloc()) {
        // Through a volatile pointer, so that the pair can't be elided.
        void* (*volatile allocate)(size_t) = std::malloc;
        CAllocationCounter::start();
        void* q = allocate(10);
        EXPECT_EQ(CAllocationCounter::stop(), 1);
        std::free(q);
    }
}

namespace {

class CGraphAllocation : public CGraphTest {};

}  // namespace

// A warm graph with smooth and direct parameter changes, crossfades, latency compensation,
// combiners and a stack runs 10,000 blocks without touching the general heap. The changes go the
// whole way: made on the UI side, listed by the collector, taken and applied at a block start.
TEST_F(CGraphAllocation, WarmGraphRunsWithoutHeapAllocation) {
    const char* xfade = "0.002";
    auto alloc = [](const char* name, const char* smooth) {
        // One node serves both groups' channels: it hears the changes of every group.
        return CDefNode{"audio:param-alloc",
                        "alloc",
                        {{"param-name", name}, {"index", "0"}, {"is-smooth-update", smooth}, {"use-all-groups", "true"}},
                        {}};
    };
    CDefNode root{"audio:process-def",
                  "main",
                  {},
                  {CDefNode{"test:gain", "smooth", {{"xfade-length", xfade}}, {alloc("g", "true")}},
                   CDefNode{"test:gain", "direct", {}, {alloc("g", "false")}},
                   CDefNode{"test:delay", "late", {{"latency", "37"}}, {}},
                   CDefNode{"test:gain", "sum", {{"input-combo-mode", "avg"}}, {}},
                   CDefNode{"audio:process-def",
                            "st",
                            {{"is-stacked", "true"}, {"is-auto-links", "true"}},
                            {CDefNode{"test:gain", "inner", {{"xfade-length", xfade}}, {alloc("g", "true")}}}},
                   CDefNode{"audio:process-link", "l", {{"src", "*"}, {"dst", "smooth"}}, {}},
                   CDefNode{"audio:process-link", "l", {{"src", "smooth"}, {"dst", "direct"}}, {}},
                   CDefNode{"audio:process-link", "l", {{"src", "smooth"}, {"dst", "late"}}, {}},
                   CDefNode{"audio:process-link", "l", {{"src", "direct"}, {"dst", "sum"}}, {}},
                   CDefNode{"audio:process-link", "l", {{"src", "late"}, {"dst", "sum"}}, {}},
                   CDefNode{"audio:process-link", "l", {{"src", "sum"}, {"dst", "st"}}, {}},
                   CDefNode{"audio:process-link", "l", {{"src", "st"}, {"dst", "*"}}, {}}}};
    CTestCollector& c = collector();
    c.declare("main.smooth.g", 8, "1");
    c.declare("main.direct.g", 8, "1");
    c.declare("main.st.inner.g", 8, "1");
    CTestGraphRunner* runner = &start(root);

    std::vector<double> left(512, 0.25), right(512, -0.5);
    const double* inputs[] = {left.data(), right.data()};
    const int32_t groups[] = {0, 1};
    // Names made before counting: the test's own strings are not the graph's business.
    const std::string smoothG("main.smooth.g"), innerG("main.st.inner.g"), directG("main.direct.g");
    auto block = [&](int32_t i) {
        if (i % 40 == 0) c.set(smoothG, 1.0 + (i % 7) * 0.1);
        if (i % 40 == 20) c.set(innerG, 0.5 + (i % 5) * 0.1, i % 2);
        if (i % 13 == 0) c.set(directG, 0.9 + (i % 3) * 0.05);
        const int32_t count = 1 + (i * 37) % 512;  // sizes vary, as hosts do
        runner->runInPlace(inputs, groups, 2, count, 48000.0);
        runner->m_root->releaseOutputs();
    };
    for (int32_t i = 0; i < 400; ++i) block(i);  // warm-up: pools and spare modules fill

    CAllocationCounter::start();
    for (int32_t i = 400; i < 10400; ++i) block(i);
    const int64_t allocations = CAllocationCounter::stop();
    EXPECT_EQ(allocations, 0);
    // The run did fade: the smooth node keeps the module that faded out, one per channel, as spares.
    auto* smooth = terminal("smooth");
    ASSERT_NE(smooth, nullptr);
    EXPECT_EQ(smooth->spareCount(), 2);

}

// The detector chain and the gain computer, with parameter changes on the running road and
// crossfades of the leveler, also run without the general heap once warm.
TEST_F(CGraphAllocation, DetectorsAndGainComputerRunWithoutHeapAllocation) {
    auto alloc = [](const char* name, const char* index) {
        return CDefNode{"audio:param-alloc", "a", {{"param-name", name}, {"index", index}}, {}};
    };
    CDefNode root{"audio:process-def",
                  "main",
                  {{"is-auto-links", "true"}},
                  {CDefNode{"audio:modAbs", "abs", {}, {}},
                   CDefNode{"audio:modLeveler",
                            "level",
                            {{"is-terminal-whole", "true"}, {"is-smooth-update", "true"}, {"xfade-length", "0.003"}},
                            {alloc("linking", "2")}},
                   CDefNode{"audio:modRMS", "rms", {}, {}},
                   CDefNode{"audio:modPolyComp2", "comp", {}, {alloc("threshold", "2")}}}};
    CTestCollector& c = collector();
    c.declare("main.level.linking", 8, "0.5");
    c.declare("main.comp.threshold", 8, "-20");
    CTestGraphRunner* runner = &start(root);

    std::vector<double> left(512), right(512);
    for (int i = 0; i < 512; ++i) {
        left[i] = 0.5 * std::sin(0.05 * i);
        right[i] = 0.3 * std::sin(0.07 * i);
    }
    const double* inputs[] = {left.data(), right.data()};
    const int32_t groups[] = {0, 0};
    // Names made before counting: the test's own strings are not the graph's business.
    const std::string linking("main.level.linking"), threshold("main.comp.threshold");
    auto block = [&](int32_t i) {
        if (i % 50 == 0) c.set(linking, 0.4 + (i % 3) * 0.1);
        if (i % 30 == 0) c.set(threshold, -20.0 - (i % 4));
        // Block sizes over eight buffer classes; the whole pattern repeats every 600 blocks, so
        // the warm-up has met every combination of size and change that the run will meet.
        runner->runInPlace(inputs, groups, 2, 64 + (i % 8) * 56, 48000.0);
        runner->m_root->releaseOutputs();
    };
    for (int32_t i = 0; i < 600; ++i) block(i);
    CAllocationCounter::start();
    for (int32_t i = 600; i < 6600; ++i) block(i);
    EXPECT_EQ(CAllocationCounter::stop(), 0);

}

// The chain around the compressor (routers, mid/side coders, gain, the gain path's
// delay and multiplier, bypass with solo, output router) with crossfading gain and bypass
// changes, look-ahead changes that move the delay line's tap, and compensated inputs, runs
// without the general heap once warm.
TEST_F(CGraphAllocation, RoutingAndSimpleModulesRunWithoutHeapAllocation) {
    auto alloc = [](const char* name, const char* index, const char* extra = nullptr) {
        CDefNode n{"audio:param-alloc", "a", {{"param-name", name}, {"index", index}}, {}};
        if (extra) n.attrs.push_back({extra, "true"});
        return n;
    };
    auto link = [](const char* src, const char* dst) {
        return CDefNode{"audio:process-link", "l", {{"src", src}, {"dst", dst}}, {}};
    };
    const char* xfade = "0.002";
    CDefNode root{"audio:process-def",
                  "main",
                  {{"is-auto-links", "true"}},
                  {CDefNode{"audio:modRouter",
                            "inr",
                            {{"is-output", "false"}, {"channel-counts-param", "main.channel-counts"}},
                            {alloc("routing", "0", "use-all-elements"), alloc("grouping", "1", "use-all-elements")}},
                   CDefNode{"audio:modMSCoder", "enc", {}, {alloc("pairs", "0", "use-all-elements")}},
                   CDefNode{"audio:modGain", "gain", {{"is-smooth-update", "true"}, {"xfade-length", xfade}},
                            {alloc("gain", "0", "is-smooth-update")}},
                   CDefNode{"audio:modDelay",
                            "delay",
                            {{"is-outoforder", "true"}, {"is-latency-seconds", "true"}, {"latency", "0.010"},
                             {"is-comp-input", "true"}},
                            {alloc("time", "0")}},
                   CDefNode{"audio:modMult", "mult", {{"is-comp-input", "true"}}, {}},
                   CDefNode{"audio:modMSCoder",
                            "dec",
                            {},
                            {alloc("pairs", "0", "use-all-elements"), alloc("mode", "1")}},
                   CDefNode{"audio:modBypass", "byp", {{"is-smooth-update", "true"}, {"xfade-length", xfade}},
                            {alloc("enable", "0"), alloc("group-solo", "1", "use-all-groups")}},
                   CDefNode{"audio:modRouter",
                            "outr",
                            {{"is-output", "true"}},
                            {alloc("routing", "0", "use-all-elements")}},
                   link("gain", "delay"), link("delay", "mult/1"), link("inr", "byp/1")}};
    CTestCollector& c = collector();
    c.declare("main.inr.routing", 1, "1, 2", true);
    c.declare("main.inr.grouping", 1, "0, 0", true);
    c.declare("main.enc.pairs", 1, "1, 1", true);
    c.declare("main.dec.pairs", 1, "1, 1", true);
    c.declare("main.dec.mode", 8, "1");
    c.declare("main.gain.gain", 8, "0.5, 0.5");  // per-channel parameters: an element for each channel
    c.declare("main.delay.time", 8, "0.004, 0.004");
    c.declare("main.byp.enable", 8, "0, 0");
    c.declare("main.byp.group-solo", 8, "0, 0");
    c.declare("main.outr.routing", 1, "1, 2", true);
    CTestGraphRunner* runner = &start(root);

    std::vector<double> left(512), right(512);
    for (int i = 0; i < 512; ++i) {
        left[i] = 0.5 * std::sin(0.05 * i);
        right[i] = 0.3 * std::sin(0.07 * i);
    }
    const double* inputs[] = {left.data(), right.data()};
    const int32_t groups[] = {0, 0};
    const std::string gain("main.gain.gain"), time("main.delay.time"), enable("main.byp.enable"),
        solo("main.byp.group-solo");
    auto block = [&](int32_t i) {
        if (i % 40 == 0) c.set(gain, 0.4 + (i % 3) * 0.1);
        if (i % 30 == 0) c.set(time, 0.001 * ((i / 30) % 5));
        if (i % 60 == 30) c.set(enable, (i / 60) % 2);
        if (i % 90 == 45) c.set(solo, (i / 90) % 2, 1);
        // The changes and the block sizes repeat every 1800 blocks, so the warm-up meets every
        // combination that the run will meet.
        runner->runInPlace(inputs, groups, 2, 64 + (i % 8) * 56, 48000.0);
        runner->m_root->releaseOutputs();
    };
    for (int32_t i = 0; i < 1800; ++i) block(i);
    CAllocationCounter::start();
    for (int32_t i = 1800; i < 5400; ++i) block(i);
    EXPECT_EQ(CAllocationCounter::stop(), 0);
    // The graph ran as built: the gain signal reaches both multipliers on port 1, and gain and
    // bypass faded (each keeps the module that faded out, one per channel).
    auto* mult = terminal("mult");
    ASSERT_NE(mult, nullptr);
    EXPECT_EQ(mult->portTable(1).mask, 3u);
    EXPECT_EQ(mult->inputLatency(), 480);
    EXPECT_EQ(terminal("gain")->spareCount(), 2);
    EXPECT_EQ(terminal("byp")->spareCount(), 2);
}

// A change whose numbers don't fit a record's own room (16 elements) takes its copy from the
// pools, and the entry goes back there when the audio side has taken it.
TEST_F(CGraphAllocation, ChangesOfManyElementsCrossWithoutHeapAllocation) {
    CTestCollector& c = collector();
    CAudioParam& eq = c.declare("main.eq.gains", 8, "0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0");
    const std::string name("main.eq.gains");
    auto round = [&](int32_t i) {
        c.set(name, 0.25 * (i % 9), i % 3);
        c.set(name, -0.5 * (i % 5), i % 3);
        c.drain();
    };
    for (int32_t i = 0; i < 200; ++i) round(i);
    CAllocationCounter::start();
    for (int32_t i = 200; i < 2200; ++i) round(i);
    EXPECT_EQ(CAllocationCounter::stop(), 0);
    EXPECT_EQ(eq.audioStorage().getValue(2199 % 3, 15, 99.0), -0.5 * (2199 % 5));
    EXPECT_EQ(eq.audioStorage().elementCount(0), 16);
}
