// Writes the default of one stored datum as the application reads it: one compressed block
// (id, size, Adler-32 of the size field, zlib stream at level 5) whose id is the datum's type.
//   orl_appdata SOURCE OUT
// The type is the source's extension. A "dstr" source is text: its content without a final line
// break becomes one string (u32 byte length, then the UTF-8 bytes). Any other type's source is
// the payload as it stands.
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

void putLe32(std::vector<uint8_t>& out, uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: orl_appdata SOURCE OUT\n");
        return 2;
    }
    const std::string source = argv[1];
    const size_t dot = source.rfind('.');
    const std::string type = dot == std::string::npos ? "" : source.substr(dot + 1);
    if (type.size() != 4) {
        std::fprintf(stderr, "orl_appdata: %s: the extension must be a 4-character type\n", source.c_str());
        return 1;
    }
    std::ifstream in(source, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "orl_appdata: cannot read %s\n", source.c_str());
        return 1;
    }
    std::vector<uint8_t> content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());

    std::vector<uint8_t> payload;
    if (type == "dstr") {
        while (!content.empty() && (content.back() == '\n' || content.back() == '\r')) content.pop_back();
        putLe32(payload, static_cast<uint32_t>(content.size()));
        payload.insert(payload.end(), content.begin(), content.end());
    } else {
        payload = content;
    }

    std::vector<uint8_t> block;
    for (char c : type) block.push_back(static_cast<uint8_t>(c));
    putLe32(block, static_cast<uint32_t>(payload.size()));
    const uLong adler = adler32(adler32(0L, Z_NULL, 0), block.data() + 4, 4);
    putLe32(block, static_cast<uint32_t>(adler));
    uLongf packedSize = compressBound(static_cast<uLong>(payload.size()));
    std::vector<uint8_t> packed(packedSize);
    if (compress2(packed.data(), &packedSize, payload.data(), static_cast<uLong>(payload.size()), 5) != Z_OK) {
        std::fprintf(stderr, "orl_appdata: compression of %s failed\n", source.c_str());
        return 1;
    }
    block.insert(block.end(), packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(packedSize));

    std::ofstream out(argv[2], std::ios::binary);
    out.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(block.size()));
    if (!out) {
        std::fprintf(stderr, "orl_appdata: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
