#include "Audio/CAudioProcessBase.h"

#include <cmath>

#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioParamSharedStorage.h"
#include "Audio/CDefNameResolver.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CDSPModDelay.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Kernels/CDSPKernels.h"
#include "Core/CError.h"

namespace orl {

namespace {

constexpr int32_t kCompensatorBlockSize = 1024;

// Makes the buffer of a channel safe to write: a shared buffer is copied into a fresh one.
void makeWritable(CSampleBufferPool* pool, CAudioChannel& channel, int32_t count) {
    if (CSampleBufferPool::isSole(channel.buffer)) return;
    CSampleBuffer* fresh = pool->acquire(count);
    CDSPKernels::get().copy(fresh->data(), channel.buffer->data(), count);
    CSampleBufferPool::release(channel.buffer);
    channel.buffer = fresh;
}

}  // namespace

CAudioProcessBase::~CAudioProcessBase() {
    // Only this class's own part: derived classes released theirs in their destructors.
    CAudioProcessBase::release();
    for (CSource* source : m_sources) delete source;
    for (CAlloc* alloc : m_allocs) delete alloc;
}

CError* CAudioProcessBase::init() { return nullptr; }

void CAudioProcessBase::setContext(CAudioProcessBase* owner, CSampleBufferPool* pool, CAudioParamHost* params) {
    m_owner = owner;
    m_pool = pool;
    m_params = params;
}

void CAudioProcessBase::setIdentity(const CString& name, const CAudioProcessDefBase* def, int32_t group,
                                    int32_t element) {
    m_name = name;
    m_def = def;
    m_group = group;
    m_element = element;
    if (!m_owner || m_owner->path().isEmpty())
        m_path = name;
    else if (m_owner->def() == def)
        m_path = m_owner->path();
    else
        m_path = m_owner->path() + "." + name;
}

void CAudioProcessBase::instantiateParamSide() {
    auto* collector = dynamic_cast<CAudioParamCollector*>(m_params);
    if (!collector || !m_def) return;
    // Remaps first, so that a declared parameter that has one never comes to exist under its
    // own name.
    for (const auto& decl : m_def->paramRemaps()) {
        const CString base = decl.scope.isEmpty() ? m_path : m_path + "." + decl.scope;
        for (const CAudioParamRemapDef::CRemap& remap : decl.def->remaps()) {
            collector->addRemap(CDefNameResolver::resolve(base, remap.orig),
                                CDefNameResolver::resolve(base, remap.target));
        }
    }
    for (const auto& decl : m_def->paramDecls()) {
        const CString name = m_path + "." + decl.localName;
        // An alias belongs to its target, which has a declaration of its own.
        if (collector->isRemapped(name)) continue;
        collector->allocateParam(*collector->getParam(name), decl.def->info());
    }
    for (const auto& decl : m_def->paramFilters()) {
        const CString base = decl.scope.isEmpty() ? m_path : m_path + "." + decl.scope;
        if (CError* err = collector->addFilter(*decl.def, base)) {
            logError(err);
            deleteError(err);
        }
    }
    for (const auto& decl : m_def->sharedStorages()) {
        const CString base = decl.scope.isEmpty() ? m_path : m_path + "." + decl.scope;
        const CAudioParamSharedStorage& shared = *decl.def;
        collector->addSharedParam(*collector->getParam(CDefNameResolver::resolve(base, shared.paramName())),
                                  *shared.store(), shared.dataName());
    }
}

int32_t CAudioProcessBase::findSource(const CAudioProcessBase* node, int32_t port) const {
    // setSources empties the entries it has taken over while it matches the rest.
    for (int32_t i = 0; i < m_sources.count(); ++i) {
        if (m_sources[i] && m_sources[i]->node == node && m_sources[i]->port == port) return i;
    }
    return -1;
}

void CAudioProcessBase::setSources(const CAudioProcessBase* const* nodes, const int32_t* ports, int32_t count) {
    CArray<CSource*, 4> next;
    next.reserve(count);
    for (int32_t i = 0; i < count; ++i) {
        const int32_t at = findSource(nodes[i], ports[i]);
        if (at >= 0) {
            next.add(m_sources[at]);
            m_sources[at] = nullptr;
        } else {
            auto* source = new CSource();
            source->node = const_cast<CAudioProcessBase*>(nodes[i]);
            source->port = ports[i];
            next.add(source);
        }
    }
    for (CSource* old : m_sources) {
        if (!old) continue;
        for (int32_t c = 0; c < kMaxChannels; ++c) {
            if (old->mask & (1u << c)) CSampleBufferPool::release(old->channels[c].buffer);
            delete old->compensators[c];
        }
        delete old;
    }
    m_sources = static_cast<CArray<CSource*, 4>&&>(next);
    m_sourcesChanged = true;
}

void CAudioProcessBase::setExternalSources(int32_t portCount) {
    const CAudioProcessBase* nodes[kMaxPorts] = {};
    int32_t ports[kMaxPorts];
    if (portCount > kMaxPorts) portCount = kMaxPorts;
    for (int32_t p = 0; p < portCount; ++p) ports[p] = p;
    setSources(nodes, ports, portCount);
}

void CAudioProcessBase::deliver(int32_t sourceIndex, const CAudioChannel& channel, int32_t sampleCount) {
    if (sourceIndex < 0 || sourceIndex >= m_sources.count() || channel.index < 0 || channel.index >= kMaxChannels) {
        CSampleBufferPool::release(channel.buffer);
        return;
    }
    CSource* source = m_sources[sourceIndex];
    const uint32_t bit = 1u << channel.index;
    if (source->mask & bit) CSampleBufferPool::release(source->channels[channel.index].buffer);
    source->channels[channel.index] = channel;
    source->channels[channel.index].port = source->port;
    source->mask |= bit;
    source->sampleCount = sampleCount;
}

void CAudioProcessBase::setOutput(const CAudioChannel& channel) {
    const uint32_t bit = 1u << channel.index;
    if (m_outputMask & bit) CSampleBufferPool::release(m_outputs[channel.index].buffer);
    m_outputs[channel.index] = channel;
    m_outputMask |= bit;
}

void CAudioProcessBase::registerAllocs() {
    if (!m_allocsMade) {
        m_allocsMade = true;
        if (m_def) {
            for (const auto& [index, allocDef] : m_def->paramAllocs()) {
                auto* alloc = new CAlloc();
                alloc->def = allocDef;
                m_allocs.add(alloc);
            }
        }
    }
    if (!m_params) return;
    for (CAlloc* alloc : m_allocs) {
        if (alloc->registered) continue;
        const CString& local = alloc->def->paramName();
        alloc->param = m_params->findParam(m_path.isEmpty() ? m_def->resolveName(local)
                                                            : CDefNameResolver::resolve(m_path, local));
        if (!alloc->param) continue;
        alloc->listener.updatePending = updatePendingFlag();
        alloc->listener.changedMask = &alloc->changedMask;
        alloc->listener.group = m_group;
        alloc->listener.element = m_element;
        alloc->listener.allGroups = alloc->def->useAllGroups();
        alloc->listener.allElements = alloc->def->useAllElements();
        m_params->addListener(alloc->param, &alloc->listener);
        alloc->registered = true;
    }
}

void CAudioProcessBase::unregisterAllocs() {
    for (CAlloc* alloc : m_allocs) {
        if (!alloc->registered) continue;
        m_params->removeListener(alloc->param, &alloc->listener);
        alloc->registered = false;
    }
}

void CAudioProcessBase::releaseOutputs() {
    for (uint32_t m = m_outputMask; m; m &= m - 1) {
        CSampleBufferPool::release(m_outputs[__builtin_ctz(m)].buffer);
    }
    m_outputMask = 0;
}

void CAudioProcessBase::releasePortTables() {
    // The tables keep their shape between blocks; only the buffers belong to one block.
    for (CPortTable& table : m_ports) {
        for (uint32_t m = table.mask; m; m &= m - 1) {
            CAudioChannel& ch = table.channels[__builtin_ctz(m)];
            if (ch.buffer) CSampleBufferPool::release(ch.buffer);
            ch.buffer = nullptr;
        }
    }
}

void CAudioProcessBase::release() {
    unregisterAllocs();
    releasePortTables();
    for (CPortTable& table : m_ports) table.mask = 0;
    releaseOutputs();
    for (CSource* source : m_sources) {
        for (int32_t c = 0; c < kMaxChannels; ++c) {
            if (source->mask & (1u << c)) CSampleBufferPool::release(source->channels[c].buffer);
            delete source->compensators[c];
            source->compensators[c] = nullptr;
        }
        source->mask = 0;
        source->knownMask = 0;
    }
    m_sourcesChanged = true;
}

void CAudioProcessBase::resetState() {
    const bool fromFirst = m_def && m_def->isCompInput();
    for (CSource* source : m_sources) {
        for (int32_t c = 0; c < kMaxChannels; ++c) {
            if (!source->compensators[c]) continue;
            source->compensators[c]->reset();
            source->fillFromFirstSample[c] = fromFirst;
        }
    }
}

void CAudioProcessBase::update() {}

int32_t CAudioProcessBase::startTimer(double seconds) {
    for (int32_t i = 0; i < m_timers.count(); ++i) {
        if (!m_timers[i].used) {
            m_timers[i] = CTimer{seconds, seconds <= 0.0, true};
            return i;
        }
    }
    m_timers.add(CTimer{seconds, seconds <= 0.0, true});
    return m_timers.count() - 1;
}

void CAudioProcessBase::freeTimer(int32_t timer) {
    if (timer >= 0 && timer < m_timers.count()) m_timers[timer].used = false;
}

void CAudioProcessBase::advanceTimers() {
    if (m_sampleRate <= 0.0) return;
    const double elapsed = m_sampleCount / m_sampleRate;
    for (CTimer& t : m_timers) {
        if (!t.used || t.done) continue;
        t.remaining -= elapsed;
        if (t.remaining <= 0.0) t.done = true;
    }
}

bool CAudioProcessBase::checkConnections() {
    bool changed = m_sourcesChanged;
    for (const CSource* source : m_sources) {
        if (changed) break;
        if (source->mask != source->knownMask) {
            changed = true;
            break;
        }
        for (uint32_t m = source->mask; m; m &= m - 1) {
            const int32_t c = __builtin_ctz(m);
            if (!source->channels[c].sameShape(source->known[c])) {
                changed = true;
                break;
            }
        }
    }
    return changed;
}

void CAudioProcessBase::rebuildAlignment() {
    m_sourcesChanged = false;
    bool haveRate = false;
    int32_t latency = 0;
    for (const CSource* source : m_sources) {
        for (uint32_t m = source->mask; m; m &= m - 1) {
            const CAudioChannel& ch = source->channels[__builtin_ctz(m)];
            if (!haveRate) {
                m_sampleRate = ch.sampleRate;
                haveRate = true;
            }
            if (ch.latency > latency) latency = ch.latency;
        }
    }
    m_inputLatency = latency;
    const bool fromFirst = m_def && m_def->isCompInput();
    const int32_t fadeLength = static_cast<int32_t>(std::floor(0.015 * m_sampleRate + 0.5));
    for (CSource* source : m_sources) {
        for (int32_t c = 0; c < kMaxChannels; ++c) {
            const bool present = source->mask & (1u << c);
            CDSPModDelay*& comp = source->compensators[c];
            if (!present) {
                delete comp;
                comp = nullptr;
                continue;
            }
            const int32_t need = latency - source->channels[c].latency;
            if (need > 0 && !comp) {
                // A new line starts at its delay; there is nothing to fade from.
                comp = new CDSPModDelay();
                comp->setPool(m_pool);
                comp->setMaxDelay(need, kCompensatorBlockSize);
                comp->setDelay(need, 0);
                source->fillFromFirstSample[c] = fromFirst;
            } else if (comp) {
                // A compensator that is no longer needed fades to zero delay rather than vanish.
                comp->setDelay(need, fadeLength);
            }
        }
        source->knownMask = source->mask;
        for (int32_t c = 0; c < kMaxChannels; ++c) source->known[c] = source->channels[c];
    }
    // The shape of the port tables: one aligned channel per (port, index), whatever the number
    // of sources that feed it.
    releasePortTables();
    for (CPortTable& table : m_ports) table.mask = 0;
    for (const CSource* source : m_sources) {
        if (source->port < 0 || source->port >= kMaxPorts) continue;
        CPortTable& table = m_ports[source->port];
        for (uint32_t m = source->mask; m; m &= m - 1) {
            const int32_t c = __builtin_ctz(m);
            if (table.mask & (1u << c)) continue;
            CAudioChannel& ch = table.channels[c];
            ch = source->channels[c];
            ch.latency = latency;
            ch.port = source->port;
            ch.buffer = nullptr;
            table.mask |= 1u << c;
        }
    }
}

void CAudioProcessBase::runCompensators() {
    const int32_t count = m_sampleCount;
    for (CSource* source : m_sources) {
        for (uint32_t m = source->mask; m; m &= m - 1) {
            const int32_t c = __builtin_ctz(m);
            CDSPModDelay* comp = source->compensators[c];
            CAudioChannel& ch = source->channels[c];
            ch.latency = m_inputLatency;
            if (!comp || count <= 0) continue;
            if (source->fillFromFirstSample[c]) {
                comp->setFillValue(ch.buffer->data()[0]);
                source->fillFromFirstSample[c] = false;
            }
            if (CSampleBufferPool::isSole(ch.buffer)) {
                comp->process(ch.buffer->data(), ch.buffer->data(), count);
            } else {
                CSampleBuffer* fresh = m_pool->acquire(count);
                comp->process(ch.buffer->data(), fresh->data(), count);
                CSampleBufferPool::release(ch.buffer);
                ch.buffer = fresh;
            }
        }
    }
}

void CAudioProcessBase::combine() {
    const EInputComboMode mode = m_def ? m_def->inputComboMode() : EInputComboMode::kSum;
    const CDSPKernels& k = CDSPKernels::get();
    const int32_t count = m_sampleCount;
    int32_t contributions[kMaxPorts][kMaxChannels] = {};
    for (CSource* source : m_sources) {
        const int32_t port = source->port;
        for (uint32_t m = source->mask; m; m &= m - 1) {
            const int32_t c = __builtin_ctz(m);
            CAudioChannel& ch = source->channels[c];
            if (port < 0 || port >= kMaxPorts || !(m_ports[port].mask & (1u << c))) {
                CSampleBufferPool::release(ch.buffer);
                continue;
            }
            CPortTable& table = m_ports[port];
            if (!table.channels[c].buffer) {
                table.channels[c].buffer = ch.buffer;  // the reference moves to the table
                contributions[port][c] = 1;
                continue;
            }
            CAudioChannel& into = table.channels[c];
            makeWritable(m_pool, into, count);
            if (mode == EInputComboMode::kMax)
                k.maximum(into.buffer->data(), ch.buffer->data(), count);
            else
                k.add(into.buffer->data(), ch.buffer->data(), count);
            CSampleBufferPool::release(ch.buffer);
            ++contributions[port][c];
        }
        source->mask = 0;
    }
    for (int32_t p = 0; p < kMaxPorts; ++p) {
        for (uint32_t m = m_ports[p].mask; m; m &= m - 1) {
            const int32_t c = __builtin_ctz(m);
            CAudioChannel& ch = m_ports[p].channels[c];
            if (!ch.buffer) {
                // Nothing arrived for a channel of the known shape: it reads as silence.
                ch.buffer = m_pool->acquire(count);
                k.fill(ch.buffer->data(), 0.0, count);
            } else if (mode == EInputComboMode::kAvg && contributions[p][c] > 1) {
                k.scale(ch.buffer->data(), 1.0 / contributions[p][c], count);
            }
        }
    }
}

bool CAudioProcessBase::baseStep() {
    m_hasInput = false;
    for (const CSource* source : m_sources) {
        if (source->mask) {
            m_sampleCount = source->sampleCount;
            m_outputSampleCount = m_sampleCount;
            m_hasInput = true;
            break;
        }
    }
    if (!m_hasInput) return false;
    if (checkConnections()) {
        rebuildAlignment();
        m_reconnect = true;
        onConnectionChanged();
    }
    const bool pending = takeUpdatePending();
    if (pending || m_reconnect) {
        advanceTimers();
        update();
        m_reconnect = false;
    }
    runCompensators();
    combine();
    return true;
}

}  // namespace orl
