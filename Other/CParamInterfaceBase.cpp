#include "Other/CParamInterfaceBase.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioUndoRecord.h"
#include "Core/CError.h"
#include "Other/CInterfaceMessage.h"
#include "Other/CParamChangeWire.h"
#include "Other/CParamInterfaceBaseConnector.h"

namespace orl {

// Hears a listened parameter's changes and sends them to the client whose listen id it holds.
class CParamInterfaceBase::CParamListener : public CAudioParamChangeListener {
public:
    CParamListener(CParamInterfaceBase& base, CAudioParam& param, uint32_t id) : m_base(base), m_param(param), m_id(id) {}

    CAudioParam& param() const { return m_param; }

    void onParamChanged(const void*, CAudioParam& param, const CAudioParamChange& record, CAudioParamLockContext&,
                        const CAudioParamUndoContext&) override {
        // No test of the source: the control that made the change hears it too, and tells its
        // own echo by the value.
        if (record.group == CAudioParamChange::kWholeParam) {
            m_base.sendParamInfo(m_id, param, &record);
            return;
        }
        CInterfaceMessage message("update-param");
        (void)message.writeUInt32(m_id);
        (void)CParamChangeWire::write(message, record);
        m_base.send(clientOf(m_id), message);
    }

private:
    CParamInterfaceBase& m_base;
    CAudioParam& m_param;
    uint32_t m_id;
};

// Hears a registry's program changes, renames and bank loads and sends the session list.
class CParamInterfaceBase::CRegistryListener : public CUpdateListener {
public:
    CRegistryListener(CParamInterfaceBase& base, uint32_t id) : m_base(base), m_id(id) {}
    ~CRegistryListener() override { detach(); }

    CAudioParamRegistry* registry() const { return dynamic_cast<CAudioParamRegistry*>(notifier()); }

