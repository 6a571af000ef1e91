#pragma once
#include "Core/COutputStream.h"
#include "Core/CZipStream.h"

namespace orl {

// Deflates into another output stream, in pieces of 32,768 bytes.
class COutputZipStream : public COutputStream, public CZipStream {
public:
    COutputZipStream() = default;
    // Finishes and ends the deflater; an error on the way is logged.
    ~COutputZipStream() override;

    // Closes any earlier use and starts deflating into target at level (0 to 9), which must
    // outlive the use.
    CError* open(COutputStream* target, int level);
    // Deflates without flushing; full output pieces go to the target as they come.
    CError* write(const void* buffer, uint32_t count) override;
    // Finishes the zlib stream, writes what is left and ends the deflater.
    CError* close();

private:
    CError* flushBuffer();

    COutputStream* m_target = nullptr;
};

}  // namespace orl
