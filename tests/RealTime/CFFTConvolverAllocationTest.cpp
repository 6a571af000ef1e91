#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "Audio/Filters/CFFTConvolverKernel.h"
#include "Audio/Filters/CFFTConvolverState.h"
#include "tests/RealTime/CAllocationCounter.h"

using namespace orl;
using namespace orl::test;

// The convolution's audio-thread call: FFTW's new-array execution on buffers made at setup, no
// allocation at any block size or piece size.
TEST(CFFTConvolverRealTime, ProcessAllocatesNothing) {
    std::mt19937 gen(1u);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<double> taps(1063);
    for (double& t : taps) t = dist(gen);
    std::vector<double> x(4096);
    for (double& v : x) v = dist(gen);
    std::vector<double> y(x.size());

    for (const int32_t log2Block : {0, 5, 7, 10}) {
        CFFTConvolverKernel kernel;
        ASSERT_TRUE(kernel.setup(taps.data(), static_cast<int32_t>(taps.size()), log2Block));
        CFFTConvolverState a;
        CFFTConvolverState b;
        ASSERT_TRUE(a.setup(kernel));
        ASSERT_TRUE(b.setup(kernel));
        CAllocationCounter::start();
        for (int32_t round = 0; round < 4; ++round) {
            for (size_t done = 0, piece = 1; done < x.size(); done += piece, piece = piece * 3 % 1000 + 1) {
                const int32_t n = static_cast<int32_t>(std::min(piece, x.size() - done));
                a.process(kernel, x.data() + done, y.data() + done, n);
                b.process(kernel, y.data() + done, y.data() + done, n);
            }
            a.reset();
        }
        EXPECT_EQ(CAllocationCounter::stop(), 0) << log2Block;
    }
}
