#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CObject.h"
#include "Core/CString.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioParamCollector;
class CAudioUndoHistory;
class CAudioUndoRecord;

// The undo list of a plug-in instance. Steps are records filled through undo contexts and then
// submitted; moving along the list reapplies the values that the records hold. Attributes:
// `param-collector` (path of the instance's collector) and `undo-count-max` (steps kept, 32
// unless set, at least 1).
//
// Everything runs under the history lock, which guards the history pointer and all its records.
// Lock order: a registry's lock, then the history lock, then parameter locks, then the
// environment lock. Never called on the audio thread.
class CAudioParamUndo : public CObject {
public:
    static constexpr int32_t kDefaultMaxCount = 32;

    CAudioParamUndo();
    ~CAudioParamUndo() override;

    CError* init() override;
    // Called whenever the list or the position changes, under the history lock. Empty here.
    virtual void onUndoHistoryChanged();

    void setCollector(CAudioParamCollector* collector);
    CAudioParamCollector* collector() const;
    // At least 1; a smaller list than the history holds takes effect at the next submit.
    void setMaxCount(int32_t maxCount);
    int32_t maxCount() const;

    // A free-standing record for a step, to be filled through undo contexts; the caller owns it
    // until submit.
    CAudioUndoRecord* createRecord(const CString& name, bool coalesce = false, int32_t coalesceId = -1);
    // Takes the record over. A record without snapshots is freed and nothing changes. A record
    // that can merge with the step before the position extends that step. Otherwise the redo
    // tail is cut, the oldest step goes when the list is full, and the record becomes the last
    // step in force.
    void submit(CAudioUndoRecord* record);

    // "Undo history start", then each step's name; and the position (0 with no history).
    void getHistoryNames(CArray<CString>& out, int32_t& outPosition);
    // Undoes or redoes one step at a time until the position is reached; a position outside
    // 0..count is ignored. Host notifications are held back for the whole move.
    void setPosition(int32_t position, bool notify);
    int32_t position();
    int32_t count();

    // The current history goes to outOld (what outOld held is freed); the one in inNew becomes
    // current and inNew is set to null. Either may be null.
    void exchangeHistory(CAudioUndoHistory*& outOld, CAudioUndoHistory*& inNew);
    // A deep copy of the current history, or null when there is none; the caller owns it.
    CAudioUndoHistory* cloneHistory() const;
    // Drops the current history.
    void clearHistory();

private:
    mutable CCriticalSection m_historyLock;
    CAudioParamCollector* m_collector = nullptr;
    int32_t m_maxCount = kDefaultMaxCount;
    CAudioUndoHistory* m_history = nullptr;
};

}  // namespace orl
