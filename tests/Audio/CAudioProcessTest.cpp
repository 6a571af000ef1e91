#include "Audio/CAudioProcess.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessStack.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "tests/Support/CGraphTest.h"

using namespace orl;
using namespace orl::test;

namespace {

constexpr double kPi = 3.14159265358979323846;

CDefNode linkDef(const char* src, const char* dst, std::vector<std::pair<std::string, std::string>> more = {}) {
    CDefNode n{"audio:process-link", "link", {{"src", src}, {"dst", dst}}, {}};
    for (auto& a : more) n.attrs.push_back(a);
    return n;
}

CDefNode gain(const char* name, const char* g, std::vector<std::pair<std::string, std::string>> more = {},
              std::vector<CDefNode> children = {}) {
    CDefNode n{"test:gain", name, {{"gain", g}}, std::move(children)};
    for (auto& a : more) n.attrs.push_back(a);
    return n;
}

class CAudioProcessTest : public CGraphTest {
protected:
    std::vector<double> ones(int32_t n, double v = 1.0) { return std::vector<double>(n, v); }
};

}  // namespace

TEST_F(CAudioProcessTest, ChildrenRunInDependencyOrderAndUnlinkedOnesStayOut) {
    // Names sort against the flow on purpose: c feeds a, a feeds b.
    auto& g = start({"audio:process-def", "main", {}, {gain("a", "3"), gain("b", "5"), gain("c", "2"),
                                                          gain("unused", "100"), linkDef("*", "c"), linkDef("c", "a"),
                                                          linkDef("a", "b"), linkDef("b", "*"), linkDef("nobody", "b")}});
    auto out = g.run({{1.0, -0.5, 0.25}}, {0}, 3);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0], (std::vector<double>{30.0, -15.0, 7.5}));
    auto* root = static_cast<CAudioProcess*>(g.m_root);
    ASSERT_EQ(root->sequenceLength(), 3);
    EXPECT_EQ(root->sequenceName(0), "c");
    EXPECT_EQ(root->sequenceName(1), "a");
    EXPECT_EQ(root->sequenceName(2), "b");
    EXPECT_EQ(root->childProcess(CString("unused")), nullptr);
}

TEST_F(CAudioProcessTest, ParallelPathsOfDifferentLatencyArriveAligned) {
    auto& g = start({"audio:process-def",
                     "main",
                     {},
                     {CDefNode{"test:delay", "slow", {{"latency", "10"}}, {}}, gain("fast", "1"), gain("sum", "1"),
                      linkDef("*", "slow"), linkDef("*", "fast"), linkDef("slow", "sum"), linkDef("fast", "sum"),
                      linkDef("sum", "*")}});
    // An impulse in host-sized blocks of 7: both paths must meet at sample 10, once.
    std::vector<double> heard;
    for (int block = 0; block < 4; ++block) {
        std::vector<double> in(7, 0.0);
        if (block == 0) in[0] = 1.0;
        auto out = g.run({in}, {0}, 7);
        heard.insert(heard.end(), out[0].begin(), out[0].end());
        EXPECT_EQ(g.outputLatencies()[0], 10);
    }
    for (size_t i = 0; i < heard.size(); ++i) EXPECT_DOUBLE_EQ(heard[i], i == 10 ? 2.0 : 0.0) << i;
}

TEST_F(CAudioProcessTest, CombinersSumAverageAndMaximum) {
    for (const char* mode : {"", "avg", "max"}) {
        auto& g = start({"audio:process-def",
                         "main",
                         {},
                         {gain("two", "2"), gain("four", "-4"), gain("mix", "1", {{"input-combo-mode", mode}}),
                          linkDef("*", "two"), linkDef("*", "four"), linkDef("two", "mix"), linkDef("four", "mix"),
                          linkDef("mix", "*")}});
        auto out = g.run({{1.0, -1.0}}, {0}, 2);
        const std::string m = mode;
        const std::vector<double> expected = m == "avg"   ? std::vector<double>{-1.0, 1.0}
                                             : m == "max" ? std::vector<double>{2.0, 4.0}
                                                          : std::vector<double>{-2.0, 2.0};
        EXPECT_EQ(out[0], expected) << mode;
    }
}

