#include "Audio/CAudioParamCollector.h"

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamBinding.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamNode.h"
#include "Audio/CAudioParamRegistryLink.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Audio/CDefNameResolver.h"
#include "Audio/CSharedParam.h"
#include "Audio/ParamFilters/CAudioParamFilter.h"
#include "Audio/ParamFilters/CAudioParamFilterDef.h"
#include "Core/CError.h"

namespace orl {

namespace {

// A chain of remaps longer than this is a loop in the definitions.
constexpr int32_t kMaxRemapSteps = 64;

using TEntry = CAudioParamChangeList::CEntry;

}  // namespace

CAudioParamCollector::CAudioParamCollector() : m_collectorLock(2000), m_bindingLock(2000), m_smallLock(2000) {}

CAudioParamCollector::~CAudioParamCollector() {
    // Filters and ties let go of the parameters before these go.
    for (CSharedParam* shared : m_sharedParams) delete shared;
    for (auto& [key, filter] : m_filters) {
        filter->detach();
        delete filter;
    }
    delete m_list;
    reclaimSpent();
    for (auto& [name, node] : m_params) delete node;
}

CError* CAudioParamCollector::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    if (CError* err = findObjectByAttr(CString("env"), m_env)) return ORL_PASS(err, fullName());
    return nullptr;
}

// ---- filters and stored parameters ----

CError* CAudioParamCollector::addFilter(const CAudioParamFilterDef& def, const CString& base) {
    const CString key = base + "#" + def.fullName();
    {
        CCriticalSectionLock hold(m_collectorLock);
        if (m_filters.find(key) != m_filters.end()) return nullptr;
    }
    CAudioParam* srcs[CAudioParamFilter::kMaxParams] = {};
    CAudioParam* dsts[CAudioParamFilter::kMaxParams] = {};
    const int32_t nSrc = def.srcNames().count();
    const int32_t nDst = def.dstNames().count();
    // Counts beyond the table are the filter's own message; only what fits is looked up.
    for (int32_t i = 0; i < nSrc && i < CAudioParamFilter::kMaxParams; ++i)
        srcs[i] = getParam(CDefNameResolver::resolve(base, def.srcNames()[i]));
    for (int32_t i = 0; i < nDst && i < CAudioParamFilter::kMaxParams; ++i)
        dsts[i] = getParam(CDefNameResolver::resolve(base, def.dstNames()[i]));
    CAudioParamFilter* filter = def.createFilter();
    if (!filter) return nullptr;
    if (CError* err = filter->init(srcs, nSrc, dsts, nDst)) {
        delete filter;
        return ORL_PASS(err, fullName());
    }
    {
        CCriticalSectionLock hold(m_collectorLock);
        m_filters[key] = filter;
    }
    filter->attach();
    return nullptr;
}

void CAudioParamCollector::addSharedParam(CAudioParam& param, CAppData& store, const CString& dataName) {
    CSharedParam* shared = nullptr;
    {
        CCriticalSectionLock hold(m_collectorLock);
        for (CSharedParam* existing : m_sharedParams) {
            if (&existing->param() == &param) return;
        }
        shared = new CSharedParam(param, store, dataName);
        m_sharedParams.add(shared);
    }
    shared->start();
}

int32_t CAudioParamCollector::filterCount() const {
    CCriticalSectionLock hold(m_collectorLock);
    return static_cast<int32_t>(m_filters.size());
}

// ---- names ----

CString CAudioParamCollector::remapped(const CString& name) const {
    CCriticalSectionLock hold(m_collectorLock);
    CString target = name;
    for (int32_t step = 0; step < kMaxRemapSteps; ++step) {
        auto it = m_remaps.find(target);
        if (it == m_remaps.end()) break;
        target = it->second;
    }
    return target;
}

bool CAudioParamCollector::isRemapped(const CString& name) const {
    CCriticalSectionLock hold(m_collectorLock);
    return m_remaps.count(name) != 0;
}

void CAudioParamCollector::addRemap(const CString& from, const CString& to) {
    if (from.isEmpty() || to.isEmpty() || from == to) return;
    CCriticalSectionLock hold(m_collectorLock);
    m_remaps[from] = to;
}

int32_t CAudioParamCollector::paramCount() const {
    CCriticalSectionLock hold(m_collectorLock);
    return static_cast<int32_t>(m_params.size());
}

CAudioParam* CAudioParamCollector::getParam(const CString& name) {
    const CString target = remapped(name);
    CAudioParamNode* created = nullptr;
    CAudioParamNode* node = nullptr;
    {
        CCriticalSectionLock hold(m_collectorLock);
        auto it = m_params.find(target);
        if (it != m_params.end()) {
            node = it->second;
        } else {
            node = created = new CAudioParamNode(target);
            created->setChangeSink(this);
            created->setLockObserver(this);
            m_params[target] = created;
            m_byReader[&created->audioStorage()] = created;
        }
    }
    // Registries take the lock of the parameter; they are asked with no lock of ours held.
    if (created && isFinished()) offer(*created);
    return node;
}

