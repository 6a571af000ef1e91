#include "Audio/Processes/CModDecimator.h"

#include <cmath>

#include "Audio/CDSPModDelay.h"
#include "Audio/CSampleBufferPool.h"

namespace orl {

CModDecimator::~CModDecimator() { CModDecimator::release(); }

void CModDecimator::release() {
    for (CDSPModDelay*& line : m_delays) {
        delete line;
        line = nullptr;
    }
    CModWholeNode::release();
}

void CModDecimator::resetState() {
    CModWholeNode::resetState();
    for (CDSPModDelay* line : m_delays) {
        if (line) line->reset();
    }
}

void CModDecimator::updateNode() {
    m_compensate = (m_inputLatency & 1) != 0;
    const int32_t fade = static_cast<int32_t>(std::floor(0.015 * m_sampleRate + 0.5));
    const uint32_t present = m_ports[0].mask;
    for (int32_t c = 0; c < kMaxChannels; ++c) {
        CDSPModDelay*& line = m_delays[c];
        if (!(present & (1u << c))) {
            delete line;
            line = nullptr;
            continue;
        }
        if (!line) {
            if (!m_compensate) continue;
            line = new CDSPModDelay();
            line->setPool(m_pool);
            line->setMaxDelay(1, 512);
            line->setDelay(0, 0);
        }
        line->setDelay(m_compensate ? 1 : 0, fade);
    }
}

void CModDecimator::processBlock() {
    const int32_t n = m_sampleCount;
    const int32_t half = n / 2;
    const int32_t latency = (m_inputLatency + (m_inputLatency & 1)) / 2;
    const CPortTable& table = m_ports[0];
    for (uint32_t m = table.mask; m; m &= m - 1) {
        const int32_t c = __builtin_ctz(m);
        const CAudioChannel& in = table.channels[c];
        const double* x = in.buffer->data();
        CSampleBuffer* delayed = nullptr;
        if (CDSPModDelay* line = m_delays[c]) {
            delayed = m_pool->acquire(n);
            line->process(x, delayed->data(), n);
            x = delayed->data();
        }
        CAudioChannel out = in;
        out.buffer = m_pool->acquire(half > 0 ? half : 1);
        out.sampleRate = 0.5 * m_sampleRate;
        out.latency = latency;
        out.port = 0;
        double* y = out.buffer->data();
        for (int32_t i = 0; i < half; ++i) y[i] = x[2 * i];
        if (delayed) CSampleBufferPool::release(delayed);
        setOutput(out);
    }
    m_outputSampleCount = half;
}

}  // namespace orl
