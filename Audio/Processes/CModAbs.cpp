#include "Audio/Processes/CModAbs.h"

#include "Audio/Processes/CDetectorRegistration.h"

namespace orl {

CModAbsDef::CModAbsDef() { (void)CDetectorRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModAbsDef::createProcess() const { return new CModAbs(); }

}  // namespace orl
