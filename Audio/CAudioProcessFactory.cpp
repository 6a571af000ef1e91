#include "Audio/CAudioProcessFactory.h"

#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessStack.h"
#include "Core/CError.h"

namespace orl {

CAudioProcessBase* CAudioProcessDef::createProcess() const { return new CAudioProcess(); }

CAudioProcessBase* createProcessFromDef(const CAudioProcessDefBase* def, bool fromStack) {
    if (!def) return nullptr;
    if (def->isStacked() && !fromStack) return new CAudioProcessStack();
    return def->createProcess();
}

CError* makeProcess(CAudioProcessBase*& out, const CAudioProcessDefBase* def, bool fromStack, CAudioProcessBase* owner,
                    CSampleBufferPool* pool, CAudioParamHost* params, const CString& name, int32_t group,
                    int32_t element) {
    out = createProcessFromDef(def, fromStack);
    if (!out) return nullptr;
    out->setContext(owner, pool, params);
    out->setIdentity(name, def, group, element);
    if (!fromStack) out->instantiateParamSide();
    if (CError* err = out->init()) {
        delete out;
        out = nullptr;
        return err;
    }
    return nullptr;
}

}  // namespace orl
