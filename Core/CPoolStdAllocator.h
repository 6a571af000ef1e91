#pragma once
#include <cstddef>

#include "Core/CPoolAllocator.h"

namespace orl {

// Adapts the size-class pools to the standard allocator interface, so that standard containers
// (the ordered maps above all) take their nodes from the pools instead of the general heap.
template <class T>
class CPoolStdAllocator {
public:
    using value_type = T;

    CPoolStdAllocator() noexcept = default;
    template <class U>
    CPoolStdAllocator(const CPoolStdAllocator<U>&) noexcept {}

    T* allocate(size_t n) { return static_cast<T*>(CPoolAllocator::allocate(n * sizeof(T))); }
    void deallocate(T* p, size_t) noexcept { CPoolAllocator::release(p); }

    template <class U>
    bool operator==(const CPoolStdAllocator<U>&) const noexcept { return true; }
};

}  // namespace orl
