#pragma once
#include <cstdint>

namespace orl {

// What the host asks of a plug-in through its dispatcher. Opcodes not named here answer 0.
struct CVSTOpcode {
    enum : int32_t {
        kOpen = 0,
        kClose = 1,  // the plug-in deletes itself
        kSetProgram = 2,
        kGetProgram = 3,
        kSetProgramName = 4,
        kGetProgramName = 5,
        kGetParamLabel = 6,
        kGetParamDisplay = 7,
        kGetParamName = 8,
        kSetSampleRate = 10,
        kSetBlockSize = 11,
        kMainsChanged = 12,  // value 0 suspend, 1 resume
        kEditGetRect = 13,
        kEditOpen = 14,
        kEditClose = 15,
        kEditIdle = 19,
        kGetChunk = 23,  // index 1 program, 0 bank
        kSetChunk = 24,
        kProcessEvents = 25,
        kCanBeAutomated = 26,
        kString2Parameter = 27,
        kGetProgramNameIndexed = 29,
        kGetInputProperties = 33,
        kGetOutputProperties = 34,
        kGetPlugCategory = 35,
        kSetSpeakerArrangement = 42,
        kSetBypass = 44,
        kGetEffectName = 45,
        kGetVendorString = 47,
        kGetProductString = 48,
        kGetVendorVersion = 49,
        kVendorSpecific = 50,
        kCanDo = 51,
        kGetTailSize = 52,
        kGetParameterProperties = 56,
        kGetVstVersion = 58,
        kEditKeyDown = 59,
        kEditKeyUp = 60,
        kGetSpeakerArrangement = 69,
        kStartProcess = 71,
        kStopProcess = 72,
        kSetProcessPrecision = 77,  // value 0 32-bit, 1 64-bit
    };
    // Text sizes with the NUL, as the interface first set them.
    static constexpr int32_t kProgramNameBytes = 24;
    static constexpr int32_t kParamTextBytes = 8;
    static constexpr int32_t kEffectNameBytes = 32;
    static constexpr int32_t kVendorTextBytes = 64;
};

}  // namespace orl
