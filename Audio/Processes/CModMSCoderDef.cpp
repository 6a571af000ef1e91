#include "Audio/Processes/CModMSCoderDef.h"

#include "Audio/Processes/CModMSCoder.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

CModMSCoderDef::CModMSCoderDef() { (void)CRoutingModulesRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModMSCoderDef::createProcess() const { return new CModMSCoder(); }

}  // namespace orl
