#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "Audio/Filters/CFFTConvolverKernel.h"
#include "Audio/Filters/CFFTConvolverState.h"
#include "Audio/Processes/CModFilterFIRDef.h"
#include "tests/RealTime/CAllocationCounter.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestText.h"

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

namespace {
class CFIRModuleRealTime : public CGraphTest {};
}  // namespace

// The FIR module in a graph, both channels through one module and one kernel, at the steep
// upsampler setting and twice 48 kHz: after warm-up, thousands of blocks of host sizes that are
// no multiple of the partition block allocate nothing.
TEST_F(CFIRModuleRealTime, WarmFilterGraphAllocatesNothing) {
    ASSERT_TRUE(CModFilterFIRDef::ensureCreatorsRegistered());
    ASSERT_EQ(message(m_shared->loadXMLData(CString("SharedData.xml"), true)), "");
    const char* names[] = {"count", "index", "latency", "fixsr", "length", "freq", "beta"};
    const double values[] = {1.0, 0.0, 6.0, 1.0, 0.015, 11025.0, 18.0};
    std::vector<CDefNode> allocs;
    for (int i = 0; i < 7; ++i) {
        host().add(std::string("main.flt.") + names[i], 8, 2, values[i]);
        allocs.push_back({"audio:param-alloc", names[i], {{"param-name", names[i]}, {"index", std::to_string(i)}}, {}});
    }
    CTestGraphRunner& g = start({"audio:process-def",
                                 "main",
                                 {{"is-auto-links", "true"}},
                                 {CDefNode{"audio:modFilterFIR",
                                           "flt",
                                           {{"gen-array", "shared::audio.fltarray.firlp"},
                                            {"is-terminal-whole", "true"},
                                            {"is-smooth-update", "true"}},
                                           std::move(allocs)}}});
    std::mt19937 gen(2u);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<double> left(1024), right(1024);
    for (size_t i = 0; i < left.size(); ++i) {
        left[i] = dist(gen);
        right[i] = dist(gen);
    }
    const double* inputs[] = {left.data(), right.data()};
    const int32_t groups[] = {0, 0};
    const int32_t sizes[] = {1024, 200, 997, 64, 513};
    auto block = [&](int32_t i) {
        g.runInPlace(inputs, groups, 2, sizes[i % 5], 96000.0);
        g.m_root->releaseOutputs();
    };
    for (int32_t i = 0; i < 50; ++i) block(i);
    CAllocationCounter::start();
    for (int32_t i = 0; i < 5000; ++i) block(i);
    EXPECT_EQ(CAllocationCounter::stop(), 0);
    // It did filter: the kernel's latency is on the outputs, and the samples are not the input.
    const auto out = g.run({left, right}, {0, 0}, 1024, 96000.0);
    EXPECT_EQ(g.outputLatencies().at(1), 64 + 330);
    EXPECT_NE(out.at(0), left);
}
