#include "Core/CSharedAttribute.h"

#include "Core/CAppData.h"
#include "Core/CError.h"

namespace orl {

CSharedAttribute::CSharedAttribute() : m_listener(this, &CSharedAttribute::onStoreChanged) {}

CSharedAttribute::~CSharedAttribute() { m_listener.detach(); }

void CSharedAttribute::fillDescriptors(CClassDescriptors& descriptors) {
    CObject::fillDescriptors(descriptors);
    CEventEntry entry;
    entry.proc = &onUpdateEvent;
    descriptors.events[CString("update")] = entry;
}

CError* CSharedAttribute::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    const CString& storageType = getAttrString(CString("storage-type"));
    m_store = CAppData::byStorageType(storageType);
    if (!m_store) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CSharedAttribute_init_InvalidStorageType Invalid storage type \"%1\" specified.",
                         storageType);
    }
    m_attribute = getAttrString(CString("attribute"));
    if (m_attribute.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CSharedAttribute_init_NoAttribute No attached attribute name specified.");
    }
    m_dataName = getAttrString(CString("data-name"));
    if (m_dataName.isEmpty()) {
        const CString& full = fullName();
        m_dataName = full.substring(full.findLast(u'.') + 1);
    }
    m_listener.attach(m_store, m_store->getUpdateKey(m_dataName));
    if (CError* err = update()) return ORL_PASS(err, fullName());
    return nullptr;
}

CError* CSharedAttribute::update() {
    if (!m_store) return nullptr;
    CString value;
    if (!m_store->readString(m_dataName, value)) value = getAttrString(CString("def-value"));
    if (CError* err = setAttr(m_attribute, value, true)) return ORL_PASS(err, fullName());
    return nullptr;
}

void CSharedAttribute::onStoreChanged(const CUpdateNotifier::Notification& /*notification*/) {
    if (ownerBridge(nullptr)) {
        CAttrMap params;
        postEvent(this, fullName(), CString("update"), params);
        return;
    }
    if (CError* err = update()) {
        logError(err);
        deleteError(err);
    }
}

CError* CSharedAttribute::onUpdateEvent(CObject* object) { return static_cast<CSharedAttribute*>(object)->update(); }

}  // namespace orl
