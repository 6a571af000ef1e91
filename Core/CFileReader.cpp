#include "Core/CFileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace orl {

namespace {

// Reads until count bytes are in or the file ends; on an error false, with its number in code.
bool readFully(int handle, uint8_t* buffer, uint32_t count, uint32_t& done, int& code) {
    done = 0;
    while (done < count) {
        const ssize_t n = ::read(handle, buffer + done, count - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            code = errno;
            return false;
        }
        if (n == 0) break;
        done += static_cast<uint32_t>(n);
    }
    return true;
}

}  // namespace

CError* CFileReader::open(const CString& path, bool writeAccess) {
    if (CError* err = close()) return ORL_PASS(err, CString::empty());
    if (path == "*") {
        attach(STDIN_FILENO, CString("stdin"), true);
        return nullptr;
    }
    const CString native = systemPath(path);
    const int flags = (writeAccess ? O_RDWR | O_CREAT : O_RDONLY) | O_CLOEXEC;
    int handle;
    do {
        handle = ::open(native.c8(), flags, 0666);
    } while (handle < 0 && errno == EINTR);
    int code = errno;
    if (handle >= 0) {
        // A folder opens on this system but can't be read; it fails here, where the message
        // names the path.
        struct stat info;
        if (::fstat(handle, &info) == 0 && S_ISDIR(info.st_mode)) {
            ::close(handle);
            handle = -1;
            code = EISDIR;
        }
    }
    if (handle < 0)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileReader_open_OpenError Unable to open file '%1' for reading (error %2).", path,
                         CString::fromInt(code));
    ::posix_fadvise(handle, 0, 0, POSIX_FADV_SEQUENTIAL);
    attach(handle, path, false);
    return nullptr;
}

CError* CFileReader::skip(uint32_t count) {
    if (::lseek(m_handle, static_cast<off_t>(count), SEEK_CUR) >= 0) return nullptr;
    const int code = errno;
    if (code == ESPIPE) {
        if (CError* err = CInputStream::skip(count)) return ORL_PASS(err, CString::empty());
        return nullptr;
    }
    return ORL_ERROR(nullptr, CString::empty(),
                     "@orlstr_CFileReader_skip_PosError Unable to increment file's '%1' position by %2 (error %3).",
                     m_name, CString::fromInt(count), CString::fromInt(code));
}

CError* CFileReader::read(void* buffer, uint32_t count) {
    uint32_t done = 0;
    int code = 0;
    if (!readFully(m_handle, static_cast<uint8_t*>(buffer), count, done, code))
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileReader_read_ReadError Unable to read from file '%1' (error %2).", m_name,
                         CString::fromInt(code));
    if (done < count)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileReader_read_ReadBeyondEnd Unable to read from file '%1' (required %2 bytes, "
                         "read %3 bytes).",
                         m_name, CString::fromInt(count), CString::fromInt(done));
    return nullptr;
}

CError* CFileReader::readStreamed(void* buffer, uint32_t& inOutCount) {
    uint32_t done = 0;
    int code = 0;
    if (!readFully(m_handle, static_cast<uint8_t*>(buffer), inOutCount, done, code))
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CFileReader_readStreamed_ReadError Unable to read from file '%1' (error %2).", m_name,
                         CString::fromInt(code));
    inOutCount = done;
    return nullptr;
}

}  // namespace orl
