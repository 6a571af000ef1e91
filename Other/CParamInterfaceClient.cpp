#include "Other/CParamInterfaceClient.h"

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CAudioPresetBank.h"
#include "Core/CError.h"
#include "Other/CInterfaceMessage.h"
#include "Other/CParamChangeWire.h"
#include "Other/CParamInterfaceClientConnector.h"
#include "Other/CParamInterfaceParamListener.h"
#include "Other/CParamInterfaceRegistryListener.h"

namespace orl {

#define ORL_READ(call)                                                      \
    do {                                                                    \
        if (CError* readErr = (call)) return ORL_PASS(readErr, fullName()); \
    } while (false)

CParamInterfaceClient::CParamInterfaceClient() = default;

CParamInterfaceClient::~CParamInterfaceClient() { connectorGone(); }

void CParamInterfaceClient::fillDescriptors(CClassDescriptors& d) {
    CObject::fillDescriptors(d);
    auto add = [&d](const char* name, TEventProc proc) {
        CEventEntry e;
        e.proc = proc;
        d.events[CString(name)] = e;
    };
    add("update-undo-history", &handle<&CParamInterfaceClient::onUpdateUndoHistory>);
    add("update-param-info", &handle<&CParamInterfaceClient::onUpdateParamInfo>);
    add("update-param", &handle<&CParamInterfaceClient::onUpdateParam>);
    add("update-registry", &handle<&CParamInterfaceClient::onUpdateRegistry>);
    add("registry-data", &handle<&CParamInterfaceClient::onRegistryData>);
}

CError* CParamInterfaceClient::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    CParamInterfaceClientConnector* connector = nullptr;
    if (CError* err = findObjectByAttr(CString("client-connector"), connector)) return ORL_PASS(err, fullName());
    {
        CCriticalSectionLock hold(m_connectorLock);
        m_connector = connector;
    }
    connector->setClient(this);
    return nullptr;
}

void CParamInterfaceClient::release() {
    unlistenAll();
    CParamInterfaceClientConnector* connector = nullptr;
    {
        CCriticalSectionLock hold(m_connectorLock);
        connector = m_connector;
        m_connector = nullptr;
    }
    if (connector) connector->setClient(nullptr);
    CObject::release();
}

void CParamInterfaceClient::connectorGone() {
    CCriticalSectionLock hold(m_connectorLock);
    m_connector = nullptr;
}

int32_t CParamInterfaceClient::clientId() const {
    CCriticalSectionLock hold(const_cast<CCriticalSection&>(m_connectorLock));
    return m_connector ? m_connector->clientId() : -1;
}

uint32_t CParamInterfaceClient::nextId() {
    CCriticalSectionLock hold(m_targetLock);
    const uint32_t counter = m_counter++ & 0xffff;
    return (static_cast<uint32_t>(clientId()) << 16) + counter;
}

CError* CParamInterfaceClient::sendWithId(const char* event, uint32_t id) {
    CInterfaceMessage message(event);
    (void)message.writeUInt32(id);
    return sendToBase(message);
}

CError* CParamInterfaceClient::sendToBase(CInterfaceMessage& message) {
    CCriticalSectionLock hold(m_connectorLock);
    if (!m_connector) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CParamInterfaceBaseConnector_processClientData_NoBaseObject No base object defined.");
    }
    const CByteBuffer buffer = message.take();
    if (CError* err = m_connector->sendToBase(buffer)) return ORL_PASS(err, fullName());
    return nullptr;
}

void CParamInterfaceClient::unlistenAll() {
    CArray<uint32_t> params;
    CArray<uint32_t> registries;
    {
        CCriticalSectionLock hold(m_targetLock);
        for (const auto& [id, target] : m_paramTargets) params.add(id);
        for (const auto& [id, target] : m_registryTargets) registries.add(id);
    }
    // The base may be gone already; then there is nothing left to tell.
    for (uint32_t id : params) deleteError(unlistenParam(id));
    for (uint32_t id : registries) deleteError(unlistenRegistry(id));
}

