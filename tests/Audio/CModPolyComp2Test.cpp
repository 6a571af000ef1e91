#include "Audio/Processes/CModPolyComp2.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "Audio/CAudioProcess.h"
#include "Audio/Processes/CModPolyComp2Def.h"
#include "Audio/Processes/CModPolyComp2Module.h"
#include "Audio/Processes/CPolyCompKernels.h"
#include "Audio/Processes/CPolyCompMath.h"
#include "Audio/Processes/CPolyCompState.h"
#include "tests/Support/CGraphTest.h"

using namespace orl;
using namespace orl::test;

namespace {

constexpr double kPi = 3.14159265358979323846;

// ---- The gain computer written out from its formulas: the expectations of these tests. ----

double onePole(double seconds, double rate) {
    const double w = std::min(2.0 * kPi / (seconds * rate), kPi);
    const double t = 2.0 - std::cos(w);
    return 1.0 - t + std::sqrt(t * t - 1.0);
}

// Parameters as the module sees them; the defaults compress hard (threshold -30 dB, 6 dB knee).
struct SParams {
    double attack = 0.02, inertia = 0.5, thresholdDb = -30.0, slope = 0.5, knee = 6.0;
    bool autoGain = false;
    int attackMult = 1, releaseMult = 1;
    double outGain1 = 1.0, outGain2 = 1.0, dry = 0.0;
    double rate = 48000.0;
};

struct SModel : SParams {
    int n = 0, f = 0;
    double coeff[35] = {}, stage[35] = {};
    double ogTarget = 1.0, og = 1.0, ogCoeff = 0.0;
    double m = 0, k = 0, c = 0, e = 0;
    bool initialised = false;

