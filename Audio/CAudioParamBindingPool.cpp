#include "Audio/CAudioParamBindingPool.h"

namespace orl {

CAudioParamBindingPool::~CAudioParamBindingPool() {
    for (CAudioParamBinding* chunk : m_chunks) delete[] chunk;
}

CAudioParamBinding* CAudioParamBindingPool::acquire() {
    if (!m_free) {
        auto* chunk = new CAudioParamBinding[kChunkSize];
        m_chunks.add(chunk);
        for (int32_t i = kChunkSize - 1; i >= 0; --i) {
            chunk[i].next = m_free;
            m_free = &chunk[i];
        }
        m_freeCount += kChunkSize;
    }
    CAudioParamBinding* node = m_free;
    m_free = node->next;
    --m_freeCount;
    *node = CAudioParamBinding();
    return node;
}

void CAudioParamBindingPool::release(CAudioParamBinding* node) {
    if (!node) return;
    *node = CAudioParamBinding();
    node->next = m_free;
    m_free = node;
    ++m_freeCount;
}

}  // namespace orl
