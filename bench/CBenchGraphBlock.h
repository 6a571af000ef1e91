#pragma once
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "Audio/CAudioProcessBase.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Kernels/CDSPKernels.h"

namespace orl {

// One stereo block through a graph root as the shell feeds it: the same input on both channels
// at 48 kHz, the output read and released.
inline void runBenchStereoBlock(CAudioProcessBase* root, CSampleBufferPool& pool, const std::vector<double>& input) {
    const int32_t count = static_cast<int32_t>(input.size());
    for (int32_t c = 0; c < 2; ++c) {
        CAudioChannel ch;
        ch.index = c;
        ch.sampleRate = 48000.0;
        ch.buffer = pool.acquire(count);
        CDSPKernels::get().copy(ch.buffer->data(), input.data(), count);
        root->deliver(0, ch, count);
    }
    root->process();
    benchmark::DoNotOptimize(root->output(0).buffer->data()[root->outputSampleCount() - 1]);
    root->releaseOutputs();
}

}  // namespace orl
