#include "Audio/CAudioParamRemapDef.h"

#include "Core/CError.h"

namespace orl {

namespace {

bool isBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }

CString trimmed(const CString& s) {
    int32_t a = 0, b = s.length();
    while (a < b && isBlank(s.at(a))) ++a;
    while (b > a && isBlank(s.at(b - 1))) --b;
    return s.substring(a, b - a);
}

}  // namespace

CError* CAudioParamRemapDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    m_remaps.clear();
    const CString orig = trimmed(getAttrString(CString("orig")));
    const CString target = trimmed(getAttrString(CString("new")));
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
        const CString item = trimmed(raw);
        if (item.isEmpty()) continue;
        const int32_t eq = item.find(u'=');
        const CString orig = eq < 0 ? CString() : trimmed(item.substring(0, eq));
        const CString target = eq < 0 ? CString() : trimmed(item.substring(eq + 1));
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
