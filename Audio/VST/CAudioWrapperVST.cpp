#include "Audio/VST/CAudioWrapperVST.h"

#include <cstdio>
#include <cstring>

#include "Audio/CAudioEventRecord.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Audio/CAudioPreset.h"
#include "Audio/VST/CAudioWrapperVSTEditor.h"
#include "Audio/VST/CVSTEvents.h"
#include "Audio/VST/CVSTHostOpcode.h"
#include "Audio/VST/CVSTHostPattern.h"
#include "Audio/VST/CVSTMidiEvent.h"
#include "Audio/VST/CVSTOpcode.h"
#include "Audio/VST/CVSTSpeakerArrangement.h"
#include "Audio/VST/CVSTTimeInfo.h"
#include "Core/CAppDataGroup.h"
#include "Core/CError.h"
#include "Core/CHighResTime.h"
#include "Core/CLog.h"
#include "Core/CObject.h"
#include "Platform/CCriticalSection.h"

namespace orl {

namespace {

constexpr int32_t kMultiChannelHostVersion = 2300;
// The vendor-specific calls this plug-in answers.
constexpr uint32_t kWheelSelector = 0x73744341u;  // "stCA"; "stCa" differs in bit 5
constexpr uint32_t kWheelSelectorCaseBit = 0x20u;
constexpr intptr_t kWheelValue = 0x57686565;  // "Whee"
constexpr intptr_t kExtensionAnswer = 0xbeef;
constexpr intptr_t kExtensionsCanDo = 0xbeef0000;
constexpr int32_t kTransportFlags = 14;  // playing, cycle, recording
// The host's strings are at most 64 bytes with the NUL; room beyond that for hosts that overrun.
constexpr size_t kHostTextBytes = 256;

struct CCategory {
    const char* name;
    int32_t value;
};
const CCategory kCategories[] = {
    {"kPlugCategUnknown", 0},     {"kPlugCategEffect", 1},       {"kPlugCategSynth", 2},
    {"kPlugCategAnalysis", 3},    {"kPlugCategMastering", 4},    {"kPlugCategSpacializer", 5},
    {"kPlugCategRoomFx", 6},      {"kPlugSurroundFx", 7},        {"kPlugCategRestoration", 8},
    {"kPlugCategOfflineProcess", 9}, {"kPlugCategShell", 10},    {"kPlugCategGenerator", 11},
};
constexpr int32_t kDefaultCategory = 1;

// Copies at most maxChars characters and a NUL; a UTF-8 sequence is never cut in two.
void copyLimited(char* out, const char* text, int32_t maxChars) {
    int32_t n = 0;
    while (text[n] && n < maxChars) ++n;
    if (text[n]) {
        while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0u) == 0x80u) --n;
    }
    std::memcpy(out, text, static_cast<size_t>(n));
    out[n] = 0;
}

void copyLimited(char* out, const CString& text, int32_t maxChars) {
    const CString narrow = text.narrowed();
    copyLimited(out, narrow.c8(), maxChars);
}

// The visible part of a program's full name: what follows the registry id and ":".
CString visibleName(const CString& fullName) {
    CString id, text;
    CAudioPreset::splitName(fullName, id, text);
    return text;
}

bool truthSetting(const char* name, bool fallback) {
    CString text;
    if (!CAppDataGroup::instance().readString(CString(name), text)) return fallback;
    text = text.trimmed();
    if (text == "0" || text == "false") return false;
    if (text == "1" || text == "true") return true;
    return fallback;
}

bool matchesAny(const CString& text, std::initializer_list<const char*> patterns) {
    for (const char* pattern : patterns) {
        if (CVSTHostPattern::matches(text.c8(), pattern)) return true;
    }
    return false;
}

CString hostString(bool (CVSTEffectBase::*query)(char*), CVSTEffectBase& effect) {
    char text[kHostTextBytes] = {};
    (void)(effect.*query)(text);
    text[kHostTextBytes - 1] = 0;
    CVSTHostPattern::toUpper(text);
    return CString(text);
}

void logChunkTime(const char* what, bool isPreset, int64_t started) {
    CLog::logf("VST %s chunk time (isPreset=%i): %.4f s @ %.4f s", what, isPreset ? 1 : 0,
               CHighResTime::secondsSince(started), CHighResTime::secondsSinceStart());
}

}  // namespace

