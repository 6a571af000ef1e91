#pragma once
#include <cstdint>

#include "Audio/VST/CVSTEffect.h"
#include "Audio/VST/CVSTFlags.h"

namespace orl {

class CVSTEditorBase;
struct CVSTEvents;
struct CVSTSpeakerArrangement;
struct CVSTTimeInfo;

// The plug-in's half of the VST 2.4 interface without any vendor code: it owns the effect
// record, turns every dispatcher opcode into a virtual call with the customary default answer,
// and wraps the host callback. A product derives from it and overrides what it does differently.
//
// The record's `object` points at this object; the host's close opcode deletes it.
class CVSTEffectBase {
public:
    CVSTEffectBase(TVSTHostCallback host, int32_t programCount, int32_t paramCount);
    virtual ~CVSTEffectBase();
    CVSTEffectBase(const CVSTEffectBase&) = delete;
    CVSTEffectBase& operator=(const CVSTEffectBase&) = delete;

    CVSTEffect* effect() { return &m_effect; }
    // The object behind an effect record handed out by this class.
    static CVSTEffectBase* fromEffect(CVSTEffect* effect);
    // Every opcode through the virtual calls below.
    intptr_t dispatch(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt);

    // ---- plug-in calls, with their default answers ----
    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float rate) { m_sampleRate = rate; }
    virtual void setBlockSize(int32_t frames) { m_blockSize = frames; }
    // The accumulating call of old hosts has no use here: it leaves the outputs alone.
    virtual void processAccumulating(float** inputs, float** outputs, int32_t frames);
    virtual void processReplacing(float** inputs, float** outputs, int32_t frames);
    virtual void processDoubleReplacing(double** inputs, double** outputs, int32_t frames);
    virtual void setParameter(int32_t index, float value) { (void)index, (void)value; }
    virtual float getParameter(int32_t index) { return (void)index, 0.0f; }
    virtual int32_t getProgram() { return m_currentProgram; }
    virtual void setProgram(int32_t program) { m_currentProgram = program; }
    virtual void setProgramName(const char* name) { (void)name; }
    virtual void getProgramName(char* name) { name[0] = 0; }
    virtual void getParameterLabel(int32_t index, char* label) { (void)index, label[0] = 0; }
    virtual void getParameterDisplay(int32_t index, char* text) { (void)index, text[0] = 0; }
    virtual void getParameterName(int32_t index, char* text) { (void)index, text[0] = 0; }
    // The size of the state and a pointer to it, which stays valid until the next call.
    virtual int32_t getChunk(void** data, bool isPreset) { return (void)isPreset, *data = nullptr, 0; }
    virtual int32_t setChunk(void* data, int32_t size, bool isPreset) { return (void)data, (void)size, (void)isPreset, 0; }
    virtual int32_t processEvents(CVSTEvents* events) { return (void)events, 0; }
    virtual bool canParameterBeAutomated(int32_t index) { return (void)index, true; }
    virtual bool string2parameter(int32_t index, char* text) { return (void)index, (void)text, false; }
    virtual bool getProgramNameIndexed(int32_t category, int32_t index, char* text);
    virtual bool getInputProperties(int32_t index, void* properties) { return (void)index, (void)properties, false; }
    virtual bool getOutputProperties(int32_t index, void* properties) { return (void)index, (void)properties, false; }
    virtual int32_t getPlugCategory();
    virtual bool setSpeakerArrangement(CVSTSpeakerArrangement* in, CVSTSpeakerArrangement* out);
    virtual bool getSpeakerArrangement(CVSTSpeakerArrangement** in, CVSTSpeakerArrangement** out);
    virtual bool setBypass(bool on) { return (void)on, false; }
    virtual bool getEffectName(char* name) { return (void)name, false; }
    virtual bool getVendorString(char* text) { return (void)text, false; }
    virtual bool getProductString(char* text) { return (void)text, false; }
    virtual int32_t getVendorVersion() { return 0; }
    virtual intptr_t vendorSpecific(int32_t index, intptr_t value, void* ptr, float opt);
    // 1 yes, -1 no, 0 don't know (or a special answer).
    virtual intptr_t canDo(const char* text) { return (void)text, 0; }
    virtual int32_t getTailSize() { return 0; }
    virtual int32_t getVstVersion() { return 2400; }
    virtual int32_t startProcess() { return 0; }
    virtual int32_t stopProcess() { return 0; }
    virtual bool setProcessPrecision(int32_t precision) { return (void)precision, false; }

    // ---- the record ----
    void setUniqueID(int32_t id) { m_effect.uniqueID = id; }
    void setVersion(int32_t version) { m_effect.version = version; }
    void setNumInputs(int32_t count) { m_effect.numInputs = count; }
    void setNumOutputs(int32_t count) { m_effect.numOutputs = count; }
    void setNumPrograms(int32_t count) { m_effect.numPrograms = count; }
    void setNumParams(int32_t count) { m_effect.numParams = count; }
    void setInitialDelay(int32_t samples) { m_effect.initialDelay = samples; }
    void programsAreChunks(bool on) { setFlag(CVSTFlags::kProgramChunks, on); }
    void canProcessReplacing(bool on) { setFlag(CVSTFlags::kCanReplacing, on); }
    void canDoubleReplacing(bool on) { setFlag(CVSTFlags::kCanDoubleReplacing, on); }
    void isSynth(bool on) { setFlag(CVSTFlags::kIsSynth, on); }
    void noTail(bool on) { setFlag(CVSTFlags::kNoSoundInStop, on); }
    // Takes the editor; the base deletes it.
    void setEditor(CVSTEditorBase* editor);
    CVSTEditorBase* editor() const { return m_editor; }
    float storedSampleRate() const { return m_sampleRate; }
    int32_t storedBlockSize() const { return m_blockSize; }

    // ---- host calls ----
    intptr_t hostCall(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr, float opt = 0.0f);
    int32_t getMasterVersion();
    int32_t getCurrentProcessLevel();
    bool getHostVendorString(char* text);
    bool getHostProductString(char* text);
    CVSTTimeInfo* getTimeInfo(int32_t filter);
    bool ioChanged();
    bool updateDisplay();
    bool beginEdit(int32_t index);
    bool endEdit(int32_t index);
    bool sizeWindow(int32_t width, int32_t height);
    // Sets the parameter, then tells the host as automation.
    void setParameterAutomated(int32_t index, float value);

private:
    void setFlag(int32_t bit, bool on) { m_effect.flags = on ? (m_effect.flags | bit) : (m_effect.flags & ~bit); }

    static intptr_t dispatchEntry(CVSTEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt);
    static void processEntry(CVSTEffect* e, float** in, float** out, int32_t frames);
    static void processReplacingEntry(CVSTEffect* e, float** in, float** out, int32_t frames);
    static void processDoubleEntry(CVSTEffect* e, double** in, double** out, int32_t frames);
    static void setParameterEntry(CVSTEffect* e, int32_t index, float value);
    static float getParameterEntry(CVSTEffect* e, int32_t index);

    CVSTEffect m_effect;
    TVSTHostCallback m_host;
    CVSTEditorBase* m_editor = nullptr;
    float m_sampleRate = 44100.0f;
    int32_t m_blockSize = 1024;
    int32_t m_currentProgram = 0;
};

}  // namespace orl
