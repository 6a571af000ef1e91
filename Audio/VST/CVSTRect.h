#pragma once
#include <cstdint>

namespace orl {

// The editor's rectangle as the host reads it.
struct CVSTRect {
    int16_t top = 0;
    int16_t left = 0;
    int16_t bottom = 0;
    int16_t right = 0;
};

}  // namespace orl
