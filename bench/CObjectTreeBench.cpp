#include <benchmark/benchmark.h>

#include "Core/CError.h"
#include "Core/CObject.h"

using namespace orl;

namespace {

// Builds a tree of 100 containers with 99 children each (10,000 objects with the root's
// children), every object with five attributes of mixed types, the way the definition loader
// does: create, set attributes with handlers queued, run the life-cycle stages.
void buildTree(CObject* root) {
    static const CString tag("core:object");
    static const CString names[] = {CString("group"), CString("item")};
    static const CString keys[] = {CString("width"), CString("height"), CString("label"), CString("is-visible"),
                                   CString("gain")};
    static const CString values[] = {CString("120"), CString("48"), CString("Threshold"), CString("true"),
                                     CString("-6.5")};
    auto fill = [&](CObject* o) {
        for (int k = 0; k < 5; ++k) deleteError(o->setAttr(keys[k], values[k], false));
        deleteError(o->init());
        deleteError(o->initAttrHandlers());
    };
    for (int g = 0; g < 100; ++g) {
        CObject* group = nullptr;
        deleteError(root->addChild(group, tag, names[0], false));
        fill(group);
        for (int i = 0; i < 99; ++i) {
            CObject* item = nullptr;
            deleteError(group->addChild(item, tag, names[1], false));
            fill(item);
            deleteError(item->initChilds());
        }
        deleteError(group->initChilds());
    }
}

void BM_BuildTree10k(benchmark::State& state) {
    CObject* shared = CObject::newRoot();
    CObject::setSharedRoot(shared);
    for (auto _ : state) {
        CObject* root = CObject::newRoot();
        buildTree(root);
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        root->destroy();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * 10000);
    CObject::setSharedRoot(nullptr);
    shared->destroy();
}
BENCHMARK(BM_BuildTree10k)->Unit(benchmark::kMillisecond);

void BM_DestroyTree10k(benchmark::State& state) {
    CObject* shared = CObject::newRoot();
    CObject::setSharedRoot(shared);
    for (auto _ : state) {
        state.PauseTiming();
        CObject* root = CObject::newRoot();
        buildTree(root);
        state.ResumeTiming();
        root->destroy();
    }
    state.SetItemsProcessed(state.iterations() * 10000);
    CObject::setSharedRoot(nullptr);
    shared->destroy();
}
BENCHMARK(BM_DestroyTree10k)->Unit(benchmark::kMillisecond);

// Typed reads of cached attributes and path lookups in the built tree.
void BM_TreeReadsAndPaths(benchmark::State& state) {
    CObject* shared = CObject::newRoot();
    CObject::setSharedRoot(shared);
    CObject* root = CObject::newRoot();
    buildTree(root);
    const CString path("group#57.item#42");
    const CString gain("gain");
    for (auto _ : state) {
        CObject* o = root->findObject(path);
        benchmark::DoNotOptimize(o->getAttrDouble(gain));
    }
    root->destroy();
    CObject::setSharedRoot(nullptr);
    shared->destroy();
}
BENCHMARK(BM_TreeReadsAndPaths);

}  // namespace
