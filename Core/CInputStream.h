#pragma once
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/CError.h"
#include "Core/CString.h"

namespace orl {

// Reading side of the stream family. Every multi-byte value is little-endian. Fallible calls
// return an error or null; a failed stream stays usable and nothing is rolled back, so that
// the caller decides what a failure means. Output that was partly read is the caller's to drop.
class CInputStream {
public:
    // Longest string text readString accepts; longer lengths are taken for damage.
    static constexpr uint32_t kMaxStringBytes = 61440;
    // Largest piece the default skip reads at a time.
    static constexpr uint32_t kSkipChunkBytes = 32768;
    // Largest sizes a compressed block may declare before anything is allocated for it.
    static constexpr uint32_t kMaxBlockBytes = 256u << 20;

    // The id of a compressed block from its four characters, the first in the lowest byte:
    // blockId("adat") == 0x74616461.
    static constexpr uint32_t blockId(const char (&text)[5]) {
        return static_cast<uint32_t>(static_cast<uint8_t>(text[0])) |
               static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 8 |
               static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 16 |
               static_cast<uint32_t>(static_cast<uint8_t>(text[3])) << 24;
    }

    virtual ~CInputStream() = default;
    // Address of the bytes at the current position when they stay valid, else null.
    virtual const uint8_t* getDirectPointer() { return nullptr; }
    virtual CError* skip(uint32_t count);
    // Delivers exactly count bytes or fails.
    virtual CError* read(void* buffer, uint32_t count) = 0;
    // Delivers up to inOutCount bytes and sets it to the number delivered; 0 means the end.
    virtual CError* readStreamed(void* buffer, uint32_t& inOutCount) { return read(buffer, inOutCount); }

    CError* readInt8(int8_t& out);
    CError* readUInt8(uint8_t& out);
    CError* readInt16(int16_t& out);
    CError* readUInt16(uint16_t& out);
    CError* readInt32(int32_t& out);
    CError* readUInt32(uint32_t& out);
    CError* readInt64(int64_t& out);
    CError* readUInt64(uint64_t& out);
    CError* readFloat(float& out);
    CError* readDouble(double& out);
    // One byte; any value other than 0 reads as true.
    CError* readBool(bool& out);
    // u32 byte length, then UTF-8 text. The result is 8-bit while every character is below 256
    // (out keeps 16-bit storage if it already had it).
    CError* readString(CString& out);

    // Compressed block, zlib form: id, size U, Adler-32 of the size bytes, a zlib stream.
    // The inflater reads ahead, so the block must end the stream or be followed by nothing
    // that matters.
    CError* readCompressedData(CByteBuffer& out, uint32_t id);
    // Compressed block, LZ4 form: id, size U, compressed size C, Adler-32 of both, C bytes.
    CError* readCompressedDataLZ4(CByteBuffer& out, uint32_t id);
};

}  // namespace orl
