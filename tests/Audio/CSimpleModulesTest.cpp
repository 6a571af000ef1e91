// The delay of the gain path, the multiplier, gain, bypass, junction and output nodes and the
// guard noise, each against values worked out here from its definition.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "Audio/Processes/CAudioLatencySink.h"
#include "Audio/Processes/CModDelayModule.h"
#include "Audio/Processes/CModOutput.h"
#include "Audio/Processes/CSimpleModuleKernel.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;
using Attrs = std::vector<std::pair<std::string, std::string>>;
constexpr double kRate = 48000.0;

CDefNode alloc(const char* param, int index, const char* extra = nullptr) {
    CDefNode n{"audio:param-alloc", param, {{"param-name", param}, {"index", std::to_string(index)}}, {}};
    if (extra) n.attrs.push_back({extra, "true"});
    return n;
}

CDefNode linkDef(const char* src, const char* dst) {
    return {"audio:process-link", "l", {{"src", src}, {"dst", dst}}, {}};
}

// The guard noise written out here: a 32-bit LCG whose bit 23 gives the sign of 1e-11.
struct CReferenceNoise {
    uint32_t x = 0;
    double next() { return ((x = x * 30013u + 30011u) & 0x800000u) ? 1e-11 : -1e-11; }
};

struct CLatencyRecorder : CAudioLatencySink {
    void setLatency(int32_t samples) override { reports.push_back(samples); }
    std::vector<int32_t> reports;
};

class CSimpleModulesTest : public CGraphTest {
protected:
    // main -> delay, with the delay's attributes and its parameters at the given values.
    CTestGraphRunner& startDelay(Attrs attrs, double time, double samples = 0.0, int timeMode = 0) {
        CTestParamHost& h = fresh();
        h.add("main.delay.time", 8, 1, time);
        h.add("main.delay.samples", 8, 1, samples);
        h.add("main.delay.time-mode", 8, 1, timeMode);
        return start({"audio:process-def",
                      "main",
                      {{"is-auto-links", "true"}},
                      {CDefNode{"audio:modDelay",
                                "delay",
                                std::move(attrs),
                                {alloc("time", 0), alloc("samples", 1), alloc("time-mode", 4)}}}});
    }
    const CModDelayModule* delayModule() const {
        return static_cast<const CModDelayModule*>(terminal("delay")->slotModule(0));
    }
};

}  // namespace

// The AVX2 build of every loop gives the plain build's results bit for bit (the module tests
// below check the formulas on the build in use).
TEST_F(CSimpleModulesTest, KernelBuildsAgreeBitForBit) {
    if (!CSimpleModuleKernel::avx2()) GTEST_SKIP() << "no AVX2+FMA here";
    for (const int32_t n : {3, 131}) {
        const Signal a = uniformNoise(n, 1), b = uniformNoise(n, 2, 0.1, 2.0);
        auto all = [&](const CSimpleModuleKernel& k) {
            std::vector<Signal> r(8, Signal(n));
            k.multiply(r[0].data(), a.data(), b.data(), n);
            k.multiplyInverted(r[1].data(), a.data(), b.data(), n);
            k.divide(r[2].data(), a.data(), b.data(), n);
            k.scale(r[3].data(), a.data(), -0.3, n);
            k.msEncode(r[4].data(), r[5].data(), a.data(), b.data(), n);
            k.msDecode(r[6].data(), r[7].data(), a.data(), b.data(), n);
            return r;
        };
        EXPECT_EQ(all(CSimpleModuleKernel::plain()), all(*CSimpleModuleKernel::avx2())) << n;
    }
}

