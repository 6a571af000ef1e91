// The resamplers built from the shared stage definitions: the stage count rule, the chains at
// 2x/4x/8x in both filter families (an up -> down round trip returns the band-limited signal at
// its level, the linear-phase family delayed by exactly the latency it reports), stages kept
// across a change of factor, the rate changers' own rules, and the filter switch's definition.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "Audio/CAudioParamCollector.h"
#include "Audio/Processes/CModDecimator.h"
#include "Audio/Processes/CModProcessSwitch.h"
#include "Audio/Processes/CModResampler.h"
#include "tests/Audio/Filters/CFilterTestSupport.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;
constexpr double kRate = 48000.0;
constexpr int32_t kBlock = 512;

CDefNode resampler(const char* name, bool up) {
    return {"audio:modResampler",
            name,
            {{"is-upsampler", up ? "true" : "false"}},
            {{"audio:param-alloc", "mode", {{"param-name", "mode"}, {"index", "0"}}, {}},
             {"audio:param-alloc", "host-mode", {{"param-name", "host-mode"}, {"index", "1"}}, {}}}};
}

CDefNode remap(const char* orig, const char* target) {
    return {"audio:param-remap", orig, {{"orig", orig}, {"new", target}}, {}};
}

class COversamplingTest : public CGraphTest {
protected:
    // up -> down, both reading t.oversampling and t.host-mode; the switches read
    // plugin.modMain.lp-oversampling-enable as in the plug-in.
    CTestGraphRunner& startRoundTrip(double mode, double linearPhase) {
        collector().declare("t.oversampling", 1, std::to_string(mode), true, "0 4");
        collector().declare("t.host-mode", 1, "0", true, "-3 3");
        collector().declare("plugin.modMain.lp-oversampling-enable", 1, std::to_string(linearPhase), true, "0 1");
        return start({"audio:process-def",
                      "main",
                      {{"is-auto-links", "true"}},
                      {remap("up.mode", "/t.oversampling"), remap("up.host-mode", "/t.host-mode"),
                       remap("down.mode", "/t.oversampling"), remap("down.host-mode", "/t.host-mode"),
                       resampler("up", true), resampler("down", false)}});
    }
    CModResampler* node(const char* name) const {
        return dynamic_cast<CModResampler*>(rootProcess()->childProcess(CString(name)));
    }
    // Runs x through channel 0 in blocks; the output, and the latency of the last block.
    Signal run(CTestGraphRunner& g, const Signal& x, int32_t* latency = nullptr) {
        Signal y;
        for (size_t i = 0; i + kBlock <= x.size(); i += kBlock) {
            const Signal in(x.begin() + static_cast<long>(i), x.begin() + static_cast<long>(i + kBlock));
            const Signal out = g.run({in}, {0}, kBlock, kRate)[0];
            EXPECT_EQ(out.size(), static_cast<size_t>(kBlock));
            y.insert(y.end(), out.begin(), out.end());
        }
        if (latency) *latency = g.outputLatencies()[0];
        return y;
    }
};

}  // namespace

// The effective exponent: a fixed setting gives its stages unless the host forces a level with a
// negative mode; "Auto" follows the host's level either way; nothing beyond 8x.
TEST(COversamplingRules, StagesFromModeAndHostMode) {
    EXPECT_EQ(CModResampler::stagesFor(1, 0), 0);   // 1X
    EXPECT_EQ(CModResampler::stagesFor(4, 0), 3);   // 8X
    EXPECT_EQ(CModResampler::stagesFor(0, 0), 0);   // Auto, real time
    EXPECT_EQ(CModResampler::stagesFor(0, 2), 2);   // Auto, offline level 2
    EXPECT_EQ(CModResampler::stagesFor(3, 1), 2);   // 4X whatever the automatic level
    EXPECT_EQ(CModResampler::stagesFor(1, -2), 2);  // forced by the host
    EXPECT_EQ(CModResampler::stagesFor(4, -3), 3);
    EXPECT_EQ(CModResampler::stagesFor(2.4, 0.4), 1);
}

