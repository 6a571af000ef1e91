#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "Core/CFileReader.h"
#include "Core/CFileWriter.h"
#include "Core/CMemoryReaderStatic.h"
#include "Core/CWriteSeqBuffer.h"
#include "tests/Support/CByteSink.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

// Collects everything written, and counts the write calls.
using test::CByteSink;

using test::message;

std::vector<uint8_t> le32(uint32_t v) {
    return {static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8), static_cast<uint8_t>(v >> 16),
            static_cast<uint8_t>(v >> 24)};
}

std::vector<uint8_t> stringRecord(const std::vector<uint8_t>& text) {
    std::vector<uint8_t> out(4 + text.size());
    const std::vector<uint8_t> length = le32(static_cast<uint32_t>(text.size()));
    for (size_t i = 0; i < 4; ++i) out[i] = length[i];
    for (size_t i = 0; i < text.size(); ++i) out[4 + i] = text[i];
    return out;
}

CString readBack(const std::vector<uint8_t>& record) {
    CMemoryReader in(record.data(), static_cast<uint32_t>(record.size()));
    CString s;
    EXPECT_EQ(message(in.readString(s)), "");
    return s;
}

std::vector<uint8_t> written(const CString& text) {
    CByteSink sink;
    EXPECT_EQ(message(sink.writeString(text)), "");
    return sink.bytes;
}

// A folder of its own under the test temp folder, removed with its files at the end.
class TempFolder {
public:
    TempFolder() {
        std::string pattern = ::testing::TempDir() + "orl_stream_XXXXXX";
        path = mkdtemp(pattern.data()) ? pattern : std::string();
    }
    ~TempFolder() {
        for (const std::string& f : files) ::unlink(f.c_str());
        ::rmdir(path.c_str());
    }
    std::string file(const char* name) {
        files.push_back(path + "/" + name);
        return files.back();
    }
    std::string path;
    std::vector<std::string> files;
};

// Reports the 64-bit values it is given, for the 32-bit position calls.
class CFakePosStream : public CPosStream {
public:
    CError* getPosition(uint64_t& out) override {
        out = position;
        return nullptr;
    }
    CError* getSize(uint64_t& out) override {
        out = size;
        return nullptr;
    }
    CError* setPosition(uint64_t p) override {
        position = p;
        return nullptr;
    }
    uint64_t position = 0;
    uint64_t size = 0;
};

}  // namespace

