// The level detectors: magnitude, channel linking and smoothing, each against expectations
// worked out here from their formulas, and run through graphs the way the plug-in runs them.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CLevelerKernel.h"
#include "Audio/Processes/CModRMS.h"
#include "tests/Support/CGraphTest.h"

using namespace orl;
using namespace orl::test;

namespace {

using Signal = std::vector<double>;
using Channels = std::vector<Signal>;

Signal noise(size_t n, uint32_t seed, double lo = 0.0, double hi = 1.0) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    Signal v(n);
    for (double& x : v) x = d(rng);
    return v;
}

uint64_t bitsOf(double v) { return std::bit_cast<uint64_t>(v); }

bool close(double got, double want) {
    return std::abs(got - want) <= 1e-12 * std::max(1.0, std::abs(want));
}

CDefNode alloc(const char* param, int index) {
    return {"audio:param-alloc", param, {{"param-name", param}, {"index", std::to_string(index)}}, {}};
}

struct SLeveler {
    int mode = 0;
    double mix = 0.0;
    double linking = 1.0;
    int avg = 0;
    int out = 0;
};

const char* const kLevelerParams[] = {"mode", "mix", "linking", "avg-mode", "out-mode"};

CDefNode levelerNode(bool smooth) {
    CDefNode n{"audio:modLeveler", "lev", {{"is-terminal-whole", "true"}}, {}};
    if (smooth) n.attrs.push_back({"is-smooth-update", "true"});
    for (int i = 0; i < 5; ++i) n.children.push_back(alloc(kLevelerParams[i], i));
    return n;
}

// The leveler written out sample by sample, straight from its definition.
Channels levelerReference(const Channels& x, const SLeveler& s) {
    const size_t n = x.size();
    const size_t len = x[0].size();
    const bool rms = s.avg != 0;
    auto shape = [&](double v) { return rms && s.out == 0 ? std::sqrt(v) : !rms && s.out != 0 ? v * v : v; };
    Channels y(n, Signal(len));
    if (s.linking == 0.0 || n < 2) {
        for (size_t c = 0; c < n; ++c)
            for (size_t i = 0; i < len; ++i) y[c][i] = s.out != 0 ? x[c][i] * x[c][i] : x[c][i];
        return y;
    }
    Signal d(len);
    for (size_t i = 0; i < len; ++i) {
        double e = x[0][i];
        double sum = 0.0;
        for (size_t c = 0; c < n; ++c) {
            e = s.mode != 0 ? std::min(e, x[c][i]) : std::max(e, x[c][i]);
            sum += rms ? x[c][i] * x[c][i] : x[c][i];
        }
        if (rms) e *= e;
        const double a = sum / static_cast<double>(n);
        d[i] = s.mix == 0.0 ? e : s.mix == 1.0 ? a : e + (a - e) * s.mix;
    }
    if (s.linking == 1.0) {
        for (double& v : d) v = shape(v);
        return {d};
    }
    for (size_t c = 0; c < n; ++c) {
        for (size_t i = 0; i < len; ++i) {
            const double own = rms ? x[c][i] * x[c][i] : x[c][i];
            y[c][i] = shape(own + (d[i] - own) * s.linking);
        }
    }
    return y;
}

// Expected output of the smoother: the recursion run from z1 = z2 = 0 over the whole signal.
Signal rmsReference(const Signal& x, double coeff, bool twoPoles) {
    Signal y(x.size());
    double z1 = 0.0, z2 = 0.0;
    for (size_t i = 0; i < x.size(); ++i) {
        z1 = z1 + (x[i] * x[i] - z1) * coeff;
        z2 = z2 + (z1 - z2) * coeff;
        y[i] = std::sqrt(twoPoles ? z2 : z1) + 1e-15;
    }
    return y;
}

// The one-pole coefficient for a corner at `freq`, in closed form.
double rmsCoeff(double freq, double rate) {
    const double t = 2.0 - std::cos(2.0 * std::numbers::pi * freq / rate);
    return 1.0 - t + std::sqrt(t * t - 1.0);
}

