#include "Audio/Processes/CModLeveler.h"

#include "Audio/Processes/CDetectorRegistration.h"

namespace orl {

CModLevelerDef::CModLevelerDef() { (void)CDetectorRegistration::ensureCreatorsRegistered(); }

CAudioProcessBase* CModLevelerDef::createProcess() const { return new CModLeveler(); }

}  // namespace orl
