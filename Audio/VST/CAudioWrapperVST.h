#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioWrapper.h"
#include "Audio/VST/CVSTEffectBase.h"
#include "Audio/VST/CVSTLibraryUse.h"
#include "Core/CByteBuffer.h"
#include "Core/CString.h"

namespace orl {

class CAudioExtParam;
class CAudioWrapperVSTEditor;
class CCriticalSection;
struct CVSTSpeaker;

// One plug-in instance as a VST 2.4 host sees it: the dispatcher of CVSTEffectBase on one side,
// the host-neutral shell CAudioWrapper on the other.
//
// Threads: the process calls on the host's audio thread, the rest on its main thread. Hosts
// known to call suspend, resume and the process calls from different threads at once get a
// lock around those four (the sync lock); parameter calls never take it.
//
// The library use comes first among the bases: the application is there before the shell is
// made and goes only after the shell's tree is gone.
class CAudioWrapperVST : private CVSTLibraryUse, public CVSTEffectBase, public CAudioWrapper {
public:
    // Channels on each side when the host can take more than stereo.
    static constexpr int32_t kMultiChannelCount = 16;
    static constexpr int32_t kProgramNameChars = 23;
    static constexpr int32_t kParamTextChars = 7;
    static constexpr int32_t kEffectNameChars = 31;
    static constexpr int32_t kVendorTextChars = 63;
    static constexpr int32_t kChunkHeaderBytes = 16;

    explicit CAudioWrapperVST(TVSTHostCallback host);
    ~CAudioWrapperVST() override;

    // Whether a press of the mouse gives the editor window the keyboard focus; some hosts take
    // the focus back and mind it being taken. Process-wide, set by each instance's init.
    static bool focusOnMousePress() { return s_focusOnMousePress.load(std::memory_order_relaxed); }

    // ---- CAudioWrapper ----
    CError* init() override;
    void hostAutomate(int32_t extIndex, double norm) override;
    void hostUpdateDisplay() override;
    void hostBeginEdit(int32_t extIndex) override;
    void hostEndEdit(int32_t extIndex) override;
    void hostResizeWindow(int32_t width, int32_t height) override;

    // ---- CVSTEffectBase ----
    void suspend() override;
    void resume() override;
    void setSampleRate(float rate) override;
    void setBlockSize(int32_t frames) override;
    void processReplacing(float** inputs, float** outputs, int32_t frames) override;
    void processDoubleReplacing(double** inputs, double** outputs, int32_t frames) override;
    void setParameter(int32_t index, float value) override;
    float getParameter(int32_t index) override;
    int32_t getProgram() override;
    void setProgram(int32_t program) override;
    void setProgramName(const char* name) override;
    void getProgramName(char* name) override;
    void getParameterLabel(int32_t index, char* label) override;
    void getParameterDisplay(int32_t index, char* text) override;
    void getParameterName(int32_t index, char* text) override;
    int32_t getChunk(void** data, bool isPreset) override;
    int32_t setChunk(void* data, int32_t size, bool isPreset) override;
    bool getProgramNameIndexed(int32_t category, int32_t index, char* text) override;
    bool setSpeakerArrangement(CVSTSpeakerArrangement* in, CVSTSpeakerArrangement* out) override;
    bool getSpeakerArrangement(CVSTSpeakerArrangement** in, CVSTSpeakerArrangement** out) override;
    bool setProcessPrecision(int32_t precision) override;
    int32_t processEvents(CVSTEvents* events) override;
    bool getEffectName(char* name) override;
    bool getVendorString(char* text) override;
    bool getProductString(char* text) override;
    int32_t getVendorVersion() override;
    intptr_t vendorSpecific(int32_t index, intptr_t value, void* ptr, float opt) override;
    intptr_t canDo(const char* text) override;
    int32_t getVstVersion() override { return 2400; }
    int32_t getPlugCategory() override;
    bool canParameterBeAutomated(int32_t index) override { return (void)index, true; }

    // The host's strings, upper-cased, and what init concluded from them.
    const CString& hostProduct() const { return m_hostProduct; }
    const CString& hostVendor() const { return m_hostVendor; }
    bool hasSyncLock() const { return m_syncLock != nullptr; }
    bool isAutoRouting() const { return m_autoRouting; }
    int32_t maxInputs() const { return m_maxInputs; }
    int32_t maxOutputs() const { return m_maxOutputs; }

    // The name a host channel gets from its speaker: the speaker's name cut to 7 characters, or
    // for an empty name or "?" "L", "R", then "IN3", "IN4"...
    static CString hostChannelName(const CVSTSpeaker* speaker, int32_t index);

private:
    // The wrapper as the source of the changes it makes, so that its own listeners know them.
    const void* selfSource() const { return static_cast<const CAudioWrapper*>(this); }
    void enterSync();
    void leaveSync();
    // offline := the host's process level is 4; a change goes to the shell.
    void updateOffline();
    // The channel counts of the arrangements (or the maximum) and the precision, to the shell.
    void updateFormats();
    void processBlock(const void* const* inputs, void* const* outputs, int32_t frames, bool isDouble);
    void readTransport();
    CAudioExtParam* extParam(int32_t index) const;

    static std::atomic<bool> s_focusOnMousePress;

    CCriticalSection* m_syncLock = nullptr;
    CByteBuffer m_chunk;
    uint32_t m_chunkSize = 0;
    // Copies of the host's arrangements; empty while none is set.
    CByteBuffer m_inArrangement;
    CByteBuffer m_outArrangement;
    bool m_processDouble = false;
    CString m_hostProduct;
    CString m_hostVendor;
    bool m_isOffline = false;
    int32_t m_maxInputs = 2;
    int32_t m_maxOutputs = 2;
    bool m_autoRouting = true;
    bool m_useHostBPM = false;
    bool m_useHostRecording = false;
    CAudioWrapperVSTEditor* m_editorObject = nullptr;
};

}  // namespace orl
