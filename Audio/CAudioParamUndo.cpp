#include "Audio/CAudioParamUndo.h"

#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioUndoHistory.h"
#include "Audio/CAudioUndoRecord.h"
#include "Core/CError.h"

namespace orl {

// Recursive: a handler of onUndoHistoryChanged may read the list back on the same thread.
CAudioParamUndo::CAudioParamUndo() : m_historyLock(2000, true) {}

CAudioParamUndo::~CAudioParamUndo() { delete m_history; }

CError* CAudioParamUndo::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    if (hasAttr(CString("param-collector"))) {
        CAudioParamCollector* collector = nullptr;
        if (CError* err = findObjectByAttr(CString("param-collector"), collector)) return ORL_PASS(err, fullName());
        setCollector(collector);
    }
    if (hasAttr(CString("undo-count-max"))) setMaxCount(getAttrInt(CString("undo-count-max")));
    return nullptr;
}

void CAudioParamUndo::onUndoHistoryChanged() {}

void CAudioParamUndo::setCollector(CAudioParamCollector* collector) {
    CCriticalSectionLock hold(m_historyLock);
    m_collector = collector;
}

CAudioParamCollector* CAudioParamUndo::collector() const {
    CCriticalSectionLock hold(m_historyLock);
    return m_collector;
}

void CAudioParamUndo::setMaxCount(int32_t maxCount) {
    CCriticalSectionLock hold(m_historyLock);
    m_maxCount = maxCount < 1 ? 1 : maxCount;
}

int32_t CAudioParamUndo::maxCount() const {
    CCriticalSectionLock hold(m_historyLock);
    return m_maxCount;
}

CAudioUndoRecord* CAudioParamUndo::createRecord(const CString& name, bool coalesce, int32_t coalesceId) {
    return new CAudioUndoRecord(name, coalesce, coalesceId);
}

void CAudioParamUndo::submit(CAudioUndoRecord* record) {
    if (!record) return;
    CCriticalSectionLock hold(m_historyLock);
    if (record->snapshotCount() == 0) {
        delete record;
        return;
    }
    if (!m_history) m_history = new CAudioUndoHistory();

    const int32_t position = m_history->position();
    if (position > 0 && record->isCoalesce()) {
        CAudioUndoRecord* previous = m_history->record(position - 1);
        if (previous->isCoalesce() && previous->coalesceId() == record->coalesceId() &&
            previous->canMergeWith(*record)) {
            // The earlier step now spans both; the list and the position stay as they were.
            previous->takeAfterFrom(*record);
            delete record;
            return;
        }
    }

    m_history->removeFrom(position);
    while (m_history->count() >= m_maxCount) m_history->removeFirst();
    m_history->append(record);
    m_history->setPosition(m_history->count());
    onUndoHistoryChanged();
}

void CAudioParamUndo::getHistoryNames(CArray<CString>& out, int32_t& outPosition) {
    CCriticalSectionLock hold(m_historyLock);
    out.clear();
    out.add(CString("Undo history start"));
    outPosition = 0;
    if (!m_history) return;
    for (int32_t i = 0; i < m_history->count(); ++i) out.add(m_history->record(i)->name());
    outPosition = m_history->position();
}

void CAudioParamUndo::setPosition(int32_t position, bool notify) {
    CCriticalSectionLock hold(m_historyLock);
    const int32_t count = m_history ? m_history->count() : 0;
    if (position < 0 || position > count || !m_history || position == m_history->position()) return;

    // Without a collector the records can't reach the parameters; the position then only moves.
    CAudioParamCollector* collector = m_collector;
    if (collector) collector->holdHostNotifications();
    int32_t at = m_history->position();
    while (at < position) {
        if (collector) m_history->record(at)->apply(*collector, true);
        ++at;
    }
    while (at > position) {
        --at;
        if (collector) m_history->record(at)->apply(*collector, false);
    }
    m_history->setPosition(at);
    if (collector) collector->releaseHostNotifications();
    if (notify) onUndoHistoryChanged();
}

int32_t CAudioParamUndo::position() {
    CCriticalSectionLock hold(m_historyLock);
    return m_history ? m_history->position() : 0;
}

int32_t CAudioParamUndo::count() {
    CCriticalSectionLock hold(m_historyLock);
    return m_history ? m_history->count() : 0;
}

void CAudioParamUndo::exchangeHistory(CAudioUndoHistory*& outOld, CAudioUndoHistory*& inNew) {
    CCriticalSectionLock hold(m_historyLock);
    CAudioUndoHistory* incoming = inNew;
    inNew = nullptr;
    if (outOld != incoming && outOld != m_history) delete outOld;
    outOld = m_history;
    m_history = incoming;
    onUndoHistoryChanged();
}

CAudioUndoHistory* CAudioParamUndo::cloneHistory() const {
    CCriticalSectionLock hold(m_historyLock);
    return m_history ? m_history->clone() : nullptr;
}

void CAudioParamUndo::clearHistory() {
    CCriticalSectionLock hold(m_historyLock);
    if (!m_history) return;
    delete m_history;
    m_history = nullptr;
    onUndoHistoryChanged();
}

}  // namespace orl