    void update(const CUpdateNotifier::Notification&) override {
        if (CAudioParamRegistry* r = registry()) m_base.sendRegistryList(m_id, *r, false);
    }

private:
    CParamInterfaceBase& m_base;
    uint32_t m_id;
};

// An undo step that a control has opened, and the elements whose edit the host was told of:
// per parameter name, the parameter and its keys element * 256 + group.
struct CParamInterfaceBase::COpenUndo {
    struct CTold {
        CAudioParam* param = nullptr;
        CSet<int32_t> keys;
    };
    CAudioUndoRecord* record = nullptr;
    CMap<CString, CTold> told;
    ~COpenUndo() { delete record; }
};

// A field of the message that can't be read ends the handler with the read error.
#define ORL_READ(call)                                                      \
    do {                                                                    \
        if (CError* readErr = (call)) return ORL_PASS(readErr, fullName()); \
    } while (false)

CParamInterfaceBase::CParamInterfaceBase() = default;

CParamInterfaceBase::~CParamInterfaceBase() { detachAll(); }

void CParamInterfaceBase::fillDescriptors(CClassDescriptors& d) {
    CObject::fillDescriptors(d);
    auto add = [&d](const char* name, TEventProc proc) {
        CEventEntry e;
        e.proc = proc;
        d.events[CString(name)] = e;
    };
    add("create-undo-data", &handle<&CParamInterfaceBase::onCreateUndoData>);
    add("remove-undo-data", &handle<&CParamInterfaceBase::onRemoveUndoData>);
    add("submit-undo-data", &handle<&CParamInterfaceBase::onSubmitUndoData>);
    add("request-undo-history", &handle<&CParamInterfaceBase::onRequestUndoHistory>);
    add("set-undo-history-pos", &handle<&CParamInterfaceBase::onSetUndoHistoryPos>);
    add("listen-param", &handle<&CParamInterfaceBase::onListenParam>);
    add("unlisten-param", &handle<&CParamInterfaceBase::onUnlistenParam>);
    add("change-param", &handle<&CParamInterfaceBase::onChangeParam>);
    add("reset-param", &handle<&CParamInterfaceBase::onResetParam>);
    add("listen-registry", &handle<&CParamInterfaceBase::onListenRegistry>);
    add("unlisten-registry", &handle<&CParamInterfaceBase::onUnlistenRegistry>);
    add("set-current-program", &handle<&CParamInterfaceBase::onSetCurrentProgram>);
    add("rename-preset", &handle<&CParamInterfaceBase::onRenamePreset>);
    add("activate-factory-preset", &handle<&CParamInterfaceBase::onActivateFactoryPreset>);
    add("activate-preset", &handle<&CParamInterfaceBase::onActivatePreset>);
    add("request-preset", &handle<&CParamInterfaceBase::onRequestPreset>);
    add("request-bank", &handle<&CParamInterfaceBase::onRequestBank>);
    add("set-default-preset", &handle<&CParamInterfaceBase::onSetDefaultPreset>);
    add("activate-default-preset", &handle<&CParamInterfaceBase::onActivateDefaultPreset>);
    add("exchange-shadow-preset", &handle<&CParamInterfaceBase::onExchangeShadowPreset>);
    add("update-shadow-preset", &handle<&CParamInterfaceBase::onUpdateShadowPreset>);
}

CError* CParamInterfaceBase::init() {
    if (CError* err = CAudioParamUndo::init()) return ORL_PASS(err, fullName());
    if (CError* err = findObjectByAttr(CString("base-connector"), m_connector)) return ORL_PASS(err, fullName());
    m_connector->setBase(this);
    return nullptr;
}

void CParamInterfaceBase::release() {
    detachAll();
    CAudioParamUndo::release();
}

void CParamInterfaceBase::detachAll() {
    if (m_connector) {
        m_connector->setBase(nullptr);
        m_connector = nullptr;
    }
    CMap<uint32_t, CParamListener*> params;
    CMap<uint32_t, CRegistryListener*> registries;
    CMap<uint32_t, COpenUndo*> open;
    {
        CCriticalSectionLock hold(m_listenerLock);
        params.swap(m_paramListeners);
        registries.swap(m_registryListeners);
        open.swap(m_openUndo);
    }
    for (auto& [id, listener] : params) {
        CAudioParamLockContext lock(listener->param());
        listener->param().removeListener(listener, &lock);
        lock.release();
        delete listener;
    }
    for (auto& [id, listener] : registries) delete listener;
    for (auto& [id, undo] : open) delete undo;
}

// ---- messages ----

CError* CParamInterfaceBase::receive(int32_t clientId, const uint8_t* data, uint32_t size) {
    CCriticalSectionLock hold(m_readLock);
    m_read.setData(data, size);
    m_sender = clientId;
    CString event;
    ORL_READ(m_read.readString(event));
    CError* err = runEvent(event);
    m_read.setData(nullptr, 0);
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

void CParamInterfaceBase::send(int32_t clientId, CInterfaceMessage& message) {
    CParamInterfaceBaseConnector* connector = m_connector;
    if (connector) connector->sendToClient(clientId, message.take());
}

void CParamInterfaceBase::beginParamEdit(const CAudioParam*, int32_t, int32_t) {}
void CParamInterfaceBase::endParamEdit(const CAudioParam*, int32_t, int32_t) {}

int32_t CParamInterfaceBase::paramListenerCount() {
    CCriticalSectionLock hold(m_listenerLock);
    return static_cast<int32_t>(m_paramListeners.size());
}

int32_t CParamInterfaceBase::registryListenerCount() {
    CCriticalSectionLock hold(m_listenerLock);
    return static_cast<int32_t>(m_registryListeners.size());
}

int32_t CParamInterfaceBase::openUndoCount() {
    CCriticalSectionLock hold(m_listenerLock);
    return static_cast<int32_t>(m_openUndo.size());
}

// ---- undo ----

void CParamInterfaceBase::onUndoHistoryChanged() { sendUndoHistory(CParamInterfaceBaseConnector::kAllClients); }

void CParamInterfaceBase::sendUndoHistory(int32_t clientId) {
    CArray<CString> names;
    int32_t position = 0;
    getHistoryNames(names, position);
    CInterfaceMessage message("update-undo-history");
    (void)message.writeUInt32(static_cast<uint32_t>(position));
    (void)message.writeUInt32(static_cast<uint32_t>(names.count()));
    for (const CString& name : names) (void)message.writeString(name);
    send(clientId, message);
}

CError* CParamInterfaceBase::onCreateUndoData() {
    uint32_t undoId = 0, coalesce = 0, coalesceId = 0;
    CString name;
    ORL_READ(m_read.readUInt32(undoId));
    ORL_READ(m_read.readString(name));
    ORL_READ(m_read.readUInt32(coalesce));
    ORL_READ(m_read.readUInt32(coalesceId));
    auto* open = new COpenUndo();
    open->record = createRecord(name, coalesce != 0, static_cast<int32_t>(coalesceId));
    COpenUndo* replaced = takeOpenUndo(undoId);
    {
        CCriticalSectionLock hold(m_listenerLock);
        m_openUndo[undoId] = open;
    }
    if (replaced) {
        endEdits(*replaced);
        delete replaced;
    }
    return nullptr;
}

CParamInterfaceBase::COpenUndo* CParamInterfaceBase::takeOpenUndo(uint32_t undoId) {
    CCriticalSectionLock hold(m_listenerLock);
    auto it = m_openUndo.find(undoId);
    if (it == m_openUndo.end()) return nullptr;
    COpenUndo* open = it->second;
    m_openUndo.erase(it);
    return open;
}

void CParamInterfaceBase::endEdits(COpenUndo& open) {
    for (auto& [name, told] : open.told) {
        for (int32_t key : told.keys) endParamEdit(told.param, key & 0xff, key >> 8);
    }
    open.told.clear();
}

CError* CParamInterfaceBase::onRemoveUndoData() {
    uint32_t undoId = 0;
    ORL_READ(m_read.readUInt32(undoId));
    if (COpenUndo* open = takeOpenUndo(undoId)) {
        endEdits(*open);
        delete open;
    }
    return nullptr;
}

CError* CParamInterfaceBase::onSubmitUndoData() {
    uint32_t undoId = 0;
    CString name;
    ORL_READ(m_read.readUInt32(undoId));
    ORL_READ(m_read.readString(name));
    COpenUndo* open = takeOpenUndo(undoId);
    if (!open) return nullptr;
    endEdits(*open);
    if (!name.isEmpty()) open->record->setName(name);
    CAudioUndoRecord* record = open->record;
    open->record = nullptr;
    delete open;
    submit(record);
    return nullptr;
}

CError* CParamInterfaceBase::onRequestUndoHistory() {
    uint32_t clientId = 0;
    ORL_READ(m_read.readUInt32(clientId));
    sendUndoHistory(static_cast<int32_t>(clientId));
    return nullptr;
}

CError* CParamInterfaceBase::onSetUndoHistoryPos() {
    uint32_t position = 0;
    ORL_READ(m_read.readUInt32(position));
    setPosition(static_cast<int32_t>(position), true);
    return nullptr;
}

// ---- parameters ----

void CParamInterfaceBase::sendParamInfo(uint32_t listenId, CAudioParam& param, const CAudioParamChange* record) {
    CInterfaceMessage message("update-param-info");
    (void)message.writeUInt32(listenId);
    const CAudioParamInfo* info = param.info();
    (void)message.writeUInt32(info ? 1u : 0u);
    if (info) (void)info->save(message);
    (void)message.writeUInt32(record ? 1u : 0u);
    if (record) (void)CParamChangeWire::write(message, *record);
    send(clientOf(listenId), message);
}

CAudioParam* CParamInterfaceBase::listenedParam(uint32_t listenId) {
    CCriticalSectionLock hold(m_listenerLock);
    auto it = m_paramListeners.find(listenId);
    return it == m_paramListeners.end() ? nullptr : &it->second->param();
}

CError* CParamInterfaceBase::onListenParam() {
    CString name;
    uint32_t listenId = 0;
    ORL_READ(m_read.readString(name));
    ORL_READ(m_read.readUInt32(listenId));
    CAudioParamCollector* params = collector();
    if (!params) return nullptr;

    CCriticalSectionLock hold(m_listenerLock);
    if (m_paramListeners.count(listenId) != 0) return nullptr;
    CAudioParam* param = params->getParam(name);
    if (!param) return nullptr;
    auto* listener = new CParamListener(*this, *param, listenId);
    m_paramListeners[listenId] = listener;

    CAudioParamLockContext lock(*param);
    param->addListener(listener, &lock);
    const CAudioParamInfo* info = param->info();
    if (!info) {
        // The definition may come later; its allocation then arrives as a whole-parameter
        // change, which the listener sends as the full information.
        sendParamInfo(listenId, *param, nullptr);
        return nullptr;
    }
    const CAudioParamStorage& defaults = info->defaultData;
    CAudioParamChange whole;
    whole.group = CAudioParamChange::kWholeParam;
    whole.elementSize = info->elementSize;
    whole.dataType = info->dataType;
    whole.singleGroup = info->singleGroup;
    whole.singleElement = info->singleElement;
    whole.count = defaults.defaultCount();
    whole.numbers = defaults.defaultNumbers().data();
    whole.data = &defaults.defaultData();
    whole.source = this;
    sendParamInfo(listenId, *param, &whole);

    const CAudioParamStorage& ui = param->uiStorage();
    for (int32_t g = 0; g < ui.groupCount(); ++g) {
        CAudioParamChange content;
        content.setTarget(ui, g, 0, ui.elementCount(g), this);
        content.tail = true;
        content.numbers = ui.groupNumbers(g);
        content.data = &ui.data();
        CInterfaceMessage message("update-param");
        (void)message.writeUInt32(listenId);
        (void)CParamChangeWire::write(message, content);
        send(clientOf(listenId), message);
    }
    return nullptr;
}

CError* CParamInterfaceBase::onUnlistenParam() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CParamListener* listener = nullptr;
    {
        CCriticalSectionLock hold(m_listenerLock);
        auto it = m_paramListeners.find(listenId);
        if (it == m_paramListeners.end()) return nullptr;
        listener = it->second;
        m_paramListeners.erase(it);
        CAudioParamLockContext lock(listener->param());
        listener->param().removeListener(listener, &lock);
    }
    delete listener;
    return nullptr;
}

namespace {

bool fitsInfo(const CAudioParamInfo* info, const CAudioParamChange& record) {
    return info && info->elementSize == record.elementSize && info->dataType == record.dataType &&
           info->singleGroup == record.singleGroup && info->singleElement == record.singleElement;
}

}  // namespace

CError* CParamInterfaceBase::onChangeParam() {
    uint32_t listenId = 0, undoId = 0;
    CAudioParamChange record;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(undoId));
    ORL_READ(CParamChangeWire::read(m_read, record, this));

