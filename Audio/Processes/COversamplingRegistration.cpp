#include "Audio/Processes/COversamplingRegistration.h"

#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Processes/CModDecimatorDef.h"
#include "Audio/Processes/CModInterpolatorDef.h"
#include "Audio/Processes/CModProcessSwitchDef.h"
#include "Audio/Processes/CModResamplerDef.h"

namespace orl {

namespace {

const CCreatorRow kOversamplingCreators[] = {
    {"audio:modResampler", &createObjectOf<CModResamplerDef>, &CObject::fillDescriptors},
    {"audio:modInterpolator", &createObjectOf<CModInterpolatorDef>, &CObject::fillDescriptors},
    {"audio:modDecimator", &createObjectOf<CModDecimatorDef>, &CObject::fillDescriptors},
    {"audio:modProcessSwitch", &createObjectOf<CModProcessSwitchDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool COversamplingRegistration::ensureCreatorsRegistered() {
    static const bool registered =
        registerCreatorTable(kOversamplingCreators) && CAudioProcessDefBaseInit::ensureCreatorsRegistered();
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_oversamplingRegistered = COversamplingRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