    explicit SModel(const SParams& p = {}) : SParams(p) {}
    void table(double sr) {
        ogCoeff = onePole(0.008, sr);
        const double q = 1.3 + 0.8 * (1.0 - inertia);
        double t = attack / std::pow(q, 4);
        n = 0;
        f = -1;
        for (; t < 2.5; t *= q) {
            if (f < 0 && t > 0.101) f = n;
            coeff[n++] = onePole(t, sr);
        }
        if (f < 0) f = n;
    }
    void curveConstants() {
        m = slope > 0.9999 ? 0.9999 - 1.0 : (slope > 0.002 ? slope - 1.0 : -1.0);
        const double x = (kPi - std::atan(-m)) / 2.0;
        k = -knee / 2.0;
        c = k * std::tan(x);
        e = k - c * std::sin(2.0 * x);
    }
    double curve(double level) const {
        if (level <= k) return 0.0;
        if (level >= e) return m * level;
        return c + std::sqrt(c * c - (level - k) * (level - k));
    }
    double step(double x) {
        double p = 1.0;
        for (int i = 4; i < f; ++i) p *= attackMult == 0 ? stage[i] : std::sqrt(stage[i]);
        for (int i = f; i < n; ++i) p *= releaseMult == 0 ? stage[i] * stage[i] : stage[i];
        const double target = std::pow(10.0, curve(20.0 * std::log10(x * p) - thresholdDb) / 20.0);
        stage[0] += (target - stage[0]) * coeff[0];
        for (int i = 1; i < n; ++i) stage[i] += (stage[i - 1] - stage[i]) * coeff[i];
        og += (ogTarget - og) * ogCoeff;
        return p * (1.0 - dry) * og + dry;
    }
    // Fresh stages, the direct routine from the table at the working rate.
    void start() {
        table(rate);
        curveConstants();
        std::fill(std::begin(stage), std::end(stage), 1.0);
    }
    void measure() {
        std::fill(std::begin(stage), std::end(stage), 1.0);
        ogTarget = og = 1.0;
        table(200.0);
        uint32_t seed = 0;
        double acc = 0.0;
        for (int i = 0; i < 90; ++i) {
            seed = seed * 30013u + 30011u;
            const double y = step((seed & 0xFFFFFF) * std::ldexp(1.0, -25) + 1e-10);
            if (i >= 70) acc -= 20.0 * std::log10(y);
        }
        ogTarget = autoGain ? std::pow(10.0, (acc / 20.0) / 20.0) * outGain2 : outGain1;  // the mean, in dB
        std::fill(std::begin(stage), std::end(stage), 1.0);
    }
    // A full update starts over; a running one keeps the stages and the smoothed make-up.
    void update(bool reset) {
        curveConstants();
        double saved[35];
        const int oldCount = n;
        std::copy(stage, stage + oldCount, saved);
        const double savedOg = og;
        const bool keep = !reset && initialised;
        measure();
        table(rate);
        initialised = true;
        og = keep ? savedOg : ogTarget;
        if (keep) std::copy(saved, saved + oldCount, stage);
    }
    void update(const SParams& p, bool reset) {
        static_cast<SParams&>(*this) = p;
        update(reset);
    }
};

// A state for the kernels from model parameters (the stage table and curve come from the code
// under test; tests of those compare them with the model).
CPolyCompState kernelState(const SParams& p) {
    CPolyCompState st;
    CPolyCompMath::buildStageTable(st, p.attack, p.inertia, p.rate);
    CPolyCompMath::setCurve(st, p.slope, p.knee);
    for (double& v : st.stage) v = 1.0;
    st.thresholdDb = p.thresholdDb;
    st.attackMult = p.attackMult;
    st.releaseMult = p.releaseMult;
    st.dry = p.dry;
    st.wet = 1.0 - p.dry;
    st.outGainTarget = st.outGainSmooth = 1.0;
    return st;
}

// A level signal that compresses now and then: steps of a few hundred ms with noise on them.
std::vector<double> program(size_t samples, double rate, uint32_t seed) {
    std::mt19937 rng(seed);
    std::normal_distribution<double> normal(0.0, 1.0);
    std::vector<double> v(samples);
    double level = 0.1;
    const size_t hold = static_cast<size_t>(rate * 0.2);
    for (size_t i = 0; i < samples; ++i) {
        if (i % hold == 0) level = 0.1 * std::exp(1.5 * normal(rng));
        v[i] = level * (1.0 + 0.3 * std::fabs(normal(rng)));
    }
    return v;
}

double maxRelative(const std::vector<double>& a, const std::vector<double>& b) {
    double worst = 0.0;
    for (size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::fabs(a[i] / b[i] - 1.0));
    return worst;
}

// The model's gains over a signal, from its present state.
std::vector<double> modelRun(SModel& model, const std::vector<double>& in) {
    std::vector<double> out(in.size());
    for (size_t i = 0; i < in.size(); ++i) out[i] = model.step(in[i]);
    return out;
}

using TRun = void (*)(CPolyCompState&, const double*, double*, int32_t);

// Runs the routine over a signal in blocks, moving the state on.
std::vector<double> advance(TRun run, CPolyCompState& st, const std::vector<double>& in, int32_t block) {
    std::vector<double> out(in.size());
    for (size_t i = 0; i < in.size(); i += block)
        run(st, in.data() + i, out.data() + i, static_cast<int32_t>(std::min<size_t>(block, in.size() - i)));
    return out;
}

// The same from a copy of the state.
std::vector<double> runKernel(TRun run, const CPolyCompState& start, const std::vector<double>& in, int32_t block) {
    CPolyCompState st = start;
    return advance(run, st, in, block);
}

// A module with its parameter slots bound to test parameters, driven without a graph.
class CBoundPolyComp : public CModPolyComp2Module {
public:
    explicit CBoundPolyComp(double rate) {
        for (int32_t i = 0; i < kParamCount; ++i) {
            m_values.emplace_back(1, 1, 0.0);
            m_params[i] = &m_values.back();
        }
        m_sampleRate = rate;
    }
    void updateWith(const SParams& p, bool reset) {
        const double v[kParamCount] = {p.attack,     p.inertia,     p.thresholdDb, p.slope,    p.knee,
                                       p.autoGain ? 1.0 : 0.0,      double(p.attackMult),      double(p.releaseMult),
                                       p.outGain1,   p.outGain2,    p.dry};
        for (int32_t i = 0; i < kParamCount; ++i) m_values[i].m_values[0][0] = v[i];
        m_resetRequested = reset;
        update();
        m_resetRequested = false;
    }
    std::vector<double> run(const std::vector<double>& in) {
        std::vector<double> out(in.size());
        runBlock(in.data(), out.data(), static_cast<int32_t>(in.size()));
        return out;
    }

private:
    std::deque<CTestParam> m_values;
};

}  // namespace

// ---- Control-rate arithmetic ----

