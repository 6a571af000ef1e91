#include "Audio/Kernels/CDSPKernels.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <random>
#include <string>
#include <vector>

using namespace orl;

namespace {

const int32_t kLengths[] = {0, 1, 3, 7, 17, 255, 256, 511};

std::vector<double> noise(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-1.0, 1.0);
    std::vector<double> v(n + 1);  // one guard sample after the end
    for (double& x : v) x = d(rng);
    return v;
}

// Runs one kernel call on copies of the same inputs; returns the output array (with the guard).
template <class Call>
std::vector<double> run(const Call& call, const CDSPKernels& k, int32_t n) {
    std::vector<double> dst = noise(n, 1), a = noise(n, 2), b = noise(n, 3);
    call(k, dst.data(), a.data(), b.data(), n);
    return dst;
}

// Independent expectation of s[n] = 0.5 cos(pi n / L).
double weight(int n, int length) { return 0.5 * std::cos(std::numbers::pi * n / length); }

}  // namespace

// Every kernel of both builds on the same random input: the results agree to rounding, match
// the element-wise definition, and stop at `count` (the guard sample after it stays as it was).
TEST(CDSPKernels, BuildsAgreeOnEveryKernel) {
    using Call = void (*)(const CDSPKernels&, double*, double*, double*, int32_t);
    using Expect = double (*)(double dst, double a, double b);
    struct SKernel { const char* name; Call call; Expect expect; };
    const SKernel kernels[] = {
        {"copy", [](auto& k, double* d, double* a, double*, int32_t n) { k.copy(d, a, n); },
         [](double, double a, double) { return a; }},
        {"fill", [](auto& k, double* d, double*, double*, int32_t n) { k.fill(d, 0.25, n); },
         [](double, double, double) { return 0.25; }},
        {"add", [](auto& k, double* d, double* a, double*, int32_t n) { k.add(d, a, n); },
         [](double d, double a, double) { return d + a; }},
        {"maximum", [](auto& k, double* d, double* a, double*, int32_t n) { k.maximum(d, a, n); },
         [](double d, double a, double) { return std::max(d, a); }},
        {"scale", [](auto& k, double* d, double*, double*, int32_t n) { k.scale(d, -1.7, n); },
         [](double d, double, double) { return d * -1.7; }},
        {"multiply", [](auto& k, double* d, double* a, double* b, int32_t n) { k.multiply(d, a, b, n); },
         [](double, double a, double b) { return a * b; }},
        // Output into one of its own inputs, the way a node works in place.
        {"multiply in place", [](auto& k, double* d, double*, double* b, int32_t n) { k.multiply(d, d, b, n); },
         [](double d, double, double b) { return d * b; }},
        {"crossfade", [](auto& k, double* d, double* a, double* b, int32_t n) {
             CRaisedCosine f;
             f.start(300);
             k.crossfade(d, a, b, n, f);
         }, nullptr},  // its weights are checked below
    };
    const CDSPKernels* avx2 = CDSPKernels::avx2();
    for (const SKernel& kernel : kernels) {
        for (int32_t n : kLengths) {
            SCOPED_TRACE(testing::Message() << kernel.name << " n=" << n);
            const std::vector<double> plain = run(kernel.call, CDSPKernels::plain(), n);
            const std::vector<double> dst = noise(n, 1), a = noise(n, 2), b = noise(n, 3);
            EXPECT_EQ(plain[n], dst[n]);
            for (int32_t i = 0; kernel.expect && i < n; ++i) ASSERT_EQ(plain[i], kernel.expect(dst[i], a[i], b[i])) << i;
            if (!avx2) continue;
            const std::vector<double> fast = run(kernel.call, *avx2, n);
            EXPECT_EQ(fast[n], dst[n]);
            for (int32_t i = 0; i < n; ++i)
                ASSERT_LE(std::abs(fast[i] - plain[i]), 1e-12 * std::max(1.0, std::abs(plain[i]))) << i;
        }
    }
}

// The crossfade weights follow 0.5 cos(pi n / L) from 1 (all `from`) to nearly 0 over L samples,
// in each build, and a fade split over calls of odd sizes continues where it left off.
TEST(CDSPKernels, CrossfadeFollowsRaisedCosineAcrossCalls) {
    std::vector<const CDSPKernels*> builds{&CDSPKernels::plain()};
    if (CDSPKernels::avx2()) builds.push_back(CDSPKernels::avx2());
    for (const CDSPKernels* k : builds) {
        for (int length : {1, 2, 7, 720, 4800}) {
            SCOPED_TRACE(testing::Message() << k->name << " L=" << length);
            const std::vector<double> from = noise(length, 4), to = noise(length, 5);
            std::vector<double> out(length);
            CRaisedCosine fade;
            fade.start(length);
            int32_t done = 0;
            for (int32_t step : {3, 17, 256, 511}) {  // then the rest in one call
                const int32_t n = std::min(step, length - done);
                k->crossfade(out.data() + done, from.data() + done, to.data() + done, n, fade);
                done += n;
            }
            k->crossfade(out.data() + done, from.data() + done, to.data() + done, length - done, fade);
            EXPECT_EQ(out[0], from[0]);
            for (int n = 0; n < length; ++n) {
                const double s = weight(n, length);
                ASSERT_NEAR(out[n], (0.5 + s) * from[n] + (0.5 - s) * to[n], 1e-9) << n;
            }
            // The oscillator has reached s[L] = -0.5: the far end of the fade.
            EXPECT_NEAR(fade.current, -0.5, 1e-9);
        }
    }
    // A fade of no length sits at the far end at once.
    CRaisedCosine none;
    none.start(0);
    double from = 3.0, to = 5.0, out = 0.0;
    CDSPKernels::get().crossfade(&out, &from, &to, 1, none);
    EXPECT_EQ(out, 5.0);
    // The table in use is the AVX2 build where it runs, unless the plain one is asked for.
    const char* force = std::getenv("ORL_FORCE_PLAIN");
    const bool forced = force && std::string(force) == "1";
    EXPECT_EQ(&CDSPKernels::get(), builds.size() > 1 && !forced ? builds[1] : builds[0]);
}