// ---- registries ----

void CAudioParamCollector::addRegistry(CAudioParamRegistryLink* registry) {
    if (!registry) return;
    CCriticalSectionLock hold(m_collectorLock);
    if (m_registries.indexOf(registry) >= 0) return;
    const int32_t length = registry->paramPrefix().length();
    int32_t at = 0;
    while (at < m_registries.count() && m_registries[at]->paramPrefix().length() <= length) ++at;
    m_registries.insert(at, registry);
}

void CAudioParamCollector::removeRegistry(CAudioParamRegistryLink* registry) {
    CCriticalSectionLock hold(m_collectorLock);
    const int32_t at = m_registries.indexOf(registry);
    if (at >= 0) m_registries.removeAt(at);
}

CAudioParamRegistryLink* CAudioParamCollector::findRegistry(const CString& name) {
    CCriticalSectionLock hold(m_collectorLock);
    for (CAudioParamRegistryLink* registry : m_registries) {
        if (registry->registryName() == name) return registry;
    }
    return nullptr;
}

void CAudioParamCollector::markEdited(const CAudioParam& param, int32_t group, const CAudioParamUndoContext& undo) {
    CArray<CAudioParamRegistryLink*> registries;
    {
        CCriticalSectionLock hold(m_collectorLock);
        registries = m_registries;
    }
    // The registries that took the parameter, by the rule of offer: an enumerating one alone.
    for (CAudioParamRegistryLink* registry : registries) {
        if (registry->isEnumerated() && registry->matchesPrefix(param.name())) {
            registry->markEdited(param, group, undo);
            return;
        }
    }
    for (CAudioParamRegistryLink* registry : registries) {
        if (!registry->isEnumerated() && registry->matchesPrefix(param.name())) registry->markEdited(param, group, undo);
    }
}

void CAudioParamCollector::offer(CAudioParam& param) {
    CArray<CAudioParamRegistryLink*> registries;
    {
        CCriticalSectionLock hold(m_collectorLock);
        registries = m_registries;
    }
    // An enumerating registry owns what it takes alone; the others may all take a parameter.
    for (CAudioParamRegistryLink* registry : registries) {
        if (registry->isEnumerated() && registry->offerParam(param)) return;
    }
    for (CAudioParamRegistryLink* registry : registries) {
        if (!registry->isEnumerated()) registry->offerParam(param);
    }
}

void CAudioParamCollector::finish() {
    if (m_finished.exchange(true, std::memory_order_acq_rel)) return;
    CArray<CAudioParamNode*> params;
    CArray<CAudioParamRegistryLink*> registries;
    {
        CCriticalSectionLock hold(m_collectorLock);
        for (auto& [name, node] : m_params) params.add(node);
        registries = m_registries;
    }
    for (CAudioParamNode* node : params) offer(*node);
    for (CAudioParamRegistryLink* registry : registries) registry->firstActivation();
}

void CAudioParamCollector::allocateParam(CAudioParam& param, const CAudioParamInfo& info, CAudioParamLockContext* lock) {
    CAudioParamLockContext ctx(param, lock);
    CAudioParamEnumRegistry* enumerating = nullptr;
    if (!info.registryPath.isEmpty() && info.elementSize == 1 && info.isNumeric()) {
        // The path is written in the declaration, relative to the process that declares it.
        const CString& name = param.name();
        const int32_t dot = name.findLast(u'.');
        const CString wanted = CDefNameResolver::resolve(dot < 0 ? CString() : name.substring(0, dot), info.registryPath);
        CCriticalSectionLock hold(m_collectorLock);
        for (CAudioParamRegistryLink* registry : m_registries) {
            if (registry->registryName() == wanted) {
                enumerating = registry->enumRegistry();
                break;
            }
        }
    }
    param.setEnumRegistry(enumerating);
    param.allocate(info, &ctx);
}

bool CAudioParamCollector::resolveDefinition(CAudioParam& param, const CArray<CAudioParamDefResolver::CPair>& pairs,
                                             CAudioParamLockContext* lock) {
    CAudioParamLockContext ctx(param, lock);
    if (param.info()) return true;
    const CAudioParamDef* def = CAudioParamDefResolver::find(param.name(), pairs);
    if (!def) return false;
    allocateParam(param, def->info(), &ctx);
    return true;
}

// ---- bindings ----

