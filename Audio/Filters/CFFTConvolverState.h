#pragma once
#include <fftw3.h>

#include <cstdint>

namespace orl {

class CFFTConvolverKernel;
struct CFilterKernels;

// One channel of a uniformly partitioned FFT convolution (overlap-save with a frequency-domain
// delay line): input is collected in blocks of B samples, each block is transformed together
// with the one before it, and the sum of the last P input transforms times the kernel's P
// partitions is transformed back. The output is the convolution lagging by exactly B samples.
//
// setup allocates everything, on the control path; process allocates nothing, plans nothing
// and only executes the kernel's plans on the state's own aligned buffers, so it is safe on the
// audio thread. The kernel is passed to process rather than held, so that one kernel serves
// many channels and a module can swap kernels of the same shape.
class CFFTConvolverState {
public:
    CFFTConvolverState() = default;
    ~CFFTConvolverState();
    CFFTConvolverState(const CFFTConvolverState&) = delete;
    CFFTConvolverState& operator=(const CFFTConvolverState&) = delete;

    // Buffers for the shape (block size, partition count) of a ready kernel, cleared. False,
    // leaving the state empty, when the kernel is not ready or memory runs out.
    bool setup(const CFFTConvolverKernel& kernel);
    void release();
    // True when the state was set up for a kernel of this shape.
    bool fits(const CFFTConvolverKernel& kernel) const;
    // Silence in the delay line and the output: the state of a fresh setup.
    void reset();

    // Convolves `count` samples of `in` into `out` (which may be `in`). The kernel must fit;
    // a state that does not fit writes silence.
    void process(const CFFTConvolverKernel& kernel, const double* in, double* out, int32_t count);

    int32_t latency() const { return m_blockSize; }
    // The build of the product sum (plain or AVX2); the one chosen at start unless a test or a
    // benchmark asks for another.
    void setKernels(const CFilterKernels* kernels);

private:
    void runBlock(const CFFTConvolverKernel& kernel);

    double* m_time = nullptr;              // 2B: the previous block, then the block being collected
    double* m_result = nullptr;            // 2B: the inverse transform; its second half is valid
    double* m_output = nullptr;            // B: the output being played out
    fftw_complex* m_transforms = nullptr;  // P transforms of input blocks, a ring
    fftw_complex* m_sum = nullptr;         // the product sum of one block
    const CFilterKernels* m_kernels = nullptr;
    int32_t m_blockSize = 0;
    int32_t m_partitions = 0;
    int32_t m_stride = 0;
    int32_t m_pos = 0;     // samples of the block collected so far
    int32_t m_newest = 0;  // ring slot of the latest input transform
};

}  // namespace orl
