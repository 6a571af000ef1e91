#include <dirent.h>
#include <gtest/gtest.h>
#include <lz4.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Core/CFileReader.h"
#include "Core/CFileWriter.h"
#include "Core/CMemoryReaderStatic.h"
#include "Core/CResourceMap.h"
#include "Core/CResourceReader.h"
#include "tests/Support/CByteSink.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

constexpr uint32_t kAdat = CInputStream::blockId("adat");
constexpr uint32_t kAprs = CInputStream::blockId("aprs");

using test::CByteSink;

// A static reader that counts the bytes copied out through read().
class CCountingReader : public CMemoryReaderStatic {
public:
    using CMemoryReaderStatic::CMemoryReaderStatic;
    CError* read(void* buffer, uint32_t count) override {
        copied += count;
        return CMemoryReaderStatic::read(buffer, count);
    }
    uint32_t copied = 0;
};

using test::message;

// Half text-like runs, half noise, so that blocks compress but not to nothing.
CByteBuffer testData(uint32_t size, uint32_t seed = 1) {
    CByteBuffer data(size);
    uint32_t x = seed;
    for (uint32_t i = 0; i < size; ++i) {
        x = x * 1664525u + 1013904223u;
        data[i] = (i / 64) % 2 ? static_cast<uint8_t>(x >> 24) : static_cast<uint8_t>('a' + (i % 17));
    }
    return data;
}

std::vector<uint8_t> bytesOf(const CByteBuffer& b) { return std::vector<uint8_t>(b.data(), b.data() + b.size()); }

std::vector<uint8_t> zipBlock(uint32_t id, const CByteBuffer& data) {
    CByteSink sink;
    EXPECT_EQ(message(sink.writeCompressedData(id, data)), "");
    return sink.bytes;
}

std::vector<uint8_t> lz4Block(uint32_t id, const CByteBuffer& data) {
    CByteSink sink;
    EXPECT_EQ(message(sink.writeCompressedDataLZ4(id, data)), "");
    return sink.bytes;
}

void putLe32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    for (int k = 0; k < 4; ++k) b[at + k] = static_cast<uint8_t>(v >> (8 * k));
}

uint32_t le32At(const std::vector<uint8_t>& b, size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}

std::string readZip(const std::vector<uint8_t>& block, uint32_t id, CByteBuffer& out) {
    CMemoryReader in(block.data(), static_cast<uint32_t>(block.size()));
    return message(in.readCompressedData(out, id));
}

std::string readLZ4(const std::vector<uint8_t>& block, uint32_t id, CByteBuffer& out) {
    CMemoryReaderStatic in(block.data(), static_cast<uint32_t>(block.size()));
    return message(in.readCompressedDataLZ4(out, id));
}

int openHandleCount() {
    int n = 0;
    if (DIR* d = opendir("/proc/self/fd")) {
        while (readdir(d)) ++n;
        closedir(d);
    }
    return n;
}

std::string tempPath(const char* name) {
    return ::testing::TempDir() + "orl_block_" + std::to_string(getpid()) + "_" + name;
}

}  // namespace

