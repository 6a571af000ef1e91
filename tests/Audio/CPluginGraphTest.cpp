// The plug-in's whole graph, as the shell makes it from the real shared definitions: what the
// default state leaves in the chain, the latency table at every rate, factor and filter family,
// bypass as a pure delay, the compressor's gain against a reference written here from the gain
// computer's formulas, look-ahead, independent groups and mid/side coding.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessStack.h"
#include "Audio/CAudioWrapper.h"
#include "Core/CApplication.h"
#include "Core/CObject.h"
#include "Other/CAudioVizCollector.h"
#include "tests/Support/CTestSignals.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using test::message;

namespace {

using Signal = std::vector<double>;
using Block = std::vector<Signal>;

constexpr double kPi = 3.14159265358979323846;

double onePole(double T, double sr) {
    const double w = std::min(2.0 * kPi / (T * sr), kPi);
    const double t = 2.0 - std::cos(w);
    return 1.0 - t + std::sqrt(t * t - 1.0);
}

// The gain computer step by step from its formulas, with the defaults of the plug-in's
// compressor: attack 20 ms, inertia 50 %, threshold -24 dB, ratio 1.3:1, knee 24 dB, auto gain,
// "Norm" attack and release stages.
struct CGainReference {
    double attack = 0.02, inertia = 0.5, threshold = -24.0, slope = 1.0 / 1.3, knee = 24.0;
    int count = 0;
    double coeff[40] = {}, stage[40] = {};
    double m = 0.0, K = 0.0, C = 0.0, E = 0.0;
    double outTarget = 1.0, outSmooth = 1.0, outCoeff = 0.0;

    void table(double sr) {
        outCoeff = onePole(0.008, sr);
        const double q = 1.3 + 0.8 * (1.0 - inertia);
        count = 0;
        for (double T = attack / std::pow(q, 4); T < 2.5; T *= q) coeff[count++] = onePole(T, sr);
    }
    // The exponent sum of the product: stages 4 and up, each "Norm" stage counting once.
    int weight() const { return count - 4; }
    double curve(double L) const {
        if (L <= K) return 0.0;
        if (L >= E) return m * L;
        return C + std::sqrt(C * C - (L - K) * (L - K));
    }
    double step(double x) {
        double p = 1.0;
        for (int i = 4; i < count; ++i) p *= stage[i];
        const double L = 20.0 * std::log10(x * p) - threshold;
        const double target = std::pow(10.0, curve(L) / 20.0);
        stage[0] += (target - stage[0]) * coeff[0];
        for (int i = 1; i < count; ++i) stage[i] += (stage[i - 1] - stage[i]) * coeff[i];
        outSmooth += (outTarget - outSmooth) * outCoeff;
        return p * outSmooth;
    }
    explicit CGainReference(double sr) {
        m = slope > 0.9999 ? -0.0001 : slope - 1.0;
        const double x = (kPi - std::atan(-m)) / 2.0;
        K = -knee / 2.0;
        C = K * std::tan(x);
        E = K - C * std::sin(2.0 * x);
        // Make-up: the negated mean level of the output for 20 noise samples after 70, at 200 Hz.
        std::fill(std::begin(stage), std::end(stage), 1.0);
        table(200.0);
        uint32_t seed = 0;
        double acc = 0.0;
        for (int i = 0; i < 90; ++i) {
            seed = seed * 30013u + 30011u;
            const double y = step((seed & 0xFFFFFFu) * std::ldexp(1.0, -25) + 1e-10);
            if (i >= 70) acc -= 20.0 * std::log10(y);
        }
        outTarget = outSmooth = std::pow(10.0, acc / 20.0 / 20.0);
        std::fill(std::begin(stage), std::end(stage), 1.0);
        table(sr);
    }
};

// The detector in front of it: magnitudes, the maximum over the group (full linking), and the
// mean square through one pole at 4 kHz.
struct CDetectorReference {
    double coeff, z1 = 0.0;
    explicit CDetectorReference(double sr) {
        const double t = 2.0 - std::cos(2.0 * kPi * 4000.0 / sr);
        coeff = 1.0 - t + std::sqrt(t * t - 1.0);
    }
    double step(const Block& x, size_t n) {
        double d = 0.0;
        for (const Signal& c : x) d = std::max(d, std::fabs(c[n]));
        z1 += (d * d - z1) * coeff;
        return std::sqrt(z1) + 1e-15;
    }
};

Signal sine(size_t n, double rate, double freq, double amplitude, double phase = 0.0) {
    Signal s(n);
    for (size_t i = 0; i < n; ++i) {
        s[i] = amplitude * std::sin(2.0 * kPi * freq * static_cast<double>(i) / rate + phase);
    }
    return s;
}

// The signal behind `lead` samples of silence, in which an instance settles after its start: the
// uniformer glides to its padding and a stack makes the instances of the groups in use.
Signal afterSilence(const Signal& x, size_t lead) {
    Signal s(lead, 0.0);
    s.insert(s.end(), x.begin(), x.end());
    return s;
}

struct CRow {
    double rate;
    uint32_t total;
};
constexpr CRow kLatencyTable[] = {{44100, 1025}, {48000, 1064}, {88200, 1466},  {96000, 1544},
                                  {176400, 2348}, {192000, 2504}, {352800, 4112}, {384000, 4424}};

class CPluginHost : public CAudioWrapper {
public:
    void hostAutomate(int32_t, double) override {}
    void hostUpdateDisplay() override {}
    void hostBeginEdit(int32_t) override {}
    void hostEndEdit(int32_t) override {}
    void hostResizeWindow(int32_t, int32_t) override {}
};

class CPluginGraphTest : public ::testing::Test {
protected:
    void SetUp() override {
        CApplication::CSetup setup;  // the shared tree from the resource table, as the plug-in loads it
        ASSERT_TRUE(CApplication::load(setup));
        ASSERT_NE(CObject::sharedRoot()->findObject(CString("shared::audio.modMain")), nullptr);
    }
    void TearDown() override {
        // The filter family is a stored setting of the machine: leave the default behind.
        if (host) param("lp-oversampling-enable").setValue(1.0, 0, nullptr, nullptr);
        host.reset();
        CApplication::unload();
    }