CAudioParamBinding* CAudioParamCollector::bindSlot(CAudioParam& param, const CAudioParamStorage** outStorage,
                                                   std::atomic<bool>* updatePending, std::atomic<uint32_t>* mask,
                                                   int32_t group, int32_t element) {
    auto& node = static_cast<CAudioParamNode&>(param);
    const CAudioParamStorage& storage = node.audioStorage();
    if (outStorage) *outStorage = &storage;
    uint32_t start = 0;
    if (storage.isValid()) {
        const int32_t groups = storage.groupCount();
        if (group < 0)
            start = groups >= 32 ? ~0u : (1u << groups) - 1u;
        else if (group < groups)
            start = 1u << group;
    }
    if (mask) mask->store(start, std::memory_order_relaxed);

    CAudioEnv::enterSpinning(m_bindingLock);
    CAudioParamBinding* binding = m_bindingPool.acquire();
    binding->param = &param;
    binding->updatePending = updatePending;
    binding->changedMask = mask;
    binding->group = group;
    binding->element = element;
    CAudioParamBinding** tail = &node.bindings;
    while (*tail) tail = &(*tail)->next;
    *tail = binding;
    m_bindingLock.leave();
    return binding;
}

void CAudioParamCollector::unbindSlot(CAudioParamBinding* binding) {
    if (!binding || !binding->param) return;
    auto& node = static_cast<CAudioParamNode&>(*binding->param);
    CAudioEnv::enterSpinning(m_bindingLock);
    for (CAudioParamBinding** at = &node.bindings; *at; at = &(*at)->next) {
        if (*at == binding) {
            *at = binding->next;
            m_bindingPool.release(binding);
            break;
        }
    }
    m_bindingLock.leave();
}

int32_t CAudioParamCollector::bindingCount(const CAudioParam& param) {
    const auto& node = static_cast<const CAudioParamNode&>(param);
    CAudioEnv::enterSpinning(m_bindingLock);
    int32_t n = 0;
    for (const CAudioParamBinding* b = node.bindings; b; b = b->next) ++n;
    m_bindingLock.leave();
    return n;
}

void CAudioParamCollector::notifyBindings(CAudioParamNode& node, const CAudioParamChange& record) {
    const int32_t g = record.group;
    const bool whole = g == CAudioParamChange::kWholeParam;
    const uint32_t bits = whole ? ~0u : 1u << (g & 31);
    for (CAudioParamBinding* b = node.bindings; b; b = b->next) {
        if (!whole) {
            if (b->group != -1 && b->group != g && !(record.singleGroup && g == 0)) continue;
            if (b->element != -1) {
                const bool hit = (record.singleElement && record.start == 0) ||
                                 (b->element >= record.start && record.tail) ||
                                 (b->element >= record.start && b->element < record.start + record.count);
                if (!hit) continue;
            }
        }
        // The mask first: whoever sees the flag sees the bits.
        if (b->changedMask) b->changedMask->fetch_or(bits, std::memory_order_relaxed);
        if (b->updatePending) b->updatePending->store(true, std::memory_order_release);
    }
}

// ---- changes ----

void CAudioParamCollector::postChange(CAudioParam& param, const CAudioParamChange& record, bool applyNow) {
    auto& node = static_cast<CAudioParamNode&>(param);
    if (applyNow || !m_env) {
        node.audioStorage().apply(record);
        CAudioEnv::enterSpinning(m_bindingLock);
        notifyBindings(node, record);
        m_bindingLock.leave();
        return;
    }
    reclaimSpent();
    TEntry* entry = CAudioParamChangeList::makeEntry(param, record);
    bool merged = false;
    m_env->enterSpinning();
    // From the pool allocator: a lock-free pop.
    if (!m_list) m_list = new CAudioParamChangeList();
    // While blocks run the list is drained every block; a stopped plug-in would grow it with
    // every change, so changes of one place are merged.
    if (!m_env->isStarted()) merged = m_list->merge(*entry);
    if (!merged) m_list->appendEntry(entry);
    m_env->leave();
    if (merged) delete entry;
}

void CAudioParamCollector::postBatch(CAudioParamChangeList* batch) {
    if (!batch) return;
    // Only parameters of this collector can be notified through it.
    CAudioParamChangeList own;
    for (TEntry* e = batch->detach(); e;) {
        TEntry* next = e->next;
        if (e->param && e->param->lockObserver() == this)
            own.appendEntry(e);
        else
            delete e;
        e = next;
    }
    batch->appendAll(own);
    if (!m_env) {
        applyChanges(batch);
        return;
    }
    m_env->enterSpinning();
    if (!m_list) {
        m_list = batch;
        batch = nullptr;
    } else if (m_env->isStarted()) {
        m_list->appendAll(*batch);
    } else {
        m_list->mergeAll(*batch);
    }
    m_env->leave();
    delete batch;
}

