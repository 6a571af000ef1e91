#pragma once
#include <cstdint>

#include "Audio/CAudioParamUndoSink.h"
#include "Core/CMap.h"
#include "Core/CString.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioParamCollector;
class CAudioUndoParamEntry;

// One step of the undo history: a name for the list, whether it may merge with the step before
// (coalesce, with an id that both must share), and per parameter name the snapshots of the groups
// that the step changed. It is filled as an undo sink while changes run with it in their undo
// context: the first "before" of a group stands, each "after" replaces the last.
class CAudioUndoRecord : public CAudioParamUndoSink {
public:
    using TEntries = CMap<CString, CAudioUndoParamEntry*>;

    explicit CAudioUndoRecord(const CString& name, bool coalesce = false, int32_t coalesceId = -1);
    ~CAudioUndoRecord() override;
    CAudioUndoRecord(const CAudioUndoRecord&) = delete;
    CAudioUndoRecord& operator=(const CAudioUndoRecord&) = delete;

    // A deep copy: entries, snapshots and their items.
    CAudioUndoRecord* clone() const;

    const CString& name() const { return m_name; }
    void setName(const CString& name) { m_name = name; }
    bool isCoalesce() const { return m_coalesce; }
    int32_t coalesceId() const { return m_coalesceId; }

    int32_t entryCount() const;
    // Snapshots of all entries together.
    int32_t snapshotCount() const;
    // The entry of a parameter name, or null. Entries are read by their owner only while nobody
    // fills the record.
    CAudioUndoParamEntry* findEntry(const CString& paramName) const;
    const TEntries& entries() const { return m_entries; }

    // CAudioParamUndoSink: called by a parameter's change, with the parameter locked.
    void snapshotBefore(const CAudioParam& param, const CAudioParamChange& record) override;
    void snapshotAfter(const CAudioParam& param, const CAudioParamChange& record) override;

    // Whether a later step can be folded into this one: the same parameters, the same number of
    // snapshots of each, and snapshots that match one by one (CAudioUndoGroupSnapshot).
    bool canMergeWith(const CAudioUndoRecord& later) const;
    // The "after" states of a later step become this one's; call after canMergeWith.
    void takeAfterFrom(const CAudioUndoRecord& later);

    // Brings every parameter of the step to its state before (undo) or after (redo) the step.
    // The parameters are found by name in the collector, and all changes are collected in one
    // batch that the collector hands to the audio side in one piece. The changes carry the
    // record as their source.
    void apply(CAudioParamCollector& collector, bool redo) const;

private:
    // The group of a change as the parameter's storage holds it.
    static int32_t groupOf(const CAudioParam& param, const CAudioParamChange& record);

    mutable CCriticalSection m_lock;
    CString m_name;
    bool m_coalesce;
    int32_t m_coalesceId;
    TEntries m_entries;
};

}  // namespace orl
