#pragma once
#include <cstdint>

#include "Core/CArray.h"

namespace orl {

class CAudioUndoRecord;

// The steps of one undo list and how many of them are in force: records below the position are
// done, those from it on can be redone. Owns its records. Not locked: its owner guards it.
class CAudioUndoHistory {
public:
    CAudioUndoHistory() = default;
    ~CAudioUndoHistory();
    CAudioUndoHistory(const CAudioUndoHistory&) = delete;
    CAudioUndoHistory& operator=(const CAudioUndoHistory&) = delete;

    // A deep copy: records, snapshots and their items, and the position.
    CAudioUndoHistory* clone() const;

    int32_t count() const { return m_records.count(); }
    int32_t position() const { return m_position; }
    // Clamped to 0..count.
    void setPosition(int32_t position);
    CAudioUndoRecord* record(int32_t i) const { return m_records[i]; }

    // Takes the record over and appends it; the position is left alone.
    void append(CAudioUndoRecord* record);
    // Frees the records from index on (the redo tail); the position is clamped.
    void removeFrom(int32_t index);
    // Frees the oldest record; the position moves down with the others.
    void removeFirst();
    void clear();

private:
    CArray<CAudioUndoRecord*> m_records;
    int32_t m_position = 0;
};

}  // namespace orl
