#include "Other/CAudioVizCollector.h"

#include <atomic>

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Core/CByteBuffer.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/COutputStream.h"
#include "Other/CAudioVizData.h"
#include "Other/CAudioVizDeltaList.h"
#include "Other/CAudioVizEntry.h"

namespace orl {

namespace {

// Graph hosts and their collectors: a few instances per process at most. Readers (modules at
// connectPorts) scan without a lock; writers (instance set-up and tear-down) take turns.
constexpr int32_t kHostSlots = 64;
std::atomic<const CAudioParamHost*> g_hosts[kHostSlots];
std::atomic<CAudioVizCollector*> g_collectors[kHostSlots];

CCriticalSection& hostTableLock() {
    static CCriticalSection lock;
    return lock;
}

using CRing = CAudioVizEntry::CRing;

}  // namespace

CAudioVizCollector::CAudioVizCollector() = default;

CAudioVizCollector::~CAudioVizCollector() {
    attachToHost(nullptr);
    delete m_deltas;
    for (CAudioVizEntry* entry : m_entries) delete entry;
    for (void* ring : m_spareRings) delete static_cast<CRing*>(ring);
}

CError* CAudioVizCollector::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    if (CError* err = findObjectByAttr(CString("env"), m_env)) return ORL_PASS(err, fullName());
    if (CError* err = findObjectByAttr(CString("param-collector"), m_params)) return ORL_PASS(err, fullName());
    m_enableDef = dynamic_cast<const CAudioParamDef*>(findObject(CString("shared::audio.param-enable-viz")));
    if (!m_enableDef) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioVizCollector_init_NoEnableDef The parameter declaration "
                         "'shared::audio.param-enable-viz' not found.");
    }
    attachToHost(m_params);
    return nullptr;
}

CAudioVizCollector* CAudioVizCollector::forHost(const CAudioParamHost* host) {
    if (!host) return nullptr;
    for (int32_t i = 0; i < kHostSlots; ++i) {
        if (g_hosts[i].load(std::memory_order_acquire) == host) return g_collectors[i].load(std::memory_order_acquire);
    }
    return nullptr;
}

void CAudioVizCollector::attachToHost(const CAudioParamHost* host) {
    CCriticalSectionLock hold(hostTableLock());
    if (m_attachedHost) {
        for (int32_t i = 0; i < kHostSlots; ++i) {
            if (g_hosts[i].load(std::memory_order_relaxed) == m_attachedHost &&
                g_collectors[i].load(std::memory_order_relaxed) == this) {
                g_hosts[i].store(nullptr, std::memory_order_release);
                g_collectors[i].store(nullptr, std::memory_order_release);
            }
        }
        m_attachedHost = nullptr;
    }
    if (!host) return;
    for (int32_t i = 0; i < kHostSlots; ++i) {
        if (g_hosts[i].load(std::memory_order_relaxed) != nullptr) continue;
        g_collectors[i].store(this, std::memory_order_release);
        g_hosts[i].store(host, std::memory_order_release);
        m_attachedHost = host;
        return;
    }
}

void CAudioVizCollector::enterRecords() const { CAudioEnv::enterSpinning(m_recordsLock); }

CAudioVizEntry* CAudioVizCollector::getEntry(const CString& name) {
    CAudioEnv::enterSpinning(m_entriesLock);
    for (CAudioVizEntry* entry : m_entries) {
        if (entry->name == name) {
            m_entriesLock.leave();
            return entry;
        }
    }
    auto* entry = new CAudioVizEntry(name, m_entries.count());
    entry->pending = new CRing();
    m_entries.add(entry);
    m_entriesLock.leave();
    return entry;
}

int32_t CAudioVizCollector::entryCount() const {
    CAudioEnv::enterSpinning(m_entriesLock);
    const int32_t n = m_entries.count();
    m_entriesLock.leave();
    return n;
}

void CAudioVizCollector::addRecord(CAudioVizEntry* entry, CAudioVizData* record) {
    if (!record) return;
    // Nobody of this instance asked for the source: the record has nowhere to go.
    if (!entry || entry->localListenerCount() <= 0) {
        delete record;
        return;
    }
    record->slot = -1;
    enterRecords();
    CAudioVizData* dropped = entry->pending->push(record);
    m_recordsLock.leave();
    delete dropped;
}

CAudioParam* CAudioVizCollector::resolveEnableParam(CAudioVizEntry* entry) {
    CAudioParam* param = entry->enableParam.load(std::memory_order_acquire);
    if (param || !m_params) return param;
    param = m_params->getParam(entry->name + CString("-enable"));
    if (param && !param->info() && m_enableDef) m_params->allocateParam(*param, m_enableDef->info());
    entry->enableParam.store(param, std::memory_order_release);
    return param;
}

