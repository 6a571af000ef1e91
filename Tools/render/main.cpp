// tamberlo-render: runs a sound file through the plug-in, loaded from its file and driven
// through its VST 2 entry point as a host drives it, and reports the levels.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Tools/render/CDemoSignal.h"
#include "Tools/render/CLevelSummary.h"
#include "Tools/render/CRenderOptions.h"
#include "Tools/render/CRenderPlugin.h"
#include "Tools/render/CSoundFile.h"
#include "Audio/VST/CVSTOpcode.h"

using namespace orl;

namespace {

constexpr size_t kChunkHeaderBytes = 16;

int fail(const std::string& message) {
    std::fprintf(stderr, "tamberlo-render: %s\n", message.c_str());
    return 1;
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + ("\"" + name + "\"");
    return text;
}

bool readBytes(const std::string& path, std::vector<uint8_t>& out) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    out.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return !file.bad();
}

bool writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(file);
}

double threadSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

double wallSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

// A chunk file is what getChunk returns: the zero header, then a compressed block.
bool loadChunkFile(CRenderPlugin& plugin, const std::string& path, bool isPreset, std::string& error) {
    const char* kind = isPreset ? "preset" : "bank";
    std::vector<uint8_t> bytes;
    if (!readBytes(path, bytes)) {
        error = std::string("cannot read the ") + kind + " file " + path;
        return false;
    }
    if (bytes.size() <= kChunkHeaderBytes || !plugin.setChunk(bytes, isPreset)) {
        error = std::string("damaged ") + kind + " file " + path;
        return false;
    }
    return true;
}

bool setParam(CRenderPlugin& plugin, const std::string& name, const std::string& text, std::string& error) {
    const int32_t index = plugin.findParam(name);
    if (index < 0) {
        error = "unknown parameter '" + name + "'; parameters: " + joined(plugin.paramNames());
        return false;
    }
    float norm = 0.0f;
    if (!plugin.parseParam(index, text, norm)) {
        // A plug-in without the text call takes a normalised number.
        char* end = nullptr;
        norm = std::strtof(text.c_str(), &end);
        if (end == text.c_str() || *end || norm < 0.0f || norm > 1.0f) {
            error = "cannot read the value '" + text + "' of parameter '" + name + "'";
            return false;
        }
    }
    plugin.effect()->setParameter(plugin.effect(), index, norm);
    return true;
}

void showProgress(size_t done, size_t total, int& shown) {
    const int percent = total ? static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total)) : 100;
    if (percent == shown) return;
    shown = percent;
    constexpr int kWidth = 40;
    const int filled = percent * kWidth / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(static_cast<size_t>(filled), '#').c_str(),
                 std::string(static_cast<size_t>(kWidth - filled), ' ').c_str(), percent);
    if (percent >= 100) std::fprintf(stderr, "\n");
    std::fflush(stderr);
}

template <class T>
void runBlocks(CRenderPlugin& plugin, const CSoundFile& input, CSoundFile& output, int32_t block, size_t delay,
               bool progress, double& cpuSeconds, double& wallTotal) {
    const CVSTEffect* effect = plugin.effect();
    const size_t channels = input.channels.size();
    const size_t inCount = std::max(channels, static_cast<size_t>(std::max(effect->numInputs, 0)));
    const size_t outCount = std::max(channels, static_cast<size_t>(std::max(effect->numOutputs, 0)));
    std::vector<std::vector<T>> in(inCount, std::vector<T>(static_cast<size_t>(block))),
        out(outCount, std::vector<T>(static_cast<size_t>(block)));
    std::vector<T*> inPointers(inCount), outPointers(outCount);
    for (size_t c = 0; c < inCount; ++c) inPointers[c] = in[c].data();
    for (size_t c = 0; c < outCount; ++c) outPointers[c] = out[c].data();

    const size_t frames = input.frames();
    const size_t total = frames + delay;
    int shown = -1;
    for (size_t at = 0; at < total; at += static_cast<size_t>(block)) {
        const size_t n = std::min(static_cast<size_t>(block), total - at);
        for (size_t c = 0; c < channels; ++c) {
            for (size_t i = 0; i < n; ++i) in[c][i] = at + i < frames ? static_cast<T>(input.channels[c][at + i]) : T(0);
        }
        const double cpu0 = threadSeconds(), wall0 = wallSeconds();
        plugin.process(inPointers.data(), outPointers.data(), static_cast<int32_t>(n));
        cpuSeconds += threadSeconds() - cpu0;
        wallTotal += wallSeconds() - wall0;
        for (size_t c = 0; c < channels; ++c) {
            for (size_t i = 0; i < n; ++i) {
                if (at + i >= delay) output.channels[c][at + i - delay] = static_cast<float>(out[c][i]);
            }
        }
        if (progress) showProgress(at + n, total, shown);
    }
}

}  // namespace

