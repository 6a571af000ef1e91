#pragma once
#include "Core/CInputStream.h"
#include "Core/CZipStream.h"

namespace orl {

// Inflates a zlib stream pulled from another input stream. It pulls 32,768 bytes at a time,
// so it may take more from the source than the zlib stream holds.
class CInputZipStream : public CInputStream, public CZipStream {
public:
    CInputZipStream() = default;
    // Ends the inflater; an error on the way is logged.
    ~CInputZipStream() override;

    // Ends any earlier use and starts inflating from source, which must outlive the use.
    CError* open(CInputStream* source);
    // Delivers exactly count bytes or fails; the end of the zlib stream or of the source before
    // that is a failure.
    CError* read(void* buffer, uint32_t count) override;
    CError* close();

private:
    CInputStream* m_source = nullptr;
};

}  // namespace orl
