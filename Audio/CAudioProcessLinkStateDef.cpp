#include "Audio/CAudioProcessLinkStateDef.h"

#include "Audio/CDefNameResolver.h"
#include "Core/CError.h"

namespace orl {

CError* CAudioProcessLinkStateDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    const CString& base = parent() ? parent()->fullName() : CString::empty();
    m_paramName = CDefNameResolver::resolve(base, getAttrString(CString("param")));
    return nullptr;
}

}  // namespace orl
