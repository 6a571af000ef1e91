#pragma once
#include <cstdint>

namespace orl {

// Geometry of the user's screens, as far as the plug-in needs it to size its window.
class CPlatformDisplay {
public:
    // Width and height in pixels of the primary monitor.
    static void primaryMonitorSize(int32_t& outWidth, int32_t& outHeight);
};

}  // namespace orl
