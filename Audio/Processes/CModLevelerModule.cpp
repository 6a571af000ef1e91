#include "Audio/Processes/CModLevelerModule.h"

#include <cmath>

#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Processes/CLevelerKernel.h"

namespace orl {

bool CModLevelerModule::isNonZero(double v) { return kEps * std::fabs(v) < std::fabs(v); }

bool CModLevelerModule::differsFromOne(double v) { return kEps * (1.0 + std::fabs(v)) < std::fabs(v - 1.0); }

void CModLevelerModule::readParams() {
    m_minimum = paramInt(0, 0) != 0;
    m_mix = paramValue(1, 0.0);
    m_linking = paramValue(2, 1.0);
    m_rms = paramInt(3, 0) != 0;
    m_squareOut = paramInt(4, 0) != 0;
    m_mixNonZero = isNonZero(m_mix);
    m_mixNotOne = differsFromOne(m_mix);
    m_linkNonZero = isNonZero(m_linking);
    m_linkNotOne = differsFromOne(m_linking);
}

int32_t CModLevelerModule::wantedOutputCount() const {
    return isFullLinking() && m_inputCount >= 2 ? 1 : m_inputCount;
}

void CModLevelerModule::connectPorts() {
    readParams();
    m_inverseCount = m_inputCount > 0 ? 1.0 / m_inputCount : 0.0;
    const int32_t count = wantedOutputCount();
    for (int32_t o = count; o < m_outputCount; ++o) {
        if (m_outputs[o].buffer) CSampleBufferPool::release(m_outputs[o].buffer);
        m_outputs[o] = COutput();
    }
    m_outputCount = count;
    // The module adds no delay: its outputs stand at the node's input latency. Under full linking
    // the one output carries the index and group of input channel 0.
    int32_t latency = 0;
    for (int32_t i = 0; i < m_inputCount; ++i) {
        if (m_inputs[i]->latency > latency) latency = m_inputs[i]->latency;
    }
    if (m_process) latency = m_process->inputLatency();
    for (int32_t o = 0; o < m_outputCount; ++o) {
        m_outputs[o].channelIndex = m_inputs[o]->index;
        m_outputs[o].group = m_inputs[o]->group;
        m_outputs[o].latency = latency;
    }
}

void CModLevelerModule::update() {
    readParams();
    // What the node carries now: the live module's outputs. During a crossfade this module is
    // the incoming one and the live module is still the outgoing one.
    int32_t current = m_outputCount;
    if (m_process && m_process->isWhole() && m_process->slotCount() == 1) {
        const CAudioModule* live = m_process->slotModule(0);
        if (live) current = live->outputCount();
    }
    if (m_process && wantedOutputCount() != current) m_process->requestReconnect();
}

void CModLevelerModule::detect(double* d, const double* const* x, int32_t channels, int32_t count) {
    const CLevelerKernel& k = CLevelerKernel::get();
    // Extreme E, into d; not needed when mix is one.
    if (m_mixNotOne) {
        (m_minimum ? k.minimum : k.maximum)(d, x, channels, count);
        if (m_rms) k.square(d, d, count);
    }
    // Average A; not needed when mix is zero. With E present it needs a buffer of its own.
    if (m_mixNonZero) {
        CSampleBuffer* scratch = m_mixNotOne ? m_pool->acquire(count) : nullptr;
        double* a = scratch ? scratch->data() : d;
        (m_rms ? k.sumSquares : k.sum)(a, x, channels, m_inverseCount, count);
        if (scratch) {
            k.mix(d, d, a, m_mix, count);
            CSampleBufferPool::release(scratch);
        }
    }
}

void CModLevelerModule::shape(double* y, int32_t count) const {
    const CLevelerKernel& k = CLevelerKernel::get();
    if (m_rms && !m_squareOut) k.squareRoot(y, y, count);
    else if (!m_rms && m_squareOut) k.square(y, y, count);
}

void CModLevelerModule::process() {
    const CLevelerKernel& k = CLevelerKernel::get();
    const int32_t n = m_inputCount;
    const int32_t count = m_sampleCount;
    const double* x[kMaxInputs];
    for (int32_t c = 0; c < n; ++c) x[c] = inputData(c);

    // No linking: each channel on its own, the input handed on as it is, or squared.
    if (!m_linkNonZero || n < 2) {
        for (int32_t c = 0; c < n && c < m_outputCount; ++c) {
            if (m_squareOut) k.square(outputData(c), x[c], count);
            else passInput(c, c);
        }
        return;
    }

    if (m_outputCount == 1) {
        // Full linking: D is the one output.
        double* d = outputData(0);
        detect(d, x, n, count);
        shape(d, count);
        return;
    }

    // Partial linking: each channel moves from its own value towards D.
    CSampleBuffer* dBuffer = m_pool->acquire(count);
    double* d = dBuffer->data();
    detect(d, x, n, count);
    for (int32_t c = 0; c < n && c < m_outputCount; ++c) {
        double* y = outputData(c);
        (m_rms ? k.mixFromSquare : k.mix)(y, x[c], d, m_linking, count);
        shape(y, count);
    }
    CSampleBufferPool::release(dBuffer);
}

}  // namespace orl
