// The latency uniformer: the table and its next-higher row rule, the padding to the total as a
// pure delay, a change of latency in front absorbed by a crossfade with the reported latency
// unmoved, and the two ways a rate or a latency can fall outside the table.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Audio/Processes/CModLatencyUniformerDef.h"
#include "Audio/Processes/CModLatencyUniformerModule.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;

class CModLatencyUniformerTest : public CGraphTest {
protected:
    const CModLatencyUniformerDef* table(const char* latencies) {
        CAttrMap attrs;
        attrs[CString("latencies")].setText(CString(latencies));
        CModLatencyUniformerDef* def = nullptr;
        CError* err = m_defs->createChild(def, CString("audio:modLatencyUniformer"), CString("u"), false, &attrs);
        EXPECT_EQ(err, nullptr);
        deleteError(err);
        return def;
    }
    // A switch between two delays of 10 and 40 samples, then the uniformer.
    CTestGraphRunner& startChain(const char* latencies) {
        collector().declare("main.sw.index", 1, "0", true, "0 1");
        return start({"audio:process-def",
                      "main",
                      {{"is-auto-links", "true"}},
                      {{"audio:modProcessSwitch",
                        "sw",
                        {{"process-list", "0:.d10;1:.d40"}},
                        {{"audio:param-alloc", "index", {{"param-name", "index"}, {"index", "0"}}, {}},
                         {"test:delay", "d10", {{"latency", "10"}}, {}},
                         {"test:delay", "d40", {{"latency", "40"}}, {}}}},
                       {"audio:modLatencyUniformer", "uni", {{"latencies", latencies}}, {}}}});
    }
};

}  // namespace

// Rows in string order; the first row at or above the rounded rate counts; unreadable values
// and rates beyond the last row are unsupported, and so is everything with an empty table.
TEST_F(CModLatencyUniformerTest, TableRows) {
    const CModLatencyUniformerDef* def = table("44100=1025; 48000=1064;88200=x;96000=1544");
    ASSERT_NE(def, nullptr);
    ASSERT_EQ(def->rowCount(), 4);
    EXPECT_EQ(def->row(2).rate, 88200);
    EXPECT_EQ(def->row(2).total, -1);
    EXPECT_EQ(def->totalFor(44100.4), 1025);
    EXPECT_EQ(def->totalFor(44100.6), 1064);
    EXPECT_EQ(def->totalFor(22050.0), 1025);
    EXPECT_EQ(def->totalFor(50000.0), -1);
    EXPECT_EQ(def->totalFor(96000.0), 1544);
    EXPECT_EQ(def->totalFor(384001.0), -1);
    fresh();
    EXPECT_EQ(table("")->totalFor(48000.0), -1);
}

// The output is the input delayed by exactly the table's total, before and after the latency
// in front moves from 10 to 40 samples; the move is a crossfade, and the reported latency
// stays at the total throughout.
TEST_F(CModLatencyUniformerTest, PadsToTheTotalAndAbsorbsChanges) {
    CTestGraphRunner& g = startChain("48000=100");
    const Signal x = uniformNoise(256 * 40, 9);
    Signal y;
    for (size_t b = 0; b < 40; ++b) {
        if (b == 20) collector().set("main.sw.index", 1);
        const Signal in(x.begin() + static_cast<long>(256 * b), x.begin() + static_cast<long>(256 * (b + 1)));
        const Signal out = g.run({in}, {0}, 256, 48000.0)[0];
        y.insert(y.end(), out.begin(), out.end());
        ASSERT_EQ(g.outputLatencies()[0], 100) << b;
        if (b == 20) {
            const auto* m = static_cast<const CModLatencyUniformerModule*>(terminal("uni")->slotModule(0));
            EXPECT_EQ(m->targetDelay(), 60);
            EXPECT_TRUE(m->line().isTransitionRunning());
        }
    }
    for (size_t i = 100; i < 20 * 256; ++i) ASSERT_EQ(y[i], x[i - 100]) << i;
    // The switch starts its new delay from silence; once its 40 samples are through and the
    // 720-sample fade is over, the output is the input 100 samples late again.
    for (size_t i = 20 * 256 + 800; i < y.size(); ++i) ASSERT_EQ(y[i], x[i - 100]) << i;
}

// A latency above the total gets no delay and reports the total; a rate without a row gets no
// delay and passes the input's latency on.
TEST_F(CModLatencyUniformerTest, OutsideTheTable) {
    CTestGraphRunner& g = startChain("48000=5;96000=x");
    const Signal x = uniformNoise(256, 4);
    Signal y = g.run({x}, {0}, 256, 48000.0)[0];
    EXPECT_EQ(g.outputLatencies()[0], 5);
    for (size_t i = 10; i < y.size(); ++i) ASSERT_EQ(y[i], x[i - 10]) << i;
    y = g.run({x}, {0}, 256, 96000.0)[0];
    EXPECT_EQ(g.outputLatencies()[0], 10);
    y = g.run({x}, {0}, 256, 192000.0)[0];
    EXPECT_EQ(g.outputLatencies()[0], 10);
}