// Delay by time mode, with the 12-second cap, and against a fixed latency in seconds or in
// samples, subtracted (the look-ahead, clamped at zero) or added; the reported latency is the
// fixed one. A ramp shows the delay in the signal itself. With `is-comp-input` the line starts
// from the first sample, again after a reset.
TEST_F(CSimpleModulesTest, DelayModesCapAndLatencyForms) {
    const Attrs tenMs{{"is-latency-seconds", "true"}, {"latency", "0.010"}};
    auto with = [](Attrs attrs, const char* k, const char* v) {
        attrs.push_back({k, v});
        return attrs;
    };
    struct CCase {
        Attrs attrs;
        double time, samples;
        int mode;
        int32_t delay, latency;
    };
    const CCase cases[] = {
        {{}, 0.001, 0.0, 0, 48, 0},
        {{}, 0.01, 0.0, 1, 1411, 0},        // 10 m at 340.29 m/s: 29.387 ms
        {{}, 0.01, 0.0, 2, 430, 0},         // 10 ft at 1116.437 ft/s: 8.957 ms
        {{}, 11.5, 48000.0, 0, 576000, 0},  // 12.5 s, cut to 12 s
        {with(tenMs, "is-latency-positive", "false"), 0.004, 0.0, 0, 288, 480},
        {with(tenMs, "is-latency-positive", "false"), 0.012, 0.0, 0, 0, 480},
        {with(tenMs, "is-latency-positive", "true"), 0.004, 0.0, 0, 672, 480},
        {{{"latency", "100"}}, 0.0, 30.0, 0, 70, 100},
        {{{"latency", "-5"}}, 0.0, 30.0, 0, 30, 0},
    };
    Signal ramp(512);
    for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = 1.0 + static_cast<double>(i);
    for (const CCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "time=" << c.time << " mode=" << c.mode << " want " << c.delay);
        CTestGraphRunner& g = startDelay(c.attrs, c.time, c.samples, c.mode);
        const Signal out = g.run({ramp}, {0}, 512, kRate)[0];
        EXPECT_EQ(g.outputLatencies()[0], c.latency);
        EXPECT_EQ(delayModule()->effectiveDelay(), c.delay);
        for (int32_t i = 0; i < 512; ++i) ASSERT_EQ(out[i], i >= c.delay ? ramp[i - c.delay] : 0.0) << i;
    }
    CTestGraphRunner& g = startDelay(with(tenMs, "is-comp-input", "true"), 0.004);
    EXPECT_EQ(g.run({Signal(512, 0.8)}, {0}, 512, kRate)[0], Signal(512, 0.8));
    g.m_root->resetState();
    EXPECT_EQ(g.run({Signal(100, 0.3)}, {0}, 100, kRate)[0], Signal(100, 0.3));
}

// A change of look-ahead moves the tap over `trans-time` (10 ms by default, L = 480) with a
// raised cosine: on a 440 Hz sine no step between samples exceeds the sine's own largest step
// plus what the fade adds (pi / L), where switching at once would jump by up to 0.74.
// Afterwards the output is the input at the new delay, and the reported latency never moved.
TEST_F(CSimpleModulesTest, DelayChangeMakesNoClick) {
    CTestGraphRunner& g = startDelay({{"is-latency-seconds", "true"}, {"latency", "0.010"}}, 0.004);
    const double w = 2.0 * std::numbers::pi * 440.0 / kRate;
    auto sine = [&](int64_t n) { return n < 0 ? 0.0 : std::sin(w * static_cast<double>(n)); };
    Signal heard;
    for (int block = 0; block < 30; ++block) {
        if (block == 10) g.m_host.set("main.delay.time", 0.002);  // 288 -> 384 samples of delay
        Signal in(256);
        for (int i = 0; i < 256; ++i) in[i] = sine(block * 256 + i);
        const Signal out = g.run({in}, {0}, 256, kRate)[0];
        EXPECT_EQ(g.outputLatencies()[0], 480);
        heard.insert(heard.end(), out.begin(), out.end());
    }
    double largest = 0.0;
    for (size_t i = 300; i < heard.size(); ++i) largest = std::max(largest, std::fabs(heard[i] - heard[i - 1]));
    EXPECT_LT(largest, w + std::numbers::pi / 480.0);
    EXPECT_GT(largest, 0.99 * w);  // the sine's own steps are there
    EXPECT_EQ(delayModule()->line().delay(), 384);
    for (size_t i = 2560 + 480; i < heard.size(); ++i) ASSERT_EQ(heard[i], sine(static_cast<int64_t>(i) - 384)) << i;
}

