#include "Core/COutputZipStream.h"

namespace orl {

COutputZipStream::~COutputZipStream() {
    if (CError* err = close()) {
        logError(err);
        deleteError(err);
    }
}

CError* COutputZipStream::open(COutputStream* target, int level) {
    if (CError* err = close()) return ORL_PASS(err, CString::empty());
    m_zip.next_in = Z_NULL;
    m_zip.avail_in = 0;
    m_zip.msg = nullptr;
    const int code = deflateInit(&m_zip, level);
    if (code != Z_OK)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_COutputZipStream_open_deflateInit zlib deflateInit error %1 (%2).",
                         CString::fromInt(code), message());
    m_active = true;
    m_target = target;
    m_zip.next_out = buffer();
    m_zip.avail_out = kBufferBytes;
    return nullptr;
}

CError* COutputZipStream::flushBuffer() {
    const uint32_t used = kBufferBytes - m_zip.avail_out;
    if (used > 0) {
        if (CError* err = m_target->write(buffer(), used)) return ORL_PASS(err, CString::empty());
    }
    m_zip.next_out = buffer();
    m_zip.avail_out = kBufferBytes;
    return nullptr;
}

CError* COutputZipStream::write(const void* data, uint32_t count) {
    if (!m_target || !m_active)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_COutputZipStream_write_NoStream Output stream not specified.");
    m_zip.next_in = static_cast<Bytef*>(const_cast<void*>(data));
    m_zip.avail_in = count;
    while (m_zip.avail_in > 0) {
        if (m_zip.avail_out == 0) {
            if (CError* err = flushBuffer()) return ORL_PASS(err, CString::empty());
        }
        const int code = deflate(&m_zip, Z_NO_FLUSH);
        if (code != Z_OK && code != Z_BUF_ERROR)
            return ORL_ERROR(nullptr, CString::empty(),
                             "@orlstr_COutputZipStream_write_deflate zlib deflate error %1 (%2).",
                             CString::fromInt(code), message());
    }
    m_zip.next_in = Z_NULL;
    return nullptr;
}

CError* COutputZipStream::close() {
    if (!m_active) {
        m_target = nullptr;
        releaseBuffer();
        return nullptr;
    }
    CError* err = nullptr;
    if (m_target) {
        for (;;) {
            if (m_zip.avail_out == 0) {
                if ((err = flushBuffer())) {
                    err = ORL_PASS(err, CString::empty());
                    break;
                }
            }
            const int code = deflate(&m_zip, Z_FINISH);
            if (code == Z_STREAM_END) {
                if ((err = flushBuffer())) err = ORL_PASS(err, CString::empty());
                break;
            }
            if (code != Z_OK && code != Z_BUF_ERROR) {
                err = ORL_ERROR(nullptr, CString::empty(),
                                "@orlstr_COutputZipStream_close_deflate zlib deflate error %1 (%2).",
                                CString::fromInt(code), message());
                break;
            }
        }
    }
    m_active = false;
    m_target = nullptr;
    // A deflater that didn't finish reports a data error here; that adds nothing to the error
    // that stopped it.
    const int code = deflateEnd(&m_zip);
    if (code != Z_OK && !(err && code == Z_DATA_ERROR))
        err =
            ORL_ERROR(err, CString::empty(), "@orlstr_COutputZipStream_close_deflateEnd zlib deflateEnd error %1 (%2).",
                      CString::fromInt(code), message());
    releaseBuffer();
    return err;
}

}  // namespace orl
