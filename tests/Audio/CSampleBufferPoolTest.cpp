#include "Audio/CSampleBufferPool.h"
#include <gtest/gtest.h>
#include <cstring>
#include <vector>

using namespace orl;

// Size classes come in 512-byte steps: each request gets the class that just holds it, with the
// capacity of exactly that class, 16-byte aligned data that can be written in full.
TEST(CSampleBufferPool, ClassesCapacitiesAndAlignment) {
    struct SCase { int32_t samples; int32_t sizeClass; uint32_t capacity; };
    const SCase cases[] = {{-5, 0, 512}, {0, 0, 512}, {1, 0, 512}, {64, 0, 512}, {65, 1, 1024},
                           {128, 1, 1024}, {129, 2, 1536}, {1024, 15, 8192}, {8192, 127, 65536},
                           {8193, 128, 66048}, {20000, 128, 160256}};
    CSampleBufferPool pool;
    std::vector<CSampleBuffer*> held;
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.samples);
        EXPECT_EQ(CSampleBufferPool::sizeClassFor(c.samples), c.sizeClass);
        CSampleBuffer* b = pool.acquire(c.samples);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->sizeClass, c.sizeClass);
        EXPECT_EQ(b->capacityBytes, c.capacity);
        EXPECT_EQ(b->refCount, 1);
        EXPECT_EQ(b->pool, &pool);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(b->data()) % 16, 0u);
        std::memset(b->data(), 0x5a, b->capacityBytes);  // the whole capacity is ours (ASan)
        held.push_back(b);
    }
    EXPECT_EQ(pool.heapBlockCount(), static_cast<int32_t>(held.size()));
    EXPECT_EQ(pool.freeBlockCount(), 0);
    // Blocks still out when the pool dies are freed by it (the leak checker would say otherwise).
}

// References: the last release puts the block back, the next request of its class gets the very
// same block, and the heap is not asked again.
TEST(CSampleBufferPool, RecyclesBlocks) {
    CSampleBufferPool pool;
    CSampleBuffer* a = pool.acquire(512);
    CSampleBufferPool::addRef(a);
    EXPECT_FALSE(CSampleBufferPool::isSole(a));
    CSampleBufferPool::release(a);
    EXPECT_TRUE(CSampleBufferPool::isSole(a));
    EXPECT_EQ(pool.freeBlockCount(), 0);
    CSampleBufferPool::release(a);
    EXPECT_EQ(pool.freeBlockCount(), 1);
    CSampleBuffer* b = pool.acquire(449);  // same class (7) as 512 samples
    EXPECT_EQ(b, a);
    EXPECT_EQ(b->refCount, 1);
    EXPECT_NE(pool.acquire(448), a);       // class 6 is another list
    EXPECT_EQ(pool.heapBlockCount(), 2);
    for (int round = 0; round < 100; ++round) {
        CSampleBuffer* c = pool.acquire(round % 2 ? 100 : 300);
        CSampleBufferPool::release(c);
    }
    EXPECT_EQ(pool.heapBlockCount(), 4);
    EXPECT_EQ(pool.freeBlockCount(), 2);
    CSampleBufferPool::release(b);
}

// Large blocks share one list: a block found big enough is reused as it is, one found too small
// is replaced by a larger one, which then serves smaller large requests too.
TEST(CSampleBufferPool, OverflowListReallocatesWhenTooSmall) {
    CSampleBufferPool pool;
    CSampleBuffer* small = pool.acquire(9000);
    EXPECT_EQ(small->capacityBytes, 72192u);
    CSampleBufferPool::release(small);
    CSampleBuffer* big = pool.acquire(30000);
    EXPECT_EQ(big->sizeClass, CSampleBufferPool::kOverflowClass);
    EXPECT_GE(big->capacitySamples(), 30000);
    EXPECT_EQ(pool.heapBlockCount(), 1);
    std::memset(big->data(), 0, 30000 * sizeof(double));
    CSampleBufferPool::release(big);
    CSampleBuffer* again = pool.acquire(10000);
    EXPECT_EQ(again, big);
    EXPECT_EQ(again->capacitySamples(), big->capacitySamples());
    CSampleBufferPool::release(again);
    EXPECT_EQ(pool.freeBlockCount(), 1);
}
