#include "Audio/Processes/CModDecimatorDef.h"

#include "Audio/Processes/CModDecimator.h"
#include "Audio/Processes/COversamplingRegistration.h"

namespace orl {

CModDecimatorDef::CModDecimatorDef() { (void)COversamplingRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModDecimatorDef::createProcess() const { return new CModDecimator(); }

}  // namespace orl
