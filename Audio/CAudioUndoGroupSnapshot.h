#pragma once
#include <cstdint>

#include "Audio/CAudioParamData.h"
#include "Core/CArray.h"

namespace orl {

class CAudioParamChange;
class CAudioParamStorage;

// One group of one parameter in an undo step: its layout, and its elements before the step and
// after it. Values of string and raw parameters are ids into the snapshot's own table, which
// holds copies of the items of both states, so that the snapshot doesn't depend on what the
// parameter's storage has since done with its items. Copies are deep.
class CAudioUndoGroupSnapshot {
public:
    CAudioUndoGroupSnapshot() = default;
    CAudioUndoGroupSnapshot(const CAudioUndoGroupSnapshot&) = default;
    CAudioUndoGroupSnapshot& operator=(const CAudioUndoGroupSnapshot&) = default;

    // Takes the layout of storage and the content of one of its groups as both states.
    void captureBefore(const CAudioParamStorage& storage, int32_t group);
    // Replaces the "after" state with the group's current content; false (and nothing changes)
    // when the storage's layout is no longer the snapshot's.
    bool captureAfter(const CAudioParamStorage& storage);
    bool hasLayoutOf(const CAudioParamStorage& storage) const;

    // Whether a later snapshot of the same place can extend this one: the same group, count
    // after, element size, data type and single flags.
    bool canMergeWith(const CAudioUndoGroupSnapshot& later) const;
    // The "after" state of a later snapshot becomes this one's.
    void takeAfterFrom(const CAudioUndoGroupSnapshot& later);

    // A change record that brings the group to one of the states: the whole group (start 0,
    // tail), pointing at the snapshot's numbers and table. Valid while the snapshot lives.
    void fillChange(CAudioParamChange& out, bool after, const void* source) const;

    int32_t group() const { return m_group; }
    int32_t elementSize() const { return m_elementSize; }
    int32_t dataType() const { return m_dataType; }
    bool isSingleGroup() const { return m_singleGroup; }
    bool isSingleElement() const { return m_singleElement; }
    int32_t countBefore() const { return m_countBefore; }
    int32_t countAfter() const { return m_countAfter; }
    const CArray<double>& valuesBefore() const { return m_valuesBefore; }
    const CArray<double>& valuesAfter() const { return m_valuesAfter; }
    const CAudioParamData& data() const { return m_data; }

private:
    // Copies a group's numbers into values; for string and raw data each item is cloned into the
    // snapshot's table and its new id stored instead. Returns the element count.
    int32_t copyGroup(const CAudioParamStorage& storage, CArray<double>& values);
    // Copies numbers that are ids into another table, cloning their items into this one.
    void copyValues(const CArray<double>& from, const CAudioParamData& table, CArray<double>& values);
    // Drops the items that the "after" values name (they are never shared with "before").
    void dropAfterItems();

    int32_t m_group = 0;
    int32_t m_elementSize = 1;
    int32_t m_dataType = 0;
    bool m_singleGroup = false;
    bool m_singleElement = false;
    int32_t m_countBefore = 0;
    int32_t m_countAfter = 0;
    CArray<double> m_valuesBefore;
    CArray<double> m_valuesAfter;
    CAudioParamData m_data;
};

}  // namespace orl