std::atomic<bool> CAudioWrapperVST::s_focusOnMousePress{true};

CAudioWrapperVST::CAudioWrapperVST(TVSTHostCallback host) : CVSTEffectBase(host, 1, 1) {}

CAudioWrapperVST::~CAudioWrapperVST() {
    // The editor's tree refers to the instance's: it goes first.
    setEditor(nullptr);
    m_editorObject = nullptr;
    delete m_syncLock;
    m_syncLock = nullptr;
}

CAudioExtParam* CAudioWrapperVST::extParam(int32_t index) const {
    return extParamList() ? extParamList()->getParam(index) : nullptr;
}

CString CAudioWrapperVST::hostChannelName(const CVSTSpeaker* speaker, int32_t index) {
    if (speaker) {
        char name[CVSTSpeaker::kNameBytes + 1] = {};
        std::memcpy(name, speaker->name, CVSTSpeaker::kNameBytes);
        if (name[0] && std::strcmp(name, "?") != 0) {
            char cut[kParamTextChars + 1];
            copyLimited(cut, name, kParamTextChars);
            return CString(cut);
        }
    }
    if (index == 0) return CString("L");
    if (index == 1) return CString("R");
    return CString("IN") + CString::fromInt(index + 1);
}

// ---- init ----

CError* CAudioWrapperVST::init() {
    if (CError* err = CAudioWrapper::init()) return ORL_PASS(err, CString::empty());

    const int32_t hostVersion = getMasterVersion();
    m_hostVendor = hostString(&CVSTEffectBase::getHostVendorString, *this);
    m_hostProduct = hostString(&CVSTEffectBase::getHostProductString, *this);

    const bool multiChannel = hostVersion >= kMultiChannelHostVersion && !isForceTwoChannels() &&
                              m_hostProduct != "SONY ACID PRO" && !matchesAny(m_hostProduct, {"*PREMIERE*"});
    const int32_t channels = multiChannel ? kMultiChannelCount : 2;

    if (truthSetting("vst-func-sync", false) || matchesAny(m_hostProduct, {"*WAVELAB*", "*SAMPLITUDE*", "*CHAINER*"})) {
        m_syncLock = new CCriticalSection(2000, true);
    }
    m_autoRouting = !(matchesAny(m_hostVendor, {"*CAKEWALK*", "*TWELVE TONE*"}) ||
                      matchesAny(m_hostProduct, {"*CAKEWALK*", "*SONAR*", "*FX TELEPORT*"}));
    const bool focus = !(matchesAny(m_hostVendor, {"*STEINBERG*", "*FXPANSION*"}) ||
                         matchesAny(m_hostProduct, {"*WAVELAB*", "*CUBASE*", "*FRUITY*"}));
    s_focusOnMousePress.store(focus, std::memory_order_relaxed);

    if (CObject* project = instanceRoot()->findObject(CString("shared::project"))) {
        m_useHostBPM = project->getAttrBool(CString("use-host-bpm"));
        m_useHostRecording = project->getAttrBool(CString("use-host-recording"));
    }

    setUniqueID(static_cast<int32_t>(pluginCode()));
    setVersion(getVendorVersion());
    setNumPrograms(registry()->getProgramCount());
    setNumParams(extParamList()->getCount());
    programsAreChunks(true);
    canProcessReplacing(true);
    canDoubleReplacing(true);

    setNumInputs(channels);
    setNumOutputs(channels);
    m_maxInputs = channels;
    m_maxOutputs = channels;
    CArray<CString> names;
    for (int32_t i = 0; i < m_maxInputs; ++i) names.add(hostChannelName(nullptr, i));
    setHostChannelNames(names, CArray<CString>());

    finishInit();
    m_editorObject = new CAudioWrapperVSTEditor(*this);
    m_editorObject->setRect(0, 0, static_cast<int16_t>(windowHeight()), static_cast<int16_t>(windowWidth()));
    setEditor(m_editorObject);
    return nullptr;
}

// ---- host slots of the shell ----

