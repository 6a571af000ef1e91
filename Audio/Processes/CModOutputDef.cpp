#include "Audio/Processes/CModOutputDef.h"

#include "Audio/Processes/CModOutput.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

CModOutputDef::CModOutputDef() { (void)CRoutingModulesRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModOutputDef::createProcess() const { return new CModOutput(); }

}  // namespace orl