class CDetectorTest : public CGraphTest {
protected:
    void addLevelerParams(CTestParamHost& host, const std::string& prefix, const SLeveler& s) {
        const double values[] = {double(s.mode), s.mix, s.linking, double(s.avg), double(s.out)};
        for (int i = 0; i < 5; ++i) host.add(prefix + kLevelerParams[i], 8, 8, values[i]);
    }
    // main -> [delay] -> lev -> [more]: a root with the leveler in its automatic chain.
    CTestGraphRunner& startLeveler(const SLeveler& s, bool smooth = true, std::vector<CDefNode> before = {},
                                   std::vector<CDefNode> after = {}) {
        addLevelerParams(fresh(), "main.lev.", s);
        CDefNode root{"audio:process-def", "main", {{"is-auto-links", "true"}}, std::move(before)};
        root.children.push_back(levelerNode(smooth));
        for (CDefNode& n : after) root.children.push_back(std::move(n));
        return start(root);
    }
    // main -> rms, with its two parameters.
    CTestGraphRunner& startRMS(double freq, int type, bool smooth) {
        CTestParamHost& host = fresh();
        host.add("main.rms.freq", 8, 8, freq);
        host.add("main.rms.type", 8, 8, double(type));
        CDefNode rms{"audio:modRMS", "rms", {}, {alloc("freq", 0), alloc("type", 1)}};
        if (smooth) rms.attrs.push_back({"is-smooth-update", "true"});
        return start({"audio:process-def", "main", {{"is-auto-links", "true"}}, {rms}});
    }
    std::vector<int32_t> groupsOf(size_t n) { return std::vector<int32_t>(n, 0); }
    // Runs the signals, all in one group, in blocks of the given sizes; each output joined up.
    Channels runBlocks(const Channels& x, std::initializer_list<int32_t> sizes) {
        Channels heard(x.size());
        size_t pos = 0;
        for (const int32_t n : sizes) {
            Channels in;
            for (const Signal& s : x) in.emplace_back(s.begin() + pos, s.begin() + pos + n);
            auto out = m_runner->run(in, groupsOf(x.size()), n);
            for (size_t c = 0; c < x.size(); ++c) heard[c].insert(heard[c].end(), out[int32_t(c)].begin(), out[int32_t(c)].end());
            pos += n;
        }
        return heard;
    }
    std::vector<const CLevelerKernel*> builds() const {
        std::vector<const CLevelerKernel*> b{&CLevelerKernel::plain()};
        if (CLevelerKernel::avx2()) b.push_back(CLevelerKernel::avx2());
        return b;
    }
};

}  // namespace

// Only the sign bit goes: -0.0 becomes +0.0, a NaN keeps its payload, infinities and the
// smallest numbers keep their magnitude. Both builds and the node agree bit for bit.
TEST_F(CDetectorTest, AbsClearsOnlyTheSignBit) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double denormal = std::numeric_limits<double>::denorm_min() * 3;
    Signal in{-0.0, 0.0, -1.5, 2.25, -std::numeric_limits<double>::infinity(), -nan, nan, -denormal, 1e300, -1e-300};
    const Signal rest = noise(64 + 3, 7, -1.0, 1.0);  // a full chunk and a tail as well
    in.insert(in.end(), rest.begin(), rest.end());
    const int32_t n = static_cast<int32_t>(in.size());
    constexpr uint64_t kSign = 1ull << 63;

    fresh();
    auto& g = start({"audio:process-def", "main", {{"is-auto-links", "true"}}, {{"audio:modAbs", "abs", {}, {}}}});
    auto out = g.run({in, in}, {0, 1}, n);
    ASSERT_EQ(out.size(), 2u);
    for (const CLevelerKernel* k : builds()) {
        Signal direct(n + 1, 42.0);
        k->magnitude(direct.data(), in.data(), n);
        EXPECT_EQ(direct[n], 42.0) << k->name;  // nothing written past the end
        for (int32_t i = 0; i < n; ++i) {
            ASSERT_EQ(bitsOf(direct[i]), bitsOf(in[i]) & ~kSign) << k->name << " " << i;
            ASSERT_EQ(bitsOf(out[1][i]), bitsOf(in[i]) & ~kSign) << i;
        }
    }
}

