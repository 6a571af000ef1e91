#include "Audio/CAudioParamRegistry.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioParamUndo.h"
#include "Audio/CAudioRoutingInfoProvider.h"
#include "Audio/CAudioUndoHistory.h"
#include "Audio/CAudioUndoRecord.h"
#include "Core/CAppDataGlobal.h"
#include "Core/CAppDataLocal.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CClassDescriptors.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"

namespace orl {

namespace {

const CCreatorRow kRegistryCreators[] = {
    {CAudioParamRegistry::kTag, &createObjectOf<CAudioParamRegistry>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

bool endsWithKey(const CString& key, const char* name) {
    const CString wanted(name);
    if (key == wanted) return true;
    const int32_t start = key.length() - wanted.length() - 1;
    return start >= 0 && key.at(start) == u'.' && key.substring(start + 1) == wanted;
}

// The storage of an item's bytes (path string, then the stored form); false when damaged.
bool readItemStorage(const CByteBuffer& bytes, CAudioParamStorage& out) {
    CMemoryReader reader(bytes.data(), bytes.size());
    CString path;
    CError* err = reader.readString(path);
    if (!err) err = out.load(reader, -1);
    if (!err) return true;
    deleteError(err);
    return false;
}

template <class T>
void deleteAndClear(T*& p) {
    delete p;
    p = nullptr;
}

}  // namespace

bool CAudioParamRegistry::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kRegistryCreators);
    return registered;
}

namespace {
[[maybe_unused]] const bool g_registryRegistered = CAudioParamRegistry::ensureCreatorsRegistered();
}  // namespace

CAudioParamRegistry::CAudioParamRegistry()
    : m_registryLock(2000, true), m_nameListener(*this), m_paramMapLock(2000, true), m_nameLock(2000, false) {
    ensureCreatorsRegistered();
}

CAudioParamRegistry::~CAudioParamRegistry() {
    if (m_joinedCollector && m_collector) m_collector->removeRegistry(this);
    if (m_presetNameParam) m_presetNameParam->removeListener(&m_nameListener);
    delete m_shadowPreset;
    delete m_shadowUndo;
    for (CAudioUndoHistory* history : m_programUndo) delete history;
    delete m_enumBank;
}

// ---- set-up ----

CError* CAudioParamRegistry::parseRemaps(const CString& text, CArray<CAudioParamDefResolver::CPair>& out,
                                         const CString& objectName) {
    CArray<CString> items;
    text.split(u' ', true, true, items);
    for (const CString& item : items) {
        const int32_t eq = item.find(u'=');
        if (eq <= 0 || eq == item.length() - 1 || item.find(u'=', eq + 1) >= 0) {
            return ORL_ERROR(nullptr, objectName,
                             "@orlstr_CAudioParamRegistry_init_InvalidRemap Invalid remapping string '%1' defined.",
                             item);
        }
        out.add(CAudioParamDefResolver::CPair{item.substring(0, eq), item.substring(eq + 1)});
    }
    return nullptr;
}

CError* CAudioParamRegistry::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_prefix = getAttrString(CString("hierarchy")) + CString(".");
    if (CError* err = parseRemaps(getAttrString(CString("def-name-remap")), m_remaps, fullName())) return err;
    m_isEnumerated = getAttrBool(CString("is-enumerated"));
    m_isElementEnum = getAttrBool(CString("is-element-enum"));
    m_isMaster = getAttrBool(CString("is-master"));
    m_isGlobalParamStorable = getAttrBool(CString("is-global-param-storable"));
    m_id = getAttrString(CString("id"));
    m_presetNaming = getAttrString(CString("preset-naming"));
    if (CError* err = findObjectByAttr(CString("param-collector"), m_collector)) return ORL_PASS(err, fullName());
    if (!getAttrString(CString("param-undo")).isEmpty()) {
        if (CError* err = findObjectByAttr(CString("param-undo"), m_undo)) return ORL_PASS(err, fullName());
    }

