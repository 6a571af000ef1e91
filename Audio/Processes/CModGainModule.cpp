#include "Audio/Processes/CModGainModule.h"

#include <cmath>

#include "Audio/Processes/CSimpleModuleKernel.h"

namespace orl {

void CModGainModule::update() {
    m_muted = paramValue(kMute, 0.0) >= 0.5;
    const double sign = paramValue(kPhaseInvert, 0.0) >= 0.5 ? -1.0 : 1.0;
    m_factor = m_muted ? 0.0 : paramValue(kGain, 1.0) * sign;
    m_idle = std::fabs(m_factor - 1.0) <= kEps * (std::fabs(m_factor) + 1.0);
}

void CModGainModule::process() {
    if (m_inputCount == 0) return;
    if (m_idle) {
        passInput(0, 0);
    } else if (m_muted) {
        m_noise.fill(outputData(0), m_sampleCount);
    } else {
        CSimpleModuleKernel::get().scale(outputData(0), inputData(0), m_factor, m_sampleCount);
    }
}

}  // namespace orl
