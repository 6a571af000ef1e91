#pragma once
#include <cstddef>
#include <cstdint>

namespace orl {

struct CVSTEffect;

// The calls of the VST 2.4 binary interface. The dispatcher and the host callback share one
// signature: effect, opcode, index, value, pointer, float option; the result is pointer-sized.
using TVSTDispatcher = intptr_t (*)(CVSTEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                    float opt);
using TVSTHostCallback = TVSTDispatcher;
using TVSTProcess = void (*)(CVSTEffect* effect, float** inputs, float** outputs, int32_t frames);
using TVSTProcessDouble = void (*)(CVSTEffect* effect, double** inputs, double** outputs, int32_t frames);
using TVSTSetParameter = void (*)(CVSTEffect* effect, int32_t index, float value);
using TVSTGetParameter = float (*)(CVSTEffect* effect, int32_t index);

// The effect record that a plug-in hands to its host, in the interface's field order. The host
// reads the counts, flags, latency and identity from it and calls through its function fields.
struct CVSTEffect {
    // 'VstP' as a big-endian four-character constant.
    static constexpr int32_t kMagic = 0x56737450;

    int32_t magic = kMagic;
    TVSTDispatcher dispatcher = nullptr;
    TVSTProcess process = nullptr;  // the deprecated accumulating call
    TVSTSetParameter setParameter = nullptr;
    TVSTGetParameter getParameter = nullptr;
    int32_t numPrograms = 0;
    int32_t numParams = 0;
    int32_t numInputs = 0;
    int32_t numOutputs = 0;
    int32_t flags = 0;
    intptr_t reserved1 = 0;
    intptr_t reserved2 = 0;
    int32_t initialDelay = 0;  // latency in samples
    int32_t realQualities = 0;
    int32_t offQualities = 0;
    float ioRatio = 1.0f;
    void* object = nullptr;  // the plug-in's own object
    void* user = nullptr;    // the host's
    int32_t uniqueID = 0;    // four characters, big-endian packed
    int32_t version = 0;
    TVSTProcess processReplacing = nullptr;
    TVSTProcessDouble processDoubleReplacing = nullptr;
    char future[56] = {};
};

// Field offsets follow from natural alignment on a 64-bit target; a host compiled from any other
// declaration of the same facts must see the same record.
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, dispatcher) == 8, "effect record layout");
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, numPrograms) == 40, "effect record layout");
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, reserved1) == 64, "effect record layout");
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, initialDelay) == 80, "effect record layout");
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, ioRatio) == 92, "effect record layout");
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, object) == 96, "effect record layout");
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, uniqueID) == 112, "effect record layout");
static_assert(sizeof(void*) != 8 || offsetof(CVSTEffect, processReplacing) == 120, "effect record layout");
static_assert(sizeof(void*) != 8 || sizeof(CVSTEffect) == 192, "effect record layout");

// Packs four characters big-endian, the form of unique ids and vendor-specific selectors.
constexpr int32_t vstFourCC(const char (&text)[5]) {
    return static_cast<int32_t>((static_cast<uint32_t>(static_cast<uint8_t>(text[0])) << 24) |
                                (static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 16) |
                                (static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 8) |
                                static_cast<uint32_t>(static_cast<uint8_t>(text[3])));
}

}  // namespace orl
