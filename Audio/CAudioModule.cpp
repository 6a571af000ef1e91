#include "Audio/CAudioModule.h"

#include "Audio/CAudioParamReader.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/CSampleBufferPool.h"
#include "Core/CLog.h"

namespace orl {

CAudioModule::~CAudioModule() {
    for (int32_t o = 0; o < m_outputCount; ++o) {
        if (m_outputs[o].buffer) CSampleBufferPool::release(m_outputs[o].buffer);
    }
}

void CAudioModule::setInputs(const CAudioChannel* const* inputs, int32_t count, int32_t group, int32_t element) {
    m_inputCount = count < kMaxInputs ? count : kMaxInputs;
    for (int32_t i = 0; i < m_inputCount; ++i) m_inputs[i] = inputs[i];
    m_group = group;
    m_element = element;
}

void CAudioModule::connectPorts() {
    m_outputCount = m_inputCount;
    for (int32_t i = 0; i < m_inputCount; ++i) {
        m_outputs[i].channelIndex = m_inputs[i]->index;
        m_outputs[i].group = m_inputs[i]->group;
        m_outputs[i].latency = m_inputs[i]->latency;
    }
}

void CAudioModule::resetState() {}
void CAudioModule::update() {}

void CAudioModule::bindParams() {
    for (int32_t i = 0; i < m_paramCount; ++i) {
        m_params[i] = nullptr;
        if (!m_process || !m_process->paramForIndex(i, m_params[i])) CLog::logf("regModuleParam error %i", i);
    }
}

int32_t CAudioModule::maxOutputLatency() const {
    int32_t latency = 0;
    for (int32_t o = 0; o < m_outputCount; ++o) {
        if (m_outputs[o].latency > latency) latency = m_outputs[o].latency;
    }
    return latency;
}

const double* CAudioModule::inputData(int32_t i) const { return m_inputs[i]->buffer->data(); }

double* CAudioModule::outputData(int32_t o) {
    COutput& out = m_outputs[o];
    if (!out.buffer) out.buffer = m_pool->acquire(m_sampleCount);
    return out.buffer->data();
}

void CAudioModule::passInput(int32_t o, int32_t i) {
    COutput& out = m_outputs[o];
    if (out.buffer) CSampleBufferPool::release(out.buffer);
    out.buffer = m_inputs[i]->buffer;
    CSampleBufferPool::addRef(out.buffer);
}

const CAudioChannel* CAudioModule::findPortChannel(int32_t port) const {
    if (!m_process || m_inputCount == 0 || port < 0 || port >= CAudioProcessBase::kMaxPorts) return nullptr;
    const CAudioProcessBase::CPortTable& table = m_process->portTable(port);
    const int32_t index = m_inputs[0]->index;
    const int32_t group = m_inputs[0]->group;
    if (table.mask & (1u << index) && table.channels[index].group == group) return &table.channels[index];
    if (m_process->isWhole()) return nullptr;
    const CAudioChannel* found = nullptr;
    for (uint32_t m = table.mask; m; m &= m - 1) {
        const CAudioChannel& ch = table.channels[__builtin_ctz(m)];
        if (ch.group == group) found = &ch;
    }
    return found;
}

double CAudioModule::paramValue(int32_t slot, double builtinDefault) const {
    if (!isParamBound(slot)) return builtinDefault;
    return m_params[slot]->pick(m_group, m_element);
}

int32_t CAudioModule::paramInt(int32_t slot, int32_t builtinDefault) const {
    return static_cast<int32_t>(roundParam(paramValue(slot, builtinDefault)));
}

}  // namespace orl
