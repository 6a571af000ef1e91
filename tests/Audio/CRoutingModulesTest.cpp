// The channel routers and the mid/side coder in graphs, and the chain that surrounds the
// compressor, against values worked out here.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "Audio/Processes/CAudioParamWriter.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;

CDefNode alloc(const char* param, int index, bool allElements = true) {
    CDefNode n{"audio:param-alloc", param, {{"param-name", param}, {"index", std::to_string(index)}}, {}};
    if (allElements) n.attrs.push_back({"use-all-elements", "true"});
    return n;
}

CDefNode graph(std::vector<CDefNode> children) {
    return {"audio:process-def", "main", {{"is-auto-links", "true"}}, std::move(children)};
}

// A parameter host that also takes the values the audio side writes back, as (group, value).
class CRecordingHost : public CTestParamHost, public CAudioParamWriter {
public:
    void writeParamValue(const CString& name, int32_t group, double value) override {
        EXPECT_STREQ(name.narrowed().c8(), "plugin.modMain.channel-counts");
        writes.push_back({double(group), value});
    }
    std::vector<std::vector<double>> writes;
};

// Replaces the elements of group 0 and tells the listeners, as the collector does.
void setElements(CTestParam& p, const Signal& values) {
    p.m_values[0] = values;
    for (CAudioParamListener* l : p.m_listeners) {
        l->changedMask->fetch_or(1u);
        l->updatePending->store(true);
    }
}

class CRoutingModulesTest : public CGraphTest {};

}  // namespace

// Input router: each input names its channel and the lowest input keeps a channel that several
// ask for; groups come from `grouping` at the output index, and each group's channel count goes
// to the collector, all eight at first, then only those that changed. All zeros leave one silent
// channel and publish nothing. The output router takes existing inputs only.
TEST_F(CRoutingModulesTest, RoutersFollowTheirTablesAndPublishGroupCounts) {
    CRecordingHost params;
    CTestParam& routing = params.add("main.inr.routing", 1, 8, 0.0, true);
    CTestParam& grouping = params.add("main.inr.grouping", 1, 8, 0.0, true);
    routing.m_values[0] = {2, 2, 1, 0, 5};  // inputs 0 and 1 both ask for channel 1; input 5 lies beyond
    grouping.m_values[0] = {3, 1, 0, 0, 1};
    CTestGraphRunner& g = start(graph({CDefNode{"audio:modRouter",
                                                "inr",
                                                {{"channel-counts-param", "plugin.modMain.channel-counts"}},
                                                {alloc("routing", 0), alloc("grouping", 1)}}}));
    g.m_root->setContext(nullptr, &g.m_pool, &params);  // the children find their parameters there
    std::vector<Signal> in;
    for (uint32_t c = 0; c < 6; ++c) in.push_back(uniformNoise(16, c));
    auto out = g.run(in, std::vector<int32_t>(6, 0), 16);
    EXPECT_EQ(out, (std::map<int32_t, Signal>{{0, in[2]}, {1, in[0]}, {4, in[4]}}));
    using W = std::vector<std::vector<double>>;
    EXPECT_EQ(params.writes, (W{{0, 0}, {1, 2}, {2, 0}, {3, 1}, {4, 0}, {5, 0}, {6, 0}, {7, 0}}));

    params.writes.clear();
    setElements(grouping, {3, 1, 0, 0, 3});  // channel 4 moves from group 1 to group 3
    g.run(in, std::vector<int32_t>(6, 0), 16);
    EXPECT_EQ(params.writes, (W{{1, 1}, {3, 2}}));

    params.writes.clear();
    setElements(routing, Signal(8, 0.0));
    EXPECT_EQ(g.run(in, std::vector<int32_t>(6, 0), 16), (std::map<int32_t, Signal>{{0, Signal(16, 0.0)}}));
    EXPECT_TRUE(params.writes.empty());

    CTestParam& outRouting = fresh().add("main.outr.routing", 1, 4, 0.0, true);
    outRouting.m_values[0] = {2, 0, 9, 1};  // no input 8
    CTestGraphRunner& o =
        start(graph({CDefNode{"audio:modRouter", "outr", {{"is-output", "true"}}, {alloc("routing", 0)}}}));
    EXPECT_EQ(o.run({in[0], in[1]}, {0, 0}, 16), (std::map<int32_t, Signal>{{0, in[1]}, {3, in[0]}}));
}

// Pairs form by number whatever the groups; a third channel with the same number and a channel
// whose number stands alone pass. Encoder, decoder and bypass on the same lists.
TEST_F(CRoutingModulesTest, MSCoderPairsByNumberAndPassesTheRest) {
    host().add("main.ms.pairs", 1, 6, 0.0, true).m_values[0] = {3, 1, 3, 3, 1, 2};  // pairs (0, 2), (1, 4)
    host().add("main.ms.mode", 8, 1, 0.0);
    host().add("main.ms.bypass", 8, 1, 0.0);
    auto& g = start(graph({CDefNode{
        "audio:modMSCoder", "ms", {}, {alloc("pairs", 0), alloc("mode", 1, false), alloc("bypass", 2, false)}}}));
    std::vector<Signal> in;
    for (uint32_t c = 0; c < 6; ++c) in.push_back(uniformNoise(13, 10 + c));
    for (const bool decoder : {false, true}) {
        g.m_host.set("main.ms.mode", decoder);
        auto out = g.run(in, {0, 1, 2, 3, 4, 5}, 13);
        for (const auto& [first, second] : {std::pair{0, 2}, std::pair{1, 4}}) {
            for (size_t i = 0; i < 13; ++i) {
                const double a = in[first][i], b = in[second][i];
                ASSERT_EQ(out[first][i], decoder ? a + b : (a + b) / 2) << first << " " << i;
                ASSERT_EQ(out[second][i], decoder ? a - b : (a - b) / 2) << second << " " << i;
            }
        }
        EXPECT_EQ(out[3], in[3]);
        EXPECT_EQ(out[5], in[5]);
    }
    g.m_host.set("main.ms.bypass", 1.0);
    auto out = g.run(in, {0, 1, 2, 3, 4, 5}, 13);
    for (int32_t c = 0; c < 6; ++c) EXPECT_EQ(out[c], in[c]) << c;
}

// Encoding and decoding again gives random stereo back within the rounding of two steps.
TEST_F(CRoutingModulesTest, EncodeThenDecodeIsANullTest) {
    host().add("main.enc.pairs", 1, 2, 1.0, true);
    host().add("main.dec.pairs", 1, 2, 1.0, true);
    host().add("main.dec.mode", 8, 1, 1.0);
    auto& g = start(graph({CDefNode{"audio:modMSCoder", "enc", {}, {alloc("pairs", 0)}},
                           CDefNode{"audio:modMSCoder", "dec", {}, {alloc("pairs", 0), alloc("mode", 1, false)}}}));
    double worst = 0.0;
    for (uint32_t block = 0; block < 4; ++block) {
        const Signal l = uniformNoise(509, 100 + block), r = uniformNoise(509, 200 + block);
        auto out = g.run({l, r}, {0, 1}, 509);
        for (size_t i = 0; i < l.size(); ++i)
            worst = std::max({worst, std::fabs(out[0][i] - l[i]), std::fabs(out[1][i] - r[i])});
        EXPECT_NE(out[0], l);  // rounding shows somewhere: the signal did go through both
    }
    EXPECT_LE(worst, 4.5e-16);
}
