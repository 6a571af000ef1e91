#include "Audio/Processes/CModDelayModule.h"

#include <algorithm>
#include <cmath>

#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModDelayDef.h"

namespace orl {

void CModDelayModule::connectPorts() {
    CAudioModule::connectPorts();
    m_line.setPool(m_pool);
    const auto* def = m_process ? dynamic_cast<const CModDelayDef*>(m_process->def()) : nullptr;
    m_fixedLatency = def ? def->latencySamples(rate()) : 0;
    m_latencyPositive = def && def->isLatencyPositive();
    const bool compInput = def && def->isCompInput();
    if (compInput != m_compInput) {
        m_compInput = compInput;
        m_fillFromFirst = compInput;
    }
    for (int32_t o = 0; o < m_outputCount; ++o) m_outputs[o].latency += m_fixedLatency;
}

// The node's rate: a module that joins a crossfade is connected before it learns the rate, and
// a spare one may still hold the rate of its last use.
double CModDelayModule::rate() const {
    return m_process && m_process->sampleRate() > 0.0 ? m_process->sampleRate() : m_sampleRate;
}

void CModDelayModule::resetState() {
    m_line.reset();
    m_fillFromFirst = m_compInput;
}

void CModDelayModule::update() {
    const double sr = rate();
    const double time = paramValue(kTime, 0.0);
    double seconds = time;
    switch (paramInt(kTimeMode, kMsec)) {
        case kMeter: seconds = time * 1000.0 / kMetresPerSecond; break;
        case kFoot: seconds = time * 1000.0 / kFeetPerSecond; break;
        default: break;
    }
    const double total = std::min(kMaxSeconds, seconds + (sr > 0.0 ? paramValue(kSamples, 0.0) / sr : 0.0));
    const int64_t d = std::llround(total * sr);
    int64_t effective = d;
    if (m_fixedLatency > 0) effective = m_latencyPositive ? m_fixedLatency + d : m_fixedLatency - d;
    m_effective = static_cast<int32_t>(std::max<int64_t>(effective, 0));

    const double transTime = std::max(paramValue(kTransTime, 0.01), 0.0001);
    m_transition = static_cast<int32_t>(std::lround(transTime * sr));
    const int32_t blockSize = std::max(paramInt(kBlockSize, 64), 64);
    if (blockSize != m_blockSize) {
        m_blockSize = blockSize;
        m_line.setMaxDelay(0, blockSize);  // the ring follows the delays in play
    }
    // A fresh module, or one whose connections or rate changed, has nothing to fade from.
    const bool atOnce = m_resetRequested || !m_started;
    m_started = true;
    m_line.setDelay(m_effective, atOnce ? 0 : m_transition);
}

}  // namespace orl
