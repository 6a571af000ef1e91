#include <benchmark/benchmark.h>

#include <vector>

#include "Audio/CAudioModule.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Kernels/CDSPKernels.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "bench/CBenchGraphBlock.h"

using namespace orl;

namespace {

// Hands its input on with one more reference: the cost of a node that changes nothing.
class CBenchPassModule : public CAudioModule {
public:
    void process() {
        for (int32_t o = 0; o < m_outputCount; ++o) passInput(o, o);
    }
};

// out = in * 0.999, through the kernel table.
class CBenchGainModule : public CAudioModule {
public:
    void process() {
        for (int32_t o = 0; o < m_outputCount; ++o) {
            double* out = outputData(o);
            CDSPKernels::get().copy(out, inputData(o), m_sampleCount);
            CDSPKernels::get().scale(out, 0.999, m_sampleCount);
        }
    }
};

template <class Module>
class CBenchDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override { return new CAudioProcessTerminal<Module>(); }
};

const CCreatorRow kBenchModules[] = {
    {"bench:pass", &createObjectOf<CBenchDef<CBenchPassModule>>, &CObject::fillDescriptors},
    {"bench:gain", &createObjectOf<CBenchDef<CBenchGainModule>>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

CObject* addNode(CObject* parent, const char* tag, const CString& name,
                 std::initializer_list<std::pair<const char*, const char*>> attrs) {
    CObject* o = nullptr;
    deleteError(parent->addChild(o, CString(tag), name, false));
    for (auto& [k, v] : attrs) deleteError(o->setAttr(CString(k), CString(v), false));
    deleteError(o->init());
    deleteError(o->initAttrHandlers());
    return o;
}

// A chain of 20 terminals of one kind with automatic links, stereo, 512-sample blocks; the
// figure is the cost per second of 48 kHz audio.
void runChain(benchmark::State& state, const char* tag) {
    static const bool registered = registerCreatorTable(kBenchModules);
    (void)registered;
    CObject* shared = CObject::newRoot();
    CObject::setSharedRoot(shared);
    CObject* defs = CObject::newRoot();
    CObject* main = addNode(defs, "audio:process-def", CString("main"), {{"is-auto-links", "true"}});
    for (int i = 0; i < 20; ++i) deleteError(addNode(main, tag, CString::format("n%02d", i), {})->initChilds());
    deleteError(main->initChilds());

    CSampleBufferPool pool;
    auto* def = dynamic_cast<CAudioProcessDefBase*>(main);
    CAudioProcessBase* root = createProcessFromDef(def, false);
    root->setContext(nullptr, &pool, nullptr);
    root->setIdentity(CString("main"), def, 0, 0);
    deleteError(root->init());
    root->setExternalSources(1);

    constexpr int32_t kBlock = 512;
    std::vector<double> input(kBlock, 0.5);
    auto block = [&] { runBenchStereoBlock(root, pool, input); };
    for (int i = 0; i < 10; ++i) block();
    for (auto _ : state) block();
    // CPU time per second of audio: each iteration is 512 / 48000 s of audio.
    state.counters["cpu_per_audio_s"] = benchmark::Counter(
        kBlock / 48000.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    root->release();
    delete root;
    defs->destroy();
    CObject::setSharedRoot(nullptr);
    shared->destroy();
}

void BM_Graph20PassThrough(benchmark::State& state) { runChain(state, "bench:pass"); }
void BM_Graph20Gain(benchmark::State& state) { runChain(state, "bench:gain"); }
BENCHMARK(BM_Graph20PassThrough);
BENCHMARK(BM_Graph20Gain);

}  // namespace
