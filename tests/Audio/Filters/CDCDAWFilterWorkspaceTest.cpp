// The filter program: biquads and half-band filters running on sines against their transfer
// functions, the coefficient glide, the waiting set, and the two builds of the loops.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <string>
#include <vector>

#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterList.h"
#include "Audio/Filters/CAudioFilterRBJGen.h"
#include "Audio/Filters/CAudioFilterValues.h"
#include "Audio/Filters/CDCDAWFilterWorkspace.h"
#include "Audio/Filters/CFilterKernels.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CObject.h"
#include "tests/Audio/Filters/CFilterTestSupport.h"
#include "tests/Support/CTestSignals.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

constexpr double kRate = 48000.0;
using Signal = std::vector<double>;

class CDCDAWFilterWorkspaceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CSignalModules::registerAll());
        m_root = CObject::newRoot();
    }
    void TearDown() override { m_root->destroy(); }

    // One biquad of a cookbook type at freq with Q 0.707 (or a gain for the shelves and peaks).
    CAudioFilterList biquad(int type, double freq, double gain = 1.0, double q = 0.7071) {
        CAttrMap map;
        map[CString("type")].setText(CString::fromInt(type));
        map[CString("is-q")].setText(CString("true"));
        CAudioFilterRBJGen* g = nullptr;
        EXPECT_EQ(message(m_root->createChild(g, CString("audio:fltgen-rbj"), CString("g"), false, &map)), "");
        static const CString kFreq("freq"), kGain("gain"), kBw("bw");
        CAudioFilterValues v;
        v.set(&kFreq, freq);
        v.set(&kGain, gain);
        v.set(&kBw, q);
        CAudioFilterList list;
        if (g) {
            EXPECT_TRUE(g->make(v, kRate, list));
        }
        return list;
    }
    static Signal run(CDCDAWFilterWorkspace& ws, const Signal& in, int32_t chunk = 512) {
        Signal out(in.size());
        for (size_t i = 0; i < in.size(); i += static_cast<size_t>(chunk)) {
            const int32_t n = static_cast<int32_t>(std::min<size_t>(static_cast<size_t>(chunk), in.size() - i));
            ws.run(in.data() + i, out.data() + i, n);
        }
        return out;
    }
    static double largestStep(const Signal& y, size_t from) {
        double m = 0.0;
        for (size_t i = from + 1; i < y.size(); ++i) m = std::max(m, std::fabs(y[i] - y[i - 1]));
        return m;
    }

    CObject* m_root = nullptr;
};

}  // namespace

// Low-pass, high-pass, both band-passes, notch (each a specialised form), peak and shelves
// (general form): after settling, a sine comes out with the amplitude |H(e^jw)| of the
// coefficients, at frequencies below, at and above the filter's.
TEST_F(CDCDAWFilterWorkspaceTest, RunningBiquadsGiveTheirResponseOnSines) {
    const size_t n = 480;
    for (const int type : {0, 1, 2, 3, 4, 6, 7, 8}) {
        const CAudioFilterList list = biquad(type, 2000.0, 4.0, 2.0);
        ASSERT_EQ(list.count(), 1);
        for (const int k : {3, 20, 21, 100, 200}) {  // 300 Hz, 2 kHz, 2.1 kHz, 10 kHz, 20 kHz
            CDCDAWFilterWorkspace ws;
            ws.build(list, kRate);
            static const char* const kNames[] = {"DCDAW_fltbiqlp",    "DCDAW_fltbiqhp",     "DCDAW_fltbiqbp",
                                                 "DCDAW_fltbiqbp",    "DCDAW_fltbiqnotch",  "",
                                                 "DCDAW_fltbiqcommon", "DCDAW_fltbiqcommon", "DCDAW_fltbiqcommon"};
            EXPECT_STREQ(ws.op(0).name, kNames[type]);
            const Signal y = run(ws, sineOf(k, n, 24000), 333);
            const double want = biquadMagnitude(list[0].coeffs, 2.0 * std::numbers::pi * k / static_cast<double>(n));
            EXPECT_NEAR(sineAmplitude(y, 24000 - n, n, k), want, 1e-9 * (1.0 + want)) << "type " << type << " k " << k;
        }
    }
}

