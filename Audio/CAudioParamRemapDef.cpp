#include "Audio/CAudioParamRemapDef.h"

#include "Core/CError.h"

namespace orl {

CError* CAudioParamRemapDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_remaps.clear();
    const CString orig = getAttrString(CString("orig")).trimmed();
    const CString target = getAttrString(CString("new")).trimmed();
    if (orig.isEmpty() && target.isEmpty()) return nullptr;  // the list comes with the children
    if (orig.isEmpty() || target.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamRemapDef_init_InvalidRemap Invalid remapping string '%1' defined.",
                         orig + "=" + target);
    }
    m_remaps.add(CRemap{orig, target});
    return nullptr;
}

CError* CAudioParamRemapDef::initChilds() {
    if (CError* err = CObject::initChilds()) return ORL_PASS(err, fullName());
    if (!m_remaps.isEmpty()) return nullptr;
    const CObject* content = nullptr;
    for (int32_t i = 0; i < childCount() && !content; ++i) {
        if (child(i)->baseName() == "content") content = child(i);
    }
    CArray<CString> items;
    if (content) content->getAttrString(CString("value")).split(u';', false, true, items);
    for (const CString& raw : items) {
        const CString item = raw.trimmed();
        if (item.isEmpty()) continue;
        const int32_t eq = item.find(u'=');
        const CString orig = eq < 0 ? CString() : item.substring(0, eq).trimmed();
        const CString target = eq < 0 ? CString() : item.substring(eq + 1).trimmed();
        if (orig.isEmpty() || target.isEmpty()) {
            m_remaps.clear();
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CAudioParamRemapDef_init_InvalidRemap Invalid remapping string '%1' defined.",
                             item);
        }
        m_remaps.add(CRemap{orig, target});
    }
    if (m_remaps.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CAudioParamRemapDef_init_NoRemapsDefined No remappings defined.");
    }
    return nullptr;
}

}  // namespace orl
