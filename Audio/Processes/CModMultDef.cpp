#include "Audio/Processes/CModMultDef.h"

#include "Audio/Processes/CModMult.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

CModMultDef::CModMultDef() { (void)CRoutingModulesRegistration::ensureCreatorsRegistered(); }

CError* CModMultDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return err;
    m_inverted = getAttrBool(CString("is-inverted"));
    m_division = getAttrBool(CString("is-division"));
    return nullptr;
}

CAudioProcessBase* CModMultDef::createProcess() const { return new CModMult(); }

}  // namespace orl