TEST(CPolyCompMath, OnePoleCoefficientPutsTheHalfPowerPointAtOneOverT) {
    // At the clamp (w = pi): 2 sqrt(2) - 2.
    EXPECT_NEAR(CPolyCompMath::onePoleCoeff(1e-6, 48000.0), 2.0 * std::sqrt(2.0) - 2.0, 1e-15);
    EXPECT_NEAR(CPolyCompMath::onePoleCoeff(2.0 / 48000.0, 48000.0), 2.0 * std::sqrt(2.0) - 2.0, 1e-15);
    // Elsewhere y += (x - y) c has |H| = 1/sqrt(2) at f = 1/T: the corner frequency.
    for (const double seconds : {0.0005, 0.02, 2.4}) {
        for (const double rate : {200.0, 192000.0}) {
            const double c = CPolyCompMath::onePoleCoeff(seconds, rate);
            const double w = 2.0 * kPi / (seconds * rate);
            if (w >= kPi) continue;
            // H(z) = c / (1 - (1 - c) z^-1)
            const double re = 1.0 - (1.0 - c) * std::cos(w), im = (1.0 - c) * std::sin(w);
            // The formula loses digits as w gets small (1 - t cancels): about 1e-16 / w^2.
            EXPECT_NEAR(c / std::hypot(re, im), std::sqrt(0.5), 1e-12 + 2e-16 / (w * w)) << seconds << " s at " << rate;
        }
    }
}

TEST(CPolyCompMath, StageTablesOfTheWorkedExamples) {
    struct SCase {
        double attack, inertia;
        int n, f;
    };
    for (const SCase& k : {SCase{0.020, 0.5, 14, 8}, SCase{0.005, 1.0, 28, 16}, SCase{0.100, 0.0, 9, 5}}) {
        for (const double rate : {44100.0, 96000.0}) {
            CPolyCompState st;
            CPolyCompMath::buildStageTable(st, k.attack, k.inertia, rate);
            EXPECT_EQ(st.stageCount, k.n) << k.attack;
            EXPECT_EQ(st.slowStart, k.f) << k.attack;
            const double q = 1.3 + 0.8 * (1.0 - k.inertia);
            for (int i = 0; i < st.stageCount; ++i) {
                // Stage 4 sits at the attack time; each stage is q times slower than the one before.
                const double c = onePole(k.attack * std::pow(q, i - 4), rate);
                EXPECT_NEAR(st.stageCoeff[i], c, 1e-15 * c) << i;
            }
            EXPECT_NEAR(st.outGainCoeff, onePole(0.008, rate), 1e-16);
        }
    }
    // The time constants listed for 20 ms / 50 %, in ms rounded to 0.01, recovered from the stored
    // coefficients by inverting c = 1 - t + sqrt(t^2 - 1): t = (1 + (1 - c)^2) / (2 (1 - c)), w = acos(2 - t).
    const double listed[] = {2.39, 4.07, 6.92, 11.76, 20, 34, 57.8, 98.26, 167.04, 283.97, 482.75, 820.68, 1395.15, 2371.76};
    CPolyCompState st;
    CPolyCompMath::buildStageTable(st, 0.020, 0.5, 48000.0);
    for (int i = 0; i < 14; ++i) {
        const double c = st.stageCoeff[i], t = (1.0 + (1.0 - c) * (1.0 - c)) / (2.0 * (1.0 - c));
        EXPECT_NEAR(2e3 * kPi / (std::acos(2.0 - t) * 48000.0), listed[i], 0.005) << i;
    }
}

