#include "Core/CPoolAllocator.h"
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <vector>

using orl::CPoolAllocator;

namespace {

// One allocation and its release, the steady state of a pool (the item comes straight back).
void BM_PoolAllocateRelease(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* p = CPoolAllocator::allocate(size);
        benchmark::DoNotOptimize(p);
        CPoolAllocator::release(p);
    }
}

void BM_MallocFree(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* p = std::malloc(size);
        benchmark::DoNotOptimize(p);
        std::free(p);
    }
}

// 1,000 allocations held at once, then all released: every item passes through the free list.
void BM_PoolBatch1000(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    std::vector<void*> blocks(1000);
    for (auto _ : state) {
        for (void*& p : blocks) p = CPoolAllocator::allocate(size);
        benchmark::ClobberMemory();
        for (void* p : blocks) CPoolAllocator::release(p);
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

void BM_MallocBatch1000(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    std::vector<void*> blocks(1000);
    for (auto _ : state) {
        for (void*& p : blocks) p = std::malloc(size);
        benchmark::ClobberMemory();
        for (void* p : blocks) std::free(p);
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

}  // namespace

BENCHMARK(BM_PoolAllocateRelease)->Arg(16)->Arg(64)->Arg(256)->Arg(1024);
BENCHMARK(BM_MallocFree)->Arg(16)->Arg(64)->Arg(256)->Arg(1024);
BENCHMARK(BM_PoolBatch1000)->Arg(16)->Arg(64)->Arg(256)->Arg(1024);
BENCHMARK(BM_MallocBatch1000)->Arg(16)->Arg(64)->Arg(256)->Arg(1024);
