#include "Core/CInputZipStream.h"

namespace orl {

CInputZipStream::~CInputZipStream() {
    if (CError* err = close()) {
        logError(err);
        deleteError(err);
    }
}

CError* CInputZipStream::open(CInputStream* source) {
    if (CError* err = close()) return ORL_PASS(err, CString::empty());
    m_zip.next_in = Z_NULL;
    m_zip.avail_in = 0;
    m_zip.msg = nullptr;
    const int code = inflateInit(&m_zip);
    if (code != Z_OK)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputZipStream_open_inflateInit zlib inflateInit error %1 (%2).",
                         CString::fromInt(code), message());
    m_active = true;
    m_source = source;
    buffer();
    return nullptr;
}

CError* CInputZipStream::read(void* buffer, uint32_t count) {
    if (!m_source || !m_active)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputZipStream_read_NoStream Input stream not specified.");
    if (count == 0) return nullptr;
    m_zip.next_out = static_cast<Bytef*>(buffer);
    m_zip.avail_out = count;
    while (m_zip.avail_out > 0) {
        if (m_zip.avail_in == 0) {
            uint32_t got = kBufferBytes;
            if (CError* err = m_source->readStreamed(this->buffer(), got)) return ORL_PASS(err, CString::empty());
            // A source that has run dry can't finish the request: the data was cut short.
            if (got == 0)
                return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CInputZipStream_read_EOF Premature end of file.");
            m_zip.next_in = this->buffer();
            m_zip.avail_in = got;
        }
        const int code = inflate(&m_zip, Z_NO_FLUSH);
        if (code == Z_STREAM_END) {
            if (m_zip.avail_out > 0)
                return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CInputZipStream_read_EOF Premature end of file.");
            break;
        }
        // Z_BUF_ERROR only says that no progress was possible without more input; the next turn
        // of the loop brings it.
        if (code != Z_OK && !(code == Z_BUF_ERROR && m_zip.avail_in == 0))
            return ORL_ERROR(nullptr, CString::empty(),
                             "@orlstr_CInputZipStream_read_inflate zlib inflate error %1 (%2).", CString::fromInt(code),
                             message());
    }
    return nullptr;
}

CError* CInputZipStream::close() {
    m_source = nullptr;
    releaseBuffer();
    if (!m_active) return nullptr;
    m_active = false;
    const int code = inflateEnd(&m_zip);
    if (code != Z_OK)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputZipStream_close_inflateEnd zlib inflateEnd error %1 (%2).",
                         CString::fromInt(code), message());
    return nullptr;
}

}  // namespace orl
