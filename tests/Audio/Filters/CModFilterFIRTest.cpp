// The FIR filter module in graphs built from definitions, with the shared FIR array: the three
// oversampling settings against the designed kernel (latency, impulse response, level in the
// pass and stop bands), the rate scaling of `fixsr`, one module for all channels, and a
// parameter change through a crossfade.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "Audio/Filters/CAudioFilterFIRLPGen.h"
#include "Audio/Processes/CModFilterFIRDef.h"
#include "Audio/Processes/CModFilterFIRModule.h"
#include "Core/CLog.h"
#include "tests/Audio/Filters/CFilterTestSupport.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;
constexpr int32_t kBlock = 500;  // no multiple of any partition block

// One row of the oversampling filters (length in seconds here, as the parameter takes it).
struct CSetting {
    const char* name;
    int latency;
    double length, freq, beta, runRate;
};
// Steep up and steep down run at twice 44.1 kHz, the soft filter at four times.
const CSetting kSettings[] = {{"steep up", 6, 0.015, 11025.0, 18.0, 88200.0},
                              {"steep down", 7, 0.024, 10980.0, 18.0, 88200.0},
                              {"soft", 5, 0.0016, 12000.0, 18.4, 176400.0}};

CDefNode alloc(const char* param, int index) {
    return {"audio:param-alloc", param, {{"param-name", param}, {"index", std::to_string(index)}}, {}};
}

Signal designed(const CSetting& s) {
    Signal h(static_cast<size_t>(2 * CAudioFilterFIRLPGen::halfLength(s.length, s.freq, 44100.0) + 1));
    EXPECT_EQ(CAudioFilterFIRLPGen::design(s.length, s.freq, s.beta, 44100.0, h.data(), static_cast<int32_t>(h.size())),
              static_cast<int32_t>(h.size()));
    return h;
}

class CModFilterFIRTest : public CGraphTest {
protected:
    void SetUp() override {
        CGraphTest::SetUp();
        ASSERT_TRUE(CModFilterFIRDef::ensureCreatorsRegistered());
        ASSERT_EQ(message(m_shared->loadXMLData(CString("SharedData.xml"), true)), "");
    }
    // The filter with all seven parameters bound to host values of `s`.
    CTestGraphRunner& startFilter(const CSetting& s, std::vector<std::pair<std::string, std::string>> attrs = {}) {
        const char* names[] = {"count", "index", "latency", "fixsr", "length", "freq", "beta"};
        const double values[] = {1.0, 0.0, double(s.latency), 1.0, s.length, s.freq, s.beta};
        std::vector<CDefNode> allocs;
        for (int i = 0; i < 7; ++i) {
            host().add(std::string("main.flt.") + names[i], 8, 2, values[i]);
            allocs.push_back(alloc(names[i], i));
        }
        attrs.push_back({"gen-array", "shared::audio.fltarray.firlp"});
        return start({"audio:process-def",
                      "main",
                      {{"is-auto-links", "true"}},
                      {CDefNode{"audio:modFilterFIR", "flt", std::move(attrs), std::move(allocs)}}});
    }
    const CModFilterFIRModule* module(int32_t slot = 0) const {
        return static_cast<const CModFilterFIRModule*>(terminal("flt")->slotModule(slot));
    }
    // Runs the channels through in blocks of kBlock; returns every output channel whole.
    static std::vector<Signal> runAll(CTestGraphRunner& g, const std::vector<Signal>& in, double rate) {
        std::vector<Signal> out(in.size());
        for (size_t at = 0; at < in[0].size(); at += kBlock) {
            std::vector<Signal> pieces;
            for (const Signal& x : in) pieces.emplace_back(x.begin() + long(at), x.begin() + long(at + kBlock));
            auto y = g.run(pieces, std::vector<int32_t>(in.size(), 0), kBlock, rate);
            for (size_t c = 0; c < in.size(); ++c) out[c].insert(out[c].end(), y[int32_t(c)].begin(), y[int32_t(c)].end());
        }
        return out;
    }
};

double maxAbsDiff(const Signal& a, const Signal& b) {
    double m = 0.0;
    for (size_t i = 0; i < a.size(); ++i) m = std::max(m, std::fabs(a[i] - b[i]));
    return m;
}

// `scale` times the kernel starting at `at`, zero elsewhere, `length` samples.
Signal placed(const Signal& h, size_t at, size_t length, double scale = 1.0) {
    Signal y(length, 0.0);
    for (size_t k = 0; k < h.size() && at + k < length; ++k) y[at + k] = scale * h[k];
    return y;
}

}  // namespace

