// A parameter's description from outside, as it is stored along with a parameter's value.
#include <cstddef>
#include <cstdint>

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

using namespace orl;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (1u << 20)) return 0;
    CMemoryReader reader(data, static_cast<uint32_t>(size));
    CAudioParamInfo info;
    CError* err = info.load(reader);
    if (!err) {
        // What loaded must save again.
        CWriteSeqBuffer out;
        err = info.save(out);
    }
    deleteError(err);
    return 0;
}
