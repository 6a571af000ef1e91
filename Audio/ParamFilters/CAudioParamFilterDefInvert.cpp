#include "Audio/ParamFilters/CAudioParamFilterDefInvert.h"

#include "Audio/ParamFilters/CAudioParamFilterInvert.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioParamFilterDefInvert::init() {
    if (CError* err = CAudioParamFilterDef::init()) return ORL_PASS(err, fullName());
    m_isDivision = getAttrBool(CString("is-division"));
    return nullptr;
}

CAudioParamFilter* CAudioParamFilterDefInvert::createFilter() const {
    return named(new CAudioParamFilterInvert(m_isDivision));
}

}  // namespace orl
