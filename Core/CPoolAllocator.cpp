// TEMPORARY heap-only placeholder so that other code links while the pools are written.
#include "Core/CPoolAllocator.h"
#include <cstdlib>
#include <cstring>

namespace orl {
void* CPoolAllocator::allocate(size_t size) {
    auto* raw = static_cast<uint8_t*>(std::malloc(size + 32));
    uint8_t* p = raw + 32;
    std::memcpy(p - 16, &raw, sizeof raw);
    std::memcpy(p - 9, &size, sizeof size);
    p[-1] = kHeapIndex;
    return p;
}
void CPoolAllocator::release(void* p) {
    if (!p) return;
    uint8_t* raw;
    std::memcpy(&raw, static_cast<uint8_t*>(p) - 16, sizeof raw);
    std::free(raw);
}
size_t CPoolAllocator::capacityOf(const void* p) {
    size_t s;
    std::memcpy(&s, static_cast<const uint8_t*>(p) - 9, sizeof s);
    return s;
}
void* CPoolAllocator::reallocate(void* p, size_t size) {
    if (!p) return allocate(size);
    size_t old = capacityOf(p);
    if (old == size) return p;
    void* n = allocate(size);
    std::memcpy(n, p, old < size ? old : size);
    release(p);
    return n;
}
}  // namespace orl
