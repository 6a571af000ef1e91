#pragma once
#include <cstddef>
#include <cstdint>

#include "Audio/VST/CVSTEvent.h"

namespace orl {

// A batch of events: the count, a reserved word, then that many event pointers. Two pointers are
// declared; a host with more allocates the record longer.
struct CVSTEvents {
    int32_t numEvents = 0;
    intptr_t reserved = 0;
    CVSTEvent* events[2] = {};
};
static_assert(offsetof(CVSTEvents, events) == 2 * sizeof(intptr_t), "event batch layout");

}  // namespace orl
