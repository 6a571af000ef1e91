// The FIR side of the filters: the windowed-sinc generator against the closed form with the
// library's own Bessel function, its response measured from the taps, and the partitioned FFT
// convolution against direct convolution.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "Audio/Filters/CAudioFilterFIRLPGen.h"
#include "Audio/Filters/CFFTConvolverKernel.h"
#include "Audio/Filters/CFFTConvolverState.h"

using namespace orl;

namespace {

std::vector<double> designKernel(double length, double freq, double beta, double rate) {
    const int32_t n0 = CAudioFilterFIRLPGen::halfLength(length, freq, rate);
    std::vector<double> taps(static_cast<size_t>(2 * n0 + 1));
    const int32_t count =
        CAudioFilterFIRLPGen::design(length, freq, beta, rate, taps.data(), static_cast<int32_t>(taps.size()));
    EXPECT_EQ(count, 2 * n0 + 1);
    return taps;
}

// |H| at f (Hz) of a kernel symmetric around its centre: a cosine sum, so the value is real.
double zeroPhaseResponse(const std::vector<double>& taps, double f, double rate) {
    const int64_t n0 = static_cast<int64_t>(taps.size() / 2);
    const double w = 2.0 * std::numbers::pi * f / rate;
    double sum = taps[static_cast<size_t>(n0)];
    for (int64_t n = 1; n <= n0; ++n) {
        sum += 2.0 * taps[static_cast<size_t>(n0 + n)] * std::cos(w * static_cast<double>(n));
    }
    return sum;
}

std::vector<double> randomSignal(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<double> x(n);
    for (double& v : x) v = dist(gen);
    return x;
}

// y[n] = sum h[k] x[n-k], then B samples later.
std::vector<double> directLagged(const std::vector<double>& x, const std::vector<double>& h, size_t lag) {
    std::vector<double> y(x.size(), 0.0);
    for (size_t n = lag; n < x.size(); ++n) {
        const size_t m = n - lag;
        double s = 0.0;
        for (size_t k = 0; k < h.size() && k <= m; ++k) s += h[k] * x[m - k];
        y[n] = s;
    }
    return y;
}

// Runs a state over x in chunks of varying size (1 to 3 blocks), so block edges fall anywhere.
std::vector<double> convolveInChunks(CFFTConvolverState& state, const CFFTConvolverKernel& kernel,
                                     const std::vector<double>& x, unsigned seed, bool inPlace) {
    std::mt19937 gen(seed);
    std::uniform_int_distribution<int32_t> size(1, 3 * kernel.blockSize());
    std::vector<double> y(x.size());
    if (inPlace) y = x;
    size_t done = 0;
    while (done < x.size()) {
        const size_t n = std::min(static_cast<size_t>(size(gen)), x.size() - done);
        const double* in = inPlace ? y.data() + done : x.data() + done;
        state.process(kernel, in, y.data() + done, static_cast<int32_t>(n));
        done += n;
    }
    return y;
}

double maxAbsDiff(const std::vector<double>& a, const std::vector<double>& b) {
    double m = 0.0;
    for (size_t i = 0; i < a.size(); ++i) m = std::max(m, std::fabs(a[i] - b[i]));
    return m;
}

}  // namespace

TEST(CAudioFilterFIRLPGen, BesselAgainstLibrary) {
    // Both sides of the switch at 3.75 and the top of the beta range. Above 3.75 the
    // approximation's error bound of 1.9e-7 applies to sqrt(x) e^-x I0(x), about 0.4: a relative
    // 4.8e-7.
    for (const double x : {0.0, 0.5, 1.0, 2.5, 3.7, 3.75, 3.8, 6.0, 18.0, 18.4, 60.0, 350.0}) {
        const double expected = std::cyl_bessel_i(0.0, x);
        EXPECT_NEAR(CAudioFilterFIRLPGen::besselI0(x) / expected, 1.0, 5e-7) << x;
        EXPECT_EQ(CAudioFilterFIRLPGen::besselI0(-x), CAudioFilterFIRLPGen::besselI0(x));
    }
}

