#include "Audio/Processes/CModGainDef.h"

#include "Audio/Processes/CModGain.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

CModGainDef::CModGainDef() { (void)CRoutingModulesRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModGainDef::createProcess() const { return new CModGain(); }

}  // namespace orl
