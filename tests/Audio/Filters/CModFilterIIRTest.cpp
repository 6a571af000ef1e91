// The IIR filter module in graphs built from definitions that use the shared generator arrays:
// the emphasis shelves against their prototypes, flat at gain 1, the half-band choice by index
// through a crossfade, no latency of its own, and a gen-array that does not resolve.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <string>
#include <vector>

#include "Audio/Processes/CModFilterIIRModule.h"
#include "tests/Audio/Filters/CFilterTestSupport.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;
constexpr double kRate = 48000.0;

CDefNode alloc(const char* param, int index, bool smooth = false) {
    CDefNode n{"audio:param-alloc", param, {{"param-name", param}, {"index", std::to_string(index)}}, {}};
    if (smooth) n.attrs.push_back({"is-smooth-update", "true"});
    return n;
}

// The cookbook's analog high shelf, Q from an octave bandwidth at the digital band edges.
double shelf(double W, double gain, double bw) {
    const double A = std::sqrt(gain), r = std::sqrt(A);
    const double Q = 1.0 / (2.0 * std::sinh(std::log(2.0) / 2.0 * bw));
    const std::complex<double> s(0.0, W);
    return std::abs(A * (A * s * s + (r / Q) * s + 1.0) / (s * s + (r / Q) * s + A));
}

class CModFilterIIRTest : public CGraphTest {
protected:
    void SetUp() override {
        CGraphTest::SetUp();
        ASSERT_EQ(message(m_shared->loadXMLData(CString("SharedData.xml"), true)), "");
    }
    CTestGraphRunner& startFilter(const char* array, std::vector<CDefNode> allocs) {
        return start({"audio:process-def",
                      "main",
                      {{"is-auto-links", "true"}},
                      {CDefNode{"audio:modFilterIIR", "flt", {{"gen-array", array}, {"xfade-length", "0.002"}},
                                std::move(allocs)}}});
    }
    const CModFilterIIRModule* module(int32_t slot = 0) const {
        return static_cast<const CModFilterIIRModule*>(terminal("flt")->slotModule(slot));
    }
};

}  // namespace

// The detector emphasis: `hislope` with gain 1 passes both channels unchanged within rounding;
// at 5 dB per shelf the sines come out with the amplitude of two prototype shelves at 700 Hz,
// 3.2 and 7 octaves wide; index 1 has no generator and passes the input on untouched. The
// output latency stays that of the input throughout.
TEST_F(CModFilterIIRTest, EmphasisShelvesFromTheSharedArray) {
    host().add("main.flt.index", 8, 2, 0.0);
    host().add("main.flt.freq", 8, 2, 700.0);
    host().add("main.flt.gain", 8, 2, 1.0);
    host().add("main.flt.bw", 8, 2, 3.2);
    CTestGraphRunner& g = startFilter("shared::audio.fltarray.hislope",
                                      {alloc("index", 0), alloc("freq", 1), alloc("gain", 2), alloc("bw", 3)});
    const Signal a = uniformNoise(512, 1), b = uniformNoise(512, 2);
    for (int block = 0; block < 4; ++block) {
        auto out = g.run({a, b}, {0, 0}, 512, kRate);
        for (int i = 0; i < 512; ++i) {
            ASSERT_NEAR(out[0][i], a[i], 1e-13) << i;
            ASSERT_NEAR(out[1][i], b[i], 1e-13) << i;
        }
        EXPECT_EQ(g.outputLatencies()[0], 0);
        EXPECT_EQ(g.outputLatencies()[1], 0);
    }
    ASSERT_EQ(module()->program().count(), 2);
    EXPECT_STREQ(module()->program().op(0).name, "DCDAW_fltbiqcommon");

    const double gain = std::pow(10.0, 5.0 / 20.0);
    g.m_host.set("main.flt.gain", gain);
    const size_t n = 480;
    for (const int k : {1, 7, 30, 150}) {  // 100 Hz, 700 Hz, 3 kHz, 15 kHz
        const Signal x = sineOf(k, n, 48000);
        Signal y;
        for (size_t i = 0; i < x.size(); i += 480) {
            const Signal in(x.begin() + static_cast<long>(i), x.begin() + static_cast<long>(i + 480));
            const Signal out = g.run({in, in}, {0, 0}, 480, kRate)[1];
            y.insert(y.end(), out.begin(), out.end());
        }
        const double w = 2.0 * std::numbers::pi * k / static_cast<double>(n);
        const double W = std::tan(w / 2.0) / std::tan(std::numbers::pi * 700.0 / kRate);
        EXPECT_NEAR(sineAmplitude(y, 48000 - n, n, k), shelf(W, gain, 3.2) * shelf(W, gain, 3.2 * 2.1875), 1e-9) << k;
    }
    EXPECT_EQ(g.outputLatencies()[1], 0);

    g.m_host.set("main.flt.index", 1.0);
    const auto out = g.run({a, b}, {0, 0}, 512, kRate);
    EXPECT_EQ(out.at(0), a);
    EXPECT_EQ(out.at(1), b);
    EXPECT_EQ(module()->program().count(), 0);
}

// The oversampling filters by index: hbf159t12 then hbf151t8, the change crossfaded because the
// index allocation asks for it; the node reports no latency of its own with either, and a
// constant passes at gain 1 (the half-band's DC gain).
TEST_F(CModFilterIIRTest, HalfBandChoiceByIndexCrossfades) {
    host().add("main.flt.index", 8, 2, 0.0);
    CTestGraphRunner& g = startFilter("shared::audio.fltarray.hbf-oversample", {alloc("index", 0, true)});
    const Signal one(256, 1.0);
    for (int block = 0; block < 20; ++block) g.run({one}, {0}, 256, kRate);
    EXPECT_STREQ(module()->program().op(0).name, "DCDAW_flthbf10");
    EXPECT_NEAR(g.run({one}, {0}, 256, kRate)[0][255], 1.0, 1e-12);
    EXPECT_EQ(g.outputLatencies()[0], 0);

    g.m_host.set("main.flt.index", 1.0);
    g.run({one}, {0}, 16, kRate);
    EXPECT_TRUE(terminal("flt")->isSlotFading(0));
    for (int block = 0; block < 20; ++block) g.run({one}, {0}, 256, kRate);
    EXPECT_FALSE(terminal("flt")->isSlotFading(0));
    EXPECT_STREQ(module()->program().op(0).name, "DCDAW_flthbf8");
    EXPECT_EQ(g.outputLatencies()[0], 0);
}

// A `gen-array` that names nothing fails the definition with its message.
TEST_F(CModFilterIIRTest, MissingGenArrayFails) {
    CAttrMap attrs;
    attrs[CString("gen-array")].setText(CString("shared::audio.fltarray.nothing"));
    CObject* def = nullptr;
    EXPECT_EQ(message(m_defs->createChild(def, CString("audio:modFilterIIR"), CString("flt"), false, &attrs)),
              "The 'gen-array' 'shared::audio.fltarray.nothing' not found.");
}