TEST(CPolyCompMath, KneeArcMeetsBothTangentsAndNoKneeIsACorner) {
    for (const double slope : {1.0, 0.5, 0.001}) {
        const double m = slope > 0.9999 ? 0.9999 - 1.0 : (slope > 0.002 ? slope - 1.0 : -1.0);
        for (const double knee : {0.0, 6.0, 40.0}) {
            CPolyCompState st;
            CPolyCompMath::setCurve(st, slope, knee);
            EXPECT_DOUBLE_EQ(st.kneeSlopeM, m);
            const double kk = -knee / 2.0;
            EXPECT_DOUBLE_EQ(st.kneeStart, kk);
            auto d = [&](double level) { return CPolyCompMath::curveDb(st, level); };
            if (knee == 0.0) {
                EXPECT_EQ(st.kneeCentreY, 0.0);
                EXPECT_EQ(st.kneeEnd, 0.0);
                EXPECT_EQ(d(-1.0), 0.0);
                EXPECT_EQ(d(0.0), 0.0);
                EXPECT_DOUBLE_EQ(d(3.0), 3.0 * m);
                continue;
            }
            // The arc is tangent to d = 0 at K and to d = m L at E: the end of the arc lies
            // (knee/2) cos(atan(-m)) dB above the threshold.
            const double e = st.kneeEnd;
            EXPECT_NEAR(e, knee / 2.0 * std::cos(std::atan(-m)), 1e-9);
            const double h = 1e-6 * std::max(1.0, knee);
            EXPECT_NEAR(d(kk + h), 0.0, 1e-9);                    // value at K
            EXPECT_NEAR((d(kk + 2 * h) - d(kk + h)) / h, 0.0, 1e-4);  // slope at K
            EXPECT_NEAR(d(e - h), m * (e - h), 1e-9);              // value at E
            EXPECT_NEAR((d(e - h) - d(e - 2 * h)) / h, m, 1e-4);   // slope at E
            EXPECT_DOUBLE_EQ(d(e + 1.0), m * (e + 1.0));
            EXPECT_EQ(d(kk - 0.5), 0.0);
            // In between it is concave: below both tangents, above its chord.
            const double mid = 0.5 * (kk + e);
            EXPECT_LT(d(mid), std::min(0.0, m * mid));
            EXPECT_GT(d(mid), 0.5 * m * e);
        }
    }
    CPolyCompState st;
    CPolyCompMath::setCurve(st, 0.5, 6.0);
    EXPECT_EQ(CPolyCompMath::curveDb(st, std::numeric_limits<double>::quiet_NaN()), 0.0);
}

// ---- The sample routine ----

TEST(CPolyCompKernels, AboveTheKneeOutputLevelRisesAtOneOverOneMinusWm) {
    // Two long constant inputs 10 dB apart, both well above the threshold: the output level
    // (input level plus gain) must move by 10 / (1 - W m) dB, W the sum of the stages'
    // exponents (Norm 1, Fast 1/2, Slow 2). 20 ms at 50 %: four attack stages, six release stages.
    const double rate = 8000.0;
    for (int combo = 0; combo < 8; ++combo) {
        SParams p{.thresholdDb = -40.0, .slope = combo < 4 ? 0.5 : 0.8, .knee = 0.0, .attackMult = combo % 2,
                  .releaseMult = combo / 2 % 2, .rate = rate};
        const double w = 4.0 * (p.attackMult == 0 ? 1.0 : 0.5) + 6.0 * (p.releaseMult == 0 ? 2.0 : 1.0);
        for (TRun run : {CPolyCompKernels::plain().runDirect, CPolyCompKernels::get().runFast}) {
            CPolyCompState st = kernelState(p);
            ASSERT_EQ(st.stageCount, 14);
            auto settle = [&](double x) {
                const std::vector<double> y = advance(run, st, std::vector<double>(size_t(rate * 30.0), x), 512);
                EXPECT_NEAR(y[y.size() - size_t(rate)], y.back(), 1e-9 * y.back()) << "not settled";
                return 20.0 * std::log10(x * y.back());
            };
            const double low = settle(0.1);                     // -20 dB in
            const double high = settle(std::pow(10.0, -0.5));  // -10 dB in
            EXPECT_NEAR((high - low) / 10.0, 1.0 / (1.0 - w * (p.slope - 1.0)), 1e-6) << "combination " << combo;
        }
    }
}

