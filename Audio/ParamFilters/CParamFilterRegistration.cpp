#include "Audio/ParamFilters/CParamFilterRegistration.h"

#include "Audio/ParamFilters/CAudioParamFilterDefBypassGroupSolo.h"
#include "Audio/ParamFilters/CAudioParamFilterDefBypassMS.h"
#include "Audio/ParamFilters/CAudioParamFilterDefBypassOS.h"
#include "Audio/ParamFilters/CAudioParamFilterDefInvert.h"
#include "Audio/ParamFilters/CAudioParamFilterDefSlope.h"

namespace orl {

namespace {

// The declarations read everything in init; no attribute has a handler.
const CCreatorRow kParamFilterCreators[] = {
    {"audio:param-filter-bypass-group-solo", &createObjectOf<CAudioParamFilterDefBypassGroupSolo>,
     &CObject::fillDescriptors},
    {"audio:param-filter-bypass-ms", &createObjectOf<CAudioParamFilterDefBypassMS>, &CObject::fillDescriptors},
    {"audio:param-filter-bypass-os", &createObjectOf<CAudioParamFilterDefBypassOS>, &CObject::fillDescriptors},
    {"audio:param-filter-invert", &createObjectOf<CAudioParamFilterDefInvert>, &CObject::fillDescriptors},
    {"audio:param-filter-slope", &createObjectOf<CAudioParamFilterDefSlope>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CParamFilterRegistration::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kParamFilterCreators);
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_paramFiltersRegistered = CParamFilterRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
