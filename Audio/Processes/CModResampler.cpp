#include "Audio/Processes/CModResampler.h"

#include <cmath>

#include "Audio/CAudioParamReader.h"
#include "Audio/Processes/CModResamplerDef.h"

namespace orl {

int32_t CModResampler::stagesFor(double mode, double hostMode) {
    const int32_t m = static_cast<int32_t>(roundParam(mode));
    const int32_t h = static_cast<int32_t>(roundParam(hostMode));
    int32_t e = m != 0 && h >= 0 ? m - 1 : std::abs(h);
    if (e < 0) e = 0;
    return e > kMaxStages ? kMaxStages : e;
}

void CModResampler::updateNode() {
    const CAudioParamReader* mode = namedParam("mode");
    const CAudioParamReader* hostMode = namedParam("host-mode");
    const int32_t want = stagesFor(mode ? mode->pick(m_group, m_element) : 1.0,
                                   hostMode ? hostMode->pick(m_group, m_element) : 0.0);
    while (m_stages < want) {
        if (!addStage()) break;
    }
    while (m_stages > want) removeStage();
}

bool CModResampler::addStage() {
    const auto* def = dynamic_cast<const CModResamplerDef*>(m_def);
    if (!def) return false;
    const int32_t i = m_stages;
    const CAudioProcessDefBase* rate = def->rateChanger();
    const CAudioProcessDefBase* filter = i == 0 ? def->steepFilter() : def->softFilter();
    if (!rate || !filter) return false;
    const CString number = CString::fromInt(i);
    CString rateName(def->isUpsampler() ? "modInterp" : "modDecim");
    rateName += number;
    CString filterName("modFilter");
    filterName += number;
    if (def->isUpsampler()) {
        // Up: the new stage works above the others, at the end of the row.
        const int32_t at = childCount();
        if (!insertChild(at, rate, rateName)) return false;
        if (!insertChild(at + 1, filter, filterName)) {
            removeChild(at);
            return false;
        }
    } else {
        // Down: the new stage takes the highest rate, at the front of the row.
        if (!insertChild(0, rate, rateName)) return false;
        if (!insertChild(0, filter, filterName)) {
            removeChild(0);
            return false;
        }
    }
    ++m_stages;
    return true;
}

void CModResampler::removeStage() {
    const auto* def = dynamic_cast<const CModResamplerDef*>(m_def);
    if (def && def->isUpsampler()) {
        removeChild(childCount() - 1);
        removeChild(childCount() - 1);
    } else {
        removeChild(0);
        removeChild(0);
    }
    --m_stages;
}

}  // namespace orl
