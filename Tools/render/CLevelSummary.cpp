#include "Tools/render/CLevelSummary.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orl {

namespace {

double toDb(double linear) { return linear > 0.0 ? 20.0 * std::log10(linear) : -300.0; }

// Mean square over all channels of frames [from, from + count).
double meanSquare(const CSoundFile::TChannels& signal, size_t from, size_t count) {
    double sum = 0.0;
    size_t n = 0;
    for (const std::vector<float>& channel : signal) {
        const size_t end = std::min(channel.size(), from + count);
        for (size_t i = from; i < end; ++i) sum += static_cast<double>(channel[i]) * channel[i];
        n += end > from ? end - from : 0;
    }
    return n ? sum / static_cast<double>(n) : 0.0;
}

}  // namespace

CLevelSummary CLevelSummary::of(const CSoundFile::TChannels& signal) {
    CLevelSummary s;
    double peak = 0.0;
    size_t frames = 0;
    for (const std::vector<float>& channel : signal) {
        for (float x : channel) peak = std::max(peak, static_cast<double>(std::fabs(x)));
        frames = std::max(frames, channel.size());
    }
    s.peakDb = toDb(peak);
    s.rmsDb = 10.0 * std::log10(std::max(meanSquare(signal, 0, frames), 1e-30));
    if (s.rmsDb < -299.0) s.rmsDb = -300.0;
    return s;
}

double CLevelSummary::largestDrop(const CSoundFile::TChannels& in, const CSoundFile::TChannels& out,
                                  double sampleRate, double& atSeconds) {
    const size_t window = static_cast<size_t>(std::max(1.0, std::round(kWindowSeconds * sampleRate)));
    const size_t hop = std::max<size_t>(1, window / 5);
    const size_t frames = in.empty() ? 0 : in[0].size();
    double largest = 0.0;
    atSeconds = 0.0;
    for (size_t at = 0; at + window <= frames; at += hop) {
        const double inDb = 10.0 * std::log10(std::max(meanSquare(in, at, window), 1e-30));
        if (inDb < kSilenceDb) continue;
        const double outDb = 10.0 * std::log10(std::max(meanSquare(out, at, window), 1e-30));
        if (inDb - outDb > largest) {
            largest = inDb - outDb;
            atSeconds = static_cast<double>(at) / sampleRate;
        }
    }
    return largest;
}

std::string CLevelSummary::formatDb(double db) {
    if (db <= -299.0) return "-inf";
    char text[32];
    std::snprintf(text, sizeof(text), "%.2f", db);
    return text;
}

}  // namespace orl