void CAudioVizCollector::queueDelta(CAudioVizEntry* entry, int32_t delta) {
    if (!entry || !m_env) return;
    // The parameter is found here, on the listening thread, so that the audio thread seldom has
    // to make one.
    resolveEnableParam(entry);
    auto* fresh = new CAudioVizDeltaList();
    m_env->enterSpinning();
    if (!m_deltas) {
        m_deltas = fresh;
        fresh = nullptr;
    }
    m_deltas->add(entry, delta);
    m_env->leave();
    delete fresh;
}

CAudioVizDeltaList* CAudioVizCollector::takeDeltasLocked(bool& requested) {
    CAudioVizDeltaList* list = m_deltas;
    m_deltas = nullptr;
    requested = m_requested;
    m_requested = false;
    if (requested && m_env) m_env->setBlockVizRate(m_env->wantedVizRate());
    return list;
}

CAudioVizDeltaList* CAudioVizCollector::takeDeltas(bool& requested) {
    requested = false;
    if (!m_env) return nullptr;
    m_env->enterSpinning();
    CAudioVizDeltaList* list = takeDeltasLocked(requested);
    m_env->leave();
    return list;
}

void CAudioVizCollector::setEnable(CAudioVizEntry* entry, bool on, bool onAudioThread) {
    CAudioParam* param = resolveEnableParam(entry);
    if (!param) return;
    CAudioParamUndoContext undo;
    undo.applyNow = onAudioThread;
    param->setValue(on ? 1.0 : 0.0, 0, this, nullptr, undo);
}

void CAudioVizCollector::applyDeltas(CAudioVizDeltaList* list, bool onAudioThread) {
    if (!list) return;
    for (int32_t i = 0; i < list->count(); ++i) {
        CAudioVizEntry* entry = (*list)[i].entry;
        const int32_t before = entry->totalCount;
        int32_t after = before + (*list)[i].delta;
        if (after < 0) after = 0;
        entry->totalCount = after;
        if ((before > 0) != (after > 0)) setEnable(entry, after > 0, onAudioThread);
        if (before > 0 && after == 0) {
            enterRecords();
            entry->pending->clear();
            m_recordsLock.leave();
        }
    }
    delete list;
}

void CAudioVizCollector::dropPending() {
    CAudioEnv::enterSpinning(m_entriesLock);
    enterRecords();
    for (CAudioVizEntry* entry : m_entries) entry->pending->clear();
    m_recordsLock.leave();
    m_entriesLock.leave();
}

int32_t CAudioVizCollector::pendingCount(const CAudioVizEntry* entry) const {
    enterRecords();
    const int32_t n = entry->pending->count;
    m_recordsLock.leave();
    return n;
}

CError* CAudioVizCollector::writeVizData(COutputStream& out, double wantedRate) {
    double now = 0.0;
    if (m_env) {
        m_env->enterSpinning();
        now = m_env->blockEndTime();
        m_env->setWantedVizRate(wantedRate);
        m_requested = true;
        m_env->leave();
    }

    CCriticalSectionLock requestHold(m_requestLock);
    CArray<CAudioVizEntry*, 16> entries;
    CAudioEnv::enterSpinning(m_entriesLock);
    for (CAudioVizEntry* entry : m_entries) entries.add(entry);
    m_entriesLock.leave();
    // Enough empty rings to swap in for every source, made before the lock is taken.
    while (m_spareRings.count() < entries.count()) m_spareRings.add(new CRing());

    struct CTaken {
        CAudioVizEntry* entry;
        CRing* ring;
    };
    CArray<CTaken, 16> taken;
    enterRecords();
    for (CAudioVizEntry* entry : entries) {
        if (entry->pending->count == 0) continue;
        CRing* spare = static_cast<CRing*>(m_spareRings.last());
        m_spareRings.removeLast();
        taken.add(CTaken{entry, entry->pending});
        entry->pending = spare;
    }
    m_recordsLock.leave();

    // The message is written outside the lock; each ring goes back to the spares emptied.
    CError* err = out.writeString(CString("viz-data"));
    if (!err) err = out.writeDouble(now);
    CByteBuffer bytes;
    for (const CTaken& t : taken) {
        if (!err) err = out.writeUInt32(static_cast<uint32_t>(t.ring->count));
        if (!err) err = out.writeString(t.entry->name);
        for (int32_t i = 0; i < t.ring->count && !err; ++i) {
            const CAudioVizData* record = t.ring->at(i);
            bytes.resize(0);
            {
                CByteBufferWriter writer(bytes);
                err = record->save(writer);
            }
            if (!err) err = out.writeUInt32(static_cast<uint32_t>(record->type()));
            if (!err) err = out.writeUInt32(bytes.size());
            if (!err) err = out.write(bytes.data(), bytes.size());
        }
        t.ring->clear();
        m_spareRings.add(t.ring);
    }
    if (!err) err = out.writeUInt32(0);
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

}  // namespace orl