// Every kernel of both builds on the same magnitudes, on one and three channels, empty, short,
// one chunk and a chunk and a tail: each matches its element-wise formula, the builds agree
// within 1e-12, nothing is written past `count`, and the output may be one of the inputs.
TEST_F(CDetectorTest, LevelerKernelBuildsAgreeAndMatchTheFormulas) {
    enum { kMax, kMin, kSum, kSumSquares, kMix, kMixFromSquare, kSquare, kSqrt, kKernels };
    auto call = [](const CLevelerKernel& k, int id, double* d, const std::vector<const double*>& p, const double* b,
                   int32_t n) {
        const int32_t ch = static_cast<int32_t>(p.size());
        const double f = 1.0 / ch, t = 0.3711;
        switch (id) {
            case kMax: return k.maximum(d, p.data(), ch, n);
            case kMin: return k.minimum(d, p.data(), ch, n);
            case kSum: return k.sum(d, p.data(), ch, f, n);
            case kSumSquares: return k.sumSquares(d, p.data(), ch, f, n);
            case kMix: return k.mix(d, p[0], b, t, n);
            case kMixFromSquare: return k.mixFromSquare(d, p[0], b, t, n);
            case kSquare: return k.square(d, p[0], n);
            default: return k.squareRoot(d, p[0], n);
        }
    };
    auto expect = [](int id, const Channels& x, const Signal& b, int32_t i) {
        const double f = 1.0 / static_cast<double>(x.size()), t = 0.3711, v = x[0][i];
        double mx = v, mn = v, sum = 0.0, squares = 0.0;
        for (const Signal& s : x) mx = std::max(mx, s[i]), mn = std::min(mn, s[i]), sum += s[i], squares += s[i] * s[i];
        const double table[] = {mx, mn, sum * f, squares * f, v + (b[i] - v) * t, v * v + (b[i] - v * v) * t, v * v,
                                std::sqrt(v)};
        return table[id];
    };
    for (int32_t channels : {1, 3}) {
        for (int32_t n : {0, 3, 64, 130}) {
            Channels x;
            for (int32_t c = 0; c < channels; ++c) x.push_back(noise(n, 10 + c));
            const Signal b = noise(n, 99);
            for (int id = 0; id < kKernels; ++id) {
                SCOPED_TRACE(testing::Message() << "kernel " << id << " channels=" << channels << " n=" << n);
                std::vector<Signal> results;
                for (const CLevelerKernel* k : builds()) {
                    Channels in = x;  // the last input is overwritten by the in-place run below
                    std::vector<const double*> p;
                    for (const Signal& s : in) p.push_back(s.data());
                    Signal dst(n + 1, -7.0);
                    call(*k, id, dst.data(), p, b.data(), n);
                    EXPECT_EQ(dst[n], -7.0) << k->name;
                    for (int32_t i = 0; i < n; ++i) ASSERT_TRUE(close(dst[i], expect(id, x, b, i))) << k->name << " " << i;
                    call(*k, id, in.back().data(), p, b.data(), n);
                    for (int32_t i = 0; i < n; ++i) ASSERT_EQ(in.back()[i], dst[i]) << k->name << " in place " << i;
                    results.push_back(dst);
                }
                for (size_t r = 1; r < results.size(); ++r)
                    for (int32_t i = 0; i < n; ++i) ASSERT_TRUE(close(results[r][i], results[0][i])) << i;
            }
        }
    }
}

// Every fifth of the 72 combinations of the five settings (each value of every setting, partial
// and full mixes and linkings together), on two and three channels, against the reference:
// values, the number of outputs and their channel indices.
TEST_F(CDetectorTest, LevelerModeCombinationsMatchTheReference) {
    const int32_t len = 130;
    const Channels x3{noise(len, 20), noise(len, 21), noise(len, 22)};
    for (int combo = 0; combo < 72; combo += 5) {
        const double mixes[] = {0.0, 0.3, 1.0}, linkings[] = {0.0, 0.6, 1.0};
        const SLeveler s{combo % 2, mixes[combo / 2 % 3], linkings[combo / 6 % 3], combo / 18 % 2, combo / 36};
        const Channels x(x3.begin(), x3.begin() + 2 + combo / 5 % 2);
        SCOPED_TRACE(testing::Message() << "channels=" << x.size() << " mode=" << s.mode << " mix=" << s.mix
                                        << " linking=" << s.linking << " avg=" << s.avg << " out=" << s.out);
        const Channels want = levelerReference(x, s);
        auto out = startLeveler(s).run(x, groupsOf(x.size()), len);
        ASSERT_EQ(out.size(), want.size());
        for (size_t c = 0; c < want.size(); ++c) {
            ASSERT_EQ(out.count(int32_t(c)), 1u);
            for (int32_t i = 0; i < len; ++i) ASSERT_TRUE(close(out[c][i], want[c][i])) << i;
        }
    }
}