void CAudioWrapperVST::hostAutomate(int32_t extIndex, double norm) {
    if (isReady()) hostCall(CVSTHostOpcode::kAutomate, extIndex, 0, nullptr, static_cast<float>(norm));
}

void CAudioWrapperVST::hostUpdateDisplay() { (void)updateDisplay(); }

void CAudioWrapperVST::hostBeginEdit(int32_t extIndex) { (void)beginEdit(extIndex); }

void CAudioWrapperVST::hostEndEdit(int32_t extIndex) { (void)endEdit(extIndex); }

void CAudioWrapperVST::hostResizeWindow(int32_t width, int32_t height) {
    if (!m_editorObject) return;
    m_editorObject->setRect(0, 0, static_cast<int16_t>(height), static_cast<int16_t>(width));
    (void)sizeWindow(width, height);
}

// ---- start, stop, blocks ----

void CAudioWrapperVST::enterSync() {
    if (m_syncLock) m_syncLock->enter();
}

void CAudioWrapperVST::leaveSync() {
    if (m_syncLock) m_syncLock->leave();
}

void CAudioWrapperVST::updateOffline() {
    const bool offline = getCurrentProcessLevel() == CVSTHostOpcode::kLevelOffline;
    if (offline == m_isOffline) return;
    m_isOffline = offline;
    setOffline(offline);
}

void CAudioWrapperVST::updateFormats() {
    const auto* in = reinterpret_cast<const CVSTSpeakerArrangement*>(m_inArrangement.data());
    const auto* out = reinterpret_cast<const CVSTSpeakerArrangement*>(m_outArrangement.data());
    const int32_t inCount = in ? in->numChannels : m_maxInputs;
    const int32_t outCount = out ? out->numChannels : m_maxOutputs;
    setInputFormat(inCount, m_processDouble, false, 0, false, false);
    setOutputFormat(outCount, m_processDouble, false);
}

void CAudioWrapperVST::suspend() {
    enterSync();
    stop();
    leaveSync();
}

void CAudioWrapperVST::resume() {
    enterSync();
    CAudioWrapper::setSampleRate(static_cast<double>(storedSampleRate()));
    updateOffline();
    updateFormats();
    start();
    setInitialDelay(static_cast<int32_t>(getLatency()));
    if (!isLatencyReported()) confirmLatencyReported();
    leaveSync();
}

void CAudioWrapperVST::setSampleRate(float rate) { CVSTEffectBase::setSampleRate(rate); }

void CAudioWrapperVST::setBlockSize(int32_t frames) { CVSTEffectBase::setBlockSize(frames); }

void CAudioWrapperVST::readTransport() {
    if (!m_useHostRecording && !m_useHostBPM) return;
    int32_t filter = m_useHostRecording ? kTransportFlags : 0;
    if (m_useHostBPM) filter |= CVSTTimeInfo::kTempoValid;
    const CVSTTimeInfo* info = getTimeInfo(filter);
    if (!info) return;
    if (info->flags & CVSTTimeInfo::kTempoValid) setBPM(info->tempo);
    setRecording((info->flags & CVSTTimeInfo::kRecording) != 0);
}

void CAudioWrapperVST::processBlock(const void* const* inputs, void* const* outputs, int32_t frames, bool isDouble) {
    enterSync();
    if (m_processDouble != isDouble) {
        m_processDouble = isDouble;
        updateFormats();
    }
    updateOffline();
    readTransport();
    process(inputs, outputs, frames);
    if (isLatencyPending()) {
        setLatencyPending(false);
        (void)ioChanged();
    }
    leaveSync();
}

void CAudioWrapperVST::processReplacing(float** inputs, float** outputs, int32_t frames) {
    processBlock(reinterpret_cast<const void* const*>(inputs), reinterpret_cast<void* const*>(outputs), frames, false);
}

void CAudioWrapperVST::processDoubleReplacing(double** inputs, double** outputs, int32_t frames) {
    processBlock(reinterpret_cast<const void* const*>(inputs), reinterpret_cast<void* const*>(outputs), frames, true);
}

bool CAudioWrapperVST::setProcessPrecision(int32_t precision) {
    if (precision != 0 && precision != 1) return false;
    m_processDouble = precision == 1;
    updateFormats();
    return true;
}