TEST_F(CAudioProcessTest, BypassStateRemovesANodeAndTheSequenceFollows) {
    host().add("main.bp", 1, 1, 0.0);
    auto& g = start({"audio:process-def",
                     "main",
                     {{"is-auto-links", "true"}},
                     {gain("a", "2"), gain("b", "3", {{"bypass-state-id", "1"}}), gain("c", "5"),
                      CDefNode{"audio:process-bypass-state", "state", {{"id", "1"}, {"param", "bp"}}, {}}}});
    auto* root = static_cast<CAudioProcess*>(g.m_root);
    EXPECT_EQ(g.run({{1.0}}, {0}, 1)[0][0], 30.0);
    EXPECT_EQ(root->sequenceLength(), 3);

    g.m_host.set("main.bp", 1.0);
    EXPECT_EQ(g.run({{1.0}}, {0}, 1)[0][0], 10.0);
    ASSERT_EQ(root->sequenceLength(), 2);
    EXPECT_EQ(root->sequenceName(0), "a");
    EXPECT_EQ(root->sequenceName(1), "c");
    EXPECT_EQ(root->childProcess(CString("b")), nullptr);

    g.m_host.set("main.bp", 0.0);
    EXPECT_EQ(g.run({{1.0}}, {0}, 1)[0][0], 30.0);
    EXPECT_NE(root->childProcess(CString("b")), nullptr);
}

TEST_F(CAudioProcessTest, ExplicitLinksFollowBypassStatesAndPorts) {
    // side/1 feeds the gain signal into port 1 of "mult": a link that a bypass state drops.
    host().add("main.noside", 1, 1, 0.0);
    auto& g = start({"audio:process-def",
                     "main",
                     {},
                     {gain("side", "0.5"), CDefNode{"test:mult", "mult", {}, {}},
                      CDefNode{"audio:process-bypass-state", "state", {{"id", "2"}, {"param", "noside"}}, {}},
                      linkDef("*", "side"), linkDef("*", "mult"), linkDef("side", "mult/1", {{"bypass-state-id", "2"}}),
                      linkDef("mult", "*")}});
    EXPECT_EQ(g.run({{4.0, 2.0}}, {0}, 2)[0], (std::vector<double>{8.0, 2.0}));  // 4 * (4 * 0.5)
    g.m_host.set("main.noside", 1.0);
    EXPECT_EQ(g.run({{4.0, 2.0}}, {0}, 2)[0], (std::vector<double>{4.0, 2.0}));
}

TEST_F(CAudioProcessTest, StackFollowsTheGroupsAndKeepsTheStateOfThoseThatStay) {
    auto& g = start({"audio:process-def",
                     "main",
                     {{"is-auto-links", "true"}},
                     {CDefNode{"audio:process-def",
                               "st",
                               {{"is-stacked", "true"}, {"is-auto-links", "true"}},
                               {CDefNode{"test:counter", "count", {}, {}}}}}});
    auto* root = static_cast<CAudioProcess*>(g.m_root);
    auto out = g.run({ones(2, 0.0), ones(2, 0.0)}, {0, 1}, 2);
    EXPECT_EQ(out[0], (std::vector<double>{0.0, 1.0}));
    EXPECT_EQ(out[1], (std::vector<double>{0.0, 1.0}));
    auto* stack = dynamic_cast<CAudioProcessStack*>(root->childProcess(CString("st")));
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ(stack->instanceCount(), 2);
    EXPECT_EQ(stack->instance(1)->group(), 1);

    // Group 1 goes away: group 0 counts on.
    out = g.run({ones(2, 0.0)}, {0}, 2);
    EXPECT_EQ(out[0], (std::vector<double>{2.0, 3.0}));
    EXPECT_EQ(stack->instanceCount(), 1);
    // Channel 1 comes back in group 2: a new instance starts from nothing; group 0 still counts on.
    out = g.run({ones(2, 0.0), ones(2, 0.0)}, {0, 2}, 2);
    EXPECT_EQ(out[0], (std::vector<double>{4.0, 5.0}));
    EXPECT_EQ(out[1], (std::vector<double>{0.0, 1.0}));
    EXPECT_EQ(stack->instanceCount(), 2);
    EXPECT_EQ(stack->instance(2)->group(), 2);
}

