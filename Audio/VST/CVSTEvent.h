#pragma once
#include <cstdint>

namespace orl {

// The common head of every event, followed by the type's data.
struct CVSTEvent {
    enum : int32_t { kMidiType = 1 };

    int32_t type = 0;
    int32_t byteSize = 0;
    int32_t deltaFrames = 0;
    int32_t flags = 0;
    char data[16] = {};
};
static_assert(sizeof(CVSTEvent) == 32, "event record layout");

}  // namespace orl
