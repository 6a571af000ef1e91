#pragma once
#include <string>

#include "Tools/render/CSoundFile.h"

namespace orl {

// What the render tool reports of a signal: peak and RMS over all channels, and against another
// signal the largest drop of level over short windows (the gain reduction as heard).
struct CLevelSummary {
    static constexpr double kWindowSeconds = 0.05;
    static constexpr double kSilenceDb = -70.0;

    double peakDb = -300.0;
    double rmsDb = -300.0;

    static CLevelSummary of(const CSoundFile::TChannels& signal);
    // The largest input minus output RMS level of any 50 ms window (10 ms apart) in which the
    // input is above silence, in dB; when no window qualifies, 0. atSeconds gets its start.
    static double largestDrop(const CSoundFile::TChannels& in, const CSoundFile::TChannels& out, double sampleRate,
                              double& atSeconds);
    static std::string formatDb(double db);
};

}  // namespace orl