    // A new instance at `rate` with `channels` host channels in and out, double planar; the
    // settings go in before the graph's first block.
    struct CSetting {
        const char* name;
        double value;
    };
    struct CList {
        const char* name;
        std::vector<double> numbers;
    };
    CPluginHost& make(double rate, int32_t channels, const std::vector<CSetting>& settings = {},
                      const std::vector<CList>& lists = {}) {
        host.reset();
        host = std::make_unique<CPluginHost>();
        EXPECT_EQ(message(host->init()), "");
        host->finishInit();
        for (const CSetting& s : settings) EXPECT_TRUE(param(s.name).setValue(s.value, 0, nullptr, nullptr)) << s.name;
        for (const CList& l : lists) setNumbers(param(l.name), l.numbers);
        host->setSampleRate(rate);
        host->setInputFormat(channels, true, false, 0, false, false);
        host->setOutputFormat(channels, true, false);
        host->start();
        return *host;
    }
    CAudioParam& param(const char* local) {
        CAudioParam* p = host->collector()->getParam(CString("plugin.modMain.") + CString(local));
        EXPECT_NE(p, nullptr) << local;
        return *p;
    }
    static void setNumbers(CAudioParam& p, const std::vector<double>& v) {
        CAudioParamLockContext lock(p);
        CAudioParamChange r;
        r.setTarget(p.uiStorage(), 0, 0, static_cast<int32_t>(v.size()), nullptr);
        r.numbers = v.data();
        ASSERT_TRUE(p.change(r, &lock));
    }
    // The host's channels through the shell in blocks of `block` frames.
    Block run(const Block& in, int32_t block = 512) {
        const size_t n = in[0].size();
        Block out(in.size(), Signal(n, 99.0));
        std::vector<const void*> ip(in.size());
        std::vector<void*> op(in.size());
        for (size_t at = 0; at < n; at += static_cast<size_t>(block)) {
            const int32_t frames = static_cast<int32_t>(std::min<size_t>(block, n - at));
            for (size_t c = 0; c < in.size(); ++c) {
                ip[c] = in[c].data() + at;
                op[c] = out[c].data() + at;
            }
            host->process(ip.data(), op.data(), frames);
        }
        return out;
    }
    CAudioProcess* mainGraph() const { return dynamic_cast<CAudioProcess*>(host->mainProcess()); }
    static std::vector<std::string> sequence(const CAudioProcess* p) {
        std::vector<std::string> names;
        for (int32_t i = 0; p && i < p->sequenceLength(); ++i) names.push_back(test::str(p->sequenceName(i)));
        return names;
    }
    CAudioProcess* tamberlo(int32_t group) const {
        auto* stack = dynamic_cast<CAudioProcessStack*>(mainGraph()->childProcess(CString("modTamberlo")));
        return stack ? dynamic_cast<CAudioProcess*>(stack->instance(group)) : nullptr;
    }
    static bool has(const std::vector<std::string>& names, const char* name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }

