#pragma once
#include <cstdint>

#include "Core/CError.h"

namespace orl {

// Position and size of a seekable stream. It is a virtual base of every stream that has them,
// so that a file reader, which is both a seekable input and an open file, holds one position.
class CPosStream {
public:
    virtual ~CPosStream() = default;
    virtual CError* getPosition(uint64_t& out) = 0;
    virtual CError* getSize(uint64_t& out) = 0;
    virtual CError* setPosition(uint64_t position) = 0;

    // 32-bit forms for formats that size buffers from the stream: they fail when the value
    // doesn't fit in 31 bits, so that a signed 32-bit size can never come out negative.
    CError* getPositionInt(int32_t& out);
    CError* getSizeInt(int32_t& out);
};

}  // namespace orl
