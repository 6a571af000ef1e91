#include "Audio/CAudioParamRegistration.h"

#include "Audio/CAudioCCTable.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamSharedStorage.h"

namespace orl {

namespace {

// Declarations and the host-visible parameters read everything in init; no attribute has a
// handler.
const CCreatorRow kParamCreators[] = {
    {"audio:param", &createObjectOf<CAudioParamDef>, &CObject::fillDescriptors},
    {"audio:param-shared-storage", &createObjectOf<CAudioParamSharedStorage>, &CObject::fillDescriptors},
    {"audio:ext-param", &createObjectOf<CAudioExtParam>, &CObject::fillDescriptors},
    {"audio:ext-param-list", &createObjectOf<CAudioExtParamList>, &CObject::fillDescriptors},
    {"audio:cctable", &createObjectOf<CAudioCCTable>, &CObject::fillDescriptors},
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
