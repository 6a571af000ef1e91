#include "Other/CInterfaceRegistration.h"

#include "Core/CTimerQueued.h"
#include "Other/CAudioInterfaceBase.h"
#include "Other/CAudioInterfaceClient.h"
#include "Other/CParamInterfaceBaseConnector.h"
#include "Other/CParamInterfaceClientConnector.h"

namespace orl {

namespace {

const CCreatorRow kInterfaceCreators[] = {
    {"other:param-interface-base-connector-uni", &createObjectOf<CParamInterfaceBaseConnectorUni>,
     &CObject::fillDescriptors},
    {"other:param-interface-client-connector-uni", &createObjectOf<CParamInterfaceClientConnectorUni>,
     &CParamInterfaceClientConnectorUni::fillDescriptors},
    {"audio:interface-base", &createObjectOf<CAudioInterfaceBase>, &CAudioInterfaceBase::fillDescriptors},
    {"audio:interface-client", &createObjectOf<CAudioInterfaceClient>, &CAudioInterfaceClient::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CInterfaceRegistration::ensureCreatorsRegistered() {
    // The client connector makes a timer of its own.
    static const bool registered = registerCreatorTable(kInterfaceCreators) && CTimerQueued::ensureCreatorsRegistered();
    return registered;
}

namespace {
[[maybe_unused]] const bool g_interfaceRegistered = CInterfaceRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
