#include "Audio/CAudioParamChangeList.h"

#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamInfo.h"
#include "Core/CArray.h"
#include "Core/CPoolAllocator.h"

namespace orl {

void* CAudioParamChangeList::CEntry::operator new(size_t size) { return CPoolAllocator::allocate(size); }

void CAudioParamChangeList::CEntry::operator delete(void* p) { CPoolAllocator::release(p); }

void* CAudioParamChangeList::operator new(size_t size) { return CPoolAllocator::allocate(size); }

void CAudioParamChangeList::operator delete(void* p) { CPoolAllocator::release(p); }

CAudioParamChangeList::~CAudioParamChangeList() {
    for (CEntry* e = m_head; e;) {
        CEntry* next = e->next;
        delete e;
        e = next;
    }
}

void CAudioParamChangeList::copyRecord(CAudioParamChange& into, const CAudioParamChange& from) {
    into.group = from.group;
    into.start = from.start;
    into.count = from.count;
    into.tail = from.tail;
    into.source = from.source;
    into.elementSize = from.elementSize;
    into.dataType = from.dataType;
    into.singleGroup = from.singleGroup;
    into.singleElement = from.singleElement;
    into.clearOwnNumbers();
    into.data = nullptr;
    const int32_t n = from.numberCount();
    const bool items = from.dataType != CAudioParamInfo::kNumeric && from.data;
    for (int32_t i = 0; i < n; ++i) {
        double v = from.numbers ? from.numbers[i] : 0.0;
        if (items) {
            int32_t id = 0;
            const CAudioParamDataItem* item = CAudioParamData::idOf(v, id) ? from.data->findItem(id) : nullptr;
            v = item ? into.ownData().addCopy(*item) : 0.0;
        }
        into.addNumber(v);
    }
    if (items) into.ownData();
}

CAudioParamChangeList::CEntry* CAudioParamChangeList::makeEntry(CAudioParam& param, const CAudioParamChange& record) {
    auto* entry = new CEntry();
    entry->param = &param;
    copyRecord(entry->record, record);
    return entry;
}

void CAudioParamChangeList::appendEntry(CEntry* entry) {
    entry->next = nullptr;
    if (m_tail)
        m_tail->next = entry;
    else
        m_head = entry;
    m_tail = entry;
    ++m_count;
}

void CAudioParamChangeList::append(CAudioParam& param, CAudioParamChange* record) {
    if (!record) return;
    appendEntry(makeEntry(param, *record));
    delete record;
}

CAudioParamChangeList::CEntry* CAudioParamChangeList::detach() {
    CEntry* first = m_head;
    m_head = m_tail = nullptr;
    m_count = 0;
    return first;
}

bool CAudioParamChangeList::merge(const CEntry& entry) {
    const CAudioParamChange& next = entry.record;
    if (next.group == CAudioParamChange::kWholeParam) return false;
    // The last change of this group after the last change of the whole parameter.
    CEntry* candidate = nullptr;
    for (CEntry* e = m_head; e; e = e->next) {
        if (e->param != entry.param) continue;
        if (e->record.group == CAudioParamChange::kWholeParam)
            candidate = nullptr;
        else if (e->record.group == next.group)
            candidate = e;
    }
    return candidate && mergeInto(candidate->record, next);
}

void CAudioParamChangeList::mergeOrAppend(CEntry* entry) {
    if (merge(*entry))
        delete entry;
    else
        appendEntry(entry);
}

void CAudioParamChangeList::appendAll(CAudioParamChangeList& other) {
    if (!other.m_head) return;
    if (m_tail)
        m_tail->next = other.m_head;
    else
        m_head = other.m_head;
    m_tail = other.m_tail;
    m_count += other.m_count;
    other.detach();
}

void CAudioParamChangeList::mergeAll(CAudioParamChangeList& other) {
    for (CEntry* e = other.detach(); e;) {
        CEntry* next = e->next;
        mergeOrAppend(e);
        e = next;
    }
}

bool CAudioParamChangeList::mergeInto(CAudioParamChange& into, const CAudioParamChange& next) {
    if (next.group == CAudioParamChange::kWholeParam || into.group == CAudioParamChange::kWholeParam) return false;
    if (into.elementSize != next.elementSize || into.dataType != next.dataType ||
        into.singleGroup != next.singleGroup || into.singleElement != next.singleElement) {
        return false;
    }
    if (into.count < 0 || next.count < 0 || into.elementSize <= 0) return false;
    const int32_t cs = into.start, ce = into.start + into.count;
    const int32_t ns = next.start, ne = next.start + next.count;
    if (ns > ce || cs > ne) return false;

    const int32_t start = cs < ns ? cs : ns;
    const int32_t end = next.tail ? ne : (ce > ne ? ce : ne);
    const int32_t size = into.elementSize;
    const bool items = into.dataType != CAudioParamInfo::kNumeric;

    CArray<double, 16> old;
    for (int32_t i = 0; i < into.numberCount(); ++i) old.add(into.numbers[i]);
    // Items of the earlier change that are overwritten or fall away leave its table.
    if (items) {
        for (int32_t e = cs; e < ce; ++e) {
            if ((e >= ns && e < ne) || e >= end) {
                int32_t id = 0;
                if (CAudioParamData::idOf(old[(e - cs) * size], id)) into.ownData().removeItem(id);
            }
        }
    }
    into.clearOwnNumbers();
    for (int32_t e = start; e < end; ++e) {
        for (int32_t k = 0; k < size; ++k) {
            double v = 0.0;
            if (e >= ns && e < ne) {
                v = next.numbers[(e - ns) * size + k];
                if (items) {
                    int32_t id = 0;
                    const CAudioParamDataItem* item =
                        next.data && CAudioParamData::idOf(v, id) ? next.data->findItem(id) : nullptr;
                    v = item ? into.ownData().addCopy(*item) : 0.0;
                }
            } else {
                v = old[(e - cs) * size + k];
            }
            into.addNumber(v);
        }
    }
    into.start = start;
    into.count = end - start;
    into.tail = into.tail || next.tail;
    into.source = next.source;
    return true;
}

}  // namespace orl
