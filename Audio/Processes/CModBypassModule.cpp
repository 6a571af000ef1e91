#include "Audio/Processes/CModBypassModule.h"

#include "Audio/CAudioParamReader.h"
#include "Audio/CSampleBufferPool.h"

namespace orl {

void CModBypassModule::update() {
    m_alternate = findPortChannel(1);
    const bool enable = paramValue(kEnable, 0.0) >= 0.5;
    if (enable && !m_alternate) {
        m_outcome = kSilent;
        return;
    }
    m_outcome = enable ? kAlternate : kInput;
    // Solo: every group that has values counts; a solo elsewhere silences this group unless it
    // is soloed too.
    if (const CAudioParamReader* solo = isParamBound(kGroupSolo) ? m_params[kGroupSolo] : nullptr) {
        bool anySolo = false;
        bool ownSolo = false;
        const int32_t groups = solo->groupCount() < kGroupCount ? solo->groupCount() : kGroupCount;
        for (int32_t g = 0; g < groups; ++g) {
            if (solo->elementCount(g) <= 0) continue;
            if (solo->pick(g, m_element) < 0.5) continue;
            anySolo = true;
            if (g == m_group) ownSolo = true;
        }
        if (anySolo && !ownSolo) m_outcome = kSilent;
    }
}

void CModBypassModule::process() {
    if (m_inputCount == 0) return;
    switch (m_outcome) {
        case kInput: passInput(0, 0); break;
        case kAlternate: {
            COutput& out = m_outputs[0];
            if (out.buffer) CSampleBufferPool::release(out.buffer);
            out.buffer = m_alternate->buffer;
            CSampleBufferPool::addRef(out.buffer);
            break;
        }
        case kSilent: m_noise.fill(outputData(0), m_sampleCount); break;
    }
}

}  // namespace orl
