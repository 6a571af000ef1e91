#pragma once
#include "Core/CMemoryReader.h"

namespace orl {

// A memory reader over data that outlives it (linked-in resources), so that it may hand out
// the address of its bytes and readers can use them in place instead of copying.
class CMemoryReaderStatic : public CMemoryReader {
public:
    CMemoryReaderStatic() = default;
    CMemoryReaderStatic(const void* data, uint32_t size) : CMemoryReader(data, size) {}
    ~CMemoryReaderStatic() override = default;

    // The bytes at the current position, or null at the end.
    const uint8_t* getDirectPointer() override { return m_data && m_position < m_size ? m_data + m_position : nullptr; }
};

}  // namespace orl