    CCriticalSectionLock hold(m_listenerLock);
    CAudioParam* param = listenedParam(listenId);
    if (!param) return nullptr;
    auto openIt = m_openUndo.find(undoId);
    COpenUndo* open = openIt == m_openUndo.end() ? nullptr : openIt->second;

    // The host hears of each element of an open step once, before its first change, and with
    // no parameter lock held: it may call back on another thread.
    CArray<int32_t> fresh;
    {
        CAudioParamLockContext lock(*param);
        if (!fitsInfo(param->info(), record)) return nullptr;
        if (open) {
            COpenUndo::CTold& told = open->told[param->name()];
            told.param = param;
            for (int32_t e = 0; e < record.count; ++e) {
                const int32_t key = (record.start + e) * 256 + record.group;
                if (told.keys.insert(key).second) fresh.add(key);
            }
        }
    }
    for (int32_t key : fresh) beginParamEdit(param, key & 0xff, key >> 8);

    CAudioParamLockContext lock(*param);
    if (!fitsInfo(param->info(), record)) return nullptr;
    CAudioParamUndoContext undo;
    undo.undoRecord = open ? open->record : nullptr;
    // A hand edit turns the current preset's name (and a mode's) into "User".
    if (CAudioParamCollector* params = collector()) params->markEdited(*param, record.group, undo);
    param->change(record, &lock, undo);
    return nullptr;
}

