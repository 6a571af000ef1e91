#include "Audio/CAudioUndoGroupSnapshot.h"

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamStorage.h"

namespace orl {

void CAudioUndoGroupSnapshot::captureBefore(const CAudioParamStorage& storage, int32_t group) {
    m_group = group;
    m_elementSize = storage.elementSize();
    m_dataType = storage.dataType();
    m_singleGroup = storage.isSingleGroup();
    m_singleElement = storage.isSingleElement();
    m_data.clear();
    m_countBefore = copyGroup(storage, m_valuesBefore);
    // Until a change has been seen through, the group stands as it was. "After" gets its own
    // copies of the items, so that replacing it never touches what "before" names.
    m_countAfter = m_countBefore;
    copyValues(m_valuesBefore, m_data, m_valuesAfter);
}

bool CAudioUndoGroupSnapshot::captureAfter(const CAudioParamStorage& storage) {
    if (!hasLayoutOf(storage)) return false;
    dropAfterItems();
    m_countAfter = copyGroup(storage, m_valuesAfter);
    return true;
}

bool CAudioUndoGroupSnapshot::hasLayoutOf(const CAudioParamStorage& storage) const {
    return storage.isValid() && storage.hasLayout(m_elementSize, m_dataType, m_singleGroup, m_singleElement);
}

bool CAudioUndoGroupSnapshot::canMergeWith(const CAudioUndoGroupSnapshot& later) const {
    return m_group == later.m_group && m_countAfter == later.m_countAfter && m_elementSize == later.m_elementSize &&
           m_dataType == later.m_dataType && m_singleGroup == later.m_singleGroup &&
           m_singleElement == later.m_singleElement;
}

void CAudioUndoGroupSnapshot::takeAfterFrom(const CAudioUndoGroupSnapshot& later) {
    dropAfterItems();
    m_countAfter = later.m_countAfter;
    copyValues(later.m_valuesAfter, later.m_data, m_valuesAfter);
}

void CAudioUndoGroupSnapshot::fillChange(CAudioParamChange& out, bool after, const void* source) const {
    const CArray<double>& values = after ? m_valuesAfter : m_valuesBefore;
    out.group = m_group;
    out.start = 0;
    out.count = after ? m_countAfter : m_countBefore;
    out.tail = true;
    out.source = source;
    out.elementSize = m_elementSize;
    out.dataType = m_dataType;
    out.singleGroup = m_singleGroup;
    out.singleElement = m_singleElement;
    out.numbers = out.count > 0 ? values.data() : nullptr;
    out.data = m_dataType != 0 ? &m_data : nullptr;
}

int32_t CAudioUndoGroupSnapshot::copyGroup(const CAudioParamStorage& storage, CArray<double>& values) {
    values.clear();
    const int32_t count = storage.elementCount(m_group);
    const double* numbers = storage.groupNumbers(m_group);
    const int32_t n = numbers ? count * m_elementSize : 0;
    values.reserve(n);
    for (int32_t i = 0; i < n; ++i) values.add(numbers[i]);
    if (m_dataType != 0) {
        const CArray<double> ids = values;
        copyValues(ids, storage.data(), values);
    }
    return numbers ? count : 0;
}

void CAudioUndoGroupSnapshot::copyValues(const CArray<double>& from, const CAudioParamData& table,
                                         CArray<double>& values) {
    if (m_dataType == 0) {
        values = from;
        return;
    }
    CArray<double> out;
    out.reserve(from.count());
    for (double number : from) {
        int32_t id = 0;
        const CAudioParamDataItem* item = CAudioParamData::idOf(number, id) ? table.findItem(id) : nullptr;
        CAudioParamDataItem* copy = item ? item->clone() : CAudioParamDataItem::create(m_dataType);
        out.add(copy ? static_cast<double>(m_data.addItem(copy)) : 0.0);
    }
    values = static_cast<CArray<double>&&>(out);
}

void CAudioUndoGroupSnapshot::dropAfterItems() {
    if (m_dataType == 0) return;
    for (double number : m_valuesAfter) {
        int32_t id = 0;
        if (CAudioParamData::idOf(number, id)) m_data.removeItem(id);
    }
}

}  // namespace orl
