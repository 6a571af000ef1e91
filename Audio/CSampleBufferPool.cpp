#include "Audio/CSampleBufferPool.h"

#include <cstdlib>
#include <new>

namespace orl {

namespace {

// Every block made by a pool sits on a doubly linked chain so that the destructor can find the
// ones still out, and an overflow block that is reallocated can leave the chain in O(1). The
// links live just ahead of the header, inside the same allocation.
struct SChainLinks {
    CSampleBuffer* prev;
    CSampleBuffer* next;
};

constexpr size_t kLinkBytes = 16;
static_assert(sizeof(SChainLinks) <= kLinkBytes, "links must fit ahead of the header");
constexpr size_t kAlign = 16;

SChainLinks& linksOf(CSampleBuffer* buffer) {
    return *reinterpret_cast<SChainLinks*>(reinterpret_cast<char*>(buffer) - kLinkBytes);
}

// The capacity is kept in 32 bits, in whole 512-byte steps.
constexpr int32_t kMaxSamples = static_cast<int32_t>((0xFFFFFFFFu - 511u) / 8u);

uint32_t bytesFor(int32_t samples) {
    return samples <= 0 ? 8u : static_cast<uint32_t>(samples) * 8u;
}

}  // namespace

CSampleBufferPool::~CSampleBufferPool() {
    CSampleBuffer* b = m_all;
    while (b) {
        CSampleBuffer* next = linksOf(b).next;
        std::free(b->raw);
        b = next;
    }
}

int32_t CSampleBufferPool::sizeClassFor(int32_t samples) {
    if (samples <= 0) return 0;
    const int64_t c = (static_cast<int64_t>(samples) * 8 - 1) >> 9;
    return c >= kClassCount ? kOverflowClass : static_cast<int32_t>(c);
}

// A new heap block with room for capacityBytes of data, put on the chain of all blocks.
static CSampleBuffer* makeBlock(CSampleBufferPool* pool, CSampleBuffer*& chainHead, int32_t sizeClass,
                                uint32_t capacityBytes) {
    void* raw = std::malloc(kLinkBytes + kAlign - 1 + CSampleBuffer::kHeaderSize + capacityBytes);
    if (!raw) return nullptr;
    const uintptr_t at = (reinterpret_cast<uintptr_t>(raw) + kLinkBytes + kAlign - 1) & ~uintptr_t(kAlign - 1);
    auto* b = new (reinterpret_cast<void*>(at)) CSampleBuffer;
    b->raw = raw;
    b->pool = pool;
    b->sizeClass = sizeClass;
    b->capacityBytes = capacityBytes;
    b->refCount = 1;
    b->nextFree = nullptr;
    new (reinterpret_cast<char*>(b) - kLinkBytes) SChainLinks{nullptr, chainHead};
    if (chainHead) linksOf(chainHead).prev = b;
    chainHead = b;
    return b;
}

CSampleBuffer* CSampleBufferPool::acquire(int32_t samples) {
    if (samples > kMaxSamples) return nullptr;
    const int32_t c = sizeClassFor(samples);
    const uint32_t needBytes = bytesFor(samples);
    CSampleBuffer* b = m_free[c];
    if (b) {
        m_free[c] = b->nextFree;
        b->nextFree = nullptr;
        if (b->capacityBytes >= needBytes) {
            b->refCount = 1;
            return b;
        }
        // An overflow block found too small: it leaves the chain and the heap, and a larger
        // one takes its place (the count of held blocks does not change).
        SChainLinks& links = linksOf(b);
        if (links.prev) linksOf(links.prev).next = links.next;
        else m_all = links.next;
        if (links.next) linksOf(links.next).prev = links.prev;
        std::free(b->raw);
        --m_heapBlocks;
    }
    // Overflow blocks are sized to the request in whole 512-byte steps.
    const uint32_t capacity = c < kClassCount
        ? static_cast<uint32_t>(c + 1) * kClassBytes
        : (needBytes + kClassBytes - 1) / kClassBytes * kClassBytes;
    b = makeBlock(this, m_all, c, capacity);
    if (b) ++m_heapBlocks;
    return b;
}

void CSampleBufferPool::release(CSampleBuffer* buffer) {
    if (--buffer->refCount == 0) buffer->pool->giveBack(buffer);
}

void CSampleBufferPool::giveBack(CSampleBuffer* buffer) {
    buffer->nextFree = m_free[buffer->sizeClass];
    m_free[buffer->sizeClass] = buffer;
}

int32_t CSampleBufferPool::freeBlockCount() const {
    int32_t n = 0;
    for (const CSampleBuffer* list : m_free)
        for (const CSampleBuffer* b = list; b; b = b->nextFree) ++n;
    return n;
}

}  // namespace orl