TEST(CCompressedBlock, ZipHeaderBytesAndIndependentInflate) {
    EXPECT_EQ(kAdat, 0x74616461u);
    const CByteBuffer data = testData(6100);
    const std::vector<uint8_t> block = zipBlock(kAdat, data);
    ASSERT_GT(block.size(), 14u);
    // id, U = 6100, then the Adler-32 of the size bytes D4 17 00 00, which is 0x039900EC.
    EXPECT_EQ(std::vector<uint8_t>(block.begin(), block.begin() + 12),
              (std::vector<uint8_t>{0x61, 0x64, 0x61, 0x74, 0xD4, 0x17, 0x00, 0x00, 0xEC, 0x00, 0x99, 0x03}));
    // A zlib stream at level 5 follows; zlib itself turns it back into the data.
    EXPECT_EQ(block[12], 0x78);
    EXPECT_EQ(block[13], 0x5E);
    std::vector<uint8_t> inflated(7000);
    uLongf inflatedSize = inflated.size();
    ASSERT_EQ(uncompress(inflated.data(), &inflatedSize, block.data() + 12, block.size() - 12), Z_OK);
    inflated.resize(inflatedSize);
    EXPECT_EQ(inflated, bytesOf(data));

    CByteBuffer out;
    ASSERT_EQ(readZip(block, kAdat, out), "");
    EXPECT_EQ(bytesOf(out), bytesOf(data));

    // Empty data: U = 0, the check of four zero bytes (0x00040001) and an empty zlib stream.
    const std::vector<uint8_t> empty = zipBlock(kAdat, CByteBuffer());
    EXPECT_EQ(std::vector<uint8_t>(empty.begin() + 4, empty.begin() + 12),
              (std::vector<uint8_t>{0, 0, 0, 0, 0x01, 0x00, 0x04, 0x00}));
    inflatedSize = inflated.size();
    ASSERT_EQ(uncompress(inflated.data(), &inflatedSize, empty.data() + 12, empty.size() - 12), Z_OK);
    EXPECT_EQ(inflatedSize, 0u);
    CByteBuffer back = testData(10);
    ASSERT_EQ(readZip(empty, kAdat, back), "");
    EXPECT_EQ(back.size(), 0u);
}

TEST(CCompressedBlock, ZipBlockFailures) {
    const CByteBuffer data = testData(20000, 7);
    const std::vector<uint8_t> block = zipBlock(kAdat, data);
    CByteBuffer out;

    EXPECT_EQ(readZip(block, kAprs, out), "Invalid ID encountered when reading compressed data (expected " +
                                              std::to_string(kAprs) + ", read " + std::to_string(kAdat) + ").");

    std::vector<uint8_t> damaged = block;
    damaged[9] ^= 0x01;
    const uint32_t stored = le32At(damaged, 8);
    const uint32_t computed = le32At(block, 8);
    EXPECT_EQ(readZip(damaged, kAdat, out), "Invalid CRC encountered when reading compressed data (expected " +
                                                std::to_string(computed) + ", read " + std::to_string(stored) + ").");

    // Cut off half-way: the inflater runs out of input.
    const std::vector<uint8_t> cut(block.begin(), block.begin() + block.size() / 2);
    EXPECT_EQ(readZip(cut, kAdat, out), "Premature end of file.");

    // A broken zlib header is zlib's own complaint.
    damaged = block;
    damaged[12] = 0x00;
    EXPECT_EQ(readZip(damaged, kAdat, out), "zlib inflate error -3 (incorrect header check).");

    // A size beyond the limit is refused before anything is allocated, even with a good check.
    std::vector<uint8_t> huge(block.begin(), block.begin() + 12);
    putLe32(huge, 4, CInputStream::kMaxBlockBytes + 1);
    putLe32(huge, 8, static_cast<uint32_t>(adler32(1, huge.data() + 4, 4)));
    EXPECT_EQ(readZip(huge, kAdat, out),
              "Invalid size 268435457 too large when reading compressed data (limit "
              "268435456).");
}

