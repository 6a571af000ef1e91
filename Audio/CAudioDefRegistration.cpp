#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioProcessBypassStateDef.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessLinkDef.h"
#include "Audio/CAudioProcessLinkStateDef.h"
#include "Audio/ParamFilters/CParamFilterRegistration.h"
#include "Audio/Processes/CModNode.h"

namespace orl {

namespace {

// The definition classes react to no attribute as it is set: they read everything in init.
const CCreatorRow kAudioDefCreators[] = {
    {"audio:process-def", &createObjectOf<CAudioProcessDef>, &CObject::fillDescriptors},
    {"audio:process-link", &createObjectOf<CAudioProcessLinkDef>, &CObject::fillDescriptors},
    {"audio:process-link-state", &createObjectOf<CAudioProcessLinkStateDef>, &CObject::fillDescriptors},
    {"audio:process-bypass-state", &createObjectOf<CAudioProcessBypassStateDef>, &CObject::fillDescriptors},
    {"audio:param-alloc", &createObjectOf<CAudioParamAllocDef>, &CObject::fillDescriptors},
    {"audio:param-remap", &createObjectOf<CAudioParamRemapDef>, &CObject::fillDescriptors},
    // The run-time objects of an instance that the graph depends on.
    {"audio:env", &createObjectOf<CAudioEnv>, &CObject::fillDescriptors},
    {"audio:param-collector", &createObjectOf<CAudioParamCollector>, &CObject::fillDescriptors},
    {"audio:modNode", &createObjectOf<CModNodeDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CAudioProcessDefBaseInit::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kAudioDefCreators);
    // A process definition's parameter side uses these tags too: referring to them here keeps
    // their tables in a static link.
    const bool params = CAudioParamRegistration::ensureCreatorsRegistered();
    return registered && params && CParamFilterRegistration::ensureCreatorsRegistered();
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_audioDefsRegistered = CAudioProcessDefBaseInit::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
