#include "Audio/Filters/CFFTConvolverState.h"

#include <cstring>

#include "Audio/Filters/CFFTConvolverKernel.h"
#include "Audio/Filters/CFilterKernels.h"

namespace orl {

CFFTConvolverState::~CFFTConvolverState() { release(); }

void CFFTConvolverState::release() {
    if (m_time != nullptr) fftw_free(m_time);
    if (m_result != nullptr) fftw_free(m_result);
    if (m_output != nullptr) fftw_free(m_output);
    if (m_transforms != nullptr) fftw_free(m_transforms);
    if (m_sum != nullptr) fftw_free(m_sum);
    m_time = nullptr;
    m_result = nullptr;
    m_output = nullptr;
    m_transforms = nullptr;
    m_sum = nullptr;
    m_blockSize = 0;
    m_partitions = 0;
    m_stride = 0;
    m_pos = 0;
    m_newest = 0;
}

void CFFTConvolverState::setKernels(const CFilterKernels* kernels) { m_kernels = kernels; }

bool CFFTConvolverState::setup(const CFFTConvolverKernel& kernel) {
    release();
    if (!kernel.isReady()) return false;
    const size_t block = static_cast<size_t>(kernel.blockSize());
    const size_t stride = static_cast<size_t>(kernel.binStride());
    const size_t partitions = static_cast<size_t>(kernel.partitionCount());
    // fftw_malloc gives every buffer the alignment the kernel's plans were made for.
    m_time = static_cast<double*>(fftw_malloc(sizeof(double) * 2 * block));
    m_result = static_cast<double*>(fftw_malloc(sizeof(double) * 2 * block));
    m_output = static_cast<double*>(fftw_malloc(sizeof(double) * block));
    m_transforms = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * stride * partitions));
    m_sum = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * stride));
    if (m_time == nullptr || m_result == nullptr || m_output == nullptr || m_transforms == nullptr ||
        m_sum == nullptr) {
        release();
        return false;
    }
    m_blockSize = kernel.blockSize();
    m_partitions = kernel.partitionCount();
    m_stride = kernel.binStride();
    if (m_kernels == nullptr) m_kernels = &CFilterKernels::get();
    reset();
    return true;
}

bool CFFTConvolverState::fits(const CFFTConvolverKernel& kernel) const {
    return m_time != nullptr && kernel.isReady() && kernel.blockSize() == m_blockSize &&
           kernel.partitionCount() == m_partitions;
}

void CFFTConvolverState::reset() {
    if (m_time == nullptr) return;
    const size_t block = static_cast<size_t>(m_blockSize);
    std::memset(m_time, 0, sizeof(double) * 2 * block);
    std::memset(m_result, 0, sizeof(double) * 2 * block);
    std::memset(m_output, 0, sizeof(double) * block);
    std::memset(m_transforms, 0, sizeof(fftw_complex) * static_cast<size_t>(m_stride) * m_partitions);
    std::memset(m_sum, 0, sizeof(fftw_complex) * static_cast<size_t>(m_stride));
    m_pos = 0;
    m_newest = 0;
}

void CFFTConvolverState::process(const CFFTConvolverKernel& kernel, const double* in, double* out, int32_t count) {
    if (!fits(kernel)) {
        if (count > 0) std::memset(out, 0, sizeof(double) * static_cast<size_t>(count));
        return;
    }
    int32_t done = 0;
    while (done < count) {
        int32_t n = m_blockSize - m_pos;
        if (n > count - done) n = count - done;
        // Input first, so that `out` may be `in`: the output of a block comes from the block
        // before, already in m_output.
        std::memcpy(m_time + m_blockSize + m_pos, in + done, sizeof(double) * static_cast<size_t>(n));
        std::memcpy(out + done, m_output + m_pos, sizeof(double) * static_cast<size_t>(n));
        m_pos += n;
        done += n;
        if (m_pos == m_blockSize) {
            runBlock(kernel);
            m_pos = 0;
        }
    }
}

void CFFTConvolverState::runBlock(const CFFTConvolverKernel& kernel) {
    const int32_t block = m_blockSize;
    m_newest = m_newest + 1 == m_partitions ? 0 : m_newest + 1;
    fftw_execute_dft_r2c(kernel.forwardPlan(), m_time, m_transforms + static_cast<int64_t>(m_newest) * m_stride);
    // The block just transformed is the older half of the next window.
    std::memcpy(m_time, m_time + block, sizeof(double) * static_cast<size_t>(block));

    // Partition p of the kernel meets the input transform of p blocks ago. The sum runs over
    // the whole stride: the bins past B + 1 are zero in every transform, and a length that is
    // a multiple of four leaves the vector loop no remainder.
    std::memset(m_sum, 0, sizeof(fftw_complex) * static_cast<size_t>(m_stride));
    auto* const multiplyAdd = m_kernels->complexMultiplyAdd;
    double* const sum = &m_sum[0][0];
    int32_t slot = m_newest;
    for (int32_t p = 0; p < m_partitions; ++p) {
        const fftw_complex* x = m_transforms + static_cast<int64_t>(slot) * m_stride;
        multiplyAdd(sum, &x[0][0], &kernel.partition(p)[0][0], m_stride);
        slot = slot == 0 ? m_partitions - 1 : slot - 1;
    }
    fftw_execute_dft_c2r(kernel.inversePlan(), m_sum, m_result);
    // Overlap-save: the first half wrapped around, the second half is the linear convolution.
    std::memcpy(m_output, m_result + block, sizeof(double) * static_cast<size_t>(block));
}

}  // namespace orl
