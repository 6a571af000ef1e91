#include <benchmark/benchmark.h>

#include <vector>

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioProcessBase.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/Kernels/CDSPKernels.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "bench/CBenchGraphBlock.h"

using namespace orl;

namespace {

CObject* addNode(CObject* parent, const char* tag, const char* name,
                 std::initializer_list<std::pair<const char*, const char*>> attrs) {
    CObject* o = nullptr;
    deleteError(parent->addChild(o, CString(tag), CString(name), false));
    for (auto& [k, v] : attrs) deleteError(o->setAttr(CString(k), CString(v), false));
    deleteError(o->init());
    deleteError(o->initAttrHandlers());
    return o;
}

void declare(CObject* decls, CAudioParamCollector* collector, const char* local, const char* full, const char* value) {
    CAttrMap map;
    map[CString("converter")].setText(CString("real"));
    map[CString("min-values")].setText(CString("-10"));
    map[CString("max-values")].setText(CString("10"));
    map[CString("def-values")].setText(CString(value));
    map[CString("is-single-group")].setText(CString("true"));
    CAudioParamDef* def = nullptr;
    deleteError(decls->createChild(def, CString("audio:param"), CString(local), false, &map));
    CAudioParam* p = collector->getParam(CString(full));
    if (def && p) collector->allocateParam(*p, def->info());
}

// A stereo up -> down round trip through the plug-in's stage definitions at 2x, 4x or 8x, in
// 512-sample blocks at 48 kHz: the cost of oversampling alone, per second of audio.
void runRoundTrip(benchmark::State& state, const char* mode, const char* linearPhase) {
    CSignalModules::registerAll();
    CConverterRegistration::ensureCreatorsRegistered();
    CAudioParamRegistration::ensureCreatorsRegistered();
    CObject* shared = CObject::newRoot();
    CObject::setSharedRoot(shared);
    deleteError(shared->loadXMLData(CString("SharedData.xml"), true));

    CObject* instance = CObject::newRoot();
    CObject* decls = CObject::newRoot();
    CAudioEnv* env = nullptr;
    deleteError(instance->createChild(env, CString("audio:env"), CString("audio-env")));
    CAttrMap attrs;
    attrs[CString("env")].setText(CString("^audio-env"));
    CAudioParamCollector* collector = nullptr;
    deleteError(instance->createChild(collector, CString("audio:param-collector"), CString("param-collector"), false,
                                      nullptr, &attrs));
    declare(decls, collector, "mode", "main.up.mode", mode);
    declare(decls, collector, "mode2", "main.down.mode", mode);
    declare(decls, collector, "lp", "plugin.modMain.lp-oversampling-enable", linearPhase);

    CObject* defs = CObject::newRoot();
    CObject* main = addNode(defs, "audio:process-def", "main", {{"is-auto-links", "true"}});
    for (const auto& [name, up] : {std::pair{"up", "true"}, std::pair{"down", "false"}}) {
        CObject* r = addNode(main, "audio:modResampler", name, {{"is-upsampler", up}});
        deleteError(addNode(r, "audio:param-alloc", "mode", {{"param-name", "mode"}, {"index", "0"}})->initChilds());
        deleteError(r->initChilds());
    }
    deleteError(main->initChilds());

    CSampleBufferPool pool;
    CAudioProcessBase* root = nullptr;
    deleteError(makeProcess(root, dynamic_cast<CAudioProcessDefBase*>(main), false, nullptr, &pool, collector,
                            CString("main"), 0, 0));
    root->setExternalSources(1);

    constexpr int32_t kBlock = 512;
    std::vector<double> input(kBlock);
    for (int32_t i = 0; i < kBlock; ++i) input[i] = 0.5 * ((i * 7919) % 1000) / 1000.0 - 0.25;
    auto block = [&] { runBenchStereoBlock(root, pool, input); };
    for (int i = 0; i < 50; ++i) block();
    for (auto _ : state) block();
    state.counters["cpu_per_audio_s"] = benchmark::Counter(
        kBlock / 48000.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    root->release();
    delete root;
    defs->destroy();
    instance->destroy();
    decls->destroy();
    CObject::setSharedRoot(nullptr);
    shared->destroy();
}

void BM_Oversampling2xMinimumPhase(benchmark::State& s) { runRoundTrip(s, "2", "0"); }
void BM_Oversampling4xMinimumPhase(benchmark::State& s) { runRoundTrip(s, "3", "0"); }
void BM_Oversampling8xMinimumPhase(benchmark::State& s) { runRoundTrip(s, "4", "0"); }
void BM_Oversampling2xLinearPhase(benchmark::State& s) { runRoundTrip(s, "2", "1"); }
void BM_Oversampling4xLinearPhase(benchmark::State& s) { runRoundTrip(s, "3", "1"); }
void BM_Oversampling8xLinearPhase(benchmark::State& s) { runRoundTrip(s, "4", "1"); }
BENCHMARK(BM_Oversampling2xMinimumPhase);
BENCHMARK(BM_Oversampling4xMinimumPhase);
BENCHMARK(BM_Oversampling8xMinimumPhase);
BENCHMARK(BM_Oversampling2xLinearPhase);
BENCHMARK(BM_Oversampling4xLinearPhase);
BENCHMARK(BM_Oversampling8xLinearPhase);

}  // namespace
