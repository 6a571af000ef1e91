#include "Core/CPoolAllocator.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <atomic>
#include <cstring>
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

TEST(CPoolAllocator, SizeClassBoundaries) {
    struct SCase {
        size_t size;
        uint8_t pool;
        size_t capacity;
    };
    const SCase cases[] = {
        {0, 0, 16},       {1, 0, 16},       {16, 0, 16},       {17, 1, 32},      {32, 1, 32},
        {33, 2, 48},      {4064, 253, 4064}, {4065, 254, 4080}, {4080, 254, 4080}, {4081, 255, 4081},
        {4096, 255, 4096},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.size);
        EXPECT_EQ(CPoolAllocator::poolIndexFor(c.size), c.pool);
        void* p = CPoolAllocator::allocate(c.size);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(CPoolAllocator::indexOf(p), c.pool);
        EXPECT_EQ(CPoolAllocator::capacityOf(p), c.capacity);
        fill(p, c.capacity, 1);
        CPoolAllocator::release(p);
    }
    CPoolAllocator::release(nullptr);  // allowed, does nothing
}

TEST(CPoolAllocator, EverySizeIsAlignedAndBlocksDoNotOverlap) {
    constexpr size_t kMaxSize = 5000;
    std::vector<void*> blocks;
    for (size_t size = 0; size <= kMaxSize; ++size) {
        void* p = CPoolAllocator::allocate(size);
        ASSERT_NE(p, nullptr);
        ASSERT_TRUE(aligned16(p)) << size;
        ASSERT_EQ(CPoolAllocator::indexOf(p), CPoolAllocator::poolIndexFor(size)) << size;
        ASSERT_GE(CPoolAllocator::capacityOf(p), size);
        fill(p, CPoolAllocator::capacityOf(p), static_cast<uint8_t>(size));
        blocks.push_back(p);
    }
    // Every block still holds what was written into it: no two blocks share memory and no
    // header was written over.
    for (size_t size = 0; size <= kMaxSize; ++size) {
        void* p = blocks[size];
        ASSERT_TRUE(holds(p, CPoolAllocator::capacityOf(p), static_cast<uint8_t>(size))) << size;
        ASSERT_EQ(CPoolAllocator::indexOf(p), CPoolAllocator::poolIndexFor(size)) << size;
    }
    for (void* p : blocks) CPoolAllocator::release(p);
}

TEST(CPoolAllocator, HeapBlocksKeepTheirSize) {
    std::vector<size_t> sizes;
    for (size_t s = 4081; s < 4081 + 64; ++s) sizes.push_back(s);  // every raw alignment offset
    for (size_t s : {5000u, 8191u, 8192u, 65537u, 1000003u}) sizes.push_back(s);
    std::vector<void*> blocks;
    for (size_t i = 0; i < sizes.size(); ++i) {
        void* p = CPoolAllocator::allocate(sizes[i]);
        ASSERT_NE(p, nullptr);
        EXPECT_TRUE(aligned16(p));
        EXPECT_EQ(CPoolAllocator::indexOf(p), CPoolAllocator::kHeapIndex);
        EXPECT_EQ(CPoolAllocator::capacityOf(p), sizes[i]);
        fill(p, sizes[i], static_cast<uint8_t>(i));
        blocks.push_back(p);
    }
    for (size_t i = 0; i < sizes.size(); ++i) {
        EXPECT_TRUE(holds(blocks[i], sizes[i], static_cast<uint8_t>(i)));
        EXPECT_EQ(CPoolAllocator::capacityOf(blocks[i]), sizes[i]);
        // The memory checker of the sanitizer build reports a free of a wrong address here.
        CPoolAllocator::release(blocks[i]);
    }
}