// Up -> down in both families at each factor, changed on the running graph. Two sines well
// inside the pass band come back at their level with nothing else beside them: images and
// aliases stay below -120 dB. The linear-phase chain is a pure delay for such a signal, and the
// delay is the latency reported; minimum-phase filters report none of their own.
TEST_F(COversamplingTest, RoundTripIsBandLimitedAtTheReportedLatency) {
    const size_t n = 960;  // 50 Hz bins at 48 kHz; 45 blocks hold 24 whole periods
    const Signal a = sineOf(20, n, 45 * kBlock), b = sineOf(140, n, a.size());  // 1 kHz, 7 kHz
    Signal x(a.size());
    for (size_t i = 0; i < x.size(); ++i) x[i] = 0.5 * a[i] + 0.25 * b[i];
    CTestGraphRunner& g = startRoundTrip(1, 0);
    for (const double linear : {0.0, 1.0}) {
        for (const int mode : {2, 3, 4}) {
            collector().set("t.oversampling", mode);
            collector().set("plugin.modMain.lp-oversampling-enable", linear);
            int32_t latency = -1;
            const Signal y = run(g, x, &latency);
            EXPECT_EQ(node("up")->stageCount(), mode - 1);
            EXPECT_EQ(node("down")->childCount(), 2 * (mode - 1));
            const size_t from = y.size() - 4 * n;
            Signal rest(y.begin() + static_cast<long>(from), y.end());
            for (const auto& [k, amplitude] : {std::pair{80, 0.5}, std::pair{560, 0.25}}) {
                EXPECT_NEAR(sineAmplitude(y, from, 4 * n, k), amplitude, amplitude * 1e-5) << mode << " " << linear;
                // Take the sine out by its projections; what stays is neither of the two.
                double s = 0.0, c = 0.0;
                for (size_t i = 0; i < rest.size(); ++i) {
                    const double ph = 2.0 * std::numbers::pi * k * static_cast<double>(i) / (4.0 * n);
                    s += rest[i] * std::sin(ph);
                    c += rest[i] * std::cos(ph);
                }
                for (size_t i = 0; i < rest.size(); ++i) {
                    const double ph = 2.0 * std::numbers::pi * k * static_cast<double>(i) / (4.0 * n);
                    rest[i] -= 2.0 / rest.size() * (s * std::sin(ph) + c * std::cos(ph));
                }
            }
            double residual = 0.0;
            for (const double v : rest) residual = std::max(residual, std::fabs(v));
            EXPECT_LT(residual, 1e-6) << mode << " " << linear;
            if (linear == 1.0) {
                ASSERT_GT(latency, 0);
                double worst = 0.0;
                for (size_t i = from; i < y.size(); ++i) {
                    worst = std::max(worst, std::fabs(y[i] - x[(i + 4 * x.size() - latency) % x.size()]));
                }
                EXPECT_LT(worst, 1e-6) << mode << " latency " << latency;
            } else {
                EXPECT_EQ(latency, 0) << mode;
            }
        }
    }
}

// A change of factor adds or removes one stage at a time and keeps the others running: the
// upsampler keeps its first children, the downsampler its last ones. At 8X each holds six.
TEST_F(COversamplingTest, FactorChangeKeepsOtherStages) {
    CTestGraphRunner& g = startRoundTrip(2, 0);
    const Signal x = uniformNoise(kBlock, 3);
    g.run({x}, {0}, kBlock, kRate);
    CModResampler* up = node("up");
    CModResampler* down = node("down");
    ASSERT_TRUE(up && down);
    const CAudioProcessBase* upFirst = up->childAt(0);
    const CAudioProcessBase* upFilter = up->childAt(1);
    const CAudioProcessBase* downFilter = down->childAt(0);
    const CAudioProcessBase* downLast = down->childAt(1);
    collector().set("t.oversampling", 4);
    g.run({x}, {0}, kBlock, kRate);
    ASSERT_EQ(up->childCount(), 6);
    ASSERT_EQ(down->childCount(), 6);
    EXPECT_EQ(up->childAt(0), upFirst);
    EXPECT_EQ(up->childAt(1), upFilter);
    EXPECT_EQ(down->childAt(4), downFilter);
    EXPECT_EQ(down->childAt(5), downLast);
    // The steep switch works at the lowest rate, the soft ones above it.
    EXPECT_EQ(str(up->childAt(1)->def()->baseName()), "modUpsamplerFilterSteep");
    EXPECT_EQ(str(up->childAt(3)->def()->baseName()), "modResamplerFilterSoft");
    EXPECT_EQ(str(down->childAt(4)->def()->baseName()), "modDownsamplerFilterSteep");
    EXPECT_EQ(str(down->childAt(0)->def()->baseName()), "modResamplerFilterSoft");
    // The host forcing level 1 takes the chain back to one stage, the same two children.
    collector().set("t.host-mode", -1);
    g.run({x}, {0}, kBlock, kRate);
    ASSERT_EQ(up->childCount(), 2);
    EXPECT_EQ(up->childAt(0), upFirst);
    EXPECT_EQ(down->childAt(1), downLast);
    collector().set("t.host-mode", 0);
    collector().set("t.oversampling", 1);
    EXPECT_EQ(g.run({x}, {0}, kBlock, kRate)[0], x);
    EXPECT_EQ(up->childCount(), 0);
}

