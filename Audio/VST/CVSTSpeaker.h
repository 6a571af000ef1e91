#pragma once
#include <cstdint>

namespace orl {

// One channel of a speaker arrangement: position, a name and a type (112 bytes).
struct CVSTSpeaker {
    static constexpr int32_t kNameBytes = 64;

    float azimuth = 0.0f;
    float elevation = 0.0f;
    float radius = 0.0f;
    float reserved = 0.0f;
    char name[kNameBytes] = {};
    int32_t type = 0;
    char future[28] = {};
};
static_assert(sizeof(CVSTSpeaker) == 112, "speaker record layout");

}  // namespace orl