    std::unique_ptr<CPluginHost> host;
};

}  // namespace


// Defaults leave the resamplers, the coders, solo, the emphasis and every display source out of
// the chain; each comes in when its setting asks for it.
TEST_F(CPluginGraphTest, OptionalNodesJoinTheChainOnlyWhenAskedFor) {
    make(48000.0, 2);
    const Block in{Signal(1024, 0.1), Signal(1024, 0.1)};
    run(in);
    auto names = sequence(mainGraph());
    for (const char* name : {"modUpsampler", "modDownsampler", "modMSEncoder", "modMSDecoder", "modGroupSolo",
                             "modStatsWaveIn", "modStatsWaveOut", "modMeterOut", "modMeterIODiff"}) {
        EXPECT_FALSE(has(names, name)) << name;
    }
    // Junctions hand their channels on and leave the run sequence.
    for (const char* name : {"modInRouter", "modTamberlo", "modBypass", "modLatencyUniformer", "modOutRouter"}) {
        EXPECT_TRUE(has(names, name)) << name;
    }
    ASSERT_NE(tamberlo(0), nullptr);
    EXPECT_EQ(tamberlo(1), nullptr);  // no channel is routed to group 2
    auto inner = sequence(tamberlo(0));
    for (const char* name : {"modKeyFilter", "modKeyFilterOut", "modGRMeter", "modMeterIn"}) {
        EXPECT_FALSE(has(inner, name)) << name;
    }
    for (const char* name : {"modAbs", "modLeveler", "modRMS2", "modComp", "modDelay", "modMult"}) {
        EXPECT_TRUE(has(inner, name)) << name;
    }
    EXPECT_EQ(host->getLatency(), 1064u);

    param("oversampling").setValue(3.0, 0, nullptr, nullptr);  // 4X
    setNumbers(param("io-params.ms-pairs"), {1, 1, 0, 0, 0, 0, 0, 0});
    param("io-params.channel-group-solo").setValue(1.0, 0, nullptr, nullptr);
    param("modTamberlo.comp-params.hsenable").setValue(1.0, 0, nullptr, nullptr);
    auto* viz = dynamic_cast<CAudioVizCollector*>(host->instanceRoot()->findObject(CString("plugin.viz-collector")));
    ASSERT_NE(viz, nullptr);
    viz->addListener(viz->getEntry(CString("plugin.modMain.modMeterOut")));
    run(in);
    names = sequence(mainGraph());
    for (const char* name : {"modUpsampler", "modDownsampler", "modMSEncoder", "modMSDecoder", "modGroupSolo",
                             "modMeterOut"}) {
        EXPECT_TRUE(has(names, name)) << name;
    }
    EXPECT_FALSE(has(names, "modMeterIODiff"));
    inner = sequence(tamberlo(0));
    EXPECT_TRUE(has(inner, "modKeyFilter"));
    EXPECT_TRUE(has(inner, "modKeyFilterOut"));
    // The host never hears of any of it.
    EXPECT_EQ(host->getLatency(), 1064u);
}