    if (m_isMaster) {
        bool loaded = false;
        const CString& file = getAttrString(CString("file"));
        if (!file.isEmpty()) {
            CResourceReader reader;
            CError* err = reader.open(file);
            if (!err) err = m_factory.readCompressed(reader);
            // A missing or damaged factory bank leaves the product with its one default program.
            if (err)
                deleteError(err);
            else
                loaded = true;
        }
        if (loaded)
            m_session = m_factory;
        else
            m_factory = m_session;
        m_factory.setName(CString("Factory ROM"));
        m_session.setName(CString("Session Bank"));
        if (m_session.isEmpty()) m_session.add(CAudioPreset(m_id + CString(":Default")));
        for (int32_t i = 0; i < m_session.count(); ++i) m_programUndo.add(nullptr);

        CByteBuffer stored;
        CAppDataLocal::instance().read(CString(kDefaultPresetData), stored, CAudioPreset::kBlockId);
        if (!stored.isEmpty()) {
            CMemoryReader reader(stored.data(), stored.size());
            CAudioPreset preset;
            if (CError* err = preset.read(reader)) {
                deleteError(err);
            } else {
                m_session.preset(0) = static_cast<CAudioPreset&&>(preset);
                m_hasStoredDefault = true;
            }
        }
    }

    if (m_isEnumerated) {
        CString storeName = getAttrString(CString("store-name"));
        CAppData* store = &CAppDataLocal::instance();
        if (storeName.startsWith("/")) {
            store = &CAppDataGlobal::instance();
            storeName = storeName.substring(1);
        }
        CByteBuffer stored;
        if (!storeName.isEmpty()) store->read(storeName, stored, CAppData::kTypePresetList);
        if (!stored.isEmpty()) {
            CMemoryReader reader(stored.data(), stored.size());
            auto* bank = new CAudioPresetBank();
            if (CError* err = bank->readList(reader)) {
                deleteError(err);
                delete bank;
            } else {
                m_enumBank = bank;
            }
        }
    }

    const CString& nameParam = getAttrString(CString("preset-name-param"));
    if (!nameParam.isEmpty()) {
        m_presetNameParam = m_collector->getParam(nameParam);
        m_presetNameParam->addListener(&m_nameListener);
    }
    const CString& groupNames = getAttrString(CString("group-names-param"));
    if (!groupNames.isEmpty()) m_groupNamesParam = m_collector->getParam(groupNames);

    m_collector->addRegistry(this);
    m_joinedCollector = true;
    return nullptr;
}

// ---- collecting ----

bool CAudioParamRegistry::offerParam(CAudioParam& param) {
    if (!matchesPrefix(param.name())) return false;
    if (m_collector) m_collector->resolveDefinition(param, m_remaps);
    CCriticalSectionLock hold(m_pendingLock);
    m_pending.add(&param);
    return true;
}

void CAudioParamRegistry::mergePendingLocked() {
    CArray<CAudioParam*> pending;
    {
        CCriticalSectionLock hold(m_pendingLock);
        if (m_pending.isEmpty()) return;
        pending = static_cast<CArray<CAudioParam*>&&>(m_pending);
        m_pending.clear();
    }
    for (CAudioParam* param : pending) m_params[param->name().substring(m_prefix.length())] = param;
}

CAudioParam* CAudioParamRegistry::findOrCreateLocked(const CString& key) {
    auto it = m_params.find(key);
    if (it != m_params.end()) return it->second;
    // Asking the collector creates the parameter; a finished collector offers it to the
    // registries at once, which enters it here through the pending list.
    CAudioParam* param = m_collector->getParam(m_prefix + key);
    mergePendingLocked();
    it = m_params.find(key);
    if (it != m_params.end()) return it->second;
    m_params[key] = param;
    return param;
}

CAudioParam* CAudioParamRegistry::findParam(const CString& key) {
    CCriticalSectionLock hold(m_paramMapLock);
    mergePendingLocked();
    auto it = m_params.find(key);
    return it == m_params.end() ? nullptr : it->second;
}

int32_t CAudioParamRegistry::paramCount() {
    CCriticalSectionLock hold(m_paramMapLock);
    mergePendingLocked();
    return static_cast<int32_t>(m_params.size());
}

