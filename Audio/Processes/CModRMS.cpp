#include "Audio/Processes/CModRMS.h"

#include "Audio/Processes/CDetectorRegistration.h"

namespace orl {

CModRMSDef::CModRMSDef() { (void)CDetectorRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModRMSDef::createProcess() const { return new CModRMS(); }

}  // namespace orl