// Each oversampling setting at its running rate, with `fixsr` on: the reported latency is the
// block B plus the kernel's half length n0 (the centre tap), an impulse comes out as the
// designed kernel B samples late, and sines keep their level in the pass band and lose in the
// stop band at least the attenuation that Kaiser's rule gives for the window's beta.
TEST_F(CModFilterFIRTest, OversamplingSettingsGiveTheDesignedKernel) {
    for (const CSetting& s : kSettings) {
        SCOPED_TRACE(s.name);
        fresh();
        CTestGraphRunner& g = startFilter(s);
        const Signal h = designed(s);
        const size_t B = size_t{1} << s.latency, n0 = h.size() / 2;
        const size_t length = (B + h.size() + 2 * kBlock) / kBlock * kBlock;
        Signal impulse(length, 0.0);
        impulse[0] = 1.0;
        const Signal y = runAll(g, {impulse}, s.runRate)[0];
        EXPECT_EQ(g.outputLatencies()[0], int32_t(B + n0));
        EXPECT_EQ(module()->kernel().tapCount(), int32_t(h.size()));
        EXPECT_LT(maxAbsDiff(y, placed(h, B, length)), 1e-14);
        EXPECT_EQ(std::max_element(y.begin(), y.end()) - y.begin(), long(B + n0));

        // Kaiser: beta = 0.1102 (A - 8.7) for A > 50 dB, so A = beta / 0.1102 + 8.7, and the
        // transition is (A - 8) / (2.285 (N - 1)) rad wide, N - 1 = 2H the window's span.
        // Frequencies below count at the 44.1 kHz the kernel was designed for; 441 samples
        // hold a whole number of cycles of every multiple of 100 Hz there (at 2x: 200 Hz).
        const double A = s.beta / 0.1102 + 8.7;
        const double H = 44100.0 * 44100.0 * s.length / s.freq / 8.0;
        const double halfTransition = (A - 8.0) / (2.285 * 2.0 * H) / 2.0 / (2.0 * std::numbers::pi) * 44100.0;
        const int pass = int((s.freq - halfTransition) / 100.0) / 2;
        const int stop = int((s.freq + halfTransition) / 100.0) + 20;
        ASSERT_LT(stop * 100, 22050);
        for (const int k : {pass, stop}) {
            const size_t n = 441;
            const Signal x = sineOf(k, n, 40 * kBlock);
            const Signal out = runAll(g, {x}, s.runRate)[0];
            const size_t from = out.size() - 20 * n;
            const double level = 20.0 * std::log10(sineAmplitude(out, from, 20 * n, 20 * k));
            if (k == pass) {
                EXPECT_NEAR(level, 0.0, 0.01) << k * 100 << " Hz";
            } else {
                EXPECT_LT(level, -A) << k * 100 << " Hz";
            }
        }
    }
}

// `fixsr` on designs for 44.1 kHz at any rate: the same taps at 88.2 kHz as at 44.1 kHz, the
// cut-off moving with the rate. Off, the kernel is designed for the true rate: H grows with
// the square of the rate at a fixed cut-off, so twice the rate gives four times the half
// length. `latency` is held to the largest block.
TEST_F(CModFilterFIRTest, FixedDesignRateScalesTheKernelWithTheRate) {
    const CSetting& s = kSettings[0];
    CTestGraphRunner& g = startFilter(s);
    const Signal one(kBlock, 1.0);
    g.run({one}, {0}, kBlock, 44100.0);
    const int32_t taps44 = module()->kernel().tapCount();
    g.run({one}, {0}, kBlock, 88200.0);
    EXPECT_EQ(module()->kernel().tapCount(), taps44);
    EXPECT_EQ(taps44, 661);

    g.m_host.set("main.flt.fixsr", 0.0);
    g.run({one}, {0}, kBlock, 88200.0);
    const int32_t n0 = CAudioFilterFIRLPGen::halfLength(s.length, s.freq, 88200.0);
    EXPECT_NEAR(n0, 4 * 330.75, 1.0);
    EXPECT_EQ(module()->kernel().tapCount(), 2 * n0 + 1);
    EXPECT_EQ(g.outputLatencies()[0], 64 + n0);

    g.m_host.set("main.flt.latency", 40.0);
    g.run({one}, {0}, kBlock, 88200.0);
    EXPECT_EQ(module()->kernel().blockSize(), 1 << CFFTConvolverKernel::kMaxLog2Block);
}

