#include "Core/CFileWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace orl {

CError* CFileWriter::open(const CString& path, bool append) {
    if (CError* err = close()) return ORL_PASS(err, CString::empty());
    if (path == "*") {
        attach(STDOUT_FILENO, CString("stdout"), true);
        return nullptr;
    }
    if (path == "*e") {
        attach(STDERR_FILENO, CString("stderr"), true);
        return nullptr;
    }
    const CString native = systemPath(path);
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (append ? 0 : O_TRUNC);
    int handle;
    do {
        handle = ::open(native.c8(), flags, 0666);
    } while (handle < 0 && errno == EINTR);
    int code = errno;
    // A pipe or terminal has no end to move to; that isn't a reason to refuse it.
    if (handle >= 0 && append && ::lseek(handle, 0, SEEK_END) < 0 && errno != ESPIPE) {
        code = errno;
        ::close(handle);
        handle = -1;
    }
    if (handle < 0)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileWriter_open_OpenError Unable to open file '%1' for %2 (error %3).", path,
                         CString(append ? "appending" : "rewriting"), CString::fromInt(code));
    ::posix_fadvise(handle, 0, 0, POSIX_FADV_SEQUENTIAL);
    attach(handle, path, false);
    return nullptr;
}

CError* CFileWriter::write(const void* buffer, uint32_t count) {
    const uint8_t* bytes = static_cast<const uint8_t*>(buffer);
    uint32_t done = 0;
    while (done < count) {
        const ssize_t n = ::write(m_handle, bytes + done, count - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            const int code = errno;
            return ORL_ERROR(nullptr, CString::empty(),
                             "@orlstr_CFileWriter_write_WriteError Unable to write to file '%1' (error %2).", m_name,
                             CString::fromInt(code));
        }
        if (n == 0) break;
        done += static_cast<uint32_t>(n);
    }
    if (done < count)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileWriter_write_WriteErrorCount Unable to write to file '%1' (required %2 bytes, "
                         "written %3 bytes).",
                         m_name, CString::fromInt(count), CString::fromInt(done));
    return nullptr;
}

}  // namespace orl
