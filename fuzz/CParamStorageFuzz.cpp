// A parameter's stored value from outside, as presets and the host's state carry it.
#include <cstddef>
#include <cstdint>

#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamStorage.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

using namespace orl;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (1u << 20)) return 0;
    // Into a storage without layout, which takes the stream's, and into one of each data type,
    // all groups and one.
    CAudioParamStorage storages[4];
    storages[1].setLayout(2, 0, false, false);
    storages[2].setLayout(1, CAudioParamDataItem::kString, false, false);
    storages[3].setLayout(1, CAudioParamDataItem::kRaw, true, false);
    for (int i = 0; i < 4; ++i) {
        for (int32_t group : {-1, 1}) {
            CMemoryReader reader(data, static_cast<uint32_t>(size));
            CError* err = storages[i].load(reader, group);
            if (!err) {
                // What loaded must save again.
                CWriteSeqBuffer out;
                err = storages[i].save(out, -1);
            }
            deleteError(err);
        }
    }
    return 0;
}
