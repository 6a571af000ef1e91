#include "Audio/CAudioUndoParamEntry.h"

#include "Audio/CAudioUndoGroupSnapshot.h"

namespace orl {

CAudioUndoParamEntry::CAudioUndoParamEntry(const CAudioUndoParamEntry& other) : m_told(other.m_told) {
    m_snapshots.reserve(other.m_snapshots.count());
    for (const CAudioUndoGroupSnapshot* s : other.m_snapshots) m_snapshots.add(new CAudioUndoGroupSnapshot(*s));
}

CAudioUndoParamEntry::~CAudioUndoParamEntry() {
    for (CAudioUndoGroupSnapshot* s : m_snapshots) delete s;
}

CAudioUndoGroupSnapshot* CAudioUndoParamEntry::findSnapshot(int32_t group) const {
    for (CAudioUndoGroupSnapshot* s : m_snapshots) {
        if (s->group() == group) return s;
    }
    return nullptr;
}

CAudioUndoGroupSnapshot* CAudioUndoParamEntry::addSnapshot() {
    CAudioUndoGroupSnapshot* s = new CAudioUndoGroupSnapshot();
    m_snapshots.add(s);
    return s;
}

}  // namespace orl
