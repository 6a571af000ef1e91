#pragma once
#include <cstddef>
#include <cstdint>

namespace orl {

// The process-wide small-object allocator. Requests up to 4,080 bytes are served from 255
// size-class pools (16-byte steps) whose fast path is one lock-free pop; larger requests go to
// the heap. Every address handed out is 16-byte aligned and carries its pool index in the byte
// just before it (255 for heap blocks).
class CPoolAllocator {
public:
    static constexpr int kPoolCount = 255;
    static constexpr size_t kStep = 16;
    static constexpr size_t kMaxPooledSize = kPoolCount * kStep;  // 4,080
    static constexpr uint8_t kHeapIndex = 255;

    static void* allocate(size_t size);
    static void release(void* p);
    static void* reallocate(void* p, size_t size);

    // Pool index of an address handed out by allocate (255 for a heap block).
    static uint8_t indexOf(const void* p) { return static_cast<const uint8_t*>(p)[-1]; }
    // Usable capacity of an allocated block: 16 (index + 1) for pool items, the requested
    // size for heap blocks.
    static size_t capacityOf(const void* p);
    // Pool that serves a request of this size, or 255 for the heap.
    static uint8_t poolIndexFor(size_t size) {
        return size > kMaxPooledSize ? kHeapIndex : static_cast<uint8_t>(size == 0 ? 0 : (size - 1) / kStep);
    }

    // Read-only view of a pool's bookkeeping, for tests and diagnostics. `pool` is 0..254.
    // Items the next refill of the pool will carve from one chunk.
    static uint32_t itemsPerRefillOf(int pool);
    // Upper limit of items per refill of the pool.
    static uint32_t refillLimitOf(int pool);
    // Chunks taken from the heap for the pool so far.
    static uint32_t chunkCountOf(int pool);
};

}  // namespace orl
