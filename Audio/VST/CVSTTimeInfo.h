#pragma once
#include <cstdint>

namespace orl {

// The host's transport and tempo, as getTime returns it.
struct CVSTTimeInfo {
    enum : int32_t {
        kChanged = 1,
        kPlaying = 2,
        kCycle = 4,
        kRecording = 8,
        kAutomationWriting = 64,
        kAutomationReading = 128,
        kNanosValid = 256,
        kPpqPosValid = 512,
        kTempoValid = 1024,
        kBarsValid = 2048,
        kCyclePosValid = 4096,
        kTimeSigValid = 8192,
        kSmpteValid = 16384,
        kClockValid = 32768,
    };

    double samplePos = 0.0;
    double sampleRate = 0.0;
    double nanoSeconds = 0.0;
    double ppqPos = 0.0;
    double tempo = 0.0;
    double barStartPos = 0.0;
    double cycleStartPos = 0.0;
    double cycleEndPos = 0.0;
    int32_t timeSigNumerator = 0;
    int32_t timeSigDenominator = 0;
    int32_t smpteOffset = 0;
    int32_t smpteFrameRate = 0;
    int32_t samplesToNextClock = 0;
    int32_t flags = 0;
};
static_assert(sizeof(CVSTTimeInfo) == 88, "time record layout");

}  // namespace orl