bool CAudioParamRegistry::isStored(const CAudioParam& param, bool includePersistent) const {
    const CAudioParamInfo* info = param.info();
    if (!info) return false;
    return info->storable || (includePersistent && info->persistent) || (m_isGlobalParamStorable && info->global);
}

void CAudioParamRegistry::firstActivation() {
    if (!m_isMaster) return;
    CCriticalSectionLock hold(m_registryLock);
    CAudioPreset current;
    {
        CCriticalSectionLock names(m_nameLock);
        current = m_session.preset(getProgram());
    }
    applyPreset(current, false, false, nullptr, -1);
    applyPreset(current, true, true, nullptr, -1);
    if (!m_hasStoredDefault) {
        if (CAudioParam* instanceName = findParam(CString("instance-name"))) instanceName->reset(-1, -1, nullptr);
    }
}

// ---- capture and apply ----

CString CAudioParamRegistry::storedPath(const CString& paramName) const {
    for (const CAudioParamDefResolver::CPair& pair : m_remaps) {
        if (paramName.startsWith(pair.from)) return pair.to + paramName.substring(pair.from.length());
    }
    return paramName;
}

bool CAudioParamRegistry::saveItem(CAudioParam& param, int32_t group, CByteBuffer& out) const {
    CByteBufferWriter writer(out);
    CError* err = writer.writeString(storedPath(param.name()));
    if (!err) err = param.save(writer, group);
    if (!err) return true;
    deleteError(err);
    return false;
}

void CAudioParamRegistry::capturePreset(CAudioPreset& preset, int32_t group) {
    CString name;
    if (m_isMaster) {
        name = sessionName(getProgram());
    } else {
        CString text;
        if (m_presetNameParam) m_presetNameParam->getString(text, group < 0 ? 0 : group, 0);
        name = m_id + CString(":") + text;
    }
    CAudioPreset::TItems items;
    {
        CCriticalSectionLock hold(m_paramMapLock);
        mergePendingLocked();
        for (auto& [key, param] : m_params) {
            CAudioParamLockContext lock(*param);
            if (!isStored(*param, true)) continue;
            if (group >= 0 && (param->info()->singleGroup || param->uiStorage().elementCount(group) == 0)) continue;
            CByteBuffer bytes;
            if (saveItem(*param, group, bytes)) items[key] = static_cast<CByteBuffer&&>(bytes);
        }
    }
    CAudioPreset captured(name);
    for (auto& [key, bytes] : items) captured.setItem(key, static_cast<CByteBuffer&&>(bytes));
    CCriticalSectionLock names(m_nameLock);
    preset = static_cast<CAudioPreset&&>(captured);
}

// A preset reaches the audio side as one change: every parameter's change is collected in one
// batch, which the collector takes over at the end; host notifications wait until then too.
void CAudioParamRegistry::applyPreset(const CAudioPreset& preset, bool secondPass, bool includePersistent,
                                      const CAudioParamUndoContext* undo, int32_t group) {
    if (!m_collector) return;
    m_collector->holdHostNotifications();
    CAudioParamUndoContext context;
    if (undo) context = *undo;
    CAudioParamChangeList* ownBatch = nullptr;
    if (!context.batch) {
        ownBatch = new CAudioParamChangeList();
        context.batch = ownBatch;
    }
    {
        CCriticalSectionLock hold(m_paramMapLock);
        mergePendingLocked();
        CSet<CAudioParam*> seen;
        for (const auto& [key, bytes] : preset.items()) {
            CAudioParam* param = findOrCreateLocked(key);
            seen.insert(param);
            CAudioParamLockContext lock(*param);
            if (!isStored(*param, includePersistent)) continue;
            // One group's worth leaves the parameters that have no groups alone.
            if (group >= 0 && param->info()->singleGroup) continue;
            CMemoryReader reader(bytes.data(), bytes.size());
            CString path;
            CError* err = reader.readString(path);
            if (!err) err = param->load(reader, group, this, &lock, context);
            // An item that doesn't fit the parameter (another layout, damage) is skipped.
            if (err) {
                logError(err);
                deleteError(err);
            }
        }
        // What the preset lacks goes back to its default: so older presets stay valid when
        // parameters are added.
        if (!secondPass) {
            for (auto& [key, param] : m_params) {
                if (seen.count(param) != 0) continue;
                CAudioParamLockContext lock(*param);
                if (!isStored(*param, includePersistent)) continue;
                if (group < 0)
                    param->reset(-1, -1, &lock, context);
                else if (!param->info()->singleGroup)
                    param->reset(group, -1, &lock, context);
            }
            if (m_routingInfo) m_routingInfo->updateAutoRouting(this, context);
        }
        if (ownBatch) {
            if (ownBatch->isEmpty())
                delete ownBatch;
            else
                m_collector->postBatch(ownBatch);
        }
    }
    m_collector->releaseHostNotifications();
}

