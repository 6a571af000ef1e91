#include "Audio/CAudioProcess.h"

#include "Audio/CAudioProcessBypassStateDef.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CAudioProcessLinkDef.h"
#include "Audio/CAudioProcessLinkStateDef.h"
#include "Audio/CDefNameResolver.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Kernels/CDSPKernels.h"
#include "Core/CError.h"
#include "Core/CLog.h"

namespace orl {

CAudioProcess::~CAudioProcess() {
    unlistenAll();
    for (CRecord* record : m_records) {
        if (record->instance) {
            record->instance->release();
            delete record->instance;
        }
        delete record;
    }
    for (CBypassState* state : m_bypassStates) delete state;
    for (CLinkStateWatcher* watcher : m_watchers) delete watcher;
}

const CAudioProcessDef* CAudioProcess::processDef() const { return dynamic_cast<const CAudioProcessDef*>(m_def); }

void CAudioProcess::listen(const CAudioParamReader* param, CAudioParamListener& listener, std::atomic<uint32_t>& mask) {
    if (!param || !m_params) return;
    listener.updatePending = updatePendingFlag();
    listener.changedMask = &mask;
    listener.group = m_group;
    listener.element = m_element;
    listener.allGroups = true;
    listener.allElements = true;
    m_params->addListener(param, &listener);
}

void CAudioProcess::unlistenAll() {
    if (!m_params) return;
    for (CBypassState* state : m_bypassStates) {
        if (state->param) m_params->removeListener(state->param, &state->listener);
        if (state->andParam) m_params->removeListener(state->andParam, &state->andListener);
        state->param = state->andParam = nullptr;
    }
    for (CLinkStateWatcher* watcher : m_watchers) {
        if (watcher->param) m_params->removeListener(watcher->param, &watcher->listener);
        watcher->param = nullptr;
    }
}

// A state's parameter named relative to this process: against the running path (the one its
// parameters are allocated under), which differs from the definition's path when the graph is
// made below an instance root.
CString CAudioProcess::runningName(const CString& resolved, const CString& local) const {
    return m_path.isEmpty() ? resolved : CDefNameResolver::resolve(m_path, local);
}

CError* CAudioProcess::init() {
    const CAudioProcessDef* def = processDef();
    if (!def) return nullptr;
    for (CAudioProcessDefBase* childDef : def->childDefs()) {
        if (childDef->isPrototype()) continue;
        const CString& name = childDef->baseName();
        if (m_byName.count(name)) {
            return ORL_ERROR(nullptr, def->fullName(),
                             "@orlstr_CAudioProcess_addProcess_DupeName Duplicate audio process name '%1'.", name);
        }
        auto* record = new CRecord();
        record->name = name;
        record->def = childDef;
        record->passThrough = childDef->isPassThrough();
        m_byName[name] = m_records.count();
        m_records.add(record);
    }
    for (CAudioProcessBypassStateDef* stateDef : def->bypassStates()) {
        auto* state = new CBypassState();
        state->def = stateDef;
        if (m_params) {
            state->param = m_params->findParam(runningName(stateDef->paramName(), stateDef->localParamName()));
            if (!stateDef->andParamName().isEmpty()) {
                state->andParam =
                    m_params->findParam(runningName(stateDef->andParamName(), stateDef->localAndParamName()));
            }
        }
        listen(state->param, state->listener, state->mask);
        listen(state->andParam, state->andListener, state->mask);
        m_bypassStates.add(state);
    }
    for (CAudioProcessLinkStateDef* stateDef : def->linkStates()) {
        auto* watcher = new CLinkStateWatcher();
        watcher->def = stateDef;
        if (m_params) watcher->param = m_params->findParam(runningName(stateDef->paramName(), stateDef->localParamName()));
        listen(watcher->param, watcher->listener, watcher->mask);
        m_watchers.add(watcher);
    }
    m_structureDirty = true;
    return nullptr;
}

CAudioProcessBase* CAudioProcess::childProcess(const CString& name) const {
    const int32_t at = findRecord(name);
    return at >= 0 ? m_records[at]->instance : nullptr;
}

int32_t CAudioProcess::findRecord(const CString& name) const {
    auto it = m_byName.find(name);
    return it == m_byName.end() ? -1 : it->second;
}

bool CAudioProcess::isStateActive(int32_t id) const {
    if (id < 0) return false;
    for (const CBypassState* state : m_bypassStates) {
        if (state->def->id() == id && state->active) return true;
    }
    return false;
}

bool CAudioProcess::isChildPresent(int32_t record) const {
    return !isStateActive(m_records[record]->def->bypassStateId());
}

void CAudioProcess::addLink(int32_t src, int32_t srcPort, int32_t dst, int32_t dstPort) {
    for (CLink& link : m_links) {
        if (link.src == src && link.srcPort == srcPort && link.dst == dst && link.dstPort == dstPort) {
            ++link.useCount;
            return;
        }
    }
    m_links.add(CLink{src, srcPort, dst, dstPort, 1, 0});
}

void CAudioProcess::update() {
    bool changed = m_structureDirty;
    m_structureDirty = false;
    for (CLinkStateWatcher* watcher : m_watchers) {
        watcher->mask.store(0, std::memory_order_relaxed);
        const int32_t value =
            watcher->param ? static_cast<int32_t>(roundParam(watcher->param->pick(m_group, m_element))) : -1;
        if (value != watcher->value) {
            watcher->value = value;
            changed = true;
        }
    }
    for (CBypassState* state : m_bypassStates) {
        state->mask.store(0, std::memory_order_relaxed);
        const double v = state->param ? state->param->pick(m_group, m_element) : 0.0;
        const double andV = state->andParam ? state->andParam->pick(m_group, m_element) : 0.0;
        const bool active = state->def->isActive(v, andV);
        if (active != state->active) {
            state->active = active;
            changed = true;
        }
    }
    if (changed) rebuild();
}

void CAudioProcess::rebuild() {
    const CAudioProcessDef* def = processDef();
    for (CLink& link : m_links) {
        link.previousUseCount = link.useCount;
        link.useCount = 0;
    }
    if (def && def->isAutoLinks()) {
        // The automatic chain: present children in definition order. A pass-through child is
        // part of it; the look-through below joins its inputs to the next child and to every
        // explicit link that leaves it.
        int32_t previous = -1;
        for (int32_t i = 0; i < m_records.count(); ++i) {
            const CRecord* record = m_records[i];
            if (record->def->isOutOfOrder() || !isChildPresent(i)) continue;
            addLink(previous, 0, i, 0);
            previous = i;
        }
        addLink(previous, 0, -1, 0);
    }
    if (def) {
        int32_t states[1 + 16] = {-1};
        int32_t stateCount = 1;
        for (const CLinkStateWatcher* watcher : m_watchers) {
            bool seen = false;
            for (int32_t s = 0; s < stateCount; ++s) seen |= states[s] == watcher->value;
            if (!seen && stateCount < 17) states[stateCount++] = watcher->value;
        }
        static const CString star("*");
        for (int32_t s = 0; s < stateCount; ++s) {
            auto byState = def->linksByState().find(states[s]);
            if (byState == def->linksByState().end()) continue;
            for (const CAudioProcessLinkDef* link : byState->second) {
                bool bypassed = false;
                for (int32_t id : link->bypassStateIds()) bypassed |= isStateActive(id);
                if (bypassed) continue;
                const int32_t src = link->srcName() == star ? -1 : findRecord(link->srcName());
                const int32_t dst = link->dstName() == star ? -1 : findRecord(link->dstName());
                // A name that no child bears is ignored, and so is a link to a bypassed child.
                if ((src < 0 && link->srcName() != star) || (dst < 0 && link->dstName() != star)) continue;
                if ((src >= 0 && !isChildPresent(src)) || (dst >= 0 && !isChildPresent(dst))) continue;
                addLink(src, link->srcPort(), dst, link->dstPort());
            }
        }
    }
    resolvePassThroughs();
    dropUnreachable();
    reconcileChildren();
    buildRoutesAndSequence();
}

void CAudioProcess::resolvePassThroughs() {
    // The resolver looks through junctions: A -> node -> B becomes A -> B. Chains of junctions
    // resolve one per pass.
    for (int32_t pass = 0; pass <= m_records.count(); ++pass) {
        bool any = false;
        for (int32_t p = 0; p < m_records.count(); ++p) {
            if (!m_records[p]->passThrough) continue;
            for (int32_t i = 0; i < m_links.count(); ++i) {
                if (m_links[i].dst != p || m_links[i].useCount <= 0) continue;
                for (int32_t o = 0; o < m_links.count(); ++o) {
                    if (m_links[o].src != p || m_links[o].useCount <= 0) continue;
                    const CLink in = m_links[i];
                    const CLink out = m_links[o];
                    addLink(in.src, in.srcPort, out.dst, out.dstPort);
                    any = true;
                }
            }
            for (CLink& link : m_links) {
                if (link.src == p || link.dst == p) link.useCount = 0;
            }
        }
        if (!any) break;
    }
}

void CAudioProcess::dropUnreachable() {
    // A child whose sources don't lead back to this process's input stays out of the build.
    const int32_t n = m_records.count();
    bool reached[256] = {};
    bool changed = true;
    while (changed) {
        changed = false;
        for (const CLink& link : m_links) {
            if (link.useCount <= 0 || link.dst < 0 || link.dst >= 256 || reached[link.dst]) continue;
            if (link.src < 0 || reached[link.src]) {
                reached[link.dst] = true;
                changed = true;
            }
        }
    }
    for (CLink& link : m_links) {
        if (link.useCount > 0 && link.src >= 0 && (link.src >= n || !reached[link.src])) link.useCount = 0;
    }
}

void CAudioProcess::destroyChild(CRecord& record) {
    if (!record.instance) return;
    record.instance->release();
    delete record.instance;
    record.instance = nullptr;
}

void CAudioProcess::reconcileChildren() {
    for (int32_t i = 0; i < m_records.count(); ++i) {
        CRecord& record = *m_records[i];
        int32_t inputs = 0;
        for (const CLink& link : m_links) {
            if (link.dst == i) inputs += link.useCount;
        }
        if (inputs > 0 && !record.instance && !record.passThrough) {
            CAudioProcessBase* child = nullptr;
            if (CError* err = makeProcess(child, record.def, false, this, m_pool, m_params, record.name, m_group,
                                          m_element + record.def->stackIndexShift())) {
                logError(err);
                deleteError(err);
            }
            if (!child) continue;
            record.instance = child;
        } else if (inputs == 0 && record.instance) {
            destroyChild(record);
        }
    }
}

void CAudioProcess::buildRoutesAndSequence() {
    // Each child's sources, in link order; a child's own input source is this process.
    for (int32_t i = 0; i < m_records.count(); ++i) {
        CAudioProcessBase* child = m_records[i]->instance;
        if (!child) continue;
        const CAudioProcessBase* nodes[64];
        int32_t ports[64];
        int32_t count = 0;
        for (const CLink& link : m_links) {
            if (link.dst != i || link.useCount <= 0 || count == 64) continue;
            const CAudioProcessBase* node = link.src < 0 ? this : m_records[link.src]->instance;
            if (!node) continue;
            bool seen = false;
            for (int32_t k = 0; k < count; ++k) seen |= nodes[k] == node && ports[k] == link.dstPort;
            if (seen) continue;
            nodes[count] = node;
            ports[count++] = link.dstPort;
        }
        child->setSources(nodes, ports, count);
    }
    m_routes.clear();
    for (const CLink& link : m_links) {
        if (link.useCount <= 0) continue;
        if (link.src >= 0 && !m_records[link.src]->instance) continue;
        int32_t slot = -1;
        if (link.dst >= 0) {
            CAudioProcessBase* child = m_records[link.dst]->instance;
            if (!child) continue;
            slot = child->findSource(link.src < 0 ? this : m_records[link.src]->instance, link.dstPort);
        }
        m_routes.add(CRoute{link.src, link.srcPort, link.dst, slot});
    }

    // Repeated passes in name order place each child whose sources are placed already.
    m_sequence.clear();
    bool placed[256] = {};
    int32_t instances = 0;
    for (const CRecord* record : m_records) instances += record->instance ? 1 : 0;
    bool progress = true;
    while (progress) {
        progress = false;
        for (const auto& [name, i] : m_byName) {
            if (i >= 256 || placed[i] || !m_records[i]->instance) continue;
            bool ready = true;
            for (const CRoute& route : m_routes) {
                if (route.dst == i && route.src >= 0 && !placed[route.src]) ready = false;
            }
            if (!ready) continue;
            placed[i] = true;
            m_sequence.add(i);
            progress = true;
        }
    }
    if (m_sequence.count() != instances) CLog::logContext(m_name, "process seq err");
}

void CAudioProcess::emit(const CAudioChannel& channel, int32_t count) {
    const uint32_t bit = 1u << channel.index;
    // What leaves the process carries the count of whoever made it: a child inside may run at
    // another rate than the process's input.
    m_outputSampleCount = count;
    if (!(m_outputMask & bit)) {
        setOutput(channel);
        return;
    }
    // Several children on one output channel are summed.
    CAudioChannel& into = m_outputs[channel.index];
    if (!CSampleBufferPool::isSole(into.buffer)) {
        CSampleBuffer* fresh = m_pool->acquire(count);
        CDSPKernels::get().copy(fresh->data(), into.buffer->data(), count);
        CSampleBufferPool::release(into.buffer);
        into.buffer = fresh;
    }
    CDSPKernels::get().add(into.buffer->data(), channel.buffer->data(), count);
    CSampleBufferPool::release(channel.buffer);
}

void CAudioProcess::process() {
    if (!baseStep()) return;
    // This process's own input goes to the children linked to it.
    for (const CRoute& route : m_routes) {
        if (route.src != -1 || route.srcPort < 0 || route.srcPort >= kMaxPorts) continue;
        const CPortTable& table = m_ports[route.srcPort];
        for (uint32_t m = table.mask; m; m &= m - 1) {
            const CAudioChannel& ch = table.channels[__builtin_ctz(m)];
            CSampleBufferPool::addRef(ch.buffer);
            if (route.dst < 0)
                emit(ch, m_sampleCount);
            else
                m_records[route.dst]->instance->deliver(route.sourceSlot, ch, m_sampleCount);
        }
    }
    releasePortTables();
    for (int32_t i : m_sequence) {
        CAudioProcessBase* child = m_records[i]->instance;
        child->process();
        const uint32_t outputs = child->outputMask();
        const int32_t count = child->outputSampleCount();
        if (outputs) {
            for (const CRoute& route : m_routes) {
                if (route.src != i) continue;
                for (uint32_t m = outputs; m; m &= m - 1) {
                    const CAudioChannel& ch = child->output(__builtin_ctz(m));
                    CSampleBufferPool::addRef(ch.buffer);
                    if (route.dst < 0)
                        emit(ch, count);
                    else
                        m_records[route.dst]->instance->deliver(route.sourceSlot, ch, count);
                }
            }
        }
        child->releaseOutputs();
    }
}

void CAudioProcess::resetState() {
    CAudioProcessBase::resetState();
    for (CRecord* record : m_records) {
        if (record->instance) record->instance->resetState();
    }
}

void CAudioProcess::release() {
    for (CRecord* record : m_records) {
        if (record->instance) record->instance->release();
    }
    CAudioProcessBase::release();
}

}  // namespace orl
