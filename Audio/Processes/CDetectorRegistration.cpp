#include "Audio/Processes/CDetectorRegistration.h"

#include "Audio/Processes/CModAbs.h"
#include "Audio/Processes/CModLeveler.h"
#include "Audio/Processes/CModRMS.h"

namespace orl {

namespace {

// The definitions read everything in init; no attribute needs a handler as it is set.
const CCreatorRow kDetectorCreators[] = {
    {"audio:modAbs", &createObjectOf<CModAbsDef>, &CObject::fillDescriptors},
    {"audio:modLeveler", &createObjectOf<CModLevelerDef>, &CObject::fillDescriptors},
    {"audio:modRMS", &createObjectOf<CModRMSDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CDetectorRegistration::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kDetectorCreators);
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_detectorsRegistered = CDetectorRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
