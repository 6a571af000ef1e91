#pragma once
#include <cstdint>

namespace orl {

// What a plug-in asks of its host through the host callback.
struct CVSTHostOpcode {
    enum : int32_t {
        kAutomate = 0,  // index parameter, opt normalised value
        kVersion = 1,   // 2400 for 2.4; 0 means there is no host
        kGetTime = 7,   // value wanted flags; a time record pointer or null
        kIOChanged = 13,
        kSizeWindow = 15,  // index width, value height
        kGetSampleRate = 16,
        kGetBlockSize = 17,
        kGetCurrentProcessLevel = 23,
        kGetVendorString = 32,
        kGetProductString = 33,
        kGetVendorVersion = 34,
        kCanDo = 37,
        kUpdateDisplay = 42,
        kBeginEdit = 43,
        kEndEdit = 44,
    };
    // Answers of the process level query.
    enum : int32_t { kLevelUnknown = 0, kLevelUser = 1, kLevelRealtime = 2, kLevelPrefetch = 3, kLevelOffline = 4 };
};

}  // namespace orl
