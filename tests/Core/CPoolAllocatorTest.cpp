#include "Core/CPoolAllocator.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <atomic>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

using namespace orl;

namespace {

bool aligned16(const void* p) { return (reinterpret_cast<uintptr_t>(p) & 15) == 0; }

void fill(void* p, size_t size, uint8_t seed) {
    auto* b = static_cast<uint8_t*>(p);
    for (size_t i = 0; i < size; ++i) b[i] = static_cast<uint8_t>(seed + i * 7);
}

bool holds(const void* p, size_t size, uint8_t seed) {
    const auto* b = static_cast<const uint8_t*>(p);
    for (size_t i = 0; i < size; ++i)
        if (b[i] != static_cast<uint8_t>(seed + i * 7)) return false;
    return true;
}

// Taken while static objects are constructed, before main and in no particular order relative
// to the allocator's own translation unit.
struct SEarlyUser {
    void* block;
    SEarlyUser() : block(CPoolAllocator::allocate(72)) { fill(block, 72, 0x31); }
};
SEarlyUser g_earlyUser;

}  // namespace

// Every size up to past the largest class, and some large heap blocks, all held at once: each
// block is aligned, reports its class and capacity, and still holds what was written into it
// after all were written, so no two blocks share memory and no header was written over. Heap
// sizes 4,081..5,000 cover every offset of the raw block against the alignment; the sanitizer
// build reports a release of a wrong address.
TEST(CPoolAllocator, BlocksAreAlignedSizedAndSeparate) {
    std::vector<size_t> sizes;
    for (size_t s = 0; s <= 5000; ++s) sizes.push_back(s);
    for (size_t s : {8191u, 8192u, 65537u, 1000003u}) sizes.push_back(s);
    std::vector<void*> blocks;
    for (size_t i = 0; i < sizes.size(); ++i) {
        void* p = CPoolAllocator::allocate(sizes[i]);
        ASSERT_NE(p, nullptr);
        ASSERT_TRUE(aligned16(p)) << sizes[i];
        const uint8_t pool = CPoolAllocator::indexOf(p);
        ASSERT_EQ(pool, CPoolAllocator::poolIndexFor(sizes[i])) << sizes[i];
        const size_t capacity = pool == CPoolAllocator::kHeapIndex ? sizes[i] : 16 * (pool + size_t(1));
        ASSERT_EQ(CPoolAllocator::capacityOf(p), capacity) << sizes[i];
        ASSERT_GE(capacity, sizes[i]);
        fill(p, capacity, static_cast<uint8_t>(i));
        blocks.push_back(p);
    }
    for (size_t i = 0; i < sizes.size(); ++i) {
        ASSERT_TRUE(holds(blocks[i], CPoolAllocator::capacityOf(blocks[i]), static_cast<uint8_t>(i))) << sizes[i];
        CPoolAllocator::release(blocks[i]);
    }
    CPoolAllocator::release(nullptr);  // allowed, does nothing

    const std::pair<size_t, int> boundaries[] = {{0, 0},      {16, 0},     {17, 1},     {33, 2},
                                                 {4064, 253}, {4065, 254}, {4080, 254}, {4081, 255}};
    for (const auto& [size, pool] : boundaries) EXPECT_EQ(CPoolAllocator::poolIndexFor(size), pool) << size;
}

// One block carried through growth and shrinking within the pools, into the heap and back: each
// step keeps the common prefix, and a size the block already has keeps the block where it is.
TEST(CPoolAllocator, Reallocate) {
    struct SStep {
        size_t size;
        uint8_t pool;
        bool stays;
    };
    const SStep steps[] = {{20, 1, false},     {32, 1, true},      {100, 6, false},    {10, 0, false},  {3000, 187, false},
                           {6000, 255, false}, {6000, 255, true}, {9000, 255, false}, {200, 12, false}};
    void* p = nullptr;  // null acts as allocate
    size_t filled = 0;
    for (uint8_t i = 0; i < std::size(steps); ++i) {
        const SStep& step = steps[i];
        SCOPED_TRACE(step.size);
        void* q = CPoolAllocator::reallocate(p, step.size);
        ASSERT_NE(q, nullptr);
        if (p) {
            EXPECT_EQ(q == p, step.stays);
        }
        EXPECT_EQ(CPoolAllocator::indexOf(q), step.pool);
        EXPECT_EQ(CPoolAllocator::capacityOf(q), step.pool == 255 ? step.size : 16u * (step.pool + 1u));
        EXPECT_TRUE(holds(q, std::min(filled, step.size), static_cast<uint8_t>(i - 1)));
        fill(q, step.size, i);
        p = q;
        filled = step.size;
    }
    CPoolAllocator::release(p);
}

TEST(CPoolAllocator, UsableFromStaticInitialisers) {
    ASSERT_NE(g_earlyUser.block, nullptr);
    EXPECT_EQ(CPoolAllocator::indexOf(g_earlyUser.block), 4);
    EXPECT_TRUE(holds(g_earlyUser.block, 72, 0x31));
    CPoolAllocator::release(g_earlyUser.block);
    g_earlyUser.block = nullptr;
}