// ---- names ----

CString CAudioParamRegistry::sessionName(int32_t index) const {
    CCriticalSectionLock names(m_nameLock);
    if (index < 0 || index >= m_session.count()) return CString();
    return m_session.preset(index).name();
}

void CAudioParamRegistry::setSessionName(int32_t index, const CString& name) {
    CCriticalSectionLock names(m_nameLock);
    if (index >= 0 && index < m_session.count()) m_session.preset(index).setName(name);
}

bool CAudioParamRegistry::isCompatible(const CString& presetName) const {
    CString id, text;
    CAudioPreset::splitName(presetName, id, text);
    return id == m_id;
}

void CAudioParamRegistry::notifyListeners(const void* source) {
    Notification n;
    n.source = source;
    n.key = 0;
    notify(n);
}

CString CAudioParamRegistry::groupName(int32_t group) const {
    CString text;
    if (m_groupNamesParam) {
        CAudioParamLockContext lock(*m_groupNamesParam);
        // Only a name that is there: a missing element would read its default, another group's.
        const CAudioParamStorage& names = m_groupNamesParam->uiStorage();
        if (m_groupNamesParam->info() && names.isValid()) {
            if (names.isSingleGroup()) {
                if (group < names.elementCount(0)) names.getText(0, group, text);
            } else if (names.elementCount(group) > 0) {
                names.getText(group, 0, text);
            }
        }
    }
    if (text.isEmpty()) text = CString::fromInt(group + 1);
    return text;
}

void CAudioParamRegistry::writePresetNameParam(const CString& text, int32_t group,
                                               const CAudioParamUndoContext& undo) {
    if (!m_presetNameParam) return;
    m_presetNameParam->setString(group < 0 ? 0 : group, 0, text, this, nullptr, undo);
}

void CAudioParamRegistry::onPresetNameChanged(const CString& text, const void* source) {
    (void)source;
    if (!m_isMaster) return;
    // Only the leaf name lock: the caller holds the name parameter's lock, which comes after
    // the registry lock.
    setSessionName(getProgram(), m_id + CString(":") + text);
}

int32_t CAudioParamRegistry::getProgramCount() const {
    if (!m_isMaster) return 0;
    CCriticalSectionLock names(m_nameLock);
    return m_session.count();
}

void CAudioParamRegistry::getPresetName(CString& out) const {
    if (m_isMaster) {
        out = sessionName(getProgram());
        return;
    }
    CString text;
    if (m_presetNameParam) m_presetNameParam->getString(text, 0, 0);
    out = m_id + CString(":") + text;
}

void CAudioParamRegistry::getPresetName(CString& out, int32_t index) const { out = sessionName(index); }

void CAudioParamRegistry::getPresetNames(bool isFactory, CArray<CString>& out, int32_t& outCurrentIndex) const {
    out.clear();
    if (isFactory) {
        CCriticalSectionLock hold(m_registryLock);
        for (int32_t i = 0; i < m_factory.count(); ++i) out.add(m_factory.preset(i).name());
        outCurrentIndex = -1;
        return;
    }
    CCriticalSectionLock names(m_nameLock);
    for (int32_t i = 0; i < m_session.count(); ++i) out.add(m_session.preset(i).name());
    outCurrentIndex = getProgram();
}

