#include "Audio/Processes/CModStatsWaveModule.h"

#include <cmath>

#include "Other/CAudioVizDataMeter.h"

namespace orl {

void CModStatsWaveModule::resetState() {
    CVizFrameModule::resetState();
    m_maxAbs = 0.0;
    m_maxPositive = 0.0;
}

void CModStatsWaveModule::runChunk(int32_t offset, int32_t count) {
    const double* x = inputData(0) + offset;
    double maxAbs = m_maxAbs;
    double maxPositive = m_maxPositive;
    for (int32_t i = 0; i < count; ++i) {
        const double v = x[i];
        const double mag = std::fabs(v);
        if (mag > maxAbs) maxAbs = mag;
        if (v > maxPositive) maxPositive = v;
    }
    m_maxAbs = maxAbs;
    m_maxPositive = maxPositive;
}

void CModStatsWaveModule::fillRecord(CAudioVizDataMeter& record) {
    record.value1 = m_maxAbs;
    record.value2 = m_maxPositive;
    m_maxAbs = 0.0;
    m_maxPositive = 0.0;
}

}  // namespace orl
