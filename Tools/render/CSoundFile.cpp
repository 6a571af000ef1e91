#include "Tools/render/CSoundFile.h"

#include <sndfile.h>

#include <algorithm>
#include <cctype>

namespace orl {

namespace {

std::string lowerExtension(const std::string& path) {
    const size_t dot = path.find_last_of('.');
    const size_t slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return std::string();
    std::string ext = path.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

}  // namespace

bool CSoundFile::read(const std::string& path, std::string& error) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file) {
        const int code = sf_error(nullptr);
        if (code == SF_ERR_UNRECOGNISED_FORMAT)
            error = "unsupported sound file format: " + path;
        else
            error = "cannot read " + path + ": " + sf_strerror(nullptr);
        return false;
    }
    if (info.channels < 1 || info.samplerate < 1 || info.frames < 0) {
        sf_close(file);
        error = "unsupported sound file format: " + path;
        return false;
    }
    const size_t frames = static_cast<size_t>(info.frames);
    const size_t count = static_cast<size_t>(info.channels);
    std::vector<float> interleaved(frames * count);
    const sf_count_t got = sf_readf_float(file, interleaved.data(), info.frames);
    sf_close(file);
    if (got != info.frames) {
        error = "cannot read " + path + ": the file ends early";
        return false;
    }
    channels.assign(count, std::vector<float>(frames));
    for (size_t i = 0; i < frames; ++i) {
        for (size_t c = 0; c < count; ++c) channels[c][i] = interleaved[i * count + c];
    }
    sampleRate = info.samplerate;
    format = info.format;
    return true;
}

bool CSoundFile::write(const std::string& path, int32_t sourceFormat, std::string& error) const {
    const std::string ext = lowerExtension(path);
    int major = 0;
    if (ext == "wav")
        major = SF_FORMAT_WAV;
    else if (ext == "flac")
        major = SF_FORMAT_FLAC;
    else if (ext == "aif" || ext == "aiff")
        major = SF_FORMAT_AIFF;
    else {
        error = "unsupported output format '" + ext + "' (use .wav, .flac or .aiff): " + path;
        return false;
    }
    SF_INFO info{};
    info.samplerate = static_cast<int>(sampleRate);
    info.channels = channelCount();
    info.format = major | (sourceFormat & SF_FORMAT_SUBMASK);
    if ((sourceFormat & SF_FORMAT_SUBMASK) == 0 || !sf_format_check(&info)) {
        info.format = major | (major == SF_FORMAT_FLAC ? SF_FORMAT_PCM_24 : SF_FORMAT_FLOAT);
    }
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!file) {
        error = "cannot write " + path + ": " + sf_strerror(nullptr);
        return false;
    }
    // Integer formats clip what lies beyond full scale instead of wrapping it.
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    const size_t n = frames();
    const size_t count = channels.size();
    std::vector<float> interleaved(n * count);
    for (size_t i = 0; i < n; ++i) {
        for (size_t c = 0; c < count; ++c) interleaved[i * count + c] = channels[c][i];
    }
    const sf_count_t put = sf_writef_float(file, interleaved.data(), static_cast<sf_count_t>(n));
    sf_close(file);
    if (put != static_cast<sf_count_t>(n)) {
        error = "cannot write " + path + ": disk full or not writable";
        return false;
    }
    return true;
}

}  // namespace orl
