#include "Other/CInterfaceMessage.h"

#include <cstring>

#include "Core/CString.h"

namespace orl {

CInterfaceMessage::CInterfaceMessage() { m_buffer.resize(kInitialCapacity); }

CInterfaceMessage::CInterfaceMessage(const char* eventName) : CInterfaceMessage() {
    (void)writeString(CString(eventName));
}

CError* CInterfaceMessage::write(const void* buffer, uint32_t count) {
    if (count == 0) return nullptr;
    const uint64_t need = static_cast<uint64_t>(m_used) + count;
    if (need > m_buffer.size()) {
        uint64_t grown = static_cast<uint64_t>(m_buffer.size()) * 2;
        if (grown < need) grown = need;
        m_buffer.resize(static_cast<uint32_t>(grown));
    }
    std::memcpy(m_buffer.data() + m_used, buffer, count);
    m_used += count;
    return nullptr;
}

CByteBuffer CInterfaceMessage::take() {
    m_buffer.resize(m_used);
    m_used = 0;
    return static_cast<CByteBuffer&&>(m_buffer);
}

}  // namespace orl
