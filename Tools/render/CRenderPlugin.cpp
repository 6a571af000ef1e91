#include "Tools/render/CRenderPlugin.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "Audio/VST/CVSTHostOpcode.h"
#include "Audio/VST/CVSTOpcode.h"
#include "Audio/VST/CVSTSpeakerArrangement.h"

namespace orl {

namespace {

using TEntry = CVSTEffect* (*)(TVSTHostCallback);

constexpr intptr_t kHostVersion = 2400;
constexpr intptr_t kExtensionAnswer = 0xbeef;
// Texts the plug-in writes: the interface's sizes, with room for plug-ins that overrun them.
constexpr size_t kTextBytes = 256;
// Speaker type of a plain channel.
constexpr int32_t kArrangementUserDefined = -2;

// The instance being made: the plug-in calls back before its record is handed out.
CRenderPlugin* g_constructing = nullptr;

void copyText(char* out, const char* text, size_t bytes) {
    std::snprintf(out, bytes, "%s", text);
}

}  // namespace

CRenderPlugin::~CRenderPlugin() { close(); }

intptr_t CRenderPlugin::hostCallback(CVSTEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                     float opt) {
    CRenderPlugin* self = effect && effect->user ? static_cast<CRenderPlugin*>(effect->user) : g_constructing;
    if (!self) return opcode == CVSTHostOpcode::kVersion ? kHostVersion : 0;
    return self->answer(opcode, index, value, ptr, opt);
}

intptr_t CRenderPlugin::answer(int32_t opcode, int32_t, intptr_t, void* ptr, float) {
    switch (opcode) {
    case CVSTHostOpcode::kVersion:
        return kHostVersion;
    case CVSTHostOpcode::kGetCurrentProcessLevel:
        return m_realtime ? CVSTHostOpcode::kLevelRealtime : CVSTHostOpcode::kLevelOffline;
    case CVSTHostOpcode::kGetSampleRate:
        return static_cast<intptr_t>(m_sampleRate);
    case CVSTHostOpcode::kGetBlockSize:
        return m_blockSize;
    case CVSTHostOpcode::kGetVendorString:
        if (ptr) copyText(static_cast<char*>(ptr), "Orlune", 64);
        return 1;
    case CVSTHostOpcode::kGetProductString:
        if (ptr) copyText(static_cast<char*>(ptr), "Orlune render", 64);
        return 1;
    case CVSTHostOpcode::kGetVendorVersion:
        return 1;
    case CVSTHostOpcode::kGetTime:
        m_time = CVSTTimeInfo();
        m_time.samplePos = m_samplePosition;
        m_time.sampleRate = m_sampleRate;
        m_time.tempo = 120.0;
        m_time.timeSigNumerator = 4;
        m_time.timeSigDenominator = 4;
        m_time.flags = CVSTTimeInfo::kPlaying | CVSTTimeInfo::kTempoValid | CVSTTimeInfo::kTimeSigValid;
        return reinterpret_cast<intptr_t>(&m_time);
    case CVSTHostOpcode::kIOChanged:
        m_ioChanged = true;
        return 1;
    case CVSTHostOpcode::kAutomate:
        ++m_automations;
        return 0;
    default:
        return 0;
    }
}

bool CRenderPlugin::load(const std::string& path, double sampleRate, int32_t blockSize, bool realtime,
                         std::string& error) {
    m_sampleRate = sampleRate;
    m_blockSize = blockSize;
    m_realtime = realtime;
    m_library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!m_library) {
        const char* why = dlerror();
        error = "cannot load the plug-in " + path + ": " + (why ? why : "unknown reason");
        return false;
    }
    auto entry = reinterpret_cast<TEntry>(dlsym(m_library, "VSTPluginMain"));
    if (!entry) {
        error = "the plug-in " + path + " has no VSTPluginMain";
        return false;
    }
    g_constructing = this;
    m_effect = entry(&hostCallback);
    g_constructing = nullptr;
    if (!m_effect || m_effect->magic != CVSTEffect::kMagic) {
        m_effect = nullptr;
        error = "the plug-in " + path + " made no instance";
        return false;
    }
    m_effect->user = this;
    dispatch(CVSTOpcode::kOpen);
    dispatch(CVSTOpcode::kSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRate));
    dispatch(CVSTOpcode::kSetBlockSize, 0, blockSize);
    return true;
}

void CRenderPlugin::close() {
    if (!m_effect) return;
    dispatch(CVSTOpcode::kClose);
    m_effect = nullptr;
}

