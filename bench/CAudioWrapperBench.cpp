#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioWrapper.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/Processes/CSignalModules.h"
#include "bench/CBenchInstance.h"

using namespace orl;

namespace {

// The tests' instance tree, compiled into the same folder as the benchmark's own tree.
std::string shellTree() {
    const std::string benchTree(ORL_BENCH_TREE);
    return benchTree.substr(0, benchTree.find_last_of('/')) + "/ShellPlugin.xml.bin";
}

// The shell around the tests' graph (a gain and a 64-sample delay), stereo float, 48 kHz, in
// host blocks of the given size: the cost of the shell's road (conversion, slicing, change
// hand-over, the output node) with a small graph behind it, per second of audio.
void BM_ShellStereo48k(benchmark::State& state) {
    static const bool registered = CSignalModules::registerAll() &&
                                   CConverterRegistration::ensureCreatorsRegistered() &&
                                   CAudioParamRegistration::ensureCreatorsRegistered();
    if (!registered) {
        state.SkipWithError("class registration failed");
        return;
    }
    const std::string tree = shellTree();
    {
        bench::CBenchInstance instance(state, tree.c_str());
        if (!instance.ok()) return;
        instance.startStereo48k();
        CAudioWrapper& host = instance.host();

        const int32_t frames = static_cast<int32_t>(state.range(0));
        std::vector<float> left(static_cast<size_t>(frames)), right(static_cast<size_t>(frames));
        std::vector<float> outL(left.size()), outR(left.size());
        for (size_t i = 0; i < left.size(); ++i) {
            left[i] = static_cast<float>(0.5 * std::sin(0.01 * static_cast<double>(i)));
            right[i] = static_cast<float>(0.3 * std::cos(0.013 * static_cast<double>(i)));
        }
        const void* in[] = {left.data(), right.data()};
        void* out[] = {outL.data(), outR.data()};
        for (int i = 0; i < 50; ++i) host.process(in, out, frames);
        for (auto _ : state) {
            host.process(in, out, frames);
            benchmark::DoNotOptimize(outL[static_cast<size_t>(frames) - 1]);
        }
        // CPU time per second of audio: each iteration is frames / 48000 s of audio.
        state.counters["cpu_per_audio_s"] = benchmark::Counter(
            frames / 48000.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    }
}
BENCHMARK(BM_ShellStereo48k)->Arg(64)->Arg(512)->Arg(4096);

}  // namespace
