#include "Audio/CAudioProcessFactory.h"

#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessStack.h"

namespace orl {

CAudioProcessBase* CAudioProcessDef::createProcess() const { return new CAudioProcess(); }

CAudioProcessBase* createProcessFromDef(const CAudioProcessDefBase* def, bool fromStack) {
    if (!def) return nullptr;
    if (def->isStacked() && !fromStack) return new CAudioProcessStack();
    return def->createProcess();
}

}  // namespace orl
