#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioWrapper.h"
#include "bench/CBenchInstance.h"

using namespace orl;

namespace {

bool setParam(CAudioWrapper& host, const char* local, double value) {
    CAudioParam* p = host.collector()->getParam(CString("plugin.modMain.") + CString(local));
    return p && p->setValue(value, 0, nullptr, nullptr);
}

// One whole plug-in instance as a host runs it: the shared definitions from the resource table,
// the shell, the full graph with its default settings, stereo float at 48 kHz in host blocks of
// 512 frames. Arguments: the `oversampling` setting (1 = 1X ... 4 = 8X) and
// `lp-oversampling-enable` (0 minimum-phase, 1 linear-phase filters). The input is two sines
// loud enough for the compressor to work. Reported per second of audio on one core.
void BM_PluginInstance(benchmark::State& state) {
    {
        bench::CBenchInstance instance(state);
        if (!instance.ok()) return;
        CAudioWrapper& host = instance.host();
        if (!setParam(host, "oversampling", static_cast<double>(state.range(0))) ||
            !setParam(host, "lp-oversampling-enable", static_cast<double>(state.range(1)))) {
            state.SkipWithError("parameters not found");
        }
        instance.startStereo48k();

        constexpr int32_t kFrames = 512;
        // Two seconds of input, so that the compressor sees a moving level.
        const size_t n = 96000;
        std::vector<float> left(n), right(n), outL(kFrames), outR(kFrames);
        for (size_t i = 0; i < n; ++i) {
            const double t = static_cast<double>(i) / 48000.0;
            const double envelope = 0.6 + 0.4 * std::sin(2.0 * 3.14159265358979 * 1.5 * t);
            left[i] = static_cast<float>(0.5 * envelope * std::sin(2.0 * 3.14159265358979 * 220.0 * t));
            right[i] = static_cast<float>(0.4 * envelope * std::sin(2.0 * 3.14159265358979 * 330.0 * t + 0.3));
        }
        size_t at = 0;
        auto block = [&] {
            const void* in[] = {left.data() + at, right.data() + at};
            void* out[] = {outL.data(), outR.data()};
            host.process(in, out, kFrames);
            at += kFrames;
            if (at + kFrames > n) at = 0;
        };
        // Past the start-up glides and the reconnections that the settings bring.
        for (int i = 0; i < 200; ++i) block();
        for (auto _ : state) {
            block();
            benchmark::DoNotOptimize(outL[kFrames - 1]);
        }
        state.counters["cpu_per_audio_s"] = benchmark::Counter(
            kFrames / 48000.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
        state.counters["latency"] = static_cast<double>(host.getLatency());
        // The filter family is a stored setting of the machine: leave the default behind.
        (void)setParam(host, "lp-oversampling-enable", 1.0);
    }
}
BENCHMARK(BM_PluginInstance)
    ->ArgNames({"os", "lp"})
    ->ArgsProduct({{1, 2, 3, 4}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
