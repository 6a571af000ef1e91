#pragma once
#include <fftw3.h>

#include <cstdint>

#include "Audio/Filters/CFFTPlanCache.h"

namespace orl {

// The transformed kernel of a uniformly partitioned FFT convolution: the taps cut into
// partitions of the block size B = 2^log2Block, each zero-padded to 2B and transformed, with the
// 1/(2B) of the inverse transform folded in. It hands on the two FFTW plans (real forward and
// inverse of size 2B) that the channel states execute with the new-array calls; the plans come
// from CFFTPlanCache, so a kernel never plans and never destroys a plan. One kernel serves any
// number of CFFTConvolverState objects, which hold only per-channel data.
//
// setup and the destructor run on the control path only: both allocate. Nothing here is
// touched by process but for reading.
class CFFTConvolverKernel {
public:
    static constexpr int32_t kMaxLog2Block = CFFTPlanCache::kMaxLog2Block;

    CFFTConvolverKernel() = default;
    ~CFFTConvolverKernel();
    CFFTConvolverKernel(const CFFTConvolverKernel&) = delete;
    CFFTConvolverKernel& operator=(const CFFTConvolverKernel&) = delete;

    // Transforms `tapCount` taps for blocks of 2^log2Block samples. An empty kernel (no taps)
    // is valid and gives silence. False, leaving the kernel empty and not ready, when log2Block
    // is out of 0 to kMaxLog2Block, the count is negative, memory runs out or the plan cache
    // could not be prepared (setup prepares it when nobody did before).
    bool setup(const double* taps, int32_t tapCount, int32_t log2Block);
    void release();

    bool isReady() const { return m_forward != nullptr; }
    int32_t blockSize() const { return m_blockSize; }
    int32_t partitionCount() const { return m_partitions; }
    int32_t tapCount() const { return m_tapCount; }
    // Complex values from one partition to the next: B + 1 rounded up to keep every partition
    // on the alignment of the first, which the new-array calls require.
    int32_t binStride() const { return m_stride; }
    const fftw_complex* partition(int32_t p) const { return m_transforms + static_cast<int64_t>(p) * m_stride; }
    fftw_plan forwardPlan() const { return m_forward; }
    fftw_plan inversePlan() const { return m_inverse; }

    // The stride for a block size.
    static int32_t strideFor(int32_t blockSize) { return (blockSize + 1 + 3) & ~3; }

private:
    fftw_complex* m_transforms = nullptr;
    fftw_plan m_forward = nullptr;
    fftw_plan m_inverse = nullptr;
    int32_t m_blockSize = 0;
    int32_t m_partitions = 0;
    int32_t m_tapCount = 0;
    int32_t m_stride = 0;
};

}  // namespace orl
