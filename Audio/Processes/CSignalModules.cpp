#include "Audio/Processes/CSignalModules.h"

#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Filters/CAudioFilterRegistration.h"
#include "Audio/Filters/CFIRFilterRegistration.h"
#include "Audio/Processes/CDetectorRegistration.h"
#include "Audio/Processes/CModFilterIIRDef.h"
#include "Audio/Processes/CModPolyComp2Def.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

bool CSignalModules::registerAll() {
    const bool definitions = CAudioProcessDefBaseInit::ensureCreatorsRegistered();
    const bool detectors = CDetectorRegistration::ensureCreatorsRegistered();
    const bool compressor = CModPolyComp2Def::ensureCreatorsRegistered();
    const bool filters = CAudioFilterRegistration::ensureCreatorsRegistered() &&
                         CFIRFilterRegistration::ensureCreatorsRegistered() &&
                         CModFilterIIRDef::ensureCreatorsRegistered();
    return definitions && detectors && compressor && filters &&
           CRoutingModulesRegistration::ensureCreatorsRegistered();
}

}  // namespace orl
