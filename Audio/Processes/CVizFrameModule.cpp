#include "Audio/Processes/CVizFrameModule.h"

#include <cmath>

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Other/CAudioVizCollector.h"
#include "Other/CAudioVizDataMeter.h"

namespace orl {

int32_t CVizFrameModule::frameLengthFor(double sampleRate, double fps) {
    if (!(fps > 0.0) || !(sampleRate > 0.0)) return kMinFrameLength;
    int64_t n = std::llround(sampleRate / fps);
    if (n & 1) ++n;
    if (n < kMinFrameLength) n = kMinFrameLength;
    if (n > (1 << 30)) n = 1 << 30;
    return static_cast<int32_t>(n);
}

double CVizFrameModule::rate() const {
    return m_process && m_process->sampleRate() > 0.0 ? m_process->sampleRate() : m_sampleRate;
}

void CVizFrameModule::connectPorts() {
    // Nothing flows on from here.
    m_outputCount = 0;
    m_collector = m_process ? CAudioVizCollector::forHost(m_process->params()) : nullptr;
    m_collectorEntry = m_collector ? m_collector->getEntry(m_process->path()) : nullptr;

    const CAudioProcessDefBase* def = m_process ? m_process->def() : nullptr;
    const CString& text = def ? def->getAttrString(CString("fps")) : CString::empty();
    m_fpsFixed = !text.isEmpty();
    if (m_fpsFixed) {
        double fps = 0.0;
        m_fps = text.trimmed().toDouble(fps) && fps > 0.0 ? fps : kFallbackFps;
    } else {
        refreshFps();
    }
}

void CVizFrameModule::refreshFps() {
    if (m_fpsFixed) return;
    const double wanted = m_collector && m_collector->env() ? m_collector->env()->blockVizRate() : kFallbackFps;
    m_fps = wanted > 0.0 ? wanted : kFallbackFps;
}

void CVizFrameModule::restartFrame() {
    refreshFps();
    m_frameRate = rate();
    m_frameLength = frameLengthFor(m_frameRate, m_fps);
    m_frameLeft = m_frameLength;
}

void CVizFrameModule::resetState() {
    restartFrame();
    m_streamTime = 0.0;
    if (CAudioEnv* env = m_collector ? m_collector->env() : nullptr) {
        env->enterSpinning();
        m_streamTime = env->streamTime();
        env->leave();
    }
}

void CVizFrameModule::sendRecord() {
    auto* record = new CAudioVizDataMeter();
    const int32_t index = m_inputCount > 0 ? m_inputs[0]->index : 0;
    record->channel = index < 0 ? 0 : index;
    record->group = m_group;
    record->element = m_element;
    record->time = m_streamTime - 0.5 * m_frameLength / rate();
    fillRecord(*record);
    if (m_collector) {
        m_collector->addRecord(m_collectorEntry, record);
    } else {
        delete record;
    }
}

void CVizFrameModule::process() {
    const double sr = rate();
    if (m_inputCount == 0 || !(sr > 0.0)) return;
    // A module reset before it knew the rate starts its frame again once it does.
    if (m_frameLength <= 0 || m_frameRate != sr) restartFrame();
    m_blockOffset = 0;
    int32_t left = m_sampleCount;
    while (left > 0) {
        const int32_t chunk = left < m_frameLeft ? left : m_frameLeft;
        m_chunkLength = chunk;
        m_streamTime += chunk / sr;
        runChunk(m_blockOffset, chunk);
        if (chunk < m_frameLeft) {
            m_frameLeft -= chunk;
            return;
        }
        sendRecord();
        left -= chunk;
        m_blockOffset += chunk;
        restartFrame();
    }
}

}  // namespace orl
