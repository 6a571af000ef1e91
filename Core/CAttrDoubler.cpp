#include "Core/CAttrDoubler.h"

#include "Core/CError.h"

namespace orl {

void CAttrDoubler::fillDescriptors(CClassDescriptors& descriptors) {
    CObject::fillDescriptors(descriptors);
    descriptors.attrHandlers[CString("value")] = &onValue;
}

CError* CAttrDoubler::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_targets.clear();
    CArray<CString> paths;
    getAttrString(CString("target")).split(u' ', true, true, paths);
    if (paths.count() == 0) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CAttrDoubler_init_NoTargets No target objects specified.");
    }
    for (const CString& path : paths) {
        CObject* target = findObject(path);
        if (!target) {
            return ORL_ERROR(nullptr, fullName(), "@orlstr_CAttrDoubler_init_TargetNotFound Target object '%1' not found.",
                             path);
        }
        m_targets.add(target);
    }
    return nullptr;
}

CError* CAttrDoubler::onValue(CObject* object, CAttrValue& value) {
    auto* self = static_cast<CAttrDoubler*>(object);
    const CString& attr = self->getAttrString(CString("attr"));
    const CString text = value.getString();
    for (CObject* target : self->m_targets) {
        if (CError* err = target->setAttr(attr, text, true)) return ORL_PASS(err, self->fullName());
    }
    return nullptr;
}

}  // namespace orl
