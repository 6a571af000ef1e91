#pragma once
#include <fftw3.h>

#include <cstdint>

namespace orl {

// The FFTW plans of the partitioned convolution, made once for the whole process: a real
// forward and a real inverse transform of every size 2 * 2^k, k = 0 to kMaxLog2Block.
//
// FFTW's planner keeps global state and is not thread-safe, while several plug-in instances
// may set up kernels on different audio threads at the same time. So nothing plans after
// prepare(): the plans are made there, once, under std::call_once, and afterwards only read.
// Executing a plan (the new-array calls) is thread-safe in FFTW.
//
// The plans were made out of place on fftw_malloc arrays, the inverse with FFTW_DESTROY_INPUT.
// A caller's arrays must therefore be out of place too, of the plan's size, contiguous, and
// have the alignment of fftw_malloc (fftw_alignment_of 0), as FFTW's new-array execution
// requires. The plans live until the process ends and are never destroyed.
class CFFTPlanCache {
public:
    static constexpr int32_t kMaxLog2Block = 16;

    // Makes every plan the first time; later calls only wait for the first to finish. True
    // when all plans exist. To be called while the library loads, before any audio thread
    // runs, so that the planning never lands in an audio callback.
    static bool prepare();
    static bool isPrepared();

    // The plans for blocks of 2^log2Block samples (transforms of twice that size); null when
    // log2Block is out of range or prepare() has not succeeded. They never plan.
    static fftw_plan forward(int32_t log2Block);
    static fftw_plan inverse(int32_t log2Block);
};

}  // namespace orl
