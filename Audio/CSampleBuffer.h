#pragma once
#include <cstddef>
#include <cstdint>

namespace orl {

class CSampleBufferPool;

// A reference-counted block of doubles from a per-instance pool. The header stands ahead of the
// 16-byte aligned data. Only the audio thread touches buffers, so the count is a plain integer.
struct CSampleBuffer {
    static constexpr size_t kHeaderSize = 48;

    void* raw;                  // the heap allocation this block lives in
    CSampleBufferPool* pool;    // owner
    int32_t sizeClass;          // 0..127, or 128 for the shared list of larger blocks
    uint32_t capacityBytes;
    int32_t refCount;
    CSampleBuffer* nextFree;    // link while on a free list

    double* data() { return reinterpret_cast<double*>(reinterpret_cast<char*>(this) + kHeaderSize); }
    const double* data() const {
        return reinterpret_cast<const double*>(reinterpret_cast<const char*>(this) + kHeaderSize);
    }
    int32_t capacitySamples() const { return static_cast<int32_t>(capacityBytes / sizeof(double)); }
};

static_assert(sizeof(CSampleBuffer) <= CSampleBuffer::kHeaderSize, "header must fit ahead of the data");
static_assert(CSampleBuffer::kHeaderSize % 16 == 0, "data must stay 16-byte aligned");

}  // namespace orl
