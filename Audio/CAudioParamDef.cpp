#include "Audio/CAudioParamDef.h"

#include "Audio/CAudioParamRegistration.h"
#include "Core/CError.h"

namespace orl {

CAudioParamDef::CAudioParamDef() {
    // The reference keeps the creator table in a static link of the library.
    (void)CAudioParamRegistration::ensureCreatorsRegistered();
}

CError* CAudioParamDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    if (CError* err = m_info.fillFromNode(*this, *this, CString(kConverterBase))) return ORL_PASS(err, fullName());
    return nullptr;
}

}  // namespace orl
