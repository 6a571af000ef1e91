#pragma once
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/CError.h"
#include "Core/CString.h"

namespace orl {

// Writing side of the stream family; the encodings mirror CInputStream's readers exactly.
class COutputStream {
public:
    // Compression level of every zlib block the system writes.
    static constexpr int kZipLevel = 5;
    // LZ4 HC level of every LZ4 block.
    static constexpr int kLZ4Level = 12;

    virtual ~COutputStream() = default;
    virtual CError* write(const void* buffer, uint32_t count) = 0;

    CError* writeInt8(int8_t v);
    CError* writeUInt8(uint8_t v);
    CError* writeInt16(int16_t v);
    CError* writeUInt16(uint16_t v);
    CError* writeInt32(int32_t v);
    CError* writeUInt32(uint32_t v);
    CError* writeInt64(int64_t v);
    CError* writeUInt64(uint64_t v);
    CError* writeFloat(float v);
    CError* writeDouble(double v);
    CError* writeBool(bool v);
    // u32 byte length, then UTF-8. 8-bit text counts as Latin-1; 16-bit text loses any
    // surrogate code unit, so only characters of the 16-bit plane survive.
    CError* writeString(const CString& text);

    CError* writeCompressedData(uint32_t id, const void* data, uint32_t size, int level = kZipLevel);
    CError* writeCompressedData(uint32_t id, const CByteBuffer& data, int level = kZipLevel) {
        return writeCompressedData(id, data.data(), data.size(), level);
    }
    CError* writeCompressedDataLZ4(uint32_t id, const void* data, uint32_t size);
    CError* writeCompressedDataLZ4(uint32_t id, const CByteBuffer& data) {
        return writeCompressedDataLZ4(id, data.data(), data.size());
    }
};

}  // namespace orl