// A jump of a low-pass from 200 Hz to 4 kHz and back to 300 Hz under a 50 Hz sine: with the
// glide no step between samples exceeds the sine's own largest step by more than 20 % (the
// output's phase moves by some 19 degrees within the 25 ms, which briefly quickens the sine);
// switched at once (no glide length) the first jump steps by thousands of times more. The glide lasts 25 ms (1200
// samples) and ends on the new filter.
TEST_F(CDCDAWFilterWorkspaceTest, CoefficientGlideMakesNoStep) {
    const size_t n = 960;  // 50 Hz
    const double w = 2.0 * std::numbers::pi / static_cast<double>(n);
    const Signal x = sineOf(1, n, 48000);
    auto play = [&](double rate) {
        CDCDAWFilterWorkspace ws;
        ws.build(biquad(0, 200.0), rate);
        Signal y(x.size());
        for (size_t i = 0; i < x.size(); i += 256) {
            if (i == 9984) ws.change(biquad(0, 4000.0));
            if (i == 19968) ws.change(biquad(0, 300.0));
            if (i == 9984 + 256) {
                EXPECT_EQ(ws.op(0).biquad.fadeLeft, rate > 0.0 ? 1200 - 256 : 0);
            }
            ws.run(x.data() + i, y.data() + i, static_cast<int32_t>(std::min<size_t>(256, x.size() - i)));
        }
        return y;
    };
    const Signal glide = play(kRate);
    const Signal abrupt = play(0.0);
    EXPECT_LT(largestStep(glide, 4800), 1.2 * w);
    EXPECT_GT(largestStep(glide, 4800), 0.98 * w);
    EXPECT_GT(largestStep(abrupt, 4800), 1000.0 * w);
    // After the last glide the output is the 300 Hz filter's.
    const double want = biquadMagnitude(biquad(0, 300.0)[0].coeffs, w);
    EXPECT_NEAR(sineAmplitude(glide, 48000 - n, n, 1), want, 1e-9);
}

// A change during a glide waits; a newer one replaces it; when the glide ends the waiting set
// glides next, and a request for the newest set again changes nothing. After a reset the
// program runs like a fresh one with the newest set.
TEST_F(CDCDAWFilterWorkspaceTest, WaitingSetReplacesAnOlderOne) {
    const CAudioFilterList a = biquad(6, 1000.0, 2.0), b = biquad(6, 1500.0, 3.0), c = biquad(6, 500.0, 0.5),
                           d = biquad(6, 3000.0, 0.25);
    CDCDAWFilterWorkspace ws;
    ws.build(a, kRate);
    const CFilterBiquadBlock& blk = ws.op(0).biquad;
    EXPECT_EQ(blk.fadeLength, 1200);
    const Signal x = sineOf(3, 480, 4800);  // 300 Hz
    Signal y(x.size());
    ws.change(b);
    ws.run(x.data(), y.data(), 300);
    ws.change(c);
    ws.change(d);
    EXPECT_EQ(blk.hasWaiting, 1);
    EXPECT_EQ(std::vector<double>(blk.waiting, blk.waiting + 5), std::vector<double>(d[0].coeffs, d[0].coeffs + 5));
    ws.run(x.data() + 300, y.data() + 300, 900);
    EXPECT_EQ(std::vector<double>(blk.coeffs, blk.coeffs + 5), std::vector<double>(b[0].coeffs, b[0].coeffs + 5));
    EXPECT_EQ(std::vector<double>(blk.next, blk.next + 5), std::vector<double>(d[0].coeffs, d[0].coeffs + 5));
    EXPECT_EQ(blk.fadeLeft, 1200);
    EXPECT_EQ(blk.hasWaiting, 0);
    ws.change(d);  // the newest already
    EXPECT_EQ(blk.hasWaiting, 0);
    ws.run(x.data() + 1200, y.data() + 1200, 1200);
    EXPECT_EQ(blk.fadeLeft, 0);
    EXPECT_EQ(std::vector<double>(blk.coeffs, blk.coeffs + 5), std::vector<double>(d[0].coeffs, d[0].coeffs + 5));
    ws.run(x.data() + 2400, y.data() + 2400, 2400);
    // The 300 Hz sine's largest step is 0.039 at amplitude 1; the gain never leaves 0.25..3.
    EXPECT_LT(largestStep(y, 0), 3.0 * 2.0 * std::numbers::pi * 3.0 / 480.0);

    ws.change(a);
    ws.run(x.data(), y.data(), 100);
    ws.resetState();
    CDCDAWFilterWorkspace fresh;
    fresh.build(a, kRate);
    EXPECT_EQ(run(ws, x), run(fresh, x));
}

