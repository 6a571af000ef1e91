#include "Audio/CAudioParamAllocDef.h"

#include "Core/CError.h"

namespace orl {

CError* CAudioParamAllocDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());

    m_paramName = getAttrString(CString("param-name"));
    if (m_paramName.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamAllocDef_init_InvalidParamName Invalid parameter name specified.");
    }
    int32_t start = 0;
    for (int32_t i = 0; i < m_paramName.length(); ++i) {
        const char16_t c = m_paramName.at(i);
        if (c == u'.' || c == u'^' || c == u'/' || c == u':') start = i + 1;
    }
    m_localName = m_paramName.substring(start);
    // A missing index is slot 0; text that is no integer or a negative slot is refused.
    const CString& indexText = getAttrString(CString("index"));
    int32_t index = 0;
    if (!indexText.isEmpty() && (!indexText.toInt(index) || index < 0)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamAllocDef_init_InvalidIndex Invalid parameter's '%1' index '%2' specified.",
                         m_paramName, indexText);
    }
    m_index = index;
    m_smoothUpdate = getAttrBool(CString("is-smooth-update"));
    m_allGroups = getAttrBool(CString("use-all-groups"));
    m_allElements = getAttrBool(CString("use-all-elements"));
    return nullptr;
}

}  // namespace orl
