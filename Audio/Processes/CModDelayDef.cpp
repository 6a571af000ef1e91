#include "Audio/Processes/CModDelayDef.h"

#include <cmath>

#include "Audio/Processes/CModDelay.h"
#include "Audio/Processes/CRoutingModulesRegistration.h"

namespace orl {

CModDelayDef::CModDelayDef() { (void)CRoutingModulesRegistration::ensureCreatorsRegistered(); }

CError* CModDelayDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return err;
    m_latencySeconds = getAttrBool(CString("is-latency-seconds"));
    m_latency = m_latencySeconds ? getAttrDouble(CString("latency"))
                                 : static_cast<double>(getAttrInt(CString("latency")));
    // A latency cannot run backwards in time.
    if (!(m_latency > 0.0)) m_latency = 0.0;
    m_latencyPositive = getAttrBool(CString("is-latency-positive"));
    return nullptr;
}

int32_t CModDelayDef::latencySamples(double sampleRate) const {
    if (!m_latencySeconds) return static_cast<int32_t>(m_latency);
    return static_cast<int32_t>(std::lround(m_latency * sampleRate));
}

CAudioProcessBase* CModDelayDef::createProcess() const { return new CModDelay(); }

}  // namespace orl