// Allocates from one pool, holding every item, and follows its refills: each refill carves the
// announced number of items from one contiguous chunk (stride = class size + 16), hands them out
// before the next refill, and the number per refill grows by 10/16 up to the pool's limit.
TEST(CPoolAllocator, RefillGrowth) {
    // Pools either side of the strides at which the limit changes: 192, 496 | 512, 2,032 | 2,048, 4,096.
    const std::pair<int, uint32_t> cases[] = {{10, 256}, {29, 256}, {30, 128}, {125, 128}, {126, 64}, {254, 64}};
    for (const auto& [pool, limit] : cases) {
        SCOPED_TRACE(pool);
        EXPECT_EQ(CPoolAllocator::refillLimitOf(pool), limit);
        std::vector<uint32_t> sequence;
        for (uint32_t n : {4u, 6u, 9u, 14u, 22u, 35u, 56u, 91u, 147u, 238u})
            if (n < limit) sequence.push_back(n);
        sequence.insert(sequence.end(), {limit, limit});
        const size_t size = 16 * static_cast<size_t>(pool) + 16;  // largest request of the class
        const ptrdiff_t stride = static_cast<ptrdiff_t>(size + 16);
        // Other tests may have used this pool already: pick up the sequence where it stands.
        auto expected = std::find(sequence.begin(), sequence.end(), CPoolAllocator::itemsPerRefillOf(pool));
        ASSERT_NE(expected, sequence.end()) << CPoolAllocator::itemsPerRefillOf(pool);
        std::vector<void*> held;
        std::vector<uint8_t*> group;  // items of the latest refill
        uint32_t groupItems = 0;
        while (expected != sequence.end()) {
            const uint32_t before = CPoolAllocator::itemsPerRefillOf(pool);
            const uint32_t chunksBefore = CPoolAllocator::chunkCountOf(pool);
            auto* p = static_cast<uint8_t*>(CPoolAllocator::allocate(size));
            ASSERT_NE(p, nullptr);
            ASSERT_EQ(CPoolAllocator::indexOf(p), pool);
            held.push_back(p);
            if (CPoolAllocator::chunkCountOf(pool) == chunksBefore) {
                if (groupItems) group.push_back(p);
                continue;
            }
            ASSERT_EQ(CPoolAllocator::chunkCountOf(pool), chunksBefore + 1);
            if (groupItems) {
                // The previous refill's items were all handed out before this one was needed,
                // and they tile one chunk at the stride.
                ASSERT_EQ(group.size(), groupItems);
                std::sort(group.begin() + 1, group.end());
                for (size_t i = 1; i < group.size(); ++i) ASSERT_EQ(group[i] - group[i - 1], stride);
            }
            ASSERT_EQ(before, *expected);
            ++expected;
            EXPECT_EQ(CPoolAllocator::itemsPerRefillOf(pool), expected == sequence.end() ? limit : *expected);
            group.assign(1, p);  // a refill returns the lowest item of its chunk
            groupItems = before;
        }
        for (void* p : held) CPoolAllocator::release(p);
    }
}

// Threads allocate blocks of mixed sizes, stamp each whole block, and check the stamp when they
// release it, in random order. A shared set of live addresses catches an address handed out
// twice; a stamp overwritten catches overlapping blocks.
TEST(CPoolAllocator, ConcurrentAllocateAndRelease) {
    constexpr int kThreads = 4, kIterations = 40000;
    struct SBlock {
        void* p;
        size_t size;
        uint8_t seed;
    };
    std::mutex liveMutex;
    std::set<void*> live;
    std::atomic<int> handedOutTwice{0}, badStamps{0}, misaligned{0};
    auto checkAndRelease = [&](const SBlock& b) {
        if (!holds(b.p, b.size, b.seed)) badStamps.fetch_add(1);
        {
            std::lock_guard<std::mutex> lock(liveMutex);
            live.erase(b.p);
        }
        CPoolAllocator::release(b.p);
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(1234 + t);
            std::vector<SBlock> mine;
            for (int i = 0; i < kIterations; ++i) {
                // Mostly a handful of small classes, so that threads meet in the same pools
                // and their refills; now and then a large class or a heap block.
                const uint32_t r = random();
                const size_t size = r % 16 < 12 ? r % 100 : r % 16 < 15 ? 100 + (r >> 8) % 3980 : 4081 + (r >> 8) % 6000;
                SBlock b{CPoolAllocator::allocate(size), size, static_cast<uint8_t>(t * 61 + i)};
                if (!aligned16(b.p)) misaligned.fetch_add(1);
                {
                    std::lock_guard<std::mutex> lock(liveMutex);
                    if (!live.insert(b.p).second) handedOutTwice.fetch_add(1);
                }
                fill(b.p, size, b.seed);
                mine.push_back(b);
                if (mine.size() > 48 || (r >> 4) % 4 == 0) {
                    const size_t pick = (r >> 6) % mine.size();
                    checkAndRelease(mine[pick]);
                    mine[pick] = mine.back();
                    mine.pop_back();
                }
            }
            for (const SBlock& b : mine) checkAndRelease(b);
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(handedOutTwice.load(), 0);
    EXPECT_EQ(badStamps.load(), 0);
    EXPECT_EQ(misaligned.load(), 0);
    EXPECT_TRUE(live.empty());
}
