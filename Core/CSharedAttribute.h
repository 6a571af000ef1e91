#pragma once
#include "Core/CObject.h"
#include "Core/COwnedUpdateListener.h"

namespace orl {

class CAppData;

// `core:shared-attribute`: one attribute of this object kept in step with a stored string datum,
// so that a setting follows every instance of the product in the process. Attributes:
// `storage-type` ("local", "group" or "global"), `attribute` (the name of the attribute that holds
// the value), `data-name` (the datum; by default the object's own name), `def-value` (the value
// while no datum exists).
//
// A write of the datum, from any thread, reaches the object as its event `update` on the thread
// that owns it. In a tree that no thread owns (no event bridge), the update runs on the writer's
// thread; a handler of the attribute must then not write the same datum.
class CSharedAttribute : public CObject {
public:
    CSharedAttribute();
    ~CSharedAttribute() override;

    CError* init() override;
    static void fillDescriptors(CClassDescriptors& descriptors);

    // Reads the datum, or takes def-value without one, into the attribute.
    CError* update();

    CAppData* store() const { return m_store; }
    const CString& dataName() const { return m_dataName; }

private:
    void onStoreChanged(const CUpdateNotifier::Notification& notification);
    static CError* onUpdateEvent(CObject* object);

    COwnedUpdateListener<CSharedAttribute> m_listener;
    CAppData* m_store = nullptr;
    CString m_attribute;
    CString m_dataName;
};

}  // namespace orl
