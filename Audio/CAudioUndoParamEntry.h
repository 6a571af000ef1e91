#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CMap.h"

namespace orl {

class CAudioParam;
class CAudioUndoGroupSnapshot;

// What one undo step holds of one parameter: a snapshot per group that the step touched, in the
// order first touched, and which of its elements the host has been told of (key element * 256 +
// group), so that the audio-to-UI side tells the host of each only once per step. Copies are
// deep.
class CAudioUndoParamEntry {
public:
    CAudioUndoParamEntry() = default;
    CAudioUndoParamEntry(const CAudioUndoParamEntry& other);
    CAudioUndoParamEntry& operator=(const CAudioUndoParamEntry&) = delete;
    ~CAudioUndoParamEntry();

    int32_t snapshotCount() const { return m_snapshots.count(); }
    CAudioUndoGroupSnapshot* snapshot(int32_t i) const { return m_snapshots[i]; }
    // The snapshot of a group, or null.
    CAudioUndoGroupSnapshot* findSnapshot(int32_t group) const;
    // Appends an empty snapshot, owned by the entry.
    CAudioUndoGroupSnapshot* addSnapshot();

    // ---- elements the host was told of ----
    static int32_t toldKey(int32_t element, int32_t group) { return element * 256 + group; }
    void addTold(int32_t key, CAudioParam* param = nullptr) { m_told[key] = param; }
    bool hasTold(int32_t key) const { return m_told.count(key) != 0; }
    int32_t toldCount() const { return static_cast<int32_t>(m_told.size()); }
    const CMap<int32_t, CAudioParam*>& told() const { return m_told; }

private:
    CArray<CAudioUndoGroupSnapshot*> m_snapshots;
    CMap<int32_t, CAudioParam*> m_told;
};

}  // namespace orl
