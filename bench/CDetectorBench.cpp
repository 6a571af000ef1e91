#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "Audio/CAudioParamReader.h"
#include "bench/CBenchParam.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Processes/CModLevelerModule.h"
#include "Audio/Processes/CModRMSModule.h"

using namespace orl;

namespace {

constexpr int32_t kBlock = 512;
// A module used without a graph: inputs of `channels` magnitudes, parameters fixed.
template <class Module>
class CStandalone : public Module {
public:
    CStandalone(CSampleBufferPool& pool, std::vector<CAudioChannel>& inputs, std::vector<CBenchParam>& params) {
        const CAudioChannel* ptrs[CAudioModule::kMaxInputs];
        for (size_t i = 0; i < inputs.size(); ++i) ptrs[i] = &inputs[i];
        this->attach(nullptr, &pool);
        this->setInputs(ptrs, static_cast<int32_t>(inputs.size()), 0, 0);
        for (size_t i = 0; i < params.size(); ++i) this->m_params[i] = &params[i];
        this->m_sampleRate = 48000.0;
        this->m_sampleCount = kBlock;
        this->connectPorts();
        this->update();
    }
    void run() {
        Module::process();
        for (int32_t o = 0; o < this->outputCount(); ++o) {
            auto& out = this->outputEntry(o);
            benchmark::DoNotOptimize(out.buffer->data()[kBlock - 1]);
            CSampleBufferPool::release(out.buffer);
            out.buffer = nullptr;
        }
    }
};

std::vector<CAudioChannel> magnitudes(CSampleBufferPool& pool, int32_t channels) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> level(0.0, 1.0);
    std::vector<CAudioChannel> inputs(channels);
    for (int32_t c = 0; c < channels; ++c) {
        inputs[c].index = c;
        inputs[c].buffer = pool.acquire(kBlock);
        for (int32_t i = 0; i < kBlock; ++i) inputs[c].buffer->data()[i] = level(random);
    }
    return inputs;
}

// The leveler over a group of `channels`, at full linking (one output) or at 60 % (one each).
void BM_Leveler(benchmark::State& state) {
    const int32_t channels = static_cast<int32_t>(state.range(0));
    const double linking = state.range(1) / 100.0;
    CSampleBufferPool pool;
    auto inputs = magnitudes(pool, channels);
    std::vector<CBenchParam> params{CBenchParam(0), CBenchParam(0), CBenchParam(linking), CBenchParam(0),
                                    CBenchParam(0)};
    CStandalone<CModLevelerModule> leveler(pool, inputs, params);
    for (auto _ : state) leveler.run();
    state.SetItemsProcessed(state.iterations() * channels * kBlock);  // input samples per second
    for (auto& in : inputs) CSampleBufferPool::release(in.buffer);
}
BENCHMARK(BM_Leveler)->Args({2, 100})->Args({2, 60})->Args({8, 100})->Args({8, 60});

void BM_RMS(benchmark::State& state) {
    CSampleBufferPool pool;
    auto inputs = magnitudes(pool, 1);
    std::vector<CBenchParam> params{CBenchParam(4000.0), CBenchParam(static_cast<double>(state.range(0)))};
    CStandalone<CModRMSModule> rms(pool, inputs, params);
    for (auto _ : state) rms.run();
    state.SetItemsProcessed(state.iterations() * kBlock);
    CSampleBufferPool::release(inputs[0].buffer);
}
BENCHMARK(BM_RMS)->Arg(0)->Arg(1);

}  // namespace
