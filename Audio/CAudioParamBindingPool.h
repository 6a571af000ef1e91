#pragma once
#include <cstdint>

#include "Audio/CAudioParamBinding.h"
#include "Core/CArray.h"

namespace orl {

// Binding nodes in chunks of 512, handed out and taken back through a free list. Chunks are
// kept until the pool goes, so a graph that binds and unbinds as its processes come and go
// reaches a steady state without the heap. Not locked: the owner guards it.
class CAudioParamBindingPool {
public:
    static constexpr int32_t kChunkSize = 512;

    CAudioParamBindingPool() = default;
    ~CAudioParamBindingPool();
    CAudioParamBindingPool(const CAudioParamBindingPool&) = delete;
    CAudioParamBindingPool& operator=(const CAudioParamBindingPool&) = delete;

    // A cleared node.
    CAudioParamBinding* acquire();
    void release(CAudioParamBinding* node);

    int32_t chunkCount() const { return m_chunks.count(); }
    int32_t freeCount() const { return m_freeCount; }

private:
    CArray<CAudioParamBinding*> m_chunks;
    CAudioParamBinding* m_free = nullptr;
    int32_t m_freeCount = 0;
};

}  // namespace orl
