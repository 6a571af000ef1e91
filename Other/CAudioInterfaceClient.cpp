#include "Other/CAudioInterfaceClient.h"

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamData.h"
#include "Core/CError.h"
#include "Other/CAudioInterfaceVizProcessor.h"
#include "Other/CInterfaceMessage.h"
#include "Other/CVizExchange.h"

namespace orl {

#define ORL_READ(call)                                                      \
    do {                                                                    \
        if (CError* readErr = (call)) return ORL_PASS(readErr, fullName()); \
    } while (false)

CAudioInterfaceClient::CAudioInterfaceClient() : m_groupNamesListener(*this) {}

CAudioInterfaceClient::~CAudioInterfaceClient() = default;

void CAudioInterfaceClient::fillDescriptors(CClassDescriptors& d) {
    CParamInterfaceClient::fillDescriptors(d);
    auto add = [&d](const char* name, TEventProc proc) {
        CEventEntry e;
        e.proc = proc;
        d.events[CString(name)] = e;
    };
    add("start-viz", &handleAudio<&CAudioInterfaceClient::onStartViz>);
    add("stop-viz", &handleAudio<&CAudioInterfaceClient::onStopViz>);
    add("clear-client", &handleAudio<&CAudioInterfaceClient::onClearClient>);
    add("update-internal-channel-count", &handleAudio<&CAudioInterfaceClient::onUpdateInternalChannelCount>);
    add("update-group-count", &handleAudio<&CAudioInterfaceClient::onUpdateGroupCount>);
    add("update-io-channel-counts", &handleAudio<&CAudioInterfaceClient::onUpdateIoChannelCounts>);
    add("update-sample-rate", &handleAudio<&CAudioInterfaceClient::onUpdateSampleRate>);
    add("viz-data", &handleAudio<&CAudioInterfaceClient::onVizData>);
    add("export-slot-names", &handleAudio<&CAudioInterfaceClient::onExportSlotNames>);
    add("import-channel-labels", &handleAudio<&CAudioInterfaceClient::onImportChannelLabels>);
}

CError* CAudioInterfaceClient::init() {
    if (CError* err = CParamInterfaceClient::init()) return ORL_PASS(err, fullName());
    m_internalChannels = 2;
    m_groups = 2;
    m_in = 2;
    m_out = 2;
    m_sidechain = 0;
    m_sampleRate = 44100.0;
    m_lastSequence = 0;
    for (const char* request : {"request-internal-channel-count", "request-group-count", "request-io-channel-counts",
                                "request-sample-rate"}) {
        if (CError* err = sendRequest(request)) return ORL_PASS(err, fullName());
    }
    const CString& groupNames = getAttrString(CString("group-names-param"));
    if (!groupNames.isEmpty()) (void)listenParam(groupNames, &m_groupNamesListener);
    return nullptr;
}

CError* CAudioInterfaceClient::sendRequest(const char* event) {
    CInterfaceMessage message(event);
    (void)message.writeUInt32(static_cast<uint32_t>(clientId()));
    return sendToBase(message);
}

void CAudioInterfaceClient::unlistenAll() {
    // Displays first, so that the audio side stops measuring before anything else goes.
    CArray<CString> names;
    for (const auto& [name, id] : m_vizListenIds) names.add(name);
    for (const CString& name : names) unlistenViz(name);
    if (auto* exchange = dynamic_cast<CVizExchange*>(m_vizTarget)) exchange->clientGone();
    m_vizTarget = nullptr;
    CParamInterfaceClient::unlistenAll();
}

CString CAudioInterfaceClient::getGroupName(int32_t group) const {
    if (group >= 0 && group < m_groupNames.count()) return m_groupNames[group];
    return CString::fromInt(static_cast<int64_t>(group) + 1);
}

void CAudioInterfaceClient::CGroupNamesParamListener::onUpdate(const CAudioParamChange& record) {
    // Only the names themselves: group 0 of this single-group parameter.
    if (record.group != 0 || record.start < 0 || !record.numbers) return;
    CArray<CString>& names = m_client.m_groupNames;
    const int32_t end = record.start + record.count;
    while (names.count() < end) names.add(CString());
    if (record.tail) {
        while (names.count() > end) names.removeAt(names.count() - 1);
    }
    for (int32_t i = 0; i < record.count; ++i) {
        CString text;
        int32_t id = 0;
        if (record.data && CAudioParamData::idOf(record.numbers[i * record.elementSize], id)) record.data->getString(id, text);
        names[record.start + i] = text;
    }
}

// ---- visualisation ----

void CAudioInterfaceClient::listenViz(const CString& name, int32_t slot) {
    if (m_vizListenIds.count(name) != 0) return;
    const uint32_t id = nextId();
    m_vizListenIds[name] = id;
    CInterfaceMessage message("listen-viz");
    (void)message.writeUInt32(id);
    (void)message.writeString(name);
    (void)message.writeUInt32(static_cast<uint32_t>(slot));
    if (CError* err = sendToBase(message)) {
        logError(err);
        deleteError(err);
    }
}

void CAudioInterfaceClient::unlistenViz(const CString& name) {
    auto it = m_vizListenIds.find(name);
    if (it == m_vizListenIds.end()) return;
    const uint32_t id = it->second;
    m_vizListenIds.erase(it);
    CInterfaceMessage message("unlisten-viz");
    (void)message.writeUInt32(id);
    deleteError(sendToBase(message));
}

void CAudioInterfaceClient::requestVizData(double rate) {
    CInterfaceMessage message("request-viz-data");
    (void)message.writeUInt32(static_cast<uint32_t>(clientId()));
    (void)message.writeDouble(rate);
    deleteError(sendToBase(message));
}

CError* CAudioInterfaceClient::requestExportSlotNames() { return sendRequest("request-export-slot-names"); }

CError* CAudioInterfaceClient::importChannelLabels() {
    CInterfaceMessage message("import-channel-labels");
    return sendToBase(message);
}

CError* CAudioInterfaceClient::onImportChannelLabels() { return importChannelLabels(); }

CError* CAudioInterfaceClient::onStartViz() {
    if (m_vizTarget) m_vizTarget->onStartViz();
    return nullptr;
}

CError* CAudioInterfaceClient::onStopViz() {
    if (m_vizTarget) m_vizTarget->onStopViz();
    return nullptr;
}

CError* CAudioInterfaceClient::onClearClient() {
    if (m_vizTarget) m_vizTarget->onClearClient();
    return nullptr;
}

CError* CAudioInterfaceClient::onVizData() {
    if (!m_vizTarget) return nullptr;
    ORL_READ(m_vizTarget->onVizData(readStream()));
    return nullptr;
}

CError* CAudioInterfaceClient::onExportSlotNames() {
    if (!m_vizTarget) return nullptr;
    ORL_READ(m_vizTarget->onExportSlotNames(readStream()));
    return nullptr;
}

// ---- mirrors ----

CError* CAudioInterfaceClient::onUpdateInternalChannelCount() {
    ORL_READ(readStream().readInt32(m_internalChannels));
    return fireEvent(CString("update-internal-channel-count"));
}

CError* CAudioInterfaceClient::onUpdateGroupCount() {
    ORL_READ(readStream().readInt32(m_groups));
    return fireEvent(CString("update-group-count"));
}

CError* CAudioInterfaceClient::onUpdateIoChannelCounts() {
    int32_t in = 0, out = 0, sidechain = 0;
    ORL_READ(readStream().readInt32(in));
    ORL_READ(readStream().readInt32(out));
    ORL_READ(readStream().readInt32(sidechain));
    m_in = in;
    m_out = out;
    m_sidechain = sidechain;
    return fireEvent(CString("update-io-channel-counts"));
}

CError* CAudioInterfaceClient::onUpdateSampleRate() {
    uint32_t sequence = 0;
    double rate = 0.0;
    ORL_READ(readStream().readUInt32(sequence));
    ORL_READ(readStream().readDouble(rate));
    // An answer that crossed a newer update on its way keeps the newer rate.
    if (sequence < m_lastSequence) return nullptr;
    m_lastSequence = sequence;
    m_sampleRate = rate;
    return fireEvent(CString("update-sample-rate"));
}

}  // namespace orl
