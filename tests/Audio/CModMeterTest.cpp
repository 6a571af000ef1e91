#include "Audio/Processes/CModMeterModule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <string>
#include <vector>

#include "Audio/Processes/CModStatsWaveModule.h"
#include "tests/Other/CVizTestInstance.h"
#include "tests/Support/CGraphTest.h"

using namespace orl;
using namespace orl::test;

namespace {

using TAttrs = std::vector<std::pair<std::string, std::string>>;
using TParams = std::vector<std::pair<std::string, double>>;

const char* const kMeterParams[] = {"peak-time", "rms-time", "gain",     "bias-time", "use-bias",  "release",
                                    "peak-gain", "rms-time2", "release2", "use-time2", "use-ebu128"};

CDefNode link(const char* src, const char* dst) {
    return CDefNode{"audio:process-link", "link", {{"src", src}, {"dst", dst}}, {}};
}

class CModMeterTest : public CGraphTest {
protected:
    void TearDown() override {
        m_runner.reset();
        m_inst.reset();
        CGraphTest::TearDown();
    }

    // A graph "main" whose input feeds a meter "main.meter" (port 1 from the side node, when
    // there is one), with its parameters declared and a display listening.
    void startMeter(const char* tag, const TAttrs& attrs, const TParams& params, const char* sideGain = nullptr) {
        collector();
        m_inst = std::make_unique<CVizTestInstance>(*m_collector);
        CDefNode meter{tag, "meter", attrs, {}};
        if (std::string(tag) == "audio:modMeter") {
            for (int i = 0; i < 11; ++i) {
                bool given = false;
                for (const auto& [name, value] : params) {
                    if (name != kMeterParams[i]) continue;
                    m_collector->declare("main.meter." + name, 8, std::to_string(value), true);
                    given = true;
                }
                if (given) {
                    meter.children.push_back(CDefNode{"audio:param-alloc",
                                                      kMeterParams[i],
                                                      {{"param-name", kMeterParams[i]}, {"index", std::to_string(i)}},
                                                      {}});
                }
            }
        }
        CDefNode root{"audio:process-def", "main", {}, {meter, link("*", "meter")}};
        if (sideGain) {
            root.children.push_back(CDefNode{"test:gain", "side", {{"gain", sideGain}}, {}});
            root.children.push_back(link("*", "side"));
            root.children.push_back(link("side", "meter/1"));
        }
        start(root);
        m_entry = m_inst->viz().getEntry(CString("main.meter"));
        m_inst->viz().addListener(m_entry);
        m_inst->blockStart();
    }

    // Runs a signal through in blocks of 512 and returns the records that it made.
    // The request at the end asks for requestRate records per second.
    std::vector<CVizTestInstance::CSeen> feed(const std::vector<double>& x, double sampleRate = 48000.0,
                                              double requestRate = 40.0) {
        for (size_t at = 0; at < x.size(); at += 512) {
            const size_t n = std::min<size_t>(512, x.size() - at);
            m_inst->blockStart();
            const double* p = x.data() + at;
            const int32_t group = 0;
            m_runner->runInPlace(&p, &group, 1, static_cast<int32_t>(n), sampleRate);
            m_runner->m_root->releaseOutputs();
        }
        return m_inst->requestRecords(requestRate);
    }

    CModMeterModule* meterModule() {
        auto* t = terminal("meter");
        return t && t->slotCount() > 0 ? dynamic_cast<CModMeterModule*>(t->slotModule(0)) : nullptr;
    }