TEST(CStream, PrimitivesAreLittleEndianAndRoundTrip) {
    CByteSink sink;
    ASSERT_EQ(message(sink.writeInt8(-2)), "");
    ASSERT_EQ(message(sink.writeUInt8(0xAB)), "");
    ASSERT_EQ(message(sink.writeInt16(-12345)), "");
    ASSERT_EQ(message(sink.writeUInt16(0xBEEF)), "");
    ASSERT_EQ(message(sink.writeInt32(std::numeric_limits<int32_t>::min())), "");
    ASSERT_EQ(message(sink.writeUInt32(0x11223344)), "");
    ASSERT_EQ(message(sink.writeInt64(-1234567890123456789LL)), "");
    ASSERT_EQ(message(sink.writeUInt64(0x0102030405060708ULL)), "");
    ASSERT_EQ(message(sink.writeFloat(-0.15625f)), "");
    ASSERT_EQ(message(sink.writeDouble(1.0 / 3.0)), "");
    ASSERT_EQ(message(sink.writeDouble(-0.0)), "");
    ASSERT_EQ(message(sink.writeBool(true)), "");
    ASSERT_EQ(message(sink.writeBool(false)), "");
    ASSERT_EQ(sink.bytes.size(), 1u + 1 + 2 + 2 + 4 + 4 + 8 + 8 + 4 + 8 + 8 + 1 + 1);

    const std::vector<uint8_t>& b = sink.bytes;
    EXPECT_EQ(b[0], 0xFE);
    EXPECT_EQ((std::vector<uint8_t>(b.begin() + 4, b.begin() + 6)), (std::vector<uint8_t>{0xEF, 0xBE}));
    EXPECT_EQ((std::vector<uint8_t>(b.begin() + 10, b.begin() + 14)), (std::vector<uint8_t>{0x44, 0x33, 0x22, 0x11}));
    EXPECT_EQ(b[22], 0x08);
    EXPECT_EQ(b[29], 0x01);
    // -0.15625 is -1.25 * 2^-3: sign set, exponent 124, fraction 0.25.
    EXPECT_EQ((std::vector<uint8_t>(b.begin() + 30, b.begin() + 34)), (std::vector<uint8_t>{0x00, 0x00, 0x20, 0xBE}));
    EXPECT_EQ(b[b.size() - 2], 1);
    EXPECT_EQ(b[b.size() - 1], 0);

    CMemoryReader in(b.data(), static_cast<uint32_t>(b.size()));
    int8_t i8;
    uint8_t u8;
    int16_t i16;
    uint16_t u16;
    int32_t i32;
    uint32_t u32;
    int64_t i64;
    uint64_t u64;
    float f;
    double d1, d2;
    bool t, fl;
    ASSERT_EQ(message(in.readInt8(i8)), "");
    ASSERT_EQ(message(in.readUInt8(u8)), "");
    ASSERT_EQ(message(in.readInt16(i16)), "");
    ASSERT_EQ(message(in.readUInt16(u16)), "");
    ASSERT_EQ(message(in.readInt32(i32)), "");
    ASSERT_EQ(message(in.readUInt32(u32)), "");
    ASSERT_EQ(message(in.readInt64(i64)), "");
    ASSERT_EQ(message(in.readUInt64(u64)), "");
    ASSERT_EQ(message(in.readFloat(f)), "");
    ASSERT_EQ(message(in.readDouble(d1)), "");
    ASSERT_EQ(message(in.readDouble(d2)), "");
    ASSERT_EQ(message(in.readBool(t)), "");
    ASSERT_EQ(message(in.readBool(fl)), "");
    EXPECT_EQ(i8, -2);
    EXPECT_EQ(u8, 0xAB);
    EXPECT_EQ(i16, -12345);
    EXPECT_EQ(u16, 0xBEEF);
    EXPECT_EQ(i32, std::numeric_limits<int32_t>::min());
    EXPECT_EQ(u32, 0x11223344u);
    EXPECT_EQ(i64, -1234567890123456789LL);
    EXPECT_EQ(u64, 0x0102030405060708ULL);
    EXPECT_EQ(f, -0.15625f);
    EXPECT_EQ(d1, 1.0 / 3.0);
    EXPECT_TRUE(d2 == 0.0 && std::signbit(d2));
    EXPECT_TRUE(t);
    EXPECT_FALSE(fl);

    // Past the end: the failure carries a frame of the primitive under the reader's message.
    CError* err = in.readUInt16(u16);
    ASSERT_NE(err, nullptr);
    ASSERT_GE(err->lineCount(), 3);
    EXPECT_TRUE(err->line(2).startsWith("Core/CInputStream( "));
    EXPECT_EQ(message(err), "Premature end of memory resource while reading (pos 52, count 2, size 52).");
}

