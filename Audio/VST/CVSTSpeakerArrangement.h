#pragma once
#include <cstddef>
#include <cstdint>

#include "Audio/VST/CVSTSpeaker.h"

namespace orl {

// A speaker arrangement as the host hands it: type, channel count, then one speaker record per
// channel. Eight records are declared; a host with more channels allocates the record longer, so
// only `numChannels` records are ever read, through speaker().
struct CVSTSpeakerArrangement {
    static constexpr int32_t kDeclaredSpeakers = 8;

    int32_t type = 0;
    int32_t numChannels = 0;
    CVSTSpeaker speakers[kDeclaredSpeakers];

    // Through a pointer, not the declared array: a longer record has more than eight.
    const CVSTSpeaker& speaker(int32_t i) const {
        const CVSTSpeaker* first = speakers;
        return first[i];
    }
    CVSTSpeaker& speaker(int32_t i) {
        CVSTSpeaker* first = speakers;
        return first[i];
    }
    // Bytes of an arrangement of `channels` records, at least the declared size.
    static size_t bytesFor(int32_t channels) {
        const size_t extra = channels > kDeclaredSpeakers ? static_cast<size_t>(channels - kDeclaredSpeakers) : 0u;
        return sizeof(CVSTSpeakerArrangement) + extra * sizeof(CVSTSpeaker);
    }
};
static_assert(offsetof(CVSTSpeakerArrangement, speakers) == 8, "speaker arrangement layout");

}  // namespace orl
