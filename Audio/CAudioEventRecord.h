#pragma once
#include <cstdint>

namespace orl {

// One sample-stamped event of the coming host block: a MIDI message or the automation of a
// host-visible parameter, at a frame offset within the block.
struct CAudioEventRecord {
    enum Type : uint32_t { kMidi = 0, kParam = 1 };

    struct CMidi {
        uint32_t status;   // high nibble of the status byte
        uint32_t channel;  // low nibble
        uint32_t data1;
        uint32_t data2;
    };
    struct CParam {
        int32_t extIndex;
        double normalised;
    };

    uint32_t frameOffset = 0;
    uint32_t type = kMidi;
    union {
        CMidi midi;
        CParam param;
    };

    CAudioEventRecord() : midi{0, 0, 0, 0} {}

    static CAudioEventRecord makeMidi(uint32_t offset, uint32_t status, uint32_t channel, uint32_t data1,
                                      uint32_t data2) {
        CAudioEventRecord e;
        e.frameOffset = offset;
        e.type = kMidi;
        e.midi = CMidi{status, channel, data1, data2};
        return e;
    }
    static CAudioEventRecord makeParam(uint32_t offset, int32_t extIndex, double normalised) {
        CAudioEventRecord e;
        e.frameOffset = offset;
        e.type = kParam;
        e.param = CParam{extIndex, normalised};
        return e;
    }
};

}  // namespace orl