TEST(CPolyCompKernels, FastFormAndBothBuildsMatchTheReferenceOverLongRuns) {
    const SParams cases[] = {
        {.attack = 0.010, .thresholdDb = -20.0, .knee = 0.0},
        {.attack = 0.020, .slope = 1.0 / 3.0, .knee = 12.0, .attackMult = 0, .releaseMult = 0, .rate = 44100.0},
        {.attack = 0.005, .inertia = 1.0, .thresholdDb = -40.0, .slope = 0.25, .knee = 40.0, .releaseMult = 0},
        {.attack = 0.100, .inertia = 0.0, .thresholdDb = -10.0, .slope = 0.8, .attackMult = 0, .rate = 96000.0},
        {.attack = 0.050, .inertia = 0.3, .thresholdDb = -60.0, .slope = 1.0, .knee = 0.0, .rate = 192000.0},
        {.attack = 0.010, .thresholdDb = -25.0, .slope = 0.001, .knee = 20.0, .attackMult = 0, .releaseMult = 0,
         .rate = 8000.0},
    };
    const CPolyCompKernels& plain = CPolyCompKernels::plain();
    const CPolyCompKernels* avx2 = CPolyCompKernels::avx2();
    for (const SParams& p : cases) {
        // Ten seconds of programme with a stretch of silence, single zero samples and a very
        // loud burst in it.
        std::vector<double> in = program(static_cast<size_t>(10.0 * p.rate), p.rate, 7);
        std::fill(in.begin() + in.size() / 3, in.begin() + in.size() / 2, 0.0);
        for (size_t i = 1000; i < in.size(); i += 7919) in[i] = 0.0;
        std::fill(in.begin() + 2 * in.size() / 3, in.begin() + 2 * in.size() / 3 + 2000, 1e4);
        const CPolyCompState st = kernelState(p);
        const std::vector<double> reference = runKernel(plain.runDirect, st, in, 512);
        // The kernel's reference follows the written-out routine.
        SModel model(p);
        model.start();
        EXPECT_LT(maxRelative(reference, modelRun(model, in)), 1e-11) << "attack " << p.attack;
        if (p.slope < 0.9) {
            EXPECT_LT(*std::min_element(reference.begin(), reference.end()), 0.5) << "the case should compress";
        }
        // Block boundaries and the fast form's chunks fall elsewhere.
        EXPECT_LT(maxRelative(runKernel(plain.runFast, st, in, 77), reference), 1e-12) << "blocks of 77";
        EXPECT_LT(maxRelative(runKernel(plain.runFast, st, in, 1), reference), 1e-12) << "blocks of 1";
        if (avx2) {
            EXPECT_LT(maxRelative(runKernel(avx2->runDirect, st, in, 512), reference), 1e-12) << "avx2 direct";
            EXPECT_LT(maxRelative(runKernel(avx2->runFast, st, in, 300), reference), 1e-12) << "avx2 fast";
        }
    }
    if (!avx2) GTEST_SKIP() << "no AVX2 and FMA on this processor: only the plain build ran";
}

TEST(CPolyCompKernels, TablesOutsideTheParameterRangeStayBoundedAndTheFormsAgree) {
    // attack 25 s: no stage at all; 5 s: three, none counted; 0.3 s at 0 %: F = 3, below the
    // first counted stage; a spacing below 1 and a zero attack: the table stops at its capacity.
    struct SCase {
        double attack, inertia;
        int n, f;
    };
    for (const SCase& k : {SCase{25.0, 0.5, 0, 0}, SCase{5.0, 0.5, 3, 0}, SCase{0.3, 0.0, 7, 3}, SCase{0.01, 1.6, 35, 35},
                           SCase{0.0, 0.5, 35, 35}}) {
        const CPolyCompState st = kernelState({.attack = k.attack, .inertia = k.inertia});
        EXPECT_EQ(st.stageCount, k.n) << k.attack;
        EXPECT_EQ(st.slowStart, k.f) << k.attack;
        const std::vector<double> in = program(48000, 48000.0, 9);
        const std::vector<double> reference = runKernel(CPolyCompKernels::plain().runDirect, st, in, 512);
        for (const double v : reference) ASSERT_TRUE(v > 0.0 && v <= 1.0) << k.attack;
        EXPECT_LT(maxRelative(runKernel(CPolyCompKernels::plain().runFast, st, in, 512), reference), 1e-12) << k.attack;
        EXPECT_LT(maxRelative(runKernel(CPolyCompKernels::get().runFast, st, in, 512), reference), 1e-12) << k.attack;
    }
}

TEST(CPolyCompKernels, ABadInputSampleActsLikeSilenceInBothForms) {
    std::vector<double> clean = program(48000, 48000.0, 3), bad;
    clean[10000] = 0.0;
    bad = clean;
    bad[10000] = std::numeric_limits<double>::quiet_NaN();
    const CPolyCompState st = kernelState({});
    for (TRun run : {CPolyCompKernels::plain().runDirect, CPolyCompKernels::plain().runFast, CPolyCompKernels::get().runFast})
        EXPECT_EQ(runKernel(run, st, bad, 512), runKernel(run, st, clean, 512));
}

// ---- The module ----

