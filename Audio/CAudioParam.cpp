#include "Audio/CAudioParam.h"

#include "Audio/CAudioParamBatchList.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamChangeListener.h"
#include "Audio/CAudioParamChangeSink.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamEnumRegistry.h"
#include "Audio/CAudioParamFilterInput.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamUndoSink.h"
#include "Core/CError.h"

namespace orl {

namespace {

// Pointer lists that their owners change rarely: add keeps one entry per pointer.
template <class T>
void addOnce(CArray<T*>& list, T* p) {
    if (p && list.indexOf(p) < 0) list.add(p);
}

template <class T>
void removeFrom(CArray<T*>& list, T* p) {
    const int32_t at = list.indexOf(p);
    if (at >= 0) list.removeAt(at);
}

}  // namespace

CAudioParam::CAudioParam(const CString& name) : m_section(2000, true), m_name(name) {}

CAudioParam::~CAudioParam() = default;

bool CAudioParam::isStorable() const { return m_info && m_info->storable; }

bool CAudioParam::isPersistent() const { return m_info && m_info->persistent; }

void CAudioParam::addListener(CAudioParamChangeListener* listener, CAudioParamLockContext* lock) {
    CAudioParamLockContext ctx(*this, lock);
    addOnce(m_listeners, listener);
}

void CAudioParam::removeListener(CAudioParamChangeListener* listener, CAudioParamLockContext* lock) {
    CAudioParamLockContext ctx(*this, lock);
    removeFrom(m_listeners, listener);
}

void CAudioParam::addFilter(CAudioParamFilterInput* filter, CAudioParamLockContext* lock) {
    CAudioParamLockContext ctx(*this, lock);
    addOnce(m_filters, filter);
}

void CAudioParam::removeFilter(CAudioParamFilterInput* filter, CAudioParamLockContext* lock) {
    CAudioParamLockContext ctx(*this, lock);
    removeFrom(m_filters, filter);
}

// ---- allocation ----

void CAudioParam::allocate(const CAudioParamInfo& info, CAudioParamLockContext* lock) {
    CAudioParamLockContext ctx(*this, lock);
    if (m_info && m_info->name == info.name && m_info->elementSize == info.elementSize &&
        m_info->dataType == info.dataType && m_info->singleGroup == info.singleGroup &&
        m_info->singleElement == info.singleElement) {
        return;
    }
    m_info = &info;
    CAudioParamUndoContext undo;
    undo.applyNow = true;
    const CAudioParamStorage& defaults = info.defaultData;

    CAudioParamChange whole;
    whole.group = CAudioParamChange::kWholeParam;
    whole.elementSize = info.elementSize;
    whole.dataType = info.dataType;
    whole.singleGroup = info.singleGroup;
    whole.singleElement = info.singleElement;
    whole.count = defaults.defaultCount();
    whole.numbers = defaults.defaultNumbers().data();
    whole.data = &defaults.defaultData();
    m_defaults.apply(whole);
    change(whole, &ctx, undo);

    for (int32_t g = 0; g < defaults.groupCount(); ++g) {
        CAudioParamChange group;
        group.setLayoutOf(m_defaults);
        group.group = g;
        group.count = defaults.elementCount(g);
        group.tail = true;
        group.numbers = defaults.groupNumbers(g);
        group.data = &defaults.data();
        m_defaults.apply(group);
        change(group, &ctx, undo);
    }
}

// ---- values ----

double CAudioParam::getValue(int32_t group, int32_t element, double fallback) const {
    CAudioParamLockContext ctx(const_cast<CAudioParam&>(*this));
    return m_ui.getValue(group, element, fallback);
}

bool CAudioParam::getString(CString& out, int32_t group, int32_t element) const {
    CAudioParamLockContext ctx(const_cast<CAudioParam&>(*this));
    return m_ui.getText(group, element, out);
}

bool CAudioParam::setValue(double value, int32_t group, const void* source, CAudioParamLockContext* lock,
                           const CAudioParamUndoContext& undo) {
    CAudioParamLockContext ctx(*this, lock);
    if (!m_ui.isValid() || !m_ui.isNumeric()) return false;
    CAudioParamChange record;
    record.setTarget(m_ui, group, 0, 1, source);
    record.addNumber(value);
    for (int32_t i = 1; i < m_ui.elementSize(); ++i) record.addNumber(m_ui.getNumber(group, 0, i, 0.0));
    return change(record, &ctx, undo);
}

bool CAudioParam::setString(int32_t group, int32_t element, const CString& text, const void* source,
                            CAudioParamLockContext* lock, const CAudioParamUndoContext& undo) {
    CAudioParamLockContext ctx(*this, lock);
    if (!m_ui.isValid() || m_ui.dataType() != CAudioParamDataItem::kString) return false;
    CAudioParamChange record;
    record.setTarget(m_ui, group, element, 1, source);
    record.addNumber(record.ownData().addString(text));
    return change(record, &ctx, undo);
}

bool CAudioParam::setRaw(int32_t group, int32_t element, const void* bytes, uint32_t size, const void* source,
                         CAudioParamLockContext* lock, const CAudioParamUndoContext& undo) {
    CAudioParamLockContext ctx(*this, lock);
    if (!m_ui.isValid() || m_ui.dataType() != CAudioParamDataItem::kRaw) return false;
    CAudioParamChange record;
    record.setTarget(m_ui, group, element, 1, source);
    record.addNumber(record.ownData().addRaw(bytes, size));
    return change(record, &ctx, undo);
}

// ---- change ----

bool CAudioParam::change(const CAudioParamChange& record, CAudioParamLockContext* lock,
                         const CAudioParamUndoContext& undo) {
    CAudioParamLockContext ctx(*this, lock);
    if (record.group == CAudioParamChange::kWholeParam) {
        if (!CAudioParamStorage::isGoodLayout(record.elementSize, record.dataType)) return false;
    } else {
        // What the UI side would refuse is refused here, before anybody hears of it.
        if (!record.hasLayoutOf(m_ui) || record.start < 0 || record.count < 0) return false;
        if (record.count > 0 && !record.numbers) return false;
        const int32_t group = m_ui.isSingleGroup() ? 0 : record.group;
        if (group < 0 || group >= CAudioParamStorage::kMaxGroups) return false;
        if (record.start > CAudioParamStorage::kMaxElements - record.count) return false;
        if (!m_ui.isSingleElement() && record.start > m_ui.elementCount(group)) {
            return changePadded(record, group, ctx, undo);
        }
    }

    const bool undoable = undo.undoRecord && (isStorable() || isPersistent());
    if (undoable) undo.undoRecord->snapshotBefore(*this, record);
    m_ui.apply(record);
    if (undoable) undo.undoRecord->snapshotAfter(*this, record);

    if (undo.batch) {
        undo.batch->append(*this, record.clone());
    } else if (m_sink) {
        m_sink->postChange(*this, record, undo.applyNow);
    } else {
        // Without a sink nothing else would ever bring the change to the audio side.
        m_audio.apply(record);
    }

    if (m_enumRegistry) m_enumRegistry->onParamChanged(*this, record, ctx, undo);
    // Copies, so that a listener or filter may remove itself while it is called.
    if (!m_listeners.isEmpty()) {
        const CArray<CAudioParamChangeListener*> listeners = m_listeners;
        for (CAudioParamChangeListener* listener : listeners) {
            listener->onParamChanged(record.source, *this, record, ctx, undo);
        }
    }
    if (!m_filters.isEmpty()) {
        const CArray<CAudioParamFilterInput*> filters = m_filters;
        for (CAudioParamFilterInput* filter : filters) filter->feed(*this, record, ctx, undo);
    }
    return true;
}

bool CAudioParam::changePadded(const CAudioParamChange& record, int32_t group, CAudioParamLockContext& lock,
                               const CAudioParamUndoContext& undo) {
    CAudioParamChange padded;
    padded.setLayoutOf(m_ui);
    padded.group = group;
    padded.start = m_ui.elementCount(group);
    padded.count = record.start - padded.start + record.count;
    padded.tail = record.tail;
    padded.source = record.source;
    padded.clearOwnNumbers();
    for (int32_t e = padded.start; e < record.start; ++e) m_ui.copyDefaultTo(e, padded);
    const int32_t n = record.numberCount();
    for (int32_t i = 0; i < n; ++i) {
        if (m_ui.isNumeric()) {
            padded.addNumber(record.numbers[i]);
            continue;
        }
        int32_t id = 0;
        const CAudioParamDataItem* item =
            record.data && CAudioParamData::idOf(record.numbers[i], id) ? record.data->findItem(id) : nullptr;
        CAudioParamDataItem* copy = item ? item->clone() : CAudioParamDataItem::create(m_ui.dataType());
        padded.addNumber(padded.ownData().addItem(copy));
    }
    return change(padded, &lock, undo);
}

// ---- reset ----

bool CAudioParam::changeGroupTo(const CAudioParamStorage& from, int32_t fromGroup, int32_t group,
                                const void* source, CAudioParamLockContext& lock,
                                const CAudioParamUndoContext& undo) {
    CAudioParamChange record;
    record.setLayoutOf(m_ui);
    record.group = group;
    record.tail = true;
    record.source = source;
    record.count = from.elementCount(fromGroup);
    record.numbers = from.groupNumbers(fromGroup);
    record.data = &from.data();
    return change(record, &lock, undo);
}

bool CAudioParam::changeElement(int32_t group, int32_t element, const double* numbers, const CAudioParamData* data,
                                const void* source, CAudioParamLockContext& lock,
                                const CAudioParamUndoContext& undo) {
    CAudioParamChange record;
    record.setTarget(m_ui, group, element, 1, source);
    record.numbers = numbers;
    record.data = data;
    return change(record, &lock, undo);
}

void CAudioParam::reset(int32_t group, int32_t element, CAudioParamLockContext* lock,
                        const CAudioParamUndoContext& undo, bool useFirstElement) {
    CAudioParamLockContext ctx(*this, lock);
    if (!m_info || !m_ui.isValid()) return;
    if (group >= 0 && m_ui.isSingleGroup()) group = 0;
    if (group >= m_ui.groupCount()) return;

    if (group < 0) {
        const int32_t groups =
            m_ui.groupCount() > m_defaults.groupCount() ? m_ui.groupCount() : m_defaults.groupCount();
        for (int32_t g = 0; g < groups; ++g) changeGroupTo(m_defaults, g, g, nullptr, ctx, undo);
        return;
    }
    if (element < 0) {
        changeGroupTo(m_defaults, group, group, nullptr, ctx, undo);
        return;
    }
    if (m_ui.isSingleElement()) element = 0;
    // Missing elements before it come back one by one with their defaults.
    while (m_ui.elementCount(group) < element) {
        CAudioParamChange next;
        next.clearOwnNumbers();
        m_ui.copyDefaultTo(m_ui.elementCount(group), next);
        if (!changeElement(group, m_ui.elementCount(group), next.numbers, next.data, nullptr, ctx, undo)) return;
    }
    const int32_t fromGroup = useFirstElement ? 0 : group;
    const int32_t fromElement = useFirstElement ? 0 : element;
    CAudioParamChange value;
    value.clearOwnNumbers();
    if (fromGroup < m_defaults.groupCount() && fromElement < m_defaults.elementCount(fromGroup)) {
        m_defaults.copyElementTo(fromGroup, fromElement, value);
    } else {
        m_ui.copyDefaultTo(element, value);
    }
    changeElement(group, element, value.numbers, value.data, nullptr, ctx, undo);
}

// ---- stored form ----

CError* CAudioParam::save(COutputStream& out, int32_t group) const {
    CAudioParamLockContext ctx(const_cast<CAudioParam&>(*this));
    CError* err = m_ui.save(out, group);
    return err ? ORL_PASS(err, m_name) : nullptr;
}

CError* CAudioParam::load(CInputStream& in, int32_t group, const void* source, CAudioParamLockContext* lock,
                          const CAudioParamUndoContext& undo) {
    CAudioParamLockContext ctx(*this, lock);
    if (!m_ui.isValid()) {
        return ORL_ERROR(nullptr, m_name, "@orlstr_CAudioParam_load_NoDefinition Parameter '%1' has no definition.",
                         m_name);
    }
    CAudioParamStorage read;
    read.setLayout(m_ui.elementSize(), m_ui.dataType(), m_ui.isSingleGroup(), m_ui.isSingleElement());
    if (CError* err = read.load(in, -1)) return ORL_PASS(err, m_name);
    if (group >= 0) {
        changeGroupTo(read, 0, group, source, ctx, undo);
        return nullptr;
    }
    const int32_t groups = read.groupCount() > m_ui.groupCount() ? read.groupCount() : m_ui.groupCount();
    for (int32_t g = 0; g < groups; ++g) changeGroupTo(read, g, g, source, ctx, undo);
    return nullptr;
}

}  // namespace orl