CError* CParamInterfaceBase::onResetParam() {
    uint32_t listenId = 0, group = 0, element = 0, undoId = 0, useFirst = 0;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(group));
    ORL_READ(m_read.readUInt32(element));
    ORL_READ(m_read.readUInt32(undoId));
    ORL_READ(m_read.readUInt32(useFirst));
    CCriticalSectionLock hold(m_listenerLock);
    CAudioParam* param = listenedParam(listenId);
    if (!param) return nullptr;
    auto openIt = m_openUndo.find(undoId);
    CAudioParamUndoContext undo;
    undo.undoRecord = openIt == m_openUndo.end() ? nullptr : openIt->second->record;
    CAudioParamLockContext lock(*param);
    param->reset(static_cast<int32_t>(group), static_cast<int32_t>(element), &lock, undo, useFirst != 0);
    return nullptr;
}

// ---- registries ----

void CParamInterfaceBase::sendRegistryList(uint32_t listenId, CAudioParamRegistry& registry, bool isFactory) {
    CArray<CString> names;
    int32_t current = -1;
    registry.getPresetNames(isFactory, names, current);
    CInterfaceMessage message("update-registry");
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(isFactory ? 1u : 0u);
    (void)message.writeString(registry.id());
    (void)message.writeUInt32(static_cast<uint32_t>(current));
    (void)message.writeUInt32(static_cast<uint32_t>(names.count()));
    for (const CString& name : names) (void)message.writeString(name);
    send(clientOf(listenId), message);
}

CError* CParamInterfaceBase::getRegistry(uint32_t listenId, CAudioParamRegistry*& out) {
    out = nullptr;
    CCriticalSectionLock hold(m_listenerLock);
    auto it = m_registryListeners.find(listenId);
    if (it == m_registryListeners.end()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CParamInterfaceBase_getRegistry_NoParamRegistry No param registry object '%1' found.",
                         CString::fromInt(static_cast<int64_t>(listenId)));
    }
    out = it->second->registry();
    if (!out) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CParamInterfaceBase_getRegistry_ParamRegistryNULL Param registry object '%1' is NULL.",
                         CString::fromInt(static_cast<int64_t>(listenId)));
    }
    return nullptr;
}