TEST(CCompressedBlock, LZ4DirectAndCopiedPaths) {
    const CByteBuffer data = testData(50000, 3);
    const std::vector<uint8_t> block = lz4Block(kAdat, data);
    ASSERT_GT(block.size(), 16u);
    const uint32_t packed = le32At(block, 8);
    EXPECT_EQ(le32At(block, 0), kAdat);
    EXPECT_EQ(le32At(block, 4), 50000u);
    EXPECT_EQ(packed, block.size() - 16);
    EXPECT_EQ(le32At(block, 12), static_cast<uint32_t>(adler32(1, block.data() + 4, 8)));
    std::vector<uint8_t> decoded(50000);
    EXPECT_EQ(LZ4_decompress_safe(reinterpret_cast<const char*>(block.data() + 16),
                                  reinterpret_cast<char*>(decoded.data()), static_cast<int>(packed), 50000),
              50000);
    EXPECT_EQ(decoded, bytesOf(data));

    // Static reader: decoded in place, only the 16 header bytes are copied out.
    CCountingReader direct(block.data(), static_cast<uint32_t>(block.size()));
    CByteBuffer out;
    ASSERT_EQ(message(direct.readCompressedDataLZ4(out, kAdat)), "");
    EXPECT_EQ(bytesOf(out), bytesOf(data));
    EXPECT_EQ(direct.copied, 16u);
    EXPECT_EQ(direct.position(), block.size());

    // File reader: no direct pointer, the compressed bytes are read into a buffer.
    const std::string path = tempPath("lz4.bin");
    {
        CFileWriter w;
        ASSERT_EQ(message(w.open(CString(path.c_str()))), "");
        ASSERT_EQ(message(w.writeCompressedDataLZ4(kAdat, data)), "");
        ASSERT_EQ(message(w.writeUInt32(0x600DF00D)), "");
    }
    CFileReader file;
    ASSERT_EQ(message(file.open(CString(path.c_str()))), "");
    CByteBuffer fromFile;
    ASSERT_EQ(message(file.readCompressedDataLZ4(fromFile, kAdat)), "");
    EXPECT_EQ(bytesOf(fromFile), bytesOf(data));
    // The LZ4 form knows its length, so what follows it is still there.
    uint32_t trailer = 0;
    ASSERT_EQ(message(file.readUInt32(trailer)), "");
    EXPECT_EQ(trailer, 0x600DF00Du);
    ::unlink(path.c_str());

    // An empty buffer makes a block that reads back empty.
    CByteBuffer none = testData(5);
    ASSERT_EQ(readLZ4(lz4Block(kAdat, CByteBuffer()), kAdat, none), "");
    EXPECT_EQ(none.size(), 0u);
}

TEST(CCompressedBlock, LZ4BlockFailures) {
    const CByteBuffer data = testData(6000, 11);
    const std::vector<uint8_t> block = lz4Block(kAdat, data);
    const uint32_t packed = le32At(block, 8);
    CByteBuffer out;

    EXPECT_EQ(readLZ4(block, kAprs, out), "Invalid ID encountered when reading compressed data (expected " +
                                              std::to_string(kAprs) + ", read " + std::to_string(kAdat) + ").");
    std::vector<uint8_t> damaged = block;
    damaged[8] ^= 0x10;
    EXPECT_EQ(readLZ4(damaged, kAdat, out),
              "Invalid CRC encountered when reading compressed data (expected " +
                  std::to_string(static_cast<uint32_t>(adler32(1, damaged.data() + 4, 8))) + ", read " +
                  std::to_string(le32At(block, 12)) + ").");

    // Cut short: with a direct pointer the skip fails before the decoder sees a byte.
    const std::vector<uint8_t> cut(block.begin(), block.end() - 1);
    EXPECT_EQ(readLZ4(cut, kAdat, out), "Premature end of memory resource while skipping (pos 16, count " +
                                            std::to_string(packed) + ", size " + std::to_string(cut.size()) + ").");

    // A size that doesn't match what the data decodes to (with a check that agrees).
    damaged = block;
    putLe32(damaged, 4, 6001);
    putLe32(damaged, 12, static_cast<uint32_t>(adler32(1, damaged.data() + 4, 8)));
    EXPECT_EQ(readLZ4(damaged, kAdat, out), "Invalid uncompressed data (expected 6001 bytes, read 6000).");

    // Garbage in place of the compressed bytes: the decoder refuses it.
    damaged = block;
    for (size_t i = 16; i < damaged.size(); ++i) damaged[i] = 0xFF;
    const std::string garbage = readLZ4(damaged, kAdat, out);
    EXPECT_EQ(garbage.rfind("Invalid uncompressed data (expected 6000 bytes, read -", 0), 0u) << garbage;

    // Sizes beyond the limit are refused before any allocation.
    damaged = block;
    putLe32(damaged, 8, CInputStream::kMaxBlockBytes + 1);
    putLe32(damaged, 12, static_cast<uint32_t>(adler32(1, damaged.data() + 4, 8)));
    EXPECT_EQ(readLZ4(damaged, kAdat, out),
              "Invalid size 268435457 too large when reading compressed data (limit "
              "268435456).");
}

