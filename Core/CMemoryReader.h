#pragma once
#include <cstdint>

#include "Core/CPosInputStream.h"

namespace orl {

// Reads a byte range that it doesn't own. Data, size and position are 32-bit. A read or skip
// that would pass the end fails and leaves the position where it was.
class CMemoryReader : public CPosInputStream {
public:
    CMemoryReader() = default;
    CMemoryReader(const void* data, uint32_t size) { setData(data, size); }
    ~CMemoryReader() override = default;

    // Points the reader at another range and rewinds it.
    void setData(const void* data, uint32_t size) {
        m_data = static_cast<const uint8_t*>(data);
        m_size = size;
        m_position = 0;
    }
    const uint8_t* data() const { return m_data; }
    uint32_t size() const { return m_size; }
    uint32_t position() const { return m_position; }

    CError* skip(uint32_t count) override;
    CError* read(void* buffer, uint32_t count) override;
    // Delivers what is left up to the count; 0 at the end.
    CError* readStreamed(void* buffer, uint32_t& inOutCount) override;

    CError* getPosition(uint64_t& out) override;
    CError* getSize(uint64_t& out) override;
    // Any position up to the size, the end included.
    CError* setPosition(uint64_t position) override;

protected:
    const uint8_t* m_data = nullptr;
    uint32_t m_size = 0;
    uint32_t m_position = 0;
};

}  // namespace orl