// Both half-band designs on sines, 4096 samples per period list: the pass band is flat and the
// stop band as deep as the designs promise (-159 dB from 0.2925 fs for hbf159t12, -151 dB from
// 0.3125 fs for hbf151t8; their transitions 0.083 and 0.125 wide). Block sizes that leave the
// ring at every slot give the same samples as one long run.
TEST_F(CDCDAWFilterWorkspaceTest, HalfBandPassAndStopBandsOnSines) {
    ASSERT_EQ(message(m_root->loadXMLData(CString("SharedData.xml"), true)), "");
    const auto* array = dynamic_cast<const CAudioFilterGenArray*>(m_root->findObject(CString("audio.fltarray.hbf-oversample")));
    ASSERT_NE(array, nullptr);
    struct CDesign {
        int index;
        const char* op;
        double passEdge, stopEdge, stopDb;
    };
    const CDesign designs[] = {{0, "DCDAW_flthbf10", 0.2085, 0.2925, -150.0}, {1, "DCDAW_flthbf8", 0.1875, 0.3125, -150.0}};
    const size_t n = 4096;
    for (const CDesign& d : designs) {
        CAudioFilterList list;
        ASSERT_TRUE(array->find(d.index)->make(CAudioFilterValues(), kRate, list));
        double ripple = 0.0, stop = -400.0;
        for (int k = 1; k < 2048; k += 7) {
            const double f = static_cast<double>(k) / static_cast<double>(n);
            const bool pass = f <= d.passEdge;
            if (!pass && f < d.stopEdge) continue;
            CDCDAWFilterWorkspace ws;
            ws.build(list, kRate);
            ASSERT_STREQ(ws.op(0).name, d.op);
            const Signal y = run(ws, sineOf(k, n, 3 * n), 509);
            const double db = 20.0 * std::log10(sineAmplitude(y, 2 * n, n, k));
            if (pass) ripple = std::max(ripple, std::fabs(db));
            if (!pass) stop = std::max(stop, db);
        }
        EXPECT_LT(ripple, 1e-9);
        EXPECT_LT(stop, d.stopDb);

        // Blocks of 1, 2, 3, 5 and 7 samples against one block.
        const Signal noise = uniformNoise(2000, 7);
        CDCDAWFilterWorkspace whole, pieces;
        whole.build(list, kRate);
        pieces.build(list, kRate);
        const Signal ref = run(whole, noise, 2000);
        Signal got(noise.size());
        size_t at = 0;
        static const size_t kLengths[] = {1, 2, 3, 5, 7};
        for (int step = 0; at < noise.size(); ++step) {
            const size_t len = std::min<size_t>(kLengths[step % 5], noise.size() - at);
            pieces.run(noise.data() + at, got.data() + at, static_cast<int32_t>(len));
            at += len;
        }
        EXPECT_EQ(got, ref);
    }
}

// The AVX2 build and the plain build give the same samples within rounding: every biquad form
// through a glide with a waiting set, every half-band size, and the FFT convolution's product
// sum.
TEST_F(CDCDAWFilterWorkspaceTest, KernelBuildsAgree) {
    if (!CFilterKernels::avx2()) GTEST_SKIP() << "no AVX2+FMA here";
    const Signal x = uniformNoise(6000, 11);
    auto compare = [&](const CAudioFilterList& first, const CAudioFilterList* second, const char* what) {
        Signal y[2];
        const CFilterKernels* kernels[2] = {&CFilterKernels::plain(), CFilterKernels::avx2()};
        for (int b = 0; b < 2; ++b) {
            CDCDAWFilterWorkspace ws;
            ws.setKernels(kernels[b]);
            ws.build(first, kRate);
            y[b].resize(x.size());
            for (size_t i = 0; i < x.size(); i += 500) {
                if (second && (i == 1000 || i == 1500)) ws.change(i == 1000 ? *second : first);
                ws.run(x.data() + i, y[b].data() + i, 500);
            }
        }
        double diff = 0.0, scale = 0.0;
        for (size_t i = 0; i < x.size(); ++i) {
            diff = std::max(diff, std::fabs(y[0][i] - y[1][i]));
            scale = std::max(scale, std::fabs(y[0][i]));
        }
        EXPECT_LT(diff, 1e-12 * scale) << what;
        EXPECT_GT(scale, 0.1) << what;
    };
    for (const int type : {0, 1, 3, 4, 6}) {
        const CAudioFilterList second = biquad(type, 3000.0, 2.0);
        compare(biquad(type, 700.0, 0.5), &second, ("type " + std::to_string(type)).c_str());
    }
    for (int sections = 1; sections <= 8; ++sections) {
        CAudioFilterList list;
        CAudioFilterDesc* d = list.add();
        d->kind = CAudioFilterDesc::kHalfBand;
        d->sections = sections;
        for (int i = 0; i < sections; ++i) {
            d->a[i] = 0.05 + 0.9 * (2 * i) / (2.0 * sections);
            d->b[i] = 0.05 + 0.9 * (2 * i + 1) / (2.0 * sections);
        }
        compare(list, nullptr, ("sections " + std::to_string(sections)).c_str());
    }

    // The FFT convolution's product sum, at an odd length so that both the pairs and the tail
    // run, onto a sum that holds values already: both builds against complex arithmetic.
    const int32_t bins = 1031;
    const Signal xs = uniformNoise(2 * bins, 12), hs = uniformNoise(2 * bins, 13), start = uniformNoise(2 * bins, 14);
    for (const CFilterKernels* kernels : {&CFilterKernels::plain(), CFilterKernels::avx2()}) {
        Signal sum = start;
        kernels->complexMultiplyAdd(sum.data(), xs.data(), hs.data(), bins);
        kernels->complexMultiplyAdd(sum.data(), hs.data(), start.data(), bins);
        for (int32_t k = 0; k < bins; ++k) {
            const auto at = [k](const Signal& v) { return std::complex<double>(v[2 * k], v[2 * k + 1]); };
            const std::complex<double> expected = at(start) + at(xs) * at(hs) + at(hs) * at(start);
            ASSERT_NEAR(sum[2 * k], expected.real(), 1e-14) << kernels->name << " " << k;
            ASSERT_NEAR(sum[2 * k + 1], expected.imag(), 1e-14) << kernels->name << " " << k;
        }
    }
}
