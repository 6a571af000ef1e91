#pragma once
// A host in miniature for the plug-in's tests: it loads the built library from its file, enters
// it through VSTPluginMain as a host does, answers the host calls with the identity it is given
// and records what the plug-in tells it.
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "Audio/VST/CVSTEffect.h"
#include "Audio/VST/CVSTHostOpcode.h"
#include "Audio/VST/CVSTOpcode.h"

namespace orl::test {

struct CVSTHostIdentity {
    intptr_t version = 2400;
    std::string vendor = "Orlune Test";
    std::string product = "Test Host";
};

class CVSTTestHost {
public:
    using TEntry = CVSTEffect* (*)(TVSTHostCallback);
    using TBlock = std::vector<std::vector<float>>;

    // The library stays loaded for the whole program, as in a host that keeps it.
    static TEntry entry() {
        static void* library = dlopen(ORL_VST_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (!library) std::fprintf(stderr, "dlopen: %s\n", dlerror());
        return library ? reinterpret_cast<TEntry>(dlsym(library, "VSTPluginMain")) : nullptr;
    }

    explicit CVSTTestHost(CVSTHostIdentity identity = {}) : m_identity(std::move(identity)) {
        if (TEntry main = entry()) {
            s_constructing = this;
            effect = main(&callback);
            s_constructing = nullptr;
        }
        if (effect) effect->user = this;
    }
    ~CVSTTestHost() {
        if (effect) dispatch(CVSTOpcode::kClose);
    }
    CVSTTestHost(const CVSTTestHost&) = delete;
    CVSTTestHost& operator=(const CVSTTestHost&) = delete;

    intptr_t dispatch(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr, float opt = 0.0f) {
        return effect->dispatcher(effect, opcode, index, value, ptr, opt);
    }
    void resume(float rate = 48000.0f) {
        dispatch(CVSTOpcode::kSetSampleRate, 0, 0, nullptr, rate);
        dispatch(CVSTOpcode::kSetBlockSize, 0, 512);
        dispatch(CVSTOpcode::kMainsChanged, 0, 1);
    }
    void suspend() { dispatch(CVSTOpcode::kMainsChanged, 0, 0); }
    std::string text(int32_t opcode, int32_t index = 0, intptr_t value = 0) {
        char buffer[256] = {};
        dispatch(opcode, index, value, buffer);
        return buffer;
    }
    std::vector<uint8_t> chunk(bool isPreset) {
        void* data = nullptr;
        const intptr_t size = dispatch(CVSTOpcode::kGetChunk, isPreset ? 1 : 0, 0, &data);
        const auto* bytes = static_cast<const uint8_t*>(data);
        return size > 0 && bytes ? std::vector<uint8_t>(bytes, bytes + size) : std::vector<uint8_t>();
    }
    intptr_t setChunk(std::vector<uint8_t> bytes, bool isPreset) {
        return dispatch(CVSTOpcode::kSetChunk, isPreset ? 1 : 0, static_cast<intptr_t>(bytes.size()), bytes.data());
    }
    // Planar float blocks of `block` frames through processReplacing. As a host does, it hands
    // over as many channels as the record declares: those beyond the signal's are silent in and
    // thrown away out.
    TBlock run(const TBlock& in, int32_t block = 512) {
        const size_t n = in[0].size();
        TBlock out(in.size(), std::vector<float>(n, 99.0f));
        const size_t inCount = std::max(in.size(), static_cast<size_t>(effect->numInputs));
        const size_t outCount = std::max(in.size(), static_cast<size_t>(effect->numOutputs));
        TBlock silence(inCount, std::vector<float>(n, 0.0f)), scratch(outCount, std::vector<float>(n));
        std::vector<float*> ip(inCount), op(outCount);
        for (size_t at = 0; at < n; at += static_cast<size_t>(block)) {
            const int32_t frames = static_cast<int32_t>(std::min<size_t>(static_cast<size_t>(block), n - at));
            for (size_t c = 0; c < inCount; ++c) ip[c] = (c < in.size() ? const_cast<float*>(in[c].data()) : silence[c].data()) + at;
            for (size_t c = 0; c < outCount; ++c) op[c] = (c < out.size() ? out[c].data() : scratch[c].data()) + at;
            effect->processReplacing(effect, ip.data(), op.data(), frames);
        }
        return out;
    }

    CVSTEffect* effect = nullptr;
    int32_t processLevel = CVSTHostOpcode::kLevelRealtime;
    std::vector<std::pair<int32_t, float>> automations;
    int ioChanges = 0;

private:
    static intptr_t callback(CVSTEffect* e, int32_t opcode, int32_t index, intptr_t, void* ptr, float opt) {
        CVSTTestHost* self = e && e->user ? static_cast<CVSTTestHost*>(e->user) : s_constructing;
        if (!self) return 0;
        switch (opcode) {
        case CVSTHostOpcode::kVersion:
            return self->m_identity.version;
        case CVSTHostOpcode::kGetVendorString:
            std::snprintf(static_cast<char*>(ptr), 64, "%s", self->m_identity.vendor.c_str());
            return 1;
        case CVSTHostOpcode::kGetProductString:
            std::snprintf(static_cast<char*>(ptr), 64, "%s", self->m_identity.product.c_str());
            return 1;
        case CVSTHostOpcode::kGetCurrentProcessLevel:
            return self->processLevel;
        case CVSTHostOpcode::kAutomate:
            self->automations.emplace_back(index, opt);
            return 0;
        case CVSTHostOpcode::kIOChanged:
            ++self->ioChanges;
            return 1;
        default:
            return 0;
        }
    }

    static inline CVSTTestHost* s_constructing = nullptr;
    CVSTHostIdentity m_identity;
};

// A deterministic test signal: two sines under a slow swell, loud enough to be compressed.
inline CVSTTestHost::TBlock testSignal(size_t channels, size_t frames, double rate = 48000.0) {
    CVSTTestHost::TBlock s(channels, std::vector<float>(frames));
    for (size_t c = 0; c < channels; ++c) {
        for (size_t i = 0; i < frames; ++i) {
            const double t = static_cast<double>(i) / rate;
            const double swell = 0.5 + 0.45 * std::sin(2.0 * 3.14159265358979 * 2.0 * t);
            s[c][i] = static_cast<float>(swell * std::sin(2.0 * 3.14159265358979 * (180.0 + 70.0 * c) * t));
        }
    }
    return s;
}

}  // namespace orl::test