int main(int argc, char** argv) {
    CRenderOptions options;
    std::string error;
    if (!options.parse(argc, argv, error)) {
        if (error == "help") {
            std::fputs(CRenderOptions::usage(), stdout);
            return 0;
        }
        return fail(error + " (--help lists the options)");
    }
    if (options.pluginPath.empty()) options.pluginPath = ORL_DEFAULT_PLUGIN_PATH;

    CSoundFile input;
    if (options.inputPath.empty()) {
        input = CDemoSignal::make(options.demoSeconds);
    } else if (!input.read(options.inputPath, error)) {
        return fail(error);
    }

    CRenderPlugin plugin;
    if (!plugin.load(options.pluginPath, input.sampleRate, options.blockSize, options.realtime, error)) return fail(error);

    if (options.listOnly) {
        std::printf("programs: %s\n", joined(plugin.programNames()).c_str());
        const std::vector<std::string> names = plugin.paramNames();
        for (size_t i = 0; i < names.size(); ++i) {
            std::printf("parameter %zu: %s = %s\n", i, names[i].c_str(), plugin.paramDisplay(static_cast<int32_t>(i)).c_str());
        }
        return 0;
    }

    const int32_t channels = input.channelCount();
    if (!plugin.setChannels(channels)) {
        return fail("the plug-in takes no arrangement of " + std::to_string(channels) + " channels (at most " +
                    std::to_string(plugin.effect()->numInputs) + ")");
    }
    plugin.setProcessPrecision(options.useDouble);

    if (!options.program.empty()) {
        const std::vector<std::string> names = plugin.programNames();
        const auto found = std::find(names.begin(), names.end(), options.program);
        if (found == names.end()) return fail("unknown program '" + options.program + "'; programs: " + joined(names));
        plugin.dispatch(CVSTOpcode::kSetProgram, 0, found - names.begin());
    }
    if (!options.bankPath.empty() && !loadChunkFile(plugin, options.bankPath, false, error)) return fail(error);
    if (!options.presetPath.empty() && !loadChunkFile(plugin, options.presetPath, true, error)) return fail(error);
    for (const auto& [name, text] : options.params) {
        if (!setParam(plugin, name, text, error)) return fail(error);
    }
    if (options.oversampling) {
        if (plugin.findParam("Oversmp") < 0) return fail("the plug-in has no \"Oversmp\" parameter");
        if (!setParam(plugin, "Oversmp", std::to_string(options.oversampling) + "X", error)) return fail(error);
    }
    if (!options.savePresetPath.empty() && !writeBytes(options.savePresetPath, plugin.getChunk(true))) {
        return fail("cannot write the preset file " + options.savePresetPath);
    }
    if (!options.saveBankPath.empty() && !writeBytes(options.saveBankPath, plugin.getChunk(false))) {
        return fail("cannot write the bank file " + options.saveBankPath);
    }

    char programName[256] = {};
    plugin.dispatch(CVSTOpcode::kGetProgramName, 0, 0, programName);
    plugin.resume();
    const int32_t latency = plugin.latency();
    const size_t delay = options.latencyCompensation ? static_cast<size_t>(std::max(latency, 0)) : 0u;

    CSoundFile output;
    output.sampleRate = input.sampleRate;
    output.channels.assign(input.channels.size(), std::vector<float>(input.frames()));
    const bool progress = !options.quiet && isatty(STDERR_FILENO);
    double cpuSeconds = 0.0, wallTotal = 0.0;
    if (options.useDouble)
        runBlocks<double>(plugin, input, output, options.blockSize, delay, progress, cpuSeconds, wallTotal);
    else
        runBlocks<float>(plugin, input, output, options.blockSize, delay, progress, cpuSeconds, wallTotal);
    plugin.suspend();
    const bool latencyMoved = plugin.sawIOChanged();
    const std::string effectName = plugin.effectName();
    plugin.close();

    if (!output.write(options.outputPath, input.format, error)) return fail(error);
    if (latencyMoved) std::fprintf(stderr, "tamberlo-render: warning: the plug-in's latency changed while it ran\n");

    if (!options.quiet) {
        const double seconds = static_cast<double>(input.frames()) / input.sampleRate;
        const CLevelSummary in = CLevelSummary::of(input.channels), out = CLevelSummary::of(output.channels);
        double at = 0.0;
        const double drop = CLevelSummary::largestDrop(input.channels, output.channels, input.sampleRate, at);
        std::printf("%s, program \"%s\", latency %d samples%s\n", effectName.c_str(), programName, latency,
                    options.latencyCompensation ? " (compensated)" : "");
        std::printf("input:  %s, %d ch, %.0f Hz, %.2f s\n",
                    options.inputPath.empty() ? "demo signal" : options.inputPath.c_str(), channels, input.sampleRate,
                    seconds);
        std::printf("input  peak %s dBFS, RMS %s dBFS\n", CLevelSummary::formatDb(in.peakDb).c_str(),
                    CLevelSummary::formatDb(in.rmsDb).c_str());
        std::printf("output peak %s dBFS, RMS %s dBFS\n", CLevelSummary::formatDb(out.peakDb).c_str(),
                    CLevelSummary::formatDb(out.rmsDb).c_str());
        std::printf("largest level drop: %.2f dB (%.0f ms RMS windows, at %.2f s)\n", drop,
                    CLevelSummary::kWindowSeconds * 1000.0, at);
        std::printf("wrote %s\n", options.outputPath.c_str());
    }
    if (options.reportTime) {
        const double audioSeconds = static_cast<double>(input.frames() + delay) / input.sampleRate;
        std::printf("processing time: %.3f ms of one core per second of audio (%.3f ms wall), %.1fx real time\n",
                    1000.0 * cpuSeconds / audioSeconds, 1000.0 * wallTotal / audioSeconds,
                    wallTotal > 0.0 ? audioSeconds / wallTotal : 0.0);
    }
    return 0;
}