// A fade shorter than the block of 64 ends inside it, and its outgoing instance is kept as a
// spare; a fade longer than a block is the next test's.
TEST_F(CAudioProcessTest, SmoothChangesCrossfadeOverTheRaisedCosine) {
    const int32_t length = 20;
    host().add("main.amp.gain", 1, 1, 1.0);
    auto& g = start({"audio:process-def",
                     "main",
                     {{"is-auto-links", "true"}},
                     {gain("amp", "1", {{"xfade-length", CString::format("%.12f", length / 48000.0).c8()}},
                           {CDefNode{"audio:param-alloc",
                                     "alloc",
                                     {{"param-name", "gain"}, {"index", "0"}, {"is-smooth-update", "true"}},
                                     {}}})}});
    g.run({ones(64)}, {0}, 64);
    g.m_host.set("main.amp.gain", 3.0);
    std::vector<double> heard;
    for (int b = 0; b < 4; ++b) {
        auto out = g.run({ones(64)}, {0}, 64);
        heard.insert(heard.end(), out[0].begin(), out[0].end());
    }
    for (int32_t n = 0; n < static_cast<int32_t>(heard.size()); ++n) {
        const double s = n < length ? 0.5 * std::cos(kPi * n / length) : -0.5;
        EXPECT_NEAR(heard[n], (0.5 + s) * 1.0 + (0.5 - s) * 3.0, 1e-9) << n;
    }
    auto* terminal = dynamic_cast<CAudioProcessTerminalBase*>(
        static_cast<CAudioProcess*>(g.m_root)->childProcess(CString("amp")));
    ASSERT_NE(terminal, nullptr);
    EXPECT_FALSE(terminal->isSlotFading(0));
    EXPECT_EQ(terminal->spareCount(), 1);
}

TEST_F(CAudioProcessTest, AChangeDuringACrossfadeIsHeardAfterItAndEmptyBlocksLoseNoTime) {
    host().add("main.amp.gain", 1, 1, 1.0);
    const int32_t length = 100;
    auto& g = start({"audio:process-def",
                     "main",
                     {{"is-auto-links", "true"}},
                     {gain("amp", "1", {{"xfade-length", CString::format("%.12f", length / 48000.0).c8()}},
                           {CDefNode{"audio:param-alloc",
                                     "alloc",
                                     {{"param-name", "gain"}, {"index", "0"}, {"is-smooth-update", "true"}},
                                     {}}})}});
    g.run({ones(32)}, {0}, 32);
    g.m_host.set("main.amp.gain", 3.0);
    std::vector<double> heard;
    auto take = [&](int32_t n) {
        auto out = g.run({ones(n)}, {0}, n);
        if (n > 0) heard.insert(heard.end(), out[0].begin(), out[0].end());
    };
    take(32);
    take(0);  // passes through without losing time
    g.m_host.set("main.amp.gain", 5.0);  // during the fade: waits for it
    take(32);
    take(0);
    for (int b = 0; b < 10; ++b) take(32);
    // 1 -> 3 over samples 0..99, then 3 held until the next block starts a 3 -> 5 fade.
    for (int32_t n = 0; n < 100; ++n) {
        const double s = 0.5 * std::cos(kPi * n / length);
        ASSERT_NEAR(heard[n], (0.5 + s) * 1.0 + (0.5 - s) * 3.0, 1e-9) << n;
    }
    // The second fade's first sample is still all outgoing (3.0), so it starts one before the
    // first sample that differs.
    int32_t start = 100;
    while (start < static_cast<int32_t>(heard.size()) && heard[start] == 3.0) ++start;
    --start;
    EXPECT_EQ(start % 32, 0);  // the second fade begins at a block start after the first ended
    ASSERT_LT(start + length, static_cast<int32_t>(heard.size()));
    for (int32_t n = 0; n < length; ++n) {
        const double s = 0.5 * std::cos(kPi * n / length);
        ASSERT_NEAR(heard[start + n], (0.5 + s) * 3.0 + (0.5 - s) * 5.0, 1e-9) << n;
    }
    EXPECT_DOUBLE_EQ(heard.back(), 5.0);
}

TEST_F(CAudioProcessTest, DirectChangesAndASampleRateChangeThatResets) {
    host().add("main.amp.gain", 1, 1, 1.0);
    auto& g = start({"audio:process-def",
                     "main",
                     {{"is-auto-links", "true"}},
                     {gain("amp", "1", {}, {CDefNode{"audio:param-alloc", "alloc", {{"param-name", "gain"}, {"index", "0"}}, {}}}),
                      CDefNode{"test:counter", "count", {}, {}}}});
    EXPECT_EQ(g.run({ones(3, 0.0)}, {0}, 3)[0], (std::vector<double>{0.0, 1.0, 2.0}));
    g.m_host.set("main.amp.gain", 2.0);
    EXPECT_EQ(g.run({ones(2)}, {0}, 2)[0], (std::vector<double>{5.0, 6.0}));  // 2 + count 3, 4
    const int resets = CTestCounterModule::s_resets;
    EXPECT_EQ(g.run({ones(2)}, {0}, 2, 96000.0)[0], (std::vector<double>{2.0, 3.0}));
    EXPECT_GT(CTestCounterModule::s_resets, resets);
}