// The rate changers alone at 96 kHz: zero stuffing doubles and interleaves zeros; a decimator
// behind an input latency of 3 reports 2 and, once its one-sample delay has faded in, keeps the
// samples that line up with that latency.
TEST_F(COversamplingTest, InterpolatorAndDecimatorRules) {
    CTestGraphRunner& g = start({"audio:process-def",
                                 "main",
                                 {{"is-auto-links", "true"}},
                                 {{"test:delay", "d", {{"latency", "3"}}, {}},
                                  {"audio:modDecimator", "dec", {}, {}},
                                  {"audio:modInterpolator", "int", {}, {}}}});
    const Signal x = uniformNoise(4096, 5);
    Signal y;
    for (size_t i = 0; i < x.size(); i += kBlock) {
        const Signal in(x.begin() + static_cast<long>(i), x.begin() + static_cast<long>(i + kBlock));
        const Signal out = g.run({in}, {0}, kBlock, 96000.0)[0];
        ASSERT_EQ(out.size(), static_cast<size_t>(kBlock));
        y.insert(y.end(), out.begin(), out.end());
    }
    // After the decimator: latency (3 + 1) / 2 = 2 at 48 kHz; after the interpolator: 4 at 96.
    EXPECT_EQ(g.outputLatencies()[0], 4);
    for (size_t i = 2048; i < y.size(); i += 2) {
        ASSERT_EQ(y[i], 2.0 * x[i - 4]) << i;
        ASSERT_EQ(y[i + 1], 0.0) << i;
    }
}

// The switch's item list: each malformed item fails the definition with its message; a valid
// switch builds `count` copies of the chosen item in series and falls back to `def-index`.
TEST_F(COversamplingTest, ProcessSwitchDefinition) {
    const auto make = [&](const char* list) {
        CAttrMap attrs;
        attrs[CString("process-list")].setText(CString(list));
        CObject* def = nullptr;
        return message(m_defs->createChild(def, CString("audio:modProcessSwitch"), CString("sw"), false, &attrs));
    };
    EXPECT_EQ(make("0:.a;1"), "No index delimiter ':' found in item #2.");
    EXPECT_EQ(make("0:.a;x:.b"), "Invalid index value 'x' in item #2.");
    EXPECT_EQ(make("1:.a;1:.b"), "Duplicate index value '1' used in item #2.");

    collector().declare("main.sw.index", 1, "5", true, "0 9");
    collector().declare("main.sw.count", 1, "3", true, "0 128");
    CTestGraphRunner& g = start(
        {"audio:process-def",
         "main",
         {{"is-auto-links", "true"}},
         {{"audio:modProcessSwitch",
           "sw",
           {{"process-list", "0:.g1;1:.g2"}, {"def-index", "1"}, {"def-child-name", "mod"}},
           {{"audio:param-alloc", "index", {{"param-name", "index"}, {"index", "0"}}, {}},
            {"audio:param-alloc", "count", {{"param-name", "count"}, {"index", "1"}}, {}},
            {"test:gain", "g1", {{"gain", "3"}}, {}},
            {"test:gain", "g2", {{"gain", "2"}}, {}}}}}});
    const Signal x = uniformNoise(64, 7);
    Signal y = g.run({x}, {0}, 64, kRate)[0];
    for (size_t i = 0; i < x.size(); ++i) ASSERT_EQ(y[i], 8.0 * x[i]);  // 2 * 2 * 2: def-index, 3 copies
    collector().set("main.sw.index", 0);
    collector().set("main.sw.count", 0);
    y = g.run({x}, {0}, 64, kRate)[0];
    for (size_t i = 0; i < x.size(); ++i) ASSERT_EQ(y[i], 3.0 * x[i]);  // item 0, one copy
    auto* sw = dynamic_cast<CModProcessSwitch*>(rootProcess()->childProcess(CString("sw")));
    ASSERT_NE(sw, nullptr);
    EXPECT_EQ(sw->childCount(), 1);
    EXPECT_EQ(str(sw->childAt(0)->name()), "mod");
}