TEST(CStream, ReadStringLimitAndUtf8Decoding) {
    // 61,440 bytes are the longest text accepted; one more fails before any text is read.
    std::vector<uint8_t> longest = stringRecord(std::vector<uint8_t>(61440, 'x'));
    EXPECT_EQ(readBack(longest).length(), 61440);

    std::vector<uint8_t> tooLong = stringRecord(std::vector<uint8_t>(61441, 'x'));
    CMemoryReader in(tooLong.data(), static_cast<uint32_t>(tooLong.size()));
    CString s("unchanged");
    EXPECT_EQ(message(in.readString(s)), "String length 61441 too long in readString().");
    EXPECT_EQ(in.position(), 4u);
    EXPECT_EQ(s, "unchanged");

    // A 2-byte and a 3-byte sequence each give one 16-bit character.
    CString wide = readBack(stringRecord({'A', 0xCE, 0xA9, 0xE2, 0x82, 0xAC}));
    EXPECT_TRUE(wide.isWide());
    ASSERT_EQ(wide.length(), 3);
    EXPECT_EQ(wide.at(0), u'A');
    EXPECT_EQ(wide.at(1), u'\u03A9');
    EXPECT_EQ(wide.at(2), u'\u20AC');

    // Characters below 256 keep the text 8-bit, even when they took two bytes.
    CString latin = readBack(stringRecord({'c', 'a', 'f', 0xC3, 0xA9}));
    EXPECT_FALSE(latin.isWide());
    EXPECT_EQ(latin, "caf\xE9");

    // Stray continuation and impossible lead bytes are skipped; a NUL or a sequence cut off
    // by the end of the data ends the text; a 4-byte sequence gives a surrogate pair.
    EXPECT_EQ(readBack(stringRecord({'a', 0x80, 0xFF, 'b'})), "ab");
    EXPECT_EQ(readBack(stringRecord({'a', 'b', 0x00, 'c'})), "ab");
    EXPECT_EQ(readBack(stringRecord({'a', 'b', 0xE2, 0x82})), "ab");
    EXPECT_EQ(readBack(stringRecord({0xF0, 0x9F, 0x8E, 0xB5})), CString(u"\xD83C\xDFB5"));
    EXPECT_EQ(readBack(stringRecord({})), "");

    // A length whose text isn't there fails with the reader's message.
    std::vector<uint8_t> cut = le32(10);
    cut.push_back('a');
    CMemoryReader short_(cut.data(), static_cast<uint32_t>(cut.size()));
    EXPECT_EQ(message(short_.readString(s)),
              "Premature end of memory resource while reading (pos 4, count 10, size 5).");
}

TEST(CStream, WriteStringEncodesLatin1AndDropsSurrogates) {
    // 8-bit text is Latin-1: each byte of 128 and up takes two bytes.
    EXPECT_EQ(written(CString("caf\xE9\xFF")),
              (std::vector<uint8_t>{7, 0, 0, 0, 'c', 'a', 'f', 0xC3, 0xA9, 0xC3, 0xBF}));
    // 16-bit text: one, two or three bytes by code unit; a lone surrogate is left out.
    const char16_t loneSurrogate[] = {u'a', 0xE9, 0x800, 0xD800, u'b', 0};
    EXPECT_EQ(written(CString(loneSurrogate)),
              (std::vector<uint8_t>{7, 0, 0, 0, 'a', 0xC3, 0xA9, 0xE0, 0xA0, 0x80, 'b'}));
    EXPECT_EQ(written(CString()), (std::vector<uint8_t>{0, 0, 0, 0}));

    // Long mixed text survives a round trip; it spans several chunks of the sequence buffer.
    std::u16string text;
    for (int i = 0; i < 3000; ++i)
        text += static_cast<char16_t>(i % 3 == 0 ? u'z' : i % 3 == 1 ? u'\u00E9' : u'\u4E2D');
    const CString original(text.c_str());
    const std::vector<uint8_t> record = written(original);
    EXPECT_EQ(record.size(), 4u + 1000 * (1 + 2 + 3));
    EXPECT_EQ(readBack(record), original);
}

TEST(CStream, WriteSeqBufferChunks) {
    CWriteSeqBuffer seq(2048);
    std::vector<uint8_t> data(7000);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 7 + 3);

    // 1,000 bytes stay in the first chunk; 100 more fill it and open a chunk of 2,048.
    ASSERT_EQ(message(seq.write(data.data(), 1000)), "");
    EXPECT_EQ(seq.chunkCount(), 1);
    ASSERT_EQ(message(seq.write(data.data() + 1000, 100)), "");
    EXPECT_EQ(seq.chunkCount(), 2);
    // 5,000 bytes: 1,972 fill that chunk, the remaining 3,028 get a chunk of their own size.
    ASSERT_EQ(message(seq.write(data.data() + 1100, 5000)), "");
    EXPECT_EQ(seq.chunkCount(), 3);
    ASSERT_EQ(message(seq.write(data.data() + 6100, 900)), "");
    EXPECT_EQ(seq.chunkCount(), 4);
    EXPECT_EQ(seq.size(), 7000u);

    CByteSink sink;
    ASSERT_EQ(message(seq.writeTo(sink)), "");
    EXPECT_EQ(sink.writes, 4);
    EXPECT_EQ(sink.bytes, data);

    seq.clear();
    EXPECT_EQ(seq.size(), 0u);
    EXPECT_EQ(seq.chunkCount(), 1);
}

