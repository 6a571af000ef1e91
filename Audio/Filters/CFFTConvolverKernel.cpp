#include "Audio/Filters/CFFTConvolverKernel.h"

#include <cstring>

namespace orl {

CFFTConvolverKernel::~CFFTConvolverKernel() { release(); }

void CFFTConvolverKernel::release() {
    // The plans belong to the cache.
    if (m_transforms != nullptr) fftw_free(m_transforms);
    m_transforms = nullptr;
    m_forward = nullptr;
    m_inverse = nullptr;
    m_blockSize = 0;
    m_partitions = 0;
    m_tapCount = 0;
    m_stride = 0;
}

bool CFFTConvolverKernel::setup(const double* taps, int32_t tapCount, int32_t log2Block) {
    release();
    if (log2Block < 0 || log2Block > kMaxLog2Block || tapCount < 0 || (tapCount > 0 && taps == nullptr)) {
        return false;
    }
    const int32_t block = int32_t{1} << log2Block;
    const int32_t size = 2 * block;
    // At least one partition, so that an empty kernel runs like any other and gives silence.
    const int32_t partitions = tapCount == 0 ? 1 : (tapCount + block - 1) / block;
    const int32_t stride = strideFor(block);

    // Normally prepared while the library loaded; then this only looks up a flag.
    if (!CFFTPlanCache::prepare()) return false;
    fftw_plan forward = CFFTPlanCache::forward(log2Block);
    fftw_plan inverse = CFFTPlanCache::inverse(log2Block);
    if (forward == nullptr || inverse == nullptr) return false;

    // fftw_malloc gives both arrays the alignment the cached plans were made for, and the
    // stride keeps every partition on it.
    double* time = static_cast<double*>(fftw_malloc(sizeof(double) * static_cast<size_t>(size)));
    fftw_complex* transforms =
        static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * static_cast<size_t>(stride) * partitions));
    if (time == nullptr || transforms == nullptr) {
        if (time != nullptr) fftw_free(time);
        if (transforms != nullptr) fftw_free(transforms);
        return false;
    }
    std::memset(transforms, 0, sizeof(fftw_complex) * static_cast<size_t>(stride) * partitions);

    const double scale = 1.0 / static_cast<double>(size);
    for (int32_t p = 0; p < partitions; ++p) {
        const int32_t first = p * block;
        const int32_t count = tapCount - first < block ? tapCount - first : block;
        for (int32_t i = 0; i < size; ++i) time[i] = i < count ? taps[first + i] * scale : 0.0;
        fftw_execute_dft_r2c(forward, time, transforms + static_cast<int64_t>(p) * stride);
    }
    fftw_free(time);

    m_transforms = transforms;
    m_forward = forward;
    m_inverse = inverse;
    m_blockSize = block;
    m_partitions = partitions;
    m_tapCount = tapCount;
    m_stride = stride;
    return true;
}

}  // namespace orl
