#include "Core/CPoolAllocator.h"
#include "Platform/CLockFreeStack.h"
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>

// Pool items
// ----------
// An item occupies `stride` bytes: a 16-byte header followed by the usable space (the pool's
// size class). The header's first word is the free-list link while the item is free, and its
// last byte (the one just before the address handed out) holds the pool index. The link lives in
// the header rather than in the usable space so that a block written after it was released
// cannot break the free list.
//
// A chunk is `items x stride + 24` bytes from the heap: its first word links the pool's chunks
// (they are kept until the process ends, so nothing leaks from the allocator's point of view),
// and the first item header starts at the first 16-byte boundary after that word. That boundary
// is at most 8 + 15 = 23 bytes in, so 24 extra bytes cover any alignment malloc returns.
//
// Heap blocks
// -----------
// A request above the largest pool takes size + 25 bytes from the heap. Its first 16 bytes are
// filled with 0, 1, ..., 15, and the address handed out is p = (raw + 25) rounded down to 16.
// Whatever the alignment of raw, p - raw = 25 - ((raw + 25) mod 16) lies in 10..25, so:
//  - the byte at p - 10 lies at raw + 0 .. raw + 15, inside the pattern, and therefore already
//    holds its own distance from raw: release finds raw as (p - 10) - p[-10] with nothing else
//    stored;
//  - the requested size goes to p - 9 .. p - 2 and the index byte (255) to p - 1, all after the
//    marker byte, so writing them never disturbs it (they may overwrite later pattern bytes,
//    which nobody reads);
//  - p + size <= raw + 25 + size, so the usable space ends inside the block.

namespace orl {

namespace {

constexpr size_t kItemHeader = 16;
constexpr size_t kChunkOverhead = 24;
constexpr size_t kHeapOverhead = 25;
constexpr uint32_t kFirstItemsPerRefill = 4;

inline size_t strideOf(unsigned index) { return (index + 1) * CPoolAllocator::kStep + kItemHeader; }

inline uint32_t refillLimitFor(size_t stride) {
    if (stride < 512) return 256;
    if (stride < 2048) return 128;
    return 64;
}

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// Everything here is constant-initialised and trivially destructible: the pools work from the
// first static initialiser that runs and stay valid through the last static destructor.
struct alignas(64) SPool {
    CLockFreeStack freeList;
    std::atomic<uint32_t> itemsPerRefill{kFirstItemsPerRefill};
    std::atomic<uint32_t> chunkCount{0};
    // Guards refills only; the free list itself needs no lock.
    std::atomic_flag refillLock;
    uint8_t* chunks = nullptr;
};

constinit SPool g_pools[CPoolAllocator::kPoolCount];

inline CLockFreeStack::Node* nodeOf(uint8_t* block) {
    return reinterpret_cast<CLockFreeStack::Node*>(block - kItemHeader);
}

inline void* blockOf(CLockFreeStack::Node* node) { return reinterpret_cast<uint8_t*>(node) + kItemHeader; }

// Takes a new chunk for the pool and returns its first item; the caller holds the refill lock.
void* refill(SPool& pool, unsigned index) {
    const size_t stride = strideOf(index);
    const uint32_t count = pool.itemsPerRefill.load(std::memory_order_relaxed);
    auto* chunk = static_cast<uint8_t*>(std::malloc(count * stride + kChunkOverhead));
    if (!chunk) return nullptr;
    std::memcpy(chunk, &pool.chunks, sizeof pool.chunks);
    pool.chunks = chunk;

    const uintptr_t firstSlot = (reinterpret_cast<uintptr_t>(chunk) + sizeof(void*) + 15) & ~uintptr_t(15);
    uint8_t* first = reinterpret_cast<uint8_t*>(firstSlot) + kItemHeader;
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t* block = first + i * stride;
        block[-1] = static_cast<uint8_t>(index);
        nodeOf(block)->next = i + 1 < count ? nodeOf(block + stride) : nullptr;
    }
    // The items are not visible to anyone yet; one exchange publishes all but the first.
    if (count > 1) pool.freeList.pushChain(nodeOf(first + stride), nodeOf(first + (count - 1) * stride));

