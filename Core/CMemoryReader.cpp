#include "Core/CMemoryReader.h"

#include <cstring>

namespace orl {

CError* CMemoryReader::skip(uint32_t count) {
    if (count > m_size - m_position)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CMemoryReader_skip_EOF Premature end of memory resource while skipping (pos %1, "
                         "count %2, size %3).",
                         CString::fromInt(m_position), CString::fromInt(count), CString::fromInt(m_size));
    m_position += count;
    return nullptr;
}

CError* CMemoryReader::read(void* buffer, uint32_t count) {
    if (count > m_size - m_position)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CMemoryReader_read_EOF Premature end of memory resource while reading (pos %1, "
                         "count %2, size %3).",
                         CString::fromInt(m_position), CString::fromInt(count), CString::fromInt(m_size));
    if (count > 0) std::memcpy(buffer, m_data + m_position, count);
    m_position += count;
    return nullptr;
}

CError* CMemoryReader::readStreamed(void* buffer, uint32_t& inOutCount) {
    const uint32_t left = m_size - m_position;
    if (inOutCount > left) inOutCount = left;
    if (inOutCount > 0) std::memcpy(buffer, m_data + m_position, inOutCount);
    m_position += inOutCount;
    return nullptr;
}

CError* CMemoryReader::getPosition(uint64_t& out) {
    out = m_position;
    return nullptr;
}

CError* CMemoryReader::getSize(uint64_t& out) {
    out = m_size;
    return nullptr;
}

CError* CMemoryReader::setPosition(uint64_t position) {
    if (position > m_size)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CMemoryReader_setPosition_EOF Position %1 is beyond the end of memory resource "
                         "(size %2).",
                         CString::fromInt(static_cast<int64_t>(position)), CString::fromInt(m_size));
    m_position = static_cast<uint32_t>(position);
    return nullptr;
}

}  // namespace orl