// With `is-terminal-whole` one module serves both channels over one kernel, each channel with
// its own delay line: an impulse in each, at other times and sizes, comes out as its own copy of
// the kernel and nothing of the other. With `is-zero-latency` only the block is reported.
TEST_F(CModFilterFIRTest, OneModuleForAllChannels) {
    const CSetting& s = kSettings[2];
    CTestGraphRunner& g = startFilter(s, {{"is-terminal-whole", "true"}, {"is-zero-latency", "true"}});
    const Signal h = designed(s);
    const size_t length = 4 * kBlock;
    Signal a(length, 0.0), b(length, 0.0);
    a[3] = 1.0;
    b[777] = -0.5;
    const std::vector<Signal> y = runAll(g, {a, b}, s.runRate);
    EXPECT_EQ(terminal("flt")->slotCount(), 1);
    EXPECT_TRUE(module()->isActive());
    EXPECT_LT(maxAbsDiff(y[0], placed(h, 32 + 3, length)), 1e-14);
    EXPECT_LT(maxAbsDiff(y[1], placed(h, 32 + 777, length, -0.5)), 1e-14);
    EXPECT_EQ(g.outputLatencies()[0], 32);
    EXPECT_EQ(g.outputLatencies()[1], 32);
}

// A cut-off change on a definition with `is-smooth-update` crossfades from the old filter to
// the new one. The new kernel is longer, so the latency and the phase of a sine jump; the mix
// of two unit sines whose weights move along a raised cosine over F samples changes by at most
// w + pi / F from one sample to the next, against some 1.6 for a hard switch here (75 samples of a 1 kHz sine).
TEST_F(CModFilterFIRTest, CutOffChangeCrossfadesWithoutAStep) {
    const CSetting& s = kSettings[0];
    CTestGraphRunner& g = startFilter(s, {{"is-smooth-update", "true"}, {"xfade-length", "0.015"}});
    const double rate = 44100.0;
    const Signal x = sineOf(10, 441, 60 * kBlock);  // 1 kHz
    Signal y;
    for (size_t at = 0; at < x.size(); at += kBlock) {
        if (at == 20 * kBlock) g.m_host.set("main.flt.freq", 9000.0);
        const Signal in(x.begin() + long(at), x.begin() + long(at + kBlock));
        const Signal out = g.run({in}, {0}, kBlock, rate)[0];
        y.insert(y.end(), out.begin(), out.end());
        if (at == 20 * kBlock) {
            EXPECT_TRUE(terminal("flt")->isSlotFading(0));
        }
    }
    EXPECT_FALSE(terminal("flt")->isSlotFading(0));
    const int32_t n0 = CAudioFilterFIRLPGen::halfLength(s.length, 9000.0, rate);
    EXPECT_EQ(n0, 405);
    EXPECT_EQ(g.outputLatencies()[0], 64 + n0);

    const double w = 2.0 * std::numbers::pi * 1000.0 / rate;
    const double bound = w + std::numbers::pi / std::round(0.015 * rate) + 1e-6;
    double maxStep = 0.0;
    for (size_t i = 2 * kBlock; i < y.size(); ++i) maxStep = std::max(maxStep, std::fabs(y[i] - y[i - 1]));
    EXPECT_LT(maxStep, bound);
    // After the fade: the sine at the new latency, with the new filter's unit gain at 1 kHz.
    for (size_t i = y.size() - kBlock; i < y.size(); ++i) {
        ASSERT_NEAR(y[i], x[i - size_t(64 + n0)], 1e-6) << i;
    }
}

// More than one kernel asked for: said once in the log, and one kernel runs. A `gen-array` that
// names nothing fails the definition with its message.
TEST_F(CModFilterFIRTest, CombiningLogsOnceAndMissingArrayFails) {
    const std::string path = ::testing::TempDir() + "fir_combine.log";
    CLog::setPath(path.c_str());
    CTestGraphRunner& g = startFilter(kSettings[2]);
    const Signal one(kBlock, 1.0);
    g.m_host.set("main.flt.count", 3.0);
    for (int i = 0; i < 4; ++i) {
        g.m_host.set("main.flt.beta", 18.0 + i);
        g.run({one}, {0}, kBlock, 176400.0);
    }
    CLog::setPath("");
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    const std::string log = text.str();
    const std::string line = "FIR filter combining was not implemented yet!";
    EXPECT_NE(log.find(line), std::string::npos);
    EXPECT_EQ(log.find(line), log.rfind(line));
    EXPECT_TRUE(module()->isActive());
    std::remove(path.c_str());

    CAttrMap attrs;
    attrs[CString("gen-array")].setText(CString("shared::audio.fltarray.nothing"));
    CObject* def = nullptr;
    EXPECT_EQ(message(m_defs->createChild(def, CString("audio:modFilterFIR"), CString("flt"), false, &attrs)),
              "The 'gen-array' 'shared::audio.fltarray.nothing' not found.");
}
