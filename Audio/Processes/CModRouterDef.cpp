#include "Audio/Processes/CModRouterDef.h"

#include "Audio/Processes/CModRouter.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

CModRouterDef::CModRouterDef() { (void)CRoutingModulesRegistration::ensureCreatorsRegistered(); }

CError* CModRouterDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return err;
    m_output = getAttrBool(CString("is-output"));
    m_channelCountsParam = getAttrString(CString("channel-counts-param"));
    return nullptr;
}

CAudioProcessBase* CModRouterDef::createProcess() const { return new CModRouter(); }

}  // namespace orl
