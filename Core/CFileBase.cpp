#include "Core/CFileBase.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace orl {

CFileBase::~CFileBase() {
    if (CError* err = close()) {
        logError(err);
        deleteError(err);
    }
}

void CFileBase::attach(int handle, const CString& name, bool standard) {
    m_handle = handle;
    m_name = name;
    m_standard = standard;
}

CString CFileBase::systemPath(const CString& path) {
    if (!path.isWide()) return path;
    CString out;
    const int32_t length = path.length();
    for (int32_t i = 0; i < length; ++i) {
        uint32_t c = path.at(i);
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < length && path.at(i + 1) >= 0xDC00 && path.at(i + 1) <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (path.at(i + 1) - 0xDC00u);
            ++i;
        }
        char bytes[4];
        int32_t n;
        if (c < 0x80) {
            bytes[0] = static_cast<char>(c);
            n = 1;
        } else if (c < 0x800) {
            bytes[0] = static_cast<char>(0xC0 | (c >> 6));
            bytes[1] = static_cast<char>(0x80 | (c & 0x3F));
            n = 2;
        } else if (c < 0x10000) {
            bytes[0] = static_cast<char>(0xE0 | (c >> 12));
            bytes[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            bytes[2] = static_cast<char>(0x80 | (c & 0x3F));
            n = 3;
        } else {
            bytes[0] = static_cast<char>(0xF0 | (c >> 18));
            bytes[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            bytes[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            bytes[3] = static_cast<char>(0x80 | (c & 0x3F));
            n = 4;
        }
        out.append(bytes, n);
    }
    return out;
}

CError* CFileBase::close() {
    if (m_handle < 0) return nullptr;
    const int handle = m_handle;
    const bool standard = m_standard;
    m_handle = -1;
    m_standard = false;
    // The handle is gone after close even when it reports an error, so it isn't retried.
    if (!standard && ::close(handle) != 0) {
        const int code = errno;
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileBase_close_CloseError Unable to close file '%1' (error %2).", m_name,
                         CString::fromInt(code));
    }
    return nullptr;
}

CError* CFileBase::getPosition(uint64_t& out) {
    const off_t pos = ::lseek(m_handle, 0, SEEK_CUR);
    if (pos < 0) {
        const int code = errno;
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileBase_getPosition_PosError Unable to get file's '%1' position (error %2).",
                         m_name, CString::fromInt(code));
    }
    out = static_cast<uint64_t>(pos);
    return nullptr;
}

CError* CFileBase::getSize(uint64_t& out) {
    struct stat info;
    if (::fstat(m_handle, &info) != 0) {
        const int code = errno;
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileBase_getSize_FileSizeError Unable to get file's '%1' size (error %2).", m_name,
                         CString::fromInt(code));
    }
    out = static_cast<uint64_t>(info.st_size);
    return nullptr;
}

CError* CFileBase::setPosition(uint64_t position) {
    const off_t target = static_cast<off_t>(position);
    const off_t pos = target < 0 ? -1 : ::lseek(m_handle, target, SEEK_SET);
    if (pos < 0) {
        const int code = target < 0 ? EINVAL : errno;
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileBase_setPosition_PosError Unable to set file's '%1' position to %2 (error %3).",
                         m_name, CString::format("%llu", static_cast<unsigned long long>(position)),
                         CString::fromInt(code));
    }
    return nullptr;
}

}  // namespace orl