// a * b, (1 - b) * a and a / b, inverted taking precedence. The factor comes from a router on
// port 1 carrying input 2 as channel 0 of group 0: channel 0 takes it by index, channel 1 as the
// last of its group; channel 2 (group 1) has no factor and passes unchanged.
TEST_F(CSimpleModulesTest, MultRoutinesAndTheGroupsFactor) {
    const Signal a0 = uniformNoise(100, 1), a1 = uniformNoise(100, 2), b = uniformNoise(100, 3, 0.1, 1.0);
    struct CCase {
        const char *inverted, *division;
        double (*f)(double, double);
    };
    const CCase cases[] = {{"false", "false", [](double p, double q) { return p * q; }},
                           {"true", "false", [](double p, double q) { return (1.0 - q) * p; }},
                           {"false", "true", [](double p, double q) { return p / q; }},
                           {"true", "true", [](double p, double q) { return (1.0 - q) * p; }}};
    for (const CCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "inverted=" << c.inverted << " division=" << c.division);
        fresh().add("main.sel.routing", 1, 1, 3.0, true);
        auto& g = start({"audio:process-def",
                         "main",
                         {},
                         {CDefNode{"audio:modRouter",
                                   "sel",
                                   {{"is-output", "true"}},
                                   {alloc("routing", 0, "use-all-elements")}},
                          CDefNode{"audio:modMult",
                                   "mult",
                                   {{"is-inverted", c.inverted}, {"is-division", c.division}},
                                   {}},
                          linkDef("*", "mult"), linkDef("*", "sel"), linkDef("sel", "mult/1"), linkDef("mult", "*")}});
        auto out = g.run({a0, a1, b}, {0, 0, 1}, 100);
        for (size_t i = 0; i < b.size(); ++i) {
            ASSERT_EQ(out[0][i], c.f(a0[i], b[i])) << i;
            ASSERT_EQ(out[1][i], c.f(a1[i], b[i])) << i;
        }
        EXPECT_EQ(out[2], b);
    }
}

// -6 dB in closed form, with and without phase inversion; muted, guard noise of +-1e-11 from the
// generator, never an exact zero and far below -100 dBFS, continuing across blocks.
TEST_F(CSimpleModulesTest, GainClosedFormAndMute) {
    host().add("main.g.gain", 8, 1, std::pow(10.0, -6.0 / 20.0));
    host().add("main.g.mute", 8, 1, 0.0);
    host().add("main.g.phase-invert", 8, 1, 0.0);
    auto& g = start({"audio:process-def", "main", {{"is-auto-links", "true"}},
                     {CDefNode{"audio:modGain",
                               "g",
                               {},
                               {alloc("gain", 0), alloc("mute", 1), alloc("phase-invert", 2)}}}});
    const Signal x = uniformNoise(300, 9);
    for (const double sign : {1.0, -1.0}) {
        g.m_host.set("main.g.phase-invert", sign < 0);
        const Signal y = g.run({x}, {0}, 300)[0];
        for (size_t i = 0; i < x.size(); ++i) {
            ASSERT_NEAR(20.0 * std::log10(std::fabs(y[i] / x[i])), -6.0, 1e-12) << i;
            ASSERT_GT(y[i] * x[i] * sign, 0.0) << i;
        }
    }
    g.m_host.set("main.g.mute", 1.0);
    CReferenceNoise ref;
    double energy = 0.0;
    for (int block = 0; block < 100; ++block) {
        const Signal y = g.run({x}, {0}, 300)[0];
        for (const double v : y) {
            ASSERT_NE(v, 0.0);
            ASSERT_NEAR(v, ref.next(), 1e-26);
            energy += v * v;
        }
    }
    EXPECT_LT(10.0 * std::log10(energy / 30000.0), -100.0);
}

