#include "Audio/CAudioProcessLinkStateDef.h"

#include "Audio/CDefNameResolver.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioProcessLinkStateDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    const CString& base = parent() ? parent()->fullName() : CString::empty();
    m_localParamName = getAttrString(CString("param"));
    m_paramName = CDefNameResolver::resolve(base, m_localParamName);
    return nullptr;
}

}  // namespace orl
