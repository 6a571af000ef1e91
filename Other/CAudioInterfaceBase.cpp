#include "Other/CAudioInterfaceBase.h"

#include "Audio/CAudioInterfaceDataProvider.h"
#include "Core/CError.h"
#include "Other/CAudioVizCollector.h"
#include "Other/CInterfaceMessage.h"
#include "Other/CParamInterfaceBaseConnector.h"

namespace orl {

namespace {

constexpr int32_t kAll = CParamInterfaceBaseConnector::kAllClients;
// What a base without a shell reports.
constexpr int32_t kLoneChannelCount = 1;
constexpr double kLoneSampleRate = 44100.0;

}  // namespace

#define ORL_READ(call)                                                      \
    do {                                                                    \
        if (CError* readErr = (call)) return ORL_PASS(readErr, fullName()); \
    } while (false)

CAudioInterfaceBase::CAudioInterfaceBase() = default;

CAudioInterfaceBase::~CAudioInterfaceBase() { dropVizListeners(); }

void CAudioInterfaceBase::fillDescriptors(CClassDescriptors& d) {
    CParamInterfaceBase::fillDescriptors(d);
    auto add = [&d](const char* name, TEventProc proc) {
        CEventEntry e;
        e.proc = proc;
        d.events[CString(name)] = e;
    };
    add("listen-viz", &handleAudio<&CAudioInterfaceBase::onListenViz>);
    add("unlisten-viz", &handleAudio<&CAudioInterfaceBase::onUnlistenViz>);
    add("request-viz-data", &handleAudio<&CAudioInterfaceBase::onRequestVizData>);
    add("request-export-slot-names", &handleAudio<&CAudioInterfaceBase::onRequestExportSlotNames>);
    add("request-internal-channel-count", &handleAudio<&CAudioInterfaceBase::onRequestInternalChannelCount>);
    add("request-group-count", &handleAudio<&CAudioInterfaceBase::onRequestGroupCount>);
    add("request-io-channel-counts", &handleAudio<&CAudioInterfaceBase::onRequestIoChannelCounts>);
    add("request-sample-rate", &handleAudio<&CAudioInterfaceBase::onRequestSampleRate>);
    add("import-channel-labels", &handleAudio<&CAudioInterfaceBase::onImportChannelLabels>);
}

CError* CAudioInterfaceBase::init() {
    if (CError* err = CParamInterfaceBase::init()) return ORL_PASS(err, fullName());
    if (hasAttr(CString("viz-collector")) && !getAttrString(CString("viz-collector")).isEmpty()) {
        if (CError* err = findObjectByAttr(CString("viz-collector"), m_vizCollector)) return ORL_PASS(err, fullName());
    }
    return nullptr;
}

void CAudioInterfaceBase::release() {
    dropVizListeners();
    setDataProvider(nullptr);
    CParamInterfaceBase::release();
}

void CAudioInterfaceBase::setDataProvider(CAudioInterfaceDataProvider* provider) {
    m_provider.store(provider, std::memory_order_release);
}

void CAudioInterfaceBase::dropVizListeners() {
    CMap<uint32_t, CAudioVizEntry*> listeners;
    {
        CCriticalSectionLock hold(readLock());
        listeners.swap(m_vizListeners);
    }
    if (!m_vizCollector) return;
    for (auto& [id, entry] : listeners) m_vizCollector->removeListener(entry);
}

int32_t CAudioInterfaceBase::vizListenerCount() {
    CCriticalSectionLock hold(readLock());
    return static_cast<int32_t>(m_vizListeners.size());
}

// ---- edit brackets ----

void CAudioInterfaceBase::beginParamEdit(const CAudioParam* param, int32_t group, int32_t element) {
    if (CAudioInterfaceDataProvider* provider = dataProvider()) provider->beginParamEdit(param, group, element);
}

void CAudioInterfaceBase::endParamEdit(const CAudioParam* param, int32_t group, int32_t element) {
    if (CAudioInterfaceDataProvider* provider = dataProvider()) provider->endParamEdit(param, group, element);
}

// ---- the shell's messages ----

void CAudioInterfaceBase::sendEmpty(const char* event) {
    CInterfaceMessage message(event);
    send(kAll, message);
}

void CAudioInterfaceBase::sendStartViz() { sendEmpty("start-viz"); }
void CAudioInterfaceBase::sendStopViz() { sendEmpty("stop-viz"); }
void CAudioInterfaceBase::sendClearClient() { sendEmpty("clear-client"); }
void CAudioInterfaceBase::sendUpdateIoChannelCounts() { sendIoChannelCounts(kAll); }

void CAudioInterfaceBase::sendUpdateSampleRate() {
    CCriticalSectionLock hold(readLock());
    sendSampleRate(kAll);
}

void CAudioInterfaceBase::sendIoChannelCounts(int32_t clientId) {
    CAudioInterfaceDataProvider* provider = dataProvider();
    CInterfaceMessage message("update-io-channel-counts");
    (void)message.writeInt32(provider ? provider->getInChannelCount() : kLoneChannelCount);
    (void)message.writeInt32(provider ? provider->getOutChannelCount() : kLoneChannelCount);
    (void)message.writeInt32(provider ? provider->getSidechainChannelCount() : 0);
    send(clientId, message);
}

// With the read-stream lock held, which guards the sequence.
void CAudioInterfaceBase::sendSampleRate(int32_t clientId) {
    CAudioInterfaceDataProvider* provider = dataProvider();
    CInterfaceMessage message("update-sample-rate");
    (void)message.writeUInt32(++m_sequence);
    (void)message.writeDouble(provider ? provider->getSampleRate() : kLoneSampleRate);
    send(clientId, message);
}

// ---- requests ----

CError* CAudioInterfaceBase::onRequestInternalChannelCount() {
    uint32_t clientId = 0;
    ORL_READ(readStream().readUInt32(clientId));
    CAudioInterfaceDataProvider* provider = dataProvider();
    CInterfaceMessage message("update-internal-channel-count");
    (void)message.writeInt32(provider ? provider->getInternalChannelCount() : kLoneChannelCount);
    send(static_cast<int32_t>(clientId), message);
    return nullptr;
}

CError* CAudioInterfaceBase::onRequestGroupCount() {
    uint32_t clientId = 0;
    ORL_READ(readStream().readUInt32(clientId));
    CAudioInterfaceDataProvider* provider = dataProvider();
    CInterfaceMessage message("update-group-count");
    (void)message.writeInt32(provider ? provider->getGroupCount() : kLoneChannelCount);
    send(static_cast<int32_t>(clientId), message);
    return nullptr;
}

CError* CAudioInterfaceBase::onRequestIoChannelCounts() {
    uint32_t clientId = 0;
    ORL_READ(readStream().readUInt32(clientId));
    sendIoChannelCounts(static_cast<int32_t>(clientId));
    return nullptr;
}

CError* CAudioInterfaceBase::onRequestSampleRate() {
    uint32_t clientId = 0;
    ORL_READ(readStream().readUInt32(clientId));
    sendSampleRate(static_cast<int32_t>(clientId));
    return nullptr;
}

CError* CAudioInterfaceBase::onImportChannelLabels() {
    if (CAudioInterfaceDataProvider* provider = dataProvider()) provider->importChannelLabels();
    return nullptr;
}

// ---- visualisation ----

CError* CAudioInterfaceBase::onListenViz() {
    uint32_t listenId = 0, slot = 0;
    CString name;
    ORL_READ(readStream().readUInt32(listenId));
    ORL_READ(readStream().readString(name));
    ORL_READ(readStream().readUInt32(slot));
    // Only this instance's sources exist: a listener on an export slot has nothing to hear.
    if (static_cast<int32_t>(slot) >= 0 || !m_vizCollector) return nullptr;
    if (m_vizListeners.count(listenId) != 0) return nullptr;
    CAudioVizEntry* entry = m_vizCollector->getEntry(name);
    m_vizListeners[listenId] = entry;
    m_vizCollector->addListener(entry);
    return nullptr;
}

CError* CAudioInterfaceBase::onUnlistenViz() {
    uint32_t listenId = 0;
    ORL_READ(readStream().readUInt32(listenId));
    auto it = m_vizListeners.find(listenId);
    if (it == m_vizListeners.end()) return nullptr;
    CAudioVizEntry* entry = it->second;
    m_vizListeners.erase(it);
    if (m_vizCollector) m_vizCollector->removeListener(entry);
    return nullptr;
}

CError* CAudioInterfaceBase::onRequestVizData() {
    uint32_t clientId = 0;
    double rate = 0.0;
    ORL_READ(readStream().readUInt32(clientId));
    ORL_READ(readStream().readDouble(rate));
    if (!m_vizCollector) return nullptr;
    // The collector writes the whole message, its name included.
    CInterfaceMessage message;
    if (CError* err = m_vizCollector->writeVizData(message, rate)) return ORL_PASS(err, fullName());
    send(static_cast<int32_t>(clientId), message);
    return nullptr;
}

CError* CAudioInterfaceBase::onRequestExportSlotNames() {
    uint32_t clientId = 0;
    ORL_READ(readStream().readUInt32(clientId));
    // No export slot is ever in use here: the answer names none.
    CInterfaceMessage message("export-slot-names");
    (void)message.writeUInt32(0);
    send(static_cast<int32_t>(clientId), message);
    return nullptr;
}

}  // namespace orl