int32_t CAudioWrapperVST::processEvents(CVSTEvents* events) {
    for (int32_t i = 0; i < events->numEvents; ++i) {
        const CVSTEvent* event = events->events[i];
        if (!event || event->type != CVSTEvent::kMidiType) continue;
        const auto* midi = reinterpret_cast<const CVSTMidiEvent*>(event);
        const uint32_t status = midi->midiData[0];
        addEvent(CAudioEventRecord::makeMidi(static_cast<uint32_t>(midi->deltaFrames > 0 ? midi->deltaFrames : 0),
                                             (status >> 4) & 0x0Fu, status & 0x0Fu, midi->midiData[1] & 0x7Fu,
                                             midi->midiData[2] & 0x7Fu));
    }
    return 1;
}

// ---- parameters ----

void CAudioWrapperVST::setParameter(int32_t index, float value) {
    if (CAudioExtParam* ext = extParam(index)) ext->setNormalised(value);
}

float CAudioWrapperVST::getParameter(int32_t index) {
    const CAudioExtParam* ext = extParam(index);
    return ext ? static_cast<float>(ext->getNormalised()) : 0.0f;
}

void CAudioWrapperVST::getParameterLabel(int32_t index, char* label) {
    label[0] = 0;
    if (const CAudioExtParam* ext = extParam(index)) {
        CString text;
        ext->getLabel(text);
        copyLimited(label, text, kParamTextChars);
    }
}

void CAudioWrapperVST::getParameterDisplay(int32_t index, char* display) {
    display[0] = 0;
    if (const CAudioExtParam* ext = extParam(index)) {
        CString text;
        ext->getDisplay(text);
        copyLimited(display, text, kParamTextChars);
    }
}

void CAudioWrapperVST::getParameterName(int32_t index, char* name) {
    name[0] = 0;
    if (const CAudioExtParam* ext = extParam(index)) copyLimited(name, ext->getName(), kParamTextChars);
}

// ---- programs ----

int32_t CAudioWrapperVST::getProgram() { return registry()->getProgram(); }

void CAudioWrapperVST::setProgram(int32_t program) { registry()->setProgram(program, selfSource()); }

void CAudioWrapperVST::setProgramName(const char* name) {
    char text[CVSTOpcode::kProgramNameBytes];
    copyLimited(text, name, kProgramNameChars);
    registry()->renamePreset(registry()->getProgram(), CString(text), selfSource());
}

void CAudioWrapperVST::getProgramName(char* name) {
    CString full;
    registry()->getPresetName(full);
    copyLimited(name, visibleName(full), kProgramNameChars);
}

bool CAudioWrapperVST::getProgramNameIndexed(int32_t, int32_t index, char* text) {
    CString full;
    registry()->getPresetName(full, index);
    copyLimited(text, visibleName(full), kProgramNameChars);
    return true;
}

// ---- chunks ----

int32_t CAudioWrapperVST::getChunk(void** data, bool isPreset) {
    const int64_t started = CHighResTime::counter();
    if (CError* err = saveState(m_chunk, isPreset, true)) {
        logError(err);
        deleteError(err);
        m_chunkSize = 0;
        *data = nullptr;
        return 0;
    }
    m_chunkSize = m_chunk.size();
    logChunkTime("get", isPreset, started);
    *data = m_chunk.data();
    return static_cast<int32_t>(m_chunkSize);
}

int32_t CAudioWrapperVST::setChunk(void* data, int32_t size, bool isPreset) {
    // Some hosts hand back nothing but the header for a state they never had: nothing to load.
    if (!data || size <= kChunkHeaderBytes) return 1;
    const int64_t started = CHighResTime::counter();
    if (CError* err = loadState(data, static_cast<uint32_t>(size), isPreset, true)) {
        logError(err);
        deleteError(err);
        return 0;
    }
    logChunkTime("set", isPreset, started);
    return 1;
}

// ---- speaker arrangements ----

