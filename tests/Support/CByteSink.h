#pragma once
#include <cstdint>
#include <vector>

#include "Core/COutputStream.h"

namespace orl::test {

// An output stream that keeps every byte written, and counts the writes.
class CByteSink : public COutputStream {
public:
    CError* write(const void* buffer, uint32_t count) override {
        const uint8_t* b = static_cast<const uint8_t*>(buffer);
        bytes.insert(bytes.end(), b, b + count);
        ++writes;
        return nullptr;
    }
    std::vector<uint8_t> bytes;
    int writes = 0;
};

}  // namespace orl::test
