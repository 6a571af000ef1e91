#include "Audio/Processes/CModLatencyUniformerModule.h"

#include <cmath>

#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CModLatencyUniformerDef.h"
#include "Core/CLog.h"

namespace orl {

double CModLatencyUniformerModule::rate() const {
    return m_process && m_process->sampleRate() > 0.0 ? m_process->sampleRate() : m_sampleRate;
}

void CModLatencyUniformerModule::connectPorts() {
    CAudioModule::connectPorts();
    m_line.setPool(m_pool);
    const auto* def = m_process ? dynamic_cast<const CModLatencyUniformerDef*>(m_process->def()) : nullptr;
    const bool compInput = def && def->isCompInput();
    if (compInput != m_compInput) {
        m_compInput = compInput;
        m_fillFromFirst = compInput;
    }
    const double sr = rate();
    const int32_t in = m_outputCount > 0 ? m_outputs[0].latency : 0;
    const int32_t total = def ? def->totalFor(sr) : -1;
    const CString& name = m_process ? m_process->path() : CString::empty();
    if (total < 0) {
        if (m_loggedKey != 0) CLog::logContext(name, "Unsupported sample rate %f in LatencyUniformer", sr);
        m_loggedKey = 0;
        m_target = 0;
        return;
    }
    if (in > total) {
        const int64_t key = (static_cast<int64_t>(in) << 32) | static_cast<uint32_t>(total);
        if (m_loggedKey != key) CLog::logContext(name, "Too high latency %i at sample rate %f in LatencyUniformer", in, sr);
        m_loggedKey = key;
        m_target = 0;
    } else {
        m_loggedKey = -1;
        m_target = total - in;
    }
    for (int32_t o = 0; o < m_outputCount; ++o) m_outputs[o].latency = total;
}

void CModLatencyUniformerModule::resetState() {
    m_line.reset();
    m_fillFromFirst = m_compInput;
}

void CModLatencyUniformerModule::update() {
    const double sr = rate();
    if (m_fresh || sr != m_rate) {
        // A new module or a new rate: nothing to fade from, the line starts at its delay. A
        // connection change alone (the latency in front moved) fades below.
        m_line.setMaxDelay(0, kBlockSize);
        m_line.setDelay(m_target, 0);
        m_line.reset();
        m_fillFromFirst = m_compInput;
        m_fresh = false;
        m_rate = sr;
        return;
    }
    if (m_target == m_line.targetDelay() && !m_line.isTransitionRunning()) return;
    // A running transition keeps the newest target as its pending change.
    m_line.setDelay(m_target, static_cast<int32_t>(std::lround(kTransitionSeconds * sr)));
}

}  // namespace orl
