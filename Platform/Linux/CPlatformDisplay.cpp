#include "Platform/CPlatformDisplay.h"

namespace orl {

// No display connection is opened here yet: the instance is sized before any editor exists,
// and a headless process has no screen to ask. A full-HD screen is assumed until the X11 back
// end of the editor window queries the real root window geometry.
void CPlatformDisplay::primaryMonitorSize(int32_t& outWidth, int32_t& outHeight) {
    outWidth = 1920;
    outHeight = 1080;
}

}  // namespace orl