// The zero and one tests allow a rounding error relative to the value: what lies within it of
// one is one, what lies just outside it is not; any non-zero value links.
TEST_F(CDetectorTest, LevelerBordersOfZeroAndOne) {
    const int32_t len = 70;
    const Channels x{noise(len, 1), noise(len, 2), noise(len, 3)};
    auto outputs = [&](const SLeveler& s) { return startLeveler(s).run(x, groupsOf(3), len); };

    // Mix at one, or within rounding of it: the extreme is not used, so Minimum and Maximum give
    // the very same numbers.
    for (double mix : {1.0, std::nextafter(1.0, 0.0)})
        for (int avg : {0, 1}) EXPECT_EQ(outputs({0, mix, 0.5, avg, 0}), outputs({1, mix, 0.5, avg, 0})) << mix;
    // Just outside the tolerance the extreme counts, however little.
    EXPECT_NE(outputs({0, 1.0 - 1e-15, 1.0, 0, 0}).at(0), outputs({1, 1.0 - 1e-15, 1.0, 0, 0}).at(0));
    // Linking within rounding of one is full (one output), just outside it partial.
    EXPECT_EQ(outputs({0, 0.0, std::nextafter(1.0, 0.0), 0, 0}).size(), 1u);
    EXPECT_EQ(outputs({0, 0.0, 1.0 - 1e-15, 0, 0}).size(), 3u);
    // Linking zero hands the inputs on untouched.
    EXPECT_EQ(outputs({0, 0.0, 0.0, 1, 0}), (std::map<int32_t, Signal>{{0, x[0]}, {1, x[1]}, {2, x[2]}}));
    // A channel three hundred orders of magnitude below the other: the smallest of linkings is
    // heard.
    const Channels far{Signal(len, 1.0), Signal(len, 1e300)};
    const auto tiny = startLeveler({0, 0.0, 1e-300, 0, 0}).run(far, groupsOf(2), len);
    ASSERT_EQ(tiny.size(), 2u);
    for (int32_t i = 0; i < len; ++i) EXPECT_NEAR(tiny.at(0)[i], 2.0, 1e-12) << i;
}

// With one channel in a group the output count stays 1 whatever the linking, and the channel
// is handed on as it is (or squared): linking has nothing to link.
TEST_F(CDetectorTest, LevelerOneChannelInAGroupIsNotLinked) {
    const int32_t len = 50;
    const Signal x = noise(len, 5);
    for (int combo = 0; combo < 8; ++combo) {
        const int outMode = combo / 4;
        auto out = startLeveler({1, 0.3, combo % 2 ? 1.0 : 0.5, combo / 2 % 2, outMode}).run({x}, {0}, len);
        ASSERT_EQ(out.size(), 1u);
        for (int32_t i = 0; i < len; ++i) EXPECT_EQ(out[0][i], outMode ? x[i] * x[i] : x[i]);
    }

    // In a stack per group: group 0 holds one channel, group 1 two. Full linking gives one
    // output per group, with the index of the group's first channel; partial keeps all three.
    for (double linking : {1.0, 0.5}) {
        addLevelerParams(fresh(), "main.st.lev.", {0, 0.0, linking, 0, 0});
        auto& g = start({"audio:process-def",
                         "main",
                         {{"is-auto-links", "true"}},
                         {{"audio:process-def", "st", {{"is-stacked", "true"}, {"is-auto-links", "true"}}, {levelerNode(true)}}}});
        const Channels x3{noise(len, 6), noise(len, 7), noise(len, 8)};
        auto out = g.run(x3, {0, 1, 1}, len);
        EXPECT_EQ(out.size(), linking == 1.0 ? 2u : 3u);
        EXPECT_EQ(out[0], x3[0]);
        if (linking == 1.0) {
            ASSERT_EQ(out.count(1), 1u);
            for (int32_t i = 0; i < len; ++i) EXPECT_EQ(out[1][i], std::max(x3[1][i], x3[2][i]));
        }
    }
}

