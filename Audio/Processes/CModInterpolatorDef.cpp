#include "Audio/Processes/CModInterpolatorDef.h"

#include "Audio/Processes/CModInterpolator.h"
#include "Audio/Processes/COversamplingRegistration.h"

namespace orl {

CModInterpolatorDef::CModInterpolatorDef() { (void)COversamplingRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModInterpolatorDef::createProcess() const { return new CModInterpolator(); }

}  // namespace orl
