#include "Audio/Processes/CModNodeDef.h"

#include "Audio/Processes/CModNode.h"

namespace orl {

CAudioProcessBase* CModNodeDef::createProcess() const { return new CModNode(); }

}  // namespace orl
