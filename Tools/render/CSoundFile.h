#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace orl {

// A whole sound file in memory, one array of samples per channel, read and written through
// libsndfile (WAV, FLAC, AIFF and whatever else it knows).
struct CSoundFile {
    using TChannels = std::vector<std::vector<float>>;

    TChannels channels;
    double sampleRate = 48000.0;
    int32_t format = 0;  // libsndfile's major format and subtype; 0 for a signal made here

    size_t frames() const { return channels.empty() ? 0 : channels[0].size(); }
    int32_t channelCount() const { return static_cast<int32_t>(channels.size()); }

    // False with a one-line message for a missing, unreadable or unsupported file.
    bool read(const std::string& path, std::string& error);
    // The major format follows the name's extension (.wav, .flac, .aif/.aiff); the sample format
    // is the source's when that format takes it, else 32-bit float (24-bit for FLAC).
    bool write(const std::string& path, int32_t sourceFormat, std::string& error) const;
};

}  // namespace orl