void CAudioParamRegistry::renamePreset(int32_t index, const CString& name, const void* source) {
    if (!m_isMaster) return;
    {
        CCriticalSectionLock hold(m_registryLock);
        if (index < 0 || index >= m_session.count()) return;
        const CString full = m_id + CString(":") + name;
        if (index == getProgram() && m_presetNameParam && m_presetNameParam->info()) {
            CAudioUndoRecord* record = m_undo ? m_undo->createRecord(CString("Program name change")) : nullptr;
            CAudioParamUndoContext context;
            context.undoRecord = record;
            // The name listener renames the entry, as for a change from anywhere else.
            m_presetNameParam->setString(0, 0, name, source, nullptr, context);
            if (record) m_undo->submit(record);
        }
        setSessionName(index, full);
    }
    notifyListeners(source);
}

// ---- programs ----

void CAudioParamRegistry::setProgram(int32_t index, const void* source) {
    if (!m_isMaster) return;
    {
        CCriticalSectionLock hold(m_registryLock);
        const int32_t current = getProgram();
        if (index < 0 || index >= m_session.count() || index == current) return;
        capturePreset(m_session.preset(current), -1);
        // The user's undo list follows the program.
        if (m_undo) m_undo->exchangeHistory(m_programUndo[current], m_programUndo[index]);
        m_current.store(index, std::memory_order_release);
        CAudioPreset entry;
        {
            CCriticalSectionLock names(m_nameLock);
            entry = m_session.preset(index);
        }
        applyPreset(entry, false, false, nullptr, -1);
        writePresetNameParam(entry.visibleName(), 0, CAudioParamUndoContext());
    }
    notifyListeners(source);
}

CError* CAudioParamRegistry::activateFactoryPreset(int32_t index) {
    if (!m_isMaster) return nullptr;
    CAudioPreset preset;
    {
        CCriticalSectionLock hold(m_registryLock);
        if (index < 0 || index >= m_factory.count()) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CAudioParamRegistry_activateFactoryPreset_PresetIndexError Invalid preset "
                             "index %1 specified.",
                             CString::fromInt(index));
        }
        preset = m_factory.preset(index);
    }
    if (!isCompatible(preset.name())) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamRegistry_activatePreset_IncompatiblePreset Incompatible preset.");
    }
    CAudioUndoRecord* record = m_undo ? m_undo->createRecord(CString("ROM preset activate")) : nullptr;
    CAudioParamUndoContext context;
    context.undoRecord = record;
    {
        CCriticalSectionLock hold(m_registryLock);
        applyPreset(preset, false, false, &context, -1);
        setSessionName(getProgram(), preset.name());
        writePresetNameParam(preset.visibleName(), 0, context);
        if (record) m_undo->submit(record);
    }
    notifyListeners(nullptr);
    return nullptr;
}

CError* CAudioParamRegistry::activatePreset(CInputStream& in, bool includePersistent, int32_t group) {
    CAudioPreset preset;
    if (CError* err = preset.read(in)) return ORL_PASS(err, fullName());
    if (!isCompatible(preset.name())) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamRegistry_activatePreset_IncompatiblePreset Incompatible preset.");
    }
    CAudioUndoRecord* record = nullptr;
    if (m_undo) {
        CString step = m_presetNaming + CString(" activate");
        if (group >= 0) step = step + CString(" (") + groupName(group) + CString(")");
        record = m_undo->createRecord(step);
    }
    CAudioParamUndoContext context;
    context.undoRecord = record;
    {
        CCriticalSectionLock hold(m_registryLock);
        applyPreset(preset, false, includePersistent, &context, group);
        if (m_isMaster) {
            setSessionName(getProgram(), preset.name());
            writePresetNameParam(preset.visibleName(), 0, context);
        } else if (group >= 0) {
            writePresetNameParam(preset.visibleName(), group, context);
        }
        if (record) m_undo->submit(record);
    }
    if (m_isMaster) notifyListeners(nullptr);
    return nullptr;
}

