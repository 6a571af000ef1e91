#include "Audio/Processes/CModMeterDef.h"

#include "Audio/Processes/CModMeter.h"
#include "Audio/Processes/CVizModulesRegistration.h"

namespace orl {

CModMeterDef::CModMeterDef() { (void)CVizModulesRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModMeterDef::createProcess() const { return new CModMeter(); }

}  // namespace orl
