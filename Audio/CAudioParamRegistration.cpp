#include "Audio/CAudioParamRegistration.h"

#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamSharedStorage.h"

namespace orl {

namespace {

// A declaration reads everything in init; no attribute has a handler.
const CCreatorRow kParamCreators[] = {
    {"audio:param", &createObjectOf<CAudioParamDef>, &CObject::fillDescriptors},
    {"audio:param-shared-storage", &createObjectOf<CAudioParamSharedStorage>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CAudioParamRegistration::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kParamCreators);
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_paramsRegistered = CAudioParamRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
