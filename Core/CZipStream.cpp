#include "Core/CZipStream.h"

#include <cstring>

#include "Core/CPoolAllocator.h"

namespace orl {

CZipStream::CZipStream() {
    std::memset(&m_zip, 0, sizeof(m_zip));
    m_zip.zalloc = &CZipStream::allocateHook;
    m_zip.zfree = &CZipStream::releaseHook;
    m_zip.opaque = nullptr;
}

CZipStream::~CZipStream() { releaseBuffer(); }

CString CZipStream::message() const { return m_zip.msg ? CString(m_zip.msg) : CString(); }

uint8_t* CZipStream::buffer() {
    if (!m_buffer) m_buffer = static_cast<uint8_t*>(CPoolAllocator::allocate(kBufferBytes));
    return m_buffer;
}

void CZipStream::releaseBuffer() {
    if (m_buffer) CPoolAllocator::release(m_buffer);
    m_buffer = nullptr;
}

voidpf CZipStream::allocateHook(voidpf, uInt items, uInt size) {
    const uint64_t bytes = static_cast<uint64_t>(items) * size;
    if (bytes == 0 || bytes > 0xFFFFFFFFu) return Z_NULL;
    return CPoolAllocator::allocate(static_cast<size_t>(bytes));
}

void CZipStream::releaseHook(voidpf, voidpf address) {
    if (address) CPoolAllocator::release(address);
}

}  // namespace orl
