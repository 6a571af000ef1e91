#pragma once
#include <cstdint>

#include "Audio/CAudioParamData.h"
#include "Core/CArray.h"

namespace orl {

class CAudioParamStorage;

// One change of a parameter: `count` elements from `start` of one group, with the layout of
// the parameter it was made for. The numbers and the data table are pointed at, not owned,
// so that a record made on the stack costs no copy; a clone owns copies of both, and a record
// can also be filled in its own storage (ownNumbers, ownData). For string and raw data the
// numbers are ids of items in `data`.
class CAudioParamChange {
public:
    // The group of a change of the whole parameter: a new layout, and its numbers are the new
    // defaults.
    static constexpr int32_t kWholeParam = 9999;

    CAudioParamChange() = default;
    CAudioParamChange(const CAudioParamChange&) = delete;
    CAudioParamChange& operator=(const CAudioParamChange&) = delete;

    // A record that owns copies of the numbers and of the items that they name.
    CAudioParamChange* clone() const;

    // Takes the layout of a storage.
    void setLayoutOf(const CAudioParamStorage& storage);
    // The layout of storage, and the place and source of a change of `count` elements.
    void setTarget(const CAudioParamStorage& storage, int32_t atGroup, int32_t atStart, int32_t elementCount,
                   const void* from);
    bool hasLayoutOf(const CAudioParamStorage& storage) const;
    int32_t numberCount() const { return count > 0 && elementSize > 0 ? count * elementSize : 0; }

    // The record's own number array, emptied, with `numbers` pointed at it after each add (see
    // addNumber); and its own data table, with `data` pointed at it.
    void clearOwnNumbers();
    void addNumber(double v);
    CAudioParamData& ownData();

    int32_t group = 0;
    int32_t start = 0;
    int32_t count = 0;
    // The change ends the group: elements after it fall away.
    bool tail = false;
    // Who made the change; listeners compare it to skip their own changes.
    const void* source = nullptr;
    int32_t elementSize = 1;
    int32_t dataType = 0;
    bool singleGroup = false;
    bool singleElement = false;
    const double* numbers = nullptr;
    const CAudioParamData* data = nullptr;

private:
    CArray<double, 4> m_ownNumbers;
    CAudioParamData m_ownData;
};

}  // namespace orl