TEST(CModPolyComp2Module, FollowsTheModelThroughFullAndRunningUpdates) {
    SParams p{.autoGain = true, .outGain2 = 1.5};
    CBoundPolyComp module(p.rate);
    SModel model;
    module.updateWith(p, false);
    model.update(p, false);
    EXPECT_TRUE(module.isInitialised());
    EXPECT_NEAR(module.state().outGainTarget, model.ogTarget, 1e-12 * model.ogTarget);
    auto compare = [&](uint32_t seed) {
        const std::vector<double> in = program(24000, p.rate, seed);
        EXPECT_LT(maxRelative(module.run(in), modelRun(model, in)), 1e-11);
    };
    compare(1);
    // Running road: a slower attack grows the table, and the make-up follows the new threshold.
    const CPolyCompState before = module.state();
    const int32_t oldCount = before.stageCount;
    p.attack = 0.05;
    p.inertia = 0.8;
    p.thresholdDb = -24.0;
    p.attackMult = 0;
    module.updateWith(p, false);
    model.update(p, false);
    ASSERT_GT(module.state().stageCount, oldCount);
    for (int32_t i = 0; i < module.state().stageCount; ++i)
        EXPECT_EQ(module.state().stage[i], i < oldCount ? before.stage[i] : 1.0) << i;
    EXPECT_EQ(module.state().outGainSmooth, before.outGainSmooth);
    compare(2);
    // Full road: everything starts over.
    module.updateWith(p, true);
    model.update(p, true);
    for (int32_t i = 0; i < module.state().stageCount; ++i) EXPECT_EQ(module.state().stage[i], 1.0);
    EXPECT_EQ(module.state().outGainSmooth, module.state().outGainTarget);
    compare(3);
}

TEST(CModPolyComp2Module, MakeUpIsTheSameAtEveryRateAndEachOutGainActsOnItsSide) {
    double madeUp = 0.0;
    for (const double rate : {44100.0, 96000.0, 192000.0}) {
        // outgain1 is not in force with auto gain on.
        SParams p{.attack = 0.01, .slope = 0.25, .knee = 0.0, .autoGain = true, .outGain1 = 4.0, .rate = rate};
        CBoundPolyComp module(rate);
        module.updateWith(p, true);
        SModel model;
        model.update(p, true);
        EXPECT_NEAR(module.state().outGainTarget, model.ogTarget, 1e-12 * model.ogTarget) << rate;
        EXPECT_GT(module.state().outGainTarget, 1.5) << "noise at up to -6 dB is compressed at -30 dB";
        if (madeUp == 0.0) madeUp = module.state().outGainTarget;
        EXPECT_EQ(module.state().outGainTarget, madeUp) << rate;

        p.outGain2 = 0.5;  // scales the measured make-up
        module.updateWith(p, false);
        EXPECT_DOUBLE_EQ(module.state().outGainTarget, 0.5 * madeUp);

        p.autoGain = false;  // now outgain1 alone, outgain2 has no say
        p.outGain2 = 3.0;
        module.updateWith(p, false);
        EXPECT_EQ(module.state().outGainTarget, 4.0);
        p.outGain1 = 0.25;
        module.updateWith(p, false);
        EXPECT_EQ(module.state().outGainTarget, 0.25);
    }
    // A dry mix lowers the measured make-up.
    CBoundPolyComp module(48000.0);
    module.updateWith({.attack = 0.01, .slope = 0.25, .knee = 0.0, .autoGain = true, .dry = 0.5}, true);
    EXPECT_LT(module.state().outGainTarget, madeUp);
    // All dry: exactly one, whatever the make-up.
    module.updateWith({.autoGain = true, .dry = 1.0}, true);
    for (const double v : module.run(program(48000, 48000.0, 5))) ASSERT_EQ(v, 1.0);
}

TEST(CModPolyComp2Module, ARunningUpdateLeavesTheStagesUndisturbed) {
    SParams p;
    CBoundPolyComp changed(p.rate), untouched(p.rate), reset(p.rate);
    for (CBoundPolyComp* m : {&changed, &untouched, &reset}) m->updateWith(p, true);
    const std::vector<double> in = program(48000, p.rate, 11);
    const std::vector<double> before = changed.run(in);
    ASSERT_EQ(untouched.run(in), before);
    reset.run(in);
    ASSERT_LT(before.back(), 0.7) << "deep in compression when the change comes";
    p.thresholdDb = -10.0;
    p.knee = 0.0;
    changed.updateWith(p, false);
    reset.updateWith(p, true);
    const std::vector<double> next(64, in.back());
    const std::vector<double> a = changed.run(next), b = untouched.run(next);
    // The first sample comes from stages that did not move.
    EXPECT_EQ(a[0], b[0]);
    // After it the new target reaches the product only through the fast stages: the two runs
    // part smoothly, by a few parts in 1e10 at first, growing with each sample.
    double apart = 0.0;
    for (int i = 1; i < 64; ++i) {
        const double d = std::fabs(a[i] / b[i] - 1.0);
        EXPECT_GT(d, apart) << i;
        EXPECT_LT(d, i < 10 ? 1e-6 : 1e-3) << i;
        apart = d;
    }
    // A full update would have jumped back to no reduction.
    EXPECT_EQ(reset.run(next)[0], 1.0);
}