TEST(CStream, MemoryReaderFailuresLeaveThePositionAlone) {
    const uint8_t bytes[] = {1, 2, 3, 4, 5, 6};
    CMemoryReaderStatic in(bytes, 6);
    uint8_t buffer[8] = {};
    ASSERT_EQ(message(in.read(buffer, 2)), "");
    EXPECT_EQ(in.getDirectPointer(), bytes + 2);

    EXPECT_EQ(message(in.read(buffer, 5)), "Premature end of memory resource while reading (pos 2, count 5, size 6).");
    EXPECT_EQ(in.position(), 2u);
    EXPECT_EQ(message(in.skip(5)), "Premature end of memory resource while skipping (pos 2, count 5, size 6).");
    EXPECT_EQ(in.position(), 2u);
    EXPECT_EQ(message(in.setPosition(7)), "Position 7 is beyond the end of memory resource (size 6).");
    EXPECT_EQ(in.position(), 2u);

    // Streamed reading delivers what is left, then nothing; the direct pointer ends with it.
    uint32_t count = 8;
    ASSERT_EQ(message(in.readStreamed(buffer, count)), "");
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(buffer[0], 3);
    EXPECT_EQ(buffer[3], 6);
    EXPECT_EQ(in.getDirectPointer(), nullptr);
    count = 8;
    ASSERT_EQ(message(in.readStreamed(buffer, count)), "");
    EXPECT_EQ(count, 0u);

    ASSERT_EQ(message(in.setPosition(1)), "");
    ASSERT_EQ(message(in.skip(4)), "");
    int32_t pos = 0, size = 0;
    ASSERT_EQ(message(in.getPositionInt(pos)), "");
    ASSERT_EQ(message(in.getSizeInt(size)), "");
    EXPECT_EQ(pos, 5);
    EXPECT_EQ(size, 6);

    // A plain memory reader's data may not stay valid, so it hands out no pointer.
    CMemoryReader plain(bytes, 6);
    EXPECT_EQ(plain.getDirectPointer(), nullptr);
}

TEST(CStream, PositionIntFailsAbove31Bits) {
    CFakePosStream s;
    s.position = 0x7FFFFFFF;
    s.size = 0x7FFFFFFF;
    int32_t v = 0;
    ASSERT_EQ(message(s.getPositionInt(v)), "");
    EXPECT_EQ(v, 0x7FFFFFFF);
    ASSERT_EQ(message(s.getSizeInt(v)), "");
    EXPECT_EQ(v, 0x7FFFFFFF);
    s.position = 0x80000000u;
    s.size = 0x100000000ull;
    EXPECT_EQ(message(s.getPositionInt(v)), "The size of the stream is above allowed 2 GB.");
    EXPECT_EQ(message(s.getSizeInt(v)), "The size of the stream is above allowed 2 GB.");
}

