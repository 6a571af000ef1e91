#include "Audio/Filters/CFFTPlanCache.h"

#include <atomic>
#include <mutex>

namespace orl {

namespace {

struct CPlanTable {
    fftw_plan forward[CFFTPlanCache::kMaxLog2Block + 1] = {};
    fftw_plan inverse[CFFTPlanCache::kMaxLog2Block + 1] = {};
    std::atomic<bool> ready{false};
};

CPlanTable g_table;
std::once_flag g_once;

void makePlans() {
    const int32_t largest = 2 << CFFTPlanCache::kMaxLog2Block;
    // One pair of arrays of the largest size serves every plan: they come from fftw_malloc, so
    // each plan expects the alignment that all the convolution's buffers have.
    double* time = static_cast<double*>(fftw_malloc(sizeof(double) * static_cast<size_t>(largest)));
    fftw_complex* bins =
        static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * static_cast<size_t>(largest / 2 + 1)));
    if (time == nullptr || bins == nullptr) {
        if (time != nullptr) fftw_free(time);
        if (bins != nullptr) fftw_free(bins);
        return;
    }
    bool all = true;
    for (int32_t k = 0; k <= CFFTPlanCache::kMaxLog2Block; ++k) {
        const int32_t size = 2 << k;
        // Estimated plans leave the arrays alone and take no measurable time; measuring would
        // make start-up slow for a gain that blocks of these sizes do not need. The inverse may
        // destroy its input: the convolution rebuilds it for every block.
        g_table.forward[k] = fftw_plan_dft_r2c_1d(size, time, bins, FFTW_ESTIMATE);
        g_table.inverse[k] = fftw_plan_dft_c2r_1d(size, bins, time, FFTW_ESTIMATE | FFTW_DESTROY_INPUT);
        if (g_table.forward[k] == nullptr || g_table.inverse[k] == nullptr) all = false;
    }
    // The plans do not keep the arrays: they are only ever run with the new-array calls.
    fftw_free(time);
    fftw_free(bins);
    g_table.ready.store(all, std::memory_order_release);
}

}  // namespace

bool CFFTPlanCache::prepare() {
    std::call_once(g_once, makePlans);
    return isPrepared();
}

bool CFFTPlanCache::isPrepared() { return g_table.ready.load(std::memory_order_acquire); }

fftw_plan CFFTPlanCache::forward(int32_t log2Block) {
    if (log2Block < 0 || log2Block > kMaxLog2Block || !isPrepared()) return nullptr;
    return g_table.forward[log2Block];
}

fftw_plan CFFTPlanCache::inverse(int32_t log2Block) {
    if (log2Block < 0 || log2Block > kMaxLog2Block || !isPrepared()) return nullptr;
    return g_table.inverse[log2Block];
}

}  // namespace orl
