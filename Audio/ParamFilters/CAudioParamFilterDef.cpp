#include "Audio/ParamFilters/CAudioParamFilterDef.h"

#include "Audio/ParamFilters/CAudioParamFilter.h"
#include "Audio/ParamFilters/CParamFilterRegistration.h"
#include "Core/CError.h"

namespace orl {

namespace {

// The pieces between commas, trimmed, without empty ones.
void splitNames(const CString& text, CArray<CString>& out) {
    out.clear();
    CArray<CString> pieces;
    text.split(u',', false, true, pieces);
    for (const CString& piece : pieces) {
        const CString name = piece.trimmed();
        if (!name.isEmpty()) out.add(name);
    }
}

}  // namespace

CAudioParamFilterDef::CAudioParamFilterDef() {
    // The reference keeps the creator table in a static link of the library.
    (void)CParamFilterRegistration::ensureCreatorsRegistered();
}

CError* CAudioParamFilterDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    splitNames(getAttrString(CString("src")), m_srcNames);
    splitNames(getAttrString(CString("dst")), m_dstNames);
    if (m_srcNames.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamFilterDef_init_NoSrcParams No source parameters defined.");
    }
    if (m_dstNames.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioParamFilterDef_init_NoDstParams No destination parameters defined.");
    }
    return nullptr;
}

CAudioParamFilter* CAudioParamFilterDef::named(CAudioParamFilter* filter) const {
    filter->setName(fullName());
    return filter;
}

}  // namespace orl