CError* CAudioParamRegistry::activateBank(CInputStream& in, bool includePersistent) {
    CAudioPresetBank bank;
    if (CError* err = bank.read(in)) return ORL_PASS(err, fullName());
    if (!m_isMaster) return nullptr;
    {
        CCriticalSectionLock hold(m_registryLock);
        const int32_t n = bank.count() < m_session.count() ? bank.count() : m_session.count();
        for (int32_t i = 0; i < n; ++i) {
            if (!isCompatible(bank.preset(i).name())) {
                return ORL_ERROR(nullptr, fullName(),
                                 "@orlstr_CAudioParamRegistry_activateBank_IncompatibleBank Incompatible bank.");
            }
        }
        const int32_t current = getProgram();
        {
            CCriticalSectionLock names(m_nameLock);
            for (int32_t i = 0; i < n; ++i) m_session.preset(i) = bank.preset(i);
        }
        // The replaced programs' undo lists go with them; the current one is the undo object's.
        for (int32_t i = 0; i < n; ++i) {
            if (i != current) deleteAndClear(m_programUndo[i]);
        }
        if (n > current) {
            if (m_undo) m_undo->clearHistory();
            const CAudioPreset& entry = bank.preset(current);
            applyPreset(entry, false, includePersistent, nullptr, -1);
            writePresetNameParam(entry.visibleName(), 0, CAudioParamUndoContext());
        }
    }
    notifyListeners(nullptr);
    return nullptr;
}

CError* CAudioParamRegistry::acquirePreset(bool isFactory, int32_t index, int32_t group, COutputStream& out) {
    CAudioPreset preset;
    if (m_isMaster) {
        CCriticalSectionLock hold(m_registryLock);
        const CAudioPresetBank& bank = isFactory ? m_factory : m_session;
        if (!isFactory && index == -1) index = getProgram();
        if (index < 0 || index >= bank.count()) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CAudioParamRegistry_acquirePreset_PresetIndexError Invalid preset index %1 "
                             "specified.",
                             CString::fromInt(index));
        }
        if (!isFactory && index == getProgram()) capturePreset(m_session.preset(index), -1);
        CCriticalSectionLock names(m_nameLock);
        preset = bank.preset(index);
    } else {
        capturePreset(preset, group);
    }
    if (CError* err = preset.write(out)) return ORL_PASS(err, fullName());
    return nullptr;
}

CError* CAudioParamRegistry::acquireBank(bool isFactory, COutputStream& out) {
    if (!m_isMaster) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamRegistry_acquireBank_NonMasterRegistry Acquiring bank in a non-master "
                         "registry is an error.");
    }
    CAudioPresetBank bank;
    {
        CCriticalSectionLock hold(m_registryLock);
        if (isFactory) {
            bank = m_factory;
        } else {
            const int32_t current = getProgram();
            capturePreset(m_session.preset(current), -1);
            // Persistent parameters have one value across the bank: the current one.
            CArray<CString> persistent;
            {
                CCriticalSectionLock map(m_paramMapLock);
                for (auto& [key, param] : m_params) {
                    if (param->isPersistent()) persistent.add(key);
                }
            }
            CCriticalSectionLock names(m_nameLock);
            const CAudioPreset& source = m_session.preset(current);
            for (const CString& key : persistent) {
                const CByteBuffer* bytes = source.findItem(key);
                if (!bytes) continue;
                for (int32_t i = 0; i < m_session.count(); ++i) {
                    if (i != current) m_session.preset(i).setItem(key, *bytes);
                }
            }
            bank = m_session;
        }
    }
    if (CError* err = bank.write(out)) return ORL_PASS(err, fullName());
    return nullptr;
}