// Moving linking away from exactly 100 % gives every channel its own output again, and back to
// 100 % a single one: each time within the block of the change, as a reconnection (no crossfade
// is left running), while the outputs stay at the node's input latency. A change that keeps the
// count crossfades as usual. Downstream nodes follow: the smoother runs once for the group
// under full linking and once for each channel otherwise.
TEST_F(CDetectorTest, LevelerLinkingChangesTheOutputCountByReconnecting) {
    const int32_t len = 64;
    for (bool smooth : {true, false}) {
        SCOPED_TRACE(smooth ? "smooth" : "direct");
        auto& g = startLeveler({0, 0.0, 1.0, 0, 0}, smooth, {{"test:delay", "delay", {{"latency", "5"}}, {}}},
                               {{"audio:modRMS", "rms", {}, {}}});
        const Channels x{noise(len, 30), noise(len, 31), noise(len, 32)};
        g.run(x, groupsOf(3), len);  // the first block makes the nodes
        CAudioProcessTerminalBase* lev = terminal("lev");
        CAudioProcessTerminalBase* rms = terminal("rms");
        ASSERT_NE(lev, nullptr);
        ASSERT_NE(rms, nullptr);

        auto expectShape = [&](size_t outputs, const char* when) {
            auto out = g.run(x, groupsOf(3), len);
            EXPECT_EQ(out.size(), outputs) << when;
            for (const auto& [index, latency] : g.outputLatencies()) EXPECT_EQ(latency, 5) << when << " " << index;
            EXPECT_EQ(lev->slotModule(0)->outputCount(), int32_t(outputs)) << when;
            EXPECT_FALSE(lev->isSlotFading(0)) << when;
            EXPECT_EQ(rms->slotCount(), int32_t(outputs)) << when;
        };
        expectShape(1, "start");
        g.m_host.set("main.lev.linking", 0.5);
        expectShape(3, "to partial");
        if (smooth) {
            // The same count: a plain crossfade at the node.
            g.m_host.set("main.lev.linking", 0.25);
            g.run(x, groupsOf(3), len);
            EXPECT_TRUE(lev->isSlotFading(0));
            for (int b = 0; b < 20 && lev->isSlotFading(0); ++b) g.run(x, groupsOf(3), len);
            EXPECT_FALSE(lev->isSlotFading(0));
        }
        g.m_host.set("main.lev.linking", 1.0);
        expectShape(1, "back to full");
        g.m_host.set("main.lev.linking", 0.0);
        expectShape(3, "to none");
    }
}

// The values right after a reconnection are the new setting's, in the very block of the change.
TEST_F(CDetectorTest, LevelerValuesAfterAReconnection) {
    const int32_t len = 40;
    auto& g = startLeveler({0, 0.0, 1.0, 0, 0});
    const Channels x{noise(len, 40), noise(len, 41)};
    EXPECT_EQ(g.run(x, groupsOf(2), len), (std::map<int32_t, Signal>{{0, levelerReference(x, {0, 0.0, 1.0, 0, 0})[0]}}));
    g.m_host.set("main.lev.linking", 0.75);
    const Channels want = levelerReference(x, {0, 0.0, 0.75, 0, 0});
    const auto out = g.run(x, groupsOf(2), len);
    ASSERT_EQ(out.size(), 2u);
    for (int32_t i = 0; i < 2 * len; ++i) EXPECT_TRUE(close(out.at(i / len)[i % len], want[i / len][i % len])) << i;
}

