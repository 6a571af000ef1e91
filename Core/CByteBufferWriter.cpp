#include "Core/CByteBufferWriter.h"

#include <cstring>

namespace orl {

CError* CByteBufferWriter::write(const void* buffer, uint32_t count) {
    if (count == 0) return nullptr;
    if (count > UINT32_MAX - m_used)
        return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CByteBufferWriter_write_TooLarge Memory stream exceeds 4 GB.");
    const uint32_t needed = m_used + count;
    if (needed > m_target.size()) {
        // Doubling keeps a long run of small writes linear.
        uint64_t grown = static_cast<uint64_t>(m_target.size()) * 2;
        if (grown < needed) grown = needed;
        if (grown < 256) grown = 256;
        if (grown > UINT32_MAX) grown = UINT32_MAX;
        m_target.resize(static_cast<uint32_t>(grown));
    }
    std::memcpy(m_target.data() + m_used, buffer, count);
    m_used = needed;
    return nullptr;
}

}  // namespace orl