// At every rate of the table, each factor and both filter families, the latency told to the host
// is the table's, and bypass hands out the input delayed by exactly that many samples. A rate
// between rows rounds first; above the last row the graph's own latency goes out unpadded.
TEST_F(CPluginGraphTest, LatencyFollowsTheTableAndBypassIsAPureDelayOfIt) {
    auto check = [&](double rate, double factor, double linear, uint32_t want) {
        make(rate, 2, {{"bypass-enable", 1.0}, {"oversampling", factor}, {"lp-oversampling-enable", linear}});
        const size_t warm = static_cast<size_t>(0.06 * rate), n = warm + 2048;
        const Block in{test::uniformNoise(n, 1), test::uniformNoise(n, 2)};
        const Block out = run(in);
        const uint32_t latency = host->getLatency();
        EXPECT_EQ(latency, want) << rate << " factor " << factor << " linear " << linear;
        // The delay that the audio actually has, searched when it isn't the reported one.
        auto matches = [&](size_t d) {
            for (size_t i = warm; i < n; ++i) {
                for (size_t c = 0; c < 2; ++c) {
                    if (out[c][i] != (i >= d ? in[c][i - d] : 0.0)) return false;
                }
            }
            return true;
        };
        if (matches(latency)) return;
        size_t found = 0;
        while (found < warm && !matches(found)) ++found;
        ADD_FAILURE() << "rate " << rate << " factor " << factor << " linear " << linear << ": reported " << latency
                      << ", audio delayed by " << (found < warm ? std::to_string(found) : std::string("?"));
    };
    for (const CRow& row : kLatencyTable) {
        for (const double linear : {0.0, 1.0}) {
            for (const double factor : {1.0, 2.0, 3.0, 4.0}) check(row.rate, factor, linear, row.total);
        }
    }
    check(44100.4, 2.0, 1.0, 1025);
    // Unsupported: nothing pads, and at 1X the gain path's 10 ms is all the latency there is.
    check(400000.0, 1.0, 1.0, 4000);
}

// A steady sine through the default settings: the output is the input, delayed by the latency,
// times the gain that the detector and the gain computer's formulas give for it 4 ms (the
// default look-ahead) later. With DC the loop settles where all stages agree: the level above
// the threshold then solves d = curve(L + W d) with W = 10 stages in the product.
TEST_F(CPluginGraphTest, DefaultCompressionMatchesTheGainComputerFormulas) {
    const double sr = 48000.0;
    const size_t n = 72000, latency = 1064, ahead = 192;
    const Block in{sine(n, sr, 1000.0, 0.5), sine(n, sr, 1000.0, 0.25, 1.0)};
    make(sr, 2);
    const Block out = run(in);
    CDetectorReference detector(sr);
    CGainReference computer(sr);
    Signal gain(n);
    for (size_t i = 0; i < n; ++i) gain[i] = computer.step(detector.step(in, i));
    double worst = 0.0, lowest = 1.0;
    for (size_t i = n / 2; i < n; ++i) {
        const size_t t = i - latency;
        for (size_t c = 0; c < 2; ++c) {
            worst = std::max(worst, std::fabs(out[c][i] - in[c][t] * gain[t + ahead]));
        }
        lowest = std::min(lowest, gain[t + ahead] / computer.outTarget);
    }
    EXPECT_LT(worst, 1e-9);
    EXPECT_LT(20.0 * std::log10(lowest), -3.0);  // it does compress

    const double level = 0.25;
    const size_t m = 8 * 48000;
    make(sr, 2);
    const Block dc = run({Signal(m, level), Signal(m, level)}, 4096);
    // d = curve(Lin + W d) by bisection; curve(L) - d falls with d.
    CGainReference ref(sr);
    const double Lin = 20.0 * std::log10(level) - ref.threshold;
    double lo = -Lin, hi = 0.0;
    for (int k = 0; k < 200; ++k) {
        const double d = 0.5 * (lo + hi);
        (ref.curve(Lin + ref.weight() * d) - d > 0.0 ? lo : hi) = d;
    }
    const double want = level * std::pow(10.0, ref.weight() * lo / 20.0) * ref.outTarget;
    EXPECT_NEAR(dc[0][m - 1], want, want * 1e-6);
    EXPECT_NEAR(dc[1][m - 1], want, want * 1e-6);
    EXPECT_LT(lo * ref.weight(), -3.0);
}

