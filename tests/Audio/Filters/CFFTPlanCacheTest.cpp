// The process-wide FFT plans: made once whoever asks first, and kernels set up on several
// threads at once (as plug-in instances do on their own audio threads) all convolve right.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

#include "Audio/Filters/CFFTConvolverKernel.h"
#include "Audio/Filters/CFFTConvolverState.h"
#include "Audio/Filters/CFFTPlanCache.h"

using namespace orl;

TEST(CFFTPlanCache, ConcurrentKernelSetupsShareOnePlanTable) {
    constexpr int kThreads = 6;
    std::vector<int> ok(kThreads, 0);
    std::vector<fftw_plan> seen(kThreads, nullptr);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &ok, &seen] {
            // Each thread its own kernel of other taps and block size: a unit tap at t + 1
            // delays by t + 1 samples on top of the block.
            const int32_t log2Block = 2 + t % 4;
            std::vector<double> taps(static_cast<size_t>(t + 2), 0.0);
            taps[static_cast<size_t>(t + 1)] = 1.0;
            CFFTConvolverKernel kernel;
            CFFTConvolverState state;
            if (!kernel.setup(taps.data(), static_cast<int32_t>(taps.size()), log2Block) || !state.setup(kernel)) return;
            seen[static_cast<size_t>(t)] = kernel.forwardPlan();
            std::vector<double> x(300), y(300);
            for (size_t i = 0; i < x.size(); ++i) x[i] = std::sin(0.1 * static_cast<double>(i * (t + 1)));
            state.process(kernel, x.data(), y.data(), 300);
            const size_t lag = (size_t{1} << log2Block) + static_cast<size_t>(t + 1);
            double worst = 0.0;
            for (size_t i = lag; i < y.size(); ++i) worst = std::max(worst, std::fabs(y[i] - x[i - lag]));
            ok[static_cast<size_t>(t)] = worst < 1e-14 ? 1 : 0;
        });
    }
    for (std::thread& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(ok[static_cast<size_t>(t)], 1) << t;
        // The kernel hands on the cache's plan of its size, not one of its own.
        EXPECT_EQ(seen[static_cast<size_t>(t)], CFFTPlanCache::forward(2 + t % 4)) << t;
    }
    EXPECT_TRUE(CFFTPlanCache::prepare());
    EXPECT_NE(CFFTPlanCache::inverse(CFFTPlanCache::kMaxLog2Block), nullptr);
    EXPECT_EQ(CFFTPlanCache::forward(-1), nullptr);
    EXPECT_EQ(CFFTPlanCache::inverse(CFFTPlanCache::kMaxLog2Block + 1), nullptr);
}