TEST(CModPolyComp2Module, SilenceReleasesOnTheSlowestTimeConstant) {
    const SParams p{.releaseMult = 0};  // slow
    CBoundPolyComp module(p.rate);
    module.updateWith(p, true);
    ASSERT_LT(module.run(std::vector<double>(size_t(2.0 * p.rate), 0.5)).back(), 0.1);
    const std::vector<double> quiet = module.run(std::vector<double>(size_t(12.5 * p.rate), 0.0));
    EXPECT_GT(1.0 - quiet[size_t(0.5 * p.rate)], 1e-3) << "the slowest stages are still on their way";
    EXPECT_LT(1.0 - quiet.back(), 1e-3);
    EXPECT_LE(quiet.back(), 1.0 + 1e-15);
}

// ---- In the graph ----

class CModPolyComp2GraphTest : public CGraphTest {};

TEST_F(CModPolyComp2GraphTest, RunsPerChannelWithBoundParametersAndUpdatesOnTheRunningRoad) {
    const char* names[] = {"attack",      "inertia",      "threshold", "ratio",    "knee",   "auto-gain",
                           "attack-mult", "release-mult", "outgain1",  "outgain2", "drymix"};
    const SParams p{.autoGain = true, .outGain2 = 0.8};
    const double values[] = {p.attack, p.inertia, p.thresholdDb, p.slope, p.knee, 1.0, 1.0, 1.0, 1.0, p.outGain2, 0.0};
    m_runner = std::make_unique<CTestGraphRunner>();
    std::vector<CDefNode> allocs;
    for (int i = 0; i < 11; ++i) {
        m_runner->m_host.add(std::string("main.comp.") + names[i], 2, 2, values[i]);
        allocs.push_back(CDefNode{"audio:param-alloc", "alloc", {{"param-name", names[i]}, {"index", std::to_string(i)}}, {}});
    }
    auto* def = dynamic_cast<CAudioProcessDefBase*>(buildDef(
        m_defs, {"audio:process-def", "main", {{"is-auto-links", "true"}}, {CDefNode{"audio:modPolyComp2", "comp", {}, allocs}}}));
    ASSERT_NE(def, nullptr);
    m_runner->start(def);

    // Two channels in two groups, each its own module with its own level.
    SModel models[2];
    for (SModel& m : models) m.update(p, true);
    const std::vector<double> levels[2] = {program(2048, p.rate, 21), program(2048, p.rate, 22)};
    auto block = [&](int b) {
        auto slice = [&](int ch) { return std::vector<double>(levels[ch].begin() + b * 512, levels[ch].begin() + (b + 1) * 512); };
        auto out = m_runner->run({slice(0), slice(1)}, {0, 1}, 512, p.rate);
        ASSERT_EQ(out.size(), 2u);
        for (int ch = 0; ch < 2; ++ch) {
            for (int i = 0; i < 512; ++i) {
                const double expected = models[ch].step(levels[ch][b * 512 + i]);
                ASSERT_NEAR(out[ch][i], expected, 1e-11 * expected) << "channel " << ch << " sample " << b * 512 + i;
            }
        }
    };
    block(0);
    block(1);
    // The node exists from the first block on.
    auto* node = dynamic_cast<CModPolyComp2*>(static_cast<CAudioProcess*>(m_runner->m_root)->childProcess(CString("comp")));
    ASSERT_NE(node, nullptr);
    ASSERT_EQ(node->slotCount(), 2);
    EXPECT_FALSE(node->isSlotFading(0));
    // A change of group 1's threshold reaches only its module, on the running road.
    m_runner->m_host.set("main.comp.threshold", -20.0, 1);
    models[1].thresholdDb = -20.0;
    models[1].update(false);
    block(2);
    EXPECT_FALSE(node->isSlotFading(1)) << "a direct update, no crossfade";
    block(3);
}
