#include "Core/COutputStream.h"

#include <lz4.h>
#include <lz4hc.h>
#include <zlib.h>

#include <cstring>

#include "Core/COutputZipStream.h"
#include "Core/CWriteSeqBuffer.h"

namespace orl {

namespace {

void putLe32(uint8_t* b, uint32_t v) {
    b[0] = static_cast<uint8_t>(v);
    b[1] = static_cast<uint8_t>(v >> 8);
    b[2] = static_cast<uint8_t>(v >> 16);
    b[3] = static_cast<uint8_t>(v >> 24);
}

uint32_t adlerOf(const uint8_t* bytes, uint32_t count) {
    return static_cast<uint32_t>(adler32(adler32(0L, Z_NULL, 0), bytes, count));
}

// The first chunk of a string's text lives in the sequence buffer itself; only long text
// reaches for the pools.
constexpr uint32_t kStringChunkBytes = 2048;

}  // namespace

CError* COutputStream::writeUInt8(uint8_t v) {
    if (CError* err = write(&v, 1)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeInt8(int8_t v) {
    if (CError* err = writeUInt8(static_cast<uint8_t>(v))) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeUInt16(uint16_t v) {
    const uint8_t b[2] = {static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8)};
    if (CError* err = write(b, 2)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeInt16(int16_t v) {
    if (CError* err = writeUInt16(static_cast<uint16_t>(v))) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeUInt32(uint32_t v) {
    uint8_t b[4];
    putLe32(b, v);
    if (CError* err = write(b, 4)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeInt32(int32_t v) {
    if (CError* err = writeUInt32(static_cast<uint32_t>(v))) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeUInt64(uint64_t v) {
    uint8_t b[8];
    putLe32(b, static_cast<uint32_t>(v));
    putLe32(b + 4, static_cast<uint32_t>(v >> 32));
    if (CError* err = write(b, 8)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeInt64(int64_t v) {
    if (CError* err = writeUInt64(static_cast<uint64_t>(v))) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeFloat(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, 4);
    if (CError* err = writeUInt32(bits)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeDouble(double v) {
    uint64_t bits;
    std::memcpy(&bits, &v, 8);
    if (CError* err = writeUInt64(bits)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeBool(bool v) {
    if (CError* err = writeUInt8(v ? 1 : 0)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeString(const CString& text) {
    CWriteSeqBuffer seq(kStringChunkBytes);
    // Encoded text is staged in small pieces so that the sequence buffer sees few writes.
    uint8_t stage[256];
    uint32_t used = 0;
    const int32_t length = text.length();
    for (int32_t i = 0; i < length; ++i) {
        const char16_t c = text.at(i);
        if (c < 0x80) {
            stage[used++] = static_cast<uint8_t>(c);
        } else if (c < 0x800) {
            stage[used++] = static_cast<uint8_t>(0xC0 | (c >> 6));
            stage[used++] = static_cast<uint8_t>(0x80 | (c & 0x3F));
        } else if (c < 0xD800 || c > 0xDFFF) {
            stage[used++] = static_cast<uint8_t>(0xE0 | (c >> 12));
            stage[used++] = static_cast<uint8_t>(0x80 | ((c >> 6) & 0x3F));
            stage[used++] = static_cast<uint8_t>(0x80 | (c & 0x3F));
        }
        if (used > sizeof(stage) - 3) {
            if (CError* err = seq.write(stage, used)) return ORL_PASS(err, CString::empty());
            used = 0;
        }
    }
    if (used > 0) {
        if (CError* err = seq.write(stage, used)) return ORL_PASS(err, CString::empty());
    }
    if (CError* err = writeUInt32(static_cast<uint32_t>(seq.size()))) return ORL_PASS(err, CString::empty());
    if (CError* err = seq.writeTo(*this)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* COutputStream::writeCompressedData(uint32_t id, const void* data, uint32_t size, int level) {
    uint8_t head[12];
    putLe32(head, id);
    putLe32(head + 4, size);
    putLe32(head + 8, adlerOf(head + 4, 4));
    if (CError* err = write(head, sizeof(head))) return ORL_PASS(err, CString::empty());

    COutputZipStream zip;
    if (CError* err = zip.open(this, level)) return ORL_PASS(err, CString::empty());
    CError* err = zip.write(data, size);
    CError* closeErr = zip.close();
    if (err) {
        deleteError(closeErr);
        return ORL_PASS(err, CString::empty());
    }
    if (closeErr) return ORL_PASS(closeErr, CString::empty());
    return nullptr;
}

CError* COutputStream::writeCompressedDataLZ4(uint32_t id, const void* data, uint32_t size) {
    const int bound = size <= static_cast<uint32_t>(LZ4_MAX_INPUT_SIZE) ? LZ4_compressBound(static_cast<int>(size)) : 0;
    CByteBuffer packed(bound > 0 ? static_cast<uint32_t>(bound) : 0);
    const char emptySource = 0;
    const int packedSize =
        bound > 0 ? LZ4_compress_HC(size > 0 ? static_cast<const char*>(data) : &emptySource,
                                    reinterpret_cast<char*>(packed.data()), static_cast<int>(size), bound, kLZ4Level)
                  : 0;
    if (packedSize <= 0)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_COutputStream_writeCompressedDataLZ4_Compress LZ4 compression of %1 bytes failed.",
                         CString::fromInt(size));

    uint8_t head[16];
    putLe32(head, id);
    putLe32(head + 4, size);
    putLe32(head + 8, static_cast<uint32_t>(packedSize));
    putLe32(head + 12, adlerOf(head + 4, 8));
    if (CError* err = write(head, sizeof(head))) return ORL_PASS(err, CString::empty());
    if (CError* err = write(packed.data(), static_cast<uint32_t>(packedSize))) return ORL_PASS(err, CString::empty());
    return nullptr;
}

}  // namespace orl
