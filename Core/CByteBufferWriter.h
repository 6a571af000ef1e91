#pragma once
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/COutputStream.h"

namespace orl {

// An output stream that appends to a byte buffer, for data that is serialised in memory before
// it goes into a block, a chunk or the stored application data.
class CByteBufferWriter : public COutputStream {
public:
    // Appends after what the buffer holds already.
    explicit CByteBufferWriter(CByteBuffer& target) : m_target(target), m_used(target.size()) {}
    // Trims the buffer to what was written.
    ~CByteBufferWriter() override { m_target.resize(m_used); }
    CByteBufferWriter(const CByteBufferWriter&) = delete;
    CByteBufferWriter& operator=(const CByteBufferWriter&) = delete;

    CError* write(const void* buffer, uint32_t count) override;
    uint32_t size() const { return m_used; }

private:
    CByteBuffer& m_target;
    uint32_t m_used;
};

}  // namespace orl