TEST_F(CAudioProcessTest, JunctionsAreLookedThroughAndCyclesDoNotRun) {
    auto& g = start({"audio:process-def",
                     "main",
                     {},
                     {gain("a", "2"), CDefNode{"audio:modNode", "node", {}, {}}, gain("b", "3"), gain("c", "5"),
                      linkDef("*", "a"), linkDef("a", "node"), linkDef("node", "b"), linkDef("node", "c"),
                      linkDef("b", "*"), linkDef("c", "*")}});
    EXPECT_EQ(g.run({{1.0, 0.5}}, {0}, 2)[0], (std::vector<double>{16.0, 8.0}));  // 2*3 + 2*5
    auto* root = static_cast<CAudioProcess*>(g.m_root);
    EXPECT_EQ(root->childProcess(CString("node")), nullptr);
    EXPECT_EQ(root->sequenceLength(), 3);

    // x and y feed each other: neither can be placed, and the graph stays silent but alive.
    m_runner.reset();
    auto& cyc = start({"audio:process-def",
                       "loop",
                       {},
                       {gain("x", "1"), gain("y", "1"), linkDef("*", "x"), linkDef("y", "x"), linkDef("x", "y"),
                        linkDef("y", "*")}});
    EXPECT_TRUE(cyc.run({{1.0}}, {0}, 1).empty());
    EXPECT_EQ(static_cast<CAudioProcess*>(cyc.m_root)->sequenceLength(), 0);
}

TEST_F(CAudioProcessTest, CompensatedGainInputsStartFromTheirFirstSample) {
    // A gain signal on the short path must not start from silence while the long path fills.
    for (const char* compInput : {"false", "true"}) {
        auto& g = start({"audio:process-def",
                         "main",
                         {},
                         {CDefNode{"test:delay", "slow", {{"latency", "4"}}, {}}, gain("fast", "1"),
                          gain("mult", "1", {{"is-comp-input", compInput}}), linkDef("*", "slow"),
                          linkDef("*", "fast"), linkDef("slow", "mult"), linkDef("fast", "mult"),
                          linkDef("mult", "*")}});
        auto out = g.run({ones(6, 0.75)}, {0}, 6)[0];
        const double early = std::string(compInput) == "true" ? 0.75 : 0.0;
        EXPECT_EQ(out, (std::vector<double>{early, early, early, early, 1.5, 1.5})) << compInput;
        fresh();
    }
}

TEST(CAudioParamReader, PickUpRuleAndRounding) {
    CTestParam p(2, 3, 0.0);
    p.m_values = {{1, 2, 3}, {4, 5}};
    p.m_defaults = {7, 8, 9, 10};
    EXPECT_EQ(p.pick(1, 1), 5.0);
    EXPECT_EQ(p.pick(1, 2), 9.0);   // past the group's elements: the default of that element
    EXPECT_EQ(p.pick(5, 0), 7.0);   // past the groups
    EXPECT_EQ(p.pick(0, 6), 7.0);   // no such default either: the first
    p.m_singleGroup = true;
    EXPECT_EQ(p.pick(1, 1), 2.0);   // single group reads group 0
    EXPECT_EQ(roundParam(2.5), 3.0);
    EXPECT_EQ(roundParam(-2.5), -3.0);
    EXPECT_EQ(roundParam(0.4999), 0.0);
    EXPECT_EQ(roundParam(-0.5), -1.0);
}

TEST_F(CAudioProcessTest, ChannelStackMakesOneInstancePerChannelWithShiftedIndex) {
    auto& g = start({"audio:process-def",
                     "main",
                     {{"is-auto-links", "true"}},
                     {CDefNode{"audio:process-def",
                               "st",
                               {{"is-stacked", "true"},
                                {"is-channel-stack", "true"},
                                {"stack-index-shift", "3"},
                                {"is-auto-links", "true"}},
                               {CDefNode{"test:counter", "count", {}, {}}}}}});
    auto out = g.run({ones(1, 0.0), ones(1, 0.0), ones(1, 0.0)}, {0, 0, 1}, 1);
    EXPECT_EQ(out.size(), 3u);
    auto* stack = dynamic_cast<CAudioProcessStack*>(static_cast<CAudioProcess*>(g.m_root)->childProcess(CString("st")));
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ(stack->instanceCount(), 3);
    EXPECT_EQ(stack->instance(1)->group(), 0);
    EXPECT_EQ(stack->instance(2)->group(), 1);
    EXPECT_EQ(stack->instance(2)->element(), 5);
}
