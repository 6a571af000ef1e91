#include "Audio/Processes/CSignalModules.h"

#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Processes/CDetectorRegistration.h"
#include "Audio/Processes/CModPolyComp2Def.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

bool CSignalModules::registerAll() {
    const bool definitions = CAudioProcessDefBaseInit::ensureCreatorsRegistered();
    const bool detectors = CDetectorRegistration::ensureCreatorsRegistered();
    const bool compressor = CModPolyComp2Def::ensureCreatorsRegistered();
    return definitions && detectors && compressor && CRoutingModulesRegistration::ensureCreatorsRegistered();
}

}  // namespace orl