    std::unique_ptr<CVizTestInstance> m_inst;
    CAudioVizEntry* m_entry = nullptr;
};

std::vector<double> constant(size_t n, double v) { return std::vector<double>(n, v); }

std::vector<double> sine(size_t n, double freq, double amplitude, double sampleRate) {
    std::vector<double> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = amplitude * std::sin(2.0 * M_PI * freq * static_cast<double>(i) / sampleRate);
    return v;
}

// |H| of a biquad b/a at angular frequency w, evaluated on the unit circle.
double biquadMagnitude(const double b[3], const double a[3], double w) {
    const std::complex<double> z1 = std::polar(1.0, -w);
    const std::complex<double> z2 = z1 * z1;
    return std::abs((b[0] + b[1] * z1 + b[2] * z2) / (a[0] + a[1] * z1 + a[2] * z2));
}

// The gain of the K weighting at f, from the filters' defining formulas.
double kWeightingGain(double f, double sr) {
    const double w = 2.0 * M_PI * f / sr;
    double gain = 1.0;
    {
        const double w0 = 239.61223106957323 / sr;
        const double alpha = std::sin(w0) * std::sinh(0.8809075819772038 * w0 / std::sin(w0));
        const double c = std::cos(w0);
        const double b[3] = {(1 + c) / 2, -(1 + c), (1 + c) / 2};
        const double a[3] = {1 + alpha, -2 * c, 1 - alpha};
        gain *= biquadMagnitude(b, a, w);
    }
    {
        const double w0 = 9429.912441572329 / sr;
        const double A = 1.2588999027632095;
        const double alpha = std::sin(w0) * std::sinh(0.6541198751321079 * w0 / std::sin(w0));
        const double c = std::cos(w0);
        const double s = 2 * std::sqrt(A) * alpha;
        const double b[3] = {A * ((A + 1) + (A - 1) * c + s), -2 * A * ((A - 1) + (A + 1) * c),
                             A * ((A + 1) + (A - 1) * c - s)};
        const double a[3] = {(A + 1) - (A - 1) * c + s, 2 * ((A - 1) - (A + 1) * c), (A + 1) - (A - 1) * c - s};
        gain *= biquadMagnitude(b, a, w);
    }
    return gain;
}

}  // namespace

TEST(CVizFrameModuleTest, FrameLengthsAreEvenAndAtLeast32Samples) {
    EXPECT_EQ(CVizFrameModule::frameLengthFor(44100.0, 150.0), 294);
    EXPECT_EQ(CVizFrameModule::frameLengthFor(44100.0, 100.0), 442);  // 441 is odd
    EXPECT_EQ(CVizFrameModule::frameLengthFor(48000.0, 2000.0), 32);  // 24 asked
    EXPECT_EQ(CVizFrameModule::frameLengthFor(48000.0, 1400.0), 34);
}

TEST_F(CModMeterTest, FramesAtAFixedRateAreDatedAtTheirMiddle) {
    startMeter("audio:modMeter", {{"fps", "150"}, {"is-compression", "true"}}, {});
    const auto seen = feed(constant(44100, 1.0), 44100.0);
    ASSERT_EQ(seen.size(), 150u);  // 44100 / 294
    for (size_t k = 0; k < seen.size(); ++k) {
        ASSERT_NEAR(seen[k].time, (294.0 * static_cast<double>(k) + 147.0) / 44100.0, 1e-12) << k;
        // A gain of 1 is no reduction, in the level and in the peak.
        ASSERT_NEAR(seen[k].value1, 1.0, 1e-12);
        ASSERT_NEAR(seen[k].value2, 1.0, 1e-12);
        ASSERT_EQ(seen[k].name, "main.meter");
    }
}

TEST_F(CModMeterTest, WithoutAFixedRateTheFrameFollowsTheRateAskedFor) {
    startMeter("audio:modMeter", {{"fps", ""}}, {});
    // A display asks for 100 records a second; the next block start hands that to the meters.
    m_inst->requestRecords(100.0);
    auto seen = feed(constant(4800, 0.5), 48000.0, 100.0);
    EXPECT_EQ(seen.size(), 10u);  // 480-sample frames
    m_inst->requestRecords(50.0);
    seen = feed(constant(4800, 0.5), 48000.0, 50.0);
    // The frame running at the change ends at its old length; the next ones are 960 long.
    ASSERT_GE(seen.size(), 4u);
    EXPECT_NEAR(seen[1].time - seen[0].time, 720.0 / 48000.0, 1e-12);
    EXPECT_NEAR(seen[2].time - seen[1].time, 960.0 / 48000.0, 1e-12);
}

