#include "Audio/Processes/CModMSCoder.h"

#include "Audio/CSampleBufferPool.h"
#include "Audio/Processes/CSimpleModuleKernel.h"

namespace orl {

void CModMSCoder::updateNode() {
    m_pairCount = 0;
    m_passCount = 0;
    m_decoder = roundParam(paramValue(kMode, 0.0)) != 0.0;
    const uint32_t inputs = m_ports[0].mask;
    if (paramValue(kBypass, 0.0) >= 0.5) {
        for (uint32_t m = inputs; m; m &= m - 1) m_pass[m_passCount++] = __builtin_ctz(m);
        return;
    }
    const int32_t elements = paramElementCount(kPairs);
    for (uint32_t m = inputs; m; m &= m - 1) {
        const int32_t i = __builtin_ctz(m);
        const int32_t p = i < elements ? static_cast<int32_t>(roundParam(paramElement(kPairs, i, 0.0))) - 1 : -1;
        if (p < 0) {
            m_pass[m_passCount++] = i;
            continue;
        }
        CPair* found = nullptr;
        for (int32_t k = 0; k < m_pairCount; ++k) {
            if (m_pairs[k].number == p) found = &m_pairs[k];
        }
        if (!found) {
            m_pairs[m_pairCount++] = CPair{i, -1, p};
        } else if (found->second < 0) {
            found->second = i;
        } else {
            m_pass[m_passCount++] = i;
        }
    }
    // A pair that found no second channel is no pair: its channel passes.
    int32_t kept = 0;
    for (int32_t k = 0; k < m_pairCount; ++k) {
        if (m_pairs[k].second < 0)
            m_pass[m_passCount++] = m_pairs[k].first;
        else
            m_pairs[kept++] = m_pairs[k];
    }
    m_pairCount = kept;
}

void CModMSCoder::processBlock() {
    const CPortTable& table = m_ports[0];
    for (int32_t k = 0; k < m_passCount; ++k) {
        const CAudioChannel& ch = table.channels[m_pass[k]];
        passOn(ch, ch.index, ch.group, ch.latency);
    }
    const CSimpleModuleKernel& kernel = CSimpleModuleKernel::get();
    for (int32_t k = 0; k < m_pairCount; ++k) {
        CAudioChannel x = table.channels[m_pairs[k].first];
        CAudioChannel y = table.channels[m_pairs[k].second];
        const double* a = x.buffer->data();
        const double* b = y.buffer->data();
        x.buffer = m_pool->acquire(m_sampleCount);
        y.buffer = m_pool->acquire(m_sampleCount);
        (m_decoder ? kernel.msDecode : kernel.msEncode)(x.buffer->data(), y.buffer->data(), a, b, m_sampleCount);
        x.port = y.port = 0;
        x.sampleRate = y.sampleRate = m_sampleRate;
        setOutput(x);
        setOutput(y);
    }
}

}  // namespace orl
