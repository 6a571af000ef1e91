#include "Audio/VST/CVSTEffectBase.h"

#include <cstring>

#include "Audio/VST/CVSTEditorBase.h"
#include "Audio/VST/CVSTHostOpcode.h"
#include "Audio/VST/CVSTOpcode.h"
#include "Audio/VST/CVSTSpeakerArrangement.h"
#include "Audio/VST/CVSTTimeInfo.h"

namespace orl {

namespace {

// Category numbers of the interface that the base itself answers with.
constexpr int32_t kCategoryUnknown = 0;
constexpr int32_t kCategorySynth = 2;

}  // namespace

CVSTEffectBase::CVSTEffectBase(TVSTHostCallback host, int32_t programCount, int32_t paramCount) : m_host(host) {
    m_effect.object = this;
    m_effect.dispatcher = &dispatchEntry;
    m_effect.process = &processEntry;
    m_effect.setParameter = &setParameterEntry;
    m_effect.getParameter = &getParameterEntry;
    m_effect.processReplacing = &processReplacingEntry;
    m_effect.processDoubleReplacing = &processDoubleEntry;
    m_effect.numPrograms = programCount;
    m_effect.numParams = paramCount;
    m_effect.numInputs = 1;
    m_effect.numOutputs = 2;
    m_effect.version = 1;
}

CVSTEffectBase::~CVSTEffectBase() {
    delete m_editor;
    m_editor = nullptr;
    m_effect.object = nullptr;
}

CVSTEffectBase* CVSTEffectBase::fromEffect(CVSTEffect* effect) {
    return effect ? static_cast<CVSTEffectBase*>(effect->object) : nullptr;
}

void CVSTEffectBase::setEditor(CVSTEditorBase* editor) {
    if (editor != m_editor) delete m_editor;
    m_editor = editor;
    setFlag(CVSTFlags::kHasEditor, editor != nullptr);
}

// ---- entries from the host ----

intptr_t CVSTEffectBase::dispatchEntry(CVSTEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                       float opt) {
    CVSTEffectBase* self = fromEffect(e);
    if (!self) return 0;
    if (opcode == CVSTOpcode::kClose) {
        self->close();
        delete self;
        return 1;
    }
    return self->dispatch(opcode, index, value, ptr, opt);
}

void CVSTEffectBase::processEntry(CVSTEffect* e, float** in, float** out, int32_t frames) {
    if (CVSTEffectBase* self = fromEffect(e)) self->processAccumulating(in, out, frames);
}

void CVSTEffectBase::processReplacingEntry(CVSTEffect* e, float** in, float** out, int32_t frames) {
    if (CVSTEffectBase* self = fromEffect(e)) self->processReplacing(in, out, frames);
}

void CVSTEffectBase::processDoubleEntry(CVSTEffect* e, double** in, double** out, int32_t frames) {
    if (CVSTEffectBase* self = fromEffect(e)) self->processDoubleReplacing(in, out, frames);
}

void CVSTEffectBase::setParameterEntry(CVSTEffect* e, int32_t index, float value) {
    if (CVSTEffectBase* self = fromEffect(e)) self->setParameter(index, value);
}

float CVSTEffectBase::getParameterEntry(CVSTEffect* e, int32_t index) {
    CVSTEffectBase* self = fromEffect(e);
    return self ? self->getParameter(index) : 0.0f;
}

intptr_t CVSTEffectBase::dispatch(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    char* text = static_cast<char*>(ptr);
    switch (opcode) {
    case CVSTOpcode::kOpen:
        open();
        return 0;
    case CVSTOpcode::kSetProgram:
        if (value >= 0 && value < m_effect.numPrograms) setProgram(static_cast<int32_t>(value));
        return 0;
    case CVSTOpcode::kGetProgram:
        return getProgram();
    case CVSTOpcode::kSetProgramName:
        if (text) setProgramName(text);
        return 0;
    case CVSTOpcode::kGetProgramName:
        if (text) getProgramName(text);
        return 0;
    case CVSTOpcode::kGetParamLabel:
        if (text) getParameterLabel(index, text);
        return 0;
    case CVSTOpcode::kGetParamDisplay:
        if (text) getParameterDisplay(index, text);
        return 0;
    case CVSTOpcode::kGetParamName:
        if (text) getParameterName(index, text);
        return 0;
    case CVSTOpcode::kSetSampleRate:
        setSampleRate(opt);
        return 0;
    case CVSTOpcode::kSetBlockSize:
        setBlockSize(static_cast<int32_t>(value));
        return 0;
    case CVSTOpcode::kMainsChanged:
        if (value)
            resume();
        else
            suspend();
        return 0;
    case CVSTOpcode::kEditGetRect:
        if (!m_editor || !ptr) return 0;
        return m_editor->getRect(static_cast<CVSTRect**>(ptr)) ? 1 : 0;
    case CVSTOpcode::kEditOpen:
        return m_editor && m_editor->open(ptr) ? 1 : 0;
    case CVSTOpcode::kEditClose:
        if (m_editor) m_editor->close();
        return 0;
    case CVSTOpcode::kEditIdle:
        if (m_editor) m_editor->idle();
        return 0;
    case CVSTOpcode::kGetChunk:
        return ptr ? getChunk(static_cast<void**>(ptr), index != 0) : 0;
    case CVSTOpcode::kSetChunk:
        return setChunk(ptr, static_cast<int32_t>(value), index != 0);
    case CVSTOpcode::kProcessEvents:
        return ptr ? processEvents(static_cast<CVSTEvents*>(ptr)) : 0;
    case CVSTOpcode::kCanBeAutomated:
        return canParameterBeAutomated(index) ? 1 : 0;
    case CVSTOpcode::kString2Parameter:
        return text && string2parameter(index, text) ? 1 : 0;
    case CVSTOpcode::kGetProgramNameIndexed:
        return text && getProgramNameIndexed(static_cast<int32_t>(value), index, text) ? 1 : 0;
    case CVSTOpcode::kGetInputProperties:
        return getInputProperties(index, ptr) ? 1 : 0;
    case CVSTOpcode::kGetOutputProperties:
        return getOutputProperties(index, ptr) ? 1 : 0;
    case CVSTOpcode::kGetPlugCategory:
        return getPlugCategory();
    case CVSTOpcode::kSetSpeakerArrangement:
        return setSpeakerArrangement(reinterpret_cast<CVSTSpeakerArrangement*>(value),
                                     static_cast<CVSTSpeakerArrangement*>(ptr))
                   ? 1
                   : 0;
    case CVSTOpcode::kGetSpeakerArrangement:
        if (!value || !ptr) return 0;
        return getSpeakerArrangement(reinterpret_cast<CVSTSpeakerArrangement**>(value),
                                     static_cast<CVSTSpeakerArrangement**>(ptr))
                   ? 1
                   : 0;
    case CVSTOpcode::kSetBypass:
        return setBypass(value != 0) ? 1 : 0;
    case CVSTOpcode::kGetEffectName:
        return text && getEffectName(text) ? 1 : 0;
    case CVSTOpcode::kGetVendorString:
        return text && getVendorString(text) ? 1 : 0;
    case CVSTOpcode::kGetProductString:
        return text && getProductString(text) ? 1 : 0;
    case CVSTOpcode::kGetVendorVersion:
        return getVendorVersion();
    case CVSTOpcode::kVendorSpecific:
        return vendorSpecific(index, value, ptr, opt);
    case CVSTOpcode::kCanDo:
        return text ? canDo(text) : 0;
    case CVSTOpcode::kGetTailSize:
        return getTailSize();
    case CVSTOpcode::kGetVstVersion:
        return getVstVersion();
    case CVSTOpcode::kStartProcess:
        return startProcess();
    case CVSTOpcode::kStopProcess:
        return stopProcess();
    case CVSTOpcode::kSetProcessPrecision:
        return setProcessPrecision(static_cast<int32_t>(value)) ? 1 : 0;
    default:
        return 0;
    }
}

// ---- default answers ----

void CVSTEffectBase::processAccumulating(float**, float**, int32_t) {}

void CVSTEffectBase::processReplacing(float**, float** outputs, int32_t frames) {
    for (int32_t c = 0; outputs && c < m_effect.numOutputs; ++c) {
        if (outputs[c] && frames > 0) std::memset(outputs[c], 0, sizeof(float) * static_cast<size_t>(frames));
    }
}

void CVSTEffectBase::processDoubleReplacing(double**, double** outputs, int32_t frames) {
    for (int32_t c = 0; outputs && c < m_effect.numOutputs; ++c) {
        if (outputs[c] && frames > 0) std::memset(outputs[c], 0, sizeof(double) * static_cast<size_t>(frames));
    }
}

bool CVSTEffectBase::getProgramNameIndexed(int32_t, int32_t, char* text) {
    text[0] = 0;
    return false;
}

int32_t CVSTEffectBase::getPlugCategory() {
    return (m_effect.flags & CVSTFlags::kIsSynth) ? kCategorySynth : kCategoryUnknown;
}

bool CVSTEffectBase::setSpeakerArrangement(CVSTSpeakerArrangement*, CVSTSpeakerArrangement*) { return false; }

bool CVSTEffectBase::getSpeakerArrangement(CVSTSpeakerArrangement** in, CVSTSpeakerArrangement** out) {
    *in = nullptr;
    *out = nullptr;
    return false;
}

intptr_t CVSTEffectBase::vendorSpecific(int32_t, intptr_t, void*, float) { return 0; }

// ---- host calls ----

intptr_t CVSTEffectBase::hostCall(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    return m_host ? m_host(&m_effect, opcode, index, value, ptr, opt) : 0;
}

int32_t CVSTEffectBase::getMasterVersion() {
    return static_cast<int32_t>(hostCall(CVSTHostOpcode::kVersion));
}

int32_t CVSTEffectBase::getCurrentProcessLevel() {
    return static_cast<int32_t>(hostCall(CVSTHostOpcode::kGetCurrentProcessLevel));
}

bool CVSTEffectBase::getHostVendorString(char* text) {
    text[0] = 0;
    return hostCall(CVSTHostOpcode::kGetVendorString, 0, 0, text) != 0;
}

bool CVSTEffectBase::getHostProductString(char* text) {
    text[0] = 0;
    return hostCall(CVSTHostOpcode::kGetProductString, 0, 0, text) != 0;
}

CVSTTimeInfo* CVSTEffectBase::getTimeInfo(int32_t filter) {
    return reinterpret_cast<CVSTTimeInfo*>(hostCall(CVSTHostOpcode::kGetTime, 0, filter));
}

bool CVSTEffectBase::ioChanged() { return hostCall(CVSTHostOpcode::kIOChanged) != 0; }

bool CVSTEffectBase::updateDisplay() { return hostCall(CVSTHostOpcode::kUpdateDisplay) != 0; }

bool CVSTEffectBase::beginEdit(int32_t index) { return hostCall(CVSTHostOpcode::kBeginEdit, index) != 0; }

bool CVSTEffectBase::endEdit(int32_t index) { return hostCall(CVSTHostOpcode::kEndEdit, index) != 0; }

bool CVSTEffectBase::sizeWindow(int32_t width, int32_t height) {
    return hostCall(CVSTHostOpcode::kSizeWindow, width, height) != 0;
}

void CVSTEffectBase::setParameterAutomated(int32_t index, float value) {
    setParameter(index, value);
    hostCall(CVSTHostOpcode::kAutomate, index, 0, nullptr, value);
}

}  // namespace orl
