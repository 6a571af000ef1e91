#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <deque>
#include <random>
#include <vector>

#include "Audio/CAudioParamReader.h"
#include "bench/CBenchParam.h"
#include "Audio/Processes/CModPolyComp2Module.h"
#include "Audio/Processes/CPolyCompKernels.h"

using namespace orl;

namespace {

constexpr double kRate = 48000.0;
constexpr int32_t kBlock = 512;
// The gain computer with typical settings: attack 10 ms, inertia 50 % (15 stages), threshold
// -20 dB, 2:1, knee 6 dB, auto gain on, "Fast" attack and "Norm" release.
class CBenchPolyComp : public CModPolyComp2Module {
public:
    explicit CBenchPolyComp(TRunFn run, double attack = 0.010, double inertia = 0.5) {
        const double values[kParamCount] = {attack, inertia, -20.0, 0.5, 6.0, 1.0, 1.0, 1.0, 1.0, 1.0, 0.0};
        for (int32_t i = 0; i < kParamCount; ++i) {
            m_values.emplace_back(values[i]);
            m_params[i] = &m_values.back();
        }
        m_sampleRate = kRate;
        setRoutine(run);
        update();
    }

private:
    std::deque<CBenchParam> m_values;
};

// Ten seconds of a detector-like level: steps of 200 ms around -20 dB, spread over +-13 dB, with
// ripple on them; about half of it above the threshold.
std::vector<double> levelSignal(uint32_t seed) {
    std::mt19937 rng(seed);
    std::normal_distribution<double> normal(0.0, 1.0);
    std::vector<double> v(static_cast<size_t>(10 * kRate));
    double level = 0.1;
    for (size_t i = 0; i < v.size(); ++i) {
        if (i % 9600 == 0) level = 0.1 * std::exp(1.5 * normal(rng));
        v[i] = level * (1.0 + 0.3 * std::fabs(normal(rng)));
    }
    return v;
}

// Two modules (a stereo pair), blocks of 512; the figure is CPU time per second of 48 kHz audio.
void runStereo(benchmark::State& state, const CPolyCompKernels* kernels, bool fast, double attack = 0.010,
               double inertia = 0.5) {
    if (!kernels) {
        state.SkipWithError("no AVX2 and FMA on this processor");
        return;
    }
    const CModPolyComp2Module::TRunFn run = fast ? kernels->runFast : kernels->runDirect;
    CBenchPolyComp left(run, attack, inertia), right(run, attack, inertia);
    state.counters["stages"] = left.state().stageCount;
    const std::vector<double> inLeft = levelSignal(1), inRight = levelSignal(2);
    std::vector<double> out(kBlock);
    size_t pos = 0;
    for (auto _ : state) {
        left.runBlock(inLeft.data() + pos, out.data(), kBlock);
        benchmark::DoNotOptimize(out.data());
        right.runBlock(inRight.data() + pos, out.data(), kBlock);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        pos += kBlock;
        if (pos + kBlock > inLeft.size()) pos = 0;
    }
    state.counters["cpu_per_audio_s"] =
        benchmark::Counter(kBlock / kRate, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetItemsProcessed(state.iterations() * 2 * kBlock);  // samples per second per core
}

void BM_PolyCompStereoDirectPlain(benchmark::State& s) { runStereo(s, &CPolyCompKernels::plain(), false); }
void BM_PolyCompStereoFastPlain(benchmark::State& s) { runStereo(s, &CPolyCompKernels::plain(), true); }
void BM_PolyCompStereoDirectAvx2(benchmark::State& s) { runStereo(s, CPolyCompKernels::avx2(), false); }
void BM_PolyCompStereoFastAvx2(benchmark::State& s) { runStereo(s, CPolyCompKernels::avx2(), true); }
// The build chosen at start (ORL_FORCE_PLAIN=1 picks the plain one) and the form the module uses.
void BM_PolyCompStereoChosen(benchmark::State& s) { runStereo(s, &CPolyCompKernels::get(), true); }
BENCHMARK(BM_PolyCompStereoDirectPlain);
BENCHMARK(BM_PolyCompStereoFastPlain);
BENCHMARK(BM_PolyCompStereoDirectAvx2);
BENCHMARK(BM_PolyCompStereoFastAvx2);
BENCHMARK(BM_PolyCompStereoChosen);

// The worked tables: 20 ms at 50 % inertia has 14 stages, 5 ms at 100 % has 28.
void BM_PolyCompN14Plain(benchmark::State& s) { runStereo(s, &CPolyCompKernels::plain(), true, 0.020, 0.5); }
void BM_PolyCompN14Avx2(benchmark::State& s) { runStereo(s, CPolyCompKernels::avx2(), true, 0.020, 0.5); }
void BM_PolyCompN28Plain(benchmark::State& s) { runStereo(s, &CPolyCompKernels::plain(), true, 0.005, 1.0); }
void BM_PolyCompN28Avx2(benchmark::State& s) { runStereo(s, CPolyCompKernels::avx2(), true, 0.005, 1.0); }
BENCHMARK(BM_PolyCompN14Plain);
BENCHMARK(BM_PolyCompN14Avx2);
BENCHMARK(BM_PolyCompN28Plain);
BENCHMARK(BM_PolyCompN28Avx2);

}  // namespace