// The gain path is the same for every look-ahead, only shifted: the gain that a step in the input
// brings acts `lookahead` earlier on the audio, 4 ms = 192 and 10 ms = 480 samples at 48 kHz.
TEST_F(CPluginGraphTest, LookAheadMovesTheGainAheadOfTheAudio) {
    const double sr = 48000.0;
    const size_t n = 28800, step = 14400, latency = 1064;
    Signal x(n, 0.02);
    std::fill(x.begin() + static_cast<long>(step), x.end(), 0.5);
    auto gainOf = [&](double lookahead) {
        make(sr, 1, {{"modTamberlo.comp-params.lookahead", lookahead}},
             {{"io-params.in-routing", {1, 0, 0, 0, 0, 0, 0, 0}}, {"io-params.out-routing", {1, 0, 0, 0, 0, 0, 0, 0}}});
        const Signal y = run({x})[0];
        Signal g(n - latency);
        for (size_t i = 0; i < g.size(); ++i) g[i] = y[i + latency] / x[i];
        return g;
    };
    const Signal g0 = gainOf(0.0), g4 = gainOf(0.004), g10 = gainOf(0.010);
    double moved = 0.0, worst4 = 0.0, worst10 = 0.0;
    for (size_t i = 4800; i + 480 < g0.size(); ++i) {
        worst4 = std::max(worst4, std::fabs(g4[i] - g0[i + 192]));
        worst10 = std::max(worst10, std::fabs(g10[i] - g0[i + 480]));
        moved = std::max(moved, std::fabs(g4[i] - g0[i]));
    }
    EXPECT_LT(worst4, 1e-12);
    EXPECT_LT(worst10, 1e-12);
    EXPECT_GT(moved, 0.1);
    // Without look-ahead nothing moves before the step reaches the audio; with 4 ms it does.
    EXPECT_NEAR(g0[step - 1], g0[step - 2], 1e-6);
    EXPECT_LT(g4[step - 1], g4[step - 193] - 0.01);
}

// Four channels in two groups: each group's output is what it would be alone, and it differs
// from what the same channels give as one group.
TEST_F(CPluginGraphTest, GroupsCompressIndependently) {
    const double sr = 48000.0;
    const size_t n = 24000;
    const size_t lead = 4800;
    const Block loud{afterSilence(sine(n, sr, 440.0, 0.7), lead), afterSilence(sine(n, sr, 440.0, 0.6, 0.5), lead)};
    const Block quiet{afterSilence(sine(n, sr, 3000.0, 0.08), lead), afterSilence(sine(n, sr, 2500.0, 0.1), lead)};
    const Block four{loud[0], loud[1], quiet[0], quiet[1]};
    auto runFour = [&](const std::vector<double>& grouping) {
        make(sr, 4, {},
             {{"io-params.in-routing", {1, 2, 3, 4, 0, 0, 0, 0}},
              {"io-params.out-routing", {1, 2, 3, 4, 0, 0, 0, 0}},
              {"io-params.grouping", grouping}});
        return run(four);
    };
    const Block split = runFour({0, 0, 1, 1, 2, 2, 3, 3});
    ASSERT_NE(tamberlo(0), nullptr);
    ASSERT_NE(tamberlo(1), nullptr);
    const Block joined = runFour({0, 0, 0, 0, 2, 2, 3, 3});
    make(sr, 2);
    const Block loudAlone = run(loud);
    make(sr, 2);
    const Block quietAlone = run(quiet);
    double worst = 0.0, joinedDiff = 0.0;
    for (size_t i = lead; i < lead + n; ++i) {
        for (size_t c = 0; c < 2; ++c) {
            worst = std::max({worst, std::fabs(split[c][i] - loudAlone[c][i]),
                              std::fabs(split[c + 2][i] - quietAlone[c][i])});
            joinedDiff = std::max(joinedDiff, std::fabs(joined[c + 2][i] - quietAlone[c][i]));
        }
    }
    EXPECT_EQ(worst, 0.0);
    EXPECT_GT(joinedDiff, 1e-3);
}