CError* CParamInterfaceBase::onListenRegistry() {
    CString path;
    uint32_t listenId = 0;
    ORL_READ(m_read.readString(path));
    ORL_READ(m_read.readUInt32(listenId));
    CAudioParamRegistry* registry = nullptr;
    if (CAudioParamCollector* params = collector()) {
        registry = dynamic_cast<CAudioParamRegistry*>(params->findRegistry(path));
    }
    if (!registry) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CParamInterfaceBase_getRegistry_NoParamRegistry No param registry object '%1' found.",
                         path);
    }
    {
        CCriticalSectionLock hold(m_listenerLock);
        if (m_registryListeners.count(listenId) != 0) return nullptr;
        auto* listener = new CRegistryListener(*this, listenId);
        listener->attach(registry, 0);
        m_registryListeners[listenId] = listener;
    }
    sendRegistryList(listenId, *registry, false);
    sendRegistryList(listenId, *registry, true);
    return nullptr;
}

CError* CParamInterfaceBase::onUnlistenRegistry() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CRegistryListener* listener = nullptr;
    {
        CCriticalSectionLock hold(m_listenerLock);
        auto it = m_registryListeners.find(listenId);
        if (it == m_registryListeners.end()) return nullptr;
        listener = it->second;
        m_registryListeners.erase(it);
    }
    delete listener;
    return nullptr;
}

CError* CParamInterfaceBase::onSetCurrentProgram() {
    uint32_t listenId = 0, index = 0;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(index));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    registry->setProgram(static_cast<int32_t>(index), this);
    return nullptr;
}

CError* CParamInterfaceBase::onRenamePreset() {
    uint32_t listenId = 0, index = 0;
    CString name;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(index));
    ORL_READ(m_read.readString(name));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    registry->renamePreset(static_cast<int32_t>(index), name, this);
    return nullptr;
}

CError* CParamInterfaceBase::onActivateFactoryPreset() {
    uint32_t listenId = 0, index = 0;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(index));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    if (CError* err = registry->activateFactoryPreset(static_cast<int32_t>(index))) return ORL_PASS(err, fullName());
    return nullptr;
}

CError* CParamInterfaceBase::onActivatePreset() {
    uint32_t listenId = 0, group = 0;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(group));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    // The record is read where it stands in the message.
    if (CError* err = registry->activatePreset(m_read, false, static_cast<int32_t>(group))) return ORL_PASS(err, fullName());
    return nullptr;
}

CError* CParamInterfaceBase::onRequestPreset() {
    uint32_t listenId = 0, tag = 0, isFactory = 0, index = 0, group = 0;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(tag));
    ORL_READ(m_read.readUInt32(isFactory));
    ORL_READ(m_read.readUInt32(index));
    ORL_READ(m_read.readUInt32(group));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    CInterfaceMessage message("registry-data");
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(tag);
    (void)message.writeUInt32(1);
    if (CError* err = registry->acquirePreset(isFactory != 0, static_cast<int32_t>(index), static_cast<int32_t>(group), message)) {
        return ORL_PASS(err, fullName());
    }
    send(clientOf(listenId), message);
    return nullptr;
}

CError* CParamInterfaceBase::onRequestBank() {
    uint32_t listenId = 0, tag = 0, isFactory = 0;
    ORL_READ(m_read.readUInt32(listenId));
    ORL_READ(m_read.readUInt32(tag));
    ORL_READ(m_read.readUInt32(isFactory));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    CInterfaceMessage message("registry-data");
    (void)message.writeUInt32(listenId);
    (void)message.writeUInt32(tag);
    (void)message.writeUInt32(0);
    if (CError* err = registry->acquireBank(isFactory != 0, message)) return ORL_PASS(err, fullName());
    send(clientOf(listenId), message);
    return nullptr;
}

CError* CParamInterfaceBase::onSetDefaultPreset() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    if (CError* err = registry->setDefaultPreset(m_read)) return ORL_PASS(err, fullName());
    return nullptr;
}

CError* CParamInterfaceBase::onActivateDefaultPreset() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    registry->masterReset();
    return nullptr;
}

CError* CParamInterfaceBase::onExchangeShadowPreset() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    registry->exchangeShadowPreset();
    return nullptr;
}

CError* CParamInterfaceBase::onUpdateShadowPreset() {
    uint32_t listenId = 0;
    ORL_READ(m_read.readUInt32(listenId));
    CAudioParamRegistry* registry = nullptr;
    if (CError* err = getRegistry(listenId, registry)) return ORL_PASS(err, fullName());
    registry->updateShadowPreset();
    return nullptr;
}

}  // namespace orl
