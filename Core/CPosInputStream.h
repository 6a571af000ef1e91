#pragma once
#include "Core/CInputStream.h"
#include "Core/CPosStream.h"

namespace orl {

// An input stream with a position and a size.
class CPosInputStream : public CInputStream, public virtual CPosStream {
public:
    ~CPosInputStream() override = default;
};

}  // namespace orl