// A mid/side pair encodes before the compressor and decodes after it: with the compressor
// letting everything through (100 % dry) the pair comes back as it went in, within rounding;
// compressing mid and side gives another result than compressing left and right.
TEST_F(CPluginGraphTest, MidSidePairsCodeAroundTheCompressor) {
    const double sr = 48000.0;
    const size_t n = 24000;
    const size_t lead = 4800;
    const Block in{afterSilence(sine(n, sr, 440.0, 0.7), lead), afterSilence(sine(n, sr, 1000.0, 0.3, 0.5), lead)};
    auto runWith = [&](bool midSide, double dry) {
        make(sr, 2, {{"modTamberlo.comp-params.drymix", dry}},
             {{"io-params.ms-pairs", {midSide ? 1.0 : 0.0, midSide ? 1.0 : 0.0, 0, 0, 0, 0, 0, 0}}});
        Block out = run(in);
        EXPECT_EQ(has(sequence(mainGraph()), "modMSEncoder"), midSide);
        EXPECT_EQ(has(sequence(mainGraph()), "modMSDecoder"), midSide);
        return out;
    };
    const Block plain = runWith(false, 1.0), coded = runWith(true, 1.0);
    const Block plainComp = runWith(false, 0.0), codedComp = runWith(true, 0.0);
    double worst = 0.0, differs = 0.0;
    for (size_t i = lead; i < lead + n; ++i) {
        for (size_t c = 0; c < 2; ++c) {
            ASSERT_EQ(plain[c][i], in[c][i - 1064]) << i;
            worst = std::max(worst, std::fabs(coded[c][i] - plain[c][i]));
            differs = std::max(differs, std::fabs(codedComp[c][i] - plainComp[c][i]));
        }
    }
    EXPECT_LT(worst, 1e-15);
    EXPECT_GT(differs, 1e-3);
}

// The emphasis only steers the detector: 10 dB of hi slope make a 10 kHz tone compressed harder
// and a 100 Hz tone less hard than without it.
TEST_F(CPluginGraphTest, EmphasisTiltsTheDetector) {
    const double sr = 48000.0;
    const size_t n = 48000;
    auto tailLevel = [&](double freq, double enable) {
        make(sr, 2, {{"modTamberlo.comp-params.hsenable", enable}, {"modTamberlo.comp-params.hislope", 2.0}});
        const Signal x = sine(n, sr, freq, 0.25);
        const Block out = run({x, x});
        double sum = 0.0;
        for (size_t i = n - 4800; i < n; ++i) sum += out[0][i] * out[0][i];
        return 10.0 * std::log10(sum / 4800.0);
    };
    EXPECT_LT(tailLevel(10000.0, 1.0), tailLevel(10000.0, 0.0) - 1.0);
    EXPECT_GT(tailLevel(100.0, 1.0), tailLevel(100.0, 0.0) + 1.0);
}

// Without full linking each channel has a gain computer of its own, and all of them follow the
// group's settings: the same signal on both channels comes out the same once the start-up glides
// are over.
TEST_F(CPluginGraphTest, PartialLinkingAppliesTheGroupSettingsToEveryChannel) {
    make(48000.0, 2, {{"modTamberlo.comp-params.chlink", 0.5}, {"modTamberlo.threshold", -40.0}});
    const Signal x = sine(24000, 48000.0, 440.0, 0.25);
    const Block out = run({x, x});
    double worst = 0.0;
    for (size_t i = 4800; i < x.size(); ++i) worst = std::max(worst, std::fabs(out[0][i] - out[1][i]));
    EXPECT_LT(worst, 1e-12);
    make(48000.0, 2, {{"modTamberlo.comp-params.chlink", 0.5}});
    EXPECT_GT(std::fabs(run({x, x})[1][23000] - out[1][23000]), 1e-3);  // the threshold did act
}

// A solo on group 1 silences every channel of group 2 (guard noise of 1e-11) after the solo's
// crossfade, and leaves group 1 as it was.
TEST_F(CPluginGraphTest, SoloSilencesTheWholeOtherGroup) {
    const double sr = 48000.0;
    const size_t n = 9600;
    const Block four{sine(n, sr, 440.0, 0.5), sine(n, sr, 550.0, 0.5), sine(n, sr, 660.0, 0.5),
                     sine(n, sr, 770.0, 0.5)};
    const std::vector<CList> routing{{"io-params.in-routing", {1, 2, 3, 4, 0, 0, 0, 0}},
                                     {"io-params.out-routing", {1, 2, 3, 4, 0, 0, 0, 0}}};
    make(sr, 4, {}, routing);
    const Block open = run(four);
    make(sr, 4, {{"io-params.channel-group-solo", 1.0}}, routing);
    const Block solo = run(four);
    for (size_t i = 4800; i < n; ++i) {
        ASSERT_EQ(solo[0][i], open[0][i]) << i;
        ASSERT_EQ(solo[1][i], open[1][i]) << i;
        ASSERT_EQ(std::fabs(solo[2][i]), 1e-11) << i;
        ASSERT_EQ(std::fabs(solo[3][i]), 1e-11) << i;
    }
}
