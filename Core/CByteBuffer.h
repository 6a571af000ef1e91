#pragma once
#include <cstdint>
#include <cstring>

#include "Core/CPoolAllocator.h"

namespace orl {

// An owned, resizable run of bytes: the output of the block readers and the scratch space of
// the block writers. Storage comes from the pools (large runs fall through to the heap there).
// Growing zero-fills the new bytes, so that a read that fails half-way never leaves stale
// memory behind in the part it didn't reach.
class CByteBuffer {
public:
    CByteBuffer() = default;
    explicit CByteBuffer(uint32_t size) { resize(size); }
    CByteBuffer(const CByteBuffer& other) { assign(other.m_data, other.m_size); }
    CByteBuffer(CByteBuffer&& other) noexcept
        : m_data(other.m_data), m_size(other.m_size), m_capacity(other.m_capacity) {
        other.m_data = nullptr;
        other.m_size = other.m_capacity = 0;
    }
    ~CByteBuffer() { freeStorage(); }

    CByteBuffer& operator=(const CByteBuffer& other) {
        if (this != &other) assign(other.m_data, other.m_size);
        return *this;
    }
    CByteBuffer& operator=(CByteBuffer&& other) noexcept {
        if (this == &other) return *this;
        freeStorage();
        m_data = other.m_data;
        m_size = other.m_size;
        m_capacity = other.m_capacity;
        other.m_data = nullptr;
        other.m_size = other.m_capacity = 0;
        return *this;
    }

    uint8_t* data() { return m_data; }
    const uint8_t* data() const { return m_data; }
    uint32_t size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }

    uint8_t& operator[](uint32_t i) { return m_data[i]; }
    const uint8_t& operator[](uint32_t i) const { return m_data[i]; }

    // Sets the size; bytes that come into use are zero. Shrinking keeps the storage.
    void resize(uint32_t size) {
        if (size > m_capacity) {
            uint8_t* fresh = static_cast<uint8_t*>(CPoolAllocator::allocate(size));
            if (m_size > 0) std::memcpy(fresh, m_data, m_size);
            freeStorage();
            m_data = fresh;
            m_capacity = size;
        }
        if (size > m_size) std::memset(m_data + m_size, 0, size - m_size);
        m_size = size;
    }

    void assign(const void* bytes, uint32_t size) {
        m_size = 0;
        resize(size);
        if (size > 0) std::memcpy(m_data, bytes, size);
    }

    // Empties the buffer and gives its storage back.
    void clear() {
        freeStorage();
        m_size = m_capacity = 0;
    }

private:
    void freeStorage() {
        if (m_data) CPoolAllocator::release(m_data);
        m_data = nullptr;
    }

    uint8_t* m_data = nullptr;
    uint32_t m_size = 0;
    uint32_t m_capacity = 0;
};

}  // namespace orl
