#pragma once
#include <cstdint>

namespace orl {

// An event of type MIDI: the common head, then the note fields and up to four MIDI bytes.
struct CVSTMidiEvent {
    int32_t type = 1;
    int32_t byteSize = 32;
    int32_t deltaFrames = 0;
    int32_t flags = 0;
    int32_t noteLength = 0;
    int32_t noteOffset = 0;
    unsigned char midiData[4] = {};
    int8_t detune = 0;
    uint8_t noteOffVelocity = 0;
    uint8_t reserved1 = 0;
    uint8_t reserved2 = 0;
};
static_assert(sizeof(CVSTMidiEvent) == 32, "MIDI event record layout");

}  // namespace orl