TEST_F(CModMeterTest, BiasedCompressionOfAConstantGainSettlesAtOne) {
    startMeter("audio:modMeter", {{"fps", "20"}, {"is-compression", "true"}}, {{"use-bias", 1.0}, {"bias-time", 0.2}});
    const auto seen = feed(constant(48000 * 5, 0.5));
    ASSERT_FALSE(seen.empty());
    EXPECT_NEAR(seen.back().value1, 1.0, 1e-9);
    EXPECT_NEAR(seen.back().value2, 1.0, 1e-6);
    // At first the gain shows against a bias that starts at 1: 0.5.
    EXPECT_LT(seen.front().value1, 0.9);
}

TEST_F(CModMeterTest, ADifferenceMeterReadsTheRatioOfLevels) {
    // Port 1 gets the input inverted: equal levels read 1 whatever the level.
    startMeter("audio:modMeter", {{"fps", "10"}, {"is-diff", "true"}}, {}, "-1");
    auto seen = feed(sine(48000, 440.0, 0.3, 48000.0));
    ASSERT_FALSE(seen.empty());
    for (const auto& r : seen) ASSERT_NEAR(r.value1, 1.0, 1e-12);
    // Silence on both reads 1 through the small terms.
    seen = feed(constant(9600, 0.0));
    EXPECT_NEAR(seen.back().value1, 1.0, 1e-9);
}

TEST_F(CModMeterTest, ADifferenceMeterOfHalfTheSignalReadsTwo) {
    startMeter("audio:modMeter", {{"fps", "10"}, {"is-diff", "true"}}, {}, "0.5");
    const auto seen = feed(sine(48000, 440.0, 0.3, 48000.0));
    EXPECT_NEAR(seen.back().value1, 2.0, 1e-9);
}

TEST_F(CModMeterTest, LoudnessOfA997HzSineIsItsKWeightedLevel) {
    const double sr = 48000.0;
    startMeter("audio:modMeter", {{"fps", "10"}}, {{"use-ebu128", 1.0}, {"rms-time", 0.4}});
    const double amplitude = std::pow(10.0, -20.0 / 20.0);
    const auto seen = feed(sine(48000, 997.0, amplitude, sr), sr);
    auto* module = meterModule();
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->routine(), CModMeterModule::kLoudness);
    EXPECT_EQ(module->loudnessWindow(), 19200);
    ASSERT_FALSE(seen.empty());
    const double expected = amplitude / std::sqrt(2.0) * kWeightingGain(997.0, sr) * 0.927414538975768;
    EXPECT_LT(std::fabs(20.0 * std::log10(seen.back().value1 / expected)), 0.1);
    // The peak of the loudness meter is the largest magnitude, not its square.
    EXPECT_NEAR(seen.back().value2, amplitude, 1e-3);
}

TEST_F(CModMeterTest, AHeldPeakLastsPeakTimeAndThenExpires) {
    const double sr = 48000.0;
    // Sub-blocks of 1200 samples; a peak time of 0.1 s is a ring of 4 of them.
    startMeter("audio:modMeter", {{"fps", "1000"}}, {{"peak-time", 0.1}, {"rms-time", 0.0001}});
    std::vector<double> x(48000, 0.0);
    for (int i = 0; i < 1200; ++i) x[i] = (i % 2 ? 0.8 : -0.8);
    const auto seen = feed(x, sr);
    auto* module = meterModule();
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->subBlockLength(), 1200);
    EXPECT_EQ(module->ringSize(), 4);
    double lastHeld = -1.0;
    for (const auto& r : seen) {
        if (r.value2 > 0.79) lastHeld = r.time * sr;
    }
    // The burst ends at sample 1200; the peak stays for the 4800 samples of the window at least,
    // and goes within two more sub-blocks.
    EXPECT_GE(lastHeld, 1200.0 + 4800.0 - 48.0);
    EXPECT_LE(lastHeld, 1200.0 + 4800.0 + 2400.0);
    EXPECT_LT(seen.back().value2, 1e-6);
}

TEST_F(CModMeterTest, APeakTimeShorterThanASubBlockIsARingOfOne) {
    startMeter("audio:modMeter", {{"fps", "1000"}}, {{"peak-time", 0.01}});
    const auto seen = feed(constant(4800, 0.25));
    auto* module = meterModule();
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->ringSize(), 1);
    EXPECT_NEAR(seen.back().value2, 0.25, 1e-9);
}