void CAudioParamRegistry::masterReset() {
    if (!m_isMaster || !m_collector) return;
    CAudioUndoRecord* record = m_undo ? m_undo->createRecord(CString("Master reset")) : nullptr;
    {
        CCriticalSectionLock hold(m_registryLock);
        m_collector->holdHostNotifications();
        auto* batch = new CAudioParamChangeList();
        CAudioParamUndoContext context;
        context.undoRecord = record;
        context.batch = batch;
        {
            CCriticalSectionLock map(m_paramMapLock);
            mergePendingLocked();
            for (auto& [key, param] : m_params) {
                CAudioParamLockContext lock(*param);
                if (param->isStorable()) param->reset(-1, -1, &lock, context);
            }
            if (m_presetNameParam) m_presetNameParam->reset(-1, -1, nullptr, context);
            if (m_routingInfo) m_routingInfo->updateAutoRouting(this, context);
        }
        if (batch->isEmpty())
            delete batch;
        else
            m_collector->postBatch(batch);
        m_collector->releaseHostNotifications();
        if (record) m_undo->submit(record);
    }
}

CError* CAudioParamRegistry::setDefaultPreset(CInputStream& in) {
    if (!m_isMaster) return nullptr;
    CAudioPreset preset;
    if (CError* err = preset.read(in)) return ORL_PASS(err, fullName());
    CCriticalSectionLock hold(m_registryLock);
    applyPreset(preset, true, false, nullptr, -1);
    return nullptr;
}

// ---- A/B ----

bool CAudioParamRegistry::hasShadowPreset() const {
    CCriticalSectionLock hold(m_registryLock);
    return m_shadowPreset != nullptr;
}

void CAudioParamRegistry::updateShadowPreset() {
    CCriticalSectionLock hold(m_registryLock);
    if (!m_shadowPreset) m_shadowPreset = new CAudioPreset();
    capturePreset(*m_shadowPreset, -1);
    if (m_undo) {
        delete m_shadowUndo;
        m_shadowUndo = m_undo->cloneHistory();
    }
}

void CAudioParamRegistry::exchangeShadowPreset() {
    CCriticalSectionLock hold(m_registryLock);
    // The first exchange shows the same state on both sides.
    if (!m_shadowPreset) updateShadowPreset();
    auto* shown = new CAudioPreset();
    capturePreset(*shown, -1);
    applyPreset(*m_shadowPreset, false, false, nullptr, -1);
    if (m_undo) {
        CAudioUndoHistory* incoming = m_shadowUndo;
        m_shadowUndo = nullptr;
        m_undo->exchangeHistory(m_shadowUndo, incoming);
    }
    delete m_shadowPreset;
    m_shadowPreset = shown;
}

// ---- edits ----

bool CAudioParamRegistry::markEdited(const CAudioParam& param, int32_t group, const CAudioParamUndoContext& undo) {
    if (!m_presetNameParam || &param == m_presetNameParam) return false;
    if (!isStored(param, false)) return false;
    CAudioParamLockContext lock(*m_presetNameParam);
    if (!m_presetNameParam->info()) return false;
    const int32_t g = group < 0 ? 0 : group;
    CString text;
    m_presetNameParam->getString(text, g, 0);
    if (text == kEditedName) return false;
    return m_presetNameParam->setString(g, 0, CString(kEditedName), &param, &lock, undo);
}

bool CAudioParamRegistry::isPresetUsable(const CAudioPreset& preset, bool hasMidSide, bool hasSidechain) {
    for (const auto& [key, bytes] : preset.items()) {
        const bool msPairs = endsWithKey(key, "ms-pairs");
        const bool sidechain = endsWithKey(key, "sidechain");
        const bool sidechainMute = endsWithKey(key, "sidechain-mute");
        if (!msPairs && !sidechain && !sidechainMute) continue;
        CAudioParamStorage storage;
        if (!readItemStorage(bytes, storage)) continue;
        bool nonZero = false;
        bool identity = true;
        for (int32_t g = 0; g < storage.groupCount(); ++g) {
            for (int32_t e = 0; e < storage.elementCount(g); ++e) {
                const double v = storage.value(g, e);
                if (v != 0.0) nonZero = true;
                if (v != static_cast<double>(e)) identity = false;
            }
        }
        if (msPairs && nonZero && !hasMidSide) return false;
        if (sidechain && !identity && !hasSidechain) return false;
        if (sidechainMute && nonZero && !hasSidechain) return false;
    }
    return true;
}

}  // namespace orl
