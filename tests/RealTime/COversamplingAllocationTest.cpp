#include <gtest/gtest.h>

#include <vector>

#include "tests/RealTime/CAllocationCounter.h"
#include "tests/Support/CGraphTest.h"
#include "tests/Support/CTestSignals.h"

using namespace orl;
using namespace orl::test;

namespace {
class COversamplingAllocation : public CGraphTest {};
}  // namespace

// Stereo up -> down at 8x in each filter family: once the stages are built and the FIR kernels
// transformed, blocks run without touching the general heap.
TEST_F(COversamplingAllocation, WarmChainsRunWithoutHeapAllocation) {
    collector().declare("main.up.mode", 1, "4", true, "0 4");
    collector().declare("main.down.mode", 1, "4", true, "0 4");
    collector().declare("plugin.modMain.lp-oversampling-enable", 1, "0", true, "0 1");
    const auto resampler = [](const char* name, const char* up) {
        return CDefNode{"audio:modResampler",
                        name,
                        {{"is-upsampler", up}},
                        {{"audio:param-alloc", "mode", {{"param-name", "mode"}, {"index", "0"}}, {}}}};
    };
    CTestGraphRunner& g =
        start({"audio:process-def", "main", {{"is-auto-links", "true"}}, {resampler("up", "true"), resampler("down", "false")}});
    const std::vector<double> a = uniformNoise(512, 1), b = uniformNoise(512, 2);
    const double* inputs[2] = {a.data(), b.data()};
    const int32_t groups[2] = {0, 0};
    for (const double linear : {0.0, 1.0}) {
        collector().set("plugin.modMain.lp-oversampling-enable", linear);
        for (int i = 0; i < 50; ++i) {
            g.runInPlace(inputs, groups, 2, 512, 48000.0);
            g.m_root->releaseOutputs();
        }
        CAllocationCounter::start();
        for (int i = 0; i < 500; ++i) {
            g.runInPlace(inputs, groups, 2, 512, 48000.0);
            g.m_root->releaseOutputs();
        }
        EXPECT_EQ(CAllocationCounter::stop(), 0) << linear;
    }
}