    const uint32_t limit = refillLimitFor(stride);
    if (count < limit) {
        const uint32_t grown = count + count * 10 / 16;
        pool.itemsPerRefill.store(grown < limit ? grown : limit, std::memory_order_relaxed);
    }
    pool.chunkCount.fetch_add(1, std::memory_order_relaxed);
    return first;
}

// The free list was empty. One thread refills; the others keep popping, since the refilling
// thread is about to push, rather than queue behind it.
void* allocateSlow(SPool& pool, unsigned index) {
    unsigned attempts = 0;
    while (pool.refillLock.test_and_set(std::memory_order_acquire)) {
        if (CLockFreeStack::Node* node = pool.freeList.pop()) return blockOf(node);
        if (++attempts % 64 == 0)
            std::this_thread::yield();
        else
            cpuRelax();
    }
    // A refill may have finished between the failed pop and taking the lock; the pool then
    // needs no new chunk.
    void* block;
    if (CLockFreeStack::Node* node = pool.freeList.pop())
        block = blockOf(node);
    else
        block = refill(pool, index);
    pool.refillLock.clear(std::memory_order_release);
    return block;
}

void* allocateHeap(size_t size) {
    auto* raw = static_cast<uint8_t*>(std::malloc(size + kHeapOverhead));
    if (!raw) return nullptr;
    for (uint8_t i = 0; i < 16; ++i) raw[i] = i;
    auto* p = reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(raw) + kHeapOverhead) & ~uintptr_t(15));
    std::memcpy(p - 9, &size, sizeof size);
    p[-1] = CPoolAllocator::kHeapIndex;
    return p;
}

void releaseHeap(uint8_t* p) {
    uint8_t* marker = p - 10;
    std::free(marker - *marker);
}

}  // namespace

void* CPoolAllocator::allocate(size_t size) {
    if (size > kMaxPooledSize) return allocateHeap(size);
    const unsigned index = size == 0 ? 0 : static_cast<unsigned>((size - 1) / kStep);
    SPool& pool = g_pools[index];
    if (CLockFreeStack::Node* node = pool.freeList.pop()) return blockOf(node);
    return allocateSlow(pool, index);
}

void CPoolAllocator::release(void* p) {
    if (!p) return;
    auto* block = static_cast<uint8_t*>(p);
    const uint8_t index = block[-1];
    if (index == kHeapIndex)
        releaseHeap(block);
    else
        g_pools[index].freeList.push(nodeOf(block));
}

size_t CPoolAllocator::capacityOf(const void* p) {
    const auto* block = static_cast<const uint8_t*>(p);
    const uint8_t index = block[-1];
    if (index != kHeapIndex) return (index + 1) * kStep;
    size_t size;
    std::memcpy(&size, block - 9, sizeof size);
    return size;
}

void* CPoolAllocator::reallocate(void* p, size_t size) {
    if (!p) return allocate(size);
    const size_t capacity = capacityOf(p);
    if (capacity == size) return p;
    void* fresh = allocate(size);
    if (!fresh) return nullptr;
    std::memcpy(fresh, p, capacity < size ? capacity : size);
    release(p);
    return fresh;
}

uint32_t CPoolAllocator::itemsPerRefillOf(int pool) {
    return g_pools[pool].itemsPerRefill.load(std::memory_order_relaxed);
}

uint32_t CPoolAllocator::refillLimitOf(int pool) { return refillLimitFor(strideOf(static_cast<unsigned>(pool))); }

uint32_t CPoolAllocator::chunkCountOf(int pool) {
    return g_pools[pool].chunkCount.load(std::memory_order_relaxed);
}

}  // namespace orl
