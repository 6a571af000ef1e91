// The detector chain and the gain computer together, through the graph, against a reference
// written here in plain scalar code from the formulas.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModPolyComp2Module.h"
#include "Audio/Processes/CModRMSModule.h"
#include "tests/Support/CGraphTest.h"

using namespace orl;
using namespace orl::test;

namespace {

constexpr double kPi = 3.14159265358979323846;

double onePole(double T, double sr) {
    const double w = std::min(2.0 * kPi / (T * sr), kPi);
    const double t = 2.0 - std::cos(w);
    return 1.0 - t + std::sqrt(t * t - 1.0);
}

// abs -> leveler (maximum, full linking) -> RMS (one pole) -> gain computer, auto gain off.
struct CReferenceChain {
    double rmsCoeff, z1 = 0.0;
    std::vector<double> coeff, stage;
    int first = -1;  // F
    double threshold, m, K, C, E, outCoeff, outSmooth = 1.0;

    CReferenceChain(double sr, double rmsFreq, double attack, double inertia, double thresholdDb, double slope,
                    double knee)
        : threshold(thresholdDb) {
        const double t = 2.0 - std::cos(2.0 * kPi * rmsFreq / sr);
        rmsCoeff = 1.0 - t + std::sqrt(t * t - 1.0);
        const double q = 1.3 + 0.8 * (1.0 - inertia);
        for (double T = attack / std::pow(q, 4); T < 2.5; T *= q) {
            if (first < 0 && T > 0.101) first = static_cast<int>(coeff.size());
            coeff.push_back(onePole(T, sr));
        }
        if (first < 0) first = static_cast<int>(coeff.size());
        stage.assign(coeff.size(), 1.0);
        m = slope > 0.9999 ? -0.0001 : slope > 0.002 ? slope - 1.0 : -1.0;
        const double x = (kPi - std::atan(-m)) / 2.0;
        K = -knee / 2.0;
        C = K * std::tan(x);
        E = K - C * std::sin(2.0 * x);
        outCoeff = onePole(0.008, sr);
    }

    double step(double left, double right) {
        const double d = std::max(std::fabs(left), std::fabs(right));
        z1 += (d * d - z1) * rmsCoeff;
        const double level = std::sqrt(z1) + 1e-15;
        double p = 1.0;  // "Fast" attack stages and "Norm" release stages
        for (int i = 4; i < first; ++i) p *= std::sqrt(stage[i]);
        for (size_t i = first; i < stage.size(); ++i) p *= stage[i];
        const double L = 20.0 * std::log10(level * p) - threshold;
        const double gainDb = L <= K ? 0.0 : L >= E ? m * L : C + std::sqrt(C * C - (L - K) * (L - K));
        const double target = std::pow(10.0, gainDb / 20.0);
        stage[0] += (target - stage[0]) * coeff[0];
        for (size_t i = 1; i < stage.size(); ++i) stage[i] += (stage[i - 1] - stage[i]) * coeff[i];
        outSmooth += (1.0 - outSmooth) * outCoeff;
        return p * outSmooth;
    }
};

CDefNode alloc(const char* param, int index) {
    return CDefNode{"audio:param-alloc", "a", {{"param-name", param}, {"index", std::to_string(index)}}, {}};
}

class CCompressorChain : public CGraphTest {};

}  // namespace