// The smoother: the coefficient puts the -3 dB point of the one-pole filter at `freq`; both
// types follow their recursion across blocks of changing size (the accumulators persist); a
// reset starts them from zero; silence settles at exactly the floor.
TEST_F(CDetectorTest, RMSFollowsItsRecursionAcrossBlocks) {
    // |H(w)|^2 = c^2 / (1 - 2 (1 - c) cos w + (1 - c)^2) for H(z) = c / (1 - (1 - c) / z).
    for (const auto& [freq, rate] : {std::pair{4000.0, 48000.0}, {21000.0, 44100.0}, {1.0, 44100.0}}) {
        auto& g = startRMS(freq, 0, false);
        g.run({Signal(4, 0.0)}, {0}, 4, rate);
        auto* module = dynamic_cast<CModRMSModule*>(terminal("rms")->slotModule(0));
        ASSERT_NE(module, nullptr) << "the tag makes the smoother";
        const double c = module->coeff();
        const double w = 2.0 * std::numbers::pi * freq / rate;
        const double power = c * c / (1.0 - 2.0 * (1.0 - c) * std::cos(w) + (1.0 - c) * (1.0 - c));
        EXPECT_NEAR(power, 0.5, 1e-9) << freq << " Hz at " << rate;
        EXPECT_TRUE(c > 0.0 && c < 1.0) << c;
    }

    for (int type : {0, 1}) {
        SCOPED_TRACE(testing::Message() << "type " << type);
        auto& g = startRMS(4000.0, type, true);
        const Signal x = noise(700, 50, -1.0, 1.0), y = noise(700, 51, -1.0, 1.0);
        const Channels heard = runBlocks({x, y}, {1, 64, 0, 3, 200, 432});
        auto* module = dynamic_cast<CModRMSModule*>(terminal("rms")->slotModule(0));
        ASSERT_NE(module, nullptr);
        EXPECT_EQ(module->isTwoPole(), type == 1);
        const double c = rmsCoeff(4000.0, 48000.0);
        EXPECT_DOUBLE_EQ(module->coeff(), c);
        const Signal wantX = rmsReference(x, c, type == 1), wantY = rmsReference(y, c, type == 1);
        ASSERT_EQ(heard[0].size(), x.size());
        for (size_t i = 0; i < x.size(); ++i) ASSERT_TRUE(close(heard[0][i], wantX[i]) && close(heard[1][i], wantY[i])) << i;

        // After a reset the accumulators start again from zero.
        g.m_root->resetState();
        auto again = g.run({Signal(x.begin(), x.begin() + 100), Signal(100, 0.0)}, {0, 0}, 100);
        for (int32_t i = 0; i < 100; ++i) ASSERT_TRUE(close(again[0][i], wantX[i])) << i;

        // A long silence: the level settles at exactly the floor, never below it.
        for (int b = 0; b < 40; ++b) g.run({Signal(512, 0.0), Signal(512, 0.0)}, {0, 0}, 512);
        auto quiet = g.run({Signal(512, 0.0), Signal(512, 0.0)}, {0, 0}, 512);
        EXPECT_EQ(quiet, (std::map<int32_t, Signal>{{0, Signal(512, 1e-15)}, {1, Signal(512, 1e-15)}}));

        // A change of freq crossfades to an instance that starts from zero with the new
        // coefficient: once the fade is over, the recursion from zero at the change is heard.
        const Signal z = noise(1024, 52, -1.0, 1.0);
        g.m_host.set("main.rms.freq", 1000.0);
        const Signal faded = runBlocks({z, Signal(1024, 0.0)}, {256, 256, 256, 256})[0];
        const Signal wantZ = rmsReference(z, rmsCoeff(1000.0, 48000.0), type == 1);
        const int32_t fade = terminal("rms")->crossfadeSamples();
        ASSERT_LT(fade, 1024);
        // The fade starts from the outgoing instance, which runs on with the old coefficient
        // from its settled state.
        EXPECT_TRUE(close(faded[0], rmsReference(z, c, type == 1)[0]));
        for (int32_t i = fade; i < 1024; ++i) ASSERT_TRUE(close(faded[i], wantZ[i])) << i;
    }
}

// The plug-in's running case in one chain: magnitudes, linked by their maximum, smoothed.
TEST_F(CDetectorTest, ChainOfAbsLevelerAndRMS) {
    const int32_t len = 256;
    CTestParamHost& host = fresh();
    addLevelerParams(host, "main.lev.", {0, 0.0, 0.8, 0, 0});
    host.add("main.rms.freq", 8, 8, 4000.0);
    host.add("main.rms.type", 8, 8, 0.0);
    auto& g = start({"audio:process-def",
                     "main",
                     {{"is-auto-links", "true"}},
                     {CDefNode{"audio:modAbs", "abs", {}, {}}, levelerNode(true),
                      CDefNode{"audio:modRMS", "rms", {}, {alloc("freq", 0), alloc("type", 1)}}}});
    const Channels x{noise(len, 60, -1.0, 1.0), noise(len, 61, -0.2, 0.2)};
    auto out = g.run(x, groupsOf(2), len);
    ASSERT_EQ(out.size(), 2u);
    const double c = rmsCoeff(4000.0, 48000.0);
    for (int ch = 0; ch < 2; ++ch) {
        Signal linked(len);
        for (int32_t i = 0; i < len; ++i) {
            const double own = std::abs(x[ch][i]);
            const double d = std::max(std::abs(x[0][i]), std::abs(x[1][i]));
            linked[i] = own + (d - own) * 0.8;
        }
        const Signal want = rmsReference(linked, c, false);
        for (int32_t i = 0; i < len; ++i) ASSERT_TRUE(close(out[ch][i], want[i])) << ch << " " << i;
    }
}