bool CAudioWrapperVST::setSpeakerArrangement(CVSTSpeakerArrangement* in, CVSTSpeakerArrangement* out) {
    if (!in || !out) return false;
    if (in->numChannels < 1 || in->numChannels > m_maxInputs || out->numChannels < 0 ||
        out->numChannels > m_maxOutputs) {
        return false;
    }
    if (in->numChannels != out->numChannels && (isSymmetricIO() || out->numChannels > 2 || out->numChannels < 1)) {
        return false;
    }
    m_inArrangement.assign(in, static_cast<uint32_t>(CVSTSpeakerArrangement::bytesFor(in->numChannels)));
    m_outArrangement.assign(out, static_cast<uint32_t>(CVSTSpeakerArrangement::bytesFor(out->numChannels)));
    {
        CCriticalSectionLock hold(channelLock());
        CArray<CString> names;
        for (int32_t i = 0; i < in->numChannels; ++i) names.add(hostChannelName(&in->speaker(i), i));
        setHostChannelNames(names, CArray<CString>());
    }
    if (m_autoRouting) updateAutoRouting(true, nullptr, CAudioParamUndoContext());
    return true;
}

bool CAudioWrapperVST::getSpeakerArrangement(CVSTSpeakerArrangement** in, CVSTSpeakerArrangement** out) {
    if (m_inArrangement.isEmpty() || m_outArrangement.isEmpty()) {
        *in = nullptr;
        *out = nullptr;
        return false;
    }
    *in = reinterpret_cast<CVSTSpeakerArrangement*>(m_inArrangement.data());
    *out = reinterpret_cast<CVSTSpeakerArrangement*>(m_outArrangement.data());
    return true;
}

// ---- names, version, capabilities ----

bool CAudioWrapperVST::getEffectName(char* name) {
    copyLimited(name, pluginName(), kEffectNameChars);
    return true;
}

bool CAudioWrapperVST::getVendorString(char* text) {
    copyLimited(text, vendorName(), kVendorTextChars);
    return true;
}

bool CAudioWrapperVST::getProductString(char* text) {
    copyLimited(text, vendorName() + CString(" ") + pluginName(), kVendorTextChars);
    return true;
}

int32_t CAudioWrapperVST::getVendorVersion() {
    return (versionMajor() << 16) + (versionMinor() << 8) + versionPatch();
}

intptr_t CAudioWrapperVST::vendorSpecific(int32_t index, intptr_t value, void* ptr, float opt) {
    if ((static_cast<uint32_t>(index) & ~kWheelSelectorCaseBit) == kWheelSelector) {
        if (value != kWheelValue) return 0;
        if (CVSTEditorBase* e = editor()) e->onWheel(opt);
        return 1;
    }
    char* text = static_cast<char*>(ptr);
    if (index == CVSTOpcode::kGetParamDisplay && text) {
        text[0] = 0;
        if (const CAudioExtParam* ext = extParam(static_cast<int32_t>(value))) {
            CString display;
            ext->formatNormalised(display, static_cast<double>(opt));
            copyLimited(text, display, kParamTextChars);
        }
        return kExtensionAnswer;
    }
    if (index == CVSTOpcode::kString2Parameter && text) {
        const CAudioExtParam* ext = extParam(static_cast<int32_t>(value));
        if (!ext) {
            text[0] = 0;
            return kExtensionAnswer;
        }
        const double norm = ext->parseText(CString(text));
        // The host's text holds 8 bytes: "%f" cut to 7 characters and the NUL.
        char formatted[64];
        std::snprintf(formatted, sizeof(formatted), "%f", norm);
        copyLimited(text, formatted, CVSTOpcode::kParamTextBytes - 1);
        return kExtensionAnswer;
    }
    return 0;
}

intptr_t CAudioWrapperVST::canDo(const char* text) {
    if (std::strcmp(text, "hasCockosExtensions") == 0) return kExtensionsCanDo;
    if (std::strcmp(text, "receiveVstMidiEvent") == 0 || std::strcmp(text, "receiveVstTimeInfo") == 0) return 1;
    return 0;
}

int32_t CAudioWrapperVST::getPlugCategory() {
    const CObject* project = instanceRoot() ? instanceRoot()->findObject(CString("shared::project")) : nullptr;
    if (!project) return kDefaultCategory;
    const CString& name = project->getAttrString(CString("plugin-category-vst"));
    for (const CCategory& category : kCategories) {
        if (name == category.name) return category.value;
    }
    return kDefaultCategory;
}

}  // namespace orl