TEST_F(CCompressorChain, StereoSineBurstMatchesTheReferenceGainReduction) {
    const double sr = 48000.0;
    auto& h = host();
    h.add("main.rms.freq", 8, 1, 4000.0);
    h.add("main.comp.attack", 8, 1, 0.02);
    h.add("main.comp.inertia", 8, 1, 0.5);
    h.add("main.comp.threshold", 8, 1, -20.0);
    h.add("main.comp.ratio", 8, 1, 0.5);
    h.add("main.comp.knee", 8, 1, 6.0);
    h.add("main.comp.auto-gain", 8, 1, 0.0);
    CDefNode def{"audio:process-def",
                 "main",
                 {{"is-auto-links", "true"}},
                 {CDefNode{"audio:modAbs", "abs", {}, {}},
                  CDefNode{"audio:modLeveler", "level", {{"is-terminal-whole", "true"}, {"is-smooth-update", "true"}}, {}},
                  CDefNode{"audio:modRMS", "rms", {}, {alloc("freq", 0)}},
                  CDefNode{"audio:modPolyComp2",
                           "comp",
                           {},
                           {alloc("attack", 0), alloc("inertia", 1), alloc("threshold", 2), alloc("ratio", 3),
                            alloc("knee", 4), alloc("auto-gain", 5)}}}};
    CTestGraphRunner& g = start(def);

    CReferenceChain ref(sr, 4000.0, 0.02, 0.5, -20.0, 0.5, 6.0);
    double maxReductionDb = 0.0, worst = 0.0;
    for (int block = 0; block < 60; ++block) {  // 0.4 s of burst, then silence
        std::vector<double> left(512), right(512);
        for (int i = 0; i < 512; ++i) {
            const int n = block * 512 + i;
            const bool on = n < 19200;
            left[i] = on ? 0.5 * std::sin(2.0 * kPi * 1000.0 * n / sr) : 0.0;
            right[i] = on ? 0.3 * std::sin(2.0 * kPi * 1000.0 * n / sr + 1.0) : 0.0;
        }
        auto out = g.run({left, right}, {0, 0}, 512, sr);
        ASSERT_EQ(out.size(), 1u);  // full linking: one gain channel for the group
        for (int i = 0; i < 512; ++i) {
            const double expected = ref.step(left[i], right[i]);
            const double heardDb = 20.0 * std::log10(out[0][i]);
            const double expectedDb = 20.0 * std::log10(expected);
            worst = std::max(worst, std::fabs(heardDb - expectedDb));
            maxReductionDb = std::min(maxReductionDb, heardDb);
        }
    }
    EXPECT_LT(worst, 1e-9);
    // A level around -8 dBFS over a -20 dB threshold compresses audibly.
    EXPECT_LT(maxReductionDb, -3.0);
}

// After a burst, a long silence must not leave subnormal numbers in any state, even with
// flush-to-zero off (as it is here): the code must not rely on the processor for speed.
TEST_F(CCompressorChain, LongSilenceLeavesNoSubnormalState) {
    host().add("main.rms.freq", 8, 1, 100.0);  // a slow decay passes block ends while tiny
    host().add("main.rms.type", 8, 1, 1.0);
    CDefNode def{"audio:process-def",
                 "main",
                 {{"is-auto-links", "true"}},
                 {CDefNode{"audio:modAbs", "abs", {}, {}},
                  CDefNode{"audio:modRMS", "rms", {}, {alloc("freq", 0), alloc("type", 1)}},
                  CDefNode{"audio:modPolyComp2", "comp", {}, {}}}};
    CTestGraphRunner& g = start(def);
    std::vector<double> burst(512), silence(512, 0.0);
    for (int i = 0; i < 512; ++i) burst[i] = 0.9 * std::sin(0.3 * i);
    for (int b = 0; b < 20; ++b) g.run({burst}, {0}, 512, 44100.0);
    auto* rms = terminal("rms");
    auto* comp = terminal("comp");
    ASSERT_TRUE(rms && comp);
    const auto* rmsModule = static_cast<const CModRMSModule*>(rms->slotModule(0));
    const CPolyCompState& st = static_cast<const CModPolyComp2Module*>(comp->slotModule(0))->state();
    std::vector<double> last;
    int subnormals = 0;
    for (int b = 0; b < 400; ++b) {
        last = g.run({silence}, {0}, 512, 44100.0)[0];
        for (int i = 0; i < 2; ++i) subnormals += std::fpclassify(rmsModule->accumulator(i)) == FP_SUBNORMAL;
        for (int i = 0; i < st.stageCount; ++i) subnormals += std::fpclassify(st.stage[i]) == FP_SUBNORMAL;
        subnormals += std::fpclassify(st.outGainSmooth) == FP_SUBNORMAL;
    }
    EXPECT_EQ(subnormals, 0);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(rmsModule->accumulator(i), 0.0);
    for (double v : last) EXPECT_EQ(std::fpclassify(v), FP_NORMAL);
}
