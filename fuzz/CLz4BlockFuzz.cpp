// An LZ4 block from outside, as image layers carry them: once decoded in place through the
// direct pointer, once through a copy as from a file.
#include <cstddef>
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/CMemoryReaderStatic.h"

using namespace orl;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (1u << 20)) return 0;
    const uint32_t id = CInputStream::blockId("imgl");
    CByteBuffer out;
    CMemoryReaderStatic direct(data, static_cast<uint32_t>(size));
    deleteError(direct.readCompressedDataLZ4(out, id));
    CMemoryReader copied(data, static_cast<uint32_t>(size));
    deleteError(copied.readCompressedDataLZ4(out, id));
    return 0;
}
