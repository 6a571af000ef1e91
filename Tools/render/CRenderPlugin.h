#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "Audio/VST/CVSTEffect.h"
#include "Audio/VST/CVSTTimeInfo.h"

namespace orl {

// The plug-in as this tool hosts it: loaded from its file, entered through VSTPluginMain with a
// host callback of our own, and driven through the dispatcher as a host drives it.
class CRenderPlugin {
public:
    CRenderPlugin() = default;
    ~CRenderPlugin();
    CRenderPlugin(const CRenderPlugin&) = delete;
    CRenderPlugin& operator=(const CRenderPlugin&) = delete;

    // Loads the library and makes one instance; false with a message.
    bool load(const std::string& path, double sampleRate, int32_t blockSize, bool realtime, std::string& error);
    // Closes the instance. The library stays mapped: the process ends soon after, and a library
    // that is unmapped takes the record of its last allocations with it.
    void close();

    CVSTEffect* effect() const { return m_effect; }
    intptr_t dispatch(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr, float opt = 0.0f);

    std::string effectName();
    std::vector<std::string> programNames();
    std::vector<std::string> paramNames();
    // Index of a parameter by name, case ignored; -1 when there is none.
    int32_t findParam(const std::string& name);
    std::string paramDisplay(int32_t index);
    // The text's normalised value as the plug-in parses it; false when it doesn't answer.
    bool parseParam(int32_t index, const std::string& text, float& out);
    bool setChannels(int32_t channels);
    bool setChunk(const std::vector<uint8_t>& bytes, bool isPreset);
    std::vector<uint8_t> getChunk(bool isPreset);
    void setProcessPrecision(bool isDouble);
    void resume();
    void suspend();
    void process(float** in, float** out, int32_t frames);
    void process(double** in, double** out, int32_t frames);
    int32_t latency() const { return m_effect ? m_effect->initialDelay : 0; }
    bool sawIOChanged() const { return m_ioChanged; }
    int32_t automationCount() const { return m_automations; }

private:
    static intptr_t hostCallback(CVSTEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                 float opt);
    intptr_t answer(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt);

    void* m_library = nullptr;
    CVSTEffect* m_effect = nullptr;
    double m_sampleRate = 48000.0;
    int32_t m_blockSize = 512;
    bool m_realtime = false;
    bool m_ioChanged = false;
    int32_t m_automations = 0;
    double m_samplePosition = 0.0;
    CVSTTimeInfo m_time;
    std::vector<uint8_t> m_inArrangement, m_outArrangement;
};

}  // namespace orl