TEST(CAudioFilterFIRLPGen, KernelShapeAndTaps) {
    // freq = sr/4: the kernel is `length` seconds long; H = 44100 * 0.01 / 2 = 220.5.
    EXPECT_EQ(CAudioFilterFIRLPGen::halfLength(0.01, 11025.0, 44100.0), 220);
    // A quarter of the cut-off: four times as long. H = 48000^2 * 0.002 / 3000 / 8 = 192.
    EXPECT_EQ(CAudioFilterFIRLPGen::halfLength(0.002, 3000.0, 48000.0), 192);
    EXPECT_EQ(CAudioFilterFIRLPGen::halfLength(0.0, 3000.0, 48000.0), -1);
    EXPECT_EQ(CAudioFilterFIRLPGen::halfLength(0.01, 0.0, 48000.0), -1);

    struct Case {
        double length, freq, beta, rate;
    };
    for (const Case c : {Case{0.01, 11025.0, 18.0, 44100.0}, Case{0.002, 3000.0, 6.0, 48000.0},
                         Case{0.0016, 12000.0, 18.4, 44100.0}}) {
        const std::vector<double> taps = designKernel(c.length, c.freq, c.beta, c.rate);
        const int32_t n0 = static_cast<int32_t>(taps.size() / 2);
        const double h = c.rate * c.rate * c.length / c.freq / 8.0;
        const double w = 2.0 * std::numbers::pi * c.freq / c.rate;
        EXPECT_DOUBLE_EQ(taps[static_cast<size_t>(n0)], w / std::numbers::pi);
        const double i0b = std::cyl_bessel_i(0.0, c.beta);
        for (int32_t n = 1; n <= n0; ++n) {
            const double left = taps[static_cast<size_t>(n0 - n)];
            const double right = taps[static_cast<size_t>(n0 + n)];
            EXPECT_EQ(left, right) << n;
            const double t = n / h;
            const double expected = std::sin(w * n) / (std::numbers::pi * n) *
                                    std::cyl_bessel_i(0.0, c.beta * std::sqrt(1.0 - t * t)) / i0b;
            // The polynomial Bessel function and the sine recursion, against the library's.
            ASSERT_NEAR(right, expected, 1e-6 * w / std::numbers::pi) << n << " of " << n0;
        }
    }

    // A short buffer is refused, untouched.
    std::vector<double> small(440, 7.0);
    EXPECT_EQ(CAudioFilterFIRLPGen::design(0.01, 11025.0, 18.0, 44100.0, small.data(), 440), -1);
    EXPECT_EQ(small[0], 7.0);
}

TEST(CAudioFilterFIRLPGen, BetaClamps) {
    const auto at = [](double beta) { return designKernel(0.005, 9000.0, beta, 44100.0); };
    EXPECT_EQ(at(0.3), at(1.0));
    EXPECT_EQ(at(0.0), at(1.0));
    EXPECT_EQ(at(500.0), at(350.0));
    EXPECT_NE(at(1.0), at(2.0));
    EXPECT_NE(at(349.0), at(350.0));
}

TEST(CAudioFilterFIRLPGen, LowPassResponse) {
    // The upsampler's steep filter: 15 ms, 11025 Hz, beta 18 at 44100 Hz. A Kaiser window of
    // beta 18 has side lobes near -170 dB and a main lobe of half-width
    // (A - 8) / (2.285 * (N - 1)) = 0.108 rad (about 760 Hz) for N = 661 taps, so the transition
    // band runs from about 10640 to 11410 Hz.
    const double rate = 44100.0;
    const std::vector<double> taps = designKernel(0.015, 11025.0, 18.0, rate);
    ASSERT_EQ(taps.size(), 661u);
    double dc = 0.0;
    for (const double t : taps) dc += t;
    EXPECT_NEAR(dc, 1.0, 1e-6);
    // Half gain at the cut-off, as for any symmetric transition.
    EXPECT_NEAR(zeroPhaseResponse(taps, 11025.0, rate), 0.5, 1e-3);
    double passDev = 0.0;
    for (double f = 0.0; f <= 10000.0; f += 25.0) {
        passDev = std::max(passDev, std::fabs(zeroPhaseResponse(taps, f, rate) - 1.0));
    }
    EXPECT_LT(passDev, 1e-6);
    double stop = 0.0;
    for (double f = 12000.0; f <= rate / 2; f += 5.0) {
        stop = std::max(stop, std::fabs(zeroPhaseResponse(taps, f, rate)));
    }
    EXPECT_LT(20.0 * std::log10(stop), -120.0);

    // A soft window leaks: by Kaiser's rule beta 1 gives some 23 dB of stop band, beyond a
    // transition band of (23 - 8) / (2.285 * 660) = 0.010 rad, about 70 Hz.
    const std::vector<double> soft = designKernel(0.015, 11025.0, 1.0, rate);
    double softStop = 0.0;
    for (double f = 11100.0; f <= rate / 2; f += 1.0) {
        softStop = std::max(softStop, std::fabs(zeroPhaseResponse(soft, f, rate)));
    }
    EXPECT_GT(20.0 * std::log10(softStop), -30.0);
    EXPECT_LT(20.0 * std::log10(softStop), -18.0);
}