CError* CParamInterfaceClient::receive(const uint8_t* data, uint32_t size) {
    CCriticalSectionLock hold(m_readLock);
    m_read.setData(data, size);
    CString event;
    CError* err = m_read.readString(event);
    if (!err) err = runEvent(event);
    m_read.setData(nullptr, 0);
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

// ---- parameters ----

// A target enters its map before the request goes, since the answer may come at once; a request
// that can't be sent takes it out again.
template <class T>
uint32_t CParamInterfaceClient::listenTarget(CMap<uint32_t, T*>& targets, const char* event, const CString& name,
                                             T* target) {
    if (!target) return 0;
    const uint32_t id = nextId();
    {
        CCriticalSectionLock hold(m_targetLock);
        targets[id] = target;
    }
    CInterfaceMessage message(event);
    (void)message.writeString(name);
    (void)message.writeUInt32(id);
    if (CError* err = sendToBase(message)) {
        logError(err);
        deleteError(err);
        CCriticalSectionLock hold(m_targetLock);
        targets.erase(id);
        return 0;
    }
    return id;
}

template <class T>
CError* CParamInterfaceClient::unlistenTarget(CMap<uint32_t, T*>& targets, const char* event, uint32_t listenId) {
    {
        CCriticalSectionLock hold(m_targetLock);
        if (targets.erase(listenId) == 0) return nullptr;
    }
    return sendWithId(event, listenId);
}

uint32_t CParamInterfaceClient::listenParam(const CString& name, CParamInterfaceParamListener* target) {
    return listenTarget(m_paramTargets, "listen-param", name, target);
}

CError* CParamInterfaceClient::unlistenParam(uint32_t listenId) {
    return unlistenTarget(m_paramTargets, "unlisten-param", listenId);
}

CError* CParamInterfaceClient::changeParam(uint32_t listenId, uint32_t undoId, const CAudioParamChange& record) {
    CInterfaceMessage message("change-param");
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(undoId);
    if (CError* err = CParamChangeWire::write(message, record)) return ORL_PASS(err, fullName());
    return sendToBase(message);
}

CError* CParamInterfaceClient::resetParam(uint32_t listenId, int32_t group, int32_t element, uint32_t undoId,
                                          bool useFirstElement) {
    CInterfaceMessage message("reset-param");
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(static_cast<uint32_t>(group));
    (void)message.writeUInt32(static_cast<uint32_t>(element));
    (void)message.writeUInt32(undoId);
    (void)message.writeUInt32(useFirstElement ? 1u : 0u);
    return sendToBase(message);
}

CParamInterfaceParamListener* CParamInterfaceClient::paramTarget(uint32_t listenId) {
    auto it = m_paramTargets.find(listenId);
    return it == m_paramTargets.end() ? nullptr : it->second;
}

CError* CParamInterfaceClient::onUpdateParamInfo() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CCriticalSectionLock hold(m_targetLock);
    CParamInterfaceParamListener* target = paramTarget(listenId);
    if (!target) return nullptr;
    ORL_READ(target->onInfo(m_read));
    uint32_t hasRecord = 0;
    ORL_READ(m_read.readUInt32(hasRecord));
    if (hasRecord == 0) return nullptr;
    CAudioParamChange record;
    ORL_READ(CParamChangeWire::read(m_read, record, this));
    target->onUpdate(record);
    return nullptr;
}

CError* CParamInterfaceClient::onUpdateParam() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CAudioParamChange record;
    ORL_READ(CParamChangeWire::read(m_read, record, this));
    CCriticalSectionLock hold(m_targetLock);
    if (CParamInterfaceParamListener* target = paramTarget(listenId)) target->onUpdate(record);
    return nullptr;
}

// ---- undo ----

uint32_t CParamInterfaceClient::createUndoData(const CString& name, bool coalesce, int32_t coalesceId) {
    const uint32_t id = nextId();
    CInterfaceMessage message("create-undo-data");
    (void)message.writeUInt32(id);
    (void)message.writeString(name);
    (void)message.writeUInt32(coalesce ? 1u : 0u);
    (void)message.writeUInt32(static_cast<uint32_t>(coalesceId));
    if (CError* err = sendToBase(message)) {
        logError(err);
        deleteError(err);
        return 0;
    }
    return id;
}

CError* CParamInterfaceClient::removeUndoData(uint32_t undoId) { return sendWithId("remove-undo-data", undoId); }

CError* CParamInterfaceClient::submitUndoData(uint32_t undoId, const CString& name) {
    CInterfaceMessage message("submit-undo-data");
    (void)message.writeUInt32(undoId);
    (void)message.writeString(name);
    return sendToBase(message);
}

CError* CParamInterfaceClient::requestUndoHistory() {
    CInterfaceMessage message("request-undo-history");
    (void)message.writeUInt32(static_cast<uint32_t>(clientId()));
    return sendToBase(message);
}

CError* CParamInterfaceClient::setUndoHistoryPos(int32_t position) {
    CInterfaceMessage message("set-undo-history-pos");
    (void)message.writeUInt32(static_cast<uint32_t>(position));
    return sendToBase(message);
}

CError* CParamInterfaceClient::onUpdateUndoHistory() {
    uint32_t position = 0, count = 0;
    ORL_READ(m_read.readUInt32(position));
    ORL_READ(m_read.readUInt32(count));
    CArray<CString> names;
    for (uint32_t i = 0; i < count; ++i) {
        CString name;
        ORL_READ(m_read.readString(name));
        names.add(name);
    }
    m_undoNames = static_cast<CArray<CString>&&>(names);
    m_undoPosition = static_cast<int32_t>(position);
    return fireEvent(CString("undo-history-changed"));
}