TEST(CStream, FileWriterAndReaderRoundTrip) {
    TempFolder dir;
    ASSERT_FALSE(dir.path.empty());
    const std::string path = dir.file("data.bin");

    {
        CFileWriter out;
        ASSERT_EQ(message(out.open(CString(path.c_str()))), "");
        EXPECT_EQ(out.name(), path.c_str());
        ASSERT_EQ(message(out.writeUInt32(0xCAFEF00D)), "");
        ASSERT_EQ(message(out.writeString(CString(u"pr\u00E9set \u20AC"))), "");
        ASSERT_EQ(message(out.writeDouble(-2.5)), "");
        uint64_t pos = 0;
        ASSERT_EQ(message(out.getPosition(pos)), "");
        EXPECT_EQ(pos, 4u + 4 + 11 + 8);
        ASSERT_EQ(message(out.close()), "");
    }
    {
        // Appending keeps what is there.
        CFileWriter out;
        ASSERT_EQ(message(out.open(CString(path.c_str()), true)), "");
        ASSERT_EQ(message(out.writeUInt8(0x5A)), "");
    }

    CFileReader in;
    ASSERT_EQ(message(in.open(CString(path.c_str()))), "");
    uint64_t size = 0;
    ASSERT_EQ(message(in.getSize(size)), "");
    EXPECT_EQ(size, 28u);
    uint32_t u = 0;
    CString s;
    double d = 0;
    uint8_t b = 0;
    ASSERT_EQ(message(in.readUInt32(u)), "");
    ASSERT_EQ(message(in.readString(s)), "");
    ASSERT_EQ(message(in.readDouble(d)), "");
    ASSERT_EQ(message(in.readUInt8(b)), "");
    EXPECT_EQ(u, 0xCAFEF00Du);
    EXPECT_EQ(s, CString(u"pr\u00E9set \u20AC"));
    EXPECT_EQ(d, -2.5);
    EXPECT_EQ(b, 0x5A);
    EXPECT_EQ(in.getDirectPointer(), nullptr);

    // Seek, skip and a read that runs out.
    ASSERT_EQ(message(in.setPosition(20)), "");
    ASSERT_EQ(message(in.skip(5)), "");
    uint8_t buffer[8];
    EXPECT_EQ(message(in.read(buffer, 8)), "Unable to read from file '" + path + "' (required 8 bytes, read 3 bytes).");
    ASSERT_EQ(message(in.setPosition(26)), "");
    uint32_t count = 8;
    ASSERT_EQ(message(in.readStreamed(buffer, count)), "");
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(buffer[1], 0x5A);

    // Rewriting starts the file anew.
    {
        CFileWriter out;
        ASSERT_EQ(message(out.open(CString(path.c_str()))), "");
        ASSERT_EQ(message(out.writeUInt16(7)), "");
    }
    CFileReader again;
    ASSERT_EQ(message(again.open(CString(path.c_str()))), "");
    ASSERT_EQ(message(again.getSize(size)), "");
    EXPECT_EQ(size, 2u);
}

TEST(CStream, FileOpenFailuresAndStandardHandles) {
    TempFolder dir;
    ASSERT_FALSE(dir.path.empty());
    const std::string missing = dir.path + "/missing.bin";
    const std::string noFolder = dir.path + "/none/out.bin";

    CFileReader in;
    EXPECT_EQ(message(in.open(CString(missing.c_str()))),
              "Unable to open file '" + missing + "' for reading (error " + std::to_string(ENOENT) + ").");
    EXPECT_FALSE(in.isOpen());
    EXPECT_EQ(message(in.open(CString(dir.path.c_str()))),
              "Unable to open file '" + dir.path + "' for reading (error " + std::to_string(EISDIR) + ").");
    CFileWriter out;
    EXPECT_EQ(message(out.open(CString(noFolder.c_str()))),
              "Unable to open file '" + noFolder + "' for rewriting (error " + std::to_string(ENOENT) + ").");
    EXPECT_EQ(message(out.open(CString(noFolder.c_str()), true)),
              "Unable to open file '" + noFolder + "' for appending (error " + std::to_string(ENOENT) + ").");

    // Reading with write access creates the file.
    const std::string created = dir.file("created.bin");
    ASSERT_EQ(message(in.open(CString(created.c_str()), true)), "");
    EXPECT_EQ(access(created.c_str(), F_OK), 0);
    ASSERT_EQ(message(in.close()), "");

    // Standard handles carry their names and stay open after close.
    ASSERT_EQ(message(in.open(CString("*"))), "");
    EXPECT_EQ(in.name(), "stdin");
    EXPECT_TRUE(in.isStandardHandle());
    ASSERT_EQ(message(in.close()), "");
    EXPECT_NE(fcntl(STDIN_FILENO, F_GETFD), -1);
    ASSERT_EQ(message(out.open(CString("*"))), "");
    EXPECT_EQ(out.name(), "stdout");
    ASSERT_EQ(message(out.open(CString("*e"), true)), "");
    EXPECT_EQ(out.name(), "stderr");
    ASSERT_EQ(message(out.close()), "");
    EXPECT_NE(fcntl(STDOUT_FILENO, F_GETFD), -1);
    EXPECT_NE(fcntl(STDERR_FILENO, F_GETFD), -1);

    // A stream that isn't open fails with the system's error number.
    uint8_t b;
    EXPECT_EQ(message(in.read(&b, 1)), "Unable to read from file 'stdin' (error " + std::to_string(EBADF) + ").");
}