intptr_t CRenderPlugin::dispatch(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    return m_effect ? m_effect->dispatcher(m_effect, opcode, index, value, ptr, opt) : 0;
}

std::string CRenderPlugin::effectName() {
    char text[kTextBytes] = {};
    dispatch(CVSTOpcode::kGetEffectName, 0, 0, text);
    return text;
}

std::vector<std::string> CRenderPlugin::programNames() {
    std::vector<std::string> names;
    for (int32_t i = 0; m_effect && i < m_effect->numPrograms; ++i) {
        char text[kTextBytes] = {};
        dispatch(CVSTOpcode::kGetProgramNameIndexed, i, -1, text);
        names.emplace_back(text);
    }
    return names;
}

std::vector<std::string> CRenderPlugin::paramNames() {
    std::vector<std::string> names;
    for (int32_t i = 0; m_effect && i < m_effect->numParams; ++i) {
        char text[kTextBytes] = {};
        dispatch(CVSTOpcode::kGetParamName, i, 0, text);
        names.emplace_back(text);
    }
    return names;
}

int32_t CRenderPlugin::findParam(const std::string& name) {
    const std::vector<std::string> names = paramNames();
    for (size_t i = 0; i < names.size(); ++i) {
        if (strcasecmp(names[i].c_str(), name.c_str()) == 0) return static_cast<int32_t>(i);
    }
    return -1;
}

std::string CRenderPlugin::paramDisplay(int32_t index) {
    char display[kTextBytes] = {}, label[kTextBytes] = {};
    dispatch(CVSTOpcode::kGetParamDisplay, index, 0, display);
    dispatch(CVSTOpcode::kGetParamLabel, index, 0, label);
    std::string text = display;
    if (label[0]) text += std::string(" ") + label;
    return text;
}

bool CRenderPlugin::parseParam(int32_t index, const std::string& text, float& out) {
    char buffer[kTextBytes] = {};
    copyText(buffer, text.c_str(), sizeof(buffer));
    if (dispatch(CVSTOpcode::kVendorSpecific, CVSTOpcode::kString2Parameter, index, buffer) != kExtensionAnswer ||
        !buffer[0]) {
        return false;
    }
    char* end = nullptr;
    out = std::strtof(buffer, &end);
    return end != buffer;
}

bool CRenderPlugin::setChannels(int32_t channels) {
    const size_t bytes = CVSTSpeakerArrangement::bytesFor(channels);
    m_inArrangement.assign(bytes, 0);
    m_outArrangement.assign(bytes, 0);
    for (std::vector<uint8_t>* buffer : {&m_inArrangement, &m_outArrangement}) {
        auto* arrangement = reinterpret_cast<CVSTSpeakerArrangement*>(buffer->data());
        arrangement->type = kArrangementUserDefined;
        arrangement->numChannels = channels;
    }
    return dispatch(CVSTOpcode::kSetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(m_inArrangement.data()),
                    m_outArrangement.data()) != 0;
}

bool CRenderPlugin::setChunk(const std::vector<uint8_t>& bytes, bool isPreset) {
    std::vector<uint8_t> copy = bytes;
    return dispatch(CVSTOpcode::kSetChunk, isPreset ? 1 : 0, static_cast<intptr_t>(copy.size()), copy.data()) == 1;
}

std::vector<uint8_t> CRenderPlugin::getChunk(bool isPreset) {
    void* data = nullptr;
    const intptr_t size = dispatch(CVSTOpcode::kGetChunk, isPreset ? 1 : 0, 0, &data);
    if (size <= 0 || !data) return {};
    const auto* bytes = static_cast<const uint8_t*>(data);
    return std::vector<uint8_t>(bytes, bytes + size);
}

void CRenderPlugin::setProcessPrecision(bool isDouble) { dispatch(CVSTOpcode::kSetProcessPrecision, 0, isDouble ? 1 : 0); }

void CRenderPlugin::resume() {
    dispatch(CVSTOpcode::kMainsChanged, 0, 1);
    dispatch(CVSTOpcode::kStartProcess);
}

void CRenderPlugin::suspend() {
    dispatch(CVSTOpcode::kStopProcess);
    dispatch(CVSTOpcode::kMainsChanged, 0, 0);
}

void CRenderPlugin::process(float** in, float** out, int32_t frames) {
    m_effect->processReplacing(m_effect, in, out, frames);
    m_samplePosition += frames;
}

void CRenderPlugin::process(double** in, double** out, int32_t frames) {
    m_effect->processDoubleReplacing(m_effect, in, out, frames);
    m_samplePosition += frames;
}

}  // namespace orl