TEST(CFFTConvolver, MatchesDirectConvolutionWithBlockLag) {
    struct Case {
        int32_t log2Block;
        size_t taps;
        bool inPlace;
    };
    // Shorter than a block, one partition of exactly a block, many partitions, latency 0, and
    // the steep downsampler filter's length at its block size.
    for (const Case c : {Case{6, 37, false}, Case{5, 32, true}, Case{5, 300, false}, Case{0, 5, false},
                         Case{7, 1063, true}}) {
        const std::vector<double> h = randomSignal(c.taps, 11u + static_cast<unsigned>(c.taps));
        CFFTConvolverKernel kernel;
        ASSERT_TRUE(kernel.setup(h.data(), static_cast<int32_t>(h.size()), c.log2Block));
        const size_t block = size_t{1} << c.log2Block;
        EXPECT_EQ(kernel.partitionCount(), static_cast<int32_t>((c.taps + block - 1) / block));
        CFFTConvolverState state;
        ASSERT_TRUE(state.setup(kernel));
        EXPECT_EQ(state.latency(), static_cast<int32_t>(block));

        const size_t length = std::max<size_t>(50 * block, 4 * c.taps) + 17;
        const std::vector<double> x = randomSignal(length, 5u);
        const std::vector<double> y = convolveInChunks(state, kernel, x, 3u, c.inPlace);
        const std::vector<double> expected = directLagged(x, h, block);
        EXPECT_LT(maxAbsDiff(y, expected), 1e-12) << c.log2Block << " " << c.taps;

        // After reset the state behaves as new.
        state.reset();
        const std::vector<double> again = convolveInChunks(state, kernel, x, 4u, false);
        EXPECT_LT(maxAbsDiff(again, expected), 1e-12);
    }
}

TEST(CFFTConvolver, OneKernelServesTwoChannels) {
    const std::vector<double> h = designKernel(0.0016, 12000.0, 18.4, 44100.0);
    CFFTConvolverKernel kernel;
    ASSERT_TRUE(kernel.setup(h.data(), static_cast<int32_t>(h.size()), 5));
    CFFTConvolverState left;
    CFFTConvolverState right;
    ASSERT_TRUE(left.setup(kernel));
    ASSERT_TRUE(right.setup(kernel));
    const std::vector<double> xl = randomSignal(4000, 21u);
    std::vector<double> xr = randomSignal(4000, 22u);
    // Blocks of a host: both channels take turns over the same kernel, in uneven pieces.
    std::vector<double> yl(xl.size());
    std::vector<double> yr(xr.size());
    size_t done = 0;
    for (int32_t piece = 1; done < xl.size(); piece = piece % 97 + 13) {
        const size_t n = std::min(static_cast<size_t>(piece), xl.size() - done);
        left.process(kernel, xl.data() + done, yl.data() + done, static_cast<int32_t>(n));
        right.process(kernel, xr.data() + done, yr.data() + done, static_cast<int32_t>(n));
        done += n;
    }
    EXPECT_LT(maxAbsDiff(yl, directLagged(xl, h, 32)), 1e-12);
    EXPECT_LT(maxAbsDiff(yr, directLagged(xr, h, 32)), 1e-12);
    EXPECT_GT(maxAbsDiff(yl, yr), 0.1);
}

TEST(CFFTConvolver, EdgeCases) {
    CFFTConvolverKernel kernel;
    const double one = 1.0;
    EXPECT_FALSE(kernel.setup(&one, 1, -1));
    EXPECT_FALSE(kernel.setup(&one, 1, CFFTConvolverKernel::kMaxLog2Block + 1));
    EXPECT_FALSE(kernel.isReady());
    CFFTConvolverState state;
    EXPECT_FALSE(state.setup(kernel));

    // An empty kernel gives silence; a unit tap gives the input B samples later.
    ASSERT_TRUE(kernel.setup(nullptr, 0, 3));
    ASSERT_TRUE(state.setup(kernel));
    const std::vector<double> x = randomSignal(64, 9u);
    std::vector<double> y(64, 1.0);
    state.process(kernel, x.data(), y.data(), 64);
    for (const double v : y) EXPECT_EQ(v, 0.0);

    CFFTConvolverKernel unit;
    ASSERT_TRUE(unit.setup(&one, 1, 3));
    EXPECT_TRUE(state.fits(unit));
    state.reset();
    state.process(unit, x.data(), y.data(), 64);
    for (size_t i = 8; i < 64; ++i) EXPECT_NEAR(y[i], x[i - 8], 1e-15);

    // A kernel of another shape does not fit, and the state writes silence rather than reading
    // past its buffers.
    const std::vector<double> longer(20, 0.5);
    CFFTConvolverKernel other;
    ASSERT_TRUE(other.setup(longer.data(), 20, 3));
    EXPECT_FALSE(state.fits(other));
    state.process(other, x.data(), y.data(), 64);
    for (const double v : y) EXPECT_EQ(v, 0.0);
}
