#include "Core/CInputStream.h"

#include <lz4.h>
#include <zlib.h>

#include <cstring>

#include "Core/CInputZipStream.h"
#include "Core/CUtf8.h"

namespace orl {

namespace {

uint32_t le32(const uint8_t* b) {
    return static_cast<uint32_t>(b[0]) | static_cast<uint32_t>(b[1]) << 8 | static_cast<uint32_t>(b[2]) << 16 |
           static_cast<uint32_t>(b[3]) << 24;
}

uint32_t adlerOf(const uint8_t* bytes, uint32_t count) {
    return static_cast<uint32_t>(adler32(adler32(0L, Z_NULL, 0), bytes, count));
}

CString number(uint64_t v) { return CString::fromInt(static_cast<int64_t>(v)); }

}  // namespace

CError* CInputStream::skip(uint32_t count) {
    if (count == 0) return nullptr;
    CByteBuffer scratch(count < kSkipChunkBytes ? count : kSkipChunkBytes);
    while (count > 0) {
        const uint32_t piece = count < scratch.size() ? count : scratch.size();
        if (CError* err = read(scratch.data(), piece)) return ORL_PASS(err, CString::empty());
        count -= piece;
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Primitives

CError* CInputStream::readUInt8(uint8_t& out) {
    if (CError* err = read(&out, 1)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CInputStream::readInt8(int8_t& out) {
    uint8_t v = 0;
    if (CError* err = read(&v, 1)) return ORL_PASS(err, CString::empty());
    out = static_cast<int8_t>(v);
    return nullptr;
}

CError* CInputStream::readUInt16(uint16_t& out) {
    uint8_t b[2];
    if (CError* err = read(b, 2)) return ORL_PASS(err, CString::empty());
    out = static_cast<uint16_t>(b[0] | b[1] << 8);
    return nullptr;
}

CError* CInputStream::readInt16(int16_t& out) {
    uint16_t v = 0;
    if (CError* err = readUInt16(v)) return ORL_PASS(err, CString::empty());
    out = static_cast<int16_t>(v);
    return nullptr;
}

CError* CInputStream::readUInt32(uint32_t& out) {
    uint8_t b[4];
    if (CError* err = read(b, 4)) return ORL_PASS(err, CString::empty());
    out = le32(b);
    return nullptr;
}

CError* CInputStream::readInt32(int32_t& out) {
    uint32_t v = 0;
    if (CError* err = readUInt32(v)) return ORL_PASS(err, CString::empty());
    out = static_cast<int32_t>(v);
    return nullptr;
}

CError* CInputStream::readUInt64(uint64_t& out) {
    uint8_t b[8];
    if (CError* err = read(b, 8)) return ORL_PASS(err, CString::empty());
    out = static_cast<uint64_t>(le32(b)) | static_cast<uint64_t>(le32(b + 4)) << 32;
    return nullptr;
}

CError* CInputStream::readInt64(int64_t& out) {
    uint64_t v = 0;
    if (CError* err = readUInt64(v)) return ORL_PASS(err, CString::empty());
    out = static_cast<int64_t>(v);
    return nullptr;
}

CError* CInputStream::readFloat(float& out) {
    uint32_t bits = 0;
    if (CError* err = readUInt32(bits)) return ORL_PASS(err, CString::empty());
    static_assert(sizeof(float) == 4);
    std::memcpy(&out, &bits, 4);
    return nullptr;
}

CError* CInputStream::readDouble(double& out) {
    uint64_t bits = 0;
    if (CError* err = readUInt64(bits)) return ORL_PASS(err, CString::empty());
    static_assert(sizeof(double) == 8);
    std::memcpy(&out, &bits, 8);
    return nullptr;
}

CError* CInputStream::readBool(bool& out) {
    uint8_t v = 0;
    if (CError* err = read(&v, 1)) return ORL_PASS(err, CString::empty());
    out = v != 0;
    return nullptr;
}

CError* CInputStream::readString(CString& out) {
    uint32_t length = 0;
    if (CError* err = readUInt32(length)) return ORL_PASS(err, CString::empty());
    if (length > kMaxStringBytes)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readString_StringDataTooLong String length %1 too long in readString().",
                         number(length));
    if (length == 0) {
        out = CString();
        return nullptr;
    }

    // One block holds the decoded 16-bit units first (at most one unit per byte read) and the
    // raw bytes behind them; the raw part is reused for the 8-bit result once it is decoded.
    alignas(2) uint8_t local[3 * 128];
    CByteBuffer heap;
    uint8_t* block = local;
    if (length > 128) {
        heap.resize(3 * length);
        block = heap.data();
    }
    char16_t* units = reinterpret_cast<char16_t*>(block);
    uint8_t* raw = block + 2 * length;
    if (CError* err = read(raw, length)) return ORL_PASS(err, CString::empty());

    char16_t highest = 0;
    const uint32_t count = CUtf8::decode(raw, length, units, highest);

    if (highest < 256) {
        char* narrow = reinterpret_cast<char*>(raw);
        for (uint32_t k = 0; k < count; ++k) narrow[k] = static_cast<char>(units[k]);
        out = CString(narrow, static_cast<int32_t>(count));
    } else {
        out = CString(units, static_cast<int32_t>(count));
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Compressed blocks

CError* CInputStream::readCompressedData(CByteBuffer& out, uint32_t id) {
    uint32_t readId = 0;
    if (CError* err = readUInt32(readId)) return ORL_PASS(err, CString::empty());
    if (readId != id)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readCompressedData_InvalidData Invalid ID encountered when reading "
                         "compressed data (expected %1, read %2).",
                         number(id), number(readId));
    uint8_t sizeBytes[4];
    if (CError* err = read(sizeBytes, 4)) return ORL_PASS(err, CString::empty());
    uint32_t check = 0;
    if (CError* err = readUInt32(check)) return ORL_PASS(err, CString::empty());
    const uint32_t expected = adlerOf(sizeBytes, 4);
    if (check != expected)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readCompressedData_HeadCRC Invalid CRC encountered when reading "
                         "compressed data (expected %1, read %2).",
                         number(expected), number(check));
    const uint32_t size = le32(sizeBytes);
    if (size > kMaxBlockBytes)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readCompressedData_SizeTooLarge Invalid size %1 too large when reading "
                         "compressed data (limit %2).",
                         number(size), number(kMaxBlockBytes));

    out.resize(size);
    CInputZipStream zip;
    if (CError* err = zip.open(this)) return ORL_PASS(err, CString::empty());
    CError* err = zip.read(out.data(), size);
    CError* closeErr = zip.close();
    if (err) {
        deleteError(closeErr);
        return ORL_PASS(err, CString::empty());
    }
    if (closeErr) return ORL_PASS(closeErr, CString::empty());
    return nullptr;
}

CError* CInputStream::readCompressedDataLZ4(CByteBuffer& out, uint32_t id) {
    uint32_t readId = 0;
    if (CError* err = readUInt32(readId)) return ORL_PASS(err, CString::empty());
    if (readId != id)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readCompressedDataLZ4_InvalidData Invalid ID encountered when reading "
                         "compressed data (expected %1, read %2).",
                         number(id), number(readId));
    uint8_t sizeBytes[8];
    if (CError* err = read(sizeBytes, 8)) return ORL_PASS(err, CString::empty());
    uint32_t check = 0;
    if (CError* err = readUInt32(check)) return ORL_PASS(err, CString::empty());
    const uint32_t expected = adlerOf(sizeBytes, 8);
    if (check != expected)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readCompressedDataLZ4_HeadCRC Invalid CRC encountered when reading "
                         "compressed data (expected %1, read %2).",
                         number(expected), number(check));
    const uint32_t size = le32(sizeBytes);
    const uint32_t packed = le32(sizeBytes + 4);
    if (size > kMaxBlockBytes || packed > kMaxBlockBytes)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readCompressedDataLZ4_SizeTooLarge Invalid size %1 too large when "
                         "reading compressed data (limit %2).",
                         number(size > kMaxBlockBytes ? size : packed), number(kMaxBlockBytes));

    out.resize(size);
    // With a direct pointer the data is decoded where it lies. Skipping first makes the stream
    // prove that all C bytes are there before the decoder looks at them.
    CByteBuffer scratch;
    const uint8_t* source = getDirectPointer();
    if (source) {
        if (CError* err = skip(packed)) return ORL_PASS(err, CString::empty());
    } else {
        scratch.resize(packed);
        if (CError* err = read(scratch.data(), packed)) return ORL_PASS(err, CString::empty());
        source = scratch.data();
    }
    uint8_t none = 0;
    const uint8_t emptySource = 0;
    const int result = LZ4_decompress_safe(reinterpret_cast<const char*>(source ? source : &emptySource),
                                           reinterpret_cast<char*>(size > 0 ? out.data() : &none),
                                           static_cast<int>(packed), static_cast<int>(size));
    if (result < 0 || static_cast<uint32_t>(result) != size)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CInputStream_readCompressedDataLZ4_InvalidData2 Invalid uncompressed data "
                         "(expected %1 bytes, read %2).",
                         number(size), CString::fromInt(result));
    return nullptr;
}

}  // namespace orl
