#pragma once
#include "Core/COutputStream.h"
#include "Core/CPosStream.h"

namespace orl {

// An output stream with a position and a size.
class CPosOutputStream : public COutputStream, public virtual CPosStream {
public:
    ~CPosOutputStream() override = default;
};

}  // namespace orl
