#include "Core/CWriteSeqBuffer.h"

#include <cstring>

#include "Core/CPoolAllocator.h"

namespace orl {

CWriteSeqBuffer::CWriteSeqBuffer(uint32_t chunkSize) : m_chunkSize(chunkSize > 0 ? chunkSize : 1) {
    m_chunks.add(Chunk{m_first, 0, kFirstChunkBytes});
}

CWriteSeqBuffer::~CWriteSeqBuffer() { clear(); }

void CWriteSeqBuffer::clear() {
    for (int32_t i = 1; i < m_chunks.count(); ++i) CPoolAllocator::release(m_chunks[i].data);
    m_chunks.clear();
    m_chunks.add(Chunk{m_first, 0, kFirstChunkBytes});
    m_size = 0;
}

CError* CWriteSeqBuffer::write(const void* buffer, uint32_t count) {
    const uint8_t* src = static_cast<const uint8_t*>(buffer);
    Chunk& current = m_chunks.last();
    const uint32_t room = current.capacity - current.used;
    const uint32_t first = count < room ? count : room;
    if (first > 0) {
        std::memcpy(current.data + current.used, src, first);
        current.used += first;
    }
    const uint32_t rest = count - first;
    if (rest > 0) {
        const uint32_t capacity = rest > m_chunkSize ? rest : m_chunkSize;
        uint8_t* data = static_cast<uint8_t*>(CPoolAllocator::allocate(capacity));
        std::memcpy(data, src + first, rest);
        m_chunks.add(Chunk{data, rest, capacity});
    }
    m_size += count;
    return nullptr;
}

CError* CWriteSeqBuffer::writeTo(COutputStream& out) const {
    for (const Chunk& chunk : m_chunks) {
        if (chunk.used == 0) continue;
        if (CError* err = out.write(chunk.data, chunk.used)) return ORL_PASS(err, CString::empty());
    }
    return nullptr;
}

}  // namespace orl
