#include "Audio/ParamFilters/CAudioParamFilterDef.h"

#include "Audio/ParamFilters/CAudioParamFilter.h"
#include "Audio/ParamFilters/CParamFilterRegistration.h"
#include "Core/CError.h"

namespace orl {

namespace {

bool isBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }

// The pieces between commas, trimmed, without empty ones.
void splitNames(const CString& text, CArray<CString>& out) {
    out.clear();
    CArray<CString> pieces;
    text.split(u',', false, true, pieces);
    for (const CString& piece : pieces) {
        int32_t start = 0;
        int32_t end = piece.length();
        while (start < end && isBlank(piece.at(start))) ++start;
        while (end > start && isBlank(piece.at(end - 1))) --end;
        if (end > start) out.add(piece.substring(start, end - start));
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
