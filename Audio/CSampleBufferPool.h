#pragma once
#include <cstdint>

#include "Audio/CSampleBuffer.h"

namespace orl {

// Sample buffers of one plug-in instance. A request of n samples takes size class
// (n * 8 - 1) >> 9; classes 0..127 hold exactly (class + 1) * 512 bytes on a free list each, and
// larger requests share a 129th list whose blocks are reallocated when found too small. A
// released buffer goes back on its list: nothing returns to the heap while the pool lives, so
// the steady state allocates nothing.
class CSampleBufferPool {
public:
    static constexpr int32_t kClassCount = 128;
    static constexpr int32_t kClassBytes = 512;
    static constexpr int32_t kOverflowClass = kClassCount;

    CSampleBufferPool() = default;
    CSampleBufferPool(const CSampleBufferPool&) = delete;
    CSampleBufferPool& operator=(const CSampleBufferPool&) = delete;
    ~CSampleBufferPool();

    // A buffer with room for at least `samples` doubles (at least one), reference count 1,
    // contents undefined.
    CSampleBuffer* acquire(int32_t samples);
    static void addRef(CSampleBuffer* buffer) { ++buffer->refCount; }
    // Drops one reference; the last one puts the buffer back on its pool's list.
    static void release(CSampleBuffer* buffer);
    // A node may write into a buffer in place only when it holds the sole reference.
    static bool isSole(const CSampleBuffer* buffer) { return buffer->refCount == 1; }

    static int32_t sizeClassFor(int32_t samples);
    // Blocks taken from the heap so far, and blocks currently on the free lists (for tests).
    int32_t heapBlockCount() const { return m_heapBlocks; }
    int32_t freeBlockCount() const;

private:
    void giveBack(CSampleBuffer* buffer);

    CSampleBuffer* m_free[kClassCount + 1] = {};
    int32_t m_heapBlocks = 0;
    // Every block ever made, so that the destructor can free those still out.
    CSampleBuffer* m_all = nullptr;
};

}  // namespace orl