TEST_F(CModMeterTest, AChangeOfGainAloneKeepsTheHistory) {
    startMeter("audio:modMeter", {{"fps", "100"}}, {{"gain", 1.0}, {"rms-time", 0.3}});
    auto before = feed(constant(4800, 0.5));
    ASSERT_FALSE(before.empty());
    const double v = before.back().value1;
    ASSERT_GT(v, 0.1);
    ASSERT_LT(v, 0.45);  // still rising: the history matters
    m_collector->set("main.meter.gain", 2.0);
    auto after = feed(constant(480, 0.5));
    ASSERT_EQ(after.size(), 1u);
    // One frame on, the level has risen a little further, doubled; a restart would read near 0.
    EXPECT_GT(after[0].value1, 2.0 * v);
    EXPECT_LT(after[0].value1, 2.0 * v * 1.1);
}

TEST_F(CModMeterTest, AnInvertedMeterOfSilenceReadsInfinity) {
    startMeter("audio:modMeter", {{"fps", "100"}, {"is-inverted", "true"}}, {});
    const auto seen = feed(constant(960, 0.0));
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_TRUE(std::isinf(seen[0].value1));
}

TEST_F(CModMeterTest, WaveStatisticsReportTheLargestMagnitudeAndPositiveSamplePerFrame) {
    startMeter("audio:modStatsWave", {{"fps", "90"}}, {});
    std::vector<double> x(534 * 3);
    for (size_t i = 0; i < x.size(); ++i) x[i] = std::sin(0.37 * static_cast<double>(i)) * (i < 534 ? 1.0 : -0.5) - 0.2;
    for (size_t i = 534 * 2; i < x.size(); ++i) x[i] = -0.1 - 0.0001 * static_cast<double>(i % 7);
    const auto seen = feed(x);
    ASSERT_EQ(seen.size(), 3u);
    for (size_t k = 0; k < 3; ++k) {
        double maxAbs = 0.0, maxPos = 0.0;
        for (size_t i = k * 534; i < (k + 1) * 534; ++i) {
            maxAbs = std::max(maxAbs, std::fabs(x[i]));
            if (x[i] > 0.0) maxPos = std::max(maxPos, x[i]);
        }
        EXPECT_EQ(seen[k].value1, maxAbs) << k;
        EXPECT_EQ(seen[k].value2, maxPos) << k;
    }
    EXPECT_EQ(seen[2].value2, 0.0);  // no positive sample: back to 0
}

TEST_F(CModMeterTest, WithoutAListenerTheSourceIsLeftOutAndMakesNothing) {
    // The meter hangs off the graph through a link that its "-enable" parameter switches.
    collector();
    m_inst = std::make_unique<CVizTestInstance>(*m_collector);
    start({"audio:process-def",
           "main",
           {},
           {CDefNode{"audio:modMeter", "meter", {{"fps", "100"}}, {}},
            CDefNode{"audio:process-bypass-state", "state",
                     {{"id", "0"}, {"param", "meter-enable"}, {"is-inverted", "true"}}, {}},
            CDefNode{"audio:process-link", "link", {{"src", "*"}, {"dst", "meter"}, {"bypass-state-id", "0"}}, {}}}});
    m_entry = m_inst->viz().getEntry(CString("main.meter"));
    auto seen = feed(constant(4800, 0.5));
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(m_inst->enableValue("main.meter"), 0.0);
    auto* t = terminal("meter");
    EXPECT_TRUE(t == nullptr || !t->hasInput());

    m_inst->viz().addListener(m_entry);
    seen = feed(constant(4800, 0.5));
    EXPECT_EQ(m_inst->enableValue("main.meter"), 1.0);
    EXPECT_GE(seen.size(), 9u);

    m_inst->viz().removeListener(m_entry);
    feed(constant(480, 0.5));
    EXPECT_EQ(m_inst->enableValue("main.meter"), 0.0);
    seen = feed(constant(4800, 0.5));
    EXPECT_TRUE(seen.empty());
}
