#include "Audio/Processes/CVizModulesRegistration.h"

#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Processes/CModMeterDef.h"
#include "Audio/Processes/CModStatsWaveDef.h"
#include "Other/CAudioVizCollector.h"
#include "Other/CVizExchange.h"

namespace orl {

namespace {

const CCreatorRow kVizCreators[] = {
    {"audio:modMeter", &createObjectOf<CModMeterDef>, &CObject::fillDescriptors},
    {"audio:modStatsWave", &createObjectOf<CModStatsWaveDef>, &CObject::fillDescriptors},
    {"audio:viz-collector", &createObjectOf<CAudioVizCollector>, &CObject::fillDescriptors},
    {"ui:viz-exchange", &createObjectOf<CVizExchange>, &CVizExchange::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CVizModulesRegistration::ensureCreatorsRegistered() {
    static const bool registered =
        registerCreatorTable(kVizCreators) && CAudioProcessDefBaseInit::ensureCreatorsRegistered();
    return registered;
}

namespace {
[[maybe_unused]] const bool g_vizModulesRegistered = CVizModulesRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
