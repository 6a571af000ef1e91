#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "Core/CError.h"
#include "Core/CObject.h"
#include "Core/CResourceMap.h"

using namespace orl;

namespace {

// The compiled 10,000-object tree as a resource block: its byte count, then its bytes.
const std::vector<uint8_t>& benchBlock() {
    static const std::vector<uint8_t> block = [] {
        std::ifstream in(ORL_BENCH_TREE, std::ios::binary);
        std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const uint32_t size = static_cast<uint32_t>(bytes.size());
        std::vector<uint8_t> out = {static_cast<uint8_t>(size), static_cast<uint8_t>(size >> 8),
                                    static_cast<uint8_t>(size >> 16), static_cast<uint8_t>(size >> 24)};
        out.insert(out.end(), bytes.begin(), bytes.end());
        return out;
    }();
    return block;
}

void registerBenchTree() {
    static const bool registered = [] {
        static const CResourceRecord table[] = {{benchBlock().data(), "BenchTree.xml"}, {nullptr, nullptr}};
        CResourceMap::registerTable(table);
        return true;
    }();
    (void)registered;
}

// Start-up of an instance parses its definitions from the linked-in resource; this is that
// load for a tree of 10,000 objects, strings in place and templates unparsed.
void BM_LoadCompiledTree10k(benchmark::State& state) {
    registerBenchTree();
    int64_t objects = 0;
    for (auto _ : state) {
        CObject* root = CObject::newRoot();
        CError* err = root->loadXMLData("BenchTree.xml", true);
        if (err) {
            state.SkipWithError(err->text().narrowed().c8());
            deleteError(err);
            root->destroy();
            break;
        }
        objects = 0;
        for (int32_t b = 0; b < root->childCount(); ++b) {
            CObject* block = root->child(b);
            objects += 1 + block->childCount();
            for (int32_t r = 0; r < block->childCount(); ++r) objects += block->child(r)->childCount();
        }
        state.PauseTiming();
        root->destroy();
        state.ResumeTiming();
    }
    state.counters["objects"] = static_cast<double>(objects);
}
BENCHMARK(BM_LoadCompiledTree10k)->Unit(benchmark::kMillisecond);

}  // namespace
