#include "Audio/CAudioParamChange.h"

#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamStorage.h"

namespace orl {

CAudioParamChange* CAudioParamChange::clone() const {
    auto* copy = new CAudioParamChange();
    copy->group = group;
    copy->start = start;
    copy->count = count;
    copy->tail = tail;
    copy->source = source;
    copy->elementSize = elementSize;
    copy->dataType = dataType;
    copy->singleGroup = singleGroup;
    copy->singleElement = singleElement;
    const int32_t n = numberCount();
    copy->m_ownNumbers.reserve(n);
    for (int32_t i = 0; i < n && numbers; ++i) copy->m_ownNumbers.add(numbers[i]);
    copy->numbers = copy->m_ownNumbers.data();
    // Only the items that the numbers name go along, under their own ids.
    if (dataType != CAudioParamInfo::kNumeric && data) {
        for (int32_t i = 0; i < copy->m_ownNumbers.count(); ++i) {
            int32_t id = 0;
            const CAudioParamDataItem* item =
                CAudioParamData::idOf(copy->m_ownNumbers[i], id) ? data->findItem(id) : nullptr;
            // A number that names no item becomes 0, which no id of the clone's table is.
            copy->m_ownNumbers[i] = item ? copy->m_ownData.addCopy(*item) : 0.0;
        }
        copy->data = &copy->m_ownData;
    }
    return copy;
}

void CAudioParamChange::setLayoutOf(const CAudioParamStorage& storage) {
    elementSize = storage.elementSize();
    dataType = storage.dataType();
    singleGroup = storage.isSingleGroup();
    singleElement = storage.isSingleElement();
}

void CAudioParamChange::setTarget(const CAudioParamStorage& storage, int32_t atGroup, int32_t atStart,
                                  int32_t elementCount, const void* from) {
    setLayoutOf(storage);
    group = atGroup;
    start = atStart;
    count = elementCount;
    source = from;
}

bool CAudioParamChange::hasLayoutOf(const CAudioParamStorage& storage) const {
    return storage.hasLayout(elementSize, dataType, singleGroup, singleElement);
}

void CAudioParamChange::clearOwnNumbers() {
    m_ownNumbers.clear();
    numbers = m_ownNumbers.data();
}

void CAudioParamChange::addNumber(double v) {
    m_ownNumbers.add(v);
    numbers = m_ownNumbers.data();
}

CAudioParamData& CAudioParamChange::ownData() {
    data = &m_ownData;
    return m_ownData;
}

}  // namespace orl