TEST(CPoolAllocator, Reallocate) {
    // Null acts as allocate.
    void* p = CPoolAllocator::reallocate(nullptr, 20);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(CPoolAllocator::indexOf(p), 1);
    // The item's capacity (32) keeps the block.
    EXPECT_EQ(CPoolAllocator::reallocate(p, 32), p);
    fill(p, 32, 9);

    // Growth within the pools keeps the content.
    void* grown = CPoolAllocator::reallocate(p, 100);
    EXPECT_NE(grown, p);
    EXPECT_EQ(CPoolAllocator::indexOf(grown), 6);
    EXPECT_TRUE(holds(grown, 32, 9));
    fill(grown, 100, 40);

    // Shrinking keeps the prefix.
    void* shrunk = CPoolAllocator::reallocate(grown, 10);
    EXPECT_EQ(CPoolAllocator::indexOf(shrunk), 0);
    EXPECT_TRUE(holds(shrunk, 10, 40));

    // Pool to heap and back.
    void* pooled = CPoolAllocator::allocate(3000);
    fill(pooled, 3000, 77);
    void* heap = CPoolAllocator::reallocate(pooled, 6000);
    EXPECT_EQ(CPoolAllocator::indexOf(heap), CPoolAllocator::kHeapIndex);
    EXPECT_EQ(CPoolAllocator::capacityOf(heap), 6000u);
    EXPECT_TRUE(holds(heap, 3000, 77));
    fill(heap, 6000, 5);
    EXPECT_EQ(CPoolAllocator::reallocate(heap, 6000), heap);  // the stored size keeps the block
    void* bigger = CPoolAllocator::reallocate(heap, 9000);
    EXPECT_EQ(CPoolAllocator::capacityOf(bigger), 9000u);
    EXPECT_TRUE(holds(bigger, 6000, 5));
    void* back = CPoolAllocator::reallocate(bigger, 200);
    EXPECT_EQ(CPoolAllocator::indexOf(back), 12);
    EXPECT_TRUE(holds(back, 200, 5));

    CPoolAllocator::release(shrunk);
    CPoolAllocator::release(back);
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
    const std::vector<uint32_t> upTo256 = {4, 6, 9, 14, 22, 35, 56, 91, 147, 238, 256, 256};
    const std::vector<uint32_t> upTo128 = {4, 6, 9, 14, 22, 35, 56, 91, 128, 128};
    const std::vector<uint32_t> upTo64 = {4, 6, 9, 14, 22, 35, 56, 64, 64};
    struct SCase {
        int pool;
        uint32_t limit;
        const std::vector<uint32_t>* sequence;
    };
    const SCase cases[] = {
        {10, 256, &upTo256},   // stride 192
        {29, 256, &upTo256},   // stride 496, last class under 512
        {30, 128, &upTo128},   // stride 512
        {125, 128, &upTo128},  // stride 2,032, last class under 2,048
        {126, 64, &upTo64},    // stride 2,048
        {254, 64, &upTo64},    // stride 4,096
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.pool);
        const size_t size = 16 * static_cast<size_t>(c.pool) + 16;  // largest request of the class
        const ptrdiff_t stride = static_cast<ptrdiff_t>(size + 16);
        EXPECT_EQ(CPoolAllocator::refillLimitOf(c.pool), c.limit);
        // Other tests may have used this pool already: pick up the sequence where it stands.
        const auto start = std::find(c.sequence->begin(), c.sequence->end(), CPoolAllocator::itemsPerRefillOf(c.pool));
        ASSERT_NE(start, c.sequence->end()) << CPoolAllocator::itemsPerRefillOf(c.pool);

        std::vector<void*> held;
        std::vector<uint8_t*> group;  // items of the latest refill
        uint32_t groupItems = 0;
        auto expected = start;
        while (expected != c.sequence->end()) {
            const uint32_t before = CPoolAllocator::itemsPerRefillOf(c.pool);
            const uint32_t chunksBefore = CPoolAllocator::chunkCountOf(c.pool);
            auto* p = static_cast<uint8_t*>(CPoolAllocator::allocate(size));
            ASSERT_NE(p, nullptr);
            ASSERT_EQ(CPoolAllocator::indexOf(p), c.pool);
            held.push_back(p);
            if (CPoolAllocator::chunkCountOf(c.pool) == chunksBefore) {
                if (groupItems) group.push_back(p);
                continue;
            }
            ASSERT_EQ(CPoolAllocator::chunkCountOf(c.pool), chunksBefore + 1);
            if (groupItems) {
                // The previous refill's items were all handed out before this one was needed,
                // and they tile one chunk at the stride.
                ASSERT_EQ(group.size(), groupItems);
                std::sort(group.begin() + 1, group.end());
                for (size_t i = 1; i < group.size(); ++i) ASSERT_EQ(group[i] - group[i - 1], stride);
            }
            ASSERT_EQ(before, *expected);
            ++expected;
            EXPECT_EQ(CPoolAllocator::itemsPerRefillOf(c.pool), expected == c.sequence->end() ? c.limit : *expected);
            group.assign(1, p);  // a refill returns the lowest item of its chunk
            groupItems = before;
        }
        for (void* p : held) CPoolAllocator::release(p);
    }
}

// Threads allocate blocks of mixed sizes, stamp each whole block, check the stamp later, and
// hand part of their blocks to a neighbour to check and release. A shared set of live
// addresses catches an address handed out twice; a stamp overwritten catches overlapping blocks.
TEST(CPoolAllocator, ConcurrentAllocateAndRelease) {
    constexpr int kThreads = 4;
    constexpr int kIterations = 40000;
    struct SBlock {
        void* p;
        size_t size;
        uint8_t seed;
    };
    std::mutex liveMutex;
    std::set<void*> live;
    std::mutex mailMutex[kThreads];
    std::vector<SBlock> mail[kThreads];
    std::atomic<int> handedOutTwice{0}, badStamps{0}, misaligned{0};

    auto forget = [&](const SBlock& b) {
        if (!holds(b.p, b.size, b.seed)) badStamps.fetch_add(1);
        std::lock_guard<std::mutex> lock(liveMutex);
        live.erase(b.p);
    };
    auto drainMail = [&](int t) {
        std::vector<SBlock> received;
        {
            std::lock_guard<std::mutex> lock(mailMutex[t]);
            received.swap(mail[t]);
        }
        for (const SBlock& b : received) {
            forget(b);
            CPoolAllocator::release(b.p);
        }
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
                size_t size;
                if (r % 16 < 12)
                    size = r % 100;
                else if (r % 16 < 15)
                    size = 100 + (r >> 8) % 3980;
                else
                    size = 4081 + (r >> 8) % 6000;
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
                    SBlock out = mine[pick];
                    mine[pick] = mine.back();
                    mine.pop_back();
                    if ((r >> 12) % 3 == 0) {
                        std::lock_guard<std::mutex> lock(mailMutex[(t + 1) % kThreads]);
                        mail[(t + 1) % kThreads].push_back(out);
                    } else {
                        forget(out);
                        CPoolAllocator::release(out.p);
                    }
                }
                if (i % 64 == 0) drainMail(t);
            }
            for (const SBlock& b : mine) {
                forget(b);
                CPoolAllocator::release(b.p);
            }
        });
    }
    for (auto& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) drainMail(t);
    EXPECT_EQ(handedOutTwice.load(), 0);
    EXPECT_EQ(badStamps.load(), 0);
    EXPECT_EQ(misaligned.load(), 0);
    EXPECT_TRUE(live.empty());
}
