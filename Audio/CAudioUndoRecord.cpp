#include "Audio/CAudioUndoRecord.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Audio/CAudioUndoGroupSnapshot.h"
#include "Audio/CAudioUndoParamEntry.h"

namespace orl {

CAudioUndoRecord::CAudioUndoRecord(const CString& name, bool coalesce, int32_t coalesceId)
    : m_name(name), m_coalesce(coalesce), m_coalesceId(coalesceId) {}

CAudioUndoRecord::~CAudioUndoRecord() {
    for (auto& [name, entry] : m_entries) delete entry;
}

CAudioUndoRecord* CAudioUndoRecord::clone() const {
    CCriticalSectionLock hold(m_lock);
    CAudioUndoRecord* copy = new CAudioUndoRecord(m_name, m_coalesce, m_coalesceId);
    for (const auto& [name, entry] : m_entries) copy->m_entries[name] = new CAudioUndoParamEntry(*entry);
    return copy;
}

int32_t CAudioUndoRecord::entryCount() const {
    CCriticalSectionLock hold(m_lock);
    return static_cast<int32_t>(m_entries.size());
}

int32_t CAudioUndoRecord::snapshotCount() const {
    CCriticalSectionLock hold(m_lock);
    int32_t n = 0;
    for (const auto& [name, entry] : m_entries) n += entry->snapshotCount();
    return n;
}

CAudioUndoParamEntry* CAudioUndoRecord::findEntry(const CString& paramName) const {
    CCriticalSectionLock hold(m_lock);
    auto it = m_entries.find(paramName);
    return it == m_entries.end() ? nullptr : it->second;
}

int32_t CAudioUndoRecord::groupOf(const CAudioParam& param, const CAudioParamChange& record) {
    return param.uiStorage().isSingleGroup() ? 0 : record.group;
}

void CAudioUndoRecord::snapshotBefore(const CAudioParam& param, const CAudioParamChange& record) {
    // A change of the whole parameter is a new definition, not a value a user can step back to.
    if (record.group == CAudioParamChange::kWholeParam || !param.uiStorage().isValid()) return;
    const int32_t group = groupOf(param, record);
    CCriticalSectionLock hold(m_lock);
    CAudioUndoParamEntry*& entry = m_entries[param.name()];
    if (!entry) entry = new CAudioUndoParamEntry();
    // The first "before" of a step stands: later changes of the group only move its "after".
    if (entry->findSnapshot(group)) return;
    entry->addSnapshot()->captureBefore(param.uiStorage(), group);
}

void CAudioUndoRecord::snapshotAfter(const CAudioParam& param, const CAudioParamChange& record) {
    if (record.group == CAudioParamChange::kWholeParam) return;
    const int32_t group = groupOf(param, record);
    CCriticalSectionLock hold(m_lock);
    auto it = m_entries.find(param.name());
    if (it == m_entries.end()) return;
    CAudioUndoGroupSnapshot* snapshot = it->second->findSnapshot(group);
    // A layout that changed since "before" leaves the last "after" that matched.
    if (snapshot) snapshot->captureAfter(param.uiStorage());
}

bool CAudioUndoRecord::canMergeWith(const CAudioUndoRecord& later) const {
    if (&later == this) return false;
    CCriticalSectionLock hold(m_lock);
    CCriticalSectionLock holdLater(later.m_lock);
    if (m_entries.size() != later.m_entries.size()) return false;
    auto it = m_entries.begin();
    auto lt = later.m_entries.begin();
    for (; it != m_entries.end(); ++it, ++lt) {
        if (!(it->first == lt->first)) return false;
        const CAudioUndoParamEntry& mine = *it->second;
        const CAudioUndoParamEntry& theirs = *lt->second;
        if (mine.snapshotCount() != theirs.snapshotCount()) return false;
        for (int32_t i = 0; i < mine.snapshotCount(); ++i) {
            if (!mine.snapshot(i)->canMergeWith(*theirs.snapshot(i))) return false;
        }
    }
    return true;
}

void CAudioUndoRecord::takeAfterFrom(const CAudioUndoRecord& later) {
    if (&later == this) return;
    CCriticalSectionLock hold(m_lock);
    CCriticalSectionLock holdLater(later.m_lock);
    for (auto& [name, entry] : m_entries) {
        auto lt = later.m_entries.find(name);
        if (lt == later.m_entries.end()) continue;
        const int32_t n = entry->snapshotCount() < lt->second->snapshotCount() ? entry->snapshotCount()
                                                                              : lt->second->snapshotCount();
        for (int32_t i = 0; i < n; ++i) entry->snapshot(i)->takeAfterFrom(*lt->second->snapshot(i));
    }
}

void CAudioUndoRecord::apply(CAudioParamCollector& collector, bool redo) const {
    // The record lock is not taken here: changes take parameter locks, and a filling record is
    // entered with a parameter locked. A record in a history is no longer filled.
    CAudioParamChangeList* batch = new CAudioParamChangeList();
    CAudioParamUndoContext undo;
    undo.batch = batch;
    for (const auto& [name, entry] : m_entries) {
        CAudioParam* param = collector.getParam(name);
        if (!param) continue;
        CAudioParamLockContext lock(*param);
        for (int32_t i = 0; i < entry->snapshotCount(); ++i) {
            CAudioParamChange record;
            entry->snapshot(i)->fillChange(record, redo, this);
            // A parameter whose layout changed since the step refuses the change; it stays as it is.
            param->change(record, &lock, undo);
        }
    }
    if (batch->isEmpty()) {
        delete batch;
        return;
    }
    collector.postBatch(batch);
}

}  // namespace orl
