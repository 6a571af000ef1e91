#include "Audio/Processes/CSignalModules.h"

#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Filters/CAudioFilterRegistration.h"
#include "Audio/Filters/CFFTPlanCache.h"
#include "Audio/Filters/CFIRFilterRegistration.h"
#include "Audio/Processes/CDetectorRegistration.h"
#include "Audio/Processes/CModFilterFIRDef.h"
#include "Audio/Processes/CModFilterIIRDef.h"
#include "Audio/Processes/CModLatencyUniformerDef.h"
#include "Audio/Processes/CModPolyComp2Def.h"
#include "Audio/Processes/COversamplingRegistration.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"
#include "Audio/Processes/CVizModulesRegistration.h"
#include "Other/CInterfaceRegistration.h"

namespace orl {

bool CSignalModules::registerAll() {
    // The FFT plans are made here, at load, so no audio thread ever runs the planner.
    CFFTPlanCache::prepare();
    const bool definitions = CAudioProcessDefBaseInit::ensureCreatorsRegistered();
    const bool detectors = CDetectorRegistration::ensureCreatorsRegistered();
    const bool compressor = CModPolyComp2Def::ensureCreatorsRegistered();
    const bool filters = CAudioFilterRegistration::ensureCreatorsRegistered() &&
                         CFIRFilterRegistration::ensureCreatorsRegistered() &&
                         CModFilterIIRDef::ensureCreatorsRegistered() &&
                         CModFilterFIRDef::ensureCreatorsRegistered();
    return definitions && detectors && compressor && filters &&
           CRoutingModulesRegistration::ensureCreatorsRegistered() &&
           COversamplingRegistration::ensureCreatorsRegistered() &&
           CModLatencyUniformerDef::ensureCreatorsRegistered() &&
           CVizModulesRegistration::ensureCreatorsRegistered() &&
           CInterfaceRegistration::ensureCreatorsRegistered();
}

}  // namespace orl
