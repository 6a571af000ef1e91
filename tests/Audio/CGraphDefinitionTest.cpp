#include <cmath>

#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamCollector.h"
#include "Core/CAppDataLocal.h"
#include "Core/CError.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;

CString compiled(const char* name) { return CString(ORL_TEST_DEFINITIONS_DIR) + "/" + name + ".bin"; }

// Graphs read from compiled definitions, with the real tags, instead of built in code.
class CGraphDefinitionTest : public CGraphTest {
protected:
    CTestGraphRunner& startFromTree(const char* file, const char* graph) {
        CError* err = m_defs->loadXMLData(compiled(file), true);
        EXPECT_EQ(err ? err->text() : CString(), CString());
        deleteError(err);
        auto* def = dynamic_cast<CAudioProcessDefBase*>(m_defs->findObject(graph));
        EXPECT_NE(def, nullptr);
        host();
        if (def) m_runner->start(def);
        return *m_runner;
    }
};

}  // namespace

// Stereo through input router (channels swapped), M/S encoder, a gain of its own on mid and on
// side, decoder, bypass and output router (swapped back), against the closed form
//   out0 = in0 (gm + gs) / 2 + in1 (gm - gs) / 2,   out1 = in1 (gm + gs) / 2 + in0 (gm - gs) / 2.
// Bypass then fades to the dry signal taken at the junction after the input router: the input itself.
TEST_F(CGraphDefinitionTest, StereoMidSideChainWithItsDryBranchMatchesTheClosedForm) {
    const double gm = std::pow(10.0, -3.0 / 20.0), gs = -std::pow(10.0, 4.5 / 20.0);
    CTestCollector& c = collector();
    c.declare("main.inr.routing", 1, "2, 1", true);
    c.declare("main.outr.routing", 1, "2, 1", true);
    c.declare("main.enc.pairs", 1, "1, 1", true);
    c.declare("main.dec.pairs", 1, "1, 1", true);
    c.declare("main.dec.mode", 8, "1");
    c.declare("main.gain.gain", 8, CString::format("%.17g, %.17g", gm, gs).narrowed().c8());  // element = channel
    c.declare("main.byp.enable", 8, "0, 0");
    CTestGraphRunner& g = startFromTree("RoutingGraphs.xml", "main");
    ASSERT_NE(g.m_root, nullptr);
    for (uint32_t block = 0; block < 6; ++block) {
        if (block == 3) c.set("main.byp.enable", 1.0);  // the 48-sample fade ends in block 3
        const Signal a = uniformNoise(256, 300 + block), b = uniformNoise(256, 400 + block);
        auto out = g.run({a, b}, {0, 0}, 256);
        if (block >= 4) {
            // The dry branch leaves the junction behind the input router.
            EXPECT_EQ(out[0], a);
            EXPECT_EQ(out[1], b);
            continue;
        }
        const size_t end = block == 3 ? 1 : a.size();
        for (size_t i = 0; i < end; ++i) {
            ASSERT_NEAR(out[0][i], a[i] * (gm + gs) / 2 + b[i] * (gm - gs) / 2, 1e-14) << block << " " << i;
            ASSERT_NEAR(out[1][i], b[i] * (gm + gs) / 2 + a[i] * (gm - gs) / 2, 1e-14) << block << " " << i;
        }
    }
}

TEST_F(CGraphDefinitionTest, BypassStateAndResolvedParameterNames) {
    CTestCollector& c = collector();
    c.declare("states.level", 8, "2");  // "^level" from states.a
    c.declare("trim", 8, "3");          // "/trim"
    c.declare("states.bp", 1, "0");
    CTestGraphRunner& g = startFromTree("RoutingGraphs.xml", "states");
    ASSERT_NE(g.m_root, nullptr);
    EXPECT_DOUBLE_EQ(g.run({{1.0}}, {0}, 1)[0][0], 6.0);
    c.set("states.bp", 1.0);
    EXPECT_DOUBLE_EQ(g.run({{1.0}}, {0}, 1)[0][0], 2.0);
    c.set("states.bp", 0.0);
    EXPECT_DOUBLE_EQ(g.run({{1.0}}, {0}, 1)[0][0], 6.0);
    // The graph bound through the collector: the three parameters and no others.
    EXPECT_EQ(c.collector().paramCount(), 3);
    EXPECT_EQ(c.collector().bindingCount(c.param("states.bp")), 1);
}

TEST_F(CGraphDefinitionTest, ABadLinkFailsTheLoadWithItsMessageAndPath) {
    CError* err = m_defs->loadXMLData(compiled("BadLink.xml"), true);
    ASSERT_NE(err, nullptr);
    const CString text = err->text();
    deleteError(err);
    EXPECT_NE(text.findText("Invalid port in the 'src' attribute value 'a/x' specified."), -1) << text.narrowed().c8();
    EXPECT_NE(text.findText("bad.broken"), -1) << text.narrowed().c8();
}

// The parameter side of a definition: a filter computes the module's gain from another
// parameter, and a stored parameter starts from, and writes to, application data.
TEST_F(CGraphDefinitionTest, FiltersAndStoredParametersComeWithTheProcess) {
    CAppDataLocal::instance().writeString(CString("test-peak-hold"), CString("1250"), nullptr);
    CTestCollector& c = collector();
    CTestGraphRunner& g = startFromTree("ParamSideGraph.xml", "side");
    ASSERT_NE(g.m_root, nullptr);
    EXPECT_EQ(c.collector().filterCount(), 1);
    EXPECT_DOUBLE_EQ(g.run({{1.0}}, {0}, 1)[0][0], 1.0);  // 10^(0/4)

    CAudioParam* emphasis = c.collector().getParam(CString("side.emphasis"));
    ASSERT_TRUE(emphasis->setValue(6.0, 0, nullptr, nullptr));
    g.run({{1.0}}, {0}, 1);  // takes the change; a smooth gain would fade
    EXPECT_NEAR(g.run({{1.0}}, {0}, 1)[0][0], std::pow(10.0, 1.5), 1e-12);

    CAudioParam* hold = c.collector().getParam(CString("side.meter.hold"));
    EXPECT_EQ(hold->getValue(0, 0, -1.0), 1250.0);
    ASSERT_TRUE(hold->setValue(40.0, 0, nullptr, nullptr));
    CString stored;
    ASSERT_TRUE(CAppDataLocal::instance().readString(CString("test-peak-hold"), stored));
    double value = 0.0;
    ASSERT_TRUE(stored.toDouble(value));
    EXPECT_EQ(value, 40.0);
}
