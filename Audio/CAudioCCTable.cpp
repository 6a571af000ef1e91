#include "Audio/CAudioCCTable.h"

#include "Audio/CAudioExtParam.h"
#include "Core/CAppData.h"
#include "Core/CAppDataLocal.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"

namespace orl {

CAudioCCTable::CAudioCCTable() : m_listener(this, &CAudioCCTable::onStoreChanged) {}

CAudioCCTable::~CAudioCCTable() { m_listener.detach(); }

CError* CAudioCCTable::initChilds() {
    if (CError* err = CObject::initChilds()) return ORL_PASS(err, fullName());
    CAppDataLocal& store = CAppDataLocal::instance();
    m_listener.attach(&store, store.getUpdateKey(CString("ccmap")));
    load();
    return nullptr;
}

void CAudioCCTable::onStoreChanged(const CUpdateNotifier::Notification& /*notification*/) { load(); }

void CAudioCCTable::load() {
    CCriticalSectionLock hold(m_lock);
    for (CAudioExtParam*& entry : m_entries) entry = nullptr;
    CByteBuffer bytes;
    CAppDataLocal::instance().read(CString("ccmap"), bytes, CAppData::kTypeData);
    if (bytes.isEmpty()) return;
    CMemoryReader in(bytes.data(), bytes.size());
    uint32_t count = 0;
    CError* err = in.readUInt32(count);
    for (uint32_t i = 0; !err && i < count; ++i) {
        uint32_t controller = 0;
        CString path;
        err = in.readUInt32(controller);
        if (!err) err = in.readString(path);
        if (err || controller >= kControllerCount) continue;
        // Paths name objects below the table.
        const CString relative = path.startsWith(".") || path.startsWith("^") ? path : CString(".") + path;
        m_entries[controller] = dynamic_cast<CAudioExtParam*>(findObject(relative));
    }
    // A damaged datum keeps what was read before the damage; nobody is told.
    deleteError(err);
}

CAudioExtParam* CAudioCCTable::find(int32_t controller) {
    if (controller < 0 || controller >= kControllerCount) return nullptr;
    CCriticalSectionLock hold(m_lock);
    return m_entries[controller];
}

}  // namespace orl