// Input, alternate (port 1) or silence, by `enable` and the group solos, with and without a
// bypass source. Port 0 carries 0.5 x, port 1 x; channel 0 is in group 0, channel 1 in group 1.
TEST_F(CSimpleModulesTest, BypassAndSoloOutcomes) {
    enum EWant { kWet, kDry, kSilent };
    struct CCase {
        bool source;
        double enable;
        int soloGroup;
        EWant want[2];
    };
    const CCase cases[] = {{true, 0, -1, {kWet, kWet}},    {true, 1, -1, {kDry, kDry}},
                           {true, 0, 1, {kSilent, kWet}},  {true, 1, 1, {kSilent, kDry}},
                           {false, 1, -1, {kSilent, kSilent}}, {false, 0, 1, {kSilent, kWet}}};
    const Signal x = uniformNoise(64, 11, 0.1, 1.0);
    for (const CCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "source=" << c.source << " enable=" << c.enable << " solo=" << c.soloGroup);
        CTestParamHost& h = fresh();
        h.add("main.wet.gain", 8, 2, 0.5);
        h.add("main.byp.enable", 8, 2, c.enable);  // an element for each channel
        h.add("main.byp.group-solo", 8, 2, 0.0);
        if (c.soloGroup >= 0) h.set("main.byp.group-solo", 1.0, c.soloGroup);
        CDefNode root{"audio:process-def", "main", {},
                      {CDefNode{"audio:modGain", "wet", {}, {alloc("gain", 0)}},
                       CDefNode{"audio:modBypass",
                                "byp",
                                {},
                                {alloc("enable", 0), alloc("group-solo", 1, "use-all-groups")}},
                       linkDef("*", "wet"), linkDef("wet", "byp"), linkDef("byp", "*")}};
        if (c.source) root.children.push_back(linkDef("*", "byp/1"));
        auto out = start(root).run({x, x}, {0, 1}, 64);
        for (int ch = 0; ch < 2; ++ch) {
            for (size_t i = 0; i < x.size(); ++i) {
                const double want = c.want[ch] == kWet ? 0.5 * x[i] : c.want[ch] == kDry ? x[i] : 1e-11;
                ASSERT_NEAR(c.want[ch] == kSilent ? std::fabs(out[ch][i]) : out[ch][i], want, 1e-26) << ch << " " << i;
            }
        }
    }
}

// A junction made as a node of its own hands its input on unchanged. The output node keeps the
// channels as its records and tells its sink the latency that reached it: once, again when it
// changes, and nothing in a block without input.
TEST_F(CSimpleModulesTest, JunctionAndOutputHandOnAndReportLatency) {
    const Signal x = uniformNoise(16, 3);
    EXPECT_EQ(start({"audio:modNode", "junction", {}, {}}).run({x, x}, {0, 1}, 16),
              (std::map<int32_t, Signal>{{0, x}, {1, x}}));

    fresh();
    CTestGraphRunner& o = start({"audio:modOutput", "out", {}, {}});
    auto* output = dynamic_cast<CModOutput*>(o.m_root);
    ASSERT_NE(output, nullptr);
    CLatencyRecorder recorder;
    output->setLatencySink(&recorder);
    for (const int32_t latency : {1064, 1064, 1466, -1}) {
        for (int32_t c = 0; c < 2 && latency >= 0; ++c) {
            CAudioChannel ch{c, 0, latency, 0, kRate, o.m_pool.acquire(16)};
            std::copy(x.begin(), x.end(), ch.buffer->data());
            o.m_root->deliver(0, ch, 16);
        }
        o.m_root->process();
        EXPECT_EQ(o.m_root->outputMask(), latency >= 0 ? 3u : 0u);
        if (latency >= 0) {
            const double* kept = o.m_root->output(1).buffer->data();
            EXPECT_EQ(Signal(kept, kept + 16), x);
        }
        o.m_root->releaseOutputs();
    }
    EXPECT_EQ(recorder.reports, (std::vector<int32_t>{1064, 1466}));
}
