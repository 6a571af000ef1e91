#include "Audio/Processes/CModBypassDef.h"

#include "Audio/Processes/CModBypass.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

CModBypassDef::CModBypassDef() { (void)CRoutingModulesRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModBypassDef::createProcess() const { return new CModBypass(); }

}  // namespace orl
