#include "Audio/Processes/CRoutingModulesRegistration.h"

#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Processes/CModBypassDef.h"
#include "Audio/Processes/CModDelayDef.h"
#include "Audio/Processes/CModGainDef.h"
#include "Audio/Processes/CModMSCoderDef.h"
#include "Audio/Processes/CModMultDef.h"
#include "Audio/Processes/CModOutputDef.h"
#include "Audio/Processes/CModRouterDef.h"

namespace orl {

namespace {

// The definitions read everything in init; no attribute needs a handler as it is set.
// "audio:modNode" stands in the table of the definition classes, beside the links, because the
// link resolver depends on it; registering it here once more would be refused as a duplicate.
const CCreatorRow kRoutingCreators[] = {
    {"audio:modRouter", &createObjectOf<CModRouterDef>, &CObject::fillDescriptors},
    {"audio:modMSCoder", &createObjectOf<CModMSCoderDef>, &CObject::fillDescriptors},
    {"audio:modDelay", &createObjectOf<CModDelayDef>, &CObject::fillDescriptors},
    {"audio:modMult", &createObjectOf<CModMultDef>, &CObject::fillDescriptors},
    {"audio:modGain", &createObjectOf<CModGainDef>, &CObject::fillDescriptors},
    {"audio:modBypass", &createObjectOf<CModBypassDef>, &CObject::fillDescriptors},
    {"audio:modOutput", &createObjectOf<CModOutputDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CRoutingModulesRegistration::ensureCreatorsRegistered() {
    static const bool registered =
        registerCreatorTable(kRoutingCreators) && CAudioProcessDefBaseInit::ensureCreatorsRegistered();
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_routingModulesRegistered = CRoutingModulesRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
