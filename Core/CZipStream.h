#pragma once
#include <zlib.h>

#include <cstdint>

#include "Core/CString.h"

namespace orl {

// The zlib state shared by the inflating and deflating streams. zlib's memory requests go to
// the pools, so that its buffers are accounted for with everything else.
class CZipStream {
public:
    static constexpr uint32_t kBufferBytes = 32768;

    CZipStream(const CZipStream&) = delete;
    CZipStream& operator=(const CZipStream&) = delete;

protected:
    CZipStream();
    ~CZipStream();

    // zlib's message for the last call, or the empty text when it gave none.
    CString message() const;
    // The 32,768-byte buffer between zlib and the other stream, taken on first use.
    uint8_t* buffer();
    void releaseBuffer();

    static voidpf allocateHook(voidpf opaque, uInt items, uInt size);
    static void releaseHook(voidpf opaque, voidpf address);

    z_stream m_zip;
    bool m_active = false;  // between a successful init and its end call

private:
    uint8_t* m_buffer = nullptr;
};

}  // namespace orl
