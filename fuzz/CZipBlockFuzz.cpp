// A zlib block from outside, as stored application data and presets carry them.
#include <cstddef>
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"

using namespace orl;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (1u << 20)) return 0;
    CMemoryReader reader(data, static_cast<uint32_t>(size));
    CByteBuffer out;
    deleteError(reader.readCompressedData(out, CInputStream::blockId("adat")));
    return 0;
}
