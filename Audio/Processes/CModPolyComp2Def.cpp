#include "Audio/Processes/CModPolyComp2Def.h"

#include "Audio/Processes/CModPolyComp2.h"

namespace orl {

CModPolyComp2Def::CModPolyComp2Def() { (void)ensureCreatorsRegistered(); }

CAudioProcessBase* CModPolyComp2Def::createProcess() const { return new CModPolyComp2(); }

}  // namespace orl