CAudioParamChangeList* CAudioParamCollector::takeChanges() {
    if (!m_env) return nullptr;
    m_env->enterSpinning();
    CAudioParamChangeList* list = m_list;
    m_list = nullptr;
    m_env->leave();
    return list;
}

void CAudioParamCollector::applyChanges(CAudioParamChangeList* list) {
    if (!list) return;
    CAudioEnv::enterSpinning(m_bindingLock);
    for (TEntry* e = list->detach(); e;) {
        TEntry* next = e->next;
        auto* node = static_cast<CAudioParamNode*>(e->param);
        node->audioStorage().apply(e->record);
        notifyBindings(*node, e->record);
        retire(e);
        e = next;
    }
    m_bindingLock.leave();
    delete list;
}

void CAudioParamCollector::retire(void* entry) {
    auto* e = static_cast<TEntry*>(entry);
    if (e->ownsItems()) {
        e->next = nullptr;
        m_spent.push(e);
    } else {
        delete e;
    }
}

void CAudioParamCollector::reclaimSpent() {
    while (CLockFreeStack::Node* node = m_spent.pop()) delete static_cast<TEntry*>(node);
}

// ---- host notifications ----

void CAudioParamCollector::deferHostAutomate(CAudioExtParamHostBridge* bridge, int32_t extIndex, double value) {
    m_smallLock.enter();
    m_deferred.append(bridge, extIndex, value);
    const bool idle = m_readCount == 0 && m_writeCount == 0;
    m_smallLock.leave();
    // Nothing locked: nobody else will release, so the notification goes out now.
    if (idle) {
        m_smallLock.enter();
        ++m_readCount;
        m_smallLock.leave();
        releaseCounts(1, 0);
    }
}

void CAudioParamCollector::lockTaken() {
    m_smallLock.enter();
    ++m_readCount;
    m_smallLock.leave();
}

void CAudioParamCollector::lockReleased() { releaseCounts(1, 0); }

void CAudioParamCollector::holdHostNotifications() {
    m_smallLock.enter();
    ++m_writeCount;
    m_smallLock.leave();
}

void CAudioParamCollector::releaseHostNotifications() { releaseCounts(0, 1); }

void CAudioParamCollector::releaseCounts(int32_t reads, int32_t writes) {
    // The counts drop only when nothing is left to deliver: while the host hears of changes the
    // release still counts as open, so that what a host's call-back changes meanwhile is queued
    // behind and delivered by this loop, in order.
    for (;;) {
        m_smallLock.enter();
        const int32_t r = m_readCount - reads;
        const int32_t w = m_writeCount - writes;
        if (r == 0 && w == 0 && !m_deferred.isEmpty()) {
            CAudioParamDeferredAutomation batch(static_cast<CAudioParamDeferredAutomation&&>(m_deferred));
            m_smallLock.leave();
            batch.deliver();
            continue;
        }
        m_readCount = r;
        m_writeCount = w;
        m_smallLock.leave();
        return;
    }
}

// ---- the graph's side ----

CAudioParamNode* CAudioParamCollector::nodeOf(const CAudioParamReader* reader) {
    CCriticalSectionLock hold(m_collectorLock);
    auto it = m_byReader.find(reader);
    return it == m_byReader.end() ? nullptr : it->second;
}

const CAudioParamReader* CAudioParamCollector::findParam(const CString& fullName) {
    return &getParam(fullName)->audioStorage();
}

void CAudioParamCollector::addListener(const CAudioParamReader* param, CAudioParamListener* listener) {
    CAudioParamNode* node = nodeOf(param);
    if (!node || !listener) return;
    bindSlot(*node, nullptr, listener->updatePending, listener->changedMask, listener->allGroups ? -1 : listener->group,
             listener->allElements ? -1 : listener->element);
}

void CAudioParamCollector::removeListener(const CAudioParamReader* param, CAudioParamListener* listener) {
    CAudioParamNode* node = nodeOf(param);
    if (!node || !listener) return;
    CAudioEnv::enterSpinning(m_bindingLock);
    for (CAudioParamBinding** at = &node->bindings; *at; at = &(*at)->next) {
        CAudioParamBinding* b = *at;
        if (b->updatePending == listener->updatePending && b->changedMask == listener->changedMask) {
            *at = b->next;
            m_bindingPool.release(b);
            break;
        }
    }
    m_bindingLock.leave();
}

void CAudioParamCollector::writeParamValue(const CString& fullName, int32_t group, double value) {
    CAudioParamUndoContext undo;
    undo.applyNow = true;  // the caller is the audio thread
    getParam(fullName)->setValue(value, group, this, nullptr, undo);
}

}  // namespace orl