TEST(CCompressedBlock, ResourceReaderPrefersTheMapAndFallsBackToFiles) {
    // A resource holding a zlib block; the bytes must outlive the map, which keeps pointers.
    static std::vector<uint8_t> resource;
    const CByteBuffer data = testData(3000, 5);
    const std::vector<uint8_t> block = zipBlock(kAdat, data);
    resource = {0, 0, 0, 0};
    putLe32(resource, 0, static_cast<uint32_t>(block.size()));
    resource.insert(resource.end(), block.begin(), block.end());
    static const uint8_t hello[] = {5, 0, 0, 0, 'h', 'e', 'l', 'l', 'o'};
    static const CResourceRecord table[] = {
        {resource.data(), "orl-test/block.bin"}, {hello, "orl-test/hello.txt"}, {nullptr, nullptr}};
    CResourceMap::registerTable(table);

    const uint8_t* found = nullptr;
    uint32_t size = 0;
    ASSERT_TRUE(CResourceMap::find(CString("orl-test/hello.txt"), found, size));
    EXPECT_EQ(found, hello + 4);
    EXPECT_EQ(size, 5u);
    EXPECT_FALSE(CResourceMap::find(CString("orl-test/nothing"), found, size));

    // From the map: a static reader with a direct pointer.
    CResourceReader reader;
    ASSERT_EQ(message(reader.open(CString("orl-test/block.bin"))), "");
    EXPECT_TRUE(reader.isResource());
    EXPECT_EQ(reader.getDirectPointer(), resource.data() + 4);
    int32_t total = 0;
    ASSERT_EQ(message(reader.getSizeInt(total)), "");
    EXPECT_EQ(static_cast<size_t>(total), block.size());
    CByteBuffer out;
    ASSERT_EQ(message(reader.readCompressedData(out, kAdat)), "");
    EXPECT_EQ(bytesOf(out), bytesOf(data));

    // Not in the map: the file of that name, which offers no direct pointer.
    const std::string path = tempPath("resource.bin");
    {
        CFileWriter w;
        ASSERT_EQ(message(w.open(CString(path.c_str()))), "");
        ASSERT_EQ(message(w.write(block.data(), static_cast<uint32_t>(block.size()))), "");
    }
    const int handlesBefore = openHandleCount();
    ASSERT_EQ(message(reader.open(CString(path.c_str()))), "");
    EXPECT_FALSE(reader.isResource());
    EXPECT_EQ(openHandleCount(), handlesBefore + 1);
    EXPECT_EQ(reader.getDirectPointer(), nullptr);
    ASSERT_EQ(message(reader.setPosition(4)), "");
    uint64_t pos = 0;
    ASSERT_EQ(message(reader.getPosition(pos)), "");
    EXPECT_EQ(pos, 4u);
    ASSERT_EQ(message(reader.setPosition(0)), "");
    CByteBuffer fromFile;
    ASSERT_EQ(message(reader.readCompressedData(fromFile, kAdat)), "");
    EXPECT_EQ(bytesOf(fromFile), bytesOf(data));

    // A second open closes the file.
    ASSERT_EQ(message(reader.open(CString("orl-test/hello.txt"))), "");
    EXPECT_EQ(openHandleCount(), handlesBefore);
    char text[6] = {};
    ASSERT_EQ(message(reader.read(text, 5)), "");
    EXPECT_STREQ(text, "hello");
    EXPECT_EQ(message(reader.skip(1)), "Premature end of memory resource while skipping (pos 5, count 1, size 5).");
    ::unlink(path.c_str());

    // Neither a resource nor a file: the file reader's error, and nothing stays open.
    const std::string missing = tempPath("missing.bin");
    EXPECT_EQ(message(reader.open(CString(missing.c_str()))),
              "Unable to open file '" + missing + "' for reading (error " + std::to_string(ENOENT) + ").");
    EXPECT_FALSE(reader.isOpen());
    uint8_t b;
    EXPECT_EQ(message(reader.read(&b, 1)), "No resource is open.");
}
