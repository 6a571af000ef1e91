#include "Other/CParamInterfaceClientConnector.h"

#include "Core/CAttrValue.h"
#include "Core/CError.h"
#include "Other/CParamInterfaceBaseConnector.h"
#include "Other/CParamInterfaceClient.h"

namespace orl {

namespace {

const char* const kProxyEvent = "process-base-data-proxy";
const char* const kProcessEvent = "process-base-data";
const char* const kDefaultTimerTag = "core:timer";
constexpr double kDefaultFps = 30.0;

}  // namespace

CParamInterfaceClientConnector::CParamInterfaceClientConnector() = default;

CParamInterfaceClientConnector::~CParamInterfaceClientConnector() { disconnect(); }

void CParamInterfaceClientConnector::fillDescriptors(CClassDescriptors& descriptors) {
    CObject::fillDescriptors(descriptors);
    CEventEntry process;
    process.proc = &onProcessBaseData;
    descriptors.events[CString(kProcessEvent)] = process;
}

CError* CParamInterfaceClientConnector::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    const CString& path = getAttrString(CString("base-connector"));
    const CObject* from = this;
    if (root()) {
        if (auto* instanceRoot = static_cast<const CObject*>(root()->getAttrPointer(CString("BaseConnectorRootPtr")))) {
            from = instanceRoot;
        }
    }
    CParamInterfaceBaseConnector* base = nullptr;
    if (CError* err = from->findObjectChecked(base, path)) return ORL_PASS(err, fullName());
    m_base.store(base, std::memory_order_release);
    m_clientId = base->addClient(this);
    // The work of a poll reaches the thread that owns this connector through the bridge.
    listenObject(fullName(), CString(kProxyEvent), CString(kProcessEvent));
    return nullptr;
}

void CParamInterfaceClientConnector::release() {
    disconnect();
    CObject::release();
}

void CParamInterfaceClientConnector::disconnect() {
    if (CParamInterfaceBaseConnector* base = m_base.exchange(nullptr)) base->removeClient(m_clientId);
    {
        CCriticalSectionLock hold(m_clientLock);
        if (m_client) m_client->connectorGone();
        m_client = nullptr;
    }
    CCriticalSectionLock hold(m_incomingLock);
    m_incoming.clear();
}

CError* CParamInterfaceClientConnector::sendToBase(const CByteBuffer& buffer) {
    CParamInterfaceBaseConnector* base = baseConnector();
    if (!base) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CParamInterfaceBaseConnector_processClientData_NoBaseObject No base object defined.");
    }
    if (CError* err = base->processClientData(*this, buffer)) return ORL_PASS(err, fullName());
    return nullptr;
}

void CParamInterfaceClientConnector::poll() {
    CParamInterfaceBaseConnector* base = baseConnector();
    if (!base) return;
    CByteBuffer buffer;
    while (base->takeNext(m_clientId, buffer)) {
        {
            CCriticalSectionLock hold(m_incomingLock);
            m_incoming.add(static_cast<CByteBuffer&&>(buffer));
        }
        if (CError* err = fireEvent(CString(kProxyEvent))) {
            logError(err);
            deleteError(err);
        }
    }
}

CError* CParamInterfaceClientConnector::processBaseData() {
    CArray<CByteBuffer, 8> taken;
    {
        CCriticalSectionLock hold(m_incomingLock);
        if (m_incoming.isEmpty()) return nullptr;
        taken = static_cast<CArray<CByteBuffer, 8>&&>(m_incoming);
        m_incoming.clear();
    }
    CCriticalSectionLock hold(m_clientLock);
    if (!m_client) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CParamInterfaceClientConnector_onProcessBaseData_NoClientObject No client object "
                         "defined.");
    }
    for (const CByteBuffer& buffer : taken) {
        if (CError* err = m_client->receive(buffer.data(), buffer.size())) return ORL_PASS(err, fullName());
    }
    return nullptr;
}

CError* CParamInterfaceClientConnector::onProcessBaseData(CObject* object) {
    CError* err = static_cast<CParamInterfaceClientConnector*>(object)->processBaseData();
    // Nobody waits for this event's result: what went wrong is logged, and the delivery ended.
    if (err) {
        logError(err);
        deleteError(err);
    }
    return nullptr;
}

void CParamInterfaceClientConnector::setClient(CParamInterfaceClient* client) {
    CCriticalSectionLock hold(m_clientLock);
    m_client = client;
}

CParamInterfaceClient* CParamInterfaceClientConnector::client() {
    CCriticalSectionLock hold(m_clientLock);
    return m_client;
}

int32_t CParamInterfaceClientConnector::incomingCount() {
    CCriticalSectionLock hold(m_incomingLock);
    return m_incoming.count();
}

// ---- Uni ----

void CParamInterfaceClientConnectorUni::fillDescriptors(CClassDescriptors& descriptors) {
    CParamInterfaceClientConnector::fillDescriptors(descriptors);
    CEventEntry timer;
    timer.proc = &onTimer;
    descriptors.events[CString("timer")] = timer;
    descriptors.attrHandlers[CString("fps")] = &onFps;
}

CError* CParamInterfaceClientConnectorUni::initChilds() {
    if (CError* err = CParamInterfaceClientConnector::initChilds()) return ORL_PASS(err, fullName());
    CString tag = getAttrString(CString("timer-tag"));
    if (tag.isEmpty()) tag = CString(kDefaultTimerTag);
    if (CError* err = createChild(m_timer, tag, CString("update-timer"))) return ORL_PASS(err, fullName());
    const double fps = hasAttr(CString("fps")) ? getAttrDouble(CString("fps")) : kDefaultFps;
    if (CError* err = m_timer->setAttr(CString("fps"), doubleToAttrText(fps), true)) return ORL_PASS(err, fullName());
    listenObject(m_timer->fullName(), CString("tick"), CString("timer"));
    return nullptr;
}

CError* CParamInterfaceClientConnectorUni::onTimer(CObject* object) {
    static_cast<CParamInterfaceClientConnectorUni*>(object)->poll();
    return nullptr;
}

CError* CParamInterfaceClientConnectorUni::onFps(CObject* object, CAttrValue& value) {
    // The timer follows the frame rate setting while the window is open.
    auto* self = static_cast<CParamInterfaceClientConnectorUni*>(object);
    if (!self->m_timer) return nullptr;
    return self->m_timer->setAttr(CString("fps"), doubleToAttrText(value.getDouble()), true);
}

}  // namespace orl
