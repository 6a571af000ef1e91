#include "Audio/Processes/CModInterpolator.h"

#include "Audio/CSampleBufferPool.h"

namespace orl {

void CModInterpolator::processBlock() {
    const int32_t n = m_sampleCount;
    const CPortTable& table = m_ports[0];
    for (uint32_t m = table.mask; m; m &= m - 1) {
        const CAudioChannel& in = table.channels[__builtin_ctz(m)];
        CAudioChannel out = in;
        out.buffer = m_pool->acquire(2 * n);
        out.sampleRate = 2.0 * m_sampleRate;
        out.latency = 2 * m_inputLatency;
        out.port = 0;
        const double* x = in.buffer->data();
        double* y = out.buffer->data();
        for (int32_t i = 0; i < n; ++i) {
            y[2 * i] = 2.0 * x[i];
            y[2 * i + 1] = 0.0;
        }
        setOutput(out);
    }
    m_outputSampleCount = 2 * n;
}

}  // namespace orl
