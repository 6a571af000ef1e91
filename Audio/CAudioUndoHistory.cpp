#include "Audio/CAudioUndoHistory.h"

#include "Audio/CAudioUndoRecord.h"

namespace orl {

CAudioUndoHistory::~CAudioUndoHistory() { clear(); }

CAudioUndoHistory* CAudioUndoHistory::clone() const {
    CAudioUndoHistory* copy = new CAudioUndoHistory();
    copy->m_records.reserve(m_records.count());
    for (const CAudioUndoRecord* r : m_records) copy->m_records.add(r->clone());
    copy->m_position = m_position;
    return copy;
}

void CAudioUndoHistory::setPosition(int32_t position) {
    m_position = position < 0 ? 0 : (position > m_records.count() ? m_records.count() : position);
}

void CAudioUndoHistory::append(CAudioUndoRecord* record) {
    if (record) m_records.add(record);
}

void CAudioUndoHistory::removeFrom(int32_t index) {
    if (index < 0) index = 0;
    while (m_records.count() > index) {
        delete m_records.last();
        m_records.removeLast();
    }
    setPosition(m_position);
}

void CAudioUndoHistory::removeFirst() {
    if (m_records.isEmpty()) return;
    delete m_records[0];
    m_records.removeAt(0);
    if (m_position > 0) --m_position;
}

void CAudioUndoHistory::clear() {
    removeFrom(0);
    m_position = 0;
}

}  // namespace orl