// ---- registries ----

uint32_t CParamInterfaceClient::listenRegistry(const CString& registryPath, CParamInterfaceRegistryListener* target) {
    return listenTarget(m_registryTargets, "listen-registry", registryPath, target);
}

CError* CParamInterfaceClient::unlistenRegistry(uint32_t listenId) {
    return unlistenTarget(m_registryTargets, "unlisten-registry", listenId);
}

namespace {

// The head of most registry requests: the listen id and an index or group.
void writeIdAnd(CInterfaceMessage& message, uint32_t listenId, int32_t value) {
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(static_cast<uint32_t>(value));
}

}  // namespace

CError* CParamInterfaceClient::setCurrentProgram(uint32_t listenId, int32_t index) {
    CInterfaceMessage message("set-current-program");
    writeIdAnd(message, listenId, index);
    return sendToBase(message);
}

CError* CParamInterfaceClient::renamePreset(uint32_t listenId, int32_t index, const CString& name) {
    CInterfaceMessage message("rename-preset");
    writeIdAnd(message, listenId, index);
    (void)message.writeString(name);
    return sendToBase(message);
}

CError* CParamInterfaceClient::activateFactoryPreset(uint32_t listenId, int32_t index) {
    CInterfaceMessage message("activate-factory-preset");
    writeIdAnd(message, listenId, index);
    return sendToBase(message);
}

CError* CParamInterfaceClient::activatePreset(uint32_t listenId, int32_t group, const CByteBuffer& presetRecord) {
    CInterfaceMessage message("activate-preset");
    writeIdAnd(message, listenId, group);
    (void)message.write(presetRecord.data(), presetRecord.size());
    return sendToBase(message);
}

CError* CParamInterfaceClient::requestPreset(uint32_t listenId, uint32_t tag, bool isFactory, int32_t index, int32_t group) {
    CInterfaceMessage message("request-preset");
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(tag);
    (void)message.writeUInt32(isFactory ? 1u : 0u);
    (void)message.writeUInt32(static_cast<uint32_t>(index));
    (void)message.writeUInt32(static_cast<uint32_t>(group));
    return sendToBase(message);
}

CError* CParamInterfaceClient::requestBank(uint32_t listenId, uint32_t tag, bool isFactory) {
    CInterfaceMessage message("request-bank");
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(tag);
    (void)message.writeUInt32(isFactory ? 1u : 0u);
    return sendToBase(message);
}

CError* CParamInterfaceClient::setDefaultPreset(uint32_t listenId, const CByteBuffer& presetRecord) {
    CInterfaceMessage message("set-default-preset");
    (void)message.writeUInt32(listenId);
    (void)message.write(presetRecord.data(), presetRecord.size());
    return sendToBase(message);
}

CError* CParamInterfaceClient::activateDefaultPreset(uint32_t listenId) { return sendWithId("activate-default-preset", listenId); }

CError* CParamInterfaceClient::exchangeShadowPreset(uint32_t listenId) { return sendWithId("exchange-shadow-preset", listenId); }

CError* CParamInterfaceClient::updateShadowPreset(uint32_t listenId) { return sendWithId("update-shadow-preset", listenId); }

CParamInterfaceRegistryListener* CParamInterfaceClient::registryTarget(uint32_t listenId) {
    auto it = m_registryTargets.find(listenId);
    return it == m_registryTargets.end() ? nullptr : it->second;
}

CError* CParamInterfaceClient::onUpdateRegistry() {
    uint32_t listenId = 0, isFactory = 0, current = 0, count = 0;
    CString registryId;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(isFactory));
    ORL_READ(m_read.readString(registryId));
    ORL_READ(m_read.readUInt32(current));
    ORL_READ(m_read.readUInt32(count));
    CArray<CString> names;
    for (uint32_t i = 0; i < count; ++i) {
        CString name;
        ORL_READ(m_read.readString(name));
        names.add(name);
    }
    CCriticalSectionLock hold(m_targetLock);
    if (CParamInterfaceRegistryListener* target = registryTarget(listenId)) {
        target->onList(isFactory != 0, registryId, names, static_cast<int32_t>(current));
    }
    return nullptr;
}

CError* CParamInterfaceClient::onRegistryData() {
    uint32_t listenId = 0, tag = 0, kind = 0;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(tag));
    ORL_READ(m_read.readUInt32(kind));
    CCriticalSectionLock hold(m_targetLock);
    CParamInterfaceRegistryListener* target = registryTarget(listenId);
    if (!target) return nullptr;
    if (kind == 1) {
        CAudioPreset preset;
        ORL_READ(preset.read(m_read));
        target->onPreset(tag, preset);
    } else {
        CAudioPresetBank bank;
        ORL_READ(bank.read(m_read));
        target->onBank(tag, bank);
    }
    return nullptr;
}

}  // namespace orl
